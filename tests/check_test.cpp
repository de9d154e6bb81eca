// Checking and repairing tables: planted faults are found where they are, and nothing else is.
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "engine/Context.h"
#include "engine/IndexBuilder.h"
#include "engine/IndexHeader.h"
#include "engine/IndexPage.h"
#include "engine/Table.h"
#include "tests/support.h"

namespace {

using namespace support;
using zk::engine::IndexPage;
using zk::engine::InteriorEntries;
using zk::engine::KeyLayout;
using zk::engine::kIndexPageSize;
using zk::engine::kLeafPage;
using zk::engine::LeafKeys;
using zk::engine::LeafWriter;

constexpr int kLockingCode = -50;
constexpr int kOpeningCode = -60;
constexpr int kMemoryCode = -920;
constexpr int kParameterCode = -930;

constexpr std::uint32_t kNone = 0xFFFFFFFF;
constexpr std::size_t kMarkAt = 68;
constexpr std::size_t kStampedCountAt = 76;

using Texts = std::vector<std::string>;

std::string number(std::uint64_t value) { return std::to_string(value); }

// ---- What a check says

struct Result {
  int code = 0;
  Texts texts;
  std::set<std::string> files;  // base names
};

void ZK_CALL collect(const char *file, const char *text, void *user) {
  auto *result = static_cast<Result *>(user);
  result->texts.emplace_back(text);
  result->files.insert(fs::path(file).filename().string());
}

Result check(const std::string &table, bool repair = false, const char *const *indexes = nullptr) {
  Result result;
  result.code = zk_Db_check(table.c_str(), indexes, repair, collect, &result);
  return result;
}

// ---- An index file to be spoiled

struct Key {
  std::string key;
  std::uint32_t record;
};

// As findings show it.
std::string shown(const Key &key) {
  return '"' + key.key.substr(0, key.key.find_last_not_of(' ') + 1) + '"';
}

// Of one tag: where its header and pages lie.
struct Tree {
  std::string name;
  KeyLayout layout;
  std::uint32_t header;
  std::uint32_t root;
  std::vector<std::uint32_t> leaves;

  std::string at(std::uint32_t page) const { return "tag \"" + name + "\", page " + number(page); }
  std::string missing(const Key &key) const {
    return "tag \"" + name + "\": record " + number(key.record) + " is missing, whose key is " +
           shown(key);
  }
};

class Image {
 public:
  explicit Image(std::string path) : path_(std::move(path)), bytes(readFile(path_)) {}
  void save() const { writeFile(path_, bytes); }

  IndexPage page(std::uint32_t offset) const {
    IndexPage page;
    bytes.copy(reinterpret_cast<char *>(page.bytes), kIndexPageSize, offset);
    return page;
  }
  void put(std::size_t offset, const std::string &part) {
    bytes.replace(offset, part.size(), part);
  }

  std::vector<Key> keys(std::uint32_t leaf, const KeyLayout &layout) const {
    LeafKeys read;
    EXPECT_EQ(read.read(page(leaf), layout), LeafKeys::Result::kDone);
    std::vector<Key> result;
    for (std::uint32_t i = 0; i < read.count(); ++i) {
      result.push_back({std::string(reinterpret_cast<const char *>(read.key(i)), layout.length),
                        read.record(i)});
    }
    return result;
  }
  void putKeys(std::uint32_t leaf, const KeyLayout &layout, const std::vector<Key> &keys) {
    const IndexPage old = page(leaf);
    IndexPage made;
    LeafWriter writer;
    writer.begin(made, layout, 60000);
    for (const Key &key : keys) {
      EXPECT_TRUE(writer.add(reinterpret_cast<const unsigned char *>(key.key.data()), key.record));
    }
    writer.finish(old.attributes(), old.left(), old.right());
    put(leaf, std::string(reinterpret_cast<const char *>(made.bytes), kIndexPageSize));
  }

  // A tag of a file whose directory is one leaf and whose trees have at most two levels.
  Tree tree(const std::string &name) const {
    for (const Key &entry : keys(static_cast<std::uint32_t>(littleAt(bytes, 0, 4)), {10, ' '})) {
      if (entry.key.substr(0, name.size() + 1) != name + ' ') continue;
      Tree tree;
      tree.name = name;
      tree.header = entry.record;
      tree.layout = {static_cast<std::uint32_t>(littleAt(bytes, tree.header + 12, 2)), ' '};
      tree.root = static_cast<std::uint32_t>(littleAt(bytes, tree.header, 4));
      const IndexPage root = page(tree.root);
      if (root.isLeaf()) {
        tree.leaves = {tree.root};
        return tree;
      }
      InteriorEntries entries;
      EXPECT_TRUE(entries.open(root, tree.layout));
      for (std::uint32_t i = 0; i < entries.count(); ++i) tree.leaves.push_back(entries.child(i));
      return tree;
    }
    ADD_FAILURE() << "no tag " << name;
    return {};
  }
  // Where an entry of an interior page lies.
  static std::size_t entryAt(const Tree &tree, std::size_t i) {
    return tree.root + 12 + i * (tree.layout.length + 8);
  }

 private:
  std::string path_;

 public:
  std::string bytes;
};

// ---- Fixture

std::string nameOf(int number) {
  char name[16];
  std::snprintf(name, sizeof name, "%c%05d", 'A' + number * 7 % 26, number * 7919 % 100000);
  return name;
}

class CheckTest : public TableTest {
 protected:
  static constexpr int kCount = 500;

  // A table with memos, a production index and another one, closed.
  void makeTable(int count = kCount) {
    const int32_t table = createTable(table_, "NAME C 12, QTY N 8 2, DAY D, NOTES M, WIDE C 200");
    for (int i = 1; i <= count; ++i) {
      appendRecord(table, {{"NAME", nameOf(i)},
                           {"QTY", std::to_string(i % 37) + ".50"},
                           {"DAY", i % 5 == 0 ? "" : "202401" + std::to_string(10 + i % 20)},
                           {"NOTES", i % 3 == 0 ? "note " + std::to_string(i) : ""},
                           {"WIDE", nameOf(i)}});
      if (i % 11 == 0) zk_Db_delRec(table);
    }
    ASSERT_EQ(zk_Db_closeDb(table), 0);
    const int32_t own = openTable(table_, 2);
    const ZkTagInfo tags[] = {tag("NAME", "NAME"),
                              tag("QTY", "QTY"),
                              tag("DAYDOWN", "DAY", "", 0, 1),
                              tag("LIVE", "NAME", ".NOT. DELETED() .AND. QTY > 20"),
                              tag("ONCE", "NAME", "", 1),
                              tag("DEEP", "WIDE")};  // an interior page has two entries
    ASSERT_EQ(zk_Tag_create(own, nullptr, tags, 6), 0) << zk_DbError_text();
    const ZkTagInfo other = tag("PAIR", "NAME + DTOS(DAY)");
    ASSERT_EQ(zk_Tag_create(own, path("OTHER.CDX").c_str(), &other, 1), 0);
    ASSERT_EQ(zk_Db_closeDb(own), 0);
    for (const char *name : {"T.DBF", "T.FPT", "T.CDX"}) whole_.push_back({name, bytesOf(name)});
    const std::string table1 = whole_[0].second;
    firstRecord_ = littleAt(table1, 8, 2);
    recordLength_ = littleAt(table1, 10, 2);
  }
  static ZkTagInfo tag(const char *name, const char *expression, const char *filter = "",
                       int32_t unique = 0, int32_t descending = 0) {
    const auto text = [](const char *t) { return const_cast<char *>(t); };
    return {text(name), text(expression), text(filter), unique, descending};
  }

  void restore() const {
    for (const auto &[name, bytes] : whole_) writeFile(path(name), bytes);
  }

  // Every record's texts, in record order.
  Texts rows() const {
    const int32_t table = openTable(table_);
    EXPECT_GE(table, 0);
    Texts rows;
    for (int status = zk_Db_topRec(table, -1); status == 0; status = zk_Db_nextRec(table, -1)) {
      rows.push_back(fieldText(table, "NAME") + fieldText(table, "QTY") + fieldText(table, "DAY") +
                     fieldText(table, "NOTES"));
    }
    zk_Db_closeDb(table);
    return rows;
  }

  std::size_t cell(std::size_t record, std::size_t column) const {
    return firstRecord_ + (record - 1) * recordLength_ + column;
  }

  const std::string table_ = path("T.DBF");
  std::vector<std::pair<std::string, std::string>> whole_;
  std::size_t firstRecord_ = 0;
  std::size_t recordLength_ = 0;
};

// ---- What is right

TEST_F(CheckTest, NothingIsWrongWithWhatTheLibraryWrites) {
  for (const int count : {0, 1, kCount}) {
    SCOPED_TRACE(count);
    makeTable(count);
    const char *const indexes[] = {"OTHER", "T.CDX", nullptr};
    fs::current_path(folder_);
    EXPECT_EQ(check(table_, false, indexes).texts, Texts());
    // Changes made through the indexes, and pages that they free.
    const int32_t table = openTable(table_);
    for (int i = 1; i <= count; i += 2) {
      EXPECT_EQ(zk_Db_goRec(table, i), 0);
      assign(table, {{"NAME", "ZZZ" + std::to_string(i)},
                     {"NOTES", std::string(70, 'x')},
                     {"WIDE", i % 3 == 0 ? "wide" : ""}});
    }
    for (int i = 0; i < 50; ++i) appendRecord(table, {{"NAME", "NEW" + std::to_string(i)}});
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    const Result changed = check(table_, false, nullptr);
    EXPECT_EQ(changed.texts, Texts());
    EXPECT_EQ(changed.code, 0);
    // A page that a full disk cut short, and nothing leads to.
    patchFile(path("T.CDX"), sizeOf("T.CDX"), std::string(100, 'x'));
    EXPECT_EQ(check(table_).texts, Texts());
    // The other index was not open meanwhile.
    if (count != kCount) continue;
    const Result behind = check(table_, false, indexes);
    EXPECT_EQ(behind.texts[0], "records were added or removed without the index");
    EXPECT_EQ(behind.files, std::set<std::string>{"OTHER.CDX"});
    EXPECT_GT(behind.code, 50);
    EXPECT_EQ(behind.texts.size(), 51u);
    EXPECT_EQ(behind.texts.back(),
              "... and " + number(static_cast<unsigned>(behind.code) - 50) + " more");
    EXPECT_EQ(check(table_, true, indexes).code, 0);
    EXPECT_EQ(check(table_, false, indexes).texts, Texts());
  }
}

// ---- Faults of index files

// In what is to be found ROOT and LEAF stand for places in the tag, P0, P1, P2 for its leaves.
std::string filledIn(std::string text, const Tree &tree) {
  const std::pair<std::string, std::string> words[] = {{"ROOT", tree.at(tree.root)},
                                                       {"LEAF", tree.at(tree.leaves.at(1))},
                                                       {"P0", number(tree.leaves.at(0))},
                                                       {"P1", number(tree.leaves.at(1))},
                                                       {"P2", number(tree.leaves.at(2))}};
  for (const auto &[word, meaning] : words) {
    const std::size_t place = text.find(word);
    if (place != std::string::npos) text.replace(place, word.size(), meaning);
  }
  return text;
}

// Spoils the file and says what is to be found.
using Plant = std::function<Texts(Image &)>;

// Edits the keys of the tag's second leaf.
using Edit = std::function<Texts(const Tree &, std::vector<Key> &)>;
Plant inLeaf(const char *name, Edit edit) {
  return [name, edit = std::move(edit)](Image &image) {
    const Tree tree = image.tree(name);
    std::vector<Key> keys = image.keys(tree.leaves.at(1), tree.layout);
    Texts expected = edit(tree, keys);
    image.putKeys(tree.leaves.at(1), tree.layout, keys);
    for (std::string &text : expected) text = filledIn(text, tree);
    return expected;
  };
}

// Overwrites bytes of the tag NAME: of its second leaf, its root, or the root's third entry.
enum Where { kLeaf, kRoot, kEntry };
Plant inPage(Where where, std::size_t at, std::string bytes, std::string expected) {
  return [=](Image &image) -> Texts {
    const Tree tree = image.tree("NAME");
    image.put(at + (where == kLeaf   ? tree.leaves.at(1)
                    : where == kRoot ? tree.root
                                     : Image::entryAt(tree, 2)),
              bytes);
    return {filledIn(expected, tree)};
  };
}

// Overwrites bytes of the file's header.
Plant inHeader(std::size_t at, std::string bytes, std::string expected) {
  return [=](Image &image) -> Texts {
    image.put(at, bytes);
    return {expected};
  };
}

// Overwrites bytes of the header of the tag QTY.
Plant inTagHeader(std::size_t at, std::string bytes, std::string expected) {
  return [=](Image &image) -> Texts {
    const std::uint32_t header = image.tree("QTY").header;
    image.put(header + at, bytes);
    return {"tag \"QTY\"" + expected};
  };
}

// Edits the names of the directory.
Plant inDirectory(const std::function<std::string(std::vector<Key> &)> &edit) {
  return [=](Image &image) -> Texts {
    const auto page = static_cast<std::uint32_t>(littleAt(image.bytes, 0, 4));
    std::vector<Key> names = image.keys(page, {10, ' '});
    const std::string expected = edit(names);
    image.putKeys(page, {10, ' '}, names);
    return {expected};
  };
}

Texts keyMissing(const Tree &tree, std::vector<Key> &keys) {
  const Key key = keys[3];
  keys.erase(keys.begin() + 3);
  return {tree.missing(key)};
}

Texts lastKeyMissing(const Tree &tree, std::vector<Key> &keys) {
  const Key key = keys.back();
  keys.pop_back();
  return {"ROOT: entry 2 is not the last key of page P1", tree.missing(key)};
}

Texts recordTwice(const Tree &tree, std::vector<Key> &keys) {
  const Key lost = keys[4];
  keys[4] = keys[3];
  keys[4].key[6] = '!';
  return {"LEAF: record " + number(keys[3].record) + " stands under the key " + shown(keys[4]) +
              ", but its key is " + shown(keys[3]),
          tree.missing(lost)};
}

Texts wrongRecord(const Tree &tree, std::vector<Key> &keys) {
  const Key right = keys[3];
  keys[3].record = keys[5].record;
  Texts expected = {"LEAF: record " + number(keys[5].record) + " stands under the key " +
                    shown(right) + ", but its key is " + shown(keys[5])};
  const bool before = right.record < keys[5].record;
  expected.insert(before ? expected.begin() : expected.end(), tree.missing(right));
  return expected;
}

Texts recordThatIsNone(const Tree &tree, std::vector<Key> &keys) {
  const Key right = keys[3];
  keys[3].record = 50000;
  return {"LEAF: record 50000 does not exist", tree.missing(right)};
}

Texts keysExchanged(const Tree &, std::vector<Key> &keys) {
  std::swap(keys[3], keys[4]);
  return {"LEAF: key 5 (record " + number(keys[4].record) +
          ") does not come behind the one before it"};
}

Texts keyTwice(const Tree &tree, std::vector<Key> &keys) {
  const Key lost = keys[4];
  keys[4] = {keys[3].key, keys[3].record + 1};
  const std::string record = number(keys[4].record);
  return {"LEAF: the key " + shown(keys[3]) + " of record " + record +
              " stands in the unique tag already",
          "LEAF: record " + record + " stands under the key " + shown(keys[3]) +
              ", but its key is \"" + nameOf(static_cast<int>(keys[4].record)) + '"',
          tree.missing(lost)};
}

// A record of the filter's wrong side.
Texts filteredOut(const Tree &tree, std::vector<Key> &keys) {
  const Key lost = keys[3];
  keys[3].record = 22;
  return {"LEAF: record 22 is in the tag, but the filter leaves it out", tree.missing(lost)};
}

Texts freeBytesWrong(Image &image) {
  const Tree tree = image.tree("NAME");
  const std::uint64_t free = littleAt(image.bytes, tree.leaves[1] + 12, 2);
  image.put(tree.leaves[1] + 12, little(free + 1, 2));
  return {filledIn("LEAF: it is said to have ", tree) + number(free + 1) + " free bytes, but has " +
          number(free)};
}

Texts keyFewer(Image &image) {
  const Tree tree = image.tree("NAME");
  const std::vector<Key> keys = image.keys(tree.leaves[1], tree.layout);
  image.put(tree.leaves[1] + 2, little(keys.size() - 1, 2));
  return {tree.missing(keys.back())};
}

Texts childOf(Image &image, const char *tag, std::uint32_t child) {
  const Tree tree = image.tree(tag);
  image.put(Image::entryAt(tree, 2) + 16, big(child, 4));
  return {tree.at(child) + ": the page is used twice"};
}

Texts leafTooDeep(Image &image) {
  const Tree tree = image.tree("NAME");
  const auto end = static_cast<std::uint32_t>(image.bytes.size());
  IndexPage page = {};
  page.setHead(0, 1, tree.leaves[0], tree.leaves[2]);
  const std::string entry = image.bytes.substr(Image::entryAt(tree, 1), 20);
  entry.copy(reinterpret_cast<char *>(page.bytes) + 12, 20);
  image.bytes.append(reinterpret_cast<const char *>(page.bytes), kIndexPageSize);
  image.put(Image::entryAt(tree, 1) + 16, big(end, 4));
  return {filledIn("LEAF: the leaf lies at depth 3, those before at 2", tree)};
}

Texts pageFreeAndUsed(Image &image) {
  const std::uint32_t leaf = image.tree("NAME").leaves[1];
  image.put(4, little(leaf, 4));
  return {"page " + number(leaf) + ": the page is free, but used as well"};
}

Texts freePagesInCircle(Image &image) {
  const auto end = static_cast<std::uint32_t>(image.bytes.size());
  std::string page = little(end, 4) + "ZKFREE";
  page.resize(kIndexPageSize, '\0');
  image.bytes += page;
  image.put(4, little(end, 4));
  return {"page " + number(end) + ": the page is free, but used as well"};
}

Texts tagHeaderIsNone(Image &image) {
  const std::uint32_t header = image.tree("QTY").header;
  image.put(header + 14, std::string(1, '\0'));
  return {"tag \"QTY\": no header of a tag lies at " + number(header)};
}

std::string headerTwice(std::vector<Key> &names) {
  names[1].record = names[0].record;
  return "tag " + shown(names[1]) + ", page " + number(names[0].record) +
         ": the page of the header is used twice";
}

std::string namesExchanged(std::vector<Key> &names) {
  std::swap(names[0], names[1]);
  return "directory, page 1024: key 2 (record " + number(names[1].record) +
         ") does not come behind the one before it";
}

struct IndexFault {
  const char *what;
  Plant plant;
  bool only = true;  // nothing else is found
  int left = 0;      // findings after repair
};

const IndexFault kIndexFaults[] = {
    {"a key is missing", inLeaf("NAME", keyMissing)},
    {"the last key of a leaf is missing", inLeaf("NAME", lastKeyMissing)},
    {"a record stands there twice", inLeaf("NAME", recordTwice)},
    {"a wrong record number", inLeaf("NAME", wrongRecord)},
    {"a record that does not exist", inLeaf("NAME", recordThatIsNone)},
    {"two keys have changed places", inLeaf("NAME", keysExchanged)},
    {"a key twice in a unique tag", inLeaf("ONCE", keyTwice)},
    {"a record that the filter leaves out", inLeaf("LIVE", filteredOut)},

    {"a wrong right neighbour",
     inPage(kLeaf, 8, little(9, 4), "LEAF: the right neighbour is said to be 9, but is P2")},
    {"no left neighbour",
     inPage(kLeaf, 4, little(kNone, 4), "LEAF: the left neighbour is said to be none, but is P0")},
    {"the root has a neighbour",
     inPage(kRoot, 8, little(9, 4), "ROOT: the right neighbour is said to be 9, but is none")},
    {"a wrong key in the root",
     inPage(kEntry, 5, "~", "ROOT: entry 3 is not the last key of page P2")},
    {"a wrong record in the root",
     inPage(kEntry, 12, big(9, 4), "ROOT: entry 3 is not the last key of page P2")},
    {"a leaf is marked as the root",
     inPage(kLeaf, 0, little(3, 2), "LEAF: the page is not the root, but is marked as the root")},
    {"the root is not marked",
     inPage(kRoot, 0, little(0, 2), "ROOT: the page is the root, but is not marked as the root")},
    {"unknown attributes",
     inPage(kLeaf, 0, little(0x402, 2), "LEAF: the attributes 0x0402 are unknown")},
    {"a wrong mask",
     inPage(kLeaf, 14, little(1, 4), "LEAF: the masks of the entries do not go with their bits")},
    {"too many keys in a leaf", inPage(kLeaf, 2, little(300, 2), "LEAF: the keys cannot be read")},
    {"no entries in the root", inPage(kRoot, 2, little(0, 2), "ROOT: it cannot have 0 entries")},
    {"too many entries", inPage(kRoot, 2, little(26, 2), "ROOT: it cannot have 26 entries")},
    {"a child outside the file",
     inPage(kEntry, 16, big(1 << 30, 4),
            "ROOT: entry 3 leads to 1073741824, which is no page of the file")},
    {"a child between pages",
     inPage(kEntry, 16, big(2049, 4), "ROOT: entry 3 leads to 2049, which is no page of the file")},
    {"wrong free bytes", freeBytesWrong},
    {"one key less in a leaf", keyFewer, false},
    {"a leaf under two entries",
     [](Image &image) { return childOf(image, "NAME", image.tree("NAME").leaves[1]); }},
    {"a leaf of another tag",
     [](Image &image) { return childOf(image, "ONCE", image.tree("NAME").leaves[1]); }},
    {"a tree that goes in a circle",
     [](Image &image) { return childOf(image, "NAME", image.tree("NAME").root); }},
    {"a leaf that lies deeper than the others", leafTooDeep, false},

    {"no root", inTagHeader(0, little(kNone, 4),
                            ": the root is said to lie at 4294967295, which is no page of the "
                            "file")},
    {"a wrong key length",
     inTagHeader(12, little(9, 2),
                 ": the keys are said to have 9 bytes, but the expression gives 8")},
    {"an expression of no sense",
     inTagHeader(512, "XTY",
                 ": the keys cannot be compared with the records: Unrecognized Value (-490)"),
     true, 1},
    {"no header of a tag", tagHeaderIsNone, true, 1},
    {"two tags of one header", inDirectory(headerTwice), false},
    {"a directory out of order", inDirectory(namesExchanged), true, 1},
    {"no index at all", inHeader(14, std::string(1, '\0'), "the file has no header of an index"),
     true, 1},
    {"a change without an end",
     inHeader(kMarkAt, big(1, 4), "a change was begun, but not finished")},
    {"another record count",
     inHeader(kStampedCountAt, big(7, 4), "records were added or removed without the index")},
    {"free pages outside the file",
     inHeader(4, little(1 << 30, 4),
              "the list of free pages leads to 1073741824, which is no page of the file")},
    {"a page that is free and used", pageFreeAndUsed},
    {"free pages in a circle", freePagesInCircle},
};

TEST_F(CheckTest, FaultsOfIndexesAreFoundAndRepaired) {
  makeTable();
  const Texts before = rows();
  const std::string soundTable = bytesOf("T.DBF");
  for (const IndexFault &fault : kIndexFaults) {
    SCOPED_TRACE(fault.what);
    restore();
    Image image(path("T.CDX"));
    const Texts expected = fault.plant(image);
    image.save();
    const Result found = check(table_);
    EXPECT_EQ(found.files, std::set<std::string>{"T.CDX"});
    if (fault.only) {
      EXPECT_EQ(found.texts, expected);
    } else {
      EXPECT_TRUE(std::find(found.texts.begin(), found.texts.end(), expected[0]) !=
                  found.texts.end())
          << expected[0] << "\nbut: " << testing::PrintToString(found.texts);
    }
    EXPECT_EQ(bytesOf("T.CDX"), image.bytes) << "checking changes nothing";

    const Result repaired = check(table_, true);
    EXPECT_EQ(repaired.code, fault.left) << testing::PrintToString(repaired.texts);
    EXPECT_EQ(bytesOf("T.DBF"), soundTable);
    EXPECT_EQ(check(table_).code, fault.left);
    if (fault.left > 0) {
      EXPECT_EQ(bytesOf("T.CDX"), image.bytes) << "what cannot be mended is left alone";
      continue;
    }
    EXPECT_EQ(rows(), before);
    const int32_t table = openTable(table_);
    EXPECT_EQ(zk_Tag_count(table), 6);
    EXPECT_EQ(zk_Db_seekStr(nameOf(250).c_str(), table, zk_Tag_find(table, "NAME")), 0);
    EXPECT_EQ(zk_Db_getRecordNo(table), 250);
    zk_Db_closeDb(table);
  }
}

// ---- Faults of the table and its memo file

TEST_F(CheckTest, FaultsOfTablesAreFound) {
  makeTable();
  const std::string records = "T.DBF";
  const std::string memos = "T.FPT";
  constexpr std::size_t kQuantity = 13;
  constexpr std::size_t kDay = 21;
  constexpr std::size_t kNotes = 29;
  const std::string table = bytesOf(records);
  const std::string memo = bytesOf(memos);
  const std::uint64_t first = std::stoull(table.substr(cell(3, kNotes), 10));
  struct Fault {
    const char *what;
    std::string file;
    std::size_t at;
    std::string bytes;
    Texts expected;
    int left;
    bool cut = false;  // the file ends there
  };
  const auto reference = [](std::uint64_t block) {
    const std::string digits = std::to_string(block);
    return std::string(10 - digits.size(), ' ') + digits;
  };
  const std::string lastRecord = table.substr(cell(kCount, 0), recordLength_);
  const Fault faults[] = {
      {"count too large",
       records,
       4,
       little(503, 4),
       {"header: it counts 503 records, but the file holds 500"},
       0},
      {"count too small",
       records,
       4,
       little(498, 4),
       {"header: it counts 498 records, but the file holds 2 more",
        "records were added or removed without the index"},
       1},
      {"a torn record",
       records,
       cell(kCount + 1, 0),
       " BCD",
       {"record 501: the file ends within it"},
       0},
      {"a torn record that is counted",
       records,
       cell(kCount, 9),
       "",
       {"header: it counts 500 records, but the file holds 499",
        "record 500: the file ends within it", "records were added or removed without the index"},
       0,
       true},
      {"no end mark", records, cell(kCount + 1, 0), "", {}, 0, true},
      {"bytes behind the end mark", records, cell(kCount + 1, 1), std::string(200, ' '), {}, 0},
      {"a strange deletion mark",
       records,
       cell(5, 0),
       "?",
       {"record 5: the deletion mark 0x3F is neither blank nor an asterisk"},
       1},
      {"a number with a letter",
       records,
       cell(7, kQuantity),
       "   1x.50",
       {"record 7, field QTY: \"   1x.50\" is no number"},
       1},
      {"a lone point",
       records,
       cell(7, kQuantity),
       "       .",
       {"record 7, field QTY: \"       .\" is no number"},
       1},
      {"half a number",
       records,
       cell(7, kQuantity),
       "    0.**",
       {"record 7, field QTY: \"    0.**\" is no number"},
       1},
      {"a date of letters",
       records,
       cell(9, kDay),
       "2024Jan1",
       {"record 9, field DAY: \"2024Jan1\" is no date"},
       1},
      {"a reference that is no number",
       records,
       cell(3, kNotes),
       "      1\x01 2",
       {"record 3, field NOTES: the memo reference \"      1\\x01 2\" is no number"},
       1},
      {"a reference outside the memo file",
       records,
       cell(3, kNotes),
       reference(90000),
       {"record 3, field NOTES: block 90000 lies outside the memo file"},
       1},
      {"a reference into the memo file's header",
       records,
       cell(3, kNotes),
       reference(1),
       {"record 3, field NOTES: block 1 lies outside the memo file"},
       1},
      {"a reference too large for any file",
       records,
       cell(3, kNotes),
       "9999999999",
       {"record 3, field NOTES: block 4294967295 lies outside the memo file"},
       1},
      {"a shared memo",
       records,
       cell(300, kNotes),
       reference(first),
       {"record 300, field NOTES: the memo at block " + number(first) +
        " is that of record 3, field NOTES, too"},
       1},
      {"a memo within another",
       memos,
       first * 64 + 4,
       big(100, 4),
       {"record 6, field NOTES: the memo at block " + number(first + 1) +
        " lies within that of record 3, field NOTES"},
       1},
      {"a memo longer than its file",
       memos,
       first * 64 + 4,
       big(0x7FFFFFFF, 4),
       {"record 3, field NOTES: the memo at block " + number(first) +
        " is longer (2147483647 bytes) than its file"},
       1},
      {"a next block that is in use",
       memos,
       0,
       big(20, 4),
       {"header: the next free block is said to be 20, but memos reach up to block " +
        number(memo.size() / 64 - 1)},
       1},
      {"no block size", memos, 6, big(0, 2), {"header: the block size of the memo file is 0"}, 1},
      {"no table",
       records,
       8,
       big(0, 2),
       {"header: what it says of fields and lengths is no table"},
       1},
      // What is a value, or is taken for one.
      {"asterisks", records, cell(7, kQuantity), "********", {}, 0},
      {"an exponent", records, cell(7, kQuantity), " -1.5E+3", {}, 0},
      {"zero bytes", records, cell(7, kQuantity), std::string(16, '\0'), {}, 0},
      {"an impossible date", records, cell(9, kDay), "20240231", {}, 0},
      {"no reference, of zero bytes", records, cell(3, kNotes), std::string(10, '\0'), {}, 0},
  };
  for (const Fault &fault : faults) {
    SCOPED_TRACE(fault.what);
    restore();
    std::string bytes = bytesOf(fault.file);
    if (fault.cut) bytes.resize(fault.at);
    if (bytes.size() < fault.at + fault.bytes.size()) {
      bytes.resize(fault.at + fault.bytes.size());
    }
    bytes.replace(fault.at, fault.bytes.size(), fault.bytes);
    writeFile(path(fault.file), bytes);
    // The indexes know other values then: only what is said of the table is looked at.
    const Result found = check(table_);
    const Texts said(found.texts.begin(),
                     found.texts.begin() + static_cast<std::ptrdiff_t>(std::min(
                                               fault.expected.size(), found.texts.size())));
    EXPECT_EQ(said, fault.expected);
    for (std::size_t i = said.size(); i < found.texts.size(); ++i) {
      EXPECT_TRUE(found.texts[i].starts_with("tag ") || found.texts[i].starts_with("..."))
          << found.texts[i];
    }

    const Result repaired = check(table_, true);
    EXPECT_EQ(repaired.code, fault.left) << testing::PrintToString(repaired.texts);
    if (fault.cut || fault.at == 4 || fault.left > 0) continue;
    EXPECT_EQ(rows().size(), static_cast<std::size_t>(kCount));
  }

  // A mended count, and nothing but that.
  restore();
  patchFile(table_, 4, little(503, 4));
  EXPECT_EQ(check(table_, true).code, 0);
  std::string mended = bytesOf(records);
  mended.replace(1, 3, table.substr(1, 3));  // date of the last update
  EXPECT_EQ(mended, table);

  restore();
  fs::remove(path(memos));
  const Result missing = check(table_);
  EXPECT_EQ(missing.texts, Texts{"the memo file cannot be opened"});
  EXPECT_EQ(missing.files, std::set<std::string>{memos});
  restore();
  fs::remove(path("T.CDX"));
  EXPECT_EQ(check(table_).texts, Texts{"the table's production index is missing"});
}

// ---- Tags of other programs

TEST_F(CheckTest, ATagWithoutDuplicatesMayLeaveRecordsOut) {
  writeFile(table_, tableBytes(0x03, {{"A", 'C', 3}}, {" two", " one", " two", " two"}));
  zk::engine::Context context;
  context.settings.showErrorBoxes = false;
  zk::engine::Table *table = zk::engine::Table::open(context, table_.c_str());
  const zk::engine::TagDefinition definition = {"A",  "A",   "",
                                                true, false, zk::engine::kOptionUnique};
  const std::string index = path("A.CDX");
  ASSERT_EQ(zk::engine::IndexBuilder(*table).build(index.c_str(), &definition, 1), 0);
  table->close();
  const char *const indexes[] = {index.c_str(), nullptr};
  EXPECT_EQ(check(table_, false, indexes).texts, Texts());

  Image image(index);
  const Tree tree = image.tree("A");
  const std::vector<Key> keys = image.keys(tree.root, tree.layout);
  ASSERT_EQ(keys.size(), 2u);
  image.putKeys(tree.root, tree.layout, {keys[0]});
  image.save();
  const std::string found = "tag \"A\": record ";
  EXPECT_EQ(check(table_, false, indexes).texts,
            (Texts{found + "1 is missing, whose key is \"two\"",
                   found + "3 is missing, whose key is \"two\"",
                   found + "4 is missing, whose key is \"two\""}));
  EXPECT_EQ(check(table_, true, indexes).code, 0);

  // Equal keys where there must be none cannot be repaired.
  image.putKeys(tree.root, tree.layout, keys);
  image.put(tree.header + 14, std::string(1, '\x64'));
  image.save();
  const Result refused = check(table_, true, indexes);
  EXPECT_EQ(refused.code, 2);
  EXPECT_EQ(refused.texts.back(), "not written anew: Unique Key Error (-340)");
}

TEST_F(CheckTest, SingleTagFilesStaySo) {
  writeFile(table_, tableBytes(0x03, {{"A", 'C', 3}}, {" two", " one", " six"}));
  const int32_t table = openTable(table_);
  const std::string index = path("A.IDX");
  const ZkTagInfo definition = tag("A", "A");
  ASSERT_EQ(zk_Tag_create(table, path("A.CDX").c_str(), &definition, 1), 0);
  zk_Db_closeDb(table);
  // The tag's header and its one leaf, without what makes a compound file.
  const std::string compound = bytesOf("A.CDX");
  const std::size_t header = Image(path("A.CDX")).tree("A").header;
  std::string single = compound.substr(header);
  single.replace(0, 4, little(1024, 4));
  single[14] = '\x20';
  writeFile(index, single);
  const char *const indexes[] = {index.c_str(), nullptr};
  EXPECT_EQ(check(table_, false, indexes).texts, Texts());
  writeFile(table_, tableBytes(0x03, {{"A", 'C', 3}}, {" two", " one", " ten"}));
  const Result found = check(table_, true, indexes);
  EXPECT_EQ(found.code, 0);
  EXPECT_EQ(found.texts,
            (Texts{"tag \"A\", page 1024: record 3 stands under the key \"six\", but its key is "
                   "\"ten\"",
                   "tag \"A\": record 3 is missing, whose key is \"ten\"",
                   "mended: written anew with 1 tags"}));

  const int32_t changed = openTable(table_);
  ASSERT_GE(zk_Db_openNdx(changed, index.c_str()), 100);
  appendRecord(changed, {{"A", "new"}});
  zk_Db_goRec(changed, 1);
  zk_Db_delRec(changed);
  EXPECT_EQ(zk_Db_packDb(changed), 0);
  appendRecord(changed, {{"A", "one"}});
  zk_Db_closeDb(changed);
  EXPECT_EQ(check(table_, false, indexes).texts, Texts());
  EXPECT_EQ(bytesOf("A.IDX")[14], '\x20');
}

// ---- Circumstances

TEST_F(CheckTest, OthersMayHaveTheTableOpenUnlessItIsRepaired) {
  makeTable(40);
  const int32_t table = openTable(table_);
  zk_Db_setLockAttempts(-1);
  EXPECT_EQ(check(table_).code, 0);
  EXPECT_EQ(check(table_, true).code, kLockingCode) << "at once: nobody else could close it";
  EXPECT_EQ(zk_DbError_code(), kLockingCode);
  EXPECT_EQ(zk_DbError_file(), table_);
  zk_Db_closeDb(table);
  EXPECT_EQ(check(table_, true).code, 0);
  const int32_t alone = openTable(table_, 2);
  zk_Db_setLockAttempts(0);
  EXPECT_EQ(check(table_).code, kOpeningCode);
  zk_Db_closeDb(alone);

  fs::permissions(table_, fs::perms::owner_read);
  EXPECT_EQ(check(table_).code, 0);
  EXPECT_EQ(check(table_, true).code, -120);
  fs::permissions(table_, fs::perms::owner_write, fs::perm_options::add);

  EXPECT_EQ(check(path("NONE.DBF")).code, kOpeningCode);
  EXPECT_EQ(zk_DbError_file(), path("NONE.DBF"));
  const std::string none = path("NONE.CDX");
  const char *const indexes[] = {none.c_str(), nullptr};
  EXPECT_EQ(check(table_, false, indexes).code, kOpeningCode);
  EXPECT_EQ(zk_DbError_file(), none);
  EXPECT_EQ(zk_Db_check(nullptr, nullptr, 0, collect, nullptr), kParameterCode);
  EXPECT_EQ(zk_Db_check(table_.c_str(), nullptr, 0, nullptr, nullptr), 0);
  zk_Db_setLockAttempts(-1);
}

TEST_F(CheckTest, NobodyWritesWhileATableIsChecked) {
  makeTable(40);
  patchFile(table_, cell(1, 0), "?");
  static int32_t writer;
  static int result;
  writer = openTable(table_);
  zk_Db_setLockAttempts(0);
  const auto write = [](const char *, const char *, void *) {
    zk_Db_goRec(writer, 2);
    zk_Db_assignFldStr(writer, "NAME", "written");
    result = zk_Db_flush(writer);
  };
  EXPECT_EQ(zk_Db_check(table_.c_str(), nullptr, 0, write, nullptr), 1);
  EXPECT_EQ(result, 50);
  EXPECT_EQ(zk_Db_flush(writer), 0);
  EXPECT_EQ(zk_Db_closeDb(writer), 0);
  EXPECT_EQ(check(table_).code, 1);
  zk_Db_setLockAttempts(-1);
}

// ---- Trouble

std::mt19937 randomNumbers(17);

TEST_F(CheckTest, RandomDamageIsSurvived) {
  makeTable(150);
  const Texts before = rows();
  for (int round = 0; round < 300; ++round) {
    SCOPED_TRACE(round);
    restore();
    const auto &[name, bytes] = whole_[static_cast<std::size_t>(round % 3)];
    std::string spoiled = bytes;
    for (unsigned flips = 1 + randomNumbers() % 4; flips > 0; --flips) {
      // Often in the headers, where the most depends on each byte.
      const std::size_t limit = randomNumbers() % 2 == 0 ? 2600 : spoiled.size();
      spoiled[randomNumbers() % limit] = static_cast<char>(randomNumbers());
    }
    writeFile(path(name), spoiled);
    const Result found = check(table_);
    EXPECT_GE(found.code, 0);
    const Result repaired = check(table_, true);
    EXPECT_GE(repaired.code, 0) << zk_DbError_text();
    EXPECT_LE(repaired.code, found.code);
    EXPECT_EQ(check(table_).code, repaired.code);
    if (name != "T.CDX") continue;
    EXPECT_EQ(bytesOf("T.DBF"), whole_[0].second);
    EXPECT_EQ(rows(), before);
  }
}

int allocationsLeft = -1;

void *refuse() { return nullptr; }
bool allowed() { return allocationsLeft < 0 || allocationsLeft-- > 0; }

TEST_F(CheckTest, RefusedMemoryLeavesEverythingAsItWas) {
  makeTable(60);
  Image image(path("T.CDX"));
  image.put(kMarkAt, big(1, 4));
  zk_MemoryManager_set([](std::size_t size) { return allowed() ? std::malloc(size) : refuse(); },
                       [](void *block, std::size_t size) {
                         return allowed() ? std::realloc(block, size) : refuse();
                       },
                       [](std::size_t count, std::size_t size) {
                         return allowed() ? std::calloc(count, size) : refuse();
                       },
                       std::free);
  int result = kMemoryCode;
  int refused = 0;
  for (; result == kMemoryCode; ++refused) {
    image.save();
    allocationsLeft = refused;
    result = zk_Db_check(table_.c_str(), nullptr, 1, nullptr, nullptr);
    allocationsLeft = -1;
    if (result != kMemoryCode) break;
    EXPECT_EQ(zk_DbError_code(), kMemoryCode);
    EXPECT_EQ(bytesOf("T.DBF"), whole_[0].second);
    EXPECT_EQ(files(), (Texts{"OTHER.CDX", "T.CDX", "T.DBF", "T.FPT"}));
  }
  EXPECT_EQ(result, 0);
  EXPECT_GT(refused, 50);
}

}  // namespace
