// Reads a CSV file (RFC 4180; LF, CRLF or CR line ends; a byte order mark is skipped) row by row in
// constant memory and knows the line in the file at which each value begins.
#pragma once

#include <csv.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Table.h"

namespace zk::tool {

struct CsvValue {
  std::string text;
  std::int64_t line = 0;
};

class CsvReader {
 public:
  explicit CsvReader(std::string file);
  ~CsvReader();
  CsvReader(const CsvReader &) = delete;
  CsvReader &operator=(const CsvReader &) = delete;

  // Back to the header line.
  void rewind();

  // The next row; false at the end of the file. Empty lines are no rows. Throws Failure naming line
  // and column for misplaced quotes.
  bool next();

  // Values of the current row.
  std::size_t count() const { return count_; }
  const CsvValue &operator[](std::size_t i) const { return values_[i]; }

  const std::string &file() const { return file_; }
  std::int64_t bytesRead() const { return bytesRead_; }
  std::int64_t bytesTotal() const { return bytesTotal_; }

  // "FILE: line L, column N: text"; the column counts from 0.
  Failure failure(std::size_t column, const std::string &text) const;

 private:
  static void onValue(void *text, std::size_t length, void *self);
  static void onRow(int end, void *self);
  void startParser();
  bool fill();
  std::string_view takeLine();
  void parseLine(std::string_view line);
  void finish();

  std::string file_;
  std::unique_ptr<std::FILE, int (*)(std::FILE *)> stream_;
  csv_parser parser_{};
  std::vector<char> buffer_;
  std::size_t position_ = 0;
  std::size_t end_ = 0;
  std::int64_t bytesRead_ = 0;
  std::int64_t bytesTotal_ = 0;

  std::vector<CsvValue> values_;  // the first count_ are valid
  std::size_t count_ = 0;
  bool rowDone_ = false;
  bool inRow_ = false;  // part of a row has been parsed
  bool finished_ = false;
  std::int64_t line_ = 1;       // of the bytes at position_
  std::int64_t valueLine_ = 1;  // where the value in progress begins
  char previous_ = 0;
};

}  // namespace zk::tool
