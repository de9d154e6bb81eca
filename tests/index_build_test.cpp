// Index files built in bulk: read back by a small reader of their own and by another program that
// knows the format.
#include "engine/IndexBuilder.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/Memory.h"
#include "engine/Context.h"
#include "engine/Error.h"
#include "engine/KeySorter.h"
#include "engine/Table.h"
#include "engine/TagWriter.h"
#include "engine/WorkFile.h"
#include "support.h"
#include "tests/file_calls.h"

namespace {

namespace fs = support::fs;
using support::big;
using support::bigAt;
using support::littleAt;
using support::readFile;
using support::writeFile;
using namespace zk::engine;

// ---- Keys as they should be

std::string textKey(std::string text, std::size_t length) {
  text.resize(length, ' ');
  return text;
}

std::string numberKey(double value) {
  const auto bits = std::bit_cast<std::uint64_t>(value);
  return big(value < 0 ? ~bits : bits | 0x8000000000000000, 8);
}

std::string integerKey(int value) { return big(static_cast<std::uint32_t>(value) ^ 0x80000000, 4); }

// ---- A reader of index files that trusts nothing

using Entry = std::pair<std::string, std::uint64_t>;  // key, record; so they sort
using Entries = std::vector<Entry>;

struct TagImage {
  std::uint64_t root, keyLength, options, descending;
  std::string expression, filter;
  Entries entries;
};

class Reader {
 public:
  explicit Reader(std::string bytes) : bytes_(std::move(bytes)) {}

  // To be read first.
  const TagImage &directory() {
    directory_ = readTag(0, ' ');
    return directory_;
  }
  // A tag, of which trailing counts mean that byte. Each can be read once.
  TagImage tag(const std::string &name, char fill) {
    for (const Entry &entry : directory_.entries) {
      if (entry.first == textKey(name, 10)) return readTag(entry.second, fill);
    }
    ADD_FAILURE() << "no tag " << name;
    return {};
  }
  void readTree(TagImage &tag, char fill) { readLevel({tag.root}, {}, tag, fill); }
  // Every page of the file belongs to a tag that was read.
  bool complete() const { return pages_.size() * 512 == bytes_.size(); }

 private:
  static constexpr std::uint64_t kNone = 0xFFFFFFFF;

  void claim(std::uint64_t page) {
    EXPECT_EQ(page % 512, 0u);
    EXPECT_TRUE(pages_.insert(page).second) << "page " << page << " is used twice";
  }

  TagImage readTag(std::uint64_t at, char fill) {
    claim(at);
    claim(at + 512);
    TagImage tag;
    tag.root = littleAt(bytes_, at, 4);
    tag.keyLength = littleAt(bytes_, at + 12, 2);
    tag.options = littleAt(bytes_, at + 14, 1);
    tag.descending = littleAt(bytes_, at + 502, 2);
    EXPECT_EQ(littleAt(bytes_, at + 15, 1), 1u);
    tag.filter = poolText(at, at + 504);
    tag.expression = poolText(at, at + 508);
    readTree(tag, fill);
    return tag;
  }

  std::string poolText(std::uint64_t header, std::uint64_t at) const {
    const std::uint64_t size = littleAt(bytes_, at + 2, 2);
    EXPECT_EQ(bytes_.at(header + 512 + littleAt(bytes_, at, 2) + size - 1), '\0');
    return bytes_.substr(header + 512 + littleAt(bytes_, at, 2), size - 1);
  }

  // The pages of a level from left to right; `ends` is what the level above says they end with.
  void readLevel(const std::vector<std::uint64_t> &pages, const Entries &ends, TagImage &tag,
                 char fill) {
    std::vector<std::uint64_t> children;
    Entries childEnds;
    for (std::size_t i = 0; i < pages.size(); ++i) {
      const std::uint64_t page = pages[i];
      claim(page);
      const std::uint64_t attributes = littleAt(bytes_, page, 2);
      const std::uint64_t count = littleAt(bytes_, page + 2, 2);
      EXPECT_EQ(littleAt(bytes_, page + 4, 4), i > 0 ? pages[i - 1] : kNone);
      EXPECT_EQ(littleAt(bytes_, page + 8, 4), i + 1 < pages.size() ? pages[i + 1] : kNone);
      EXPECT_EQ(attributes & 1, ends.empty() ? 1u : 0u) << "root attribute";
      if ((attributes & 2) != 0) {
        readLeaf(page, count, tag, fill);
      } else {
        const std::uint64_t size = tag.keyLength + 8;
        const bool last = i + 1 == pages.size();
        EXPECT_TRUE(count == 500 / size || (last && count > 0)) << "not full: " << count;
        for (std::uint64_t at = page + 12; at < page + 12 + count * size; at += size) {
          childEnds.push_back({bytes_.substr(at, tag.keyLength), bigAt(bytes_, at + size - 8, 4)});
          children.push_back(bigAt(bytes_, at + size - 4, 4));
        }
      }
      if (ends.empty()) continue;
      EXPECT_EQ(ends[i], children.empty() ? tag.entries.back() : childEnds.back());
    }
    if (!children.empty()) readLevel(children, childEnds, tag, fill);
  }

  void readLeaf(std::uint64_t page, std::uint64_t count, TagImage &tag, char fill) {
    const std::uint64_t recordBits = littleAt(bytes_, page + 20, 1);
    const std::uint64_t countBits = littleAt(bytes_, page + 21, 1);
    const std::uint64_t size = littleAt(bytes_, page + 23, 1);
    const auto mask = [](std::uint64_t bits) { return (std::uint64_t{1} << bits) - 1; };
    EXPECT_EQ(littleAt(bytes_, page + 14, 4), mask(recordBits));
    EXPECT_EQ(littleAt(bytes_, page + 18, 1), mask(countBits));
    EXPECT_EQ(littleAt(bytes_, page + 19, 1), mask(countBits));
    EXPECT_EQ(littleAt(bytes_, page + 22, 1), countBits);
    EXPECT_LE(recordBits + 2 * countBits, 8 * size);
    if (!tag.entries.empty()) {
      EXPECT_LT(free_, size + tag.keyLength) << "the leaf before could take one more";
    }
    std::uint64_t end = page + 512;
    std::string key;
    for (std::uint64_t i = 0; i < count; ++i) {
      const std::uint64_t entry = littleAt(bytes_, page + 24 + i * size, size);
      const std::uint64_t shared = entry >> recordBits & mask(countBits);
      const std::uint64_t dropped = entry >> (recordBits + countBits) & mask(countBits);
      ASSERT_LE(shared + dropped, tag.keyLength);
      ASSERT_LE(shared, key.size());
      const std::uint64_t stored = tag.keyLength - shared - dropped;
      end -= stored;
      key = key.substr(0, shared) + bytes_.substr(end, stored) + std::string(dropped, fill);
      tag.entries.push_back({key, entry & mask(recordBits)});
    }
    free_ = littleAt(bytes_, page + 12, 2);
    EXPECT_EQ(free_, end - (page + 24 + count * size));
  }

  std::string bytes_;
  TagImage directory_;
  std::set<std::uint64_t> pages_;
  std::uint64_t free_ = 0;  // of the leaf before
};

// ---- Rows of a table

struct Row {
  bool deleted;
  std::string name;  // up to 12 bytes
  int cents;
  int julian;  // 0: empty
  bool done;
  int count;
};

std::string dateText(int julian) {
  if (julian == 0) return std::string(8, ' ');
  // Days of January 2000: enough for an order.
  return "200001" + std::to_string(julian - 2451544 + 100).substr(1);
}

std::vector<Row> randomRows(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  const auto below = [&random](unsigned limit) { return static_cast<int>(random() % limit); };
  std::vector<Row> rows(count);
  for (Row &row : rows) {
    row = {below(10) == 0, "", below(4000) - 2000, 0, below(2) == 0, static_cast<int>(random())};
    for (int length = below(13); length > 0; --length) row.name += "AB\x81\xFF "[below(5)];
    if (below(5) != 0) row.julian = 2451545 + below(31);
  }
  return rows;
}

std::string recordOf(const Row &row) {
  char number[16];
  std::snprintf(number, sizeof number, "%10.2f", row.cents / 100.0);
  return (row.deleted ? "*" : " ") + textKey(row.name, 12) + number + dateText(row.julian) +
         (row.done ? "T" : " ") + support::little(static_cast<std::uint32_t>(row.count), 4);
}

std::vector<std::string> recordsOf(const std::vector<Row> &rows) {
  std::vector<std::string> records;
  for (const Row &row : rows) records.push_back(recordOf(row));
  return records;
}

const std::vector<support::FileField> kRowFields = {{"NAME", 'C', 12},
                                                    {"AMOUNT", 'N', 10, 2},
                                                    {"DAY", 'D', 8},
                                                    {"DONE", 'L', 1},
                                                    {"COUNT", 'I', 4}};

// ---- Fixture

TagDefinition plain(const char *name, const char *expression) {
  return {name, expression, nullptr, false, false};
}

// The current directory is the test's own, so that working files are seen.
class IndexBuildTest : public testing::Test {
 protected:
  IndexBuildTest() : before_(fs::current_path()) {
    folder_ = support::newFolder("zk_index_");
    fs::current_path(folder_);
    context_.settings.showErrorBoxes = false;
  }
  ~IndexBuildTest() override {
    context_.closeAll();
    fs::current_path(before_);
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  std::set<std::string> files() const {
    std::set<std::string> names;
    for (const auto &entry : fs::directory_iterator(folder_))
      names.insert(entry.path().filename().string());
    return names;
  }

  Table &openRows(const std::vector<Row> &rows) {
    writeFile("t.dbf", support::tableBytes(0x30, kRowFields, recordsOf(rows)));
    Table *table = Table::open(context_, "t.dbf");
    EXPECT_NE(table, nullptr) << context_.errorText();
    return *table;
  }

  int build(Table &table, const std::vector<TagDefinition> &tags,
            std::size_t budget = KeySorter::kDefaultBudget) {
    context_.clearError();
    return IndexBuilder(table, budget).build("t.cdx", tags.data(), tags.size());
  }

  fs::path before_, folder_;
  Context context_;
};

// ---- Tags of every key type

using R = const Row &;
std::string nameKey(R row) { return textKey(row.name, 12); }
std::string amountKey(R row) { return numberKey(row.cents / 100.0); }
bool everyRow(R) { return true; }

struct TagCase {
  const char *name, *expression, *filter;
  char fill;
  std::string (*key)(R);
  bool (*wanted)(R);
};

const TagCase kTagCases[] = {
    {"name", "name", "", ' ', nameKey, everyRow},
    {"PAIR", "NAME + DTOS(DAY)", "", ' ', [](R row) { return nameKey(row) + dateText(row.julian); },
     everyRow},
    {"AMOUNT", "AMOUNT", "", 0, amountKey, everyRow},
    // The key of -0.00 is that of 0.00.
    {"MINUS", "-AMOUNT", "", 0, [](R row) { return numberKey(0.0 - row.cents / 100.0); }, everyRow},
    {"DAY", "DAY", "", 0, [](R row) { return numberKey(row.julian); }, everyRow},
    {"DONE", "DONE", "", 0, [](R row) { return std::string(row.done ? "T" : "F"); }, everyRow},
    {"COUNT", "COUNT", "", 0, [](R row) { return integerKey(row.count); }, everyRow},
    {"COUNT_N", "COUNT + 0", "", 0, [](R row) { return numberKey(row.count); }, everyRow},
    {"LIVE", "AMOUNT", ".NOT. DELETED()", 0, amountKey, [](R row) { return !row.deleted; }},
    {"NONE", "NAME", "AMOUNT > 1000", ' ', nameKey, [](R) { return false; }},
};

TEST_F(IndexBuildTest, TagsOfEveryKeyTypeHoldAllRecordsInOrder) {
  for (const std::size_t count : {0, 1, 300, 5000}) {
    SCOPED_TRACE(count);
    const std::vector<Row> rows = randomRows(count, static_cast<unsigned>(count));
    Table &table = openRows(rows);
    std::vector<TagDefinition> tags;
    for (const TagCase &tag : kTagCases) {
      tags.push_back({tag.name, tag.expression, tag.filter, false, tag.filter[0] != '\0'});
    }
    ASSERT_EQ(build(table, tags), 0) << context_.errorText();

    Reader reader(readFile("t.cdx"));
    EXPECT_EQ(reader.directory().options, 0xE0u);
    for (const TagCase &tag : kTagCases) {
      SCOPED_TRACE(tag.name);
      Entries expected;
      for (std::size_t i = 0; i < rows.size(); ++i) {
        if (tag.wanted(rows[i])) expected.push_back({tag.key(rows[i]), i + 1});
      }
      std::sort(expected.begin(), expected.end());
      std::string upper(tag.name);
      for (char &c : upper) c = static_cast<char>(std::toupper(c));
      const TagImage image = reader.tag(upper, tag.fill);
      EXPECT_TRUE(image.entries == expected);
      EXPECT_EQ(image.expression, tag.expression);
      EXPECT_EQ(image.filter, tag.filter);
      EXPECT_EQ(image.options, tag.filter[0] != '\0' ? 0x68u : 0x60u);
      EXPECT_EQ(image.descending, tag.filter[0] != '\0' ? 1u : 0u);
    }
    EXPECT_TRUE(reader.complete());
    table.close();
  }
}

TEST_F(IndexBuildTest, ADirectoryOfManyTagsHasSeveralPages) {
  Table &table = openRows(randomRows(1, 1));
  std::vector<std::string> names;
  for (int i = 200; i > 0; --i) names.push_back("T" + std::to_string(i * 7919 + 10000000));
  std::vector<TagDefinition> tags;
  for (const std::string &name : names) tags.push_back(plain(name.c_str(), "NAME"));
  ASSERT_EQ(build(table, tags), 0) << context_.errorText();
  Reader reader(readFile("t.cdx"));
  const Entries entries = reader.directory().entries;
  EXPECT_EQ(entries.size(), names.size());
  EXPECT_TRUE(std::is_sorted(entries.begin(), entries.end()));
  for (const std::string &name : names) EXPECT_EQ(reader.tag(name, ' ').entries.size(), 1u);
  EXPECT_TRUE(reader.complete());
}

// ---- Past the memory budget

TEST_F(IndexBuildTest, SortingThroughAWorkingFileGivesTheSameFile) {
  static std::set<std::string> seen;
  static int64_t done, total;
  Table &table = openRows(randomRows(6000, 7));
  ASSERT_EQ(table.go(17), 0);
  const std::vector<TagDefinition> tags = {plain("NAME", "NAME"), plain("COUNT", "COUNT"),
                                           plain("NUMBER", "RECNO()")};
  ASSERT_EQ(build(table, tags), 0);
  const std::string expected = readFile("t.cdx");

  context_.progress = [](const char *stage, int64_t part, int64_t whole, void *) {
    EXPECT_TRUE(stage == std::string("Sorting") || stage == std::string("Creating Tag")) << stage;
    done = part, total = whole;
    for (const auto &entry : fs::directory_iterator("."))
      seen.insert(entry.path().filename().string());
  };
  // 16 records at a time and then some: two rounds of merges, one round, a few runs.
  for (const std::size_t budget : {std::size_t{1}, std::size_t{8000}, std::size_t{100000}}) {
    SCOPED_TRACE(budget);
    seen.clear();
    fs::remove("t.cdx");
    ASSERT_EQ(build(table, tags, budget), 0) << context_.errorText();
    EXPECT_TRUE(readFile("t.cdx") == expected);
    EXPECT_EQ(std::count_if(seen.begin(), seen.end(),
                            [](const std::string &name) {
                              return name.size() == 12 && name.starts_with("TEMP") &&
                                     name.ends_with(".TMP");
                            }),
              1);
    EXPECT_TRUE(seen.contains("t.cdx.zknew") && !seen.contains("t.cdx"));
    EXPECT_EQ(files(), (std::set<std::string>{"t.cdx", "t.dbf"}));
    EXPECT_EQ(table.recordNumber(), 17u);
    EXPECT_EQ(done, 6000);
    EXPECT_EQ(total, 6000);
  }
}

TEST_F(IndexBuildTest, TheSorterOrdersPairsFromAnySource) {
  std::mt19937 random(3);
  struct Source {
    const char *name;
    std::size_t length;
    std::function<std::string(std::uint32_t)> key;
  };
  const auto digits = [](std::uint64_t number) {
    return std::to_string(1000000000 + number % 1000000000);
  };
  const Source sources[] = {
      {"one byte", 1, [&](std::uint32_t) { return std::string(1, static_cast<char>(random())); }},
      {"short", 5, [&](std::uint32_t) { return digits(random() % 997).substr(5); }},
      {"one word", 8, [&](std::uint32_t) { return digits(random() % 9999999).substr(2); }},
      {"ascending", 10, digits},
      {"descending", 10, [&](std::uint32_t i) { return digits(100000 - i); }},
      {"equal", 30, [](std::uint32_t) { return std::string(30, 'x'); }},
      {"equal but for the end", 39,
       [&](std::uint32_t) { return std::string(29, 'x') + digits(random() % 500); }},
      {"groups", 31,
       [&](std::uint32_t) {
         return digits(random() % 5) + '-' + digits(random() % 3) + digits(random());
       }},
      {"longest", 240, [&](std::uint32_t) { return std::string(230, 'y') + digits(random()); }}};
  for (const Source &source : sources) {
    for (const bool recordsAscend : {true, false}) {
      for (const std::size_t budget : {std::size_t{5000}, KeySorter::kDefaultBudget}) {
        SCOPED_TRACE(source.name + std::to_string(budget) + (recordsAscend ? " up" : " mixed"));
        WorkFile file(context_);
        KeySorter sorter(file, source.length, budget);
        sorter.begin(3000);
        Entries expected;
        for (std::uint32_t i = 1; i <= 3000; ++i) {
          const std::uint32_t record = recordsAscend ? i : i * 7919 % 3001;
          const std::string key = source.key(i);
          ASSERT_EQ(key.size(), source.length);
          expected.push_back({key, record});
          const auto *bytes = reinterpret_cast<const unsigned char *>(key.data());
          ASSERT_EQ(sorter.add(bytes, record), 0);
        }
        std::sort(expected.begin(), expected.end());
        ASSERT_EQ(sorter.sort(), 0);
        Entries sorted;
        const unsigned char *key = nullptr;
        std::uint32_t record = 0;
        while (sorter.next(key, record) == 0) {
          sorted.push_back({{reinterpret_cast<const char *>(key), source.length}, record});
        }
        EXPECT_TRUE(sorted == expected);
        EXPECT_EQ(sorter.largestRecord(), 3000u);
      }
    }
  }
  EXPECT_TRUE(files().empty());
}

// ---- The working file's name

std::int64_t fakeSecond;
const WorkFile::Clock kFakeClock = {[]() noexcept { return fakeSecond; },
                                    [](std::uint32_t) noexcept {
                                      ++fakeSecond;
                                      return true;
                                    }};

TEST_F(IndexBuildTest, AWorkingFileTakesTheNextFreeSecond) {
  fakeSecond = 1700009999;
  writeFile("TEMP9999.TMP", "old");
  writeFile("TEMP0000.TMP", "old");
  {
    WorkFile file(context_, kFakeClock);
    ASSERT_EQ(file.create(), 0);
    ASSERT_EQ(file.write(5, "x", 1), 0);
    EXPECT_EQ(fs::file_size("TEMP0001.TMP"), 6u);
    char byte = 0;
    EXPECT_EQ(file.read(6, &byte, 1), kErrReading);
  }
  EXPECT_EQ(files(), (std::set<std::string>{"TEMP0000.TMP", "TEMP9999.TMP"}));
  EXPECT_EQ(readFile("TEMP9999.TMP") + readFile("TEMP0000.TMP"), "oldold");

  // The hundredth name is the last that is tried.
  for (int i = 0; i < 100; ++i) {
    const std::string name = "TEMP0" + std::to_string(100 + i) + ".TMP";
    writeFile(name, "");
  }
  fakeSecond = 100;
  WorkFile refused(context_, kFakeClock);
  EXPECT_EQ(refused.create(), kErrCreating);
  EXPECT_STREQ(context_.errorFile(), "Temporary Working File");
  EXPECT_STREQ(context_.errorText(), "Creating File");
  fakeSecond = 101;
  WorkFile last(context_, kFakeClock);
  EXPECT_EQ(last.create(), 0);
  EXPECT_TRUE(fs::exists("TEMP0200.TMP"));
}

TEST_F(IndexBuildTest, AWorkingFileGoesToTheTemporaryDirectoryWhereTheCurrentOneRefuses) {
  fs::create_directory("gone");
  fs::current_path("gone");
  std::error_code refused;
  if (!fs::remove(folder_ / "gone", refused)) {
    fs::current_path(folder_);
    GTEST_SKIP() << "no directory refuses here: the current one cannot be removed";
  }
  fs::create_directory(folder_ / "tmp");
  const char *const old = std::getenv("TMPDIR");
  static std::string before;
  static std::string during;
  before = std::string("TMPDIR=") + (old != nullptr ? old : "/tmp");
  during = "TMPDIR=" + (folder_ / "tmp").string();
  putenv(during.data());
  fakeSecond = 42;
  {
    WorkFile file(context_, kFakeClock);
    EXPECT_EQ(file.create(), 0);
    EXPECT_TRUE(fs::exists(folder_ / "tmp" / "TEMP0042.TMP"));
  }
  EXPECT_TRUE(fs::is_empty(folder_ / "tmp"));
  fs::remove(folder_ / "tmp");
  WorkFile file(context_, kFakeClock);
  EXPECT_EQ(file.create(), kErrCreating);
  putenv(before.data());
  fs::current_path(folder_);
}

// ---- Pages of any shape

TEST_F(IndexBuildTest, TreesOfAnyKeyLengthAndRecordNumberReadBack) {
  for (const std::uint32_t length : {1u, 8u, 10u, 100u, 240u}) {
    for (const std::uint32_t largest : {4999u, 0xFFFFu, 0x10000u, 0xFFFFFFu, 0x7FFFFFFFu}) {
      SCOPED_TRACE(std::to_string(length) + "/" + std::to_string(largest));
      std::mt19937 random(length);
      Entries entries;
      for (std::uint32_t i = 0; i < 5000; ++i) {
        std::string key(length, ' ');
        for (char &c : key) c = static_cast<char>(random() % 3 + ' ');
        entries.push_back({key, largest - i});
      }
      std::sort(entries.begin(), entries.end());

      File file;
      ASSERT_EQ(file.create(context_, "t.cdx"), 0);
      PageWriter pages(file);
      TreeWriter tree(pages, {length, ' '}, largest, pages.allocate());
      for (const auto &[key, record] : entries) {
        const auto *bytes = reinterpret_cast<const unsigned char *>(key.data());
        ASSERT_EQ(tree.add(bytes, static_cast<std::uint32_t>(record)), 0);
      }
      TagImage tag;
      std::uint32_t root = 0;
      ASSERT_EQ(tree.finish(root), 0);
      ASSERT_EQ(pages.finish(), 0);
      file.close();
      tag.root = root;
      tag.keyLength = length;
      Reader reader(readFile("t.cdx"));
      reader.readTree(tag, ' ');
      EXPECT_TRUE(tag.entries == entries);
      EXPECT_TRUE(reader.complete());
    }
  }
}

// ---- Refusals

TEST_F(IndexBuildTest, WhatIsRefusedLeavesTheOldFileAlone) {
  const FieldDefinition fields[] = {
      {"CODE", 'C', 10, 0}, {"WIDE", 'C', 240, 0}, {"QTY", 'N', 5, 0}, {"NOTE", 'M', 10, 0}};
  Table *table = Table::create(context_, "t.dbf", fields, 4);
  ASSERT_NE(table, nullptr);
  for (const char *code : {"AA", "AB", "AA", "AC"}) {
    table->appendBlank();
    table->fields()[0].assignText(code);
    table->fields()[2].assignText(code[1] == 'B' ? "    1" : "    0");
    ASSERT_EQ(table->writeCurrent(), 0);
  }
  const std::string limit = "QTY+" + std::string(506, '1');  // 510: fills the pool
  const std::string tooLong = limit + "1";
  const char *const tooLongText = "expression source length > max allowable chars for index";
  const char *const wrongLength = "Key length should be 1 to 240";
  const struct {
    const char *name, *expression, *filter;
    bool unique;
    int code;
    const char *text;  // null: the code's own
  } cases[] = {
      {"TENLETTERS", "CODE", nullptr, false, 0, nullptr},
      {"ELEVENCHARS", "CODE", nullptr, false, -930, "Tag name should have at most 10 characters"},
      {"", "CODE", nullptr, false, -330, nullptr},
      {nullptr, "CODE", nullptr, false, -330, nullptr},
      {"last ", "CODE", nullptr, false, -930, "Tag name is used twice"},
      {"T", "WIDE", "", true, -340, nullptr},
      {"T", "WIDE", "QTY = 1", true, 0, nullptr},
      {"T", "CODE", nullptr, true, -340, nullptr},
      {"T", "CODE", "RECNO() > 1", true, 0, nullptr},
      {"T", limit.c_str(), nullptr, false, 0, nullptr},
      {"T", limit.c_str(), "", false, 0, nullptr},
      {"T", tooLong.c_str(), nullptr, false, -930, tooLongText},
      {"T", "CODE", tooLong.c_str() + 4, false, -930, tooLongText},
      {"T", "WIDE + CODE", nullptr, false, -930, wrongLength},
      {"T", "LEFT(CODE, 0)", nullptr, false, -930, wrongLength},
      {"T", "LEFT(NOTE, 5)", nullptr, false, -460, nullptr},
      {"T", "CODE", "NOTE = 'x'", false, -460, nullptr},
      {"T", "CODE", "QTY", false, -950, "Filter should be Logical"},
      {"T", "1/QTY", nullptr, false, -440, nullptr},
      {"T", "CODE", "1/QTY > 0", false, -440, nullptr},
      {"T", "NAME", nullptr, false, -490, nullptr},
      {"T", nullptr, nullptr, false, -410, nullptr},
  };
  for (const auto &tag : cases) {
    SCOPED_TRACE(testing::Message()
                 << (tag.name ? tag.name : "") << ": " << (tag.expression ? tag.expression : ""));
    writeFile("t.cdx", "old");
    ASSERT_EQ(table->go(2), 0);
    EXPECT_EQ(build(*table, {{tag.name, tag.expression, tag.filter, tag.unique, false},
                             plain("LAST", "CODE")}),
              tag.code);
    EXPECT_STREQ(context_.errorText(), tag.text != nullptr ? tag.text : errorText(tag.code));
    EXPECT_EQ(readFile("t.cdx") == "old", tag.code != 0);
    EXPECT_EQ(files(), (std::set<std::string>{"t.cdx", "t.dbf", "t.fpt"}));
    EXPECT_EQ(table->recordNumber(), 2u);
    if (tag.code != 0) continue;
    Reader reader(readFile("t.cdx"));
    reader.directory();
    EXPECT_EQ(reader.tag(tag.name, ' ').options & 1, tag.unique ? 1u : 0u);
  }
  EXPECT_EQ(IndexBuilder(*table).build("t.cdx", nullptr, 0), kErrParameter);
  fs::create_directory("folder.cdx");
  const TagDefinition tag = plain("CODE", "CODE");
  EXPECT_EQ(IndexBuilder(*table).build("folder.cdx", &tag, 1), kErrOpening);
  EXPECT_FALSE(files().contains("folder.cdx.zknew"));
}

int refuseAt;  // the request that is refused; 0 none
int requests;
zk::base::AllocatorSlots standardSlots;

TEST_F(IndexBuildTest, RefusedMemoryLeavesNothingBehind) {
  Table &table = openRows(randomRows(60, 5));
  const std::vector<TagDefinition> tags = {{"NAME", "UPPER(NAME)", "COUNT <> 1", false, false},
                                           plain("COUNT", "COUNT")};
  standardSlots = zk::base::allocatorSlots;
  zk::base::allocatorSlots.allocate = [](std::size_t size) -> void * {
    return ++requests == refuseAt ? nullptr : standardSlots.allocate(size);
  };
  zk::base::allocatorSlots.reallocate = [](void *block, std::size_t size) -> void * {
    return ++requests == refuseAt ? nullptr : standardSlots.reallocate(block, size);
  };
  for (const std::size_t budget : {std::size_t{1}, KeySorter::kDefaultBudget}) {
    int status = kErrMemory;
    for (refuseAt = 1; status != 0 && refuseAt < 1000; ++refuseAt) {
      SCOPED_TRACE(refuseAt);
      fs::remove("t.cdx");
      requests = 0;
      ASSERT_EQ(table.go(5), 0);
      status = build(table, tags, budget);
      if (status == 0) break;
      ASSERT_EQ(status, kErrMemory);
      EXPECT_EQ(context_.errorCode(), kErrMemory);
      EXPECT_EQ(files(), std::set<std::string>{"t.dbf"});
      EXPECT_EQ(table.recordNumber(), 5u);
    }
    EXPECT_EQ(status, 0);
    EXPECT_GT(refuseAt, 10);
  }
  refuseAt = 0;
  zk::base::allocatorSlots = standardSlots;
}

TEST_F(IndexBuildTest, AFullDiskLeavesNothingBehind) {
  Table &table = openRows(randomRows(20000, 5));
  // In the midst of the sorted runs, or at once in the index file.
  for (const auto &[budget, write] :
       {std::pair{std::size_t{50000}, 3}, std::pair{KeySorter::kDefaultBudget, 1}}) {
    file_calls::disturb(write, file_calls::Disturbance::kFailFromThere);
    const int status = build(table, {plain("COUNT", "COUNT")}, budget);
    EXPECT_TRUE(file_calls::calm());
    EXPECT_EQ(status, kErrWriting);
    EXPECT_EQ(files(), std::set<std::string>{"t.dbf"});
  }
}

// ---- Keys of what is sought

TEST_F(IndexBuildTest, WhatIsSoughtBecomesAKey) {
  Table &table = openRows({});
  constexpr SoughtKey kEqual = SoughtKey::kEqual;
  struct Case {
    const char *expression;
    std::string text;
    SoughtKey byText;
    std::string textKey;
    double number;
    SoughtKey byNumber;
    std::string numberKey;
  };
  const Case cases[] = {
      {"NAME", "A ", kEqual, "A ", 1, SoughtKey::kNone, ""},
      {"NAME", "longer than the key", kEqual, "longer than ", 1, SoughtKey::kNone, ""},
      {"NAME", "", kEqual, "", 1, SoughtKey::kNone, ""},
      {"AMOUNT", " -1.5x", kEqual, numberKey(-1.5), -0.0, kEqual, numberKey(0)},
      {"DAY", "20000131", kEqual, numberKey(2451575), 2451575, kEqual, numberKey(2451575)},
      {"DAY", "", kEqual, numberKey(0), 0, kEqual, numberKey(0)},
      {"DONE", "yes", kEqual, "T", 1, SoughtKey::kNone, ""},
      {"DONE", "F", kEqual, "F", 1, SoughtKey::kNone, ""},
      {"COUNT", "-7", kEqual, integerKey(-7), 2.5, SoughtKey::kBefore, integerKey(3)},
      {"COUNT", "3e9", SoughtKey::kBehind, integerKey(INT32_MAX), -3e9, SoughtKey::kBefore,
       integerKey(INT32_MIN)},
  };
  for (const Case &sought : cases) {
    SCOPED_TRACE(std::string(sought.expression) + " " + sought.text);
    zk::base::Owned<Expression> expression;
    ASSERT_EQ(Expression::compile(table, sought.expression, expression), 0);
    KeyForm form;
    ASSERT_EQ(KeyForm::choose(context_, *expression, form), 0);
    unsigned char key[kLongestKey];
    std::size_t length = 0;
    EXPECT_EQ(form.putSought(sought.text, key, length), sought.byText);
    EXPECT_EQ(std::string(key, key + length), sought.textKey);
    EXPECT_EQ(form.putSought(sought.number, key, length), sought.byNumber);
    if (sought.byNumber != SoughtKey::kNone) {
      EXPECT_EQ(std::string(key, key + length), sought.numberKey);
    }
  }
}

// ---- What other programs say

std::string outputOf(const std::string &command) {
  std::string output;
  FILE *pipe = popen((command + " 2>&1").c_str(), "r");
  char bytes[4096];
  for (std::size_t got; (got = fread(bytes, 1, sizeof bytes, pipe)) > 0;) output.append(bytes, got);
  return pclose(pipe) == 0 ? output : "(failed) " + output;
}

TEST_F(IndexBuildTest, AnotherProgramReadsTheSame) {
  if (std::system("command -v index_dump >/dev/null") != 0) {
    GTEST_SKIP() << "no index_dump (package libdbd-xbase-perl)";
  }
  std::vector<Row> rows = randomRows(3000, 11);
  std::map<Entry, std::string> byName, byAmount;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    rows[i].name = "PUMP-" + std::to_string(i * 7919 % 2000);
    char line[64];
    std::snprintf(line, sizeof line, "%.10g %zu\n", rows[i].cents / 100.0, i + 1);
    byAmount[{amountKey(rows[i]), i + 1}] = line;
    byName[{nameKey(rows[i]), i + 1}] = rows[i].name + " " + std::to_string(i + 1) + "\n";
  }
  Table &table = openRows(rows);
  ASSERT_EQ(build(table, {plain("NAME", "NAME"), plain("AMOUNT", "AMOUNT")}), 0);
  const auto joined = [](const std::map<Entry, std::string> &lines) {
    std::string text;
    for (const auto &line : lines) text += line.second;
    return text;
  };
  EXPECT_EQ(outputOf("index_dump --type char t.cdx NAME"), joined(byName));
  EXPECT_EQ(outputOf("index_dump --type num t.cdx AMOUNT"), joined(byAmount));
}

TEST_F(IndexBuildTest, AFileThatFoxProWroteHoldsTheSame) {
  const char *const named = std::getenv("ZK_TEST_DATA");
  const fs::path data =
      named != nullptr ? named : fs::path(__FILE__).parent_path() / "../../shared/data";
  if (!fs::exists(data / "setup.CDX")) GTEST_SKIP() << "no tables of other programs (ZK_TEST_DATA)";
  fs::copy_file(data / "setup.dbf", "t.dbf");
  Table *table = Table::open(context_, "t.dbf");
  ASSERT_NE(table, nullptr);
  ASSERT_EQ(build(*table, {plain("KEY_NAME", "key_name")}), 0) << context_.errorText();
  Reader theirs(readFile((data / "setup.CDX").string()));
  Reader ours(readFile("t.cdx"));
  EXPECT_EQ(ours.directory().entries, theirs.directory().entries);
  const TagImage theirTag = theirs.tag("KEY_NAME", ' ');
  const TagImage ourTag = ours.tag("KEY_NAME", ' ');
  EXPECT_EQ(ourTag.entries, theirTag.entries);
  EXPECT_EQ(ourTag.expression, theirTag.expression);
  EXPECT_EQ(ourTag.keyLength, theirTag.keyLength);
  EXPECT_EQ(ourTag.root, theirTag.root);
  EXPECT_TRUE(ours.complete() && theirs.complete());
  // The directory's header is the same to the last byte, but for the update counter and what this
  // library keeps in reserved bytes.
  std::string header = readFile("t.cdx").substr(0, 1024);
  EXPECT_EQ(header.substr(64, 4), "ZKST");
  header.replace(8, 4, 4, '\0');
  header.replace(64, 16, 16, '\0');
  EXPECT_EQ(header, readFile((data / "setup.CDX").string()).substr(0, 1024));
}

}  // namespace
