#include "engine/TableCheck.h"

#include <algorithm>
#include <string_view>

#include "engine/Bytes.h"
#include "engine/Table.h"

namespace zk::engine {
namespace {

constexpr std::uint32_t kProgressStep = 4096;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool consistsOf(std::string_view text, char c) {
  return text.find_first_not_of(c) == std::string_view::npos;
}

std::size_t digitsAt(std::string_view text, std::size_t at) {
  std::size_t end = at;
  while (end < text.size() && isDigit(text[end])) ++end;
  return end - at;
}

// Sign, digits, a point, an exponent.
bool isNumber(std::string_view text) {
  std::size_t at = text[0] == '-' || text[0] == '+' ? 1 : 0;
  std::size_t digits = digitsAt(text, at);
  at += digits;
  if (at < text.size() && text[at] == '.') {
    const std::size_t decimals = digitsAt(text, ++at);
    digits += decimals;
    at += decimals;
  }
  if (digits == 0) return false;
  if (at < text.size() && (text[at] == 'E' || text[at] == 'e')) {
    ++at;
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
    const std::size_t exponent = digitsAt(text, at);
    if (exponent == 0) return false;
    at += exponent;
  }
  return at == text.size();
}

// Whether a cell holds a value of its field. Blank ones do, zero bytes that other programs leave
// are blank, and asterisks stand for a number that was too wide. Any letter is a logical value, and
// a date that no calendar has is a date.
bool isValue(FieldKind kind, std::string_view text) {
  if (consistsOf(text, ' ') || consistsOf(text, '\0')) return true;
  if (kind == FieldKind::kDate) return digitsAt(text, 0) == text.size();
  if (consistsOf(text, '*')) return true;
  const std::size_t begin = text.find_first_not_of(' ');
  return isNumber(text.substr(begin, text.find_last_not_of(' ') + 1 - begin));
}

}  // namespace

int TableCheck::run() {
  base::Owned<MemoCheck> memos;
  if (table_.hasMemoFile()) {
    memos = base::make<MemoCheck>(table_.context(), *table_.memo_, findings_);
    if (memos == nullptr) throw std::bad_alloc();
    memos->begin(table_.recordCount());
  }
  findings_.beginFile(table_.path());
  int status = checkLength();
  if (status == kOk) status = checkRecords(memos.get());
  if (status == kOk && memos != nullptr) status = memos->finish(table_.fields());
  findings_.endFile();
  if (status != kOk || memos == nullptr) return status;
  findings_.beginFile(table_.memo_->file().path());
  status = memos->checkHeader();
  findings_.endFile();
  return status;
}

int TableCheck::checkLength() noexcept {
  unsigned char bytes[4];
  std::uint64_t length = 0;
  int status = table_.file_.read(4, bytes, sizeof bytes);
  if (status == kOk) status = table_.file_.length(length);
  if (status != kOk) return status;
  const std::uint32_t counted = readLittle32(bytes);
  const std::uint32_t recordLength = table_.header().recordLength;
  const std::uint32_t headerLength = table_.header().headerLength;
  const std::uint64_t data = length > headerLength ? length - headerLength : 0;
  records_ = static_cast<std::uint32_t>(std::min<std::uint64_t>(counted, data / recordLength));
  countIsLarge_ = counted > records_;
  if (countIsLarge_) {
    findings_.add("header: it counts %u records, but the file holds %u", counted, records_);
  }

  const std::uint64_t rest = data - std::uint64_t{records_} * recordLength;
  unsigned char first = kFileEnd;
  std::size_t got = 0;
  status = table_.file_.readUpTo(headerLength + data - rest, &first, 1, got);
  if (status != kOk || first == kFileEnd) return status;
  const std::uint64_t whole = rest / recordLength;
  if (whole > 0) {
    findings_.add("header: it counts %u records, but the file holds %llu more", counted,
                  static_cast<unsigned long long>(whole));
  } else {
    tornTail_ = true;
    findings_.add("record %u: the file ends within it", records_ + 1);
  }
  return kOk;
}

int TableCheck::mend() noexcept {
  // The end mark takes the place of the torn record's deletion mark.
  const std::uint64_t end =
      table_.header().headerLength + std::uint64_t{records_} * table_.header().recordLength;
  const unsigned char mark = kFileEnd;
  int status = table_.file_.write(end, &mark, 1);
  if (status == kOk && countIsLarge_) status = table_.writeCount(records_);
  return status;
}

int TableCheck::checkRecords(MemoCheck *memos) {
  const std::uint32_t count = table_.recordCount();
  for (std::uint32_t number = 1; number <= count; ++number) {
    int status = table_.go(number);
    if (status == kOk) status = checkRecord(number, memos);
    if (status != kOk) return status;
    if (number % kProgressStep == 0 || number == count) {
      table_.context().reportProgress("Checking", number, count);
    }
  }
  return kOk;
}

int TableCheck::checkRecord(std::uint32_t number, MemoCheck *memos) {
  const char *record = table_.record();
  if (record[0] != ' ' && record[0] != '*') {
    findings_.add("record %u: the deletion mark 0x%02X is neither blank nor an asterisk", number,
                  static_cast<unsigned char>(record[0]));
  }
  for (const Field &field : table_.fields()) {
    const char *bytes = record + field.offset;
    if (field.kind == FieldKind::kNumber || field.kind == FieldKind::kDate) {
      checkCell(field, bytes, number);
    } else if (field.isMemo() && memos != nullptr) {
      const int status = memos->add(bytes, field, number);
      if (status != kOk) return status;
    }
  }
  return kOk;
}

void TableCheck::checkCell(const Field &field, const char *bytes, std::uint32_t number) noexcept {
  if (isValue(field.kind, {bytes, field.width})) return;
  findings_.add("record %u, field %s: %s is no %s", number, field.name,
                Quoted(bytes, field.width).text(),
                field.kind == FieldKind::kDate ? "date" : "number");
}

}  // namespace zk::engine
