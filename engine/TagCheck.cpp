#include "engine/TagCheck.h"

#include <cstring>

#include "engine/Table.h"
#include "engine/WorkFile.h"

namespace zk::engine {
namespace {

constexpr std::uint32_t kProgressStep = 4096;

}  // namespace

TagCheck::TagCheck(Table &table, CheckedIndex &index, Findings &findings, const char *name) noexcept
    : table_(table),
      context_(table.context()),
      index_(index),
      findings_(findings),
      name_(name),
      recordCount_(table.recordCount()) {}

int TagCheck::run(const IndexHeader &header) {
  unique_ = header.unique();
  skipsDuplicates_ = (header.options & kOptionUnique) != 0;
  compile(header);
  if (lengthIsWrong_) return kOk;  // the keys cannot be told apart
  WorkFile workFile(context_);
  KeySorter sorter(workFile, layout_.length);
  expectedKeys_ = &sorter;
  int status = evaluable() ? collect() : kOk;
  if (status != kOk) return status;

  TreeCheck tree(index_, findings_, name_, layout_, fillKnown_);
  status = tree.run(header.root, *this);
  // Behind damage everything would be missing.
  while (status == kOk && tree.sound() && expected_ != nullptr) {
    reportMissing(nullptr);
    status = nextExpected();
  }
  return status;
}

// ---- The keys that should be there

void TagCheck::compile(const IndexHeader &header) {
  layout_ = {header.keyLength, 0};
  const Context::Quiet quiet(context_);  // what is wrong is a finding
  problem_ = compileKeys(header);
  if (problem_ == kOk) {
    layout_ = keys_.form().layout();
    fillKnown_ = true;
    return;
  }
  findings_.add(
      "%s: the keys cannot be compared with the records: %s (%d)", name_,
      header.foreignCollation ? "their order is that of a language" : engine::errorText(problem_),
      problem_);
}

int TagCheck::compileKeys(const IndexHeader &header) {
  if (header.foreignCollation) return kErrIndex;
  int status = keys_.compile(table_, header.expression, header.filter);
  if (status != kOk || keys_.match(header.keyLength)) return status;
  status = keys_.choose(context_);
  if (status != kOk) return status;
  lengthIsWrong_ = true;
  findings_.add("%s: the keys are said to have %u bytes, but the expression gives %u", name_,
                header.keyLength, keys_.form().layout().length);
  return kOk;
}

int TagCheck::collect() {
  expectedKeys_->begin(recordCount_);
  for (std::uint32_t record = 1; record <= recordCount_; ++record) {
    unsigned char key[kLongestKey];
    bool inTag = false;
    int status = table_.go(record);
    if (status == kOk) status = keys_.evaluate(key, inTag);
    if (status == kErrOverflow) {
      findings_.add("%s: the key of record %u cannot be worked out: %s (%d)", name_, record,
                    engine::errorText(status), status);
      context_.clearError();
    } else if (status == kOk && inTag) {
      status = expectedKeys_->add(key, record);
    }
    if (status != kOk && status != kErrOverflow) return status;
    if (record % kProgressStep == 0 || record == recordCount_) {
      context_.reportProgress("Checking", record, recordCount_);
    }
  }
  const int status = expectedKeys_->sort();
  return status == kOk ? nextExpected() : status;
}

int TagCheck::nextExpected() noexcept {
  const int status = expectedKeys_->next(expected_, expectedRecord_);
  if (status != kOk) expected_ = nullptr;
  return status == kEndOfFile ? kOk : status;
}

// ---- The keys that are there

int TagCheck::take(const TreeKey &found) {
  const bool exists = found.record >= 1 && found.record <= recordCount_;
  if (!exists) {
    findings_.add("%s, page %u: record %u does not exist", name_, found.page, found.record);
  }
  if (!evaluable()) return kOk;
  if (unique_ && isLastFound(found.key)) {
    findings_.add("%s, page %u: the key %s of record %u stands in the unique tag already", name_,
                  found.page, shown(found.key).text(), found.record);
  }
  int order = 1;
  int status = kOk;
  while (expected_ != nullptr) {
    order = compareKeys(expected_, expectedRecord_, found.key, found.record, layout_.length);
    if (order < 0) reportMissing(&found);
    if (order <= 0) status = nextExpected();
    if (order >= 0 || status != kOk) break;
  }
  if (status == kOk && order != 0 && exists) reportExtra(found);
  std::memcpy(lastFound_, found.key, layout_.length);
  anyFound_ = true;
  return status;
}

bool TagCheck::isLastFound(const unsigned char *key) const noexcept {
  return anyFound_ && std::memcmp(lastFound_, key, layout_.length) == 0;
}

// The expected key was not found before `found`, or not at all.
void TagCheck::reportMissing(const TreeKey *found) noexcept {
  if (skipsDuplicates_) {
    const bool next = found != nullptr && std::memcmp(expected_, found->key, layout_.length) == 0;
    if (next || isLastFound(expected_)) return;
  }
  findings_.add("%s: record %u is missing, whose key is %s", name_, expectedRecord_,
                shown(expected_).text());
}

void TagCheck::reportExtra(const TreeKey &found) noexcept {
  if (findings_.full()) {
    findings_.addUnseen();  // without a look at the record
    return;
  }
  unsigned char own[kLongestKey];
  bool inTag = false;
  int status = table_.go(found.record);
  if (status == kOk) status = keys_.evaluate(own, inTag);
  context_.clearError();
  if (status == kOk && !inTag) {
    findings_.add("%s, page %u: record %u is in the tag, but the filter leaves it out", name_,
                  found.page, found.record);
  } else if (status == kOk) {
    findings_.add("%s, page %u: record %u stands under the key %s, but its key is %s", name_,
                  found.page, found.record, shown(found.key).text(), shown(own).text());
  } else {
    findings_.add("%s, page %u: record %u has no key, but is in the tag", name_, found.page,
                  found.record);
  }
}

}  // namespace zk::engine
