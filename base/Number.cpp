#include "base/Number.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace zk::base {
namespace {

bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view skipSpace(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size() && isSpace(text[i])) ++i;
  return text.substr(i);
}

constexpr double kPowersOfTen[] = {1,    1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                   1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                   1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr int kExactPowersOfTen = 22;  // 10^22 is the largest that a double holds exactly

// Digits with at most one point whose value is exact in a double need no general parser: the
// usual content of a numeric field. Reports how far it read; false hands over to the general one.
bool parsePlainDecimal(std::string_view text, double &value) {
  std::uint64_t mantissa = 0;
  int digits = 0;
  int decimals = 0;
  bool point = false;
  std::size_t i = 0;
  for (; i < text.size(); ++i) {
    const char c = text[i];
    if (isDigit(c)) {
      mantissa = mantissa * 10 + static_cast<unsigned>(c - '0');
      if (++digits > 15) return false;
      decimals += point ? 1 : 0;
    } else if (c == '.' && !point) {
      point = true;
    } else {
      break;
    }
  }
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) return false;
  value = static_cast<double>(mantissa) / kPowersOfTen[decimals];
  return true;
}

template <typename Integer>
Integer parseInteger(std::string_view text) noexcept {
  text = skipSpace(text);
  bool negative = false;
  if (!text.empty() && (text[0] == '+' || text[0] == '-')) {
    negative = text[0] == '-';
    text.remove_prefix(1);
  }
  constexpr Integer kMax = std::numeric_limits<Integer>::max();
  constexpr Integer kMin = std::numeric_limits<Integer>::min();
  Integer value = 0;  // built negative, so that the minimum is reachable
  for (char c : text) {
    if (!isDigit(c)) break;
    const int digit = c - '0';
    if (value < (kMin + digit) / 10) return negative ? kMin : kMax;
    value = value * 10 - digit;
  }
  if (negative) return value;
  return value == kMin ? kMax : -value;
}

}  // namespace

double toDouble(std::string_view text) noexcept {
  text = skipSpace(text);
  bool negative = false;
  if (!text.empty() && (text[0] == '+' || text[0] == '-')) {
    negative = text[0] == '-';
    text.remove_prefix(1);
  }
  if (text.empty() || !(isDigit(text[0]) || text[0] == '.')) return 0.0;  // no "inf", no "nan"
  double value = 0.0;
  if (!parsePlainDecimal(text, value)) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
      // from_chars leaves the value alone; only a large exponent or a long number overflows.
      const std::string_view read(text.data(), static_cast<std::size_t>(result.ptr - text.data()));
      const std::size_t exponent = read.find_first_of("eE");
      const bool tiny = exponent != std::string_view::npos && exponent + 1 < read.size() &&
                        read[exponent + 1] == '-';
      value = tiny || read.starts_with(".0") || read.starts_with("0.")
                  ? 0.0
                  : std::numeric_limits<double>::max();
    } else if (result.ec != std::errc()) {
      value = 0.0;
    }
  }
  return negative ? -value : value;
}

int32_t toInt32(std::string_view text) noexcept { return parseInteger<int32_t>(text); }
int64_t toInt64(std::string_view text) noexcept { return parseInteger<int64_t>(text); }

int32_t toInt32(double value) noexcept {
  if (!(value > -2147483649.0 && value < 2147483648.0)) return INT32_MIN;
  return static_cast<int32_t>(value);
}

std::size_t formatInteger(char *out, std::size_t size, int64_t value) noexcept {
  const auto result = std::to_chars(out, out + size, value);
  return result.ec == std::errc() ? static_cast<std::size_t>(result.ptr - out) : 0;
}

namespace {

// Scaled to an integer, when the rounding of that integer is beyond doubt: the product's error is
// at most 2^-11 below 2^42, so only values that close to a half need the exact algorithm.
std::size_t formatScaled(char *out, std::size_t size, double value, int decimals) {
  constexpr double kLimit = 4398046511104.0;  // 2^42
  constexpr double kDoubt = 1.0 / 1024;
  const double magnitude = std::fabs(value);
  const double scaled = magnitude * kPowersOfTen[decimals];
  if (!(scaled < kLimit)) return 0;
  auto whole = static_cast<std::uint64_t>(scaled);
  const double fraction = scaled - static_cast<double>(whole);
  if (std::fabs(fraction - 0.5) < kDoubt) return 0;
  if (fraction > 0.5) ++whole;

  char digits[32];
  char *const end = digits + sizeof digits;
  char *p = end;
  const bool negative = value < 0 && whole != 0;
  for (int i = 0; i < decimals; ++i) {
    *--p = static_cast<char>('0' + whole % 10);
    whole /= 10;
  }
  if (decimals > 0) *--p = '.';
  do {
    *--p = static_cast<char>('0' + whole % 10);
    whole /= 10;
  } while (whole != 0);
  if (negative) *--p = '-';
  const auto length = static_cast<std::size_t>(end - p);
  if (length > size) return 0;
  for (std::size_t i = 0; i < length; ++i) out[i] = p[i];
  return length;
}

}  // namespace

std::size_t formatFixed(char *out, std::size_t size, double value, int decimals) noexcept {
  if (!std::isfinite(value)) return 0;
  if (decimals < 0) decimals = 0;
  if (decimals <= 12) {
    const std::size_t length = formatScaled(out, size, value, decimals);
    if (length != 0) return length;
  }
  const auto result = std::to_chars(out, out + size, value, std::chars_format::fixed, decimals);
  if (result.ec != std::errc()) return 0;
  auto length = static_cast<std::size_t>(result.ptr - out);
  // "-0.00" is zero, and zero has no sign.
  if (out[0] == '-' &&
      std::string_view(out, length).find_first_of("123456789") == std::string_view::npos) {
    --length;
    for (std::size_t i = 0; i < length; ++i) out[i] = out[i + 1];
  }
  return length;
}

}  // namespace zk::base
