// The keys of a tag: from an expression's value, or from what is sought, to the bytes that the
// index puts in order.
//
//   characters   the text, blank-padded or cut to the key's length
//   numbers      8 bytes, BE: an IEEE double; of a negative one all bits inverted, else the sign
//   bit dates        the Julian day number as such a number, 0 when empty logical      'T' or 'F'
//   integers     4 bytes, BE, the sign bit inverted: an expression that is just such a field
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "engine/Context.h"
#include "engine/Expression.h"
#include "engine/IndexPage.h"

namespace zk::engine {

// What is sought may lie between the keys that a form can express.
enum class SoughtKey {
  kNone,    // the form has no such keys
  kEqual,   // the key stands for it
  kBefore,  // it lies before the key, behind all smaller ones
  kBehind,  // it lies behind the key, the greatest of all
};

class KeyForm {
 public:
  // The form for a new tag. 0; or, reported with the expression's source: -460 when it is just a
  // currency field, -930 when its keys are empty or longer than 240 bytes.
  static int choose(Context &context, const Expression &key, KeyForm &form) noexcept;
  // The form for a tag that exists with keys of `length` bytes. False when the expression's
  // values cannot be such keys.
  static bool match(const Expression &key, std::uint32_t length, KeyForm &form) noexcept;

  const KeyLayout &layout() const noexcept { return layout_; }

  // The key of a value of the expression, layout().length bytes.
  void put(const Value &value, unsigned char *key) const noexcept;

  // The key for a text: of characters its beginning, with `length` bytes that count; of others the
  // number, date (CCYYMMDD) or letter that the text shows.
  SoughtKey putSought(std::string_view text, unsigned char *key,
                      std::size_t &length) const noexcept;
  // The key for a number; of dates a Julian day number.
  SoughtKey putSought(double number, unsigned char *key, std::size_t &length) const noexcept;

 private:
  enum class Kind : std::uint8_t { kCharacter, kNumber, kDate, kLogical, kInteger };

  Kind kind_ = Kind::kCharacter;
  KeyLayout layout_;
};

}  // namespace zk::engine
