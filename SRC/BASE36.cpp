#include "zk/base36.h"

#include <array>
#include <cmath>
#include <cstring>
#include <string_view>

namespace {

constexpr std::string_view kDigits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::size_t kMostDigits = 9;
using Buffer = std::array<char, kMostDigits + 1>;

constexpr auto kPowers = [] {
  std::array<double, kMostDigits + 1> powers{1.0};
  for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * 36.0;
  return powers;
}();

Buffer fromBase10Buffer;

// What is no digit, lower-case letters included, is meant to count as -1.
double valueOf(char digit) {
  const std::size_t value = kDigits.find(digit);
  return value != std::string_view::npos ? static_cast<double>(value) : -1.0;
}

char digitOf(std::size_t value) { return value < kDigits.size() ? kDigits[value] : '0'; }

double toNumber(std::string_view digits) {
  double number = 0.0;
  for (std::size_t i = digits.size(); i-- > 0;) {
    number += valueOf(digits[i]) * std::pow(36.0, static_cast<double>(digits.size() - 1 - i));
  }
  return number;
}

// Writes "" and gives false for what has no digits, or too many.
bool toDigits(double number, Buffer &out) {
  char *end = out.data();
  *end = '\0';
  if (!(number >= 0.0 && number < kPowers[kMostDigits])) return false;
  std::size_t power = kMostDigits - 1;
  while (power > 0 && number < kPowers[power]) --power;
  for (std::size_t i = power + 1; i-- > 0;) {
    const double digit = std::trunc(number / kPowers[i]);
    number -= digit * kPowers[i];
    *end++ = digitOf(static_cast<std::size_t>(digit));
  }
  *end = '\0';
  return true;
}

double numberOf(const char *digits) { return digits != nullptr ? toNumber(digits) : 0.0; }

}  // namespace

ZK_EXTERN_C_BEGIN

double ZK_CALL zk_Base36_toBase10(const char *digits) { return numberOf(digits); }

int ZK_CALL zk_Base36_compare(const char *a, const char *b) {
  const double left = numberOf(a);
  const double right = numberOf(b);
  return (left > right) - (left < right);
}

const char *ZK_CALL zk_Base36_fromBase10(double value) {
  toDigits(value, fromBase10Buffer);
  return fromBase10Buffer.data();
}

int ZK_CALL zk_Base36_increment(char *digits, int32_t step) {
  Buffer result;
  if (digits == nullptr || !toDigits(toNumber(digits) + step, result)) return 0;
  std::strcpy(digits, result.data());
  return 1;
}

ZK_EXTERN_C_END
