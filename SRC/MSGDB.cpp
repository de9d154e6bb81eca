// Message tables.
#include <cstring>

#include "SRC/Fname.h"
#include "SRC/Str.h"
#include "SRC/Sys.h"
#include "base/Guard.h"
#include "zk/db.h"
#include "zk/dbref.h"
#include "zk/extras.h"
#include "zk/msg.h"

namespace zk {
namespace {

using base::String;

constexpr int32_t kNone = -1;
constexpr const char *kKeyField = "MSG_NO";
constexpr const char *kTextField = "MSG_NAME";

int32_t openTable(const String &file) {
  const String directories[] = {netDirectory() + "language\\", tempDirectory(false),
                                localDirectory(), netDirectory()};
  for (const String &directory : directories) {
    const int32_t table = zk_Db_openDb((directory + file).c_str());
    if (table != kNone) return table;
  }
  return kNone;
}

// The tag id of the index beside the table, made anew when there is none.
int32_t openIndex(int32_t table) {
  char name[kPathLength + 1];
  copyBounded(name, rmvExt(zk_Db_getFileName(table)), kPathLength);
  const int32_t opened = zk_Db_openNdx(table, name);
  if (opened != kNone) return opened;
  // Gives an id even when it fails, but then one that stands for no index.
  const int32_t created = zk_Db_createNdx(table, name, kKeyField, 1);
  return zk_DbTagRef_selNdx(created) != nullptr ? created : kNone;
}

// The number as the key field holds it. Throws std::bad_alloc.
String keyOf(int32_t table, const char *number) {
  String key(number);
  const int32_t width = zk_Db_getFldLength(table, kKeyField);
  if (width > 0 && key.size() < static_cast<std::size_t>(width)) {
    key.resize(static_cast<std::size_t>(width), ' ');
  }
  return key;
}

}  // namespace
}  // namespace zk

using namespace zk;

extern "C" {

int ZK_CALL zk_Msg_openDb(const char *prefix, const char *language, int32_t *table,
                          int32_t *index) {
  if (table != nullptr) *table = kNone;
  if (index != nullptr) *index = kNone;
  if (prefix == nullptr || language == nullptr || table == nullptr || index == nullptr) return 0;
  return base::guarded(0, [&] {
    const int32_t opened = openTable(String(prefix) + "_" + language + ".dbf");
    if (opened == kNone) return 0;
    const int32_t tag = openIndex(opened);
    if (tag == kNone) {
      zk_Db_closeDb(opened);
      return 0;
    }
    *table = opened;
    *index = tag;
    return 1;
  });
}

const char *ZK_CALL zk_Msg_getVal(int32_t table, int32_t index, const char *number) {
  static char result[ZK_MSG_LENGTH + 1];
  if (number == nullptr) return nullptr;
  return base::guarded<const char *>(nullptr, [&]() -> const char * {
    if (zk_Db_seekStr(keyOf(table, number).c_str(), table, index) != 0) return nullptr;
    if (zk_Db_getFldLength(table, kTextField) < 0) return nullptr;
    int32_t length = zk_Db_cpyFldN(table, kTextField, result, ZK_MSG_LENGTH);
    while (length > 0 && result[length - 1] == ' ') result[--length] = '\0';
    return result;
  });
}

int ZK_CALL zk_Msg_closeDb(int32_t table) { return zk_Db_closeDb(table); }

}  // extern "C"
