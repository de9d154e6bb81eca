#include "SRC/FileSearch.h"

#include <algorithm>
#include <bitset>

#include "SRC/Fname.h"
#include "SRC/Str.h"
#include "platform/Path.h"

namespace zk {
namespace {

bool sortsBefore(const platform::DirectoryEntry &a, const platform::DirectoryEntry &b) {
  const int order = compareIgnoringCase(a.name, b.name);
  return order != 0 ? order < 0 : a.name < b.name;
}

// A set of positions in a pattern: those that a beginning of the name leads to.
using Positions = std::bitset<kPathLength + 2>;

// Adds the positions behind wildcards that match nothing at the character `next` of the name, which
// is 0 at its end.
void skipEmptyMatches(Positions &reached, std::string_view pattern, char next) {
  for (std::size_t p = 0; p < pattern.size(); ++p) {
    const char c = pattern[p];
    const bool empty =
        c == '*' || (c == '?' && (next == '.' || next == '\0')) || (c == '.' && next == '\0');
    if (reached[p] && empty) reached.set(p + 1);
  }
}

// The positions after one more character of the name. The last "." of the name is not for a "*"
// that has a "." behind it.
Positions advance(const Positions &reached, std::string_view pattern, std::string_view character,
                  bool lastDot) {
  Positions next;
  for (std::size_t p = 0; p < pattern.size(); ++p) {
    if (!reached[p]) continue;
    const std::string_view here = pattern.substr(p, character.size());
    if (pattern[p] == '*') {
      if (!lastDot || pattern.substr(p + 1, 1) != ".") next.set(p);
    } else if (pattern[p] == '?') {
      if (character != ".") next.set(p + 1);
    } else if (compareIgnoringCase(here, character) == 0) {
      next.set(p + character.size());
    }
  }
  return next;
}

}  // namespace

bool matchesWildcard(std::string_view name, std::string_view pattern) {
  if (pattern.size() > kPathLength) return false;
  const std::size_t lastDot = name.rfind('.');
  Positions reached;
  reached.set(0);
  for (std::size_t n = 0; n < name.size() && reached.any();) {
    skipEmptyMatches(reached, pattern, name[n]);
    // The name comes from a directory and ends with a NUL, so that no character leads past it.
    const std::size_t length = std::min(characterLength(name.data() + n), name.size() - n);
    reached = advance(reached, pattern, name.substr(n, length), n == lastDot);
    n += length;
  }
  skipEmptyMatches(reached, pattern, '\0');
  return reached[pattern.size()];
}

base::Vector<platform::DirectoryEntry> searchFiles(const char *pattern) {
  const base::String directory(pathPart(pattern));
  const std::string_view wildcard = rmvPath(pattern);
  base::Vector<platform::DirectoryEntry> entries;
  const base::String native = platform::nativePath(directory.empty() ? "." : directory.c_str());
  if (!platform::listDirectory(native.c_str(), entries)) return {};
  std::erase_if(entries, [wildcard](const platform::DirectoryEntry &entry) {
    return !matchesWildcard(entry.name, wildcard);
  });
  std::sort(entries.begin(), entries.end(), sortsBefore);
  return entries;
}

}  // namespace zk
