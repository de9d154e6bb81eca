// A message table in memory: every text of <prefix>_<language>.dbf.
//
//   MSG_NO       the number, a text; the key
//   MSG_NAME     the text in the user's language, with the escapes of zk_Msg_scanEsc
//   MSG_ENGLIS   the English text, case and all. In a table without this field, MSG_NO holds what
//                texts without a number are found by
//
// Blanks around keys and at the end of texts do not count, nor do deleted records and empty texts;
// of equal keys the first counts. The table is read as a whole and closed, as a host may close all
// tables and use their ids again.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

namespace zk::component {

class MessageTable {
 public:
  enum class Result {
    kRead,
    kNone,   // there is no such table
    kLater,  // it is kept from being read at present
  };
  Result read(const std::string &prefix, const std::string &language);

  // Null when there is none, or an empty one.
  const std::string *byNumber(const std::string &number) const;
  const std::string *byEnglish(const std::string &text) const;

 private:
  using Texts = std::unordered_map<std::string, std::string>;

  static const std::string *find(const Texts &texts, std::string key);
  void readRecord(int32_t table);

  Texts byNumber_;
  Texts byEnglish_;
  bool hasEnglish_ = false;
};

}  // namespace zk::component
