#include "engine/CheckFindings.h"

#include <cstdarg>
#include <cstdio>

namespace zk::engine {
namespace {

constexpr std::size_t kTextSize = 1024;

}  // namespace

void Findings::beginFile(const base::String &path) {
  path_ = path;
  inFile_ = 0;
}

void Findings::endFile() noexcept {
  if (inFile_ > kShownPerFile) note("... and %u more", inFile_ - kShownPerFile);
  inFile_ = 0;
}

void Findings::pass(const char *text) const noexcept {
  if (report_ != nullptr) report_(path_.c_str(), text, user_);
}

void Findings::addUnseen() noexcept {
  if (count_ < INT32_MAX) ++count_;
  ++inFile_;
}

void Findings::add(const char *format, ...) noexcept {
  const bool shown = !full();
  addUnseen();
  if (!shown) return;
  char text[kTextSize];
  const int length = std::snprintf(text, sizeof text, "%s", prefix_);
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text + length, sizeof text - static_cast<std::size_t>(length), format, arguments);
  va_end(arguments);
  pass(text);
}

void Findings::note(const char *format, ...) noexcept {
  char text[kTextSize];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  pass(text);
}

Quoted::Quoted(const void *bytes, std::size_t size) noexcept {
  const auto *from = static_cast<const unsigned char *>(bytes);
  while (size > 0 && from[size - 1] == ' ') --size;
  char *to = text_;
  *to++ = '"';
  for (std::size_t i = 0; i < size && i < kMostBytes; ++i) {
    if (from[i] >= ' ' && from[i] < 0x7F) {
      *to++ = static_cast<char>(from[i]);
    } else {
      to += std::snprintf(to, 5, "\\x%02X", from[i]);
    }
  }
  std::snprintf(to, 5, "%s", size > kMostBytes ? "...\"" : "\"");
}

}  // namespace zk::engine
