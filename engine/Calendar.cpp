#include "engine/Calendar.h"

namespace zk::engine {
namespace {

constexpr std::int64_t kJulianOfCivilEpoch = 2440588;  // 1970-01-01

}  // namespace

// Day numbers and back; the year begins in March, so that the leap day ends it (H. Hinnant,
// "chrono-Compatible Low-Level Date Algorithms").
CivilDate civilFromJulian(std::int64_t julian) noexcept {
  const std::int64_t z = julian - kJulianOfCivilEpoch + 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const auto dayOfEra = static_cast<unsigned>(z - era * 146097);
  const unsigned yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const unsigned monthFromMarch = (5 * dayOfYear + 2) / 153;
  const unsigned month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
  return {static_cast<std::int64_t>(yearOfEra) + era * 400 + (month <= 2 ? 1 : 0), month,
          dayOfYear - (153 * monthFromMarch + 2) / 5 + 1};
}

std::int64_t julianFromCivil(const CivilDate &date) noexcept {
  const std::int64_t year = date.year - (date.month <= 2 ? 1 : 0);
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const auto yearOfEra = static_cast<unsigned>(year - era * 400);
  const unsigned monthFromMarch = date.month > 2 ? date.month - 3 : date.month + 9;
  const unsigned dayOfYear = (153 * monthFromMarch + 2) / 5 + date.day - 1;
  const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + static_cast<std::int64_t>(dayOfEra) - 719468 + kJulianOfCivilEpoch;
}

std::int64_t checkedJulian(const CivilDate &date) noexcept {
  if (date.year < 1 || date.year > 9999 || date.month < 1 || date.month > 12) return 0;
  const std::int64_t julian = julianFromCivil(date);
  // A day that the month does not have comes back as one of another month.
  const CivilDate same = civilFromJulian(julian);
  return same.month == date.month && same.day == date.day ? julian : 0;
}

std::int64_t parseStoredDate(std::string_view text) noexcept {
  unsigned year, month, day;
  if (text.size() < 8 || !readDigits(text, 0, 4, year) || !readDigits(text, 4, 2, month) ||
      !readDigits(text, 6, 2, day)) {
    return 0;
  }
  return checkedJulian({year, month, day});
}

void putDigits(char *out, unsigned value, int digits) noexcept {
  for (int i = digits; i-- > 0; value /= 10) out[i] = static_cast<char>('0' + value % 10);
}

bool readDigits(std::string_view text, std::size_t at, int digits, unsigned &value) noexcept {
  value = 0;
  for (int i = 0; i < digits; ++i) {
    const char c = text[at + static_cast<std::size_t>(i)];
    if (c < '0' || c > '9') return false;
    value = value * 10 + static_cast<unsigned>(c - '0');
  }
  return true;
}

}  // namespace zk::engine
