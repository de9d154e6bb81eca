// Values of a CSV file for the fields of a table: checked exactly, never rounded or cut.
#pragma once

#include <string>
#include <string_view>

#include "Table.h"

namespace zk::tool {

// A number written with digits only: no exponent, no grouping.
struct Decimal {
  bool negative = false;
  std::string_view integer;   // digits before the point, as written
  std::string_view fraction;  // digits behind it
};

// -?digits[.digits] or -?.digits; false for anything else.
bool parseDecimal(std::string_view text, Decimal &number);

// CCYYMMDD for "CCYY-MM-DD" or "CCYYMMDD" when that day exists, else "".
std::string dateDigits(std::string_view text);

// The letter T, F, Y or N for such a letter or for true, false, yes, no in any case; else 0.
char logicalLetter(std::string_view text);

// What to assign to the field for a value. "" in `problem` means that the value fits; otherwise it
// says why not ("is not a date").
std::string fieldText(const Field &field, std::string_view value, std::string &problem);

}  // namespace zk::tool
