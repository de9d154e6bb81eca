#include "base/Number.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
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

// Digits with at most one point whose value is exact in a double need no general parser: the
// usual content of a numeric field. False hands over to the general one.
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

constexpr char kDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

constexpr std::uint64_t kIntegerPowersOfTen[] = {
    1,        10,        100,        1000,        10000,        100000,        1000000,
    10000000, 100000000, 1000000000, 10000000000, 100000000000, 1000000000000, 10000000000000};

int countDigits(std::uint64_t value) {
  const int estimate =
      static_cast<int>(std::bit_width(value | 1)) * 1233 >> 12;  // log10(2), rounded down
  return estimate + (value >= kIntegerPowersOfTen[estimate] ? 1 : 0);
}

// A number scaled to an integer by its decimals, ready to be written.
struct ScaledNumber {
  std::uint64_t whole;
  int decimals;
  bool negative;
  std::size_t length;

  // Succeeds when the rounding is beyond doubt: the product's error is at most 2^-11 below 2^42, so
  // only values that close to a half need the exact algorithm.
  bool set(double value, int places) noexcept {
    constexpr double kLimit = 4398046511104.0;  // 2^42
    constexpr double kDoubt = 1.0 / 1024;
    constexpr int kMostDecimals = 12;
    if (places > kMostDecimals) return false;
    const double scaled = std::fabs(value) * kPowersOfTen[places];
    if (!(scaled < kLimit)) return false;
    const auto truncated = static_cast<std::int64_t>(scaled);
    const double fraction = scaled - static_cast<double>(truncated);
    if (std::fabs(fraction - 0.5) < kDoubt) return false;
    whole = static_cast<std::uint64_t>(truncated) + (fraction > 0.5 ? 1 : 0);
    decimals = places;
    negative = value < 0 && whole != 0;
    const int digits = countDigits(whole);
    length = static_cast<std::size_t>((digits > places ? digits : places + 1) +
                                      (places > 0 ? 1 : 0) + (negative ? 1 : 0));
    return true;
  }

  // Writes the `length` characters before `end`: in place, from the back, two digits at a time.
  void writeBefore(char *end) const noexcept {
    std::uint64_t rest = whole;
    char *p = end;
    if (decimals > 0) {
      int places = decimals;
      for (; places >= 2; places -= 2) p = putPair(p, rest);
      if (places > 0) p = putDigit(p, rest);
      *--p = '.';
    }
    while (rest >= 10) p = putPair(p, rest);
    if (rest > 0 || p == end || *p == '.') p = putDigit(p, rest);
    if (negative) *--p = '-';
  }

 private:
  static char *putPair(char *p, std::uint64_t &rest) noexcept {
    p -= 2;
    std::memcpy(p, kDigitPairs + rest % 100 * 2, 2);
    rest /= 100;
    return p;
  }
  static char *putDigit(char *p, std::uint64_t &rest) noexcept {
    *--p = static_cast<char>('0' + rest % 10);
    rest /= 10;
    return p;
  }
};

}  // namespace

bool formatFixedRight(char *out, std::size_t width, double value, int decimals) noexcept {
  ScaledNumber number;
  if (decimals >= 0 && number.set(value, decimals)) {
    if (number.length > width) return false;
    std::memset(out, ' ', width - number.length);
    number.writeBefore(out + width);
    return true;
  }
  char digits[400];
  const std::size_t length = formatFixed(digits, sizeof digits, value, decimals);
  if (length == 0 || length > width) return false;
  std::memset(out, ' ', width - length);
  std::memcpy(out + (width - length), digits, length);
  return true;
}

std::size_t formatFixed(char *out, std::size_t size, double value, int decimals) noexcept {
  if (!std::isfinite(value)) return 0;
  if (decimals < 0) decimals = 0;
  ScaledNumber number;
  if (number.set(value, decimals)) {
    if (number.length > size) return 0;
    number.writeBefore(out + number.length);
    return number.length;
  }
  char text[400];  // the largest double has 309 digits before the point
  const auto result =
      std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, decimals);
  if (result.ec != std::errc()) return 0;
  std::string_view digits(text, static_cast<std::size_t>(result.ptr - text));
  // "-0.00" is zero, and zero has no sign.
  if (digits.find_first_of("123456789") == std::string_view::npos && digits.front() == '-') {
    digits.remove_prefix(1);
  }
  if (digits.size() > size) return 0;
  return digits.copy(out, digits.size());
}

}  // namespace zk::base
