#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/fake_com.h"
#include "tests/fake_component.h"
#include "zk_baselib.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Lines = std::vector<std::string>;
using Settings = std::vector<std::pair<const char *, const char *>>;

// The session variables are the process's: each test begins and ends without any.
class System : public testing::Test {
 protected:
  void SetUp() override {
    zk_Env_resetSes();
    before_ = fs::current_path();
    root_ = fs::temp_directory_path() / (std::string("zk_sys_test_") + zk_Fname_createTemp());
    fs::create_directory(root_);
    fs::current_path(root_);
  }
  void TearDown() override {
    zk_Env_resetSes();
    zk_Host_setProductDatabase(nullptr);
    fs::current_path(before_);
    fs::remove_all(root_);
  }

  static void setSession(const Settings &settings) {
    for (const auto &[name, value] : settings) zk_Env_setSes(name, value);
  }
  static std::string session(const char *name) {
    const char *value = zk_Env_getSes(name);
    return value != nullptr ? value : "(none)";
  }
  std::string path(const std::string &name) const { return (root_ / name).string(); }

  // Runs this program again, in the test that writes its arguments into `file` after `delay`.
  static std::string child(const std::string &file, const std::string &delay) {
    return "--gtest_brief=1 --gtest_also_run_disabled_tests "
           "--gtest_filter=Child.DISABLED_WritesItsArguments -- "
           "\"" +
           file + "\" " + delay + " ";
  }
  static std::string program();

 private:
  fs::path before_;
  fs::path root_;
};
using Processes = System;

const fs::path kStart = fs::current_path();

std::string System::program() {
  const fs::path self = testing::internal::GetArgvs()[0];
  return "\"" + (kStart / self).string() + "\"";
}

Lines linesOf(const std::string &file) {
  std::ifstream in(file);
  Lines lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

template <typename Condition>
bool soon(Condition condition) {
  for (int i = 0; i < 1000 && !condition(); ++i) std::this_thread::sleep_for(10ms);
  return condition();
}

// ---- What other processes do in these tests -----------------------------------------------------

Lines argumentsOfChild() {
  const auto all = testing::internal::GetArgvs();
  const auto mark = std::find(all.begin(), all.end(), "--");
  return Lines(mark == all.end() ? mark : mark + 1, all.end());
}

TEST(Child, DISABLED_WritesItsArguments) {
  const Lines arguments = argumentsOfChild();
  ASSERT_GE(arguments.size(), 2u);
  std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(arguments[1])));
  {
    std::ofstream out(arguments[0] + ".new");
    for (std::size_t i = 2; i < arguments.size(); ++i) out << "<" << arguments[i] << ">\n";
  }
  fs::rename(arguments[0] + ".new", arguments[0]);
}

TEST(Child, DISABLED_OpensAFile) {
  const Lines arguments = argumentsOfChild();
  std::ofstream(arguments[1]) << zk_Global_openFileinNotepad(arguments[0].c_str());
}

// ---- Directories -------------------------------------------------------------------------------

std::string specBelow(char *out) { return zk_Sys_getSpecDir(out, "Sub\\Dir"); }
std::string versionName(char *out) { return zk_Sys_getVersionBinName("A.exe", nullptr, out); }
std::string versionNameBelow(char *out) { return zk_Sys_getVersionBinName("A.exe", "De/", out); }

TEST_F(System, DirectoriesAreLookedUp) {
  const auto spec = [](char *out) -> std::string { return zk_Sys_getSpecDir(out, nullptr); };
  const auto temp = [](char *out) -> std::string { return zk_Sys_getTempDir(out, 0); };
  struct {
    const char *what;
    Settings session, ini;
    std::string (*call)(char *out);
    const char *result;
  } const cases[] = {
      {"net", {}, {}, [](char *out) -> std::string { return zk_Sys_getNetDir(out); }, ""},
      {"net",
       {},
       {{"JN", "N:\\Ini\\"}},
       [](char *out) -> std::string { return zk_Sys_getNetDir(out); },
       "n:\\ini\\"},
      {"net name",
       {{"JN", "N:/Ses"}},
       {{"JN", "N:\\Ini"}},
       [](char *out) -> std::string { return zk_Sys_getNetName("A.Txt", out); },
       "n:/ses\\A.Txt"},
      {"local",
       {{"JNWS", "C:\\Plant"}},
       {{"JNWS", "D:\\"}},
       [](char *out) -> std::string { return zk_Sys_getLocalDir(out); },
       "c:\\plant\\"},
      {"local name",
       {},
       {{"JNWS", "D:\\"}},
       [](char *out) -> std::string { return zk_Sys_getLocalName("a", out); },
       "d:\\a"},
      {"local",
       {{"JN", "N:\\"}},
       {},
       [](char *out) -> std::string { return zk_Sys_getLocalDir(out); },
       "n:\\"},
      {"specs", {{"JNSPECS", "C:\\S"}}, {{"JNSPECS", "D:\\"}}, specBelow, "c:\\s\\sub\\dir\\"},
      {"specs", {{"JN", "N:\\Net"}}, {}, specBelow, "n:\\net\\specs\\sub\\dir\\"},
      {"specs", {}, {{"JNSPECS", "D:\\"}}, spec, "d:\\"},
      {"spec name",
       {},
       {},
       [](char *out) -> std::string { return zk_Sys_getSpecName("a", out); },
       "specs\\a"},
      {"bin", {}, {}, [](char *out) -> std::string { return zk_Sys_getBinDir(out); }, "bin\\"},
      {"bin",
       {{"ZK_BIN_DIR", "C:\\Ses"}, {"JN", "N:"}},
       {},
       [](char *out) -> std::string { return zk_Sys_getBinDir(out); },
       "n:\\bin\\"},
      {"bin name",
       {},
       {{"ZK_DEV_BIN_DIR", "C:\\Dev"}, {"ZK_BIN_DIR", "C:\\B"}},
       [](char *out) -> std::string { return zk_Sys_getBinName("a", out); },
       "c:\\dev\\a"},
      {"version", {}, {{"ZK_BIN_DIR", "C:\\B"}}, versionName, "c:\\b\\A.exe"},
      {"version", {}, {{"ZK_BIN_DIR", "C:\\B"}}, versionNameBelow, "c:\\b\\de/A.exe"},
      {"version",
       {{"ACADVER", "R14"}},
       {{"ZK_BIN_DIR", "Made"}},
       versionNameBelow,
       "made\\r14\\de/A.exe"},
      {"temp", {{"JNTMP", "C:\\T"}}, {{"JNTMP", "D:\\"}}, temp, "c:\\t\\"},
      {"temp", {}, {{"JNWS", "D:\\W"}}, temp, "d:\\w\\jntmp\\"},
      {"temp name",
       {},
       {},
       [](char *out) -> std::string { return zk_Sys_getTempName("a", out); },
       "jntmp\\a"},
      {"cfg",
       {},
       {},
       [](char *out) -> std::string { return zk_Sys_getCfgDir(out); },
       "c:\\config\\"},
      {"cfg name",
       {},
       {},
       [](char *out) -> std::string { return zk_Sys_getCfgName("zk.ini", out); },
       "c:\\config\\zk.ini"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(std::string(c.what) + " " + c.result);
    fake::Component component;
    for (const auto &[name, value] : c.ini) {
      component.set("c:\\config\\zk.ini", "GENERAL", name, value);
    }
    setSession(c.session);
    char out[512];
    EXPECT_EQ(c.call(out), c.result);
    EXPECT_STREQ(out, c.result);
    zk_Env_resetSes();
  }
  EXPECT_TRUE(fs::is_directory("made/r14"));
  EXPECT_FALSE(fs::exists("jntmp")) << "only a session's own directory is made";
  const support::NoComponent none;
  char out[512] = "Own.txt";
  EXPECT_STREQ(zk_Sys_getCfgName(out, out), "Own.txt") << "without a component";
}

TEST_F(System, SomeDirectoriesBecomeSessionVariables) {
  fake::Component component;
  for (const char *name : {"JN", "JNWS", "JNSPECS", "JNTMP"}) {
    component.set("c:\\config\\zk.ini", "GENERAL", name, "C:\\Ini");
  }
  char out[512];
  zk_Sys_getNetDir(out);
  zk_Sys_getLocalDir(out);
  zk_Sys_getSpecDir(out, "sub");
  zk_Sys_getTempDir(out, 0);
  EXPECT_EQ(session("JN"), "(none)");
  EXPECT_EQ(session("JNWS"), "(none)");
  EXPECT_EQ(session("JNSPECS"), "C:\\Ini");
  EXPECT_EQ(session("JNTMP"), "C:\\Ini");
  component.ini.clear();
  zk_Env_resetSes();
  zk_Sys_getSpecDir(out, "sub");
  zk_Sys_getTempDir(out, 0);
  EXPECT_EQ(session("JNSPECS"), "specs");
  EXPECT_EQ(session("JNTMP"), "(none)");
}

TEST_F(System, EachSessionHasItsTemporaryDirectory) {
  const auto temp = [] {
    char out[512];
    return std::string(zk_Sys_getTempDir(out, 1));
  };
  zk_Env_setSes("JNTMP", "Tmp");
  EXPECT_EQ(temp(), "tmp\\1\\");
  EXPECT_EQ(session("JNSES"), "1");
  EXPECT_TRUE(fs::is_directory("tmp/1"));
  EXPECT_EQ(temp(), "tmp\\1\\") << "the session keeps its directory";
  fs::remove("tmp/1");
  EXPECT_EQ(temp(), "tmp\\1\\");
  EXPECT_TRUE(fs::is_directory("tmp/1")) << "made again";
  zk_Env_setSes("JNSES", nullptr);
  EXPECT_EQ(temp(), "tmp\\2\\");
  for (int i = 3; i < 1000; ++i) fs::create_directory("tmp/" + std::to_string(i));
  fs::remove("tmp/999");
  zk_Env_setSes("JNSES", nullptr);
  EXPECT_EQ(temp(), "tmp\\999\\");
  zk_Env_setSes("JNSES", nullptr);
  EXPECT_EQ(temp(), "tmp\\") << "all are taken";
  EXPECT_EQ(session("JNSES"), "(none)");
}

TEST_F(System, PathsAreBounded) {
  zk_Env_setSes("JN", std::string(512, 'X').c_str());
  zk_Env_setSes("ACADVER", std::string(512, 'V').c_str());
  struct {
    char out[512];
    char guard[4];
  } s;
  const auto check = [&s](char *(*call)(char *)) {
    std::memset(&s, '#', sizeof s);
    EXPECT_EQ(call(s.out), s.out);
    EXPECT_EQ(std::string(s.out), std::string(511, 'x'));
    EXPECT_EQ(std::string(s.guard, 4), "####");
  };
  check(zk_Sys_getNetDir);
  check([](char *out) { return zk_Sys_getNetName("name", out); });
  check([](char *out) { return zk_Sys_getSpecDir(out, "sub"); });
  check([](char *out) { return zk_Sys_getTempDir(out, 1); });
  check([](char *out) { return zk_Sys_getVersionBinName("a", "b", out); });
}

// ---- Processes ---------------------------------------------------------------------------------

TEST_F(Processes, ArgumentsArriveAsOnAWindowsCommandLine) {
  struct {
    const char *text;
    Lines arguments;
  } const cases[] = {
      {"", {}},
      {"a  b\tc ", {"<a>", "<b>", "<c>"}},
      {"\"a b\" c", {"<a b>", "<c>"}},
      {"a\\b \"c:\\d e\\\\\" f\\", {"<a\\b>", "<c:\\d e\\>", "<f\\>"}},
      {"\\\"a x\\\\\\\"y", {"<\"a>", "<x\\\"y>"}},
      {"a\"b c\"d \"\"", {"<ab cd>", "<>"}},
      {"$HOME; > x 'a b'", {"<$HOME;>", "<>>", "<x>", "<'a>", "<b'>"}},
  };
  const std::string file = path("arguments");
  for (const auto &c : cases) {
    SCOPED_TRACE(c.text);
    char error[101] = "as it was";
    EXPECT_EQ(
        zk_Sys_createProcess(program().c_str(), (child(file, "0") + c.text).c_str(), 1, error, 100),
        1);
    EXPECT_EQ(linesOf(file), c.arguments);
    EXPECT_STREQ(error, "as it was");
    fs::remove(file);
  }
  EXPECT_EQ(zk_Sys_createProcess((program() + " " + child(file, "0") + "x").c_str(), nullptr, 1,
                                 nullptr, 0),
            1);
  EXPECT_EQ(linesOf(file), Lines{"<x>"}) << "arguments behind the program";
}

// Children of this process that have ended and that nobody has asked for. (Counts none where there
// is no /proc.)
int endedChildren() {
  std::error_code error;
  const std::string self = fs::read_symlink("/proc/self", error).string();
  int count = 0;
  for (fs::directory_iterator entry("/proc", error), end; entry != end; entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    std::ifstream in(entry->path() / "stat");
    std::string text(std::istreambuf_iterator<char>(in), {});
    const std::size_t behindName = text.rfind(')');
    if (behindName == std::string::npos) continue;
    std::istringstream rest(text.substr(behindName + 1));
    std::string state, parent;
    rest >> state >> parent;
    if (state == "Z" && parent == self) ++count;
  }
  return count;
}

TEST_F(Processes, AreWaitedForOrNot) {
  const std::string waited = path("waited");
  const std::string left = path("left");
  ASSERT_EQ(zk_Sys_createProcess(program().c_str(), child(left, "1000").c_str(), 0, nullptr, 0), 1);
  EXPECT_FALSE(fs::exists(left));
  ASSERT_EQ(zk_Sys_createProcess(program().c_str(), child(waited, "200").c_str(), 1, nullptr, 0),
            1);
  EXPECT_TRUE(fs::exists(waited));
  EXPECT_TRUE(soon([&] { return fs::exists(left); }));
  EXPECT_EQ(endedChildren(), 0);
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(endedChildren(), 0) << "as nobody will ask for it";
}

TEST_F(Processes, FailuresAreTold) {
  const std::string english = "Unable to start the new process:";
  for (const char *none : {"zk_no_such_program", "none\\zk_no_such_program", "\"\""}) {
    SCOPED_TRACE(none);
    char error[513];
    ASSERT_EQ(zk_Sys_createProcess(none, "x", 0, error, 512), 0);
    const std::string text = error;
    EXPECT_EQ(text.substr(0, english.size()), english);
    EXPECT_GT(text.size(), english.size() + 5) << "the system's text follows";
    EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos);
    std::memset(error, '#', sizeof error);
    EXPECT_EQ(zk_Sys_createProcess(none, nullptr, 1, error, 10), 0);
    EXPECT_EQ(std::string(error, 12), english.substr(0, 10) + std::string("\0#", 2));
    EXPECT_EQ(zk_Sys_createProcess(none, nullptr, 1, nullptr, 10), 0);
  }
}

// Windows has neither the shell nor its scripts.
bool isWindows() { return zk_Host_setProductDatabase(nullptr) == 0; }

void writeScript(const std::string &name, const std::string &text) {
  std::ofstream(name) << "#!/bin/sh\n" << text;
  fs::permissions(name, fs::perms::owner_all);
}

TEST_F(Processes, ProgramsAreFoundByName) {
  if (isWindows()) GTEST_SKIP();
  fs::create_directory("With Blank");
  writeScript("With Blank/Program", "echo $1 > \"${0%/*}/found\"\n");
  const std::string quoted = "\"" + path("with blank\\program") + "\" one";
  struct {
    const char *program, *arguments, *told;
  } const cases[] = {
      {quoted.c_str(), nullptr, "one"},
      {"with blank\\program", "two", "two"},
      {"C:With Blank\\program", "three", "three"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.program);
    fs::remove("With Blank/found");
    ASSERT_EQ(zk_Sys_createProcess(c.program, c.arguments, 1, nullptr, 0), 1);
    EXPECT_EQ(linesOf("With Blank/found"), Lines{c.told});
  }
}

TEST_F(Processes, FilesAreOpenedWithTheDesktopsProgram) {
  if (isWindows()) GTEST_SKIP();
  writeScript("xdg-open", "echo \"$1\" > \"${0%/*}/opened\"\n");
  std::ofstream("A File.txt") << "x";
  const auto open = [this](const std::string &name) {
    const std::string arguments = "PATH=" + path("") + " " + program() +
                                  " --gtest_brief=1 --gtest_also_run_disabled_tests"
                                  " --gtest_filter=Child.DISABLED_OpensAFile -- \"" +
                                  name + "\" result";
    EXPECT_EQ(zk_Sys_createProcess("env", arguments.c_str(), 1, nullptr, 0), 1);
    return linesOf("result");
  };
  EXPECT_EQ(open("a file.TXT"), Lines{"1"});
  EXPECT_TRUE(soon([] { return !linesOf("opened").empty(); }));
  EXPECT_EQ(linesOf("opened"), Lines{path("A File.txt")});
  EXPECT_EQ(open("none.txt"), Lines{"0"});
}

// ---- Versions ----------------------------------------------------------------------------------

TEST_F(System, ProductsOfThePackageDatabase) {
  if (isWindows()) GTEST_SKIP();
  std::string database =
      "Package: LibPlant\nStatus: install ok installed\nVersion: 2.10-3\n\n"
      "Package: libplant\nStatus: install ok installed\nVersion: 9\n\n"
      "Package: gone\nStatus: deinstall ok config-files\nVersion: 1\n\n"
      "Package: versionless\nStatus: install ok installed\n\n"
      "Package: wordy\nStatus: install ok installed\nVersion: 5\nDescription: ";
  database += std::string(1023 - 13, 'x') + "Version: 6\n more\n\n";
  database += "Package: verbose\nStatus: install ok installed\nVersion: " + std::string(600, '7');
  database += "\n\n\nPackage: last\nStatus: install ok installed\nVersion: 1:0.9";
  std::ofstream("status") << database;
  ASSERT_EQ(zk_Host_setProductDatabase(path("status").c_str()), 1);
  EXPECT_STREQ(zk_Sys_getProductVersion("LIBPLANT"), "2.10-3");
  EXPECT_STREQ(zk_Sys_getProductVersion("wordy"), "5");
  EXPECT_STREQ(zk_Sys_getProductVersion("last"), "1:0.9");
  EXPECT_EQ(std::string(zk_Sys_getProductVersion("verbose")), std::string(511, '7'));
  for (const char *none : {"gone", "versionless", "plant", ""}) {
    EXPECT_EQ(zk_Sys_getProductVersion(none), nullptr) << none;
  }
  zk_Host_setProductDatabase(path("none").c_str());
  EXPECT_EQ(zk_Sys_getProductVersion("last"), nullptr);
  EXPECT_EQ(zk_Host_setProductDatabase(std::string(512, 'x').c_str()), 0);
}

// A system module has a version on Windows, and none on Linux.
TEST_F(System, VersionsOfModules) {
  for (const char *none : {"zk_no_such_module", ""}) {
    EXPECT_EQ(zk_Sys_getVersionNumber(none), nullptr);
    EXPECT_EQ(zk_Global_getModuleFileVersion(none), nullptr);
    EXPECT_EQ(zk_Global_getModuleProductVersion(none), nullptr);
  }
  const char *number = zk_Sys_getVersionNumber("kernel32");
  EXPECT_EQ(number != nullptr, isWindows());
  EXPECT_EQ(zk_Global_getModuleFileVersion("kernel32") != nullptr, isWindows());
  EXPECT_EQ(zk_Global_getModuleProductVersion("kernel32") != nullptr, isWindows());
  if (number == nullptr) return;
  int parts[4];
  EXPECT_EQ(std::sscanf(number, "%d.%d.%d.%d", &parts[0], &parts[1], &parts[2], &parts[3]), 4);
  EXPECT_GE(std::strlen(number), 11u) << number;
}

// ---- Switches ----------------------------------------------------------------------------------

TEST_F(System, ShowModeSelectionIsASetting) {
  {
    const support::NoComponent none;
    EXPECT_EQ(zk_Sys_getShowModeSelectGUI(), 0);
    EXPECT_EQ(zk_Sys_setShowModeSelectGUI(1), 0) << "without a component";
  }
  fake::Component component;
  EXPECT_EQ(zk_Sys_setShowModeSelectGUI(-12), 1);
  EXPECT_EQ(component.lines("c:\\config\\zk.ini"),
            (Lines{"[GENERAL]", "ShowModeSelectionGUI=-12"}));
  EXPECT_EQ(zk_Sys_getShowModeSelectGUI(), -12);
  component.storing = 0;
  EXPECT_EQ(zk_Sys_setShowModeSelectGUI(1), 0);
  EXPECT_STREQ(zk_Merovin_getBaseSectionName(), "GENERAL");
}

TEST_F(System, ApplicationGroup) {
  zk_Sys_setApplicationGroup(std::string(600, 'g').c_str());
  EXPECT_EQ(std::string(zk_Sys_getApplicationGroup()), std::string(511, 'g'));
  zk_Sys_setApplicationGroup(zk_Sys_getApplicationGroup() + 500);
  EXPECT_STREQ(zk_Sys_getApplicationGroup(), "ggggggggggg");
  zk_Sys_setApplicationGroup(nullptr);
  EXPECT_STREQ(zk_Sys_getApplicationGroup(), "");
}

TEST_F(System, SaveEventsOfTheLastDrawing) {
  EXPECT_EQ(zk_Drawing_IsSaveIgnored(""), 0);
  zk_Drawing_IgnoreSaveEvents("C:\\One.dwg", 7);
  EXPECT_EQ(zk_Drawing_IsSaveIgnored("c:\\ONE.DWG"), 7);
  EXPECT_EQ(zk_Drawing_IsSaveIgnored("c:\\one.dw"), 0);
  EXPECT_EQ(zk_Drawing_IgnoreSaveEvents(nullptr, 1), 0);
  EXPECT_EQ(zk_Drawing_IsSaveIgnored("c:\\one.dwg"), 7);
  const std::string longName(600, 'n');
  zk_Drawing_IgnoreSaveEvents(longName.c_str(), 1);
  EXPECT_EQ(zk_Drawing_IsSaveIgnored(longName.c_str()), 1);
  EXPECT_EQ(zk_Drawing_IsSaveIgnored("c:\\one.dwg"), 0) << "the pair is one";
}

TEST_F(System, DestroyDataLetsTheComponentGo) {
  fake::Component component;
  const long before = support::liveComObjects;
  char out[512];
  zk_Sys_getCfgDir(out);
  EXPECT_GT(support::liveComObjects, before);
  EXPECT_EQ(component.created, 1);
  EXPECT_EQ(zk_Global_destroyData(), 1);
  EXPECT_EQ(support::liveComObjects, before);
  EXPECT_STREQ(zk_Sys_getCfgDir(out), "c:\\config\\");
  EXPECT_EQ(component.created, 2);
}

}  // namespace
