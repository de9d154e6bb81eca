// Writes a new index file with any number of tags.
//
// Each tag's keys are collected in one walk through the table in record order, sorted (KeySorter),
// and written as full pages (TreeWriter). In the file:
//
//   0      header of the tag directory
//   1024   its leftmost leaf; the other pages of the directory, when it has any, come last
//   1536   header of the first tag, its pages, header of the second ...
//
// The file is called like the one it will be with ".zknew" behind until it is whole. Whether other
// programs may use the table meanwhile, or have the index open that is replaced, is for the caller
// to see to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/Memory.h"
#include "engine/File.h"
#include "engine/IndexHeader.h"
#include "engine/KeySorter.h"
#include "engine/RecordKeys.h"
#include "engine/TagWriter.h"
#include "engine/WorkFile.h"

namespace zk::engine {

class IndexFile;
class Table;

struct TagDefinition {
  const char *name;        // 1 to 10 characters in any case
  const char *expression;  // key
  const char *filter;      // null or "" for none
  bool unique;
  bool descending;
  // Of a tag that is written anew: the options it had. Where it had kOptionUnique, records whose
  // key is there already are left out, as other programs do; everything else refuses them.
  std::uint8_t options = 0;
};

// Definitions with texts of their own. Each function throws std::bad_alloc.
class TagDefinitions {
 public:
  // One of the same name, in any case, is replaced.
  void add(const TagDefinition &definition);
  // Those of the tags that an index file has.
  void addTagsOf(const IndexFile &index);

  // Valid until the next add.
  const TagDefinition *data();
  std::size_t size() const noexcept { return entries_.size(); }

 private:
  struct Entry {
    base::String name, expression, filter;
    TagDefinition definition;
  };
  base::Vector<Entry> entries_;
  base::Vector<TagDefinition> definitions_;
};

class IndexBuilder {
 public:
  // `budget` is the memory for sorting.
  explicit IndexBuilder(Table &table, std::size_t budget = KeySorter::kDefaultBudget) noexcept;

  // Writes the file at `path` (native), replacing what is there. The caller has left the current
  // record (Table::leaveRecord); the table stands on the same record afterwards. 0; or a reported
  // code, and what was there stays:
  //   -330  a name is missing            -930  a name is too long or used twice; no tag; a key or
  //   -340  equal keys in a unique tag         its expression is too long
  //   -950  a filter is not logical      -400 .. -500  an expression is wrong; -460: uses a memo
  //   50  other programs have what is there open
  //   -20 -70 -90 -120  files, the working file of the sort among them       -920  memory
  int build(const char *path, const TagDefinition *definitions, std::size_t count,
            IndexLayout layout = IndexLayout::kCompound) noexcept;

 private:
  struct Tag {
    char name[kTagNameSize + 1] = "";
    RecordKeys keys;
    IndexHeader header;
    bool skipDuplicates = false;
    std::uint32_t place = 0;  // of its header
  };

  int run(const char *path, const TagDefinition *definitions, std::size_t count);
  int compile(const TagDefinition &definition);
  int takeName(const char *name, Tag &tag) noexcept;
  int sortNames();

  int writeFile(File &file);
  int writeTag(PageWriter &pages, WorkFile &workFile, Tag &tag);
  int putHeader(PageWriter &pages, std::uint32_t place, const IndexHeader &header) noexcept;
  int collect(Tag &tag, KeySorter &sorter);
  int collectRecord(Tag &tag, KeySorter &sorter);
  int writeKeys(const Tag &tag, KeySorter &sorter, TreeWriter &tree);
  int writeDirectory(PageWriter &pages, std::uint32_t header, std::uint32_t firstPage);

  Table &table_;
  Context &context_;
  const std::size_t budget_;
  IndexLayout layout_ = IndexLayout::kCompound;
  std::uint32_t recordCount_ = 0;
  base::Vector<Tag> tags_;
  base::Vector<const Tag *> byName_;
};

}  // namespace zk::engine
