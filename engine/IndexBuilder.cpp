#include "engine/IndexBuilder.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/Guard.h"
#include "engine/Table.h"
#include "platform/System.h"

namespace zk::engine {
namespace {

using platform::IoStatus;

constexpr char kNewSuffix[] = ".zknew";
constexpr std::uint32_t kProgressStep = 4096;
constexpr std::uint8_t kTagOptions = kOptionCompact | kOptionCompound;

// A walk through all records, and back to where the table stood.
class Scan {
 public:
  explicit Scan(Table &table) noexcept
      : table_(table),
        before_(table.recordNumber()),
        wasAtEnd_(table.atEnd()),
        count_(table.recordCount()) {
    table_.beginScan();
  }
  ~Scan();
  Scan(const Scan &) = delete;
  Scan &operator=(const Scan &) = delete;

  std::uint32_t count() const noexcept { return count_; }

 private:
  Table &table_;
  const std::uint32_t before_;
  const bool wasAtEnd_;
  const std::uint32_t count_;
};

Scan::~Scan() {
  table_.endScan();
  if (!wasAtEnd_) {
    table_.go(before_);
  } else if (count_ > 0 && table_.bottom() == kOk) {
    table_.skip(1);
  }
}

// The new file, deleted in the end unless it was put in place.
class NewFile {
 public:
  NewFile() noexcept = default;
  ~NewFile();
  NewFile(const NewFile &) = delete;
  NewFile &operator=(const NewFile &) = delete;

  File &file() noexcept { return file_; }
  int create(Context &context, const char *path);
  int putInPlace() noexcept;

 private:
  int holdExisting(Context &context);

  File file_;
  File existing_;  // what is replaced, kept from other programs
  base::String path_;
  bool begun_ = false;
};

NewFile::~NewFile() {
  if (!begun_) return;
  // Where open files can be removed it is still ours then; once closed, another program may have
  // begun to write a file of this name.
  if (platform::hasShareModes()) file_.close();
  platform::removeFile(file_.path().c_str());
}

int NewFile::holdExisting(Context &context) {
  if (!platform::pathExists(path_.c_str())) return kOk;
  const int status = existing_.open(context, path_.c_str(), OpenMode::kShared, true);
  if (status != kOk) return status;
  // A rename would not ask.
  if (existing_.readOnly()) return context.fail(kErrCreating, path_.c_str());
  return existing_.becomeOnlyOpener();
}

int NewFile::create(Context &context, const char *path) {
  path_ = platform::finalPath(path);
  int status = holdExisting(context);
  if (status != kOk) return status;
  status = file_.create(context, (path_ + kNewSuffix).c_str());
  begun_ = status == kOk;
  return status;
}

int NewFile::putInPlace() noexcept {
  // What is replaced must not be lost with what replaces it.
  const int status = platform::pathExists(path_.c_str()) ? file_.sync() : kOk;
  if (status != kOk) return status;
  // There open files cannot be renamed.
  if (platform::hasShareModes()) {
    file_.close();
    existing_.close();
  }
  if (platform::replaceFile(file_.path().c_str(), path_.c_str()) != IoStatus::kOk) {
    return file_.context().fail(kErrRenaming, path_.c_str());
  }
  begun_ = false;
  return file_.close();
}

}  // namespace

// ---- Definitions as a set

void TagDefinitions::add(const TagDefinition &definition) {
  const auto textOf = [](const char *text) { return text != nullptr ? text : ""; };
  Entry entry = {textOf(definition.name), textOf(definition.expression), textOf(definition.filter),
                 definition};
  const unsigned char *upper = platform::upperCaseMap();
  for (char &c : entry.name) c = static_cast<char>(upper[static_cast<unsigned char>(c)]);
  for (Entry &other : entries_) {
    if (other.name != entry.name) continue;
    other = std::move(entry);
    return;
  }
  entries_.push_back(std::move(entry));
}

void TagDefinitions::addTagsOf(const IndexFile &index) {
  for (const auto &tag : index.tags()) {
    const IndexHeader &header = tag->header();
    add({tag->name(), header.expression.c_str(), header.filter.c_str(), header.unique(),
         header.descending, header.options});
  }
}

const TagDefinition *TagDefinitions::data() {
  definitions_.clear();
  for (Entry &entry : entries_) {
    entry.definition.name = entry.name.c_str();
    entry.definition.expression = entry.expression.c_str();
    entry.definition.filter = entry.filter.c_str();
    definitions_.push_back(entry.definition);
  }
  return definitions_.data();
}

// ---- Building

IndexBuilder::IndexBuilder(Table &table, std::size_t budget) noexcept
    : table_(table), context_(table.context()), budget_(budget) {}

int IndexBuilder::build(const char *path, const TagDefinition *definitions, std::size_t count,
                        IndexLayout layout) noexcept {
  layout_ = layout;
  if (path == nullptr || path[0] == '\0' || definitions == nullptr || count == 0 ||
      (layout == IndexLayout::kSingleTag && count != 1)) {
    return context_.fail(kErrParameter, path);
  }
  const int status = base::guarded(kErrMemory, [&] { return run(path, definitions, count); });
  if (status == kErrMemory && context_.errorCode() == 0) context_.fail(kErrMemory, path);
  byName_.clear();
  tags_.clear();
  return status;
}

int IndexBuilder::run(const char *path, const TagDefinition *definitions, std::size_t count) {
  tags_.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const int status = compile(definitions[i]);
    if (status != kOk) return status;
  }
  int status = sortNames();
  if (status != kOk) return status;
  recordCount_ = table_.recordCount();
  NewFile file;
  status = file.create(context_, path);
  if (status == kOk) status = writeFile(file.file());
  return status == kOk ? file.putInPlace() : status;
}

// ---- Definitions

int IndexBuilder::compile(const TagDefinition &definition) {
  Tag tag;
  int status = takeName(definition.name, tag);
  if (status != kOk) return status;
  const char *source = definition.expression != nullptr ? definition.expression : "";
  const char *filter = definition.filter != nullptr ? definition.filter : "";
  if (std::strlen(source) + std::strlen(filter) + 2 > kIndexTextPool) {
    return context_.fail(kErrParameter, tag.name,
                         "expression source length > max allowable chars for index");
  }
  status = tag.keys.compile(table_, source, filter);
  if (status == kOk) status = tag.keys.choose(context_);
  if (status != kOk) return status;

  const std::uint8_t kept = definition.options & (kOptionUnique | kOptionCandidate);
  tag.skipDuplicates = (kept & kOptionUnique) != 0;
  IndexHeader &header = tag.header;
  header.options = kept;
  if (definition.unique && kept == 0) header.options = kOptionUnique;
  header.options |= layout_ == IndexLayout::kCompound ? kTagOptions : kOptionCompact;
  if (filter[0] != '\0') header.options |= kOptionFilter;
  header.freePage = 0;
  header.keyLength = static_cast<std::uint16_t>(tag.keys.form().layout().length);
  header.descending = definition.descending;
  header.expression = source;
  header.filter = filter;
  tags_.push_back(std::move(tag));
  return kOk;
}

int IndexBuilder::takeName(const char *name, Tag &tag) noexcept {
  std::size_t length = name != nullptr ? std::strlen(name) : 0;
  while (length > 0 && name[length - 1] == ' ') --length;
  if (length == 0) return context_.fail(kErrTagName, name);
  if (length > kTagNameSize) {
    return context_.fail(kErrParameter, name, "Tag name should have at most 10 characters");
  }
  const unsigned char *upper = platform::upperCaseMap();
  for (std::size_t i = 0; i < length; ++i) {
    tag.name[i] = static_cast<char>(upper[static_cast<unsigned char>(name[i])]);
  }
  return kOk;
}

int IndexBuilder::sortNames() {
  for (const Tag &tag : tags_) byName_.push_back(&tag);
  std::sort(byName_.begin(), byName_.end(),
            [](const Tag *a, const Tag *b) { return std::strcmp(a->name, b->name) < 0; });
  for (std::size_t i = 1; i < byName_.size(); ++i) {
    if (std::strcmp(byName_[i - 1]->name, byName_[i]->name) == 0) {
      return context_.fail(kErrParameter, byName_[i]->name, "Tag name is used twice");
    }
  }
  return kOk;
}

// ---- The file

int IndexBuilder::writeFile(File &file) {
  PageWriter pages(file);
  WorkFile workFile(context_);
  const std::uint32_t header = pages.allocate(kIndexHeaderSize);
  const bool compound = layout_ == IndexLayout::kCompound;
  const std::uint32_t firstPage = compound ? pages.allocate() : 0;
  for (Tag &tag : tags_) {
    const int status = writeTag(pages, workFile, tag);
    if (status != kOk) return status;
  }
  const int status = compound ? writeDirectory(pages, header, firstPage) : kOk;
  return status == kOk ? pages.finish() : status;
}

int IndexBuilder::writeTag(PageWriter &pages, WorkFile &workFile, Tag &tag) {
  const KeyLayout &layout = tag.keys.form().layout();
  KeySorter sorter(workFile, layout.length, budget_);
  int status = collect(tag, sorter);
  if (status == kOk) status = sorter.sort();
  if (status != kOk) return status;

  tag.place = layout_ == IndexLayout::kCompound ? pages.allocate(kIndexHeaderSize) : 0;
  TreeWriter tree(pages, layout, sorter.largestRecord(), pages.allocate());
  status = writeKeys(tag, sorter, tree);
  if (status == kOk) status = tree.finish(tag.header.root);
  return status == kOk ? putHeader(pages, tag.place, tag.header) : status;
}

// The one at the beginning of the file also tells the index's state.
int IndexBuilder::putHeader(PageWriter &pages, std::uint32_t place,
                            const IndexHeader &header) noexcept {
  unsigned char bytes[kIndexHeaderSize];
  header.build(bytes);  // that the texts fit was checked before
  if (place == 0) {
    IndexState state;
    std::memcpy(state.bytes, bytes, sizeof state.bytes);
    state.endChange(recordCount_);
    std::memcpy(bytes, state.bytes, sizeof state.bytes);
  }
  return pages.put(place, bytes, sizeof bytes);
}

int IndexBuilder::collect(Tag &tag, KeySorter &sorter) {
  const Scan scan(table_);
  sorter.begin(scan.count());
  tag.keys.beginRun();
  // By number: the table's own order may be that of a tag.
  for (std::uint32_t record = 1; record <= scan.count(); ++record) {
    int status = table_.go(record);
    if (status == kOk) status = collectRecord(tag, sorter);
    if (status != kOk) return status;
    if (record % kProgressStep == 0 || record == scan.count()) {
      context_.reportProgress("Sorting", record, scan.count());
    }
  }
  return kOk;
}

int IndexBuilder::collectRecord(Tag &tag, KeySorter &sorter) {
  unsigned char key[kLongestKey];
  bool inTag = false;
  const int status = tag.keys.evaluate(key, inTag);
  return status == kOk && inTag ? sorter.add(key, table_.recordNumber()) : status;
}

int IndexBuilder::writeKeys(const Tag &tag, KeySorter &sorter, TreeWriter &tree) {
  const auto total = static_cast<std::int64_t>(sorter.count());
  const std::size_t length = tag.keys.form().layout().length;
  for (std::int64_t done = 0;; ++done) {
    if (done % kProgressStep == 0 || done == total) {
      context_.reportProgress("Creating Tag", done, total);
    }
    const unsigned char *key = nullptr;
    std::uint32_t record = 0;
    int status = sorter.next(key, record);
    if (status == kEndOfFile) return kOk;
    const bool unique = tag.header.unique();
    if (status == kOk && unique && done > 0 && std::memcmp(tree.lastKey(), key, length) == 0) {
      if (tag.skipDuplicates) continue;
      status = context_.fail(kErrUnique, tag.name);
    }
    if (status == kOk) status = tree.add(key, record);
    if (status != kOk) return status;
  }
}

int IndexBuilder::writeDirectory(PageWriter &pages, std::uint32_t header, std::uint32_t firstPage) {
  TreeWriter tree(pages, {kTagNameSize, ' '}, tags_.back().place, firstPage);
  for (const Tag *tag : byName_) {
    unsigned char key[kTagNameSize];
    std::memset(key, ' ', sizeof key);
    std::memcpy(key, tag->name, std::strlen(tag->name));
    const int status = tree.add(key, tag->place);
    if (status != kOk) return status;
  }
  IndexHeader directory;
  const int status = tree.finish(directory.root);
  if (status != kOk) return status;
  directory.freePage = 0;
  directory.keyLength = kTagNameSize;
  directory.options = kTagOptions | kOptionDirectory;
  return putHeader(pages, header, directory);
}

}  // namespace zk::engine
