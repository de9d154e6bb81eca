#include "Table.h"

#include <algorithm>

#include "Text.h"

namespace zk::tool {
namespace {

constexpr int kNextGreater = 2;
constexpr int kEndOfFile = 3;
constexpr int kLocked = 50;
constexpr int kOverflow = -440;

Kind kindOf(char type, int width, bool newer) {
  switch (type) {
    case 'N':
    case 'F':
      return Kind::kNumber;
    case 'D':
      return Kind::kDate;
    case 'L':
      return Kind::kLogical;
    case 'M':
    case 'G':
      return Kind::kMemo;
    case 'B':
      return newer && width == 8 ? Kind::kNumber : Kind::kMemo;
    case 'I':
    case 'Y':
      return newer ? Kind::kNumber : Kind::kText;
    case 'T':
      return newer ? Kind::kDateTime : Kind::kText;
    case '0':
      return Kind::kNullFlags;
    default:
      return Kind::kText;
  }
}

}  // namespace

void Field::setKind(bool newer) {
  kind = kindOf(type, width, newer);
  fixedText = std::string_view("CNFDL").find(type) != std::string_view::npos;
}

std::string_view readable(const Field &field, std::string_view text) {
  if (field.kind == Kind::kMemo) return text;
  return field.kind == Kind::kNumber ? withoutBlanks(text) : withoutTrailingBlanks(text);
}

std::string codeText(int code) {
  std::string text = zk_DbError_codeText(code);
  if (code == kLocked) text = "In use by another program";
  if (text.empty()) text = "Failed";
  return text + " (" + std::to_string(code) + ")";
}

std::string errorText(int status) {
  const int32_t code = zk_DbError_code();
  if (code != 0) return std::string(zk_DbError_text()) + " (" + std::to_string(code) + ")";
  return codeText(status);
}

Failure libraryFailure(const std::string &table, int status) {
  const std::string file = zk_DbError_code() != 0 ? zk_DbError_file() : "";
  return Failure((file.empty() ? table : file) + ": " + errorText(status));
}

Table::Table(std::string name, int mode)
    : name_(std::move(name)), id_(zk_Db_openDbEx(name_.c_str(), mode)) {
  if (id_ < 0) throw libraryFailure(name_, id_);
  zk_Db_getInfo(id_, &info_);
  loadFields();
}

Table::~Table() {
  if (id_ >= 0) zk_Db_closeDb(id_);
}

void Table::loadFields() {
  DbFldList *list = zk_Db_struct(id_);
  if (list == nullptr) throw libraryFailure(name_, zk_DbError_code());
  int32_t number = 0;
  for (zk_DbFldList_start(list); zk_DbFldList_eol(list) == 0; zk_DbFldList_next(list)) {
    const DbFldNode *node = zk_DbFldList_getCurrFld(list);
    Field field;
    field.name = node->name;
    field.type = node->type;
    field.width = node->width;
    field.decimals = node->prec;
    field.number = ++number;
    field.setKind(info_.version >= 0x30 && info_.version <= 0x32);
    field.nameIsOwn = std::none_of(fields_.begin(), fields_.end(),
                                   [&](const Field &other) { return other.name == field.name; });
    fields_.push_back(std::move(field));
  }
  zk_DbFldList_destroy(list);
}

void Table::requireWritable() const {
  if (info_.readOnly == 0) return;
  throw Failure(name_ + ": cannot be changed: " + zk_Db_readOnlyReason(id_));
}

void Table::requireDone(int status) const {
  if (status != 0) throw libraryFailure(name_, status);
}

bool Table::arrived(int status) const {
  if (status != 0 && status != kEndOfFile) throw libraryFailure(name_, status);
  return status == 0;
}

bool Table::first(const std::string &condition) {
  return located(zk_Db_locate(id_, order_, condition.c_str()));
}

bool Table::next() { return located(zk_Db_locateNext(id_)); }

bool Table::located(int status) const {
  if (status != kOverflow) return arrived(status);
  const std::string text = libraryFailure(name_, status).what();
  throw Failure(text + ", record " + std::to_string(zk_Db_getRecordNo(id_)));
}

Table::Found Table::seek(const std::string &key) {
  const int status = zk_Db_seekStr(key.c_str(), id_, order_);
  if (status == kNextGreater) return Found::kNextKey;
  return arrived(status) ? Found::kKey : Found::kNothing;
}

std::vector<Tag> Table::tags() const {
  std::vector<Tag> tags;
  ZkTagFacts facts;
  for (int32_t number = 1; zk_Tag_getInfo(id_, number, &facts) != 0; ++number) {
    tags.push_back({facts.name, facts.expression, facts.filter, facts.fileName, facts.keyLength,
                    facts.unique != 0, facts.descending != 0, facts.candidate != 0, facts.problem,
                    facts.tagNumber, number});
  }
  return tags;
}

void Table::openIndex(const std::string &file) {
  const int32_t before = zk_Tag_count(id_);
  const int32_t tagId = zk_Db_openNdx(id_, file.c_str());
  if (tagId < 0) throw libraryFailure(name_, tagId);
  // The production index may be named as well: then no tag is new.
  if (zk_Tag_count(id_) > before) newestIndexAt_ = static_cast<std::size_t>(before);
}

Tag Table::useTag(const std::optional<std::string> &name) {
  const std::vector<Tag> all = tags();
  const auto find = [&all](auto from, const std::string &wanted) {
    return std::find_if(from, all.end(), [&](const Tag &tag) { return tag.isNamed(wanted); });
  };
  const auto newest = all.begin() + static_cast<std::ptrdiff_t>(newestIndexAt_);
  auto chosen = newest;
  if (name) {
    chosen = find(newest, *name);
    if (chosen == all.end()) chosen = find(all.begin(), *name);
  }
  if (chosen == all.end()) throw Failure(name_ + ": no tag" + (name ? " " + *name : ""));
  order_ = chosen->number;
  return *chosen;
}

bool Table::read(const Field &field, std::string &text) const {
  text.clear();
  if (!field.nameIsOwn) {  // the name would find the other field
    DbFldNode *node = zk_DbFldNode_fromFld(zk_Db_field(id_, field.number));
    if (node == nullptr) return false;
    if (node->value != nullptr) text = node->value;
    zk_DbFldNode_destroy(node);
    return true;
  }
  const int32_t length =
      field.fixedText ? field.width : zk_Db_getFldLength(id_, field.name.c_str());
  if (length < 0) return false;
  text.resize(static_cast<std::size_t>(length));  // the terminator's byte is there as well
  const int32_t copied = zk_Db_cpyFldN(id_, field.name.c_str(), text.data(), length);
  text.resize(static_cast<std::size_t>(std::clamp(copied, 0, length)));
  return copied == length;
}

void Table::go(int32_t record) { requireDone(zk_Db_goRec(id_, record)); }

void Table::update() {
  requireDone(zk_Db_undelRec(id_));
  requireDone(zk_Db_flush(id_));
}

void Table::beginAppend() {
  // Behind the last record the buffer is blank, and so is the record that an append begins there.
  if (zk_Db_eof(id_) == 0) {
    zk_Db_botRec(id_, -1);
    zk_Db_nextRec(id_, -1);
  }
  requireDone(zk_Db_appendStart(id_));
}

void Table::append() { requireDone(zk_Db_append(id_)); }

void Table::assign(const std::string &field, std::string_view text) {
  requireDone(
      zk_Db_assignFldStrN(id_, field.c_str(), text.data(), static_cast<int32_t>(text.size())));
}

void Table::close() {
  const int status = zk_Db_closeDb(id_);
  id_ = -1;
  if (status != 0) throw libraryFailure(name_, status);
}

}  // namespace zk::tool
