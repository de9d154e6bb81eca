// Settings by name: session variables, zk.ini, the process environment, and texts that refer to
// them.
#include "zk/env.h"

#include <cstdlib>
#include <functional>

#include "tests/fake_component.h"
#include "tests/field_lists.h"
#include "tests/refusing_memory.h"
#include "tests/support.h"

namespace {

using support::Attempt;
using support::forEveryAllocation;
using support::Strings;
using support::writeFile;

std::string textOf(const char *text) { return text != nullptr ? text : "(null)"; }

// "a|b" of a list of strings, which is destroyed.
std::string joined(StrList *list) {
  const Strings owned(list);
  if (list == nullptr) return "(null)";
  std::string text;
  for (const LnkNode *node = list->first; node != nullptr; node = node->next) {
    text += (node != list->first ? "|" : "") +
            std::string(static_cast<StrListNode *>(node->data)->text);
  }
  return text;
}

std::string session(const char *name) { return textOf(zk_Env_getSes(name)); }
std::string sessionList() { return joined(zk_Env_getSesList()); }
std::string expanded(const std::string &text) { return zk_Env_expandStr(text.c_str()); }

class Session : public testing::Test {
 protected:
  Session() { zk_Env_resetSes(); }
};

// Runs first: nothing has been set yet.
TEST(ASession, BeginsWithoutAList) {
  EXPECT_EQ(zk_Env_resetSes(), 0);
  EXPECT_EQ(zk_Env_getSesList(), nullptr);
  EXPECT_EQ(zk_Env_getSes("a"), nullptr);
  EXPECT_EQ(zk_Env_setSes("a", nullptr), 1) << "makes the list and nothing else";
  EXPECT_EQ(sessionList(), "");
  EXPECT_EQ(zk_Env_resetSesLocal(), 1);
}

TEST_F(Session, VariablesAreSetReplacedAndRemoved) {
  const struct {
    const char *name;
    const char *value;
    int result;
    const char *list;
  } kSteps[] = {
      {"path", "C:\\x", 1, "path = C:\\x"},
      {" b ", " two words ", 1, "path = C:\\x| b  =  two words "},
      {"PATH", "C:\\y", 0, "PATH = C:\\y| b  =  two words "},
      {"c", "", 1, "PATH = C:\\y| b  =  two words "},
      {"  Path\t", nullptr, 0, " b  =  two words "},
      {"d", "= v", 1, " b  =  two words |d = = v"},
      {"", "nameless", 1, " b  =  two words |d = = v| = nameless"},
      {"B", " ", 0, "B =  |d = = v| = nameless"},
      {"x=y", "z", 1, "B =  |d = = v| = nameless|x=y = z"},
  };
  for (const auto &step : kSteps) {
    SCOPED_TRACE(step.name);
    EXPECT_EQ(zk_Env_setSes(step.name, step.value), step.result);
    EXPECT_EQ(sessionList(), step.list);
  }
  const std::pair<const char *, const char *> kValues[] = {{" d", "v"},       {"b", ""},
                                                           {"", "nameless"},  {"x", "y = z"},
                                                           {"x=y", "(null)"}, {"path", "(null)"}};
  for (const auto &[name, value] : kValues) EXPECT_EQ(session(name), value) << name;
  EXPECT_EQ(zk_Env_resetSes(), 1);
  EXPECT_EQ(sessionList(), "");
}

TEST_F(Session, LongAndOwnValues) {
  const std::string value(5000, '\xC4');
  const std::string name(5000, 'n');
  EXPECT_EQ(zk_Env_setSesLocal(name.c_str(), value.c_str()), 1);
  EXPECT_EQ(textOf(zk_Env_getSesLocal(name.c_str())), value.substr(0, 511));
  EXPECT_EQ(sessionList(), name + " = " + value);
  // A result is name and value of the next call.
  zk_Env_setSes("a", "b");
  zk_Env_setSes("b", "c");
  EXPECT_EQ(session(zk_Env_getSes("a")), "c");
  EXPECT_EQ(zk_Env_setSes("copy", zk_Env_getSes("a")), 1);
  EXPECT_EQ(session("copy"), "b");
  EXPECT_EQ(zk_Env_setSes(zk_Env_getSes("copy"), zk_Env_getSes("copy")), 0);
  EXPECT_EQ(session("b"), "b");
}

TEST(Env, Split) {
  const std::pair<const char *, const char *> kCases[] = {
      {"a;b", "a|b"}, {";;a ; b c ;;", "a|b c"}, {"a; ;b", "a||b"}, {"one", "one"},
      {"", "(null)"}, {";;;", "(null)"},         {" ", ""},
  };
  for (const auto &[text, pieces] : kCases) EXPECT_EQ(joined(zk_Env_split(text)), pieces) << text;
}

// ---- With zk.ini and the environment

class Settings : public Session {
 protected:
  static constexpr const char *kIni = "c:\\config\\zk.ini";

  Settings() {
    component_.set(kIni, "GENERAL", "INI_ONLY", "from ini");
    component_.set(kIni, "GENERAL", "BOTH", "from ini");
    component_.set(kIni, "OTHER", "ELSEWHERE", "from ini");
    component_.set(kIni, "GENERAL", "ALIAS", "%X%/%both%");
    component_.set(kIni, "GENERAL", "BLANK", "  ");
    zk_Env_setSes("BOTH", "from session");
    zk_Env_setSes("percent", "%BOTH%");
    zk_Env_setSes("blanks", "  ");
    zk_Alias_put("X", "alias");
    static char environment[][40] = {"INI_ONLY=from environment", "BOTH=from environment",
                                     "ENV_ONLY=from environment", "BLANK=from environment"};
    for (char *variable : environment) putenv(variable);
  }
  ~Settings() override { zk_Alias_del("X"); }

  fake::Component component_;
};

TEST_F(Settings, ExpandStr) {
  const std::string longText(600, 'x');
  const std::pair<std::string, std::string> kCases[] = {
      {"", ""},
      {"plain", "plain"},
      {"100%%", "100%"},
      {"%%%%", "%%"},
      {"a%UNSET_NAME%b", "ab"},
      {"%both%x", "from sessionx"},
      {"%INI_ONLY%", "from ini"},
      {"%ENV_ONLY%", "from environment"},
      {"%BLANK%", "from environment"},
      {"%blanks%", ""},
      {"%ELSEWHERE%", ""},
      {"%percent%", "%BOTH%"},
      {"%ALIAS%", "alias/%both%"},
      {"%BOTH", "from session"},
      {"a%", "a"},
      {"%%BOTH%%", "%BOTH%"},
      {"%BOTH%%BOTH%", "from sessionfrom session"},
      {"%" + longText + "%y", "y"},
      {longText + "%BOTH%", longText.substr(0, 511)},
      {longText.substr(0, 505) + "%BOTH%z", longText.substr(0, 505) + "from s"},
      {std::string(2000, '%'), std::string(511, '%')},
      {"\xC3\xA4%BOTH%\xFF",
       "\xC3\xA4"
       "from session\xFF"},
  };
  for (const auto &[text, result] : kCases) EXPECT_EQ(expanded(text), result) << text;
  EXPECT_EQ(expanded(zk_Env_expandStr("%percent%")), "from session") << "its own result";
}

TEST_F(Settings, ExpandVar) {
  const struct {
    const char *text;
    int32_t position;
    const char *result;
    int32_t after;
  } kCases[] = {
      {"a%BOTH%b", 1, "from session", 7},
      {"a%BOTH%b", 0, "", 0},
      {"a%BOTH%b", 6, "", 8},
      {"a%BOTH", 1, "from session", 6},
      {"%%BOTH%", 0, "", 2},
      {"%UNSET_NAME%%", 0, "", 12},
      {"%", 0, "", 1},
      {"%BOTH%", 6, "", 6},
      {"%BOTH%", 7, "", 7},
      {"%BOTH%", -1, "", -1},
      {"%BOTH%", INT32_MAX, "", INT32_MAX},
      {"", 0, "", 0},
  };
  for (const auto &c : kCases) {
    SCOPED_TRACE(testing::Message() << c.text << " at " << c.position);
    zk_Env_setSes("own", "%BOTH%");
    int32_t start = 0;
    zk_Env_expandVar("%own%", &start);
    int32_t position = c.position;
    EXPECT_STREQ(zk_Env_expandVar(c.text, &position), c.result);
    EXPECT_EQ(position, c.after);
  }
  int32_t position = 0;
  const char *own = zk_Env_expandVar("%percent%", &position);
  position = 0;
  EXPECT_STREQ(zk_Env_expandVar(own, &position), "from session");
  EXPECT_EQ(position, 6);
}

// No function changes another one's result.
TEST_F(Settings, BuffersAreApart) {
  int32_t position = 0;
  const char *value = zk_Env_getSes("BOTH");
  const char *ini = zk_Env_getIni("GENERAL", "INI_ONLY");
  const char *variable = zk_Env_expandVar("%ENV_ONLY%", &position);
  zk_Env_expandStr("%INI_ONLY%%percent%");
  zk_Env_setSes("percent", "new");
  zk_Env_setIni("GENERAL", "INI_ONLY", "new");
  position = 0;
  EXPECT_STREQ(value, "from session");
  EXPECT_STREQ(ini, "from ini");
  EXPECT_STREQ(variable, "from environment");
}

TEST_F(Settings, ConfigurationFile) {
  EXPECT_EQ(textOf(zk_Env_getIni("other", "elsewhere")), "from ini");
  EXPECT_EQ(textOf(zk_Env_getIni("GENERAL", "ALIAS")), "alias/%both%");
  EXPECT_EQ(textOf(zk_Env_getIni("GENERAL", "BLANK")), "(null)");
  EXPECT_EQ(zk_Env_setIni("NEW", "a", "1"), 0);
  const support::Fields group(zk_Env_getIniGroup("new"));
  EXPECT_EQ(support::describe(group.get()), "A=C'1'");

  testing::internal::CaptureStdout();
  zk_Env_displayIniError("G", "V");
  EXPECT_EQ(
      testing::internal::GetCapturedStdout(),
      std::string("Error reading Ini File\nFile Name ") + kIni + "\nGroup Name G\nVariable Name V");

  // The directory is asked for anew each time.
  component_.configurationDirectory = "D:\\";
  EXPECT_EQ(textOf(zk_Env_getIni("OTHER", "ELSEWHERE")), "(null)");
  component_.set("d:\\zk.ini", "OTHER", "ELSEWHERE", "moved");
  EXPECT_EQ(textOf(zk_Env_getIni("OTHER", "ELSEWHERE")), "moved");

  component_.failure = E_FAIL;
  EXPECT_EQ(zk_Env_getIni("OTHER", "ELSEWHERE"), nullptr);
  EXPECT_EQ(zk_Env_setIni("NEW", "a", "1"), 1);
  EXPECT_EQ(zk_Env_getIniGroup("OTHER"), nullptr);
  EXPECT_EQ(expanded("%BOTH%%INI_ONLY%"), "from sessionfrom environment");
}

TEST_F(Settings, MemoryRefused) {
  const std::function<bool()> kCalls[] = {
      [] { return zk_Env_setSes("new", "value") == 1; },
      [] { return sessionList() != "(null)"; },
      [] { return zk_Env_getIni("GENERAL", "INI_ONLY") != nullptr; },
      [] { return zk_Env_setIni("GENERAL", "INI_ONLY", "from ini") == 0; },
      [] { return joined(zk_Env_split("a;b")) == "a|b"; },
  };
  const std::string before = sessionList();
  int number = 0;
  for (const auto &call : kCalls) {
    SCOPED_TRACE(number++);
    forEveryAllocation("settings", [&](Attempt &attempt) {
      const bool done = attempt.during(call);
      EXPECT_EQ(done, !attempt.refused());
      zk_Env_setSes("new", nullptr);
      EXPECT_EQ(sessionList(), before);
    });
  }
  forEveryAllocation("expanding", [&](Attempt &attempt) {
    const std::string text = attempt.during([] { return expanded("a%INI_ONLY%"); });
    // What cannot be asked of zk.ini may stand in the environment.
    EXPECT_TRUE(text == "afrom ini" ||
                (attempt.refused() && (text == "" || text == "afrom environment")))
        << text;
  });
  forEveryAllocation("replacing", [&](Attempt &attempt) {
    zk_Env_setSes("BOTH", "from session");
    EXPECT_EQ(attempt.during([] { return zk_Env_setSes("both", "replaced"); }), 0);
    EXPECT_EQ(session("BOTH"), attempt.refused() ? "from session" : "replaced");
  });
}

// ---- Windows profile files

TEST(EnvProfile, ValuesAsWindowsReadsThem) {
  const std::string file = testing::TempDir() + "/zk_profile.ini";
  const std::string longValue(600, 'v');
  writeFile(file,
            "lost=1\r\n[ Section ] \r\n Key = value \r\n;Comment=1\r\nquoted = \" a \"\r\n"
            "single='b'\r\nhalf=\"c\r\nequals==d\r\nempty=\r\nempty=again\r\nnone\r\nlong=" +
                longValue + "\r\n[Other]\r\nkey=other\r\nonly=1");
  const struct {
    const char *section;
    const char *key;
    std::string value;
  } kCases[] = {
      {"section", "KEY", "value"},   {"Section", "quoted", " a "},
      {"Section", "single", "b"},    {"Section", "half", "\"c"},
      {"Section", "equals", "=d"},   {"Section", "empty", "(null)"},
      {"Section", "none", "(null)"}, {"Section", "long", longValue.substr(0, 255)},
      {"OTHER", "key", "other"},     {"Other", "only", "1"},
      {"Section", "only", "(null)"}, {"missing", "key", "(null)"},
      {"Section", "lost", "(null)"},
  };
  for (const auto &c : kCases) {
    EXPECT_EQ(textOf(zk_Env_getWin(file.c_str(), c.section, c.key)), c.value) << c.key;
  }
  EXPECT_EQ(zk_Env_getWin((file + "x").c_str(), "Section", "key"), nullptr);
  EXPECT_EQ(zk_Env_getWin(file.c_str(), nullptr, nullptr), nullptr);
  // A result names the next key.
  writeFile(file, "[S]\na=b\nb=c\n");
  EXPECT_EQ(textOf(zk_Env_getWin(file.c_str(), "S", zk_Env_getWin(file.c_str(), "S", "a"))), "c");
  std::remove(file.c_str());
}

}  // namespace
