// Conversions between numbers and text that ignore the process locale and never overflow.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zk::base {

// The number that `text` begins with (leading white space, sign, digits, one point, an exponent);
// 0 when it begins with none. Reads up to a NUL or the end. Text too large for a double is
// +-infinity's nearest finite value.
double toDouble(std::string_view text) noexcept;

// The integer that `text` begins with; saturates at the limits of the type.
int32_t toInt32(std::string_view text) noexcept;
int64_t toInt64(std::string_view text) noexcept;

// Truncates toward zero; INT32_MIN when the value does not fit or is NaN.
int32_t toInt32(double value) noexcept;

// `value` with exactly `decimals` digits after the point (0: no point), correctly rounded, never
// with an exponent, never "-0". Writes no NUL. The result is the length, or 0 when it would take
// more than `size` characters or the value is not finite.
std::size_t formatFixed(char *out, std::size_t size, double value, int decimals) noexcept;

// The same, right-aligned in exactly `width` characters with blanks before it. False when it does
// not fit or is not finite; `out` is then undefined.
bool formatFixedRight(char *out, std::size_t width, double value, int decimals) noexcept;

// The digits of `value`; the same result rule.
std::size_t formatInteger(char *out, std::size_t size, int64_t value) noexcept;

}  // namespace zk::base
