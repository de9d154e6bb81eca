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

Table *liveTable(const void *handle) noexcept {
  if (handle == nullptr) return nullptr;
  for (Context *context = firstContext; context != nullptr; context = context->next()) {
    for (Table *table = context->firstTable(); table != nullptr; table = table->next()) {
      if (table == handle) return table;
    }
  }
  return nullptr;
}

const Field *liveField(const void *handle) noexcept {
  if (handle == nullptr) return nullptr;
  for (Context *context = firstContext; context != nullptr; context = context->next()) {
    for (Table *table = context->firstTable(); table != nullptr; table = table->next()) {
      for (const Field &field : table->fields()) {
        if (&field == handle) return &field;
      }
    }
  }
  return nullptr;
}

}  // namespace zk::engine
