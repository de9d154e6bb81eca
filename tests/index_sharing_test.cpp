// Several programs, and several handles of one program, with one indexed table.
#include <chrono>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include "tests/indexed_table.h"
#include "tests/processes.h"

namespace {

using indexed::kBehind;
using indexed::Record;
using indexed::Records;
using processes::Arguments;
using processes::Process;
using std::chrono::steady_clock;
using support::fs::perm_options;
using support::fs::perms;

constexpr int kLocked = 50;

Record named(const std::string &code) { return {code, static_cast<int>(code.size()), code, "", false}; }

int seekIn(int32_t table, const char *tag, const std::string &key) {
  return zk_Db_seekStr(indexed::padded(key, 12).c_str(), table, zk_Tag_find(table, tag));
}

// The codes in the order of a tag, or the status that ended the walk.
std::string walk(int32_t table, const char *tag) {
  const int32_t number = zk_Tag_find(table, tag);
  std::string codes;
  int status = zk_Db_topRec(table, number);
  for (; status == 0; status = zk_Db_nextRec(table, number)) {
    codes += support::trimmed(table, "CODE") + " ";
  }
  return status == 3 ? codes : std::to_string(status);
}

// ---- The other program: does what it is told with the table and the index files of its arguments

std::string perform(int32_t table, const std::string &order, const std::string &code,
                    int32_t number) {
  if (order == "append") return std::to_string(indexed::append(table, named(code)));
  if (order == "change") return std::to_string(indexed::change(table, number, named(code)));
  if (order == "delete") return std::to_string(indexed::setDeleted(table, number, true));
  if (order == "recall") return std::to_string(indexed::setDeleted(table, number, false));
  if (order == "seek") return std::to_string(seekIn(table, "CODE", code));
  if (order == "walk") return walk(table, "CODE");
  if (order == "pack") return std::to_string(zk_Db_packDb(table));
  return "?";
}

int32_t openAll(const Arguments &files) {
  const int32_t table = support::openTable(files[0]);
  for (std::size_t i = 1; i < files.size(); ++i) zk_Db_openNdx(table, files[i].c_str());
  return table;
}

int indexPeer(const Arguments &files) {
  int32_t table = openAll(files);
  processes::say(std::to_string(zk_Tag_count(table)));
  for (std::string line = processes::hear(); !line.empty(); line = processes::hear()) {
    std::istringstream words(line);
    std::string order;
    std::string code;
    int32_t number = 0;
    words >> order >> code >> number;
    processes::say(perform(table, order, code, number));
  }
  return zk_Db_closeAll();
}
const processes::Role indexPeerRole("index peer", indexPeer);

class IndexSharing : public support::TableTest {
 protected:
  // A closed table with records of these codes and the tags CODE, LIVE and QTY: in its production
  // index, or the last two in an index file of their own.
  void makeTable(const std::vector<std::string> &codes, bool twoFiles = false) {
    for (const std::string &name : files()) support::fs::remove(path(name));
    ASSERT_EQ(zk_Db_closeDb(support::createTable(file_, indexed::kFields)), 0);
    const int32_t table = support::openTable(file_, 2);
    for (const std::string &code : codes) ASSERT_EQ(indexed::append(table, named(code)), 0);
    if (twoFiles) {
      ASSERT_EQ(indexed::createTags(table, "", {"CODE"}), 0);
      ASSERT_EQ(indexed::createTags(table, otherIndex_.c_str(), {"LIVE", "QTY"}), 0);
    } else {
      ASSERT_EQ(indexed::createTags(table, "", {"CODE", "LIVE", "QTY"}), 0);
    }
    ASSERT_EQ(zk_Db_closeDb(table), 0);
    files_ = {file_};
    if (twoFiles) files_.push_back(otherIndex_);
  }

  std::string found() const { return indexed::findings(file_, {otherIndex_}); }

  const std::string file_ = path("T.DBF");
  const std::string otherIndex_ = path("X.CDX");
  Arguments files_;
};

// ---- What one writes the other finds at once

TEST_F(IndexSharing, WhatOneWritesTheOtherFindsAtOnce) {
  for (const bool twoFiles : {false, true}) {
    for (const bool ownHandle : {false, true}) {
      SCOPED_TRACE(testing::Message() << (twoFiles ? "two index files, " : "one index file, ")
                                      << (ownHandle ? "two handles" : "two programs"));
      makeTable({"b", "d"}, twoFiles);
      Process other("index peer", files_);
      ASSERT_EQ(other.line().value_or("(none)"), "3");
      const int32_t second = ownHandle ? openAll(files_) : -1;
      const auto there = [&](const std::string &line) {
        if (!ownHandle) return other.ask(line);
        std::istringstream words(line);
        std::string order;
        std::string code;
        int32_t number = 0;
        words >> order >> code >> number;
        return perform(second, order, code, number);
      };
      const int32_t table = openAll(files_);

      ASSERT_EQ(walk(table, "CODE"), "b d ");
      ASSERT_EQ(there("append c"), "0");
      EXPECT_EQ(seekIn(table, "CODE", "c"), 0) << "after a walk";
      EXPECT_EQ(zk_Db_getRecordNo(table), 3);
      EXPECT_EQ(zk_Db_nextRec(table, zk_Tag_find(table, "CODE")), 0);
      EXPECT_EQ(support::trimmed(table, "CODE"), "d");
      EXPECT_EQ(indexed::append(table, named("a")), 0);
      EXPECT_EQ(there("walk"), "a b c d ");

      // Where a record went that one stands on.
      ASSERT_EQ(seekIn(table, "CODE", "b"), 0);
      ASSERT_EQ(there("change z 1"), "0");
      EXPECT_EQ(zk_Db_nextRec(table, zk_Tag_find(table, "CODE")), 0);
      EXPECT_EQ(support::trimmed(table, "CODE"), "c") << "on from where it stood";
      EXPECT_EQ(seekIn(table, "CODE", "b"), 2);
      EXPECT_EQ(seekIn(table, "CODE", "z"), 0);

      // A count that one saw last before the other's append.
      ASSERT_EQ(there("append e"), "0");
      ASSERT_EQ(zk_Db_goRec(table, 1), 0);
      EXPECT_EQ(indexed::change(table, 1, named("y")), 0);
      ASSERT_EQ(there("append f"), "0");
      ASSERT_EQ(there("change x 1"), "0");
      EXPECT_EQ(indexed::append(table, named("g")), 0);
      EXPECT_EQ(there("walk"), "a c d e f g x ");

      EXPECT_EQ(walk(table, "LIVE"), "a c d e f g x ");
      ASSERT_EQ(there("delete - 3"), "0");
      EXPECT_EQ(seekIn(table, "LIVE", "c"), 2);
      EXPECT_EQ(walk(table, "LIVE"), "a d e f g x ");
      ASSERT_EQ(there("recall - 3"), "0");
      EXPECT_EQ(seekIn(table, "LIVE", "c"), 0);
      EXPECT_EQ(zk_Db_closeAll(), 0);
      EXPECT_EQ(other.wait(), 0);
      EXPECT_EQ(found(), "");
    }
  }
}

TEST_F(IndexSharing, TheFirstRecordsOfAnEmptyTable) {
  for (const bool twoFiles : {false, true}) {
    makeTable({}, twoFiles);
    Process other("index peer", files_);
    ASSERT_EQ(other.line().value_or("(none)"), "3");
    const int32_t table = openAll(files_);
    EXPECT_EQ(zk_Db_topRec(table, zk_Tag_find(table, "CODE")), 3);
    EXPECT_EQ(seekIn(table, "CODE", "a"), 3);
    EXPECT_EQ(other.ask("append \xE4"), "0");
    EXPECT_EQ(indexed::append(table, named("z")), 0);
    EXPECT_EQ(walk(table, "CODE"), "z \xE4 ") << "bytes sort as unsigned";
    EXPECT_EQ(other.ask("walk"), "z \xE4 ");
    zk_Db_closeAll();
    EXPECT_EQ(other.wait(), 0);
    EXPECT_EQ(found(), "");
  }
}

TEST_F(IndexSharing, AfterAPack) {
  for (const bool twoFiles : {false, true}) {
    makeTable({"a", "b", "c", "d"}, twoFiles);
    int32_t table = openAll(files_);
    ASSERT_EQ(indexed::setDeleted(table, 1, true), 0);
    ASSERT_EQ(indexed::setDeleted(table, 3, true), 0);
    {
      Process other("index peer", files_);
      ASSERT_EQ(other.line().value_or("(none)"), "3");
      zk_Db_setLockAttempts(1);
      EXPECT_EQ(zk_Db_packDb(table), kLocked);
      EXPECT_EQ(other.ask("walk"), "a b c d ");
      zk_Db_setLockAttempts(-1);
      EXPECT_EQ(other.wait(), 0);
    }
    EXPECT_EQ(zk_Db_packDb(table), 0);
    EXPECT_EQ(walk(table, "CODE"), "b d ");
    EXPECT_EQ(walk(table, "LIVE"), "b d ");
    EXPECT_EQ(indexed::append(table, named("c")), 0);
    EXPECT_EQ(walk(table, "LIVE"), "b c d ");
    Process other("index peer", files_);
    ASSERT_EQ(other.line().value_or("(none)"), "3");
    EXPECT_EQ(other.ask("append a"), "0");
    EXPECT_EQ(walk(table, "CODE"), "a b c d ");
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    EXPECT_EQ(other.wait(), 0);
    EXPECT_EQ(found(), "");
  }
}

// ---- A program that does not know of an index file

TEST_F(IndexSharing, AnIndexThatAWriterLackedIsRefused) {
  makeTable({"a", "b"}, true);
  int32_t table = openAll({file_});
  EXPECT_EQ(zk_Tag_count(table), 1);
  EXPECT_EQ(indexed::append(table, named("c")), 0);
  EXPECT_EQ(zk_Db_closeDb(table), 0);

  table = openAll(files_);
  EXPECT_EQ(walk(table, "CODE"), "a b c ") << "the production index is right";
  EXPECT_EQ(walk(table, "LIVE"), "-310");
  EXPECT_EQ(seekIn(table, "LIVE", "a"), kBehind);
  EXPECT_EQ(indexed::append(table, named("d")), kBehind);
  EXPECT_STREQ(zk_DbError_file(), otherIndex_.c_str());
  EXPECT_EQ(walk(table, "CODE"), "a b c ") << "nothing was appended";
  EXPECT_EQ(zk_Db_closeDb(table), 0);
  EXPECT_NE(found(), "");
  EXPECT_EQ(indexed::findings(file_, {otherIndex_}, true), "");
  table = openAll(files_);
  EXPECT_EQ(walk(table, "LIVE"), "a b c ");
  EXPECT_EQ(indexed::append(table, named("d")), 0);
  EXPECT_EQ(zk_Db_closeDb(table), 0);

  // While it is open here: noticed before anything is written.
  table = openAll(files_);
  ASSERT_EQ(walk(table, "LIVE"), "a b c d ");
  const int32_t careless = openAll({file_});
  EXPECT_EQ(indexed::append(careless, named("e")), 0);
  EXPECT_EQ(indexed::append(table, named("f")), kBehind);
  EXPECT_EQ(walk(table, "LIVE"), "-310");
  EXPECT_EQ(walk(careless, "CODE"), "a b c d e ");
  EXPECT_EQ(zk_Db_closeDb(careless), 0);
  EXPECT_EQ(zk_Db_closeDb(table), 0);
  EXPECT_EQ(indexed::findings(file_, {otherIndex_}, true), "");

  // The first that is written afterwards is the change of a record: it does not hide the append.
  table = openAll(files_);
  const int32_t another = openAll({file_});
  EXPECT_EQ(indexed::append(another, named("g")), 0);
  EXPECT_EQ(indexed::change(table, 1, named("0")), kBehind);
  EXPECT_EQ(walk(another, "CODE"), "a b c d e g ");
}

// ---- Creating an index while others are there

TEST_F(IndexSharing, CreatingNeedsTheIndexForItself) {
  makeTable({"a", "b"}, true);
  Process other("index peer", files_);
  ASSERT_EQ(other.line().value_or("(none)"), "3");
  const int32_t table = openAll(files_);
  zk_Db_setLockAttempts(1);
  EXPECT_EQ(indexed::createTags(table, otherIndex_.c_str(), {"LIVE"}), kLocked);
  EXPECT_EQ(indexed::createTags(table, "", {"TEXT"}), kLocked);
  EXPECT_EQ(zk_Tag_count(table), 3) << "what was open is open";
  EXPECT_EQ(walk(table, "LIVE"), "a b ");
  EXPECT_EQ(indexed::createTags(table, path("N").c_str(), {"TEXT"}), 0) << "nobody's yet";
  EXPECT_EQ(other.ask("append c"), "0");
  EXPECT_EQ(walk(table, "CODE"), "a b c ");
  EXPECT_EQ(walk(table, "TEXT"), "a b ") << "not seen until something is written";
  EXPECT_EQ(indexed::append(table, named("d")), kBehind) << "the other lacks the new one";

  // Another handle of the same program is never waited for.
  EXPECT_EQ(other.wait(), 0);
  zk_Db_setLockAttempts(-1);
  const int32_t second = openAll(files_);
  EXPECT_EQ(indexed::createTags(table, otherIndex_.c_str(), {"LIVE"}), kLocked);
  EXPECT_EQ(zk_Db_closeDb(second), 0);
  EXPECT_EQ(indexed::createTags(table, otherIndex_.c_str(), {"LIVE"}), 0);
}

// Somebody who waits for the index to become free does not keep its users from working.
TEST_F(IndexSharing, WaitingToCreateKeepsNobodyFromWriting) {
  makeTable({"a"}, true);
  Process other("index peer", files_);
  ASSERT_EQ(other.line().value_or("(none)"), "3");
  Process creator("index creator", {file_, otherIndex_});
  ASSERT_EQ(creator.line().value_or("(none)"), "ready");
  for (int i = 0; i < 20; ++i) {
    other.tell("append b" + std::to_string(i));
    ASSERT_EQ(other.line(std::chrono::seconds(10)).value_or("blocked"), "0");
  }
  EXPECT_EQ(other.wait(), 0);
  EXPECT_EQ(creator.line().value_or("(none)"), "0");
  EXPECT_EQ(creator.wait(), 0);
  EXPECT_EQ(found(), "");
}

int indexCreator(const Arguments &files) {
  const int32_t table = support::openTable(files[0]);
  processes::say("ready");
  processes::say(std::to_string(indexed::createTags(table, files[1].c_str(), {"LIVE", "TEXT"})));
  return zk_Db_closeAll();
}
const processes::Role indexCreatorRole("index creator", indexCreator);

}  // namespace
