#include "engine/ExpressionText.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "base/Number.h"
#include "engine/Calendar.h"

namespace zk::engine {
namespace {

#include "engine/UpperMaps.inc"

// The bytes from 0x80 on; null for a page whose letters are not known.
const unsigned char *upperHalf(std::uint8_t codePage) {
  switch (codePage) {
    case 0x01:
      return kUpper_cp437;
    case 0x02:
      return kUpper_cp850;
    case 0x03:
      return kUpper_cp1252;
    default:
      return nullptr;
  }
}

// Where the decimals end in an exact half the digits would go to the even one.
double awayFromHalf(double value, int decimals) {
  constexpr double kLargestWithHalves = 4503599627370496.0;  // 2^52
  double scaled = std::fabs(value);
  for (int i = 0; i < decimals && scaled < kLargestWithHalves; ++i) scaled *= 10;
  if (scaled >= kLargestWithHalves || scaled - std::floor(scaled) != 0.5) return value;
  return std::nextafter(value, std::copysign(std::numeric_limits<double>::infinity(), value));
}

// One or two digits and a slash; takes them from the text.
bool takePart(std::string_view &text, unsigned &value) {
  const std::size_t slash = text.find('/');
  if (slash != 1 && slash != 2) return false;
  if (!readDigits(text, 0, static_cast<int>(slash), value)) return false;
  text.remove_prefix(slash + 1);
  return true;
}

}  // namespace

int compareTexts(std::string_view left, std::string_view right) noexcept {
  const std::size_t common = left.size() < right.size() ? left.size() : right.size();
  const int order = common == 0 ? 0 : std::memcmp(left.data(), right.data(), common);
  if (order != 0) return order;
  for (std::size_t i = common; i < right.size(); ++i) {
    if (right[i] != ' ') return ' ' - static_cast<int>(static_cast<unsigned char>(right[i]));
  }
  return 0;
}

std::string_view withoutTrailingBlanks(std::string_view text) noexcept {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

std::string_view withoutLeadingBlanks(std::string_view text) noexcept {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  return text;
}

void upperText(std::uint8_t codePage, std::string_view text, char *out) noexcept {
  const unsigned char *const high = upperHalf(codePage);
  if (!text.empty()) std::memmove(out, text.data(), text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(out[i]);
    if (byte >= 'a' && byte <= 'z') {
      out[i] = static_cast<char>(byte - 'a' + 'A');
    } else if (byte >= 0x80 && high != nullptr) {
      out[i] = static_cast<char>(high[byte - 0x80]);
    }
  }
}

void formatNumber(double value, int decimals, char *out, std::size_t length) noexcept {
  const std::size_t digits =
      base::formatFixed(out, length, awayFromHalf(value, decimals), decimals);
  if (digits == 0) {
    std::memset(out, '*', length);
    return;
  }
  std::memmove(out + (length - digits), out, digits);
  std::memset(out, ' ', length - digits);
}

void formatShownDate(std::int64_t julian, char (&out)[kDateTextSize]) noexcept {
  std::memcpy(out, "  /  /  ", sizeof out);
  if (julian == 0) return;
  const CivilDate date = civilFromJulian(julian);
  putDigits(out, date.month, 2);
  putDigits(out + 3, date.day, 2);
  putDigits(out + 6, static_cast<unsigned>(date.year % 100), 2);
}

void formatStoredDate(std::int64_t julian, char (&out)[kDateTextSize]) noexcept {
  std::memset(out, ' ', sizeof out);
  if (julian == 0) return;
  const CivilDate date = civilFromJulian(julian);
  putDigits(out, static_cast<unsigned>(date.year), 4);
  putDigits(out + 4, date.month, 2);
  putDigits(out + 6, date.day, 2);
}

std::int64_t parseShownDate(std::string_view text) noexcept {
  constexpr unsigned kFirstYear = 1930;  // of those that two digits stand for
  text = withoutTrailingBlanks(withoutLeadingBlanks(text));
  unsigned year, month, day;
  if (!takePart(text, month) || !takePart(text, day)) return 0;
  if (text.size() != 2 && text.size() != 4) return 0;
  if (!readDigits(text, 0, static_cast<int>(text.size()), year)) return 0;
  if (text.size() == 2) year += year + 1900 < kFirstYear ? 2000 : 1900;
  return checkedJulian({year, month, day});
}

}  // namespace zk::engine
