// Several programs, and several handles of one program, with one indexed table.
#include <chrono>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <thread>

#include "tests/file_calls.h"
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

Record named(const std::string &code) {
  return {code, static_cast<int>(code.size()), code, "", false};
}

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

TEST_F(IndexSharing, APositionOutlivesAnIndexThatIsBusy) {
  for (const bool seek : {false, true}) {
    makeTable({"a", "b", "c", "d"});
    Process other("index peer", files_);
    ASSERT_EQ(other.line().value_or("(none)"), "3");
    const int32_t table = openAll(files_);
    const int32_t tag = zk_Tag_find(table, "CODE");
    ASSERT_EQ(seekIn(table, "CODE", "b"), 0);
    const std::string before = bytesOf("T.CDX");
    {
      // As it looks while somebody writes.
      Process writer("index holder", {path("T.CDX")});
      ASSERT_EQ(writer.line().value_or("(none)"), "held");
      support::patchFile(path("T.CDX"), 8, support::big(support::bigAt(before, 8, 4) + 1, 4));
      support::patchFile(path("T.CDX"), 68, support::big(1, 4));
      zk_Db_setLockAttempts(1);
      EXPECT_EQ(seek ? seekIn(table, "CODE", "d") : zk_Db_nextRec(table, tag), kLocked);
      EXPECT_EQ(zk_Db_getRecordNo(table), 2);
      support::patchFile(path("T.CDX"), 4, before.substr(4, 80));
    }
    EXPECT_EQ(other.ask("change z 2"), "0") << "what the record says now is another place";
    EXPECT_EQ(zk_Db_nextRec(table, tag), 0);
    EXPECT_EQ(support::trimmed(table, "CODE"), "c");
    zk_Db_setLockAttempts(-1);
    EXPECT_EQ(zk_Db_closeDb(table), 0);
  }
}

int indexHolder(const Arguments &files) {
  const processes::ByteLock lock(files[0], 0x7FFFFFFE, 1);
  processes::say(lock.held() ? "held" : "refused");
  processes::hear();
  return 0;
}
const processes::Role indexHolderRole("index holder", indexHolder);

// ---- Somebody writes between two reads

// The records that the mover has; it moves the keys of some of them behind all others, and back.
Records moverRecords(bool moved) {
  Records records;
  for (int i = 0; i < 14; ++i) {
    records.push_back({"c" + std::to_string(i), i, indexed::longText(i), "", false});
    if (moved && i % 3 != 0) records.back().text = "~" + std::to_string(i % 5);
  }
  return records;
}

int indexMover(const Arguments &files) {
  const int32_t table = openAll(files);
  processes::say("ready");
  for (std::string line = processes::hear(); !line.empty(); line = processes::hear()) {
    const Records records = moverRecords(line == "move");
    int status = 0;
    for (std::size_t i = 0; i < records.size() && status == 0; ++i) {
      status = indexed::change(table, static_cast<int32_t>(i + 1), records[i]);
    }
    processes::say(std::to_string(status));
  }
  return zk_Db_closeAll();
}
const processes::Role indexMoverRole("index mover", indexMover);

// What lies next to a record's old place in that direction: a status, and the record where one is.
std::string neighbour(const Records &records, std::size_t from, bool forward) {
  const indexed::TagCase &tag = indexed::tagCase("TEXT");
  const auto place = [&](int32_t number, const Record &record) {
    return std::make_pair(tag.key(record), number);
  };
  const auto start = place(static_cast<int32_t>(from + 1), moverRecords(false)[from]);
  const std::vector<int32_t> order = indexed::orderOf(tag, records);
  std::string last;
  for (std::size_t i = 0; i < order.size(); ++i) {
    const int32_t number = order[forward ? i : order.size() - 1 - i];
    const auto there = place(number, records[static_cast<std::size_t>(number - 1)]);
    if (forward ? there > start : there < start) return "0 " + std::to_string(number);
  }
  return forward ? "3 " + std::to_string(order.size() + 1) : "4 " + std::to_string(order[0]);
}

TEST_F(IndexSharing, WhateverIsWrittenBetweenTwoReads) {
  const Records old = moverRecords(false);
  const Records moved = moverRecords(true);
  makeTable({});
  int32_t table = support::openTable(file_, 2);
  for (const Record &record : old) ASSERT_EQ(indexed::append(table, record), 0);
  ASSERT_EQ(indexed::createTags(table, "", {"TEXT"}), 0);
  ASSERT_EQ(zk_Db_closeDb(table), 0);
  Process mover("index mover", files_);
  ASSERT_EQ(mover.line().value_or("(none)"), "ready");
  table = openAll(files_);
  const int32_t tag = zk_Tag_find(table, "TEXT");
  int disturbances = 0;
  const auto status = [&](int code) {
    return std::to_string(code) + " " + std::to_string(zk_Db_getRecordNo(table));
  };
  for (std::size_t from = 0; from < old.size(); ++from) {
    for (const bool forward : {true, false}) {
      bool disturbed = true;
      for (int n = 1; disturbed; ++n) {
        SCOPED_TRACE(testing::Message() << (forward ? "next" : "prev") << " from record "
                                        << from + 1 << ", before read " << n);
        ASSERT_LT(n, 200);
        ASSERT_EQ(zk_Db_seekStr(old[from].text.c_str(), table, tag), 0);
        disturbed = false;
        file_calls::beforeRead(n, [&] {
          disturbed = true;
          EXPECT_EQ(mover.ask("move"), "0");
        });
        const std::string found = status((forward ? zk_Db_nextRec : zk_Db_prevRec)(table, tag));
        file_calls::beforeRead(0, {});
        const std::string before = neighbour(old, from, forward);
        const std::string after = neighbour(moved, from, forward);
        ASSERT_TRUE(found == before || found == after)
            << found << ", not " << before << ", " << after;
        if (!disturbed) continue;
        ++disturbances;
        ASSERT_EQ(mover.ask("back"), "0");
      }
    }
  }
  EXPECT_GT(disturbances, 2 * std::ssize(old));
  EXPECT_EQ(zk_Db_closeDb(table), 0);
  EXPECT_EQ(mover.wait(), 0);
  EXPECT_EQ(found(), "");
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
  EXPECT_EQ(walk(table, "TEXT"), "-310") << "the other lacks the new one";
  EXPECT_EQ(indexed::append(table, named("d")), kBehind);

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

// ---- Many at work

constexpr processes::Milliseconds kWorkTime(2500);
constexpr std::size_t kMostRecords = 150;  // of each

// A record's keys never were and never will be those of another record or version.
Record version(int who, int seq, int version) {
  const int mixed = static_cast<int>((seq * 1000 + version) * 7919ll % 1'000'000);
  const std::string id = std::to_string(who) + "s" + std::to_string(seq);
  Record record;
  record.code = {static_cast<char>('a' + mixed % 26), static_cast<char>(0xC0 + mixed / 26 % 26)};
  record.code += "w" + id;
  record.quantity = mixed * 10 + who;
  record.text = std::string(static_cast<std::size_t>(mixed % 7) * 20, 'x') + std::to_string(mixed) +
                " of " + id + " v" + std::to_string(version);
  return record;
}

struct Failure {
  std::string text;
};

// One of the programs that append records and change their own, and look at everything; at the
// first thing that is wrong it throws a Failure.
class Worker {
 public:
  Worker(int32_t table, int who)
      : table_(table), who_(who), random_(static_cast<std::mt19937::result_type>(who + 1)) {
    for (const char *tag : {"TEXT", "QTY", "LIVE", "CODE"}) tags_[tag] = zk_Tag_find(table, tag);
  }

  void work() {
    const auto roll = random_() % 100;
    if (mine_.empty() || (roll < 15 && mine_.size() < kMostRecords)) {
      append();
    } else if (roll < 45) {
      change();
    } else if (roll < 60) {
      toggle();
    } else if (roll < 85) {
      expectFound(any());
    } else if (roll < 99) {
      walkAlong();
    } else {
      walkAll();
    }
  }

  // "number seq version deleted" of each record.
  void sayWhatThereIs() const {
    for (std::size_t seq = 0; seq < mine_.size(); ++seq) {
      const Mine &m = mine_[seq];
      processes::say(std::to_string(m.number) + " " + std::to_string(seq) + " " +
                     std::to_string(m.version) + " " + std::to_string(m.record.deleted));
    }
  }

 private:
  struct Mine {
    int32_t number;
    int version;
    Record record;
  };

  // Gives the operation's status; tried again while others hold a lock, if locks are not waited
  // for.
  template <typename Operation>
  int patiently(const char *what, Operation operation) {
    int status = operation();
    while (status == kLocked && zk_Db_getLockAttempts() == 1) {
      std::this_thread::sleep_for(std::chrono::microseconds(100));
      status = operation();
    }
    if (status < 0 || status == kLocked || status == 1) fail(what, status);
    return status;
  }
  template <typename Operation>
  void mustSucceed(const char *what, Operation operation) {
    const int status = patiently(what, operation);
    if (status != 0) fail(what, status);
  }
  [[noreturn]] static void fail(const std::string &what, int status) {
    throw Failure{what + " gives " + std::to_string(status) + " " + zk_DbError_text()};
  }
  static void expect(bool holds, const char *what) {
    if (!holds) throw Failure{what};
  }

  Mine &any() { return mine_[random_() % mine_.size()]; }

  void append() {
    Mine m = {0, 0, version(who_, static_cast<int>(mine_.size()), 0)};
    mustSucceed("appendStart", [this] { return zk_Db_appendStart(table_); });
    indexed::assign(table_, m.record);
    mustSucceed("append", [this] { return zk_Db_append(table_); });
    m.number = zk_Db_getRecordNo(table_);
    mine_.push_back(m);
    expectFound(m);
  }

  void goTo(const Mine &m) {
    mustSucceed("goRec", [&] { return zk_Db_goRec(table_, m.number); });
    expect(indexed::current(table_) == m.record, "a record is not as it was written");
  }

  void change() {
    Mine &m = any();
    goTo(m);
    const Record old = m.record;
    m.record = version(who_, static_cast<int>(&m - mine_.data()), ++m.version);
    m.record.code = old.code;
    m.record.deleted = old.deleted;
    indexed::assign(table_, m.record);
    mustSucceed("flush", [this] { return zk_Db_flush(table_); });
    expectFound(m);
    expect(seek("QTY", old) != 0 && seek("TEXT", old) != 0, "the old key is still there");
  }

  void toggle() {
    Mine &m = any();
    goTo(m);
    m.record.deleted = !m.record.deleted;
    (m.record.deleted ? zk_Db_delRec : zk_Db_undelRec)(table_);
    mustSucceed("flush", [this] { return zk_Db_flush(table_); });
    expectFound(m);
  }

  int seek(const std::string &tag, const Record &record) {
    return patiently("seek", [&] {
      return tag == "QTY"
                 ? zk_Db_seekDouble(record.quantity, table_, tags_[tag])
                 : zk_Db_seekStr(indexed::tagCase(tag).key(record).c_str(), table_, tags_[tag]);
    });
  }

  void expectFound(const Mine &m) {
    for (const auto &[tag, number] : tags_) {
      const bool included = indexed::tagCase(tag).included(m.record);
      const int status = seek(tag, m.record);
      if ((status == 0) != included) fail("seek of a record's own key in " + tag, status);
      expect(!included || zk_Db_getRecordNo(table_) == m.number, "seek gives another record");
    }
  }

  // Some steps along the keys that never change.
  void walkAlong() {
    const bool forward = random_() % 2 == 0;
    std::set<std::string> own;
    for (const Mine &m : mine_) own.insert(m.record.code);
    const Mine &start = any();
    expect(seek("CODE", start.record) == 0, "seek");
    std::string last = start.record.code;
    for (int i = 0; i < 20; ++i) {
      const int status = patiently(forward ? "next" : "prev", [&] {
        return (forward ? zk_Db_nextRec : zk_Db_prevRec)(table_, tags_["CODE"]);
      });
      if (status != 0) break;
      const std::string code = support::trimmed(table_, "CODE");
      expect(forward ? last < code : code < last, "the order is wrong");
      const auto passed = own.upper_bound(std::min(last, code));
      expect(passed == own.end() || *passed >= std::max(last, code), "a record was passed over");
      last = code;
    }
  }

  // By keys that change: the own ones do not meanwhile.
  void walkAll() {
    std::map<int32_t, int> met;
    std::string last;
    const auto number = tags_["TEXT"];
    int status = patiently("top", [&] { return zk_Db_topRec(table_, number); });
    while (status == 0) {
      const int32_t record = zk_Db_getRecordNo(table_);
      const auto own = std::find_if(mine_.begin(), mine_.end(),
                                    [record](const Mine &m) { return m.number == record; });
      if (own != mine_.end()) {
        expect(++met[record] == 1, "a record was met twice");
        expect(last < own->record.text, "the order is wrong");
        last = own->record.text;
      }
      status = patiently("next", [&] { return zk_Db_nextRec(table_, number); });
    }
    expect(met.size() == mine_.size(), "a record was not met");
  }

  const int32_t table_;
  const int who_;
  std::mt19937 random_;
  std::map<std::string, int32_t> tags_;
  std::vector<Mine> mine_;
};

// Arguments: who, lock attempts, files.
int indexWorker(const Arguments &arguments) {
  zk_Db_setLockAttempts(std::stoi(arguments[1]));
  Worker worker(openAll({arguments.begin() + 2, arguments.end()}), std::stoi(arguments[0]));
  processes::say("ready");
  processes::hear();
  try {
    const auto end = steady_clock::now() + kWorkTime;
    while (steady_clock::now() < end) worker.work();
  } catch (const Failure &failure) {
    processes::say(failure.text);
    return 1;
  }
  worker.sayWhatThereIs();
  processes::say("done");
  return zk_Db_closeAll();
}
const processes::Role indexWorkerRole("index worker", indexWorker);

// Walks by keys that never change and never go, in both directions; the files were read-only when
// it opened them.
int indexReader(const Arguments &files) {
  const int32_t table = openAll(files);
  processes::say(zk_Db_readOnlyReason(table));
  processes::hear();
  const int32_t tag = zk_Tag_find(table, "CODE");
  std::set<std::string> seen;
  int walks = 0;
  const auto end = steady_clock::now() + kWorkTime;
  while (steady_clock::now() < end) {
    const bool forward = ++walks % 2 == 0;
    std::vector<std::string> codes;
    int status = (forward ? zk_Db_topRec : zk_Db_botRec)(table, tag);
    for (; status == 0; status = (forward ? zk_Db_nextRec : zk_Db_prevRec)(table, tag)) {
      codes.push_back(support::trimmed(table, "CODE"));
    }
    if (!forward) std::reverse(codes.begin(), codes.end());
    const bool ascending =
        std::adjacent_find(codes.begin(), codes.end(), std::greater_equal<>()) == codes.end();
    const bool complete = std::includes(codes.begin(), codes.end(), seen.begin(), seen.end());
    seen.insert(codes.begin(), codes.end());
    if (!seen.empty() && (status == 3 || status == 4))
      status = seekIn(table, "CODE", *seen.begin());
    if (status < 0 || status == kLocked || !ascending || !complete) {
      processes::say("status " + std::to_string(status) + (ascending ? "" : ", out of order") +
                     (complete ? "" : ", not all of them"));
      return 1;
    }
  }
  processes::say(walks > 2 ? "fine" : "hardly came to walk");
  return zk_Db_closeAll();
}
const processes::Role indexReaderRole("index reader", indexReader);

class IndexesAtWork : public IndexSharing {
 protected:
  void makeTable(bool twoFiles) {
    ASSERT_EQ(zk_Db_closeDb(support::createTable(file_, indexed::kFields)), 0);
    const int32_t table = support::openTable(file_, 2);
    const std::vector<std::string> all = {"TEXT", "LIVE", "QTY", "CODE"};
    const auto middle = all.begin() + (twoFiles ? 2 : 4);
    ASSERT_EQ(indexed::createTags(table, "", {all.begin(), middle}), 0);
    files_ = {file_};
    if (twoFiles) {
      ASSERT_EQ(indexed::createTags(table, otherIndex_.c_str(), {middle, all.end()}), 0);
      files_.push_back(otherIndex_);
    }
    ASSERT_EQ(zk_Db_closeDb(table), 0);
  }

  void setWritable(bool writable) {
    for (const std::string &name : files()) {
      support::fs::permissions(path(name), perms::owner_write,
                               writable ? perm_options::add : perm_options::remove);
    }
  }

  void letManyWork(bool twoFiles);

  void expectRight(const Records &records) {
    const int32_t table = openAll(files_);
    for (const char *tag : {"TEXT", "LIVE", "QTY", "CODE"}) {
      EXPECT_EQ(indexed::judge(table, tag, records), "right");
    }
    EXPECT_EQ(zk_Db_closeDb(table), 0);
  }
};

void IndexesAtWork::letManyWork(bool twoFiles) {
  makeTable(twoFiles);
  if (HasFatalFailure()) return;
  std::vector<std::unique_ptr<Process>> workers;
  for (int who = 0; who < 4; ++who) {
    // The last one never waits for a lock.
    Arguments arguments = {std::to_string(who), who < 3 ? "-1" : "1"};
    arguments.insert(arguments.end(), files_.begin(), files_.end());
    workers.push_back(std::make_unique<Process>("index worker", arguments));
    ASSERT_EQ(workers.back()->line().value_or("(none)"), "ready");
  }
  setWritable(false);
  Process reader("index reader", files_);
  ASSERT_EQ(reader.line().value_or("(none)"), "the file is read-only");
  setWritable(true);
  reader.tell("go");
  for (const auto &process : workers) process->tell("go");

  std::map<std::size_t, Record> acknowledged;  // by record number
  for (int who = 0; who < 4; ++who) {
    Process &process = *workers[static_cast<std::size_t>(who)];
    std::string line;
    while ((line = process.line().value_or("(none)")) != "done") {
      std::istringstream words(line);
      std::size_t number = 0;
      int seq = 0;
      int last = 0;
      bool deleted = false;
      ASSERT_TRUE(words >> number >> seq >> last >> deleted) << line;
      Record record = version(who, seq, last);
      record.code = version(who, seq, 0).code;
      record.deleted = deleted;
      EXPECT_TRUE(acknowledged.emplace(number, record).second) << "one record of two programs";
    }
    EXPECT_EQ(process.wait(), 0);
  }
  EXPECT_EQ(reader.line().value_or("(none)"), "fine");
  EXPECT_EQ(reader.wait(), 0);

  Records records;
  const int32_t table = openAll({file_});
  ASSERT_EQ(indexed::readAll(table, records), 3);
  zk_Db_closeDb(table);
  ASSERT_EQ(records.size(), acknowledged.size());
  for (const auto &[number, record] : acknowledged) {
    EXPECT_TRUE(records[number - 1] == record) << "record " << number;
  }
  EXPECT_EQ(found(), "");
  expectRight(records);
}

TEST_F(IndexesAtWork, OnOneIndexFile) { letManyWork(false); }
TEST_F(IndexesAtWork, OnTwoIndexFiles) { letManyWork(true); }

// ---- Programs that are killed

// Appends records and changes its own, and says each thing that was done: "number seq version
// deleted". Ends when the index is refused.
int indexVictim(const Arguments &arguments) {
  const int who = std::stoi(arguments[0]);
  const int32_t table = openAll({arguments.begin() + 1, arguments.end()});
  std::mt19937 random(static_cast<std::mt19937::result_type>(who));
  struct Mine {
    int32_t number;
    int version;
    bool deleted;
  };
  std::vector<Mine> mine;
  processes::say("ready");
  for (;;) {
    const bool appends = mine.empty() || random() % 3 == 0;
    std::size_t seq = appends ? mine.size() : random() % mine.size();
    int status = 0;
    if (appends) {
      status = indexed::append(table, version(who, static_cast<int>(seq), 0));
      if (status == 0) mine.push_back({zk_Db_getRecordNo(table), 0, false});
    } else if (random() % 2 == 0) {
      Record next = version(who, static_cast<int>(seq), ++mine[seq].version);
      status = indexed::change(table, mine[seq].number, next);
    } else {
      mine[seq].deleted = !mine[seq].deleted;
      status = indexed::setDeleted(table, mine[seq].number, mine[seq].deleted);
    }
    if (status != 0) {
      processes::say(std::to_string(status) + zk_DbError_text() + zk_DbError_file() +
                     zk_Db_readOnlyReason(table));
      return 0;
    }
    const Mine &m = mine[seq];
    processes::say(std::to_string(m.number) + " " + std::to_string(seq) + " " +
                   std::to_string(m.version) + " " + std::to_string(m.deleted));
  }
}
const processes::Role indexVictimRole("index victim", indexVictim);

TEST_F(IndexesAtWork, ProgramsThatAreKilled) {
  constexpr int kWriters = 3;
  std::mt19937 random(std::random_device{}());
  int refusals = 0;
  for (int round = 0; round < 12; ++round) {
    SCOPED_TRACE(round);
    for (const std::string &name : files()) support::fs::remove(path(name));
    makeTable(round % 2 == 1);
    std::vector<std::unique_ptr<Process>> writers;
    for (int who = 0; who < kWriters; ++who) {
      Arguments arguments = {std::to_string(who)};
      arguments.insert(arguments.end(), files_.begin(), files_.end());
      writers.push_back(std::make_unique<Process>("index victim", arguments));
    }
    for (const auto &writer : writers) ASSERT_EQ(writer->line().value_or("(none)"), "ready");
    for (const auto &writer : writers) {
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 60'000));
      writer->kill();
    }
    struct Said {
      int who, seq, version;
      bool deleted;
    };
    std::map<std::size_t, Said> said;
    for (int who = 0; who < kWriters; ++who) {
      while (const auto line = writers[static_cast<std::size_t>(who)]->line()) {
        std::istringstream words(*line);
        std::size_t number = 0;
        Said s = {who, 0, 0, false};
        if (words >> number >> s.seq >> s.version >> s.deleted) {
          said[number] = s;
        } else {
          EXPECT_EQ(*line, "-310");
          ++refusals;
        }
      }
    }
    const Records records = indexed::expectRightOrRefused(file_, {otherIndex_});
    ASSERT_GE(records.size(), said.size());
    for (const auto &[number, s] : said) {
      Record record = records.at(number - 1);
      // The last change can have happened without its acknowledgement.
      const bool deletionAhead = record.deleted != s.deleted;
      record.deleted = false;
      EXPECT_TRUE(record == version(s.who, s.seq, s.version) ||
                  (!deletionAhead && record == version(s.who, s.seq, s.version + 1)))
          << number << ": " << record.text;
    }
    if (HasFailure()) return;
  }
  std::cout << refusals << " writers found the index behind\n";
}

}  // namespace
