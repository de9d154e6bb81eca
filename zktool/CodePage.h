// Table text as UTF-8, by the code page byte of the table's header.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zk::tool {

class CodePage {
 public:
  // `driver` is the header's byte. For 0, for numbers nobody has assigned and for the pages with
  // characters of several bytes (932, 936, 949, 950) valid UTF-8 is kept, else the text counts as
  // Windows-1252.
  explicit CodePage(std::int32_t driver);

  // Such as "cp1252"; "" when the byte names no page that is converted.
  const char *name() const { return name_; }

  // Always valid UTF-8.
  std::string toUtf8(std::string_view bytes) const;

 private:
  const char *name_ = "";
  const char16_t *upper_ = nullptr;  // the characters of bytes 0x80 to 0xFF
  bool keepUtf8_ = true;
};

}  // namespace zk::tool
