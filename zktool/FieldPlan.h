// The fields of a table that `import` makes: from --fields, or chosen from header and data.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "CsvReader.h"
#include "Table.h"

namespace zk::tool {

// "NAME,C,20;QTY,N,8,2": types C, N, F (with width; N and F with decimals), D, L, M, G, B. Throws
// UsageError.
std::vector<Field> parseFieldList(const std::string &text);

// Field names for the header row: upper-case, at most 10 characters, unique, with "_" for blanks
// and punctuation. Throws Failure for a column without a name.
std::vector<std::string> headerNames(const CsvReader &header);

// Chooses type and width for one column: the narrowest that keeps every value's text.
class ColumnGuess {
 public:
  void add(std::string_view value);
  Field field(const std::string &name) const;

 private:
  void addNumber(std::string_view value);

  bool any_ = false;
  bool dates_ = true;
  bool logicals_ = true;
  bool numbers_ = true;
  std::size_t length_ = 0;   // bytes of the longest value
  std::size_t integer_ = 0;  // longest part before the decimal point, sign included
  std::size_t decimals_ = 0;
};

}  // namespace zk::tool
