#include "engine/IndexCheck.h"

#include <cstdio>
#include <cstring>
#include <utility>

#include "engine/FileNames.h"
#include "engine/Table.h"
#include "engine/TagCheck.h"

namespace zk::engine {
namespace {

constexpr KeyLayout kNameLayout = {kTagNameSize, ' '};
constexpr char kUnreadable[] = "its tag definitions cannot be read";

// How findings call a tag.
class TagLabel {
 public:
  explicit TagLabel(std::string_view name) noexcept {
    std::snprintf(text_, sizeof text_, "tag %s", Quoted(name.data(), name.size()).text());
  }
  const char *text() const noexcept { return text_; }

 private:
  char text_[256];
};

}  // namespace

class IndexCheck::NameSink final : public KeySink {
 public:
  explicit NameSink(base::Vector<TagPlace> &tags) noexcept : tags_(tags) {}

  int take(const TreeKey &key) override {
    std::string_view name(reinterpret_cast<const char *>(key.key), kTagNameSize);
    while (!name.empty() && (name.back() == ' ' || name.back() == '\0')) name.remove_suffix(1);
    tags_.push_back({base::String(name), key.record});
    return kOk;
  }

 private:
  base::Vector<TagPlace> &tags_;
};

int IndexCheck::run(const char *path, OpenMode mode) {
  int status = index_.file.open(table_.context(), path, mode, true);
  if (status != kOk) return status;
  findings_.beginFile(index_.file.path());
  status = checkFile();
  index_.file.close();
  findings_.endFile();
  return status;
}

int IndexCheck::checkFile() {
  const std::uint32_t before = findings_.count();
  int status = index_.file.length(index_.fileLength);
  if (status != kOk) return status;
  index_.pages = base::make<PageUse>(index_.fileLength);
  if (index_.pages == nullptr) throw std::bad_alloc();
  IndexHeader header;
  bool good = false;
  status = readHeader(0, header, good);
  if (status != kOk) return status;
  if (!good || (header.compound() && header.keyLength != kTagNameSize)) {
    obstacle_ = kUnreadable;
    damaged_ = true;
    findings_.add("the file has no header of an index");
    return kOk;
  }
  layout_ = header.layout();
  claimHeader(0, "directory");
  IndexState state;
  status = state.read(index_.file);
  if (status != kOk) return status;
  checkState(state);
  damaged_ = findings_.count() > before;

  if (header.compound()) {
    status = checkDirectory(header);
  } else {
    const base::String name(baseName(index_.file.path()));
    addDefinition(name.substr(0, kTagNameSize).c_str(), header);
    status = checkTagTree(header, TagLabel(name).text());
  }
  for (std::size_t i = 0; i < tags_.size() && status == kOk; ++i) status = checkTag(tags_[i]);
  return status == kOk ? checkFreePages(state.freePage()) : status;
}

// What this library's writers leave there.
void IndexCheck::checkState(const IndexState &state) noexcept {
  if (state.changing()) {
    findings_.add("a change was begun, but not finished");
  } else if (state.missesRecords(table_.recordCount())) {
    findings_.add("records were added or removed without the index");
  }
}

// `good` is false when no header lies there.
int IndexCheck::readHeader(std::uint32_t offset, IndexHeader &header, bool &good) {
  good = false;
  if (offset % kIndexPageSize != 0 || index_.fileLength < kIndexHeaderSize ||
      offset > index_.fileLength - kIndexHeaderSize) {
    return kOk;
  }
  unsigned char bytes[kIndexHeaderSize];
  const int status = index_.file.read(offset, bytes, sizeof bytes);
  if (status == kOk) good = header.parse(bytes);
  return status;
}

void IndexCheck::claimHeader(std::uint32_t offset, const char *name) noexcept {
  for (std::uint32_t page : {offset, offset + static_cast<std::uint32_t>(kIndexPageSize)}) {
    if (!index_.pages->claim(page)) {
      findings_.add("%s, page %u: the page of the header is used twice", name, page);
    }
  }
}

int IndexCheck::checkDirectory(const IndexHeader &header) {
  const std::uint32_t before = findings_.count();
  NameSink names(tags_);
  TreeCheck tree(index_, findings_, "directory", kNameLayout, true);
  const int status = tree.run(header.root, names);
  if (!tree.sound()) obstacle_ = kUnreadable;
  for (std::size_t i = 1; i < tags_.size(); ++i) {
    if (tags_[i].name != tags_[i - 1].name) continue;
    findings_.add("directory: %s stands there twice", TagLabel(tags_[i].name).text());
    obstacle_ = kUnreadable;
  }
  if (findings_.count() > before) damaged_ = true;
  return status;
}

int IndexCheck::checkTag(const TagPlace &place) {
  const TagLabel label(place.name);
  const char *const name = label.text();
  IndexHeader header;
  bool good = false;
  const int status = readHeader(place.offset, header, good);
  if (status != kOk) return status;
  if (!good) {
    findings_.add("%s: no header of a tag lies at %u", name, place.offset);
    obstacle_ = kUnreadable;
    damaged_ = true;
    return kOk;
  }
  const std::uint32_t before = findings_.count();
  claimHeader(place.offset, name);
  if (findings_.count() > before) damaged_ = true;
  addDefinition(place.name.c_str(), header);
  return checkTagTree(header, name);
}

void IndexCheck::addDefinition(const char *name, const IndexHeader &header) {
  definitions_.add({name, header.expression.c_str(), header.filter.c_str(), header.unique(),
                    header.descending, header.options});
}

int IndexCheck::checkTagTree(const IndexHeader &header, const char *name) {
  const std::uint32_t before = findings_.count();
  TagCheck check(table_, index_, findings_, name);
  const int status = check.run(header);
  // That keys cannot be evaluated stays so in a new file.
  const std::uint32_t lasting = check.evaluable() ? 0 : 1;
  if (findings_.count() > before + lasting) damaged_ = true;
  if (!check.evaluable() && obstacle_ == nullptr) obstacle_ = "a tag's keys cannot be worked out";
  return status;
}

// Free pages that this library's writers made. Lists of other programs are only looked at where
// they begin.
int IndexCheck::checkFreePages(std::uint32_t first) noexcept {
  const std::uint32_t before = findings_.count();
  for (std::uint32_t offset = first; offset != 0 && offset != kNoPage;) {
    if (!isPageOffset(offset, index_.fileLength)) {
      findings_.add("the list of free pages leads to %u, which is no page of the file", offset);
      break;
    }
    IndexPage page;
    const int status = index_.file.read(offset, page.bytes, sizeof page.bytes);
    if (status != kOk) return status;
    const bool inUse = !index_.pages->claim(offset);
    if (inUse) findings_.add("page %u: the page is free, but used as well", offset);
    if (inUse || !isFreePage(page)) break;
    offset = readLittle32(page.bytes);
  }
  if (findings_.count() > before) damaged_ = true;
  return kOk;
}

}  // namespace zk::engine
