#include "MessageTable.h"

#include <algorithm>
#include <cstdio>
#include <map>

#include "CsvRows.h"
#include "NewTable.h"
#include "Text.h"

namespace zk::tool {
namespace {

constexpr const char *kNumberField = "MSG_NO";
constexpr const char *kTextField = "MSG_NAME";
constexpr const char *kEnglishField = "MSG_ENGLIS";

constexpr const char *kTag = "TAG000";  // the name by which the library selects it

constexpr int kRunningDigits = 6;
constexpr int kLongestCharacters = 254;
constexpr int kMemoWidth = 10;
constexpr int kShared = 0;
constexpr int kExclusive = 2;

bool isDigits(const std::string &text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

bool isRunning(const std::string &number) {
  return number.size() == kRunningDigits && number[0] == '0' && isDigits(number);
}

const Field *findField(const Table &table, const char *name) {
  const auto &fields = table.fields();
  const auto found = std::find_if(fields.begin(), fields.end(),
                                  [&](const Field &field) { return field.name == name; });
  return found != fields.end() ? &*found : nullptr;
}

bool isText(const Field *field, const char *types) {
  return field != nullptr && std::string_view(types).find(field->type) != std::string_view::npos;
}

void requireMessageTable(const Table &table) {
  if (isMessageTable(table)) return;
  throw Failure(table.name() +
                ": is no message table: it has no fields MSG_NO and MSG_NAME of text");
}

std::string readText(const Table &table, const Field *field) {
  std::string text;
  if (field == nullptr) return text;
  if (!table.read(*field, text)) {
    throw Failure(std::string(libraryFailure(table.name(), zk_DbError_code()).what()) +
                  ", record " + std::to_string(zk_Db_getRecordNo(table.id())) + ", field " +
                  field->name);
  }
  return std::string(withoutTrailingBlanks(text));
}

std::vector<Message> readAll(Table &table) {
  requireMessageTable(table);
  const Field *number = findField(table, kNumberField);
  const Field *text = findField(table, kTextField);
  const Field *english = findField(table, kEnglishField);
  std::vector<Message> messages;
  for (bool more = table.first(""); more; more = table.next()) {
    Message message;
    message.number = withoutBlanks(readText(table, number));
    message.english = withoutBlanks(readText(table, english));
    // Without such a field, texts that have no number have the English one as their key.
    if (english == nullptr && !hasNumber(message.number)) message.english = message.number;
    message.text = readText(table, text);
    message.record = zk_Db_getRecordNo(table.id());
    message.deleted = table.deleted();
    messages.push_back(std::move(message));
  }
  return messages;
}

// The messages of a table together with those that are wanted.
class Merge {
 public:
  explicit Merge(std::vector<Message> stored) {
    for (Message &message : stored) {
      if (isRunning(message.number)) running_ = std::max(running_, std::stoi(message.number));
      keep(std::move(message), false);
    }
  }

  void add(const Message &wanted) {
    const auto &known = wanted.number.empty() ? byEnglish_ : byNumber_;
    const auto found = known.find(wanted.number.empty() ? wanted.english : wanted.number);
    if (found == known.end()) {
      append(wanted);
    } else {
      change(found->second, wanted);
    }
  }

  const std::vector<Message> &messages() const { return messages_; }
  bool mustBeWritten(std::size_t i) const { return mustBeWritten_[i]; }
  const MessageCounts &counts() const { return counts_; }

 private:
  void keep(Message message, bool mustBeWritten) {
    if (hasNumber(message.number)) {
      byNumber_.emplace(message.number, messages_.size());
    } else {
      byEnglish_.emplace(message.english, messages_.size());
    }
    messages_.push_back(std::move(message));
    mustBeWritten_.push_back(mustBeWritten);
  }

  void append(Message message) {
    if (message.number.empty()) {
      char number[24];
      std::snprintf(number, sizeof number, "%0*d", kRunningDigits, ++running_);
      message.number = number;
    }
    keep(std::move(message), true);
    ++counts_.added;
  }

  void change(std::size_t at, const Message &wanted) {
    Message &message = messages_[at];
    const std::string &english = wanted.english.empty() ? message.english : wanted.english;
    if (!message.deleted && message.text == wanted.text && message.english == english) {
      ++counts_.same;
      return;
    }
    ++counts_.changed;
    message.text = wanted.text;
    message.english = english;
    message.deleted = false;
    mustBeWritten_[at] = true;
  }

  std::vector<Message> messages_;
  std::vector<bool> mustBeWritten_;
  std::map<std::string, std::size_t> byNumber_;
  std::map<std::string, std::size_t> byEnglish_;  // of those without a number
  int running_ = 0;
  MessageCounts counts_;
};

Merge merge(std::vector<Message> stored, const std::vector<Message> &wanted) {
  Merge merged(std::move(stored));
  for (const Message &message : wanted) merged.add(message);
  return merged;
}

struct Column {
  const char *name;
  std::string Message::*member;
  int narrowest;
};
constexpr Column kColumns[] = {{kNumberField, &Message::number, kRunningDigits},
                               {kTextField, &Message::text, 1},
                               {kEnglishField, &Message::english, 1}};

std::size_t longest(const std::vector<Message> &messages, const Column &column) {
  std::size_t length = 0;
  for (const Message &message : messages) {
    length = std::max(length, (message.*column.member).size());
  }
  return length;
}

// The fields that all these messages fit into, no narrower than those of the table (if any).
std::vector<Field> planFields(const std::vector<Message> &messages, const Table *table) {
  std::vector<Field> fields;
  for (const Column &column : kColumns) {
    const Field *present = table != nullptr ? findField(*table, column.name) : nullptr;
    Field field;
    field.name = column.name;
    field.type = present != nullptr ? present->type : 'C';
    field.width = std::max({column.narrowest, present != nullptr ? present->width : 0,
                            static_cast<int>(longest(messages, column))});
    if (field.width > kLongestCharacters) field.type = 'M';
    if (field.type == 'M') field.width = kMemoWidth;
    fields.push_back(std::move(field));
  }
  return fields;
}

bool fit(const std::vector<Message> &messages, const Table &table) {
  return std::all_of(std::begin(kColumns), std::end(kColumns), [&](const Column &column) {
    const Field *field = findField(table, column.name);
    const std::size_t length = longest(messages, column);
    if (field == nullptr) return length == 0;
    return field->type == 'M' || length <= static_cast<std::size_t>(field->width);
  });
}

void assign(Table &table, const Message &message) {
  for (const Column &column : kColumns) {
    if (findField(table, column.name) == nullptr) continue;  // nothing is to be stored there
    table.assign(column.name, message.*column.member);
  }
}

void appendMessage(Table &table, const Message &message) {
  checkInterrupt();
  table.beginAppend();
  assign(table, message);
  table.append();
}

bool hasIndex(const Table &table) {
  const std::vector<Tag> tags = table.tags();
  return std::any_of(tags.begin(), tags.end(), [](const Tag &tag) {
    return tag.isNamed(kTag) && zk_Str_cmpi(tag.expression.c_str(), kNumberField) == 0;
  });
}

// The index beside the table, whether every program opens it with the table or not; a new one where
// there is none.
void openIndex(Table &table) {
  if (hasIndex(table)) return;
  const std::string stem = table.name().substr(0, table.name().rfind('.'));
  if (zk_File_exists((stem + ".cdx").c_str()) != 0) table.openIndex(stem);
  if (hasIndex(table)) return;
  std::string name = kTag;
  std::string expression = kNumberField;
  const ZkTagInfo tag = {name.data(), expression.data(), nullptr, 1, 0};
  const int status = zk_Tag_create(table.id(), nullptr, &tag, 1);
  if (status != 0) throw libraryFailure(table.name(), status);
}

void writeChanges(Table &table, const Merge &merged) {
  openIndex(table);
  for (std::size_t i = 0; i < merged.messages().size(); ++i) {
    if (!merged.mustBeWritten(i)) continue;
    const Message &message = merged.messages()[i];
    if (message.record == 0) {
      appendMessage(table, message);
    } else {
      checkInterrupt();
      table.go(message.record);
      assign(table, message);
      table.update();
    }
  }
  table.close();
}

void writeAnew(const std::string &file, const std::vector<Message> &messages,
               const std::vector<Field> &fields) {
  NewTable made(file, NewTable::Target::kIsReplaced);
  made.create(fields);
  Table table(made.name(), kExclusive);
  for (const Message &message : messages) {
    if (!message.deleted) appendMessage(table, message);
  }
  table.close();
  made.putInPlace();
  Table placed(file, kExclusive);
  openIndex(placed);
  placed.close();
}

// What is in none of the three fields would be lost.
void requireNoOtherFields(const Table &table) {
  for (const Field &field : table.fields()) {
    const bool ours = std::any_of(std::begin(kColumns), std::end(kColumns),
                                  [&](const Column &column) { return field.name == column.name; });
    if (ours) continue;
    throw Failure(table.name() + ": a text does not fit, and with field " + field.name +
                  " the table cannot be written anew");
  }
}

Table openAlone(const std::string &file) try {
  return Table(file, kExclusive);
} catch (const Failure &failure) {
  throw Failure(std::string(failure.what()) +
                "; a text is longer than its field, so no other program may have the table open");
}

MessageCounts widen(const std::string &file, const std::vector<Message> &wanted) {
  Table table = openAlone(file);
  const Merge merged = merge(readAll(table), wanted);
  requireNoOtherFields(table);
  const std::vector<Field> fields = planFields(merged.messages(), &table);
  table.close();
  writeAnew(file, merged.messages(), fields);
  return merged.counts();
}

}  // namespace

MessageId splitMessageId(const std::string &id) {
  const std::size_t line = id.rfind('_');
  if (line == std::string::npos || !isDigits(id.substr(line + 1))) return {id, ""};
  return {id.substr(0, line), id.substr(line + 1)};
}

bool hasNumber(const std::string &key) { return isDigits(key) && !isRunning(key); }

bool isMessageTable(const Table &table) {
  return isText(findField(table, kNumberField), "C") && isText(findField(table, kTextField), "CM");
}

std::vector<Message> readMessages(Table &table) {
  std::vector<Message> messages = readAll(table);
  std::erase_if(messages, [](const Message &message) { return message.deleted; });
  return messages;
}

MessageCounts updateMessages(const std::string &file, const std::vector<Message> &wanted) {
  if (zk_File_exists(file.c_str()) == 0) {
    const Merge merged = merge({}, wanted);
    writeAnew(file, merged.messages(), planFields(merged.messages(), nullptr));
    return merged.counts();
  }
  Table table(file, kShared);
  const Merge merged = merge(readAll(table), wanted);
  if (merged.counts().added + merged.counts().changed > 0) {
    table.requireWritable();
    if (!fit(merged.messages(), table)) {
      table.close();
      return widen(file, wanted);
    }
    writeChanges(table, merged);
  }
  return merged.counts();
}

}  // namespace zk::tool
