// The whole CSV file is checked before a table is touched.
#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "Commands.h"
#include "CsvRows.h"
#include "MessageTable.h"
#include "RecordWriter.h"
#include "Text.h"

namespace zk::tool {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLongestId = 100;
constexpr std::size_t kPathLength = 511;
constexpr const char *kLibraryPrefix = "TOOL";  // of the library's own messages

// ---- Where the tables are

// A part of a file name on every system.
bool isNamePart(const std::string &text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
           c == '-';
  });
}

std::string checkedLanguage(const std::string &language) {
  if (isNamePart(language)) return upperCase(language);
  throw UsageError("LANGUAGE: is no part of a file name");
}

fs::path directoryOf(const MessagesOptions &options) {
  std::string directory;
  if (options.directory) {
    directory = *options.directory;
  } else {
    char network[kPathLength + 1];
    directory = zk_Sys_getNetDir(network);
    if (directory.empty()) {
      throw Failure(
          "no network directory: name it in the variable JN of [GENERAL] in zk.ini, or "
          "use --directory");
    }
    directory += "language";
  }
  char native[kPathLength + 1];
  if (zk_Host_nativePath(directory.c_str(), native, kPathLength) == 0) {
    throw UsageError("--directory: is no path");
  }
  return native;
}

// ---- import

using Families = std::map<std::string, std::vector<Message>>;  // by prefix

// Takes the rows of a CSV file apart into the messages of each table.
class MessageReader {
 public:
  explicit MessageReader(CsvReader &csv) : csv_(csv) {}

  Families read() {
    readHeader(csv_);
    for (std::size_t i = 0; i < csv_.count(); ++i) matchColumn(i);
    if (id_ == kNone || text_ == kNone) {
      throw Failure(csv_.file() + ": line 1: needs the columns id and text");
    }
    forEachRow(csv_, "Checking", [this] { readRow(); });
    return std::move(families_);
  }

 private:
  static constexpr std::size_t kNone = SIZE_MAX;

  void matchColumn(std::size_t at) {
    const std::string name = upperCase(withoutBlanks(csv_[at].text));
    std::size_t *column = nullptr;
    if (name == "ID" || name == "NUMBER") column = &id_;
    if (name == "ENGLISH") column = &english_;
    if (name == "TEXT") column = &text_;
    if (column == nullptr) throw csv_.failure(at, "is none of id, english and text");
    if (*column != kNone) throw csv_.failure(at, "is there already");
    *column = at;
  }

  std::string valueOf(std::size_t column) const {
    return column == kNone ? "" : std::string(withoutBlanks(csv_[column].text));
  }

  MessageId readId() const {
    const std::string text = valueOf(id_);
    if (text.size() > kLongestId) throw csv_.failure(id_, "is too long for a message id");
    MessageId id = splitMessageId(text);
    if (id.number.empty() && text.find_first_not_of("0123456789") == std::string::npos) {
      id = {text.empty() ? "" : kLibraryPrefix, text};
    }
    if (!isNamePart(id.prefix)) {
      throw csv_.failure(id_, "is no message id: letters, digits, '_' and '-'");
    }
    id.prefix = upperCase(id.prefix);
    return id;
  }

  void readRow() {
    const MessageId id = readId();
    Message message;
    message.number = id.number;
    message.english = valueOf(english_);
    message.text = withoutTrailingBlanks(csv_[text_].text);
    const bool byEnglish = id.number.empty();
    if (byEnglish && message.english.empty()) {
      throw csv_.failure(id_, "an id without a number needs an English text");
    }
    auto &seen = byEnglish ? englishSeen_ : numbersSeen_;
    if (!seen.emplace(id.prefix, byEnglish ? message.english : message.number).second) {
      throw csv_.failure(id_, "the message is there already");
    }
    families_[id.prefix].push_back(std::move(message));
  }

  CsvReader &csv_;
  std::size_t id_ = kNone;
  std::size_t english_ = kNone;
  std::size_t text_ = kNone;
  std::set<std::pair<std::string, std::string>> numbersSeen_;
  std::set<std::pair<std::string, std::string>> englishSeen_;
  Families families_;
};

// ---- list

std::vector<fs::path> tablesIn(const fs::path &directory) {
  std::error_code failed;
  std::vector<fs::path> tables;
  fs::directory_iterator entry(directory, failed);
  for (; !failed && entry != fs::directory_iterator(); entry.increment(failed)) {
    const fs::path &path = entry->path();
    if (upperCase(path.extension().string()) == ".DBF") tables.push_back(path);
  }
  if (failed) throw Failure(directory.string() + ": " + failed.message());
  std::sort(tables.begin(), tables.end());
  return tables;
}

// The prefix of a table of that language; "" for any other file.
std::string prefixOf(const fs::path &table, const std::string &language) {
  const std::string stem = table.stem().string();
  const std::string end = "_" + language;
  return upperCase(stem).ends_with(end) ? stem.substr(0, stem.size() - end.size()) : "";
}

Field textColumn(const char *name) {
  Field field;
  field.name = name;
  return field;
}

void listTables(const std::vector<fs::path> &files, const MessagesOptions &options, Output &out) {
  std::vector<Field> fields = {textColumn("TABLE"), textColumn("MESSAGES")};
  fields[1].type = 'N';
  fields[1].kind = Kind::kNumber;
  const CodePage page(0);
  const auto writer = makeWriter(options.format, out, fields, page, false);
  writer->begin();
  for (const fs::path &file : files) {
    Table table(file.string(), 0);
    if (!isMessageTable(table)) continue;
    const std::size_t count = readMessages(table).size();
    writer->record({file.stem().string(), std::to_string(count)}, false);
  }
  writer->end();
}

void listTexts(const std::vector<fs::path> &files, const MessagesOptions &options, Output &out) {
  const std::string language = checkedLanguage(options.language);
  const std::vector<Field> fields = {textColumn("ID"), textColumn("ENGLISH"), textColumn("TEXT")};
  const CodePage page(0);
  const auto writer = makeWriter(options.format, out, fields, page, false);
  writer->begin();
  for (const fs::path &file : files) {
    const std::string prefix = prefixOf(file, language);
    if (prefix.empty()) continue;
    Table table(file.string(), 0);
    for (const Message &message : readMessages(table)) {
      const bool numbered = hasNumber(message.number);
      writer->record(
          {numbered ? prefix + "_" + message.number : prefix, message.english, message.text},
          false);
    }
  }
  writer->end();
}

}  // namespace

void runMessagesImport(const MessagesOptions &options, Output &out) {
  watchInterrupts();
  const std::string language = checkedLanguage(options.language);
  CsvReader csv(options.csvFile);
  const Families families = MessageReader(csv).read();
  const fs::path directory = directoryOf(options);
  std::error_code failed;
  fs::create_directories(directory, failed);
  if (failed) throw Failure(directory.string() + ": " + failed.message());
  for (const auto &[prefix, messages] : families) {
    const std::string file = (directory / (prefix + "_" + language + ".dbf")).string();
    const MessageCounts counts = updateMessages(file, messages);
    out.write(file + ": " + std::to_string(counts.added) + " messages added, " +
              std::to_string(counts.changed) + " changed, " + std::to_string(counts.same) +
              " as before\n");
  }
  out.flush();
}

void runMessagesList(const MessagesOptions &options, Output &out) {
  const std::vector<fs::path> files = tablesIn(directoryOf(options));
  if (options.language.empty()) {
    listTables(files, options, out);
  } else {
    listTexts(files, options, out);
  }
  out.flush();
}

}  // namespace zk::tool
