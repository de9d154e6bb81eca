// INI files in memory, as they stand on disk.
//
// Each look at a file begins with a look at its stamp, so that what others write is seen at once; a
// file that changed a moment ago is read again, as the next change might leave its stamp as it is.
#pragma once

#include <functional>
#include <map>
#include <optional>

#include "component/IniFile.h"
#include "component/System.h"

namespace zk::component {

class IniCache {
 public:
  // Null when there is no such file, or it cannot be read. Valid until the next call.
  const IniFile *find(const Path &path);

  // The new text of a file, or nothing when it is right as it stands. A missing file is an empty
  // one.
  using Edit = std::function<std::optional<std::string>(const IniFile &file)>;
  // Changes a file on disk. False, and the file as it was, when it could not be written. The edit
  // may be called again for what another process has made of the file meanwhile.
  bool change(const Path &path, const Edit &edit);

  void forget(const Path &path);
  void clear();

  struct Entry {
    FileStamp stamp;
    bool settled;
    IniFile file;
  };
  const std::map<Path::string_type, Entry> &entries() const { return files_; }

 private:
  std::map<Path::string_type, Entry> files_;
};

}  // namespace zk::component
