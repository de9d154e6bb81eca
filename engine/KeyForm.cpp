#include "engine/KeyForm.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "base/Number.h"
#include "engine/Bytes.h"
#include "engine/Calendar.h"

namespace zk::engine {
namespace {

constexpr std::uint32_t kNumberSize = 8;
constexpr std::uint32_t kIntegerSize = 4;
constexpr std::uint64_t kSign64 = std::uint64_t{1} << 63;
constexpr std::uint32_t kSign32 = std::uint32_t{1} << 31;

void putNumber(double value, unsigned char *key) {
  // Adding 0 makes a negative zero positive.
  const auto bits = std::bit_cast<std::uint64_t>(value + 0.0);
  writeBig64(key, (bits & kSign64) != 0 ? ~bits : bits | kSign64);
}

void putInteger(std::int32_t value, unsigned char *key) {
  writeBig32(key, static_cast<std::uint32_t>(value) ^ kSign32);
}

SoughtKey putSoughtInteger(double number, unsigned char *key) {
  const double next = std::ceil(number);
  if (next > INT32_MAX) {
    putInteger(INT32_MAX, key);
    return SoughtKey::kBehind;
  }
  if (!(next >= INT32_MIN)) {
    putInteger(INT32_MIN, key);
    return SoughtKey::kBefore;
  }
  putInteger(static_cast<std::int32_t>(next), key);
  return next == number ? SoughtKey::kEqual : SoughtKey::kBefore;
}

bool showsTrue(std::string_view text) {
  return !text.empty() && (text[0] == 'T' || text[0] == 't' || text[0] == 'Y' || text[0] == 'y');
}

}  // namespace

bool KeyForm::match(const Expression &key, std::uint32_t length, KeyForm &form) noexcept {
  KeyForm matching;
  matching.layout_ = {length, 0};
  bool matches = length == kNumberSize;
  switch (key.type()) {
    case ValueType::kCharacter:
      matching.kind_ = Kind::kCharacter;
      matching.layout_.fill = ' ';
      // Another length means a form of its own: of fields that can be null, one byte more.
      matches = length >= 1 && length <= kLongestKey && length == key.length();
      break;
    case ValueType::kNumeric:
      matching.kind_ = Kind::kNumber;
      if (key.numberKind() == FieldKind::kInteger && length == kIntegerSize) {
        matching.kind_ = Kind::kInteger;
        matches = true;
      }
      // Other programs have a form of their own for these.
      if (key.numberKind() == FieldKind::kCurrency) matches = false;
      break;
    case ValueType::kDate:
      matching.kind_ = Kind::kDate;
      break;
    case ValueType::kLogical:
      matching.kind_ = Kind::kLogical;
      matches = length == 1;
  }
  if (matches) form = matching;
  return matches;
}

int KeyForm::choose(Context &context, const Expression &key, KeyForm &form) noexcept {
  const char *source = key.source().c_str();
  std::size_t length = 1;
  if (key.type() == ValueType::kCharacter) {
    length = std::min<std::size_t>(key.length(), kLongestKey + 1);
  } else if (key.type() != ValueType::kLogical) {
    length = key.numberKind() == FieldKind::kInteger ? kIntegerSize : kNumberSize;
  }
  if (match(key, static_cast<std::uint32_t>(length), form)) return kOk;
  if (key.numberKind() == FieldKind::kCurrency) {
    return context.fail(kErrSubexpressionType, source);
  }
  return context.fail(kErrParameter, source, "Key length should be 1 to 240");
}

void KeyForm::put(const Value &value, unsigned char *key) const noexcept {
  switch (kind_) {
    case Kind::kCharacter: {
      const std::size_t length = value.text.copy(reinterpret_cast<char *>(key), layout_.length);
      std::memset(key + length, layout_.fill, layout_.length - length);
      return;
    }
    case Kind::kLogical:
      key[0] = value.logical ? 'T' : 'F';
      return;
    case Kind::kInteger:
      putInteger(static_cast<std::int32_t>(value.number), key);
      return;
    default:
      putNumber(value.number, key);
  }
}

SoughtKey KeyForm::putSought(std::string_view text, unsigned char *key,
                             std::size_t &length) const noexcept {
  switch (kind_) {
    case Kind::kCharacter:
      length = text.copy(reinterpret_cast<char *>(key), layout_.length);
      return SoughtKey::kEqual;
    case Kind::kLogical:
      length = layout_.length;
      key[0] = showsTrue(text) ? 'T' : 'F';
      return SoughtKey::kEqual;
    case Kind::kDate:
      return putSought(static_cast<double>(parseStoredDate(text)), key, length);
    default:
      return putSought(base::toDouble(text), key, length);
  }
}

SoughtKey KeyForm::putSought(double number, unsigned char *key,
                             std::size_t &length) const noexcept {
  if (kind_ == Kind::kCharacter || kind_ == Kind::kLogical) return SoughtKey::kNone;
  length = layout_.length;
  if (kind_ == Kind::kInteger) return putSoughtInteger(number, key);
  putNumber(number, key);
  return SoughtKey::kEqual;
}

}  // namespace zk::engine
