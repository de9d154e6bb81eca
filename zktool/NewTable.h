// A table under a temporary name in the target's directory, put in place when it is complete and
// removed otherwise. The memo file is put in place first: what a kill leaves behind is at most a
// memo file without a table, or the old table with an index that is gone.
#pragma once

#include <string>
#include <vector>

#include "Table.h"

namespace zk::tool {

class NewTable {
 public:
  enum class Target {
    kMustBeFree,
    kIsReplaced,  // with its index file, which would not be right any more; nobody has it open
  };

  // Throws Failure when the target must be free and is not, also from putInPlace.
  NewTable(const std::string &target, Target kind);
  ~NewTable();
  NewTable(const NewTable &) = delete;
  NewTable &operator=(const NewTable &) = delete;

  // The temporary name, to be opened once the table is created.
  const std::string &name() const { return files_.table; }

  void create(const std::vector<Field> &fields);

  // The table must be closed.
  void putInPlace();

 private:
  struct Files {
    Files(const std::string &stem, const std::string &extension);
    bool exist() const;
    void remove() const;

    std::string table;
    std::string memo;
    std::string index;
  };

  static Files targetFiles(const std::string &target);
  static Files temporaryFiles(const std::string &target);
  void requireFree() const;

  Target kind_;
  Files target_;
  Files files_;
  bool placed_ = false;
};

}  // namespace zk::tool
