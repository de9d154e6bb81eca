#include "CsvReader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zk::tool {
namespace {

constexpr std::size_t kBufferSize = 1 << 18;

int isNoSpace(unsigned char) { return 0; }  // blanks belong to the values

}  // namespace

CsvReader::CsvReader(std::string file)
    : file_(std::move(file)),
      stream_(std::fopen(file_.c_str(), "rb"), &std::fclose),
      buffer_(kBufferSize) {
  if (stream_ == nullptr) throw Failure(file_ + ": " + std::strerror(errno));
  if (std::fseek(stream_.get(), 0, SEEK_END) != 0) {
    throw Failure(file_ + ": must be a file that can be read twice");
  }
  bytesTotal_ = std::ftell(stream_.get());
  startParser();
  std::rewind(stream_.get());
}

CsvReader::~CsvReader() { csv_free(&parser_); }

void CsvReader::startParser() {
  csv_init(&parser_, CSV_STRICT | CSV_STRICT_FINI);
  csv_set_space_func(&parser_, isNoSpace);
  csv_set_blk_size(&parser_, 1 << 14);  // long memos would grow by 128 bytes at a time
}

void CsvReader::rewind() {
  csv_free(&parser_);
  startParser();
  std::rewind(stream_.get());
  position_ = end_ = count_ = 0;
  bytesRead_ = 0;
  rowDone_ = inRow_ = finished_ = false;
  line_ = valueLine_ = 1;
  previous_ = 0;
}

void CsvReader::onValue(void *text, std::size_t length, void *self) {
  auto &reader = *static_cast<CsvReader *>(self);
  if (reader.count_ == reader.values_.size()) reader.values_.emplace_back();
  CsvValue &value = reader.values_[reader.count_++];
  value.text.assign(static_cast<const char *>(text), length);
  value.line = reader.valueLine_;
  reader.valueLine_ = reader.line_;
}

void CsvReader::onRow(int, void *self) { static_cast<CsvReader *>(self)->rowDone_ = true; }

Failure CsvReader::failure(std::size_t column, const std::string &text) const {
  const std::int64_t line = column < count_ ? values_[column].line : valueLine_;
  return Failure(file_ + ": line " + std::to_string(line) + ", column " +
                 std::to_string(column + 1) + ": " + text);
}

bool CsvReader::fill() {
  position_ = 0;
  end_ = std::fread(buffer_.data(), 1, buffer_.size(), stream_.get());
  if (std::ferror(stream_.get()) != 0) throw Failure(file_ + ": " + std::strerror(errno));
  if (bytesRead_ == 0 && end_ >= 3 && std::memcmp(buffer_.data(), "\xEF\xBB\xBF", 3) == 0) {
    position_ = 3;
  }
  bytesRead_ += static_cast<std::int64_t>(end_);
  return end_ > position_;
}

// The bytes up to and with the next "\n" or "\r", or to the end of the buffer.
std::string_view CsvReader::takeLine() {
  const char *begin = buffer_.data() + position_;
  const char *limit = buffer_.data() + end_;
  const char *end = std::find_if(begin, limit, [](char c) { return c == '\n' || c == '\r'; });
  if (end != limit) ++end;
  position_ += static_cast<std::size_t>(end - begin);
  return {begin, static_cast<std::size_t>(end - begin)};
}

void CsvReader::parseLine(std::string_view line) {
  const char last = line.back();
  const bool ends = last == '\n' || last == '\r';
  if (!inRow_ && last == '\n' && line.size() == 1 && previous_ == '\r') {
    previous_ = last;  // the second half of a line end that has been counted
    return;
  }
  if (!inRow_) valueLine_ = line_;
  if (csv_parse(&parser_, line.data(), line.size(), onValue, onRow, this) != line.size()) {
    if (csv_error(&parser_) != CSV_EPARSE)
      throw Failure(file_ + ": " + csv_strerror(csv_error(&parser_)));
    throw failure(count_, "misplaced quote (a value with quotes is written \"3\"\" pipe\")");
  }
  inRow_ = !rowDone_ && (inRow_ || line.size() > 1 || !ends);
  if (ends && !(last == '\n' && line.size() == 1 && previous_ == '\r')) ++line_;
  previous_ = last;
}

void CsvReader::finish() {
  finished_ = true;
  if (csv_fini(&parser_, onValue, onRow, this) != 0) {
    throw failure(count_, "the quote that begins here is never closed");
  }
}

bool CsvReader::next() {
  count_ = 0;
  rowDone_ = false;
  while (!rowDone_) {
    if (position_ < end_ || fill()) {
      parseLine(takeLine());
    } else if (!finished_) {
      finish();
    } else {
      return false;
    }
  }
  return true;
}

}  // namespace zk::tool
