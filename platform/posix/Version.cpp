#include "platform/Version.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "platform/FileSystem.h"

namespace zk::platform {
namespace {

constexpr std::size_t kMaxPath = 511;
// Empty: the default.
char productDatabase[kMaxPath + 1];

struct StreamCloser {
  void operator()(std::FILE *stream) const noexcept { std::fclose(stream); }
};

// One paragraph of the database.
struct Package {
  base::String name;
  base::String version;
  bool installed = false;

  void take(std::string_view line) {
    static constexpr std::string_view kName = "Package: ";
    static constexpr std::string_view kVersion = "Version: ";
    static constexpr std::string_view kStatus = "Status: ";
    if (line.starts_with(kName)) name = line.substr(kName.size());
    if (line.starts_with(kVersion)) version = line.substr(kVersion.size());
    // The third word: "install ok installed", "deinstall ok config-files".
    if (line.starts_with(kStatus)) installed = line.ends_with(" installed");
  }
  bool visit(ProductVisitor visitor, void *context) const {
    if (!installed || name.empty()) return true;
    return visitor(name.c_str(), version.empty() ? nullptr : version.c_str(), context);
  }
};

}  // namespace

// Modules carry no version here.
bool moduleFileVersion(const char *, std::uint16_t (&)[4]) { return false; }
bool moduleVersionText(const char *, VersionText, base::String &) { return false; }

void visitProducts(ProductVisitor visit, void *context) {
  const char *path = productDatabase[0] != '\0' ? productDatabase : "/var/lib/dpkg/status";
  const std::unique_ptr<std::FILE, StreamCloser> database(openStream(path, "r"));
  if (!database) return;
  Package package;
  char line[1024];
  bool lineStart = true;  // the rest of a longer line says nothing
  while (std::fgets(line, sizeof line, database.get()) != nullptr) {
    std::string_view text = line;
    const bool wasStart = lineStart;
    lineStart = text.ends_with('\n');
    if (!wasStart) continue;
    if (lineStart) text.remove_suffix(1);
    if (text.empty()) {
      if (!package.visit(visit, context)) return;
      package = {};
    } else {
      package.take(text);
    }
  }
  package.visit(visit, context);
}

bool setProductDatabase(const char *path) noexcept {
  if (path == nullptr) path = "";
  const std::size_t length = std::strlen(path);
  if (length > kMaxPath) return false;
  std::memmove(productDatabase, path, length + 1);
  return true;
}

}  // namespace zk::platform
