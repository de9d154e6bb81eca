// INI files: lines, files as they lie on disk, and the cached path over a component of the test's
// own.
#include "zk/ini.h"

#include <cstdio>
#include <cstring>
#include <functional>

#include "tests/fake_com.h"
#include "tests/fake_component.h"
#include "tests/field_lists.h"
#include "tests/file_calls.h"
#include "tests/processes.h"
#include "tests/refusing_memory.h"
#include "tests/support.h"

namespace {

using support::Attempt;
using support::describe;
using support::Fields;
using support::forEveryAllocation;
using support::readFile;
using support::Strings;
using support::writeFile;

std::string textOf(const char *text) { return text != nullptr ? text : "(null)"; }

// "a|b" of a list of strings, which is destroyed.
std::string joined(StrList *list) {
  const Strings owned(list);
  if (list == nullptr) return "(null)";
  std::string text;
  for (const LnkNode *node = list->first; node != nullptr; node = node->next) {
    text += (text.empty() ? "" : "|") + std::string(static_cast<StrListNode *>(node->data)->text);
  }
  return text;
}

// describe() of a list, which is destroyed.
std::string described(FldList *list) {
  const Fields owned(list);
  return list != nullptr ? describe(list) : "(null)";
}

Fields variables(const char *name, const char *value) {
  return Fields(zk_FldList_create(name, 'C', value, ZK_END));
}

// One of every kind that is written differently: number, point, text without a name, null text.
Fields oddVariables() {
  const ZkPoint point = {1, 2, 3};
  FldList *list = zk_FldList_create("text", 'C', "one", "number", 'I', 2, ZK_END);
  zk_FldList_appPoint(list, "point", &point);
  zk_FldList_appChar(list, nullptr, "no name");
  zk_FldList_appChar(list, "nothing", nullptr);
  return Fields(list);
}

// ---- Lines -------------------------------------------------------------------------------------

TEST(IniLines, Headers) {
  const struct {
    const char *line;
    int isHeader;
    const char *name;
    const char *lineAfter;
  } kCases[] = {
      {"  [ Paths ]", 1, "Paths", "[ Paths ]"},
      {"[Paths", 1, "Paths", "[Paths"},
      {"\t[a]b] ; c", 1, "a", "[a]b] ; c"},
      {"[]", 1, "", "[]"},
      {"[", 1, "", "["},
      {"  key = [x]", 0, "", "  key = [x]"},
      {" ; [x]", 0, "", " ; [x]"},
      {"", 0, "", ""},
  };
  for (const auto &c : kCases) {
    SCOPED_TRACE(c.line);
    std::string line = c.line;
    std::string name(line.size() + 1, '?');
    EXPECT_EQ(zk_Ini_getGroupName(line.data(), name.data()), c.isHeader);
    EXPECT_STREQ(name.c_str(), c.name);
    EXPECT_STREQ(line.c_str(), c.lineAfter);
    line = c.line;
    zk_Ini_getGroupName(line.data(), line.data());
    EXPECT_STREQ(line.c_str(), c.name) << "the name over the line";
  }
}

TEST(IniLines, GroupNameSuffix) {
  EXPECT_STREQ(zk_Ini_getGroupNameSuffix("Run.3"), "3");
  EXPECT_STREQ(zk_Ini_getGroupNameSuffix("Run.3.4"), "3.4");
  EXPECT_STREQ(zk_Ini_getGroupNameSuffix("Run."), "");
  EXPECT_STREQ(zk_Ini_getGroupNameSuffix("Run"), "Run");
}

TEST(IniLines, DisplayErrorCountsWhatItPrints) {
  testing::internal::CaptureStdout();
  const int count = zk_Ini_displayError("a%s.ini", "G", "V");
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_EQ(printed, "Error reading Ini File\nFile Name a%s.ini\nGroup Name G\nVariable Name V");
  EXPECT_EQ(count, static_cast<int>(printed.size()));
}

// ---- Files on disk -----------------------------------------------------------------------------

class IniFile : public support::TableTest {
 protected:
  const support::NoComponent noComponent_;
  const std::string file_ = path("a.ini");

  std::string items(const char *group) const {
    return described(zk_Ini_getGroupItems(file_.c_str(), group));
  }
  std::string lines(const char *group, int keepComments) const {
    return joined(zk_Ini_getGroupLines(file_.c_str(), group, keepComments));
  }
  int rewrite(const char *group, const FldList *list) const {
    return zk_Ini_setGroupItems(file_.c_str(), group, list);
  }
};

TEST_F(IniFile, GroupsAreRead) {
  const std::string longValue(2000, 'v');
  writeFile(file_,
            "lost = 1\r\n  [ Paths \r\n  Spool = = C:\\Spool \r\n;Old=1\r\n\r\n \t\r\n"
            "empty =\n=nameless\nno sign\nspool=second\n"
            "[Long]\nlong=" +
                longValue + "\n[Empty]\n;only\n[paths]\nlater=1\n[Last]\nz=1");
  EXPECT_EQ(items("PATHS"), "SPOOL=C'C:\\Spool', SPOOL=C'second'");
  EXPECT_EQ(lines(" paths ", 0), "Spool = = C:\\Spool |empty =|=nameless|no sign|spool=second");
  EXPECT_EQ(lines("Paths", 1),
            "Spool = = C:\\Spool |;Old=1|empty =|=nameless|no sign|spool=second");
  EXPECT_EQ(items("Long"), "LONG=C'" + longValue.substr(0, 1019) + "'");
  EXPECT_EQ(items("Last"), "Z=C'1'");
  EXPECT_EQ(lines("Empty", 0), "(null)");
  EXPECT_EQ(lines("Empty", 1), ";only");
  for (const char *missing : {"Empty", "Path", "Nowhere", ""}) EXPECT_EQ(items(missing), "(null)");
  EXPECT_EQ(zk_Ini_getGroupItems(path("none.ini").c_str(), "Last"), nullptr);
  EXPECT_EQ(zk_Ini_getGroupItems(folder_.string().c_str(), "Last"), nullptr);
}

TEST_F(IniFile, FindGroupStopsBehindTheHeader) {
  writeFile(file_, "[A]\na=1\n[B\nb=2\n");
  FILE *stream = std::fopen(file_.c_str(), "rb");
  char line[16];
  EXPECT_EQ(zk_Ini_findGroup(stream, "b"), 1);
  EXPECT_EQ(zk_File_readLine(stream, line, 15), 1);
  EXPECT_STREQ(line, "b=2");
  EXPECT_EQ(zk_Ini_findGroup(stream, "a"), 0) << "only what follows is searched";
  std::fclose(stream);
}

TEST_F(IniFile, GroupsAreRewritten) {
  const std::string longLine(3000, 'x');
  const Fields odd = oddVariables();
  const std::string written = "TEXT=one\nNUMBER=2\nPOINT=\nNOTHING=\n\n";
  const struct {
    const char *what;
    std::string before;
    const char *group;
    std::string after;
  } kCases[] = {
      {"no file", "", "New", "[New]\n" + written},
      {"appended", "[A]\na=1\n", "New", "[A]\na=1\n[New]\n" + written},
      {"behind a line without end", "[A]\na=1", "New", "[A]\na=1\n[New]\n" + written},
      {"in the middle", "; top\n\n[A]\na=1\n [ b ] ;c\n;old\nold=1\n\n[C]\n;kept\nc = 1", "B",
       "; top\n\n[A]\na=1\n [ b ] ;c\n" + written + "[C]\n;kept\nc = 1"},
      {"the last", "[A]\na=1\n[B]\nb=1\n", "b", "[A]\na=1\n[B]\n" + written},
      {"a header without end", "[B", "b", "[B\n" + written},
      {"only the first of its name", "[B]\n[B]\nb=1\n", "b", "[B]\n" + written + "[B]\nb=1\n"},
      {"long lines", longLine + "\n[B]\nb=1\n[" + longLine + "\nc=" + longLine, "B",
       longLine + "\n[B]\n" + written + "[" + longLine + "\nc=" + longLine},
  };
  for (const auto &c : kCases) {
    SCOPED_TRACE(c.what);
    support::fs::remove(file_);
    if (!c.before.empty()) writeFile(file_, c.before);
    EXPECT_EQ(rewrite(c.group, odd.get()), 1);
    EXPECT_EQ(readFile(file_), c.after);
    EXPECT_EQ(items(c.group), "TEXT=C'one', NUMBER=C'2'");
    EXPECT_EQ(files(), std::vector<std::string>{"a.ini"});
  }
}

TEST_F(IniFile, RewritingKeepsLineEndsAndCutsValues) {
  writeFile(file_, "[A]\r\na=1\r\n[B]\r\nb=1\n");
  const std::string value(2000, 'v');
  EXPECT_EQ(rewrite("a", variables("x", value.c_str()).get()), 1);
  EXPECT_EQ(readFile(file_), "[A]\r\nX=" + value.substr(0, 1024) + "\r\n\r\n[B]\r\nb=1\n");
  EXPECT_EQ(rewrite("a", Fields(zk_FldList_create(ZK_END)).get()), 1);
  EXPECT_EQ(readFile(file_), "[A]\r\n\r\n[B]\r\nb=1\n");
}

TEST_F(IniFile, RewritingThatFailsChangesNothing) {
  const Fields list = variables("x", "1");
  const std::string before = "[A]\na=1\n";
  writeFile(file_, before);
  ASSERT_EQ(zk_File_setReadOnlyAccess(file_.c_str()), 1);
  EXPECT_EQ(rewrite("A", list.get()), 0);
  EXPECT_EQ(readFile(file_), before);
  ASSERT_EQ(zk_File_setReadWriteAccess(file_.c_str()), 1);

  EXPECT_EQ(zk_Ini_setGroupItems(path("no/where.ini").c_str(), "A", list.get()), 0);
  EXPECT_EQ(zk_Ini_setGroupItems(folder_.string().c_str(), "A", list.get()), 0);
  EXPECT_EQ(files(), std::vector<std::string>{"a.ini"});

  // Its own temporary file would be emptied before it is read.
  writeFile(path("zk_tmp.ini"), before);
  EXPECT_EQ(zk_Ini_setGroupItems(path("zk_tmp.ini").c_str(), "A", list.get()), 0);
  EXPECT_EQ(bytesOf("zk_tmp.ini"), before);

  // One that was left behind is no hindrance, and neither is a name in another case.
  EXPECT_EQ(zk_Ini_setGroupItems(path("A.INI").c_str(), "A", list.get()), 1);
  EXPECT_EQ(readFile(file_), "[A]\nX=1\n\n");
  EXPECT_EQ(files(), std::vector<std::string>{"a.ini"});
}

TEST_F(IniFile, MemoryRefused) {
  const std::string before = "[A]\na=1\nb=2\n[B]\nc=3\n";
  const Fields list = variables("x", "1");
  writeFile(file_, before);
  const std::function<std::string()> reads[] = {
      [&] { return items("A"); },
      [&] { return lines("A", 1); },
  };
  for (const auto &read : reads) {
    const std::string all = read();
    forEveryAllocation("reading", [&](Attempt &attempt) {
      const std::string got = attempt.during(read);
      EXPECT_EQ(got, attempt.refused() ? "(null)" : all);
    });
  }
  forEveryAllocation("rewriting", [&](Attempt &attempt) {
    writeFile(file_, before);
    const int result = attempt.during([&] { return rewrite("A", list.get()); });
    EXPECT_EQ(result == 0, attempt.refused());
    EXPECT_EQ(readFile(file_), attempt.refused() ? before : "[A]\nX=1\n\n[B]\nc=3\n");
    EXPECT_EQ(files(), std::vector<std::string>{"a.ini"});
  });
}

// ---- Several programs --------------------------------------------------------------------------

// Counts up in its group.
int countUp(const processes::Arguments &arguments) {
  const int last = std::stoi(arguments.at(2));
  for (int n = 1; n <= last; ++n) {
    const Fields list = variables("n", std::to_string(n).c_str());
    while (zk_Ini_setGroupItems(arguments.at(0).c_str(), arguments.at(1).c_str(), list.get()) ==
           0) {
      // Another program is writing.
    }
  }
  return 0;
}
const processes::Role countingRole("count up", countUp);

TEST_F(IniFile, ProgramsDoNotUndoEachOthersWork) {
  const std::string filler(100'000, 'f');
  writeFile(file_, "[A]\nn=0\n[Filler]\nf=" + filler + "\n[B]\nn=0\n");
  processes::Process a("count up", {file_, "A", "300"});
  processes::Process b("count up", {file_, "B", "300"});
  // Whenever one looks the file is whole.
  for (int i = 0; i < 200 && !HasFailure(); ++i) {
    EXPECT_EQ(items("Filler"), "F=C'" + filler.substr(0, 1022) + "'");
    EXPECT_NE(items("B"), "(null)");
  }
  EXPECT_EQ(a.wait(), 0);
  EXPECT_EQ(b.wait(), 0);
  EXPECT_EQ(items("A") + items("B"), "N=C'300'N=C'300'");
  EXPECT_EQ(files(), std::vector<std::string>{"a.ini"});
}

// The disk is full, or the program is ended, at any of the calls that change files.
TEST_F(IniFile, InterruptedRewriting) {
  const std::string before = "[A]\na=1\n[B]\nb=" + std::string(20'000, 'b') + "\n";
  const std::string after = "[A]\nX=1\n\n" + before.substr(8);
  const Fields list = variables("x", "1");
  using file_calls::Disturbance;
  for (const Disturbance how :
       {Disturbance::kFailOnce, Disturbance::kFailHalfway, Disturbance::kFailHalfwayAndOn,
        Disturbance::kEndBefore, Disturbance::kEndHalfway, Disturbance::kEndAfter}) {
    const bool ends = how >= Disturbance::kEndBefore && how <= Disturbance::kEndAfter;
    if (ends && !processes::hasCopies()) continue;
    bool reached = true;
    for (int n = 1; reached && !HasFailure(); ++n) {
      SCOPED_TRACE(testing::Message() << "call " << n << ", way " << static_cast<int>(how));
      writeFile(file_, before);
      constexpr int kNotReached = 99;
      file_calls::setExitCode(0);
      const auto disturbed = [&] {
        file_calls::disturb(n, how);
        const int result = rewrite("A", list.get());
        return file_calls::calm() ? result : kNotReached;
      };
      const int result = ends ? processes::inACopy(disturbed) : disturbed();
      reached = result != kNotReached;
      const std::string now = readFile(file_);
      if (ends) {
        EXPECT_TRUE(now == before || now == after);
        EXPECT_EQ(rewrite("A", list.get()), 1) << "what was left behind is no hindrance";
      } else {
        EXPECT_EQ(now, result == 0 ? before : after);
      }
      EXPECT_EQ(files(), std::vector<std::string>{"a.ini"});
    }
  }
}

// ---- Cached files ------------------------------------------------------------------------------

class IniCache : public support::TableTest {
 protected:
  static constexpr const char *kFile = "C:\\a.ini";

  void TearDown() override { zk_Alias_del("X"); }

  fake::Component component_;
};

TEST_F(IniCache, Values) {
  zk_Alias_put("X", "abc");
  const std::string longValue(5000, 'v');
  component_.set(kFile, "Group", "plain", "  value ");
  component_.set(kFile, "Group", "blanks", "   ");
  component_.set(kFile, "Group", "empty", "");
  component_.set(kFile, "Group", "alias", " %X%-%Y%");
  component_.set(kFile, "Group", "vanishes", "%%");
  component_.set(kFile, "Group", "long", longValue);
  component_.set(kFile, "Group", "manyAliases", std::string(300, '%') + "%X%");
  EXPECT_EQ(zk_Ini_set(kFile, "Group", "bytes", "\x80\xFF\xC3\xA4\x01"), 0);
  const struct {
    const char *name;
    const char *expanded;
    const char *absolute;
  } kCases[] = {
      {"PLAIN", "value ", "value "},
      {"blanks", nullptr, nullptr},
      {"empty", nullptr, nullptr},
      {"missing", nullptr, nullptr},
      {"alias", "abc-%Y%", "%X%-%Y%"},
      {"vanishes", nullptr, "%%"},
      {"bytes", "\x80\xFF\xC3\xA4\x01", "\x80\xFF\xC3\xA4\x01"},
  };
  for (const auto &c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(textOf(zk_Ini_get(kFile, "GROUP", c.name)), textOf(c.expanded));
    EXPECT_EQ(textOf(zk_Ini_getAbsolute("c:\\A.INI", "group", c.name)), textOf(c.absolute));
  }
  for (const char *name : {"long", "manyAliases"}) {
    EXPECT_LE(std::strlen(textOf(zk_Ini_get(kFile, "Group", name)).c_str()), 512u);
  }
  const std::pair<int32_t, std::size_t> kLengths[] = {
      {1, 1}, {600, 600}, {1024, 1024}, {4096, 4096}, {INT32_MAX, 4096}};
  for (const auto &[given, got] : kLengths) {
    EXPECT_EQ(textOf(zk_Ini_getValue(kFile, "Group", "long", 0, given)), longValue.substr(0, got));
  }
  EXPECT_EQ(zk_Ini_getValue(kFile, "Group", "long", 0, 0), nullptr);
  EXPECT_EQ(zk_Ini_getValue(kFile, "Group", "long", 0, INT32_MIN), nullptr);
  EXPECT_EQ(textOf(zk_Ini_getValue(kFile, "Group", "plain", 0, 3)), "v") << "cut before trimmed";
  EXPECT_EQ(textOf(zk_Ini_getValue(kFile, "Group", "long", 1, 3)).size(), 512u);

  // The result names the next variable.
  component_.set(kFile, "Group", "first", "plain");
  EXPECT_STREQ(zk_Ini_get(kFile, "Group", zk_Ini_get(kFile, "Group", "first")), "value ");
  EXPECT_TRUE(component_.errors.empty());
}

TEST_F(IniCache, SetAndVerify) {
  int32_t status = -1;
  EXPECT_EQ(zk_Ini_setAndVerify(kFile, "G", "a", "Value", &status), 1);
  EXPECT_EQ(status, 0);
  const std::string kept(1024, 'v');
  const std::pair<std::string, int> kCases[] = {
      {"", 0}, {" blank", 0}, {"%X%", 1}, {kept, 1}, {kept + "v", 0}};
  for (const auto &[value, result] : kCases) {
    EXPECT_EQ(zk_Ini_setAndVerify(kFile, "G", "a", value.c_str(), nullptr), result) << value;
  }
  component_.storing = 0;
  EXPECT_EQ(zk_Ini_set(kFile, "G", "a", "1"), 1);
  EXPECT_EQ(zk_Ini_setAndVerify(kFile, "G", "a", "new", &status), 0);
  EXPECT_EQ(status, 1);
}

TEST_F(IniCache, GroupsAsLists) {
  zk_Alias_put("X", std::string(256, 'x').c_str());
  const std::string longValue(3000, 'v');
  component_.set(kFile, "G", "b", "%X%");
  component_.set(kFile, "G", "a", "1");
  component_.set(kFile, "G", "", "nameless");
  component_.set(kFile, "G", "empty", "");
  component_.set(kFile, "G", "long", longValue + "%X%%X%");
  component_.set(kFile, "Left out", "empty", "");
  component_.addGroup(kFile, "No variables");
  const std::string x(256, 'x');
  const std::string absolute = "B=C'%X%', A=C'1', LONG=C'" + longValue + "%X%%X%'";
  const std::string expanded = "B=C'" + x + "', A=C'1', ";
  const std::string longField = "LONG=C'" + longValue + x + x + "'";
  EXPECT_EQ(described(zk_Ini_getGroup(kFile, "g")), expanded + longField);
  EXPECT_EQ(described(zk_Ini_getGroupWithNulls(kFile, "G")), expanded + "EMPTY=C'', " + longField);
  EXPECT_EQ(described(zk_Ini_getGroupAbsolute(kFile, "G")), absolute);
  EXPECT_EQ(described(zk_Ini_getGroupValues(kFile, "G", 0)), absolute);
  EXPECT_EQ(described(zk_Ini_getGroupValues(kFile, "G", 1)), expanded + longField);
  EXPECT_EQ(described(zk_Ini_getGroup(kFile, "left OUT")), "");
  EXPECT_EQ(zk_Ini_getGroup(kFile, "No variables"), nullptr);
  EXPECT_EQ(zk_Ini_getGroup(kFile, "missing"), nullptr);
  EXPECT_EQ(zk_Ini_getGroup("missing", "G"), nullptr);
}

TEST_F(IniCache, GroupsAreStored) {
  using Lines = std::vector<std::string>;
  const Fields odd = oddVariables();
  component_.set(kFile, "G", "old", "1");
  component_.set(kFile, "G", "text", "0");
  component_.addGroup(kFile, "H");
  EXPECT_EQ(zk_Ini_updateGroup(kFile, "g", odd.get()), 1);
  EXPECT_EQ(component_.lines(kFile),
            (Lines{"[G]", "old=1", "text=one", "NUMBER=2", "POINT=", "NOTHING=", "[H]"}));
  EXPECT_EQ(zk_Ini_setGroupEx(kFile, "G", odd.get()), 1);
  EXPECT_EQ(component_.lines(kFile),
            (Lines{"[H]", "[G]", "TEXT=one", "NUMBER=2", "POINT=", "NOTHING="}));

  EXPECT_EQ(zk_Ini_addGroup(kFile, "h"), 1) << "there already";
  EXPECT_EQ(zk_Ini_removeGroup(kFile, "G"), 1);
  EXPECT_EQ(zk_Ini_removeGroup(kFile, "G"), 0);
  EXPECT_EQ(component_.lines(kFile), (Lines{"[H]"}));
  EXPECT_EQ(zk_Ini_setGroupEx(kFile, "H", nullptr), 0);
  EXPECT_EQ(component_.lines(kFile), (Lines{"[H]"})) << "not removed for a null list";

  component_.storing = 0;
  EXPECT_EQ(zk_Ini_updateGroup(kFile, "H", odd.get()), 0);
  EXPECT_EQ(zk_Ini_setGroupEx(kFile, "H", odd.get()), 0);
}

// The result is that of the last field: a failure before it is hidden, and a number's code shows.
TEST_F(IniCache, SetGroupTellsOfTheLastField) {
  const std::string file = path("real.ini");
  writeFile(file, "");
  const auto set = [&](const Fields &list, int updateOnly) {
    return zk_Ini_setGroup(file.c_str(), "G", list.get(), updateOnly);
  };
  EXPECT_EQ(set(Fields(zk_FldList_create(ZK_END)), 0), 1);
  EXPECT_EQ(set(oddVariables(), 0), 1) << "though one has no name";
  EXPECT_EQ(component_.lines(file),
            (std::vector<std::string>{"[G]", "TEXT=one", "NUMBER=2", "POINT=", "NOTHING="}));
  EXPECT_EQ(set(Fields(zk_FldList_create("a", 'C', "1", "b", 'N', 2.5, ZK_END)), 0),
            ZK_FLD_WRONG_TYPE);
  Fields nameless = variables("a", "1");
  zk_FldList_appChar(nameless.get(), nullptr, "x");
  EXPECT_EQ(set(nameless, 0), 0);

  // Only what has a value is there to be updated.
  component_.ini.clear();
  component_.set(file, "G", "old", "1");
  component_.set(file, "G", "empty", "");
  const Fields update(zk_FldList_create("old", 'C', "2", "empty", 'C', "2", "new", 'I', 2, ZK_END));
  EXPECT_EQ(set(update, 1), 1);
  EXPECT_EQ(component_.lines(file), (std::vector<std::string>{"[G]", "old=2", "empty="}));
  const std::string longValue(2000, 'v');
  EXPECT_EQ(set(variables("old", longValue.c_str()), 1), 1);
  EXPECT_EQ(component_.lines(file)[1], "old=" + longValue.substr(0, 512));

  component_.storing = 0;
  EXPECT_EQ(set(update, 0), 0);
  component_.storing = 1;
  component_.calls.clear();
  ASSERT_EQ(zk_File_setReadOnlyAccess(file.c_str()), 1);
  EXPECT_EQ(set(update, 0), 0);
  EXPECT_EQ(zk_Ini_setGroup(path("none.ini").c_str(), "G", update.get(), 0), 0);
  EXPECT_TRUE(component_.calls.empty()) << "nothing is written";
}

TEST_F(IniCache, GroupNamesAndSuffixes) {
  const auto next = [](const char *prefix) {
    return std::string(zk_Ini_getNextIncrSuffix(kFile, prefix));
  };
  EXPECT_EQ(next("Run"), "0");
  EXPECT_EQ(zk_Ini_findAllGroups(kFile), nullptr);
  for (const char *group :
       {"Run.0", "RUN.3", "Run.x", "Other.41", "Ru", "neg.-5", "top.2147483647", "alone"}) {
    component_.addGroup(kFile, group);
  }
  EXPECT_EQ(joined(zk_Ini_findPrefixGroups(kFile, "run")), "Run.0|RUN.3|Run.x");
  EXPECT_EQ(joined(zk_Ini_findPrefixGroups(kFile, "Run.0.1")), "(null)");
  EXPECT_EQ(joined(zk_Ini_findAllGroups(kFile)),
            "Run.0|RUN.3|Run.x|Other.41|Ru|neg.-5|top.2147483647|alone");
  const std::pair<const char *, const char *> kCases[] = {
      {"Run", "4"},   {"Run.x", "1"}, {"neg", "-4"},      {"top", "2147483648"},
      {"alone", "1"}, {"none", "0"},  {"", "2147483648"}, {"other", "42"}};
  for (const auto &[prefix, suffix] : kCases) EXPECT_EQ(next(prefix), suffix) << prefix;
  // A search that fails leaves the other digits. That is meant.
  component_.failure = E_FAIL;
  EXPECT_EQ(next("Run"), "02");
  EXPECT_EQ(zk_Ini_findAllGroups(kFile), nullptr);
}

TEST_F(IniCache, TheCacheItself) {
  component_.set(kFile, "G", "a", "1");
  EXPECT_EQ(zk_Ini_reload(kFile), 1);
  EXPECT_EQ(zk_Ini_reload("missing"), 0);
  EXPECT_EQ(zk_Ini_resetCache(), 1);
  EXPECT_EQ(zk_Ini_viewCache(), 1);
  EXPECT_EQ(component_.calls, (std::vector<std::string>{"Revalidate(C:\\a.ini)",
                                                        "Reload(C:\\a.ini)", "Revalidate(missing)",
                                                        "Reload(missing)", "Reset()", "View()"}));
}

// What every cached function gives when the component cannot do it.
TEST_F(IniCache, Failures) {
  const std::string file = path("real.ini");
  writeFile(file, "[G]\n");
  const char *name = file.c_str();
  const Fields list = variables("a", "1");
  const auto expectFailures = [&] {
    int32_t status = -1;
    EXPECT_EQ(zk_Ini_get(name, "G", "a"), nullptr);
    EXPECT_EQ(zk_Ini_getAbsolute(name, "G", "a"), nullptr);
    EXPECT_EQ(zk_Ini_set(name, "G", "a", "1"), 1);
    EXPECT_EQ(zk_Ini_setAndVerify(name, "G", "a", "1", &status), 0);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(zk_Ini_setGroup(name, "G", list.get(), 0), 0);
    EXPECT_EQ(zk_Ini_getGroup(name, "G"), nullptr);
    EXPECT_EQ(zk_Ini_setGroupEx(name, "G", list.get()), 0);
    EXPECT_EQ(zk_Ini_addGroup(name, "G"), 0);
    EXPECT_EQ(zk_Ini_updateGroup(name, "G", list.get()), 0);
    EXPECT_EQ(zk_Ini_removeGroup(name, "G"), 0);
    EXPECT_EQ(zk_Ini_findAllGroups(name), nullptr);
    EXPECT_EQ(zk_Ini_reload(name), 0);
    EXPECT_EQ(zk_Ini_resetCache(), 0);
    EXPECT_EQ(zk_Ini_viewCache(), 0);
  };
  component_.set(file, "G", "a", "1");
  component_.failure = E_FAIL;
  expectFailures();
  EXPECT_EQ(component_.errors.size(), component_.calls.size()) << "each was told of";
  component_.failure = S_OK;
  component_.interfaces.cache = false;
  expectFailures();
  zk_Global_destroyData();
  component_.available = false;
  expectFailures();
  zk_Global_destroyData();
  component_.available = component_.interfaces.cache = true;
  EXPECT_STREQ(zk_Ini_get(name, "G", "a"), "1");
}

TEST_F(IniCache, MemoryRefused) {
  const std::string file = path("real.ini");
  writeFile(file, "[G]\n");
  const char *name = file.c_str();
  const std::string value = std::string(100, 'v') + "%X%";
  component_.set(file, "G", "a", value);
  component_.set(file, "G", "b", value);
  component_.addGroup(file, std::string(100, 'h'));
  const Fields list = variables("a", "1");
  const std::function<bool()> kReads[] = {
      [&] { return zk_Ini_get(name, "G", "a") != nullptr; },
      [&] { return zk_Ini_getAbsolute(name, "G", "a") != nullptr; },
      [&] { return described(zk_Ini_getGroup(name, "G")).size() > 200; },
      [&] { return joined(zk_Ini_findAllGroups(name)).size() > 100; },
      [&] { return zk_Ini_set(name, "G", "a", "1") == 0; },
      [&] { return zk_Ini_setGroup(name, "G", list.get(), 1) == 1; },
      [&] { return zk_Ini_updateGroup(name, "G", list.get()) == 1; },
  };
  int number = 0;
  for (const auto &read : kReads) {
    SCOPED_TRACE(number++);
    forEveryAllocation("cached", [&](Attempt &attempt) {
      component_.set(file, "G", "a", value);
      const bool done = attempt.during(read);
      EXPECT_EQ(done, !attempt.refused());
    });
  }
}

}  // namespace
