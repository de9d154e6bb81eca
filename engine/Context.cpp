#include "engine/Context.h"

#include <cstdio>
#include <cstring>

#include "engine/Table.h"
#include "platform/System.h"

namespace zk::engine {
namespace {

Context *firstContext = nullptr;

void showError(int code, const char *text, const char *file) {
  char message[1024];
  int length = std::snprintf(message, sizeof message, "Error #: %d\r\n%s\r\n", code, text);
  if (file[0] != '\0' && length > 0 && length < static_cast<int>(sizeof message)) {
    std::snprintf(message + length, sizeof message - static_cast<std::size_t>(length),
                  "File Name: %s\r\n", file);
  }
  platform::showMessage(code == kErrMemory ? "Memory Error" : "TABLE ENGINE ERROR", message);
}

}  // namespace

Context::Context() noexcept : next_(firstContext) { firstContext = this; }

Context::~Context() {
  closeAll();
  Context **link = &firstContext;
  while (*link != this) link = &(*link)->next_;
  *link = next_;
}

int Context::fail(int code, const char *file, const char *text) noexcept {
  if (quiet_ > 0) return code;
  errorCode_ = code;
  errorText_ = text != nullptr ? text : engine::errorText(code);
  errorFile_[0] = '\0';
  if (file != nullptr) std::snprintf(errorFile_, sizeof errorFile_, "%s", file);
  if (settings.showErrorBoxes) showError(code, errorText_, errorFile_);
  return code;
}

int Context::closeAll() noexcept {
  int result = kOk;
  while (firstTable_ != nullptr) {
    const int status = firstTable_->close();
    if (result == kOk) result = status;
  }
  return result;
}

Context *liveContext(const void *handle) noexcept {
  Context *context = firstContext;
  while (context != nullptr && context != handle) context = context->next();
  return context;
}

namespace {

// The first open table, of any context, that the test accepts; null when there is none.
template <typename Test>
Table *findTable(Test accepts) {
  for (Context *context = firstContext; context != nullptr; context = context->next()) {
    for (Table *table = context->firstTable(); table != nullptr; table = table->next()) {
      if (accepts(*table)) return table;
    }
  }
  return nullptr;
}

}  // namespace

Table *liveTable(const void *handle) noexcept {
  return findTable([handle](const Table &table) { return &table == handle; });
}

const Field *liveField(const void *handle) noexcept {
  const Field *found = nullptr;
  findTable([handle, &found](const Table &table) {
    for (const Field &field : table.fields()) {
      if (&field == handle) found = &field;
    }
    return found != nullptr;
  });
  return found;
}

IndexFile *liveIndex(const void *handle) noexcept {
  IndexFile *found = nullptr;
  findTable([handle, &found](const Table &table) {
    for (const base::Owned<IndexFile> &index : table.indexes()) {
      if (index.get() == handle) found = index.get();
    }
    return found != nullptr;
  });
  return found;
}

bool hasOtherIndexAt(const Table &table, const platform::FileIdentity &identity) noexcept {
  return findTable([&table, &identity](const Table &other) {
           return &other != &table && other.openIndexAt(identity) != nullptr;
         }) != nullptr;
}

bool isOpenTwice(const Table &table) noexcept {
  return findTable([&table](const Table &other) {
           return &other != &table && other.fileIdentity() == table.fileIdentity();
         }) != nullptr;
}

}  // namespace zk::engine
