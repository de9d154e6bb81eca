// The commands: each takes its parsed options, writes data to the output and throws Failure.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Output.h"

namespace zk::tool {

struct CatOptions {
  std::string table;
  std::string format = "table";      // or "csv", "json"
  std::int64_t limit = -1;           // records to print; -1: all
  bool deleted = false;              // also the records marked as deleted
  std::optional<std::string> order;  // a tag; record order without one
  std::optional<std::string> index;  // the index file to open for it
};

struct SeekOptions {
  std::string table;
  std::string key;
  std::optional<std::string> index;
  std::optional<std::string> tag;
};

struct ImportOptions {
  std::string table;
  std::string csvFile;
  std::string fields;  // "NAME,C,20;QTY,N,8,2"; empty: chosen from the data
  bool append = false;
};

// The field list of --fields is wrong: exit status 2.
class UsageError : public std::exception {
 public:
  explicit UsageError(std::string text) : text_(std::move(text)) {}
  const char *what() const noexcept override { return text_.c_str(); }

 private:
  std::string text_;
};

void runInfo(const std::string &table, Output &out);
void runCat(const CatOptions &options, Output &out);
void runSeek(const SeekOptions &options, Output &out);
void runImport(const ImportOptions &options, Output &out);
void runPack(const std::string &table, Output &out);

}  // namespace zk::tool
