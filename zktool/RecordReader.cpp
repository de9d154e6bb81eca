#include "RecordReader.h"

namespace zk::tool {

RecordReader::RecordReader(const Table &table) : table_(table) {
  for (const Field &field : table.fields()) {
    if (field.kind != Kind::kNullFlags) fields_.push_back(field);
  }
  values_.resize(fields_.size());
}

const Values &RecordReader::read() {
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    if (table_.read(fields_[i], values_[i]) || !complaint_.empty()) continue;
    complaint_ = libraryFailure(table_.name(), zk_DbError_code()).what();
    complaint_ += ", record " + std::to_string(zk_Db_getRecordNo(table_.id()));
    complaint_ += ", field " + fields_[i].name;
  }
  return values_;
}

void RecordReader::requireAllRead() const {
  if (!complaint_.empty()) throw Failure(complaint_);
}

}  // namespace zk::tool
