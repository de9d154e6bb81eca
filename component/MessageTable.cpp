#include "component/MessageTable.h"

#include <optional>
#include <utility>

#include "zk/db.h"
#include "zk/extras.h"
#include "zk/file.h"
#include "zk/msg.h"
#include "zk/sys.h"

namespace zk::component {
namespace {

constexpr char kNumberField[] = "MSG_NO";
constexpr char kTextField[] = "MSG_NAME";
constexpr char kEnglishField[] = "MSG_ENGLIS";

constexpr int32_t kNoTable = -1;
constexpr int32_t kRecordOrder = -1;
constexpr int kEndOfFile = 3;
constexpr int32_t kNotFound = -60;

// A missing table is no reason for a message.
class Silence {
 public:
  Silence() : before_(zk_Db_setErrorBoxes(0)) {}
  ~Silence() { zk_Db_setErrorBoxes(before_); }
  Silence(const Silence &) = delete;
  Silence &operator=(const Silence &) = delete;

 private:
  int before_;
};

class OpenTable {
 public:
  OpenTable(const std::string &prefix, const std::string &language) {
    zk_Msg_openDb(prefix.c_str(), language.c_str(), &id_, &index_);
  }
  ~OpenTable() {
    if (id_ != kNoTable) zk_Msg_closeDb(id_);
  }
  OpenTable(const OpenTable &) = delete;
  OpenTable &operator=(const OpenTable &) = delete;

  bool ok() const { return id_ != kNoTable; }
  int32_t id() const { return id_; }

 private:
  int32_t id_ = kNoTable;
  int32_t index_ = -1;
};

// Whether the table lies where it is looked for first, though it could not be opened.
bool isInPlace(const std::string &prefix, const std::string &language) {
  char directory[512];
  zk_Sys_getNetDir(directory);
  const std::string file = std::string(directory) + "language\\" + prefix + "_" + language + ".dbf";
  return zk_File_exists(file.c_str()) != 0;
}

void trimEnd(std::string &text) { text.erase(text.find_last_not_of(' ') + 1); }

void trim(std::string &text) {
  trimEnd(text);
  text.erase(0, text.find_first_not_of(' '));
}

// Nothing when there is no such field, or it cannot be read.
std::optional<std::string> fieldText(int32_t table, const char *field) {
  const int32_t length = zk_Db_getFldLength(table, field);
  if (length < 0) return std::nullopt;
  std::string text(static_cast<std::size_t>(length), '\0');
  if (zk_Db_cpyFldN(table, field, text.data(), length) != length) return std::nullopt;
  trimEnd(text);
  return text;
}

}  // namespace

MessageTable::Result MessageTable::read(const std::string &prefix, const std::string &language) {
  const Silence silence;
  zk_Db_getRecordCount(kNoTable);  // forgets the last error
  const OpenTable table(prefix, language);
  if (!table.ok()) {
    const bool missing = zk_DbError_code() == kNotFound && !isInPlace(prefix, language);
    return missing ? Result::kNone : Result::kLater;
  }
  hasEnglish_ = zk_Db_getFldLength(table.id(), kEnglishField) >= 0;
  int status = zk_Db_topRec(table.id(), kRecordOrder);
  while (status == 0) {
    if (zk_Db_deleted(table.id()) == 0) readRecord(table.id());
    status = zk_Db_nextRec(table.id(), kRecordOrder);
  }
  return status == kEndOfFile ? Result::kRead : Result::kLater;
}

void MessageTable::readRecord(int32_t table) {
  auto number = fieldText(table, kNumberField);
  const auto text = fieldText(table, kTextField);
  if (!number || !text || text->empty()) return;
  trim(*number);
  byNumber_.emplace(std::move(*number), *text);
  if (!hasEnglish_) return;
  auto english = fieldText(table, kEnglishField);
  if (!english) return;
  trim(*english);
  byEnglish_.emplace(std::move(*english), *text);
}

const std::string *MessageTable::find(const Texts &texts, std::string key) {
  trim(key);
  const auto found = texts.find(key);
  return found != texts.end() ? &found->second : nullptr;
}

const std::string *MessageTable::byNumber(const std::string &number) const {
  return find(byNumber_, number);
}

const std::string *MessageTable::byEnglish(const std::string &text) const {
  return find(hasEnglish_ ? byEnglish_ : byNumber_, text);
}

}  // namespace zk::component
