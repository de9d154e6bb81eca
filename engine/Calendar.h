// The Gregorian calendar and Julian day numbers, and the texts of dates.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zk::engine {

struct CivilDate {
  std::int64_t year;
  unsigned month;
  unsigned day;
};

constexpr std::int64_t kFirstJulian = 1721426;  // 0001-01-01
constexpr std::int64_t kLastJulian = 5373484;   // 9999-12-31

CivilDate civilFromJulian(std::int64_t julian) noexcept;
std::int64_t julianFromCivil(const CivilDate &date) noexcept;

// The day's Julian number; 0 when no calendar of the years 1 to 9999 has it.
std::int64_t checkedJulian(const CivilDate &date) noexcept;

// The date that `text` begins with as it is stored, CCYYMMDD; 0 when it is none.
std::int64_t parseStoredDate(std::string_view text) noexcept;

// `digits` decimal digits; reading is false, and the value undefined, when some are missing.
void putDigits(char *out, unsigned value, int digits) noexcept;
bool readDigits(std::string_view text, std::size_t at, int digits, unsigned &value) noexcept;

}  // namespace zk::engine
