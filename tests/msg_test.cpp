// The message catalogue over a component of the test's own. What a process decides once is tried in
// a process each.
#include "zk/msg.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tests/fake_component.h"
#include "tests/refusing_memory.h"
#include "tests/support.h"

namespace {

TEST(MsgText, Escapes) {
  struct {
    const char *text;
    const char *expected;
  } const cases[] = {
      {"", ""},
      {"plain", "plain"},
      {R"(a\tb)", "a\tb"},
      {R"(x\by)", "xy"},  // vanishes, as it always has
      {R"(\"\'\\)", "\"'\\"},
      {R"(\a\f\n\r)", "\a\f\n\r"},
      {R"(\q\zend\)", "end"},
      {R"(\101)", "A"},
      {R"(\1018)", "A8"},
      {R"(\101 \7)", "A \x0F"},  // carries bits of the number before it
      {R"(\9\9)", "\x09\x51"},   // digits are not octal only
      {R"(\065.)", "5."},
      {R"(ab\0cd)", "ab"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.text);
    std::string text = c.text;
    EXPECT_EQ(zk_Msg_scanEsc(text.data()), text.data());
    EXPECT_STREQ(text.c_str(), c.expected);
  }
}

TEST(MsgText, Layouts) {
  const char *const expected[] = {"a\tb",   "a\tb",    "a\tb ",    "\na\tb",    "\na\tb ",
                                  "a\tb\n", "a\tb \n", "\na\tb\n", "\na\tb \n", "a\tb"};
  for (int code = 0; code < 10; ++code)
    EXPECT_STREQ(zk_Msg_format(R"(a\tb)", code), expected[code]);
  EXPECT_STREQ(zk_Msg_format(zk_Msg_format("twice", 2), 3), "\ntwice ");
  // Cut is the text, not its layout.
  const std::string longText(5000, 'x');
  EXPECT_EQ(zk_Msg_format(longText.c_str(), 8), "\n" + std::string(ZK_MSG_LENGTH - 3, 'x') + " \n");
  const int codes[][2] = {{0, 1}, {1, 2}, {7, 8}, {8, 1}, {-1, 1}, {INT32_MIN, 1}};
  for (const auto &[given, made] : codes) EXPECT_EQ(zk_Msg_setFormat(given), made);
}

TEST(MsgText, Words) {
  struct {
    const char *text;
    int result;
    const char *first;
    const char *second;
  } const cases[] = {
      {"Pipe_Valve", 1, "Pipe", "Valve"},
      {"  one\t two three", 1, "one", "two"},
      {"single", 0, "single", ""},
      {"__ _", 0, "", ""},
      {"", 0, "", ""},
      {"\t two", 0, "", ""},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.text);
    char first[512];
    char second[512];
    EXPECT_EQ(zk_Msg_breakStr(c.text, first, second), c.result);
    EXPECT_STREQ(first, c.first);
    EXPECT_STREQ(second, c.second);
  }
}

// ---- What is decided once a process

std::vector<std::string> boxes;
void ZK_CALL noteBox(const char *title, const char *text, void *) {
  boxes.push_back(std::string(title) + ": " + text);
}

const char *const kSettings = "c:\\config\\zk.ini";

// Runs a body alone; its expectations count.
#define IN_A_PROCESS(...)                                          \
  EXPECT_EXIT(                                                     \
      {                                                            \
        (__VA_ARGS__)();                                           \
        std::exit(testing::Test::HasFailure() ? EXIT_FAILURE : 0); \
      },                                                           \
      testing::ExitedWithCode(0), "")

class MsgProcess : public support::TableTest {
 protected:
  void SetUp() override { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};

struct Decision {
  const char *language;  // null: not set
  const char *debug;
  bool translated;
};

void decides(const Decision &decision) {
  fake::Component component;
  if (decision.language != nullptr) {
    component.set(kSettings, "GENERAL", "LANGUAGE", decision.language);
  }
  if (decision.debug != nullptr) {
    component.set(kSettings, "GENERAL", "LANGUAGE_DEBUG", decision.debug);
  }
  component.translations[{"Hello", "TOOL_1"}] = R"(Ha\tllo)";
  // A translation stands as it is given; English is laid out and its escapes are expanded.
  EXPECT_STREQ(zk_Msg("Hello", "TOOL_1", 5), decision.translated ? R"(Ha\tllo)" : "Hello\n");
  EXPECT_STREQ(zk_Msg(R"(un\tknown)", "TOOL_2", 5), "un\tknown\n");
  // Settings changed later have no effect.
  component.set(kSettings, "GENERAL", "LANGUAGE", decision.translated ? "ENGLISH" : "GERMAN");
  EXPECT_STREQ(zk_Msg("Hello", "TOOL_1", 5), decision.translated ? R"(Ha\tllo)" : "Hello\n");
  bool asked = false;
  for (const std::string &call : component.calls) asked |= call.rfind("Translate(", 0) == 0;
  EXPECT_EQ(asked, decision.translated);
  EXPECT_TRUE(component.errors.empty());
}

TEST_F(MsgProcess, WhetherToTranslateIsDecidedOnce) {
  const Decision decisions[] = {
      {nullptr, nullptr, false}, {"english", nullptr, false}, {"ENGLISH_UK", nullptr, false},
      {"EN", nullptr, true},     {"GERMAN", nullptr, true},   {"GERMAN", "0", true},
      {"ENG", "0", false},       {"ENG", "1", true},          {nullptr, "yes", true},
  };
  for (const Decision &decision : decisions) {
    SCOPED_TRACE(testing::Message() << (decision.language ? decision.language : "(none)") << ", "
                                    << (decision.debug ? decision.debug : "(none)"));
    IN_A_PROCESS([&] { decides(decision); });
  }
}

TEST_F(MsgProcess, AMissingTranslatorIsToldOnce) {
  for (const bool component : {true, false}) {
    IN_A_PROCESS([&] {
      zk_Host_setMessagePresenter(noteBox, nullptr);
      fake::Component host;
      host.interfaces.translator = false;
      host.set(kSettings, "GENERAL", "LANGUAGE", "GERMAN");
      host.available = component;
      EXPECT_STREQ(zk_Msg("Hello", "TOOL_1", 2), "Hello ");
      EXPECT_STREQ(zk_Msg("Hello", "TOOL_1", 2), "Hello ");
      // Without any component there is no language either.
      ASSERT_EQ(boxes.size(), component ? 1u : 0u);
      if (component) {
        EXPECT_EQ(boxes[0],
                  "Message Translator Error: Unable to create an instance of the Message "
                  "Translator.\nMake sure this component (JNApplication2.dll) is installed and "
                  "registered correctly.");
      }
    });
  }
}

TEST_F(MsgProcess, ATranslatorThatFailsGivesEnglish) {
  IN_A_PROCESS([] {
    fake::Component component;
    component.set(kSettings, "GENERAL", "LANGUAGE", "GERMAN");
    component.translations[{"Hello", ""}] = "Hallo";
    EXPECT_STREQ(zk_Msg("Hello", "X", 1), "Hallo");
    component.failure = E_FAIL;
    EXPECT_STREQ(zk_Msg("Hello", "X", 5), "Hello\n");
    EXPECT_EQ(component.errors, std::vector<HRESULT>{E_FAIL});
    component.failure = S_OK;
    component.translations[{"Hello", ""}] = "";
    EXPECT_STREQ(zk_Msg("Hello", "X", 5), "Hello\n");
  });
}

TEST_F(MsgProcess, TextsInGerman) {
  IN_A_PROCESS([] {
    fake::Component component;
    component.set(kSettings, "GENERAL", "LANGUAGE", "GERMAN");
    component.translations = {{{"Pipe", "DBCols"}, "Rohr"},
                              {{"Valve", ""}, "Ventil"},
                              {{"keep", ""}, "^nicht"},
                              {{"Unable to allocate", "TOOL_216"}, "Kein Speicher:"},
                              {{"bytes of memory", "TOOL_217"}, "Bytes"}};
    EXPECT_STREQ(zk_MsgDBCols("Pipe", 1), "Rohr");
    EXPECT_STREQ(zk_Msg_pad("Valve", "X", 1, 8), "Ventil  ");
    EXPECT_STREQ(zk_Msg_pad("Valve", "X", 1, -1), "Ventil");
    // A result of one call in the next.
    EXPECT_STREQ(zk_Msg(zk_MsgDBCols("Pipe", 1), "X", 2), "Rohr ");

    MsgList *list = zk_Msg_mlt("a", "Pipe", "DBCols", 1, "a", "Valve", "V", 1, "b", "keep", "V", 1,
                               "none", "Pipe", "", 1, "c", "", "V", 1, (char *)0);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->length, 5u);
    EXPECT_STREQ(zk_Msg_find(list, "a"), "Rohr");
    EXPECT_STREQ(zk_Msg_find(list, "b"), "keep");
    EXPECT_STREQ(zk_Msg_find(list, "none"), "Pipe");
    EXPECT_STREQ(zk_Msg_find(list, "A"), "A");
    auto *node = static_cast<MsgNode *>(list->first->data);
    node->padWidth = 6;
    zk_Msg_multiple(list);  // "Rohr" has no translation
    EXPECT_STREQ(zk_Msg_find(list, "a"), "Rohr  ");
    zk_MsgList_destroy(list);

    const ZkMsgEntry entries[] = {{"a-key-that-is-too-long", "Valve", "V", 2},
                                  {nullptr, nullptr, nullptr, 0}};
    list = zk_Msg_mltReadArray(entries);
    EXPECT_STREQ(zk_Msg_find(list, "a-key-that-is-to"), "Ventil");
    zk_MsgList_destroy(list);

    // The library's own failure texts, told while there is no memory.
    support::allocator.failAt = 1;
    support::allocator.forEver = true;
    EXPECT_EQ(zk_Malloc(77), nullptr);
    support::allocator.failAt = 0;
    EXPECT_STREQ(zk_Memory_lastFailure(), "Kein Speicher: 77 Bytes");
  });
}

std::string dump(const MsgKeyWordList *list) {
  if (list == nullptr) return "(null)";
  std::string result;
  for (const LnkNode *at = list->first; at != nullptr; at = at->next) {
    const auto *pair = static_cast<const MsgKeyWordListNode *>(at->data);
    result += std::string(pair->word) + "=" + pair->translation + ";";
  }
  return result;
}

TEST_F(MsgProcess, WordLists) {
  const std::string folder = path("");
  IN_A_PROCESS([&] {
    fake::Component component;
    component.set(kSettings, "GENERAL", "LANGUAGE", "GERMAN");
    component.translations = {{{"Pipe,Valve", "A"}, "Rohr;Ventil"},
                              {{"Pipe,Valve", "B"}, "Rohr, Ventil"},
                              {{"Pipe, Valve,Pump", "B"}, "Rohr,Ventil"},
                              {{"Pipe", "B"}, "Rohr"},
                              {{",", "SEP"}, ";"}};
    struct {
      const char *words;
      const char *id;
      const char *pairs;
      const char *withSeparator;
    } const cases[] = {
        {"Pipe,Valve", "A", "", "Pipe=Rohr;Valve=Ventil;"},
        {"Pipe,Valve", "B", "Pipe=Rohr;Valve=Ventil;", ""},
        {"Pipe, Valve,Pump", "B", "Pipe=Rohr;Valve=Ventil;", ""},
        {"Pipe", "B", "Pipe=Rohr;", "Pipe=Rohr;"},
        {"a,b", "none", "a=a;b=b;", ""},
        {",", "B", "(null)", "(null)"},
        {"", "B", "(null)", "(null)"},
    };
    for (const bool separator : {false, true}) {
      if (separator) {
        zk_Env_setSes("JN", folder.c_str());
        char net[512];
        zk_Sys_getNetDir(net);
        component.files.insert(std::string(net) + "Language\\SEP_GERMAN.dbf");
      }
      for (const auto &c : cases) {
        SCOPED_TRACE(c.words);
        MsgKeyWordList *list = zk_Msg_getKeyWordList(c.words, c.id);
        EXPECT_EQ(dump(list), separator ? c.withSeparator : c.pairs);
        zk_MsgKeyWordList_destroy(list);
      }
    }
    MsgKeyWordList *list = zk_MsgKeyWordList_create();
    EXPECT_EQ(zk_MsgKeyWordList_append(list, "Pipe", "Rohr"), 1);
    EXPECT_EQ(zk_MsgKeyWordList_append(list, "Pipe", nullptr), 0);
    EXPECT_STREQ(zk_MsgKeyWordList_find(list, "PIPE"), "Rohr");
    EXPECT_STREQ(zk_MsgKeyWordList_find(list, "Pump"), "Pump");
    EXPECT_STREQ(zk_MsgKeyWordList_find(list, nullptr), "");
    zk_MsgKeyWordList_destroy(list);
  });
}

TEST_F(MsgProcess, Tables) {
  namespace fs = support::fs;
  fs::create_directory(path("language"));
  const int32_t made =
      support::createTable(path("language/TOOL_GERMAN.DBF"), "MSG_NO C 6 0, MSG_NAME C 40 0");
  support::appendRecord(made, {{"MSG_NO", "216"}, {"MSG_NAME", "Kein Speicher"}});
  support::appendRecord(made, {{"MSG_NO", "21"}, {"MSG_NAME", "  vorn"}});
  support::appendRecord(made, {{"MSG_NO", "7"}, {"MSG_NAME", ""}});
  zk_Db_closeDb(made);

  fake::Component component;
  zk_Env_setSes("JN", path("").c_str());
  int32_t table = 0;
  int32_t index = 0;
  EXPECT_EQ(zk_Msg_openDb("TOOL", "FRENCH", &table, &index), 0);
  EXPECT_EQ(table, -1);
  EXPECT_EQ(index, -1);
  for (const bool again : {false, true}) {  // the second time with the index of the first
    ASSERT_EQ(zk_Msg_openDb("TOOL", "GERMAN", &table, &index), 1) << again;
    EXPECT_STREQ(zk_Msg_getVal(table, index, "216"), "Kein Speicher");
    EXPECT_STREQ(zk_Msg_getVal(table, index, "21"), "  vorn");
    EXPECT_STREQ(zk_Msg_getVal(table, index, "7"), "");
    for (const char *absent : {"2", "2166", "", "TOOL"}) {
      EXPECT_EQ(zk_Msg_getVal(table, index, absent), nullptr) << absent;
    }
    EXPECT_EQ(zk_Msg_closeDb(table), 0);
    EXPECT_EQ(zk_Msg_getVal(table, index, "216"), nullptr);
  }
  // Found in the local directory as well.
  zk_Env_setSes("JN", "");
  zk_Env_setSes("JNWS", path("language").c_str());
  EXPECT_EQ(zk_Msg_openDb("TOOL", "GERMAN", &table, &index), 1);
  zk_Msg_closeDb(table);
  zk_Env_resetSes();
}

TEST_F(MsgProcess, WithoutMemoryTextsAreEnglish) {
  IN_A_PROCESS([] {
    fake::Component component;
    component.set(kSettings, "GENERAL", "LANGUAGE", "GERMAN");
    component.translations = {{{"Pipe", ""}, "Rohr"}, {{"a,b", ""}, "x,y"}};
    zk_Msg("first", "X", 1);
    support::forEveryAllocation("zk_Msg", [](support::Attempt &attempt) {
      const std::string text = attempt.during([] { return zk_Msg("Pipe", "X", 5); });
      EXPECT_EQ(text, attempt.refused() ? "Pipe\n" : "Rohr");
    });
    support::forEveryAllocation("zk_Msg_mlt", [](support::Attempt &attempt) {
      MsgList *list = attempt.during([] { return zk_Msg_mlt("a", "Pipe", "X", 1, (char *)0); });
      if (!attempt.refused()) {
        EXPECT_STREQ(zk_Msg_find(list, "a"), "Rohr");
      }
      zk_MsgList_destroy(list);
    });
    support::forEveryAllocation("zk_Msg_getKeyWordList", [](support::Attempt &attempt) {
      MsgKeyWordList *list = attempt.during([] { return zk_Msg_getKeyWordList("a,b", "X"); });
      // Settings that cannot be read for want of memory count as absent: the list is whole or none.
      EXPECT_TRUE(dump(list) == "a=x;b=y;" || (attempt.refused() && list == nullptr)) << dump(list);
      zk_MsgKeyWordList_destroy(list);
    });
  });
}

}  // namespace
