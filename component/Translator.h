// Translations from the message tables of the user's language.
//
// The message id says which table: "TOOL_216" is number 216 of TOOL_<language>.dbf; an id without a
// number, like "DBCols" or "SEP", is itself the table's prefix, and the English text the key. A
// table is read when it is first needed and kept, and so is that there is none.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "component/IniFile.h"
#include "component/MessageTable.h"

namespace zk::component {

class Translator {
 public:
  // The variable "LANGUAGE" of the group "GENERAL" in zk.ini, read until there is one; else "".
  const std::string &language();

  // Laid out by the public layout number, escapes expanded; nothing when there is no translation.
  std::optional<std::string> translate(const std::string &text, const std::string &messageId,
                                       int32_t layout);

  // The table of that file name (without a directory) may have changed; any may have.
  void forget(const std::string &fileName);
  void forgetAll() { tables_.clear(); }

 private:
  // Null when there is none.
  const MessageTable *tableOf(const std::string &prefix);
  const std::string *find(const std::string &text, const std::string &messageId);

  std::string language_;
  // By prefix.
  std::map<std::string, std::optional<MessageTable>, IgnoringCase> tables_;
  // The library reads tables for this translator, and may ask it for the texts of its messages
  // meanwhile; there are none then.
  bool busy_ = false;
};

}  // namespace zk::component
