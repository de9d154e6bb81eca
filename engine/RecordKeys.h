// The keys that a table's records have in one tag: its two expressions and the form of their
// values.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/Memory.h"
#include "engine/Expression.h"
#include "engine/KeyForm.h"

namespace zk::engine {

class Table;

class RecordKeys {
 public:
  // An empty filter is none. 0; or, reported: -400 to -500 for what is wrong with an expression;
  // -460 when one uses a memo and -420 when one uses another table, since what a record's own bytes
  // do not tell could change without the index; -950 for a filter that is not logical. Throws
  // std::bad_alloc.
  int compile(Table &table, std::string_view key, std::string_view filter);
  // Then, the form: of a tag that exists with keys of `length` bytes (false when the values cannot
  // be such keys), or of a new one (KeyForm::choose).
  bool match(std::uint32_t length) noexcept { return KeyForm::match(*key_, length, form_); }
  int choose(Context &context) noexcept { return KeyForm::choose(context, *key_, form_); }

  const Expression &expression() const noexcept { return *key_; }
  const KeyForm &form() const noexcept { return form_; }

  void beginRun() noexcept;
  // The key of the table's current record; `inTag` is false when the filter leaves the record out.
  int evaluate(unsigned char *key, bool &inTag) noexcept;
  // The key whatever the filter says.
  int evaluateKey(unsigned char *key) noexcept;

 private:
  static int compilePart(Table &table, std::string_view source, base::Owned<Expression> &part);

  base::Owned<Expression> key_;
  base::Owned<Expression> filter_;  // null for none
  KeyForm form_;
};

}  // namespace zk::engine
