// Changes of an indexed table that end at each of their writes, because the program dies there or
// because the disk is full: what had been acknowledged is there, and each index is right or
// refused, never wrong.
#include <map>
#include <numeric>

#include "tests/file_calls.h"
#include "tests/indexed_table.h"
#include "tests/processes.h"

namespace {

using file_calls::Disturbance;
using indexed::Record;
using indexed::Records;

// A call, and what it does to the records.
struct Step {
  std::function<int(int32_t table)> run;
  std::function<void(Records &)> apply;
};

struct Scenario {
  const char *what;
  int mode;
  std::vector<std::string> productionTags;
  std::vector<std::string> otherTags;  // of X.CDX; none: no such file
  Records records;
  std::vector<Step> steps;
  bool alone = false;  // its steps need the table for themselves
};

Record record(int i, std::size_t noteSize = 0) {
  return {"c" + std::to_string(i * 7 % 10) + std::to_string(i), i * 37 % 100, indexed::longText(i),
          std::string(noteSize, 'n'), false};
}

Records records(int count) {
  Records made;
  for (int i = 0; i < count; ++i) made.push_back(record(i));
  return made;
}

Step append(const Record &added) {
  return {[=](int32_t table) { return indexed::append(table, added); },
          [=](Records &all) { all.push_back(added); }};
}

Step change(int32_t number, const Record &changed) {
  return {[=](int32_t table) { return indexed::change(table, number, changed); },
          [=](Records &all) { all[static_cast<std::size_t>(number - 1)] = changed; }};
}

Step setDeleted(int32_t number, bool deleted) {
  return {[=](int32_t table) { return indexed::setDeleted(table, number, deleted); },
          [=](Records &all) { all[static_cast<std::size_t>(number - 1)].deleted = deleted; }};
}

Step pack() {
  return {[](int32_t table) { return zk_Db_packDb(table); },
          [](Records &all) { std::erase_if(all, [](const Record &r) { return r.deleted; }); }};
}

Step createTags(const std::string &file, const std::vector<std::string> &names) {
  return {[=](int32_t table) { return indexed::createTags(table, file.c_str(), names); },
          [](Records &) {}};
}

class Interrupted : public support::TableTest {
 protected:
  const std::string file_ = path("T.DBF");
  const std::string otherIndex_ = path("X.CDX");

  std::vector<Scenario> scenarios() const {
    std::vector<Scenario> all;
    Scenario appends = {"appends", 0, {"TEXT", "QTY", "LIVE"}, {}, records(5), {}};
    for (int i = 5; i < 10; ++i) appends.steps.push_back(append(record(i)));
    all.push_back(appends);

    appends.what = "appends, exclusive";
    appends.mode = 2;
    appends.steps.resize(3);
    all.push_back(appends);

    appends.what = "appends, others only read";
    appends.mode = 1;
    all.push_back(appends);

    appends.what = "appends, two index files";
    appends.mode = 0;
    appends.productionTags = {"QTY", "LIVE"};
    appends.otherTags = {"TEXT", "CODE"};
    appends.steps.resize(2);
    all.push_back(appends);

    Scenario changes = {"changes of keys", 0, {"TEXT", "QTY"}, {"LIVE"}, records(10), {}};
    for (int i : {2, 7}) changes.steps.push_back(change(i, record(i + 50)));
    all.push_back(changes);

    Scenario shrinking = {"a tag that shrinks", 0, {"TEXT"}, {}, records(6), {}};
    for (int i : {5, 1, 3, 2, 4, 6}) {
      Record plain = record(i - 1);
      plain.text = "same";
      shrinking.steps.push_back(change(i, plain));
    }
    all.push_back(shrinking);

    Scenario deletions = {"deletions", 0, {"TEXT", "LIVE"}, {"QTY"}, records(2), {}};
    deletions.steps = {setDeleted(2, true), setDeleted(1, true), setDeleted(2, false)};
    all.push_back(deletions);

    Scenario memos = {"memos with keys", 0, {"TEXT", "LIVE"}, {}, records(4), {}};
    memos.steps = {append(record(20, 500)), change(2, record(21, 100)), change(2, record(22, 900))};
    all.push_back(memos);

    for (const int mode : {0, 2}) {
      Scenario packing = {"pack", mode, {"TEXT", "QTY"}, {"LIVE"}, records(8), {}, true};
      for (std::size_t i : {1, 4, 5}) packing.records[i].deleted = true;
      for (Record &r : packing.records) r.note = r.code;
      packing.steps = {pack(), append(record(30))};
      all.push_back(packing);
    }
    all.push_back({"an index over another",
                   0,
                   {"TEXT"},
                   {"LIVE", "QTY"},
                   records(8),
                   {createTags(otherIndex_, {"LIVE"}), append(record(9))},
                   true});
    all.push_back({"a tag for the production index",
                   0,
                   {"TEXT", "LIVE"},
                   {},
                   records(8),
                   {createTags("", {"CODE", "QTY"}), append(record(9))},
                   true});
    all.push_back({"a new production index",
                   2,
                   {},
                   {},
                   records(4),
                   {createTags("", {"CODE", "TEXT"}), append(record(9))},
                   true});
    return all;
  }

  // The files that the steps begin with.
  void prepare(const Scenario &scenario) {
    for (const std::string &name : files()) support::fs::remove(path(name));
    ASSERT_EQ(zk_Db_closeDb(support::createTable(file_, indexed::kFields)), 0);
    const int32_t table = support::openTable(file_, 2);
    for (std::size_t i = 0; i < scenario.records.size(); ++i) {
      ASSERT_EQ(indexed::append(table, scenario.records[i]), 0);
      if (!scenario.records[i].deleted) continue;
      ASSERT_EQ(indexed::setDeleted(table, static_cast<int32_t>(i + 1), true), 0);
    }
    if (!scenario.productionTags.empty()) {
      ASSERT_EQ(indexed::createTags(table, "", scenario.productionTags), 0);
    }
    if (!scenario.otherTags.empty()) {
      ASSERT_EQ(indexed::createTags(table, otherIndex_.c_str(), scenario.otherTags), 0);
    }
    ASSERT_EQ(zk_Db_closeDb(table), 0);
    original_.clear();
    for (const std::string &name : files()) original_[name] = bytesOf(name);
    states_ = {scenario.records};
    for (const Step &step : scenario.steps) {
      states_.push_back(states_.back());
      step.apply(states_.back());
    }
  }

  void restore() {
    for (const std::string &name : files()) {
      if (!original_.contains(name)) support::fs::remove(path(name));
    }
    for (const auto &[name, bytes] : original_) support::writeFile(path(name), bytes);
  }

  int32_t open(const Scenario &scenario) const {
    const int32_t table = support::openTable(file_, scenario.mode);
    if (!scenario.otherTags.empty()) {
      EXPECT_GE(zk_Db_openNdx(table, otherIndex_.c_str()), 100);
    }
    return table;
  }

  virtual void run(const Scenario &scenario, Disturbance how) = 0;
  void runAll(Disturbance how) {
    for (const Scenario &scenario : scenarios()) {
      SCOPED_TRACE(std::string(scenario.what) + ", mode " + std::to_string(scenario.mode));
      run(scenario, how);
      if (HasFailure()) return;
    }
  }

  // The records are those of the steps that were done, or of one more; in exclusive mode, where
  // appends are collected, maybe without the last ones. One record may be `torn`.
  void expectState(const Scenario &scenario, std::size_t done, const Records &found,
                   std::ptrdiff_t torn = 0) {
    const bool exclusive = scenario.mode == 2;
    for (std::size_t i = exclusive ? 0 : done; i < states_.size() && i < done + 2; ++i) {
      const Records &state = states_[i];
      if (found.size() > state.size() || (!exclusive && found.size() < state.size())) continue;
      const auto same = std::inner_product(found.begin(), found.end(), state.begin(),
                                           std::ptrdiff_t{0}, std::plus<>(), std::equal_to<>());
      if (std::ssize(found) - same <= torn) return;
    }
    ADD_FAILURE() << found.size() << " records after " << done << " steps";
  }

  std::map<std::string, std::string> original_;
  std::vector<Records> states_;  // after so many steps
};

// ---- The program dies

class DyingWriter : public Interrupted {
 protected:
  static constexpr int kFinished = 200;
  static constexpr int kFailed = 201;

  void SetUp() override {
    if (!processes::hasCopies()) GTEST_SKIP() << "no copies of a running program here";
  }

  // Does the steps in another program that dies at the n-th call: how many were acknowledged, or
  // kFinished.
  int dieAt(const Scenario &scenario, int n, Disturbance how) {
    return processes::inACopy([&] {
      const int32_t table = open(scenario);
      file_calls::setExitCode(0);
      file_calls::disturb(n, how);
      for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
        if (scenario.steps[i].run(table) != 0) return kFailed;
        file_calls::setExitCode(static_cast<int>(i + 1));
      }
      if (zk_Db_closeDb(table) != 0) return kFailed;
      return file_calls::calm() ? kFailed : kFinished;
    });
  }

  void run(const Scenario &scenario, Disturbance how) override {
    // A program that has the table open meanwhile.
    const bool observed = !scenario.alone && scenario.mode == 0 && how == Disturbance::kEndBefore;
    prepare(scenario);
    if (HasFatalFailure()) return;
    for (int n = 1; n < 1000; ++n) {
      SCOPED_TRACE(testing::Message() << "call " << n);
      restore();
      const int32_t observer = observed ? open(scenario) : -1;
      if (observed) expectNothingWrong(observer);
      const int done = dieAt(scenario, n, how);
      ASSERT_NE(done, kFailed);
      if (done == kFinished) return;
      if (observed) expectNothingWrong(observer);
      zk_Db_closeAll();
      expectState(scenario, static_cast<std::size_t>(done),
                  indexed::expectRightOrRefused(file_, {otherIndex_}),
                  how == Disturbance::kEndHalfway ? 1 : 0);
      if (HasFailure()) return;
    }
  }

  static void expectNothingWrong(int32_t table) {
    Records records;
    EXPECT_EQ(indexed::readAll(table, records), 3);
    indexed::judgeAll(table, records);
  }
};

TEST_F(DyingWriter, BeforeACall) { runAll(Disturbance::kEndBefore); }
TEST_F(DyingWriter, HalfWayOfACall) { runAll(Disturbance::kEndHalfway); }
TEST_F(DyingWriter, AfterACall) { runAll(Disturbance::kEndAfter); }

// ---- The disk is full

class FullDisk : public Interrupted {
 protected:
  void run(const Scenario &scenario, Disturbance how) override {
    prepare(scenario);
    if (HasFatalFailure()) return;
    for (int n = 1; n < 1000; ++n) {
      SCOPED_TRACE(testing::Message() << "call " << n);
      restore();
      int32_t table = open(scenario);
      file_calls::disturb(n, how);
      std::size_t done = 0;
      int status = 0;
      while (done < scenario.steps.size() && status == 0) {
        status = scenario.steps[done].run(table);
        done += status == 0 ? 1 : 0;
      }
      if (status == 0) {
        status = zk_Db_closeDb(table);
        table = -1;
      }
      if (!file_calls::calm()) {
        EXPECT_EQ(status, 0);
        return;
      }
      EXPECT_LT(status, 0) << "a failure that nobody was told of";
      const bool later = table >= 0 && goOn(table);
      if (how == Disturbance::kFailOnce && scenario.mode == 0 && !scenario.alone && n <= 2) {
        EXPECT_TRUE(later) << "nothing was changed yet";
      }
      zk_Db_closeAll();
      Records records = indexed::expectRightOrRefused(file_, {otherIndex_});
      if (later) {
        ASSERT_FALSE(records.empty());
        EXPECT_EQ(records.back().code, "later");
        records.pop_back();
      }
      expectState(scenario, done, records, how == Disturbance::kFailHalfwayAndOn ? 1 : 0);
      if (HasFailure()) return;
    }
  }

  // There is space again: what the handle says is right or refused; whether an append was done.
  static bool goOn(int32_t table) {
    Records records;
    const int status = indexed::readAll(table, records);
    if (status != 3) {  // what was changed cannot be written any more
      EXPECT_EQ(status, indexed::kBehind);
      return false;
    }
    indexed::judgeAll(table, records);
    const int appended = indexed::append(table, {"later", 1, "later", "", false});
    EXPECT_TRUE(appended == 0 || appended == indexed::kBehind) << appended;
    return appended == 0;
  }
};

TEST_F(FullDisk, Once) { runAll(Disturbance::kFailOnce); }
TEST_F(FullDisk, OnceHalfWay) { runAll(Disturbance::kFailHalfway); }
TEST_F(FullDisk, HalfWayAndOn) { runAll(Disturbance::kFailHalfwayAndOn); }
TEST_F(FullDisk, FromThereOn) { runAll(Disturbance::kFailFromThere); }

}  // namespace
