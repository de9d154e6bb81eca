#include "zk/alias.h"

#include <cstring>
#include <string_view>

#include "SRC/Alias.h"
#include "SRC/Fld.h"
#include "SRC/Str.h"
#include "base/Memory.h"

namespace zk {
namespace {

constexpr std::size_t kNameLength = 255;
constexpr std::size_t kExpandedLength = 256;
constexpr int32_t kFieldText = 512;

FldList *aliases = nullptr;

// Null when there is no such alias.
const char *valueOf(std::string_view name) {
  if (name.size() > kNameLength) return nullptr;
  char key[kNameLength + 1];
  copyBounded(key, name, kNameLength);
  const FldNode *alias = findField(aliases, key);
  return alias != nullptr ? textOf(*alias) : nullptr;
}

// A text of bounded length that is added to at its end.
class Output {
 public:
  Output(char *text, std::size_t capacity) : end_(text), left_(capacity) { add(""); }
  void add(std::string_view text) {
    const std::size_t copied = copyBounded(end_, text, left_);
    end_ += copied;
    left_ -= copied;
  }

 private:
  char *end_;
  std::size_t left_;
};

void addReference(Output &output, std::string_view name) {
  // "%%" is meant to vanish.
  if (name.empty()) return;
  if (const char *value = valueOf(name)) {
    output.add({value, strnlen(value, kExpandedLength)});
    return;
  }
  output.add("%");
  output.add(name);
  output.add("%");
}

}  // namespace

void expandAliases(char *out, std::size_t capacity, const char *text) noexcept {
  Output output(out, capacity);
  std::string_view rest(text);
  for (;;) {
    const std::size_t open = rest.find('%');
    output.add(rest.substr(0, open));
    if (open == std::string_view::npos) return;
    rest.remove_prefix(open + 1);

    const std::size_t close = rest.find('%');
    // Without a closing sign the rest is meant to be dropped.
    if (close == std::string_view::npos) return;
    addReference(output, rest.substr(0, close));
    rest.remove_prefix(close + 1);
  }
}

}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

int ZK_CALL zk_Alias_put(const char *name, const char *value) {
  if (name == nullptr) return 0;
  if (aliases == nullptr) aliases = newList();
  if (aliases == nullptr) return 0;
  return value != nullptr ? zk_FldList_modChar(aliases, name, value)
                          : zk_FldList_delFld(aliases, name);
}

int ZK_CALL zk_Alias_del(const char *name) { return zk_Alias_put(name, nullptr); }

int ZK_CALL zk_Alias_putFromFldList(const FldList *list) {
  if (list == nullptr) return 0;
  for (const LnkNode *element = list->first; element != nullptr; element = element->next) {
    const FldNode *field = fieldOf(element);
    if (field == nullptr || field->name == nullptr) continue;
    char text[kFieldText + 1] = "";
    readText(*field, text, kFieldText);
    if (zk_Alias_put(field->name, text) != ZK_FLD_OK) return 0;
  }
  return 1;
}

int ZK_CALL zk_Alias_get(char *buffer, const char *name, int32_t size) {
  if (buffer == nullptr) return 0;
  *buffer = '\0';
  if (name == nullptr || aliases == nullptr) return 0;
  return zk_FldList_getChar(aliases, name, buffer, size);
}

// Meant to give 0 whatever it wrote.
int ZK_CALL zk_Alias_expandStr(char *buffer, const char *text) {
  if (buffer == nullptr || text == nullptr) return 0;
  if (buffer != text) {
    expandAliases(buffer, SIZE_MAX, text);
    return 0;
  }
  const base::OwnedBlock<char> copy(base::duplicate(text, std::strlen(text)));
  if (copy != nullptr) expandAliases(buffer, SIZE_MAX, copy.get());
  return 0;
}

ZK_EXTERN_C_END
