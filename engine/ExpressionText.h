// What expressions do with texts: comparing, upper case, numbers and dates as text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zk::engine {

constexpr std::size_t kDateTextSize = 8;  // MM/DD/YY and CCYYMMDD

// Negative, 0 or positive: as many bytes as the right one has, the left one blank-padded.
int compareTexts(std::string_view left, std::string_view right) noexcept;

std::string_view withoutTrailingBlanks(std::string_view text) noexcept;
std::string_view withoutLeadingBlanks(std::string_view text) noexcept;

// Upper case in the code page that a table's header names; of others only the letters A to Z.
// `out` may be the text itself or overlap it.
void upperText(std::uint8_t codePage, std::string_view text, char *out) noexcept;

// Right-aligned in `length` bytes; asterisks when they are too few. Halves round away from zero.
void formatNumber(double value, int decimals, char *out, std::size_t length) noexcept;

// MM/DD/YY and CCYYMMDD; blanks for the empty date.
void formatShownDate(std::int64_t julian, char (&out)[kDateTextSize]) noexcept;
void formatStoredDate(std::int64_t julian, char (&out)[kDateTextSize]) noexcept;

// MM/DD/YY or MM/DD/CCYY, month and day of one or two digits, blanks around it; 0 for anything
// else.
std::int64_t parseShownDate(std::string_view text) noexcept;

}  // namespace zk::engine
