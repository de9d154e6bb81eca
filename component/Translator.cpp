#include "component/Translator.h"

#include <iterator>
#include <utility>

#include "zk/env.h"
#include "zk/fldlist.h"
#include "zk/msg.h"
#include "zk/str.h"

namespace zk::component {
namespace {

constexpr int32_t kLanguageLength = 512;

struct Layout {
  const char *before;
  const char *after;
};
constexpr Layout kLayouts[] = {{"", ""},   {"", " "},   {"\n", ""},   {"\n", " "},
                               {"", "\n"}, {"", " \n"}, {"\n", "\n"}, {"\n", " \n"}};

std::string layOut(std::string text, int32_t layout) {
  zk_Msg_scanEsc(text.data());
  const bool known = layout > 0 && static_cast<std::size_t>(layout) < std::size(kLayouts);
  const Layout &chosen = kLayouts[known ? layout : 0];
  return std::string(chosen.before).append(text.c_str()).append(chosen.after);
}

class Busy {
 public:
  explicit Busy(bool &flag) : flag_(flag) { flag_ = true; }
  ~Busy() { flag_ = false; }
  Busy(const Busy &) = delete;
  Busy &operator=(const Busy &) = delete;

 private:
  bool &flag_;
};

struct MessageId {
  std::string prefix;
  std::string number;  // empty without one
};

MessageId parse(const std::string &id) {
  const std::size_t line = id.rfind('_');
  const bool isNumbered = line != std::string::npos && line + 1 < id.size() &&
                          id.find_first_not_of("0123456789", line + 1) == std::string::npos;
  return isNumbered ? MessageId{id.substr(0, line), id.substr(line + 1)} : MessageId{id, {}};
}

// Through a list of its own, as the library's text buffers belong to the host.
std::string readLanguage() {
  FldList *settings = zk_Env_getIniGroup("GENERAL");
  char language[kLanguageLength + 1] = "";
  zk_FldList_getChar(settings, "LANGUAGE", language, kLanguageLength);
  zk_FldList_destroy(settings);
  return language;
}

}  // namespace

const std::string &Translator::language() {
  if (language_.empty()) language_ = readLanguage();
  return language_;
}

const MessageTable *Translator::tableOf(const std::string &prefix) {
  auto known = tables_.find(prefix);
  if (known == tables_.end()) {
    std::optional<MessageTable> table(std::in_place);
    const MessageTable::Result result = table->read(prefix, language());
    if (result == MessageTable::Result::kLater) return nullptr;
    if (result == MessageTable::Result::kNone) table.reset();
    known = tables_.emplace(prefix, std::move(table)).first;
  }
  return known->second ? &*known->second : nullptr;
}

const std::string *Translator::find(const std::string &text, const std::string &messageId) {
  const MessageId id = parse(messageId);
  const MessageTable *table = id.prefix.empty() ? nullptr : tableOf(id.prefix);
  if (table == nullptr) return nullptr;
  return id.number.empty() ? table->byEnglish(text) : table->byNumber(id.number);
}

std::optional<std::string> Translator::translate(const std::string &text,
                                                 const std::string &messageId, int32_t layout) {
  if (busy_) return std::nullopt;
  const Busy busy(busy_);
  if (language().empty()) return std::nullopt;
  const std::string *translation = find(text, messageId);
  if (translation == nullptr) return std::nullopt;
  return layOut(*translation, layout);
}

void Translator::forget(const std::string &fileName) {
  for (auto entry = tables_.begin(); entry != tables_.end();) {
    const std::string tableFile = entry->first + "_" + language_ + ".dbf";
    const bool same = zk_Str_cmpi(tableFile.c_str(), fileName.c_str()) == 0;
    entry = same ? tables_.erase(entry) : std::next(entry);
  }
}

}  // namespace zk::component
