// The commands: each takes its parsed options, writes data to the output and throws Failure.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Output.h"

namespace zk::tool {

struct CatOptions {
  std::string table;
  std::string format = "table";      // or "csv", "json"
  std::int64_t limit = -1;           // records to print; -1: all
  bool deleted = false;              // also the records marked as deleted
  std::optional<std::string> order;  // a tag; record order without one
  std::optional<std::string> index;  // the index file to open for it
  std::optional<std::string> where;  // a condition
};

struct SeekOptions {
  std::string table;
  std::string key;
  std::optional<std::string> index;
  std::optional<std::string> tag;
};

struct IndexOptions {
  std::string table;
  std::string expressions;          // of the keys, separated by commas
  std::optional<std::string> name;  // of the index file; the table's own without one
  std::optional<std::string> tag;   // its name, for one expression
  std::optional<std::string> filter;
  bool unique = false;
  bool descending = false;
};

struct CheckOptions {
  std::string table;
  std::vector<std::string> indexes;  // beside the production index
  bool repair = false;
};

struct ImportOptions {
  std::string table;
  std::string csvFile;
  std::string fields;  // "NAME,C,20;QTY,N,8,2"; empty: chosen from the data
  bool append = false;
};

struct IniOptions {
  std::string file;
  std::string group;  // list: "" for the groups of the file
  std::string name;
  std::string value;
};

struct MessagesOptions {
  std::string language;  // list: "" for the tables of all languages
  std::string csvFile;
  std::string format = "table";          // or "csv", "json"
  std::optional<std::string> directory;  // the network directory's "language" without one
};

// The value of an argument is wrong: exit status 2.
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
void runIndex(const IndexOptions &options, Output &out);
void runCheck(const CheckOptions &options, Output &out);
void runImport(const ImportOptions &options, Output &out);
void runPack(const std::string &table, Output &out);
void runIniGet(const IniOptions &options, Output &out);
void runIniSet(const IniOptions &options);
void runIniList(const IniOptions &options, Output &out);
void runEnvExpand(const std::string &text, Output &out);
void runMessagesImport(const MessagesOptions &options, Output &out);
void runMessagesList(const MessagesOptions &options, Output &out);

}  // namespace zk::tool
