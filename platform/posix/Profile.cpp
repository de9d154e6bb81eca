#include "platform/Profile.h"

#include <algorithm>
#include <string_view>

#include "base/Guard.h"
#include "platform/Contents.h"
#include "platform/Path.h"
#include "platform/System.h"

namespace zk::platform {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool equalIgnoringCase(std::string_view a, std::string_view b) {
  const unsigned char *lower = lowerCaseMap();
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [lower](char x, char y) {
    return lower[static_cast<unsigned char>(x)] == lower[static_cast<unsigned char>(y)];
  });
}

// Takes the first line off `text`.
std::string_view nextLine(std::string_view &text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  const std::string_view line = trimmed(text.substr(0, end));
  text.remove_prefix(std::min(end + 1, text.size()));
  return line;
}

bool isHeader(std::string_view line) { return !line.empty() && line.front() == '['; }

std::string_view headerName(std::string_view line) {
  return trimmed(line.substr(1, std::min(line.rfind(']'), line.size()) - 1));
}

std::string_view withoutQuotes(std::string_view value) {
  const bool isQuoted = value.size() > 1 && value.front() == value.back() &&
                        (value.front() == '"' || value.front() == '\'');
  return isQuoted ? value.substr(1, value.size() - 2) : value;
}

std::string_view findValue(std::string_view text, std::string_view section, std::string_view key) {
  std::string_view line;
  do {
    if (text.empty()) return {};
    line = nextLine(text);
  } while (!isHeader(line) || !equalIgnoringCase(headerName(line), trimmed(section)));

  while (!text.empty() && !isHeader(line = nextLine(text))) {
    const std::size_t equals = line.find('=');
    if (line.empty() || line.front() == ';' || equals == std::string_view::npos) continue;
    if (equalIgnoringCase(trimmed(line.substr(0, equals)), trimmed(key))) {
      return withoutQuotes(trimmed(line.substr(equals + 1)));
    }
  }
  return {};
}

bool readFile(const char *name, base::String &contents) {
  OpenedFile file;
  return openFile(nativePath(name).c_str(), Access::kRead, Creation::kOpenExisting, Sharing::kAll,
                  file.handle) == IoStatus::kOk &&
         readContents(file.handle, contents) == IoStatus::kOk;
}

}  // namespace

void profileText(const char *file, const char *section, const char *key, char *value,
                 std::size_t size) noexcept {
  *value = '\0';
  base::guarded(false, [&] {
    base::String contents;
    if (!readFile(file, contents)) return false;
    const std::string_view found = findValue(contents, section, key);
    value[found.copy(value, size - 1)] = '\0';
    return true;
  });
}

}  // namespace zk::platform
