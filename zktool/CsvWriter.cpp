#include "RecordWriter.h"

namespace zk::tool {
namespace {

class CsvWriter : public RecordWriter {
 public:
  CsvWriter(Output &out, const std::vector<Field> &fields) : out_(out), fields_(fields) {}

  void begin() override {
    for (const Field &field : fields_) add(field.name);
    endLine();
  }

  void record(const Values &values, bool) override {
    for (std::size_t i = 0; i < fields_.size(); ++i) add(readable(fields_[i], values[i]));
    endLine();
  }

  void end() override {}

 private:
  void add(std::string_view value) {
    if (column_++ > 0) line_ += ',';
    // A lone empty value is quoted, as an empty line would be no record at all.
    const bool lone = fields_.size() == 1 && value.empty();
    if (!lone && value.find_first_of("\",\r\n") == std::string_view::npos) {
      line_ += value;
      return;
    }
    line_ += '"';
    for (const char c : value) {
      if (c == '"') line_ += '"';
      line_ += c;
    }
    line_ += '"';
  }

  void endLine() {
    line_ += "\r\n";
    out_.write(line_);
    line_.clear();
    column_ = 0;
  }

  Output &out_;
  const std::vector<Field> &fields_;
  std::string line_;
  std::size_t column_ = 0;
};

}  // namespace

std::unique_ptr<RecordWriter> makeCsvWriter(Output &out, const std::vector<Field> &fields) {
  return std::make_unique<CsvWriter>(out, fields);
}

}  // namespace zk::tool
