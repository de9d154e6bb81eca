// Several programs, and several handles of one program, with one table.
#include <chrono>
#include <map>
#include <sstream>
#include <thread>

#include "tests/processes.h"
#include "tests/support.h"

namespace {

using processes::Arguments;
using processes::Process;
using std::chrono::steady_clock;
using support::assign;
using support::fieldText;
using support::openTable;
using support::trimmed;

constexpr char kFields[] = "NAME C 20, NOTE M";
constexpr int kLocked = 50;
constexpr int kOpening = -60;
constexpr int kWriting = -120;
constexpr int kParameter = -930;

// ---- The other program

std::string statusText(int status) { return std::to_string(status); }

std::string openResult(int32_t table) {
  if (table < 0) return statusText(zk_DbError_code());
  ZkDbInfo info;
  zk_Db_getInfo(table, &info);
  return info.readOnly ? "read-only" : "writable";
}

int appendNamed(int32_t table, const std::string &name) {
  int status = zk_Db_appendStart(table);
  if (status != 0) return status;
  assign(table, {{"NAME", name}, {"NOTE", "note of " + name}});
  return zk_Db_append(table);
}

int renameRecord(int32_t table, int32_t number, const std::string &name) {
  int status = zk_Db_goRec(table, number);
  if (status != 0) return status;
  assign(table, {{"NAME", name}, {"NOTE", "note of " + name}});
  return zk_Db_flush(table);
}

std::string nameAt(int32_t table, int32_t number) {
  const int status = zk_Db_goRec(table, number);
  if (status != 0) return statusText(status);
  const std::string name = trimmed(table, "NAME");
  return fieldText(table, "NOTE") == "note of " + name ? name : name + " with a foreign note";
}

// Does what it is told with the table of its argument: "open MODE", "append NAME", ...
int peer(const Arguments &arguments) {
  zk_Db_setLockAttempts(1);
  int32_t table = -1;
  for (std::string line = processes::hear(); !line.empty(); line = processes::hear()) {
    std::istringstream words(line);
    std::string order;
    std::string name;
    int32_t number = 0;
    words >> order;
    if (order == "append") words >> name;
    if (order != "append") words >> number >> name;
    if (order == "open") {
      table = openTable(arguments[0], number);
      processes::say(openResult(table));
    } else if (order == "close") {
      processes::say(statusText(zk_Db_closeDb(table)));
    } else if (order == "append") {
      processes::say(statusText(appendNamed(table, name)));
    } else if (order == "rename") {
      processes::say(statusText(renameRecord(table, number, name)));
    } else if (order == "read") {
      processes::say(nameAt(table, number));
    } else if (order == "count") {
      processes::say(std::to_string(zk_Db_getRecordCount(table)));
    } else if (order == "pack") {
      processes::say(statusText(zk_Db_packDb(table)));
    } else if (order == "create") {
      processes::say(openResult(support::createTable(arguments[0], kFields)));
    }
  }
  return zk_Db_closeAll();
}
const processes::Role peerRole("peer", peer);

class Sharing : public support::TableTest {
 protected:
  Sharing() { zk_Db_setLockAttempts(1); }
  ~Sharing() override { zk_Db_setLockAttempts(-1); }

  // A closed table with records of these names.
  void makeTable(const std::vector<std::string> &names) {
    const int32_t table = support::createTable(file_, kFields);
    ASSERT_GE(table, 0);
    for (const std::string &name : names) ASSERT_EQ(appendNamed(table, name), 0);
    ASSERT_EQ(zk_Db_closeDb(table), 0);
  }

  const std::string file_ = path("T.DBF");
};

// ---- Open modes

TEST_F(Sharing, OpenModesGoTogetherOrNot) {
  const std::string refused = statusText(kOpening);
  // [mode of the holder][mode of the second opener]
  const std::string expected[3][3] = {
      {"writable", refused, refused},
      {"read-only", refused, refused},  // others may read
      {refused, refused, refused},
  };
  makeTable({"a"});
  for (int holder = 0; holder < 3; ++holder) {
    for (int second = 0; second < 3; ++second) {
      SCOPED_TRACE(testing::Message() << "mode " << second << " against " << holder);
      {
        Process other("peer", {file_});
        ASSERT_EQ(other.ask("open " + std::to_string(holder)), "writable");
        const int32_t table = openTable(file_, second);
        EXPECT_EQ(openResult(table), expected[holder][second]) << "two programs";
        EXPECT_EQ(table >= 0, expected[holder][second] != refused);
        zk_Db_closeDb(table);
        EXPECT_EQ(other.ask("close"), "0");
      }
      const int32_t first = openTable(file_, holder);
      ASSERT_EQ(openResult(first), "writable") << "nothing is left of the other program";
      const int32_t table = openTable(file_, second);
      EXPECT_EQ(openResult(table), expected[holder][second]) << "one program";
      zk_Db_closeDb(table);
      EXPECT_EQ(zk_Db_closeDb(first), 0);
    }
  }
  for (int mode : {-1, 3, 1000}) {
    EXPECT_EQ(openTable(file_, mode), -1) << mode;
    EXPECT_EQ(zk_DbError_code(), kParameter) << mode;
  }
  EXPECT_EQ(openResult(openTable(file_)), "writable") << "the mode was for that open only";
}

TEST_F(Sharing, WhatMayNotBeWrittenIsReadOnly) {
  makeTable({"a", "b"});
  const auto setWritable = [this](const char *name, bool writable) {
    support::fs::permissions(
        path(name),
        writable ? support::fs::perms::owner_write
                 : support::fs::perms::owner_write | support::fs::perms::group_write |
                       support::fs::perms::others_write,
        writable ? support::fs::perm_options::add : support::fs::perm_options::remove);
  };
  for (const char *protectedFile : {"T.DBF", "T.FPT"}) {
    setWritable(protectedFile, false);
    for (int mode : {0, 1, 2}) {
      SCOPED_TRACE(testing::Message() << protectedFile << " in mode " << mode);
      const int32_t table = openTable(file_, mode);
      EXPECT_EQ(openResult(table), "read-only");
      EXPECT_EQ(nameAt(table, 2), "b");
      EXPECT_EQ(renameRecord(table, 1, "x"), kWriting);
      EXPECT_EQ(appendNamed(table, "x"), kWriting);
      EXPECT_EQ(zk_Db_packDb(table), kWriting);
      EXPECT_EQ(zk_Db_closeDb(table), 0);
    }
    setWritable(protectedFile, true);
  }
  EXPECT_EQ(openResult(openTable(file_)), "writable");
}

// A shared opener beside one that denies writing sees what that one does.
TEST_F(Sharing, AReaderFollowsTheWriter) {
  makeTable({"a"});
  Process other("peer", {file_});
  ASSERT_EQ(other.ask("open 1"), "writable");
  const int32_t table = openTable(file_);
  ASSERT_EQ(openResult(table), "read-only");
  EXPECT_EQ(other.ask("append b"), "0");
  EXPECT_EQ(other.ask("rename 1 c"), "0");
  EXPECT_EQ(zk_Db_getRecordCount(table), 2);
  EXPECT_EQ(nameAt(table, 1), "c");
  EXPECT_EQ(nameAt(table, 2), "b");
  EXPECT_EQ(appendNamed(table, "d"), kWriting);
}

// ---- What one writes the other sees

TEST_F(Sharing, TheFirstRecordsOfAnEmptyTable) {
  makeTable({});
  Process other("peer", {file_});
  ASSERT_EQ(other.ask("open 0"), "writable");
  const int32_t table = openTable(file_);
  EXPECT_EQ(other.ask("append theirs"), "0");
  EXPECT_EQ(appendNamed(table, "ours"), 0);
  EXPECT_EQ(other.ask("count"), "2");
  EXPECT_EQ(zk_Db_getRecordNo(table), 2);
  EXPECT_EQ(nameAt(table, 1), "theirs");
  EXPECT_EQ(other.ask("read 2"), "ours");
}

TEST_F(Sharing, EveryMoveReadsTheFileAgain) {
  makeTable({"a", "b", "c"});
  // The second handle is another program's, then this program's own.
  for (const bool ownHandle : {false, true}) {
    SCOPED_TRACE(ownHandle ? "two handles of one program" : "two programs");
    Process other("peer", {file_});
    const int32_t second = ownHandle ? openTable(file_) : -1;
    if (!ownHandle) {
      ASSERT_EQ(other.ask("open 0"), "writable");
    }
    const auto rename = [&](int32_t number, const std::string &name) {
      return ownHandle ? statusText(renameRecord(second, number, name))
                       : other.ask("rename " + std::to_string(number) + " " + name);
    };
    const auto append = [&](const std::string &name) {
      return ownHandle ? statusText(appendNamed(second, name)) : other.ask("append " + name);
    };

    const int32_t table = openTable(file_);
    const int32_t count = zk_Db_getRecordCount(table);
    const std::string before = trimmed(table, "NAME");
    ASSERT_EQ(rename(1, "first"), "0");
    EXPECT_EQ(trimmed(table, "NAME"), before) << "the buffer stays until a move";
    EXPECT_EQ(zk_Db_topRec(table, -1), 0);
    EXPECT_EQ(trimmed(table, "NAME"), "first");
    EXPECT_EQ(fieldText(table, "NOTE"), "note of first");

    ASSERT_EQ(rename(2, "second"), "0");
    EXPECT_EQ(zk_Db_nextRec(table, -1), 0);
    EXPECT_EQ(trimmed(table, "NAME"), "second");
    ASSERT_EQ(rename(1, "again"), "0");
    EXPECT_EQ(zk_Db_prevRec(table, -1), 0);
    EXPECT_EQ(trimmed(table, "NAME"), "again");

    // The end is where the file ends now.
    ASSERT_EQ(zk_Db_botRec(table, -1), 0);
    ASSERT_EQ(append("late"), "0");
    EXPECT_EQ(zk_Db_nextRec(table, -1), 0);
    EXPECT_EQ(trimmed(table, "NAME"), "late");
    EXPECT_EQ(zk_Db_nextRec(table, -1), 3);
    EXPECT_EQ(zk_Db_getRecordCount(table), count + 1);

    // The whole record is written: the later of two changes wins.
    ASSERT_EQ(zk_Db_topRec(table, -1), 0);
    ASSERT_EQ(rename(1, "earlier"), "0");
    assign(table, {{"NAME", "later"}, {"NOTE", "note of later"}});
    EXPECT_EQ(zk_Db_flush(table), 0);
    EXPECT_EQ(ownHandle ? nameAt(second, 1) : other.ask("read 1"), "later");
    EXPECT_EQ(zk_Db_closeAll(), 0);
  }
}

// ---- Locks

// Holds a byte range until it is told to end, or for so many milliseconds.
int holder(const Arguments &arguments) {
  const processes::ByteLock lock(arguments[0], std::stoull(arguments[1]),
                                 std::stoull(arguments[2]));
  processes::say(lock.held() ? "held" : "refused");
  if (arguments.size() > 3) {
    std::this_thread::sleep_for(processes::Milliseconds(std::stoi(arguments[3])));
  } else {
    processes::hear();
  }
  return 0;
}
const processes::Role holderRole("holder", holder);

class Locks : public Sharing {
 protected:
  // Starts a program that holds the range.
  std::unique_ptr<Process> hold(const char *name, std::uint64_t start, std::uint64_t length = 1,
                                int milliseconds = 0) {
    Arguments arguments = {path(name), std::to_string(start), std::to_string(length)};
    if (milliseconds > 0) arguments.push_back(std::to_string(milliseconds));
    auto process = std::make_unique<Process>("holder", arguments);
    EXPECT_EQ(process->line().value_or("(none)"), "held");
    return process;
  }
};

constexpr std::uint64_t kAppendByte = 0x7FFFFFFE;
constexpr std::uint64_t kRecordBase = 0x40000000;
constexpr std::uint64_t kFileRange = 0x3FFFFFFF;
constexpr std::uint64_t kHeaderLength = 32 * 3 + 1;
constexpr std::uint64_t kRecordLength = 1 + 20 + 10;

TEST_F(Locks, StandAtTheirPlaces) {
  constexpr std::uint64_t kSecondRecord = kRecordBase + kHeaderLength + kRecordLength;
  struct Case {
    const char *what;
    unsigned char byte28;
    const char *file;
    std::uint64_t start, length;
    int append, rename1, rename2, rename3;
  };
  const Case cases[] = {
      {"append", 0, "T.DBF", kAppendByte, 1, kLocked, 0, 0, 0},
      {"record 2", 0, "T.DBF", kSecondRecord, 1, 0, 0, kLocked, 0},
      {"between the records", 0, "T.DBF", kSecondRecord + 1, kRecordLength - 1, 0, 0, 0, 0},
      {"file", 0, "T.DBF", kRecordBase, kFileRange, kLocked, kLocked, kLocked, kLocked},
      {"record 2, other place", 1, "T.DBF", kAppendByte - 2, 1, 0, 0, kLocked, 0},
      {"append, other place", 1, "T.DBF", kAppendByte, 1, kLocked, 0, 0, 0},
      {"not locked with byte 28", 1, "T.DBF", kSecondRecord, 1, 0, 0, 0, 0},
      {"memo file", 0, "T.FPT", kAppendByte, 1, kLocked, kLocked, kLocked, kLocked},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.what);
    makeTable({"a", "b", "c"});
    support::patchFile(file_, 28, std::string(1, static_cast<char>(c.byte28)));
    const auto lock = hold(c.file, c.start, c.length);
    const int32_t table = openTable(file_);
    ASSERT_EQ(openResult(table), "writable");
    const auto start = steady_clock::now();
    EXPECT_EQ(renameRecord(table, 1, "x"), c.rename1);
    if (c.rename1 == kLocked) {
      EXPECT_EQ(zk_DbError_code(), 0) << "locked is no error";
      EXPECT_EQ(zk_Db_nextRec(table, -1), kLocked);
      EXPECT_EQ(zk_Db_getRecordNo(table), 1) << "stays with its change";
      EXPECT_EQ(trimmed(table, "NAME"), "x");
    }
    const int32_t others = openTable(file_);
    EXPECT_EQ(renameRecord(others, 2, "y"), c.rename2);
    const int32_t third = openTable(file_);
    EXPECT_EQ(renameRecord(third, 3, "z"), c.rename3);
    const int32_t fourth = openTable(file_);
    EXPECT_EQ(appendNamed(fourth, "new"), c.append);
    EXPECT_EQ(nameAt(fourth, 2), c.rename2 == 0 ? "y" : "b") << "reading needs no lock";
    EXPECT_LT(steady_clock::now() - start, std::chrono::milliseconds(900)) << "at once";

    // What was refused is still pending, and goes through when the lock is gone.
    EXPECT_EQ(lock->ask("done"), "(none)");
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    EXPECT_EQ(nameAt(fourth, 1), "x");
    EXPECT_EQ(zk_Db_getRecordCount(fourth), c.append == 0 ? 4 : 3);
    EXPECT_EQ(zk_Db_closeAll(), 0);
    EXPECT_EQ(nameAt(openTable(file_), 3), "z");
    EXPECT_EQ(zk_Db_closeAll(), 0);
  }
}

TEST_F(Locks, AreWaitedForAsTheAttemptsSay) {
  makeTable({"a"});
  struct Case {
    int attempts;
    int heldFor;  // milliseconds; 0: to the end
    int status;
    int least, most;  // milliseconds
  };
  const Case cases[] = {
      {0, 0, kLocked, 0, 500}, {1, 0, kLocked, 0, 500}, {2, 0, kLocked, 900, 2500},
      {2, 300, 0, 100, 900},   {-1, 700, 0, 500, 2500},
  };
  const int32_t table = openTable(file_);
  for (const Case &c : cases) {
    SCOPED_TRACE(testing::Message() << c.attempts << " attempts, held for " << c.heldFor);
    const auto lock = hold("T.DBF", kAppendByte, 1, c.heldFor);
    zk_Db_setLockAttempts(c.attempts);
    const auto start = steady_clock::now();
    const auto elapsed = [&] {
      return std::chrono::duration_cast<processes::Milliseconds>(steady_clock::now() - start)
          .count();
    };
    ASSERT_EQ(zk_Db_appendStart(table), 0);
    EXPECT_EQ(zk_Db_append(table), c.status);
    EXPECT_GE(elapsed(), c.least);
    EXPECT_LT(elapsed(), c.most);
  }
  EXPECT_EQ(zk_Db_getRecordCount(table), 3);
}

// ---- Pack and create need the table for themselves

TEST_F(Sharing, PackAndCreateWaitForNobody) {
  makeTable({"a", "b", "c"});
  const int32_t table = openTable(file_);
  ASSERT_EQ(zk_Db_goRec(table, 2), 0);
  ASSERT_EQ(zk_Db_delRec(table), 0);
  ASSERT_EQ(zk_Db_flush(table), 0);
  const std::string bytes = bytesOf("T.DBF");
  const std::vector<std::string> untouched = {"T.DBF", "T.FPT"};

  Process other("peer", {file_});
  ASSERT_EQ(other.ask("open 0"), "writable");
  EXPECT_EQ(zk_Db_packDb(table), kLocked);
  EXPECT_EQ(other.ask("pack"), "50");
  EXPECT_EQ(support::createTable(file_, kFields), -1);
  EXPECT_EQ(zk_DbError_code(), -20);
  EXPECT_EQ(zk_Db_closeDb(table), 0);
  EXPECT_EQ(support::createTable(file_, kFields), -1);
  EXPECT_EQ(bytesOf("T.DBF"), bytes);
  EXPECT_EQ(files(), untouched);
  EXPECT_EQ(other.ask("append d"), "0") << "the table works as before";
  EXPECT_EQ(other.ask("pack"), "0") << "the only opener now";
  EXPECT_EQ(other.ask("count"), "3");

  // After packing the others come in again, also this program's own second handle.
  const int32_t first = openTable(file_);
  const int32_t second = openTable(file_);
  ASSERT_GE(second, 0);
  EXPECT_EQ(other.ask("close"), "0");
  zk_Db_setLockAttempts(-1);
  EXPECT_EQ(zk_Db_packDb(second), kLocked) << "waiting for oneself would never end";
  EXPECT_EQ(support::createTable(file_, kFields), -1);
  EXPECT_EQ(zk_Db_closeDb(first), 0);
  EXPECT_EQ(zk_Db_packDb(second), 0);
  EXPECT_EQ(appendNamed(second, "e"), 0);
  EXPECT_EQ(other.ask("open 0"), "writable");
  EXPECT_EQ(other.ask("read 4"), "e");
  EXPECT_EQ(files(), untouched);
}

// Of programs that create one table at once, one makes it and the others are refused or come later;
// what is there afterwards is a table.
TEST_F(Sharing, CreatingAtOnce) {
  for (int round = 0; round < 5; ++round) {
    std::vector<std::unique_ptr<Process>> creators;
    for (int i = 0; i < 3; ++i)
      creators.push_back(std::make_unique<Process>("peer", Arguments{file_}));
    for (const auto &creator : creators) creator->tell("create");
    int created = 0;
    for (const auto &creator : creators) {
      const std::string result = creator->line().value_or("(none)");
      EXPECT_TRUE(result == "writable" || result == "-20" || result == "-60") << result;
      created += result == "writable" ? 1 : 0;
    }
    EXPECT_GE(created, 1);
    creators.clear();
    const int32_t table = openTable(file_);
    EXPECT_EQ(appendNamed(table, "a"), 0);
    EXPECT_EQ(nameAt(table, 1), "a");
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    EXPECT_EQ(files(), (std::vector<std::string>{"T.DBF", "T.FPT"}));
  }
}

// ---- Many at work

constexpr char kWorkFields[] = "WHO N 3, SEQ N 8, VER N 6, TEXT C 24, NOTE M";
constexpr processes::Milliseconds kWorkTime(1500);

std::string workText(int who, int seq, int version) {
  return "w" + std::to_string(who) + " s" + std::to_string(seq) + " v" + std::to_string(version);
}

std::string workNote(int who, int seq, int version) {
  const std::string text = workText(who, seq, version) + ";";
  std::string note;
  for (int i = (seq * 7 + version * 53) % 40; i > 0; --i) note += text;
  return note;
}

void assignWork(int32_t table, int who, int seq, int version) {
  zk_Db_assignFldInt(table, "WHO", who);
  zk_Db_assignFldInt(table, "SEQ", seq);
  zk_Db_assignFldInt(table, "VER", version);
  assign(table, {{"TEXT", workText(who, seq, version)}, {"NOTE", workNote(who, seq, version)}});
}

// Whether text and memo belong to the record's numbers.
testing::AssertionResult isWhole(int32_t table) {
  const int who = zk_Db_getFldInt(table, "WHO");
  const int seq = zk_Db_getFldInt(table, "SEQ");
  const int version = zk_Db_getFldInt(table, "VER");
  if (trimmed(table, "TEXT") == workText(who, seq, version) &&
      fieldText(table, "NOTE") == workNote(who, seq, version)) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure()
         << "record " << zk_Db_getRecordNo(table) << ": " << workText(who, seq, version) << ", "
         << trimmed(table, "TEXT") << ", " << fieldText(table, "NOTE");
}

// Appends records of its own and changes them now and then; says how many records it has and the
// sum of their versions, or what failed.
int worker(const Arguments &arguments) {
  const int who = std::stoi(arguments[1]);
  const int32_t table = openTable(arguments[0]);
  std::vector<std::pair<int32_t, int>> mine;  // record number, version
  int versions = 0;
  const auto end = steady_clock::now() + kWorkTime;
  while (steady_clock::now() < end) {
    int status = zk_Db_appendStart(table);
    assignWork(table, who, static_cast<int>(mine.size()), 0);
    if (status == 0) status = zk_Db_append(table);
    mine.emplace_back(zk_Db_getRecordNo(table), 0);
    if (status == 0 && mine.size() % 2 == 0) {
      const std::size_t seq = mine.size() * 7 / 11;
      status = zk_Db_goRec(table, mine[seq].first);
      if (status == 0 && !isWhole(table)) status = -1;
      assignWork(table, who, static_cast<int>(seq), ++mine[seq].second);
      if (status == 0) status = zk_Db_flush(table);
      ++versions;
    }
    if (status != 0) {
      processes::say("status " + statusText(status));
      return 1;
    }
  }
  processes::say(std::to_string(mine.size()) + " " + std::to_string(versions));
  return zk_Db_closeAll();
}
const processes::Role workerRole("worker", worker);

// Looks whether what the workers said is in the table, and nothing else.
void expectWorkOf(const std::string &file, const std::vector<std::string> &said) {
  struct Found {
    std::map<int, int> versionOf;
    int versions = 0;
  };
  std::vector<Found> found(said.size());
  const int32_t table = openTable(file);
  int32_t records = 0;
  for (int status = zk_Db_topRec(table, -1); status == 0; status = zk_Db_nextRec(table, -1)) {
    ++records;
    ASSERT_TRUE(isWhole(table));
    const std::size_t who = static_cast<std::size_t>(zk_Db_getFldInt(table, "WHO"));
    const int version = zk_Db_getFldInt(table, "VER");
    EXPECT_TRUE(found.at(who).versionOf.emplace(zk_Db_getFldInt(table, "SEQ"), version).second)
        << "doubled";
    found[who].versions += version;
  }
  for (std::size_t who = 0; who < said.size(); ++who) {
    const Found &f = found[who];
    EXPECT_EQ(std::to_string(f.versionOf.size()) + " " + std::to_string(f.versions), said[who]);
    EXPECT_TRUE(f.versionOf.empty() ||
                f.versionOf.rbegin()->first == static_cast<int>(f.versionOf.size()) - 1);
  }
  EXPECT_EQ(zk_Db_getRecordCount(table), records);
  EXPECT_EQ(support::littleAt(support::readFile(file), 4, 4), static_cast<std::uint64_t>(records));
}

// For tests of programs of several systems: makes the workers' table, or looks at it: the table,
// then what each worker said.
int tableMaker(const Arguments &arguments) {
  return zk_Db_closeDb(support::createTable(arguments[0], kWorkFields));
}
const processes::Role tableMakerRole("table maker", tableMaker);

int inspector(const Arguments &arguments) {
  expectWorkOf(arguments[0], Arguments(arguments.begin() + 1, arguments.end()));
  zk_Db_closeAll();
  return testing::Test::HasFailure() ? 1 : 0;
}
const processes::Role inspectorRole("inspector", inspector);

TEST_F(Sharing, NothingIsLostDoubledOrTorn) {
  constexpr int kWorkers = 4;
  ASSERT_EQ(zk_Db_closeDb(support::createTable(file_, kWorkFields)), 0);
  std::vector<std::unique_ptr<Process>> workers;
  for (int who = 0; who < kWorkers; ++who) {
    workers.push_back(std::make_unique<Process>("worker", Arguments{file_, std::to_string(who)}));
  }
  std::vector<std::string> said;
  for (const auto &process : workers) {
    said.push_back(process->line().value_or("(none)"));
    EXPECT_EQ(process->wait(), 0);
  }
  expectWorkOf(file_, said);
}

// Opens and closes, and each time finds every record.
int visitor(const Arguments &arguments) {
  const int expected = std::stoi(arguments[1]);
  zk_Db_setLockAttempts(1);
  int visits = 0;
  const auto end = steady_clock::now() + kWorkTime;
  while (steady_clock::now() < end) {
    const int32_t table = openTable(arguments[0]);
    if (table < 0) {
      if (zk_DbError_code() == kOpening) continue;  // being packed
      processes::say("open " + statusText(zk_DbError_code()));
      return 1;
    }
    std::map<int, int> live;
    for (int status = zk_Db_topRec(table, -1); status == 0; status = zk_Db_nextRec(table, -1)) {
      if (const auto whole = isWhole(table); !whole) {
        processes::say(whole.message());
        return 1;
      }
      if (!zk_Db_deleted(table)) ++live[zk_Db_getFldInt(table, "SEQ")];
    }
    if (static_cast<int>(live.size()) != expected) {
      processes::say("saw " + std::to_string(live.size()));
      return 1;
    }
    ++visits;
    zk_Db_closeDb(table);
    std::this_thread::sleep_for(processes::Milliseconds(2));
  }
  processes::say(visits > 0 ? "fine" : "never came in");
  return zk_Db_closeAll();
}
const processes::Role visitorRole("visitor", visitor);

TEST_F(Sharing, PackingWhileOthersComeAndGo) {
  constexpr int kRecords = 12;
  int32_t table = support::createTable(file_, kWorkFields);
  for (int seq = 0; seq < kRecords; ++seq) {
    ASSERT_EQ(zk_Db_appendStart(table), 0);
    assignWork(table, 0, seq, 0);
    ASSERT_EQ(zk_Db_append(table), 0);
  }
  std::vector<std::unique_ptr<Process>> visitors;
  for (int i = 0; i < 3; ++i) {
    visitors.push_back(
        std::make_unique<Process>("visitor", Arguments{file_, std::to_string(kRecords)}));
  }
  // A new copy of the first record goes to the end before the old one is deleted, so that every
  // record is there at any time.
  int packs = 0;
  const auto end = steady_clock::now() + kWorkTime;
  while (steady_clock::now() < end) {
    ASSERT_EQ(zk_Db_topRec(table, -1), 0);
    while (zk_Db_deleted(table)) ASSERT_EQ(zk_Db_nextRec(table, -1), 0);
    const int32_t number = zk_Db_getRecordNo(table);
    ASSERT_TRUE(isWhole(table));
    ASSERT_EQ(zk_Db_appendStart(table), 0);
    ASSERT_EQ(zk_Db_append(table), 0);
    ASSERT_EQ(zk_Db_goRec(table, number), 0);
    ASSERT_EQ(zk_Db_delRec(table), 0);
    const int status = zk_Db_packDb(table);
    ASSERT_TRUE(status == 0 || status == kLocked) << status << " " << zk_DbError_text();
    packs += status == 0 ? 1 : 0;
  }
  EXPECT_GT(packs, 0);
  for (const auto &process : visitors) {
    EXPECT_EQ(process->line().value_or("(none)"), "fine");
    EXPECT_EQ(process->wait(), 0);
  }
  EXPECT_EQ(zk_Db_packDb(table), 0);
  EXPECT_EQ(zk_Db_getRecordCount(table), kRecords);
  EXPECT_EQ(files(), (std::vector<std::string>{"T.DBF", "T.FPT"}));
}

}  // namespace
