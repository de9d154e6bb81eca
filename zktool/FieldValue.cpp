#include "FieldValue.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>

#include "Text.h"

namespace zk::tool {
namespace {

bool allDigits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

int toInt(std::string_view digits) {
  int value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return value;
}

std::string_view withoutLeadingZeros(std::string_view digits) {
  digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
  return digits;
}

std::string_view withoutTrailingZeros(std::string_view digits) {
  return digits.substr(0, digits.find_last_not_of('0') + 1);
}

std::string sized(std::size_t length) { return std::to_string(length) + " bytes"; }

std::string characterText(const Field &field, std::string_view value, std::string &problem) {
  value = withoutTrailingBlanks(value);
  const auto width = static_cast<std::size_t>(field.width);
  if (value.size() > width) problem = "has " + sized(value.size()) + ", the field " + sized(width);
  return std::string(value);
}

// The digits with exactly that many decimals and no leading zeros.
std::string plainNumber(const Decimal &number, std::size_t decimals) {
  const std::string_view integer = withoutLeadingZeros(number.integer);
  const std::string_view fraction = withoutTrailingZeros(number.fraction);
  std::string text = integer.empty() && fraction.empty() ? "" : number.negative ? "-" : "";
  text += integer.empty() ? "0" : integer;
  if (decimals > 0)
    text += "." + std::string(fraction) + std::string(decimals - fraction.size(), '0');
  return text;
}

std::string numberText(const Field &field, std::string_view value, std::string &problem) {
  Decimal number;
  if (!parseDecimal(value, number)) return problem = "is not a number", "";
  const auto decimals = static_cast<std::size_t>(field.decimals);
  const auto width = static_cast<std::size_t>(field.width);
  if (withoutTrailingZeros(number.fraction).size() > decimals) {
    problem = "has more than " + std::to_string(decimals) + " decimals";
    return "";
  }
  const std::string text = plainNumber(number, decimals);
  if (text.size() > width) {
    problem = "needs " + std::to_string(text.size()) + " characters, the field has " +
              std::to_string(width);
    return "";
  }
  return std::string(width - text.size(), ' ') + text;
}

// Fields of newer tables that keep a binary number: a whole number times 10 to the -`decimals`, at
// most `limit`.
std::string scaledText(std::string_view value, std::size_t decimals, std::string_view limit,
                       std::string &problem) {
  Decimal number;
  if (!parseDecimal(value, number)) return problem = "is not a number", "";
  if (withoutTrailingZeros(number.fraction).size() > decimals) {
    problem = "has more than " + std::to_string(decimals) + " decimals";
    return "";
  }
  std::string text = plainNumber(number, decimals);
  std::string digits;
  std::copy_if(text.begin(), text.end(), std::back_inserter(digits),
               [](char c) { return c >= '0' && c <= '9'; });
  const std::string_view significant = withoutLeadingZeros(digits);
  if (significant.size() > limit.size() ||
      (significant.size() == limit.size() && significant > limit)) {
    problem = "is too large for the field";
  }
  return text;
}

std::string doubleText(std::string_view value, std::string &problem) {
  double number = 0;
  const char *end = value.data() + value.size();
  const auto [stop, error] = std::from_chars(value.data(), end, number);
  if (error != std::errc() || stop != end || !std::isfinite(number)) problem = "is not a number";
  return std::string(value);
}

std::string dateTimeText(std::string_view value, std::string &problem) {
  const auto part = [&](std::size_t at) { return value.substr(at, 2); };
  const bool shape = value.size() == 19 && (value[10] == ' ' || value[10] == 'T') &&
                     value[13] == ':' && value[16] == ':' && allDigits(part(11)) &&
                     allDigits(part(14)) && allDigits(part(17));
  if (!shape || dateDigits(value.substr(0, 10)).empty() || toInt(part(11)) > 23 ||
      toInt(part(14)) > 59 || toInt(part(17)) > 59) {
    return problem = "is not a time (CCYY-MM-DD hh:mm:ss)", "";
  }
  return std::string(value.substr(0, 10)) + " " + std::string(value.substr(11));
}

std::string logicalText(std::string_view value, std::string &problem) {
  if (value == "?" || value == "1" || value == "0") {
    return value == "?" ? "?" : value == "1" ? "T" : "F";
  }
  const char letter = logicalLetter(value);
  if (letter == 0) return problem = "is not a logical value (T, F, Y, N, true, false, yes, no)", "";
  return std::string(1, letter);
}

std::string binaryNumberText(const Field &field, std::string_view value, std::string &problem) {
  if (field.type == 'I') return scaledText(value, 0, "2147483647", problem);
  if (field.type == 'Y') return scaledText(value, 4, "9223372036854775807", problem);
  return doubleText(value, problem);
}

}  // namespace

bool parseDecimal(std::string_view text, Decimal &number) {
  number.negative = text.starts_with('-');
  if (number.negative) text.remove_prefix(1);
  const std::size_t point = text.find('.');
  number.integer = text.substr(0, point);
  number.fraction = point == std::string_view::npos ? "" : text.substr(point + 1);
  if (!allDigits(number.integer) || !allDigits(number.fraction)) return false;
  return point == std::string_view::npos ? !number.integer.empty() : !number.fraction.empty();
}

std::string dateDigits(std::string_view text) {
  std::string digits(text);
  if (digits.size() == 10 && digits[4] == '-' && digits[7] == '-') {
    digits.erase(7, 1).erase(4, 1);
  }
  if (digits.size() != 8 || !allDigits(digits)) return "";
  const std::string_view view = digits;
  const std::chrono::year_month_day date(
      std::chrono::year(toInt(view.substr(0, 4))),
      std::chrono::month(static_cast<unsigned>(toInt(view.substr(4, 2)))),
      std::chrono::day(static_cast<unsigned>(toInt(view.substr(6)))));
  return date.ok() && date.year() > std::chrono::year(0) ? digits : "";
}

char logicalLetter(std::string_view text) {
  const std::string word = upperCase(text);
  for (const std::string_view known : {"TRUE", "FALSE", "YES", "NO"}) {
    if (word == known || word == known.substr(0, 1)) {
      return word.size() == 1 ? word[0] : known == "TRUE" || known == "YES" ? 'T' : 'F';
    }
  }
  return 0;
}

std::string fieldText(const Field &field, std::string_view value, std::string &problem) {
  problem.clear();
  if (field.kind == Kind::kMemo) return std::string(value);
  if (field.kind == Kind::kText) return characterText(field, value, problem);
  value = withoutBlanks(value);
  if (value.empty()) return "";
  switch (field.kind) {
    case Kind::kDate: {
      const std::string digits = dateDigits(value);
      if (digits.empty()) problem = "is not a date (CCYY-MM-DD or CCYYMMDD)";
      return digits;
    }
    case Kind::kDateTime:
      return dateTimeText(value, problem);
    case Kind::kLogical:
      return logicalText(value, problem);
    default:
      return field.fixedText ? numberText(field, value, problem)
                             : binaryNumberText(field, value, problem);
  }
}

}  // namespace zk::tool
