// Lists of English words and their translations.
#include <clocale>
#include <cstdio>
#include <cstring>
#include <optional>

#include "SRC/Env.h"
#include "SRC/LnkList.h"
#include "SRC/Msg.h"
#include "SRC/MsgLayout.h"
#include "SRC/Str.h"
#include "SRC/Sys.h"
#include "base/Guard.h"
#include "zk/diag.h"
#include "zk/file.h"
#include "zk/msg.h"

namespace zk {
namespace {

using base::String;

constexpr uint32_t kConditionBit = 0x400;

void ZK_CALL releasePair(void *data) {
  auto *pair = static_cast<MsgKeyWordListNode *>(data);
  base::release(pair->word);
  base::release(pair->translation);
  base::release(pair);
}

MsgKeyWordListNode *newPair(std::string_view word, std::string_view translation) {
  base::OwnedBlock<char> first(base::duplicate(word.data(), word.size()));
  base::OwnedBlock<char> second(base::duplicate(translation.data(), translation.size()));
  if (first == nullptr || second == nullptr) return nullptr;
  auto *pair = static_cast<MsgKeyWordListNode *>(base::allocate(sizeof(MsgKeyWordListNode)));
  if (pair != nullptr) *pair = {first.release(), second.release()};
  return pair;
}

bool appendPair(MsgKeyWordList &list, std::string_view word, std::string_view translation) {
  MsgKeyWordListNode *pair = newPair(word, translation);
  if (pair == nullptr) return false;
  if (appendNode(list, pair) != nullptr) return true;
  releasePair(pair);
  return false;
}

struct WordListDestroyer {
  void operator()(MsgKeyWordList *list) const noexcept { destroyList(list, releasePair); }
};
using OwnedWords = std::unique_ptr<MsgKeyWordList, WordListDestroyer>;

template <typename... Arguments>
void trace(int line, const char *format, Arguments... arguments) {
  if (ZK_DiagCurrentLevel < 2 || (ZK_DiagCurrentCondition & kConditionBit) == 0) return;
  char text[1024];
  std::snprintf(text, sizeof text, format, arguments...);
  zk_Diag_putOutputMsg(text, "SRC\\MSG.cpp", line);
}

void adoptLocale(const char *name) {
  const String previous(setlocale(LC_ALL, nullptr));
  setlocale(LC_ALL, name);
  trace(__LINE__, "Current locale set to %s original locale %s", setlocale(LC_ALL, nullptr),
        previous.c_str());
}

// What separates the words of a translated list.
String separator() {
  SettingText language;
  if (!iniSetting("LANGUAGE", language)) return ",";
  SettingText locale;
  if (iniSetting("LANG_LOCALE", locale)) adoptLocale(locale);
  const String table = netDirectory() + "Language\\SEP_" + language + ".dbf";
  if (zk_File_exists(table.c_str()) == 0) return ",";
  const String translation = message(",", "SEP", kPlainLayout);
  return translation.empty() ? "," : translation;
}

bool hasSecondWord(const char *words) {
  Tokenizer tokens(words, ",");
  std::string_view word;
  return tokens.next(word) && tokens.next(word);
}

// Null without a pair. Throws std::bad_alloc.
OwnedWords pairUp(const char *words, const char *messageId) {
  const String translation = message(words, messageId, kPlainLayout);
  Tokenizer english(words, ",");
  std::string_view word;
  if (!english.next(word)) return nullptr;
  const String split = separator();
  OwnedWords list(newList());
  if (list == nullptr) throw std::bad_alloc();
  if (translation.find(split) == String::npos && hasSecondWord(words)) return list;
  Tokenizer foreign(translation.c_str(), split.c_str());
  std::string_view translated;
  do {
    if (!foreign.next(translated)) break;
    if (!appendPair(*list, trimmed(word), trimmed(translated))) throw std::bad_alloc();
  } while (english.next(word));
  trace(__LINE__, "Leaving with key word string count is %d", static_cast<int>(list->length));
  return list->length > 0 ? std::move(list) : nullptr;
}

}  // namespace
}  // namespace zk

using namespace zk;

extern "C" {

MsgKeyWordList *ZK_CALL zk_MsgKeyWordList_create(void) { return newList(); }

int ZK_CALL zk_MsgKeyWordList_destroy(MsgKeyWordList *list) {
  destroyList(list, releasePair);
  return list != nullptr ? 1 : 0;
}

MsgKeyWordListNode *ZK_CALL zk_MsgKeyWordListNode_create(const char *word,
                                                         const char *translation) {
  return word != nullptr && translation != nullptr ? newPair(word, translation) : nullptr;
}

int ZK_CALL zk_MsgKeyWordListNode_destroy(MsgKeyWordListNode *node) {
  if (node == nullptr) return 0;
  releasePair(node);
  return 1;
}

int ZK_CALL zk_MsgKeyWordList_append(MsgKeyWordList *list, const char *word,
                                     const char *translation) {
  if (list == nullptr || word == nullptr || translation == nullptr) return 0;
  return appendPair(*list, word, translation) ? 1 : 0;
}

const char *ZK_CALL zk_MsgKeyWordList_find(const MsgKeyWordList *list, const char *word) {
  static char result[ZK_MSG_LENGTH + 1];
  const char *found = word != nullptr ? word : "";
  for (const LnkNode *at = list != nullptr && word != nullptr ? list->first : nullptr;
       at != nullptr; at = at->next) {
    const auto *pair = static_cast<const MsgKeyWordListNode *>(at->data);
    if (pair != nullptr && pair->word != nullptr && compareIgnoringCase(pair->word, word) == 0) {
      found = pair->translation != nullptr ? pair->translation : "";
      break;
    }
  }
  copyBounded(result, found, ZK_MSG_LENGTH);
  return result;
}

MsgKeyWordList *ZK_CALL zk_Msg_getKeyWordList(const char *words, const char *messageId) {
  if (words == nullptr || messageId == nullptr) return nullptr;
  return base::guarded<MsgKeyWordList *>(nullptr,
                                         [&] { return pairUp(words, messageId).release(); });
}

}  // extern "C"
