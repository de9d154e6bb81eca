#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "zk_baselib.h"

namespace {

// The table lives as long as the process; each test leaves it empty.
class Alias : public testing::Test {
 protected:
  ~Alias() override {
    for (const char *name : {"X", "Y", "LONG", "EMPTY", "PERCENT", "QTY", "PRICE", "AT"}) {
      zk_Alias_del(name);
    }
  }

  static std::string valueOf(const char *name, int32_t size = 600) {
    char buffer[601] = "untouched";
    const int result = zk_Alias_get(buffer, name, size);
    return result == 1 ? buffer : "(" + std::to_string(result) + ")" + buffer;
  }

  static std::string expanded(const std::string &text) {
    std::string buffer(text.size() + 4096, '#');
    EXPECT_EQ(zk_Alias_expandStr(buffer.data(), text.c_str()), 0);
    return buffer.c_str();
  }
};

TEST_F(Alias, PutGetDelete) {
  EXPECT_EQ(zk_Alias_del("X"), 0);
  EXPECT_EQ(valueOf("X"), "(-2)");
  EXPECT_EQ(zk_Alias_put("X", "abc"), 1);
  EXPECT_EQ(zk_Alias_put("Y", ""), 1);
  EXPECT_EQ(valueOf("x"), "abc");  // in any spelling
  EXPECT_EQ(valueOf("X", 2), "ab");
  EXPECT_EQ(valueOf("Y"), "");
  EXPECT_EQ(zk_Alias_put("x", "other"), 1);
  EXPECT_EQ(valueOf("X"), "other");
  EXPECT_EQ(zk_Alias_put("X", nullptr), 1);
  EXPECT_EQ(valueOf("X"), "(-2)");
  EXPECT_EQ(zk_Alias_del("Y"), 1);
  EXPECT_EQ(zk_Alias_put(nullptr, "abc"), 0);
  EXPECT_EQ(valueOf(nullptr), "(0)");
}

TEST_F(Alias, FromAFieldList) {
  const std::string text(600, 't');
  FldList *list = zk_FldList_create("Qty", 'I', 12, "Price", 'N', 2.5, "Long", 'C', text.c_str(),
                                    "At", 'P', 1.0, 2.0, 3.0, static_cast<char *>(nullptr));
  zk_FldList_appChar(list, "Qty", "13");  // the later of two counts
  zk_FldList_start(list);
  zk_FldList_next(list);
  EXPECT_EQ(zk_Alias_putFromFldList(list), 1);
  EXPECT_EQ(zk_LnkList_getPos(list), 1);
  EXPECT_EQ(valueOf("QTY"), "13");
  EXPECT_EQ(valueOf("PRICE"), "2.500000");
  EXPECT_EQ(valueOf("LONG"), text.substr(0, 512));
  EXPECT_EQ(valueOf("AT"), "");
  EXPECT_EQ(zk_Alias_putFromFldList(nullptr), 0);
  zk_FldList_destroy(list);
}

TEST_F(Alias, Expand) {
  const std::string longest(255, 'n');
  zk_Alias_put("X", "abc");
  zk_Alias_put("EMPTY", "");
  zk_Alias_put("PERCENT", "%X%");
  zk_Alias_put("LONG", std::string(300, 'l').c_str());
  zk_Alias_put(longest.c_str(), "longest");
  zk_Alias_put((longest + "n").c_str(), "too long");
  const struct {
    std::string text;
    std::string after;
  } cases[] = {
      {"", ""},
      {"plain", "plain"},
      {"a%X%b", "aabcb"},
      {"%x%%X%", "abcabc"},
      {"%UNSET%", "%UNSET%"},
      {"a%X", "a"},
      {"a%", "a"},
      {"100%% of %X%", "100 of abc"},
      {"%EMPTY%.", "."},
      {"%PERCENT%", "%X%"},  // a value is not expanded again
      {"%UNSET%X%", "%UNSET%X"},
      {"% X%", "% X%"},
      {"%LONG%.", std::string(256, 'l') + "."},
      {"%" + longest + "%", "longest"},
      {"%" + longest + "n%.", "%" + longest + "n%."},
  };
  for (const auto &c : cases) EXPECT_EQ(expanded(c.text), c.after) << c.text;
  zk_Alias_del(longest.c_str());
  zk_Alias_del((longest + "n").c_str());

  // Null writes nothing; a text may be expanded where it stands.
  char buffer[64] = "%X%%X%%X%-%X%";
  EXPECT_EQ(zk_Alias_expandStr(buffer, nullptr), 0);
  EXPECT_STREQ(buffer, "%X%%X%%X%-%X%");
  zk_Alias_put("X", "longer than the name");
  buffer[3] = '\0';
  EXPECT_EQ(zk_Alias_expandStr(buffer, buffer), 0);
  EXPECT_STREQ(buffer, "longer than the name");
}

}  // namespace
