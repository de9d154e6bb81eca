#include "NewTable.h"

#include <algorithm>

namespace zk::tool {
namespace {

// Splits "dir/name.ext" before the "."; the extension is "" when there is none.
void splitName(const std::string &path, std::string &stem, std::string &extension) {
  const std::size_t point = path.rfind('.');
  const std::size_t slash = path.find_last_of("/\\:");
  const bool has = point != std::string::npos && (slash == std::string::npos || point > slash);
  stem = path.substr(0, point);
  if (!has) stem = path;
  extension = has ? path.substr(point) : "";
}

void removeFile(const std::string &file) {
  if (zk_File_exists(file.c_str()) != 0) zk_File_deleteSingle(file.c_str());
}

}  // namespace

NewTable::Files::Files(const std::string &stem, const std::string &extension)
    : table(stem + extension) {
  const bool lower =
      std::none_of(extension.begin(), extension.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
  memo = stem + (lower ? ".fpt" : ".FPT");
  index = stem + (lower ? ".cdx" : ".CDX");
}

bool NewTable::Files::exist() const {
  return zk_File_exists(table.c_str()) != 0 || zk_File_exists(memo.c_str()) != 0;
}

void NewTable::Files::remove() const {
  removeFile(memo);
  removeFile(table);
}

NewTable::NewTable(const std::string &target, Target kind)
    : kind_(kind), target_(targetFiles(target)), files_(temporaryFiles(target)) {
  requireFree();
}

NewTable::~NewTable() {
  if (!placed_) files_.remove();
}

void NewTable::create(const std::vector<Field> &fields) {
  DbFldList *list = zk_DbFldList_create(nullptr);
  for (const Field &field : fields) {
    zk_DbFldList_insEnd(list, field.name.c_str(), nullptr, field.width, field.decimals, field.type);
  }
  const int32_t id = zk_Db_createDb(name().c_str(), list);
  zk_DbFldList_destroy(list);
  if (id < 0) throw Failure(target_.table + ": " + errorText(id));
  zk_Db_closeDb(id);
}

void NewTable::putInPlace() {
  requireFree();  // nobody made one meanwhile
  if (kind_ == Target::kIsReplaced) removeFile(target_.index);
  const bool hasMemo = zk_File_exists(files_.memo.c_str()) != 0;
  if (hasMemo && zk_File_move(files_.memo.c_str(), target_.memo.c_str()) == 0) {
    throw Failure(target_.memo + ": cannot be put in place");
  }
  if (zk_File_move(files_.table.c_str(), target_.table.c_str()) == 0) {
    if (hasMemo && kind_ == Target::kMustBeFree) zk_File_deleteSingle(target_.memo.c_str());
    throw Failure(target_.table + ": cannot be put in place");
  }
  placed_ = true;
}

NewTable::Files NewTable::targetFiles(const std::string &target) {
  std::string stem;
  std::string extension;
  splitName(target, stem, extension);
  return {stem, extension.empty() ? ".dbf" : extension};
}

NewTable::Files NewTable::temporaryFiles(const std::string &target) {
  const std::size_t slash = target.find_last_of("/\\:");
  const std::string directory = slash == std::string::npos ? "" : target.substr(0, slash + 1);
  for (int tries = 0; tries < 100; ++tries) {
    const Files files(directory + zk_Fname_createTemp(), ".dbf");
    if (!files.exist()) return files;
  }
  throw Failure(target + ": no temporary file name is free");
}

void NewTable::requireFree() const {
  if (kind_ == Target::kIsReplaced) return;
  if (zk_File_exists(target_.table.c_str()) != 0) {
    throw Failure(target_.table + ": exists already (--append adds to it)");
  }
  if (zk_File_exists(target_.memo.c_str()) != 0) {
    throw Failure(target_.memo + ": exists already, without a table");
  }
}

}  // namespace zk::tool
