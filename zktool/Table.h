// An open table as the commands see it: fields with their kinds, records one by one, and every
// failure of the library as an exception that carries its one line for the user.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "zk_baselib.h"

namespace zk::tool {

// Ends the command with exit status 1; the text goes to standard error.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// "Opening File (-60)" for -60.
std::string codeText(int code);

// The same of the library's last error; `status` tells where it has none (50: locked).
std::string errorText(int status);

// "FILE: Opening File (-60)", with the file that the error names, else the table.
Failure libraryFailure(const std::string &table, int status);

enum class Kind { kText, kNumber, kDate, kDateTime, kLogical, kMemo, kNullFlags };

struct Field {
  std::string name;
  char type = 'C';
  int width = 0;
  int decimals = 0;
  Kind kind = Kind::kText;
  int32_t number = 0;      // from 1
  bool nameIsOwn = true;   // false when an earlier field has the same name
  bool fixedText = false;  // the text of every record has exactly `width` bytes

  // Derives the kind from type and width; `newer` says that the table's version is 0x30 to 0x32.
  void setKind(bool newer);
};

// The part of a field's text that a reader wants: memos whole, numbers without any blanks, all else
// without trailing ones.
std::string_view readable(const Field &field, std::string_view text);

using Values = std::vector<std::string>;  // field texts as stored, blanks and all

struct Tag {
  // Upper and lower case are the same.
  bool isNamed(const std::string &text) const {
    return zk_Str_cmpi(name.c_str(), text.c_str()) == 0;
  }

  std::string name;
  std::string expression;
  std::string filter;  // "" without one
  std::string file;    // of the index
  int keyLength = 0;
  bool unique = false;
  bool descending = false;
  bool candidate = false;  // unique, and with the keys of all records
  int problem = 0;         // 0, or why the engine cannot evaluate the keys
  int32_t number = -1;     // for positioning
  int32_t place = 0;       // among the table's tags, from 1
};

class Table {
 public:
  Table(std::string name, int mode);
  ~Table();
  Table(const Table &) = delete;
  Table &operator=(const Table &) = delete;

  int32_t id() const { return id_; }
  const std::string &name() const { return name_; }
  const ZkDbInfo &info() const { return info_; }
  const std::vector<Field> &fields() const { return fields_; }

  // Throws when the table refuses changes.
  void requireWritable() const;

  // Of the open index files: the production index first.
  std::vector<Tag> tags() const;

  // The number of the tag's keys; a code of the library when it cannot be read.
  int32_t keyCount(const Tag &tag) const { return zk_Tag_keyCount(id_, tag.place); }

  // Opens a further index file.
  void openIndex(const std::string &file);

  // Chooses a tag as the order of the moves from now on, and for seeks: by name, first among those
  // of the index file that was opened last; without a name the first of that file.
  Tag useTag(const std::optional<std::string> &name);

  // Move in the order chosen, at first record order, among the records for which the condition
  // holds; an empty one holds for all. False behind the last record.
  bool first(const std::string &condition);
  bool next();
  bool deleted() const { return zk_Db_deleted(id_) != 0; }

  // A record by its number, and writing what was assigned to it, not marked as deleted any more.
  void go(int32_t record);
  void update();
  // Between these two, assigning fills a blank record.
  void beginAppend();
  void append();
  void assign(const std::string &field, std::string_view text);

  enum class Found { kKey, kNextKey, kNothing };
  // Seeks in the chosen tag.
  Found seek(const std::string &key);

  // The field's text in the current record, blanks and all; false (and empty) when it is a memo
  // that cannot be read.
  bool read(const Field &field, std::string &text) const;

  // Closes and reports what could not be written. (The destructor closes silently.)
  void close();

 private:
  void loadFields();
  void requireDone(int status) const;
  bool arrived(int status) const;
  bool located(int status) const;

  std::string name_;
  int32_t id_;
  ZkDbInfo info_{};
  std::vector<Field> fields_;
  int32_t order_ = -1;             // the tag number for the moves; -1: record order
  std::size_t newestIndexAt_ = 0;  // the place of its first tag among all
};

}  // namespace zk::tool
