// The access layer's bridge to the table engine.
#include "zk/dbref.h"

#include <cstdio>

#include "SRC/Engine.h"
#include "SRC/StrList.h"
#include "base/Guard.h"
#include "base/Memory.h"
#include "base/Number.h"
#include "engine/FileNames.h"
#include "engine/Table.h"
#include "zk/db.h"

namespace zk {
namespace {

bool separatesExpressions(char c) { return c == ',' || c == ' '; }

std::string_view firstCharacters(const char *text, int32_t length) {
  if (text == nullptr || length < 1) return {};
  std::size_t size = 0;
  while (size < static_cast<std::size_t>(length) && text[size] != '\0') ++size;
  return {text, size};
}

// An index file with one tag per expression; an empty name stands for the table's own. Null when
// there is no expression or the engine fails.
engine::IndexFile *createNumberedTags(engine::Table &table, const char *fileName,
                                      const char *tagInfo, bool unique) {
  const OwnedStringList expressions(zk_Cb_parseTagInfo(tagInfo));
  if (expressions == nullptr) return nullptr;
  return base::guarded(static_cast<engine::IndexFile *>(nullptr), [&] {
    engine::TagDefinitions tags;
    int number = 0;
    for (const LnkNode *node = expressions->first; node != nullptr; node = node->next) {
      char name[16];
      std::snprintf(name, sizeof name, "TAG%03d", number++);
      tags.add({name, stringOf(*node), nullptr, unique, false});
    }
    engine::IndexFile *index = nullptr;
    table.createIndex(fileName, tags.data(), tags.size(), engine::Table::Existing::kReplaced,
                      index);
    return index;
  });
}

}  // namespace

void applyAccessSettings(engine::Context &context) noexcept {
  engine::Settings &settings = context.settings;
  settings.showErrorBoxes = false;
  settings.unknownFieldIsError = false;
  settings.refuseOverwrite = false;
  settings.readOnlyFallback = true;
  settings.openProductionIndex = true;
}

}  // namespace zk

using namespace zk;

int zk_Cb_init(ZkContext *context) {
  engine::Context *live = engine::liveContext(context);
  if (live == nullptr) return 0;
  applyAccessSettings(*live);
  return 1;
}

StrList *zk_Cb_parseTagInfo(const char *tagInfo) {
  if (tagInfo == nullptr) return nullptr;
  OwnedStringList list;
  for (const char *p = tagInfo; *p != '\0';) {
    if (separatesExpressions(*p)) {
      ++p;
      continue;
    }
    const char *end = p;
    while (*end != '\0' && !separatesExpressions(*end)) ++end;
    if (list == nullptr) list.reset(newList());
    if (list == nullptr || !appendString(*list, {p, static_cast<std::size_t>(end - p)})) {
      return nullptr;
    }
    p = end;
  }
  return list.release();
}

ZkIndex *zk_Cb_i4create(ZkTable *table, const char *fileName, const char *tagInfo, int32_t,
                        int32_t unique) {
  engine::Table *live = engine::liveTable(table);
  if (live == nullptr) return nullptr;
  live->context().clearError();
  if (fileName == nullptr) {
    live->context().fail(engine::kErrParameter);
    return nullptr;
  }
  return handleOf(createNumberedTags(*live, fileName, tagInfo, unique != 0));
}

int zk_Cb_freeTags(ZkTagInfo *tags, int32_t count) {
  if (tags == nullptr) return 0;
  for (int32_t i = 0; i < count; ++i) {
    base::release(tags[i].name);
    base::release(tags[i].expression);
    base::release(tags[i].filter);
  }
  base::release(tags);
  return 1;
}

ZkTag *zk_Cb_findTag(ZkTable *table, const char *name) {
  const engine::Table *live = engine::liveTable(table);
  return live != nullptr && name != nullptr ? handleOf(live->findTag(name)) : nullptr;
}

int zk_Cb_createNdx(const char *tableFile, const char *tagInfo, int32_t unique) {
  if (tableFile == nullptr) return 0;
  return base::guarded(0, [&] {
    // A context of its own, so that the tables of the access layer are not touched.
    engine::Context own;
    applyAccessSettings(own);
    // Alone with the table if possible: then the file becomes the production index, which every
    // program opens with the table.
    const base::String name = engine::withDefaultExtension(tableFile, "dbf");
    own.settings.openMode = static_cast<int>(engine::OpenMode::kExclusive);
    engine::Table *table = engine::Table::open(own, name.c_str());
    if (table == nullptr) {
      own.clearError();
      own.settings.openMode = static_cast<int>(engine::OpenMode::kShared);
      table = engine::Table::open(own, name.c_str());
    }
    const bool created = table != nullptr && createNumberedTags(*table, "", tagInfo, unique != 0);
    if (table != nullptr) table->close();
    if (engine::Context *shared = prepareAccess()) {
      shared->clearError();
      if (own.errorCode() != 0) shared->fail(own.errorCode(), own.errorFile(), own.errorText());
    }
    return created ? 1 : 0;
  });
}

double zk_c4atod(const char *text, int32_t length) {
  return base::toDouble(firstCharacters(text, length));
}

int32_t zk_c4atoi(const char *text, int32_t length) {
  return base::toInt32(firstCharacters(text, length));
}

int32_t zk_c4atol(const char *text, int32_t length) { return zk_c4atoi(text, length); }

int zk_d4write(ZkTable *table, int32_t recordNumber) {
  engine::Table *live = engine::liveTable(table);
  if (live == nullptr) return 1;
  live->context().clearError();
  return live->writeRecord(recordNumber);
}

double zk_Cnv_dtor(double degrees) { return degrees * 0.017453292519943295; }
double zk_Cnv_rtod(double radians) { return radians * 57.29577951308232; }
