#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/support.h"
#include "zk_baselib.h"

namespace {

using support::readText;
using support::writeFile;
using support::fs::exists;

// Each test runs inside its folder and gets the defaults.
class Diag : public support::TableTest {
 protected:
  void SetUp() override {
    start_ = support::fs::current_path();
    support::fs::current_path(folder_);
    reset();
  }
  void TearDown() override {
    reset();
    support::fs::current_path(start_);
  }

  static void reset() {
    zk_Diag_disable();
    zk_Diag_setDiagOutput(ZK_DIAG_OUTPUT_CONSOLE);
    zk_Diag_setFileName(nullptr);
  }

  // What `body` writes to standard output.
  template <typename Body>
  static std::string output(Body body) {
    testing::internal::CaptureStdout();
    body();
    return testing::internal::GetCapturedStdout();
  }
  // What `body` writes to standard error.
  template <typename Body>
  static std::string errors(Body body) {
    testing::internal::CaptureStderr();
    body();
    return testing::internal::GetCapturedStderr();
  }

 private:
  support::fs::path start_;
};

constexpr char kPerror[] = "Failed to open the diagnostics output file\n: ";

TEST_F(Diag, LevelAndConditionReturnWhatWasInForce) {
  struct Case {
    int16_t set, result, level;
  };
  for (const Case &c : {Case{3, 0, 3}, {4, 3, 3}, {-1, 3, 3}, {1, 3, 1}, {0, 1, 0}, {2, 0, 2}}) {
    EXPECT_EQ(zk_Diag_setLevel(c.set), c.result) << c.set;
    EXPECT_EQ(ZK_DiagCurrentLevel, c.level) << c.set;
  }
  EXPECT_EQ(zk_Diag_setCondition(0xFFFFFFFFu), 0u);
  EXPECT_EQ(zk_Diag_setCondition(0x20000u), 0xFFFFFFFFu);
  EXPECT_EQ(zk_Diag_disable(), 0x20000u);
  EXPECT_EQ(zk_Diag_getLevel(), 0);
  EXPECT_EQ(zk_Diag_getCondition(), 0u);
}

TEST_F(Diag, LineNamesTheModuleInLowerCase) {
  struct Case {
    const char *source, *line;
  };
  std::string systemCase = "\xC3\x84.C (7) text\n";
  zk_Str_toLower(systemCase.data(), systemCase.c_str());
  const Case cases[] = {{"SRC\\POINT.cpp", "point.cpp (7) text\n"},
                        {"C:\\HOST/Dir.D\\A_B.CPP", "a_b.cpp (7) text\n"},
                        {"C:HOST.C", "host.c (7) text\n"},
                        {"treelist.cpp", "treelist.cpp (7) text\n"},
                        {"SRC\\", " (7) text\n"},
                        {nullptr, " (7) text\n"},
                        {"\xC3\x84.C", systemCase.c_str()}};
  for (const Case &c : cases) {
    EXPECT_EQ(output([&] { zk_Diag_putOutputMsg("text", c.source, 7); }), c.line);
  }
  const std::string longName(2000, 'X');
  const std::string line = output([&] { zk_Diag_putOutputMsg("text", longName.c_str(), 7); });
  EXPECT_EQ(line, std::string(511, 'x') + " (7) text\n");
  EXPECT_EQ(output([] {
              zk_Diag_putOutputMsg(nullptr, "A.C", 1);
              zk_Diag_putOutputMsg("", "A.C", 1);
            }),
            "");
}

TEST_F(Diag, FormattedTextComesFromTheSharedBuffer) {
  char *buffer = zk_Diag_getDiagMsgBuf();
  EXPECT_EQ(buffer, ZK_DiagMsgBuf);
  const int length = std::snprintf(buffer, sizeof ZK_DiagMsgBuf, "%d%% records\n", 12);
  EXPECT_EQ(output([&] { zk_Diag_putOutput(length, "never read", "SRC\\HOST.cpp", 3); }),
            "host.cpp (3) 12% records\n\n");
  // The buffer itself, from its middle on, is a valid message.
  EXPECT_EQ(output([&] { zk_Diag_putOutputMsg(buffer + 4, "SRC\\HOST.cpp", 4); }),
            "host.cpp (4) records\n\n");
}

TEST_F(Diag, LongMessagesBecomeAWarningOrAreCut) {
  struct Case {
    std::size_t length;
    int16_t level;
    uint32_t condition;
    bool warned;
  };
  const Case cases[] = {{4096, 3, 1, false},
                        {4097, 3, 0x100, true},
                        {100000, 3, 1, true},
                        {4097, 2, 1, false},
                        {4097, 3, 0, false}};
  for (const Case &c : cases) {
    SCOPED_TRACE(c.length);
    zk_Diag_setLevel(c.level);
    zk_Diag_setCondition(c.condition);
    const std::string message(c.length, 'm');
    const std::string text =
        output([&] { zk_Diag_putOutputMsg(message.c_str(), "SRC\\HOST.cpp", 9); });
    if (!c.warned) {
      EXPECT_EQ(text, "host.cpp (9) " + std::string(4096, 'm') + "\n");
      continue;
    }
    // Twice, on purpose: from the library's module and under the caller's name.
    const std::string warning =
        "Buffer size " + std::to_string(c.length) + " too big for diagnostics in host.cpp at 9\n";
    EXPECT_EQ(ZK_DiagMsgBuf, warning);
    EXPECT_EQ(text.rfind("diag.cpp (", 0), 0u) << text;
    const std::size_t first = text.find(") ");
    ASSERT_NE(first, std::string::npos);
    EXPECT_EQ(text.substr(first + 2), warning + "\nhost.cpp (9) " + warning + "\n");
  }
}

TEST_F(Diag, ModesChooseConsoleAndLog) {
  struct Case {
    int16_t mode;
    bool console, file;
  };
  const Case cases[] = {{ZK_DIAG_OUTPUT_NONE, false, false},
                        {ZK_DIAG_OUTPUT_CONSOLE, true, false},
                        {ZK_DIAG_OUTPUT_FILE, false, true},
                        {ZK_DIAG_OUTPUT_BOTH, true, true},
                        {9, false, false}};  // stored without a check
  for (const Case &c : cases) {
    SCOPED_TRACE(c.mode);
    ASSERT_EQ(zk_Diag_setOutput(ZK_DIAG_OUTPUT_FILE, "trace.log"), 1);
    EXPECT_EQ(zk_Diag_setDiagOutput(c.mode), c.mode);
    const std::string text = output([] {
      zk_Diag_putOutputMsg("one", "A.C", 1);
      zk_Diag_putOutputMsg("two", "A.C", 2);
    });
    const std::string lines = "a.c (1) one\na.c (2) two\n";
    EXPECT_EQ(text, c.console ? lines : "");
    EXPECT_EQ(readText("trace.log"), c.file ? lines : "");
  }
}

TEST_F(Diag, SetOutputCreatesOrEmptiesTheLog) {
  writeFile("trace.log", "old");
  char name[512];
  ASSERT_EQ(zk_Diag_setOutput(ZK_DIAG_OUTPUT_BOTH, "trace.log"), 1);
  EXPECT_EQ(readText("trace.log"), "");
  EXPECT_EQ(zk_Diag_getOutput(name), ZK_DIAG_OUTPUT_BOTH);
  EXPECT_STREQ(name, "trace.log");
  // The held name is a valid argument.
  ASSERT_EQ(zk_Diag_setOutput(ZK_DIAG_OUTPUT_FILE, ZK_DiagCurrentFileName), 1);
  EXPECT_STREQ(zk_Diag_getFileName(), "trace.log");
  zk_Diag_setFileName(zk_Diag_getFileName());
  EXPECT_STREQ(zk_Diag_getFileName(), "trace.log");

  ASSERT_EQ(zk_Diag_setOutput(ZK_DIAG_OUTPUT_NONE, "ignored.log"), 1);
  EXPECT_EQ(zk_Diag_getOutput(name), ZK_DIAG_OUTPUT_NONE);
  EXPECT_STREQ(name, "");
  EXPECT_STREQ(zk_Diag_getFileName(), "trace.log");
  EXPECT_EQ(zk_Diag_setOutput(7, "ignored.log"), 0);
  EXPECT_EQ(zk_Diag_getDiagOutput(), ZK_DIAG_OUTPUT_CONSOLE);
  EXPECT_FALSE(exists("ignored.log"));

  const std::string longName(600, 'n');
  zk_Diag_setFileName(longName.c_str());
  zk_Diag_setDiagOutput(ZK_DIAG_OUTPUT_FILE);
  EXPECT_EQ(zk_Diag_getOutput(name), ZK_DIAG_OUTPUT_FILE);
  EXPECT_EQ(name, std::string(511, 'n'));
}

TEST_F(Diag, MissingNameFallsBackToTheDefaultLog) {
  for (const char *name : {"", static_cast<const char *>(nullptr)}) {
    writeFile("ZK_DIAG.LOG", "old");
    EXPECT_EQ(output([&] { EXPECT_EQ(zk_Diag_setOutput(ZK_DIAG_OUTPUT_FILE, name), 1); }),
              "\nzk_Diag_setOutput: Diagnostics log file name specified is invalid."
              "\nDefaulting to log file: ZK_DIAG.LOG\n");
    EXPECT_EQ(readText("ZK_DIAG.LOG"), "");
    EXPECT_STREQ(zk_Diag_getFileName(), "ZK_DIAG.LOG");
  }
}

TEST_F(Diag, LogThatCannotBeOpenedFallsBackToTheConsole) {
  // When it is set, when it disappears afterwards, and when no name was ever given.
  EXPECT_EQ(errors([] {
              EXPECT_EQ(zk_Diag_setOutput(ZK_DIAG_OUTPUT_FILE, "no/such.log"), 0);
            }).rfind(kPerror, 0),
            0u);
  EXPECT_EQ(zk_Diag_getDiagOutput(), ZK_DIAG_OUTPUT_CONSOLE);

  for (const char *name : {"no/such.log", ""}) {
    SCOPED_TRACE(name);
    zk_Diag_setFileName(name);
    zk_Diag_setDiagOutput(ZK_DIAG_OUTPUT_FILE);
    const std::string text = output([] {
      EXPECT_EQ(errors([] { zk_Diag_putOutputMsg("lost", "A.C", 1); }).rfind(kPerror, 0), 0u);
      zk_Diag_putOutputMsg("kept", "A.C", 2);
    });
    EXPECT_EQ(text, "a.c (2) kept\n");
    EXPECT_EQ(zk_Diag_getDiagOutput(), ZK_DIAG_OUTPUT_CONSOLE);
  }
}

TEST_F(Diag, PointerStoredByTheHostIsUsedAndLeftAlone) {
  char own[] = "host.log";
  zk_Diag_setFileName("trace.log");
  ZK_DiagCurrentFileName = own;
  zk_Diag_setDiagOutput(ZK_DIAG_OUTPUT_FILE);
  zk_Diag_putOutputMsg("text", "A.C", 1);
  EXPECT_EQ(readText("host.log"), "a.c (1) text\n");
  zk_Diag_setFileName("other.log");  // must not free the array
  EXPECT_STREQ(own, "host.log");
  EXPECT_STREQ(ZK_DiagCurrentFileName, "other.log");
}

TEST_F(Diag, LogNamesUseBothSeparators) {
  support::fs::create_directory("Logs");
  ASSERT_EQ(zk_Diag_setOutput(ZK_DIAG_OUTPUT_FILE, "logs\\trace.log"), 1);
  zk_Diag_putOutputMsg("text", "A.C", 1);
  EXPECT_EQ(readText("Logs/trace.log"), "a.c (1) text\n");
}

// The test of level and bit is repeated at the exit.
TEST_F(Diag, FamiliesTraceUnderTheirOwnBitFromLevelThree) {
  struct Case {
    int16_t level;
    uint32_t condition;
    bool traced;
  };
  const Case cases[] = {{3, ZK_DIAG_LNKLIST, true},
                        {2, ZK_DIAG_LNKLIST, false},
                        {3, ~ZK_DIAG_LNKLIST, false},
                        {3, 0xFFFFFFFFu, true}};
  LnkList *list = zk_LnkList_create((void *)0);
  for (const Case &c : cases) {
    zk_Diag_setLevel(c.level);
    ZK_DiagCurrentCondition = c.condition;
    const std::string text = output([&] { zk_LnkList_delAll(list, nullptr); });
    EXPECT_EQ(text.find("lnklist.cpp (") == 0, c.traced);
    EXPECT_EQ(text.find(") Entering zk_LnkList_delAll.\nlnklist.cpp (") != std::string::npos,
              c.traced);
    EXPECT_EQ(text.find(") Exiting zk_LnkList_delAll.\n") != std::string::npos, c.traced);
  }
  zk_Diag_setLevel(3);
  zk_Diag_setCondition(ZK_DIAG_LNKLIST);
  static int element = 0;
  zk_LnkList_insEnd(list, &element);
  const auto stopTracing = [](void *) { zk_Diag_disable(); };
  const std::string text = output([&] { zk_LnkList_delAll(list, stopTracing); });
  EXPECT_NE(text.find("Entering zk_LnkList_delAll."), std::string::npos);
  EXPECT_EQ(text.find("Exiting zk_LnkList_delAll."), std::string::npos);
  zk_LnkList_destroy(list, nullptr);
}

}  // namespace
