// Settings and messages end to end, with the stock component that lies beside the library.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/refusing_memory.h"
#include "tests/support.h"

namespace {

using support::allocator;
using support::writeFile;

class Application : public support::TableTest {
 protected:
  void SetUp() override {
    ASSERT_TRUE(support::installed);
    setEnvironment("ZK_CONFIG_DIR", path("config"));
    support::fs::create_directories(path("config"));
    support::fs::create_directories(path("language"));
    writeFile(path("config/zk.ini"), "[GENERAL]\nLANGUAGE=GERMAN\nJN=" + path("") +
                                         "\nONLY=%FROM_ENV%?\nBOTH=ini\n\n[Run.3]\na=1\n");
    const int32_t table =
        support::createTable(path("language/TOOL_GERMAN.DBF"), "MSG_NO C 6 0, MSG_NAME C 40 0");
    for (const auto &[number, text] :
         {std::pair{"216", "Kein Speicher:"}, {"217", "Bytes"}, {"1", "eins"}}) {
      support::appendRecord(table, {{"MSG_NO", number}, {"MSG_NAME", text}});
    }
    zk_Db_closeDb(table);
  }
  void TearDown() override {
    zk_Env_resetSes();
    zk_Global_destroyData();
  }

  static void setEnvironment(const std::string &name, const std::string &value) {
    static std::vector<std::string> kept;  // putenv keeps the pointer
    kept.reserve(64);
    kept.push_back(name + "=" + value);
    ASSERT_EQ(putenv(kept.back().data()), 0);
  }
};

TEST_F(Application, SettingsAreFoundInTheirOrder) {
  setEnvironment("ZK_TEST_ENV", "environment");
  setEnvironment("BOTH", "environment");
  EXPECT_STREQ(zk_Env_expandStr("%ZK_TEST_ENV% %BOTH% 100%% %UNSET%."), "environment ini 100% .");
  zk_Env_setSes("both", "session");
  EXPECT_STREQ(zk_Env_expandStr("<%BOTH%>"), "<session>");
  EXPECT_STREQ(zk_Env_getIni("general", "both"), "ini");

  EXPECT_EQ(zk_Env_setIni("GENERAL", "BOTH", "new"), 0);
  zk_Env_setSes("BOTH", "");
  EXPECT_STREQ(zk_Env_expandStr("%BOTH%"), "new");
  EXPECT_NE(support::readFile(path("config/zk.ini")).find("BOTH=new\n\n[Run.3]"),
            std::string::npos);
  char name[512];
  EXPECT_STREQ(zk_Ini_getNextIncrSuffix(zk_Sys_getCfgName("zk.ini", name), "Run"), "4");
  // The direct path rewrites the file, the cache sees it.
  FldList *fields = zk_FldList_create("b", 'C', "2", (char *)0);
  EXPECT_EQ(zk_Ini_setGroupItems(name, "Run.3", fields), 1);
  zk_FldList_destroy(fields);
  EXPECT_EQ(zk_Ini_get(name, "Run.3", "a"), nullptr);
  EXPECT_STREQ(zk_Ini_get(name, "Run.3", "B"), "2");
}

// The catalogue reads its language through settings, these through the component, which reads
// tables through the library: each of these may be refused memory, and the failure wants a text.
TEST_F(Application, TheFirstMessageWithoutMemory) {
  for (const bool forEver : {false, true}) {
    for (int n = 1;; ++n) {
      SCOPED_TRACE(testing::Message() << "request " << n << (forEver ? " and on" : ""));
      const auto firstMessage = [&] {
        allocator.forEver = forEver;
        allocator.failAt = n;
        std::string text = zk_Msg("one", "TOOL_1", 1);
        allocator.failAt = 0;
        EXPECT_TRUE(text == "eins" || text == "one") << text;
        text = zk_Msg("one", "TOOL_1", 1);
        EXPECT_TRUE(text == "eins" || text == "one") << text;
        std::exit(HasFailure() ? 2 : allocator.refusals == 0 ? 1 : 0);
      };
      bool last = false;
      EXPECT_EXIT(
          firstMessage(),
          [&last](int status) {
            last = testing::ExitedWithCode(1)(status);
            return last || testing::ExitedWithCode(0)(status);
          },
          "");
      if (last || HasFailure()) break;
      ASSERT_LT(n, 10'000);
    }
  }
}

TEST_F(Application, FailuresAreToldInTheUsersLanguage) {
  EXPECT_EXIT(
      {
        EXPECT_STREQ(zk_Msg("one", "TOOL_1", 1), "eins");
        EXPECT_STREQ(zk_Msg("none", "TOOL_2", 2), "none ");
        allocator.forEver = true;
        allocator.failAt = 1;
        zk_Malloc(77);
        allocator.failAt = 0;
        EXPECT_STREQ(zk_Memory_lastFailure(), "Kein Speicher: 77 Bytes");
        std::exit(HasFailure() ? 1 : 0);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
