#include "zk/msg.h"

#include <clocale>
#include <cstring>
#include <optional>

#include "SRC/AppComponent.h"
#include "SRC/Env.h"
#include "SRC/Msg.h"
#include "SRC/MsgLayout.h"
#include "SRC/Str.h"
#include "SRC/ToolMessage.h"
#include "base/Guard.h"
#include "platform/System.h"

namespace zk {
namespace {

using base::String;

enum class Catalogue {
  kUnread,  // no text has been asked for yet
  kBusy,    // settings are being read or the translator works: what they ask for is English
  kEnglish,
  kTranslating,
};
Catalogue catalogue = Catalogue::kUnread;

const char *orEmpty(const char *text) { return text != nullptr ? text : ""; }

// Keeps the catalogue busy for a while; leaves it as told.
class Busy {
 public:
  explicit Busy(Catalogue afterwards) : afterwards_(afterwards) { catalogue = Catalogue::kBusy; }
  ~Busy() { catalogue = afterwards_; }
  Busy(const Busy &) = delete;
  Busy &operator=(const Busy &) = delete;
  void leave(Catalogue afterwards) { afterwards_ = afterwards; }

 private:
  Catalogue afterwards_;
};

bool wantsTranslation() {
  SettingText value;
  if (iniSetting("LANGUAGE_DEBUG", value) && std::strcmp(value, "0") != 0) return true;
  return iniSetting("LANGUAGE", value) &&
         compareIgnoringCase(std::string_view(value).substr(0, 3), "ENG") != 0;
}

// Empty when the translator has nothing to say.
String askTranslator(const char *text, const char *messageId, int32_t format) {
  const auto component = translator();
  if (!component) return {};
  const Bstr english(text);
  const Bstr id(messageId);
  if (!english.ok() || !id.ok()) throw std::bad_alloc();
  Bstr translation;
  const LONG layout = format != 0 ? format - 1 : 0;
  if (FAILED(reportComError(
          component->Translate(english.get(), id.get(), layout, translation.out())))) {
    return {};
  }
  return translation.text();
}

bool translateFailureText(const char *english, const char *key, char *out, unsigned capacity) {
  return base::guarded(false, [&] {
    const String text = askTranslator(english, key, kPlainLayout);
    copyBounded(out, text, capacity);
    return !text.empty();
  });
}

// The first text decides for the whole process. Refused memory decides nothing.
void decide() {
  Busy busy(Catalogue::kUnread);
  if (!wantsTranslation()) {
    busy.leave(Catalogue::kEnglish);
  } else if (translator()) {
    rememberToolMessages(translateFailureText);
    busy.leave(Catalogue::kTranslating);
  } else {
    busy.leave(Catalogue::kEnglish);
    platform::showMessage(
        "Message Translator Error",
        "Unable to create an instance of the Message Translator.\n"
        "Make sure this component (JNApplication2.dll) is installed and registered correctly.");
  }
}

// Nothing: the answer is the English text.
std::optional<String> translated(const char *text, const char *messageId, int32_t format) {
  if (catalogue == Catalogue::kUnread) decide();
  if (catalogue != Catalogue::kTranslating) return std::nullopt;
  Busy busy(Catalogue::kTranslating);
  String translation = askTranslator(text, messageId, format);
  if (translation.empty()) return std::nullopt;
  return translation;
}

// Into a static buffer; English when memory is refused. The arguments may lie in that buffer.
void messageInto(char (&result)[ZK_MSG_LENGTH + 1], const char *text, const char *messageId,
                 int32_t format) {
  const bool done = base::guarded(false, [&] {
    const std::optional<String> translation = translated(text, messageId, format);
    if (translation) copyBounded(result, *translation, ZK_MSG_LENGTH);
    return translation.has_value();
  });
  if (!done) layOut(result, ZK_MSG_LENGTH, text, format);
}

}  // namespace

String message(const char *text, const char *messageId, int32_t format) {
  std::optional<String> translation = translated(orEmpty(text), orEmpty(messageId), format);
  return translation ? std::move(*translation) : layOut(orEmpty(text), format);
}

}  // namespace zk

using namespace zk;

extern "C" {

const char *ZK_CALL zk_Msg(const char *text, const char *messageId, int32_t format) {
  static char result[ZK_MSG_LENGTH + 1];
  messageInto(result, orEmpty(text), orEmpty(messageId), format);
  return result;
}

const char *ZK_CALL zk_MsgDBCols(const char *text, int32_t format) {
  return zk_Msg(text, "DBCols", format);
}

const char *ZK_CALL zk_Msg_pad(const char *text, const char *messageId, int32_t format,
                               int32_t width) {
  static char result[ZK_MSG_LENGTH + 1];
  messageInto(result, orEmpty(text), orEmpty(messageId), format);
  zk_Str_pad(result, width < ZK_MSG_LENGTH ? width : ZK_MSG_LENGTH);
  return result;
}

const char *ZK_CALL zk_Msg_format(const char *text, int32_t code) {
  static char result[ZK_MSG_LENGTH + 1];
  layOut(result, ZK_MSG_LENGTH, orEmpty(text), code);
  return result;
}

int32_t ZK_CALL zk_Msg_setFormat(int32_t publicCode) {
  return publicCode >= 1 && publicCode <= 7 ? publicCode + 1 : kPlainLayout;
}

char *ZK_CALL zk_Msg_scanEsc(char *text) {
  if (text != nullptr) expandEscapes(text);
  return text;
}

int ZK_CALL zk_Msg_breakStr(const char *text, char *first, char *second) {
  constexpr std::size_t kWordLength = 511;
  if (text == nullptr || first == nullptr || second == nullptr) return 0;
  std::string_view words[2];
  Tokenizer tokens(text, " _");
  for (std::string_view &word : words) {
    if (tokens.next(word)) word = trimmed(word);
  }
  // Aside: the results may lie over the text.
  char one[kWordLength + 1];
  char two[kWordLength + 1];
  copyBounded(one, words[0], kWordLength);
  copyBounded(two, words[0].empty() ? std::string_view() : words[1], kWordLength);
  copyBounded(first, one, kWordLength);
  copyBounded(second, two, kWordLength);
  return second[0] != '\0' ? 1 : 0;
}

}  // extern "C"
