#include "component/IniCache.h"

#include <utility>

namespace zk::component {

const IniFile *IniCache::find(const Path &path) {
  const auto known = files_.find(path.native());
  if (known != files_.end() && known->second.settled && stampOf(path) == known->second.stamp) {
    return &known->second.file;
  }
  auto content = readFile(path);
  if (!content) {
    files_.erase(path.native());
    return nullptr;
  }
  if (known != files_.end() && known->second.file.text() == content->text) {
    known->second.stamp = content->stamp;
    known->second.settled = content->settled;
    return &known->second.file;
  }
  Entry entry{content->stamp, content->settled, IniFile(std::move(content->text))};
  return &files_.insert_or_assign(path.native(), std::move(entry)).first->second.file;
}

bool IniCache::change(const Path &path, const Edit &edit) {
  // Where there is nothing to do a file need not be writable.
  const IniFile *present = find(path);
  if (present != nullptr && !edit(*present)) return true;

  FileChange change(path);
  auto old = change.text();
  if (!old) return false;
  const auto text = edit(IniFile(std::move(*old)));
  return !text || change.replaceWith(*text);
}

void IniCache::forget(const Path &path) { files_.erase(path.native()); }

void IniCache::clear() { files_.clear(); }

}  // namespace zk::component
