// Message tables, <PREFIX>_<LANGUAGE>.dbf: the texts of one family of messages in one language.
//
//   MSG_NO      the message's number as text, unique. Texts without a number, which are found by
//               the English one, have a running number of six digits that begins with 0
//   MSG_NAME    the text in that language
//   MSG_ENGLIS  the English text (a field name has 10 characters)
//
// Texts are of type C, or M where one is longer than 254 bytes. The table's own index has the tag
// TAG000 on MSG_NO. Blanks around numbers and English texts do not count.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Table.h"

namespace zk::tool {

// "TOOL_216" is number 216 of the prefix TOOL; "DBCols" is a prefix without a number.
struct MessageId {
  std::string prefix;
  std::string number;
};
MessageId splitMessageId(const std::string &id);

struct Message {
  std::string number;  // "": none
  std::string english;
  std::string text;
  int32_t record = 0;  // 0: not in the table
  bool deleted = false;
};

bool isMessageTable(const Table &table);

// The records that are not marked as deleted, in record order, with their keys as `number`. Throws
// Failure for another table.
std::vector<Message> readMessages(Table &table);

// Whether a record with that key has a number: one of a message id, not a running one.
bool hasNumber(const std::string &key);

struct MessageCounts {
  int added = 0;
  int changed = 0;
  int same = 0;
};

// Adds messages to the table of that file and changes those that are there, found by number or,
// without one, by their English text. An empty English text leaves the one in the table. Other
// programs may have the table open, unless its fields are too narrow: it is then written anew, as
// is one that does not exist.
MessageCounts updateMessages(const std::string &file, const std::vector<Message> &wanted);

}  // namespace zk::tool
