// The aligned format looks ahead over the first records to find the columns' widths. A table that
// ends within them is exactly as wide as its values; in a longer one every field gets the most that
// it can hold, so that later records stay aligned. Memos have no such bound: there a later, longer
// line moves the rest of its row.
#include <algorithm>

#include "RecordWriter.h"
#include "Text.h"

namespace zk::tool {
namespace {

constexpr std::size_t kSampleRecords = 1000;
constexpr std::size_t kSampleBytes = 4 << 20;
constexpr std::size_t kTerminalCell = 60;  // characters; longer values are cut on a terminal only

using Lines = std::vector<std::string>;  // a cell; memos may have several

std::string firstCharacters(const std::string &utf8, std::size_t count) {
  std::size_t end = 0;
  for (std::size_t seen = 0; end < utf8.size(); ++end) {
    if ((static_cast<unsigned char>(utf8[end]) & 0xC0) != 0x80 && seen++ == count) break;
  }
  return utf8.substr(0, end);
}

// The most characters that the field's text can have; 0 when there is no bound.
std::size_t mostCharacters(const Field &field) {
  if (field.kind == Kind::kMemo) return 0;
  switch (field.fixedText ? 'C' : field.type) {
    case 'I':
      return 11;  // -2147483648
    case 'Y':
      return 21;  // -922337203685477.5808
    case 'B':
      return 24;  // -2.2250738585072014e-308
    case 'T':
      return 19;  // 2024-01-31 12:00:00
    default:
      return static_cast<std::size_t>(std::max(field.width, 0));
  }
}

class TextWriter : public RecordWriter {
 public:
  TextWriter(Output &out, const std::vector<Field> &fields, const CodePage &page, bool marks)
      : out_(out), fields_(fields), page_(page), marks_(marks), terminal_(Output::isTerminal()) {}

  void begin() override {
    for (const Field &field : fields_) {
      names_.push_back({shown(field.name)});
      widths_.push_back(characters(names_.back()[0]));
    }
  }

  void record(const Values &values, bool deleted) override {
    Row row{{}, deleted};
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      row.cells.push_back(cell(readable(fields_[i], values[i])));
    }
    if (!sampling_) return writeRow(row);
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      for (const std::string &line : row.cells[i]) {
        widths_[i] = std::max(widths_[i], characters(line));
        sampleBytes_ += line.size();
      }
    }
    sample_.push_back(std::move(row));
    if (sample_.size() < kSampleRecords && sampleBytes_ < kSampleBytes) return;
    widenToFields();
    endSample();
  }

  void end() override {
    if (sampling_) endSample();
  }

 private:
  struct Row {
    std::vector<Lines> cells;
    bool deleted;
  };

  std::string shown(std::string_view text) const {
    const std::string utf8 = page_.toUtf8(text);
    if (!terminal_) return utf8;
    const std::string escaped = escapeControls(utf8);
    if (characters(escaped) <= kTerminalCell) return escaped;
    return firstCharacters(escaped, kTerminalCell - 3) + "...";
  }

  Lines cell(std::string_view text) const {
    if (terminal_) return {shown(text)};
    Lines lines;
    for (const std::string_view line : linesOf(text)) lines.push_back(shown(line));
    return lines;
  }

  void widenToFields() {
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      std::size_t most = mostCharacters(fields_[i]);
      if (terminal_) most = std::min(most, kTerminalCell);
      widths_[i] = std::max(widths_[i], most);
    }
  }

  void endSample() {
    sampling_ = false;
    writeRow({names_, false});
    Row rule{{}, false};
    for (const std::size_t width : widths_) rule.cells.push_back({std::string(width, '-')});
    writeRow(rule);
    for (const Row &row : sample_) writeRow(row);
    sample_.clear();
  }

  void writeRow(const Row &row) {
    std::size_t height = 1;
    for (const Lines &lines : row.cells) height = std::max(height, lines.size());
    for (std::size_t line = 0; line < height; ++line) writeLine(row, line);
  }

  void writeLine(const Row &row, std::size_t line) {
    std::string text;
    if (marks_) text = row.deleted && line == 0 ? "* " : "  ";
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
      const std::string value = line < row.cells[i].size() ? row.cells[i][line] : std::string();
      const std::size_t length = characters(value);
      const std::string fill(widths_[i] > length ? widths_[i] - length : 0, ' ');
      if (i > 0) text += "  ";
      text += fields_[i].kind == Kind::kNumber ? fill + value : value + fill;
    }
    text.erase(text.find_last_not_of(' ') + 1);
    text += '\n';
    out_.write(text);
  }

  Output &out_;
  const std::vector<Field> &fields_;
  const CodePage &page_;
  bool marks_;
  bool terminal_;
  std::vector<Lines> names_;
  std::vector<std::size_t> widths_;
  std::vector<Row> sample_;
  std::size_t sampleBytes_ = 0;
  bool sampling_ = true;
};

}  // namespace

std::unique_ptr<RecordWriter> makeTextWriter(Output &out, const std::vector<Field> &fields,
                                             const CodePage &page, bool marks) {
  return std::make_unique<TextWriter>(out, fields, page, marks);
}

}  // namespace zk::tool
