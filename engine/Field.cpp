#include "engine/Field.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "base/Number.h"
#include "engine/Bytes.h"
#include "engine/Calendar.h"
#include "engine/Table.h"

namespace zk::engine {
namespace {

constexpr std::int64_t kCurrencyScale = 10000;
constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kMillisecondsPerDay = kSecondsPerDay * 1000;
constexpr std::size_t kDateTimeSize = 19;  // YYYY-MM-DD hh:mm:ss

const unsigned char *bytesOf(const char *data) {
  return reinterpret_cast<const unsigned char *>(data);
}
unsigned char *bytesOf(char *data) { return reinterpret_cast<unsigned char *>(data); }

// "" for a zero, and for a day or time that no calendar has.
std::size_t formatDateTime(const char *bytes, char *out) {
  const auto julian = static_cast<std::int32_t>(readLittle32(bytesOf(bytes)));
  const auto milliseconds = static_cast<std::int32_t>(readLittle32(bytesOf(bytes) + 4));
  if (julian <= 0 || milliseconds < 0 || milliseconds >= kMillisecondsPerDay) return 0;
  // Writers keep whole seconds with a rounding error: 61984999 is 17:13:05.
  const std::int64_t wholeSeconds = (milliseconds + 500) / 1000;
  const CivilDate date = civilFromJulian(julian + wholeSeconds / kSecondsPerDay);
  if (date.year < 1 || date.year > 9999) return 0;
  std::memcpy(out, "0000-00-00 00:00:00", kDateTimeSize);
  putDigits(out, static_cast<unsigned>(date.year), 4);
  putDigits(out + 5, date.month, 2);
  putDigits(out + 8, date.day, 2);
  const auto seconds = static_cast<unsigned>(wholeSeconds % kSecondsPerDay);
  putDigits(out + 11, seconds / 3600, 2);
  putDigits(out + 14, seconds / 60 % 60, 2);
  putDigits(out + 17, seconds % 60, 2);
  return kDateTimeSize;
}

// A text of another form, or a date that no calendar has, makes the field blank.
void parseDateTime(std::string_view text, char *bytes) {
  std::memset(bytes, 0, 8);
  if (text.size() < kDateTimeSize) return;
  unsigned year, month, day, hour, minute, second;
  if (!readDigits(text, 0, 4, year) || !readDigits(text, 5, 2, month) ||
      !readDigits(text, 8, 2, day) || !readDigits(text, 11, 2, hour) ||
      !readDigits(text, 14, 2, minute) || !readDigits(text, 17, 2, second)) {
    return;
  }
  if (hour > 23 || minute > 59 || second > 59) return;
  const std::int64_t julian = checkedJulian({year, month, day});
  if (julian == 0) return;
  writeLittle32(bytesOf(bytes), static_cast<std::uint32_t>(julian));
  writeLittle32(bytesOf(bytes) + 4, (hour * 3600 + minute * 60 + second) * 1000);
}

std::size_t formatCurrency(std::int64_t value, char *out, std::size_t size) {
  std::uint64_t rest =
      value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
  char digits[24];
  char *p = digits + sizeof digits;
  for (int i = 0; rest != 0 || i < 5; ++i) {
    if (i == 4) *--p = '.';
    *--p = static_cast<char>('0' + rest % 10);
    rest /= 10;
  }
  if (value < 0) *--p = '-';
  const auto length = static_cast<std::size_t>(digits + sizeof digits - p);
  if (length > size) return 0;
  std::memcpy(out, p, length);
  return length;
}

// Exact up to the last of four decimals; a fifth rounds. Saturates.
std::int64_t parseCurrency(std::string_view text) {
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  std::size_t i = 0;
  while (i < text.size() && text[i] == ' ') ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) negative = text[i++] == '-';
  std::int64_t value = 0;
  int decimals = -1;
  for (; i < text.size(); ++i) {
    if (text[i] == '.' && decimals < 0) {
      decimals = 0;
      continue;
    }
    if (text[i] < '0' || text[i] > '9') break;
    const int digit = text[i] - '0';
    if (decimals == 4) {
      if (digit >= 5 && value < kMax) ++value;
      break;
    }
    if (value > (kMax - digit) / 10) return negative ? -kMax : kMax;
    value = value * 10 + digit;
    if (decimals >= 0) ++decimals;
  }
  for (int d = decimals < 0 ? 0 : decimals; d < 4; ++d) {
    if (value > kMax / 10) return negative ? -kMax : kMax;
    value *= 10;
  }
  return negative ? -value : value;
}

double readDouble(const char *bytes) {
  const std::uint64_t bits = readLittle64(bytesOf(bytes));
  double value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

void writeDouble(char *bytes, double value) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  writeLittle64(bytesOf(bytes), bits);
}

std::size_t formatHex(const char *bytes, std::size_t count, char *out, std::size_t size) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::size_t length = 0;
  for (std::size_t i = 0; i < count && length + 2 <= size; ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    out[length++] = kDigits[byte >> 4];
    out[length++] = kDigits[byte & 15];
  }
  return length;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

void parseHex(std::string_view text, char *bytes, std::size_t count) {
  std::memset(bytes, 0, count);
  for (std::size_t i = 0; i < count && 2 * i + 1 < text.size(); ++i) {
    const int high = hexDigit(text[2 * i]);
    const int low = hexDigit(text[2 * i + 1]);
    if (high < 0 || low < 0) return;
    bytes[i] = static_cast<char>(high << 4 | low);
  }
}

std::size_t formatBinary(const Field &field, const char *bytes, char *out, std::size_t size) {
  switch (field.kind) {
    case FieldKind::kInteger:
      return base::formatInteger(out, size,
                                 static_cast<std::int32_t>(readLittle32(bytesOf(bytes))));
    case FieldKind::kDateTime:
      return formatDateTime(bytes, out);
    case FieldKind::kCurrency:
      return formatCurrency(static_cast<std::int64_t>(readLittle64(bytesOf(bytes))), out, size);
    case FieldKind::kDouble: {
      const double value = readDouble(bytes);
      if (!std::isfinite(value)) return 0;
      return static_cast<std::size_t>(std::to_chars(out, out + size, value).ptr - out);
    }
    default:
      return formatHex(bytes, field.width, out, size);
  }
}

void parseBinary(const Field &field, std::string_view text, char *bytes) {
  switch (field.kind) {
    case FieldKind::kInteger:
      writeLittle32(bytesOf(bytes), static_cast<std::uint32_t>(base::toInt32(text)));
      break;
    case FieldKind::kDateTime:
      parseDateTime(text, bytes);
      break;
    case FieldKind::kCurrency:
      writeLittle64(bytesOf(bytes), static_cast<std::uint64_t>(parseCurrency(text)));
      break;
    case FieldKind::kDouble:
      writeDouble(bytes, base::toDouble(text));
      break;
    default:
      parseHex(text, bytes, field.width);
      break;
  }
}

// Right-aligned; fewer decimals when it is too wide, asterisks when nothing helps.
void putNumber(const Field &field, double value, char *bytes) {
  for (int decimals = field.decimals; decimals >= 0; --decimals) {
    if (base::formatFixedRight(bytes, field.width, value, decimals)) return;
  }
  std::memset(bytes, '*', field.width);
}

std::string_view trimmedEnd(std::string_view text) {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

}  // namespace

int Field::text(std::string_view &out) const noexcept {
  const char *bytes = table->record() + offset;
  if (isBinary()) {
    const TextBuffer buffer = table->textBuffer();
    out = {buffer.data, formatBinary(*this, bytes, buffer.data, buffer.size)};
    return kOk;
  }
  if (kind == FieldKind::kMemo) return table->memoText(*this, out);
  out = kind == FieldKind::kForeignMemo ? std::string_view() : std::string_view(bytes, width);
  return kOk;
}

double Field::toDouble() const noexcept {
  const char *bytes = table->record() + offset;
  switch (kind) {
    case FieldKind::kInteger:
      return static_cast<std::int32_t>(readLittle32(bytesOf(bytes)));
    case FieldKind::kCurrency:
      return static_cast<double>(static_cast<std::int64_t>(readLittle64(bytesOf(bytes)))) /
             static_cast<double>(kCurrencyScale);
    case FieldKind::kDouble:
      return readDouble(bytes);
    default: {
      std::string_view value;
      return text(value) == kOk ? base::toDouble(value) : 0.0;
    }
  }
}

int32_t Field::toInt() const noexcept {
  if (kind == FieldKind::kDouble) return base::toInt32(toDouble());
  std::string_view value;
  return text(value) == kOk ? base::toInt32(value) : 0;
}

int Field::assignText(std::string_view value) const noexcept {
  if (kind == FieldKind::kForeignMemo) return kOk;
  if (kind == FieldKind::kMemo) return table->assignMemo(*this, value);
  char *bytes = table->changeRecord() + offset;
  if (!isBinary()) {
    const std::size_t length = value.size() < width ? value.size() : width;
    if (length > 0) std::memmove(bytes, value.data(), length);  // may be the field's own text
    std::memset(bytes + length, ' ', width - length);
    return kOk;
  }
  // The text that the field shows stands for its very bytes, fractions of a second included.
  const TextBuffer buffer = table->textBuffer();
  value = trimmedEnd(value);
  char shown[kTextBufferSize];
  const std::size_t length = formatBinary(*this, bytes, shown, buffer.size);
  if (value == std::string_view(shown, length)) return kOk;
  if (value.empty()) {
    std::memset(bytes, 0, width);
  } else {
    parseBinary(*this, value, bytes);
  }
  return kOk;
}

int Field::assignDouble(double value) const noexcept {
  switch (kind) {
    case FieldKind::kInteger:
      writeLittle32(bytesOf(table->changeRecord() + offset),
                    static_cast<std::uint32_t>(base::toInt32(value)));
      return kOk;
    case FieldKind::kDouble:
      writeDouble(table->changeRecord() + offset, value);
      return kOk;
    case FieldKind::kForeignMemo:
    case FieldKind::kMemo:
    case FieldKind::kCurrency:
    case FieldKind::kDateTime:
    case FieldKind::kNullFlags: {
      char digits[400];
      const int shown = kind == FieldKind::kCurrency ? 5 : 0;
      return assignText({digits, base::formatFixed(digits, sizeof digits, value, shown)});
    }
    default:
      putNumber(*this, value, table->changeRecord() + offset);
      return kOk;
  }
}

int Field::assignByte(char byte) const noexcept {
  if (isBinary() || isMemo()) return assignText({&byte, 1});
  if (kind == FieldKind::kForeignMemo || width == 0) return kOk;
  char *bytes = table->changeRecord() + offset;
  std::memset(bytes, ' ', width);
  bytes[0] = byte;
  return kOk;
}

void blankField(const Field &field, char *bytes) noexcept {
  const bool binaryReference = field.isMemo() && field.width == 4;
  std::memset(bytes, field.isBinary() || binaryReference ? 0 : ' ', field.width);
}

}  // namespace zk::engine
