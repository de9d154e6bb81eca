#include "indexinputs.h"

#include <cstring>
#include <filesystem>
#include <iterator>
#include <random>

#include "measure.h"
#include "sqlite.h"
#include "writing.h"
#include "zk/db.h"
#include "zk/extras.h"

namespace zk::bench {
namespace {

constexpr std::size_t kRecordsPerSeek = 5;
constexpr std::size_t kMostSeeks = 200'000;

std::shared_ptr<const std::vector<Sought>> chooseSought(std::span<const Record> records) {
  std::mt19937 random{815};
  auto sought =
      std::make_shared<std::vector<Sought>>(std::min(records.size() / kRecordsPerSeek, kMostSeeks));
  for (Sought &each : *sought) {
    const Record &record = records[random() % records.size()];
    std::memcpy(each.code, record.code, sizeof each.code);
    each.number = record.number;
    each.quantity = record.quantity;
  }
  return sought;
}

ZkTagInfo tagInfo(const char *name) {
  ZkTagInfo info = {};
  info.name = const_cast<char *>(name);
  info.expression = info.name;
  return info;
}

void checkOrder(int32_t id, std::size_t expected) {
  const int32_t tag = tagNumber(id, kTextTag);
  std::string before;
  std::size_t count = 0;
  for (int status = zk_Db_topRec(id, tag); status == 0; status = zk_Db_nextRec(id, tag)) {
    const char *code = zk_Db_getFldStr(id, "CODE");
    require(before <= code, "the tag is not in order");
    before = code;
    ++count;
  }
  require(count == expected, "the tag does not have all records");
}

void writeTables(const IndexInputs &inputs) {
  writeTable(inputs.table, inputs.records, kExclusive, Keys::kYes);
  const int32_t id = openTable(inputs, kExclusive, nullptr);
  const ZkTagInfo keys[] = {tagInfo(kTextTag), tagInfo(kNumberTag)};
  require(zk_Tag_create(id, inputs.keys.c_str(), keys, std::size(keys)) == 0,
          "cannot create the tags");
  createTag(id, inputs.quantities, kQuantityTag);
  checkOrder(id, inputs.records.size());
  zk_Db_closeDb(id);
}

void writeDatabases(const IndexInputs &inputs) {
  writeDatabase(inputs.plainDatabase, inputs.records, Keys::kYes, kLargePages);
  writeDatabase(inputs.keysDatabase, inputs.records, Keys::kYes, kSmallPages);
  std::filesystem::copy_file(inputs.plainDatabase, inputs.codeDatabase);
  std::filesystem::copy_file(inputs.keysDatabase, inputs.quantityDatabase);
  Database(inputs.codeDatabase).execute("CREATE INDEX code ON piping (CODE)");
  Database(inputs.keysDatabase)
      .execute("CREATE INDEX code ON piping (CODE); CREATE INDEX number ON piping (NUMBER)");
  Database(inputs.quantityDatabase).execute("CREATE INDEX quantity ON piping (QUANTITY)");
}

}  // namespace

std::shared_ptr<const IndexInputs> makeIndexInputs(const Setup &setup, const char *directory,
                                                   std::size_t count, bool withDatabases) {
  auto inputs = std::make_shared<IndexInputs>();
  inputs->directory = setup.path(directory);
  std::filesystem::create_directory(inputs->directory);
  inputs->table = inputs->path("ITEMS.DBF");
  inputs->keys = inputs->path("KEYS.CDX");
  inputs->quantities = inputs->path("AMOUNTS.CDX");
  inputs->plainDatabase = inputs->path("plain.sqlite");
  inputs->codeDatabase = inputs->path("code.sqlite");
  inputs->keysDatabase = inputs->path("keys.sqlite");
  inputs->quantityDatabase = inputs->path("quantity.sqlite");
  inputs->records = std::span(setup.records).first(count);
  inputs->additional = setup.additional;
  inputs->sought = chooseSought(inputs->records);
  const auto write = [&](Stopwatch &) {
    writeTables(*inputs);
    if (withDatabases) writeDatabases(*inputs);
    for (const auto &file : std::filesystem::directory_iterator(inputs->directory)) {
      settle(file.path());
    }
    return 0.0;
  };
  measureInChild(write, 0);
  return inputs;
}

int32_t openTable(const IndexInputs &inputs, int mode, const std::string *index) {
  return openTable(inputs.table, mode, index);
}

int32_t openTable(const std::string &table, int mode, const std::string *index) {
  readThrough(table);
  if (index != nullptr) readThrough(*index);
  const int32_t id = zk_Db_openDbEx(table.c_str(), mode);
  require(id >= 0, "cannot open the table");
  require(index == nullptr || zk_Db_openNdx(id, index->c_str()) >= 0, "cannot open the index");
  return id;
}

int32_t tagNumber(int32_t id, const char *name) {
  const int32_t number = zk_Tag_find(id, name);
  require(number >= 0, "there is no such tag");
  return number;
}

void createTag(int32_t id, const std::string &path, const char *name) {
  const ZkTagInfo tag = tagInfo(name);
  require(zk_Tag_create(id, path.c_str(), &tag, 1) == 0, "cannot create the tag");
}

}  // namespace zk::bench
