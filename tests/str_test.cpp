#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "zk_baselib.h"

namespace {

std::string repeated(std::size_t count, const char *text = "x") {
  std::string result;
  while (count-- > 0) result += text;
  return result;
}

TEST(Str, InPlace) {
  const struct {
    char *(*operation)(char *);
    const char *before, *after;
  } cases[] = {
      {zk_Str_rlb, " \t\n\v\f\r a b ", "a b "},
      {zk_Str_rlb, " \t ", ""},
      {zk_Str_rlb, "\xA0x", "\xA0x"},  // no white space in any locale but its own
      {zk_Str_rtb, " a b \r\n", " a b"},
      {zk_Str_rtb, " \t ", ""},
      {zk_Str_delBlks, "\t a b\n", "a b"},
      {[](char *s) { return zk_Str_pad(s, 5); }, "abc", "abc  "},
      {[](char *s) { return zk_Str_pad(s, 2); }, "abc", "abc"},
      {[](char *s) { return zk_Str_lj(s, 5); }, "abc", "abc  "},
      {[](char *s) { return zk_Str_lj(s, 3); }, "abcdef", "abc"},
      {[](char *s) { return zk_Str_rj(s, 5); }, "abc", "  abc"},
      {[](char *s) { return zk_Str_rj(s, 3); }, "abcdef", "abc"},
      {[](char *s) { return zk_Str_cj(s, 6); }, "abc", " abc  "},  // the odd blank on the right
      {[](char *s) { return zk_Str_cj(s, 7); }, "abc", "  abc  "},
      {[](char *s) { return zk_Str_cj(s, 3); }, "abcdef", "abc"},
      {[](char *s) { return zk_Str_lj(zk_Str_rj(zk_Str_cj(s, -1), -1), -1); }, "abc", ""},
      {[](char *s) { return zk_Str_stripChar(s, 'a'); }, "abacad", "bcd"},
      {[](char *s) { return zk_Str_stripChar(s, '\0'); }, "abc", "abc"},
      {zk_Str_strip, " a  b\t", "ab\t"},
      {[](char *s) { return zk_Str_stripChars(s, "xy", 0); }, "xaybx", "ab"},
      {[](char *s) { return zk_Str_stripChars(s, "xy", 1); }, "xyaybx", "aybx"},
      {[](char *s) { return zk_Str_stripChars(s, "xy", 1); }, "xyx", ""},
      {[](char *s) { return zk_Str_stripChars(s, s + 2, 0); }, "abbc", "a"},  // set in the string
      {[](char *s) { return zk_Str_stripChars(s, nullptr, 0); }, "abc", "abc"},
      {[](char *s) { return zk_Str_toUpper(s, s); }, "aZ1\xC3\xA9", "AZ1\xC3\xA9"},
      {[](char *s) { return zk_Str_toLower(s, s + 1); }, "aBCd", "bcd"},
      {[](char *s) { return zk_Str_toLower(s, nullptr); }, "ABC", ""},
      {[](char *s) { return zk_Str_cpy(s, s + 2); }, "abcde", "cde"},
      {[](char *s) { return zk_Str_cpy(s + 1, s) - 1; }, "abc", "aabc"},
      {[](char *s) { return zk_Str_cat(s, s); }, "abc", "abcabc"},
      {[](char *s) { return zk_Str_cat(s, s + 2); }, "abc", "abcc"},
      {[](char *s) { return zk_Str_substr(s, s, 2, 3); }, "abcdef", "bcd"},
      {[](char *s) { return zk_Str_substr(s, s, -4, 2); }, "abc", "ab"},
      {[](char *s) { return zk_Str_substr(s, s, 3, INT_MAX); }, "abc", "c"},
      {[](char *s) { return zk_Str_substr(s, s, 4, 1); }, "abc", ""},
      {[](char *s) { return zk_Str_substr(s, "ab", INT_MAX, INT_MAX); }, "abc", ""},
      {[](char *s) { return zk_Str_substr(s, s, 1, -1); }, "abc", ""},
      {[](char *s) { return zk_Str_substr(s, nullptr, 1, 1); }, "abc", ""},
      {[](char *s) { return zk_Str_replaceKeyword(s, "A", "%", s, 9); }, "x%A%", "xx%A%"},
      {[](char *s) { return zk_Str_replaceKeyword(s, "A", "%", "value", 4); }, "x%A%", "xval"},
      {[](char *s) { return zk_Str_replaceKeyword(s, "B", "%", "value", 2); }, "x%A%", "x%"},
  };
  for (const auto &c : cases) {
    char buffer[16];
    std::memset(buffer, '#', sizeof buffer);
    std::strcpy(buffer, c.before);
    EXPECT_EQ(c.operation(buffer), buffer) << &c - cases;
    EXPECT_STREQ(buffer, c.after) << &c - cases << ": " << c.before;
  }
}

TEST(Str, NullResultsThatAreNotTheDestination) {
  char text[8] = "abc";
  EXPECT_EQ(zk_Str_cat(text, nullptr), nullptr);
  EXPECT_EQ(zk_Str_replaceKeyword(text, nullptr, "%", "v", 3), nullptr);
  EXPECT_STREQ(text, "abc");
  EXPECT_EQ(zk_Str_cpy(text, nullptr), nullptr);
  EXPECT_STREQ(text, "");
}

TEST(Str, NcpyTellsWhetherTheBufferIsFull) {
  const struct {
    const char *source;
    int32_t n;
    int result;
    const char *after;
  } cases[] = {{"abc", 3, 1, "abc"}, {"abc", 4, 0, "abc"}, {"abc", 2, 1, "ab"}, {"abc", 0, 0, ""},
               {"abc", -1, 0, ""},   {nullptr, 3, 0, ""},  {"", 1, 0, ""}};
  for (const auto &c : cases) {
    char buffer[8] = "######";
    EXPECT_EQ(zk_Str_ncpy(buffer, c.source, c.n), c.result) << c.n;
    EXPECT_STREQ(buffer, c.after) << c.n;
  }
}

TEST(Str, CompareIgnoringCase) {
  const struct {
    const char *a, *b;
    int result;
    int firstTwo;
  } cases[] = {
      {"abc", "ABC", 0, 0}, {"ab", "abc", -1, 0},   {"abd", "ABC", 1, 0},
      {"a", "B", -1, -1},   {"\xE9", "z", 1, 1},  // bytes are unsigned
      {"a_", "aB", 1, 1},                         // "_" lies between the cases: folding is to upper
      {nullptr, "", 0, 0},  {nullptr, "a", -1, -1},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(zk_Str_cmpi(c.a, c.b), c.result) << c.b;
    EXPECT_EQ(zk_Str_cmpi(c.b, c.a), -c.result) << c.b;
    EXPECT_EQ(zk_Str_ncmpi(c.a, c.b, 2), c.firstTwo) << c.b;
    EXPECT_EQ(zk_Str_ncmpi(c.a, c.b, INT_MAX), c.result) << c.b;
    EXPECT_EQ(zk_Str_ncmpi(c.a, c.b, -1), 0) << c.b;
  }
}

TEST(Str, WordByWord) {
  const struct {
    char *(*next)(char *, const char *, int32_t *);
    const char *source;
    std::vector<std::pair<std::string, int32_t>> words;  // and the position behind each
  } cases[] = {
      {zk_Str_nextSDLWord, "  ab cde ", {{"ab", 4}, {"cde", 8}, {"", 9}, {"", 9}}},
      {zk_Str_nextSDLWord, "a\tb", {{"a\tb", 3}, {"", 3}}},
      {zk_Str_nextCDLWord, "ab;;c d;", {{"ab", 2}, {"", 3}, {"c d", 7}, {"", 8}}},
      {zk_Str_nextCDLWord, ";a", {{"a", 2}, {"", 2}}},  // the field in front is stepped over
  };
  for (const auto &c : cases) {
    int32_t position = 0;
    for (const auto &[word, behind] : c.words) {
      char buffer[16] = "#";
      EXPECT_EQ(c.next(buffer, c.source, &position), buffer);
      EXPECT_EQ(buffer, word) << c.source;
      EXPECT_EQ(position, behind) << c.source;
    }
    for (const int32_t outside : {-1, 100, INT_MAX, INT_MIN}) {
      char buffer[16] = "#";
      position = outside;
      EXPECT_EQ(c.next(buffer, c.source, &position), buffer);
      EXPECT_STREQ(buffer, "");
      EXPECT_EQ(position, outside);
    }
  }
  // A text may be consumed in place.
  char text[] = "ab cd";
  int32_t position = 2;
  zk_Str_nextSDLWord(text, text, &position);
  EXPECT_STREQ(text, "cd");
}

TEST(Str, Tokens) {
  const std::string word = repeated(510);
  const std::string longest = word + ",b";
  const std::string tooLong = longest + "b";
  const std::string most = repeated(256, "a,");
  const struct {
    const char *string, *delimiters;
    int32_t n;
    const char *token;
    int32_t offset;
    const char *rightToken;
    int32_t rightOffset;
  } cases[] = {
      {"a,,b", ",", 1, "b", 3, "a", 0},
      {"a,,b", ",", 0, "a", 0, "b", 3},
      {",;ab;,cd,;", ",;", 0, "ab", 2, "cd", 6},
      {"a,b", ",", 2, nullptr, -1, nullptr, -1},
      {"a,b", ",", -1, nullptr, -1, nullptr, -1},
      {",,", ",", 0, nullptr, -1, nullptr, -1},
      {"", ",", 0, nullptr, -1, nullptr, -1},
      {"a,b", "", 0, "a,b", 0, "a,b", 0},
      {"a,b", nullptr, 0, nullptr, -1, nullptr, -1},
      {longest.c_str(), ",", 1, "b", 511, word.c_str(), 0},
      {tooLong.c_str(), ",", 1, nullptr, -1, nullptr, -1},
      {most.c_str(), ",", 255, "a", 510, "a", 0},
      {most.c_str(), ",", 256, nullptr, -1, nullptr, -1},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << "case " << &c - cases);
    int32_t offset = 99;
    EXPECT_STREQ(zk_Str_getNthToken(c.string, c.delimiters, c.n, &offset), c.token);
    EXPECT_EQ(offset, c.offset);
    offset = 99;
    EXPECT_STREQ(zk_Str_getRightNthToken(c.string, c.delimiters, c.n, &offset), c.rightToken);
    EXPECT_EQ(offset, c.rightOffset);
  }
}

// Where the code page is UTF-8, a character of two bytes is one delimiter, and a keyword does not
// begin inside a character.
TEST(Str, CharactersOfTheCodePage) {
  char text[8];
  if (*zk_Str_toUpper(text, "\xE9") != '\xE9') GTEST_SKIP() << "a single-byte code page";
  int32_t offset;
  EXPECT_STREQ(zk_Str_getNthToken("a\xC3\xA9|\xC3\xA8", "\xC3\xA9", 1, &offset), "|\xC3\xA8");
  EXPECT_EQ(offset, 3);
  EXPECT_STREQ(zk_Str_getRightNthToken("a\xC3\xA8|\xC3\xA9", "\xC3\xA9", 0, &offset), "a\xC3\xA8|");
  EXPECT_EQ(offset, 0);
  StrList *list = zk_StrList_fromDelimitedString("a\xC3\xA9|\xC3\xA8", "\xC3\xA9");
  EXPECT_EQ(zk_StrList_length(list), 2u);
  zk_StrList_destroy(list);
  EXPECT_EQ(zk_Str_locateKeyword("\xC3\x89|\x89", "\x89"), nullptr);
  char *result = zk_Str_replaceKeywordDynamic("\xC3\x89|\x89", "\x89", "", "1");
  EXPECT_STREQ(result, "\xC3\x89|1");
  zk_Free(result);
}

TEST(Str, StaticResultsAreSeparateAndMayBePassedBackIn) {
  const char *left = zk_Str_getNthToken("k=a b c", "=", 1, nullptr);
  const char *right = zk_Str_getRightNthToken("x y,z", ",", 1, nullptr);
  EXPECT_STREQ(left, "a b c");
  EXPECT_STREQ(zk_Str_getNthToken(left, " ", 1, nullptr), "b");
  EXPECT_STREQ(zk_Str_getRightNthToken(right, " ", 0, nullptr), "y");

  // The delimiters may be a result as well.
  const char *delimiters = zk_Str_getNthToken("1 ;", " ", 1, nullptr);
  EXPECT_STREQ(zk_Str_getNthToken("aa;bb", delimiters, 1, nullptr), "bb");

  const char *replaced = zk_Str_replaceChar("a-b-c", "-", "--");
  EXPECT_STREQ(zk_Str_replaceChar(replaced, "--", "+"), "a+b+c");
  const char *same = zk_Str_replaceChar("ab", "x", "");
  EXPECT_STREQ(zk_Str_replaceChar("xaby", same, same), "xaby");

  const char *keyword = zk_Str_locateKeyword("[%a#b#%]", "%");
  EXPECT_STREQ(zk_Str_locateKeyword(keyword, "#"), "b");
}

TEST(Str, Index) {
  const struct {
    const char *string, *substring;
    int32_t exact, ignoringCase;
  } cases[] = {{"abcABC", "ABC", 3, 0}, {"abc", "bcd", -1, -1}, {"ab", "abc", -1, -1},
               {"aab", "AB", -1, 1},    {"abc", "", 0, 0},      {"", "", 0, 0},
               {nullptr, "a", -1, -1},  {"a", nullptr, -1, -1}, {"abc", "C", -1, 2}};
  for (const auto &c : cases) {
    EXPECT_EQ(zk_Str_index(c.string, c.substring, 0), c.exact) << &c - cases;
    EXPECT_EQ(zk_Str_index(c.string, c.substring, 1), c.ignoringCase) << &c - cases;
  }
}

TEST(Str, Keywords) {
  const struct {
    const char *string, *delimiter, *located;
  } located[] = {{"a %NAME% b", "%", "NAME"}, {"a %% b", "%", ""},   {"a % b", "%", nullptr},
                 {"a<%X<%", "<%", "X"},       {"abc", "%", nullptr}, {"abc", "", ""}};
  for (const auto &c : located) {
    EXPECT_STREQ(zk_Str_locateKeyword(c.string, c.delimiter), c.located) << c.string;
  }
  std::string longKeyword(302, 'x');
  longKeyword.front() = longKeyword.back() = '%';
  EXPECT_EQ(zk_Str_locateKeyword(longKeyword.c_str(), "%"), repeated(263));

  const struct {
    const char *string, *keyword, *delimiter, *value, *result;
  } replaced[] = {
      {"x %A% y %A%", "A", "%", "1", "x 1 y %A%"},
      {"x %a% y", "A", "%", "1", "x %a% y"},
      {"%A%", "A", "%", "", ""},
      {"x %A%", "A", "%", "longer than it was", "x longer than it was"},
      {"abc", "", "", "1", "abc"},  // an empty pattern occurs nowhere
  };
  for (const auto &c : replaced) {
    char *result = zk_Str_replaceKeywordDynamic(c.string, c.keyword, c.delimiter, c.value);
    EXPECT_STREQ(result, c.result);
    zk_Free(result);
  }
}

TEST(Str, ReplaceChar) {
  const std::string blanks = repeated(300, " ");
  const struct {
    const char *string, *from, *to;
    std::string result;
  } cases[] = {
      {"a.b.c", ".", "::", "a::b::c"},
      {"aaa", "aa", "a", "aa"},  // inserted text is not searched again
      {"abc", "b", nullptr, "ac"},
      {"abc", "", "x", "abc"},
      {"abc", nullptr, "x", "abc"},
      {nullptr, "a", "b", ""},
      {"", "a", "b", ""},
      {blanks.c_str(), " ", "ab", repeated(256, "ab").substr(0, 511)},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(zk_Str_replaceChar(c.string, c.from, c.to), c.result) << &c - cases;
  }
}

// One pass: a star is never tried again. Behind a star every character stands for itself. "?" at
// the end of the pattern also matches the end of the string, once.
TEST(Str, Wildcards) {
  const struct {
    const char *string, *pattern;
    int result;
  } cases[] = {{"abc", "a*c", 1},   {"abc", "*", 1},   {"abc", "", 0},     {"", "", 1},
               {"", "*", 1},        {"abc", "a?c", 1}, {"abc", "ab", 0},   {"ab", "abc", 0},
               {"abc", "**c", 1},   {"abc", "a*", 1},  {"abc", "*d*", 0},  {"a.dbf", "*.dbf", 1},
               {"abc", "ABC", 0},   {"aab", "*ab", 0}, {"abab", "*ab", 0}, {"abab", "*b*b", 1},
               {"abc", "*?", 0},    {"ab?", "*?", 1},  {"abc", "abc?", 1}, {"abc", "abc?*", 1},
               {"abc", "abc??", 0}, {"", "?", 1},      {"ab", "ab?c", 0},  {"abc", "abc?*c", 0},
               {"ab", "*b?", 1}};
  for (const auto &c : cases) {
    EXPECT_EQ(zk_Str_matchWildcard(c.string, c.pattern), c.result) << c.string << " " << c.pattern;
  }
  EXPECT_EQ(zk_Str_matchWildcardi("Table.DBF", "t*.d?f"), 1);
  EXPECT_EQ(zk_Str_matchWildcardi("Table.CDX", "t*.d?f"), 0);
}

TEST(Str, YesAndNo) {
  for (const char *yes : {"1", "true", "Yes", "ON"}) {
    EXPECT_EQ(zk_Str_isAffirmative(yes) - zk_Str_isNegative(yes), 1) << yes;
  }
  for (const char *no : {"0", "FALSE", "no", "Off"}) {
    EXPECT_EQ(zk_Str_isAffirmative(no) - zk_Str_isNegative(no), -1) << no;
  }
  for (const char *neither : {"", "10", "Y", " on", "falsee"}) {
    EXPECT_EQ(zk_Str_isAffirmative(neither) + zk_Str_isNegative(neither), 0) << neither;
  }
}

TEST(Str, Versions) {
  const struct {
    const char *a, *b;
    int result;
  } cases[] = {{"2.0", "10.0", -1}, {"1.0", "1.0", 0},    {"1.10", "1.9", 1},
               {"1.2", "1.2.1", 0}, {"1.2.1", "1.2", 1},  {"1.2.0", "1.2", 0},
               {"1.0", nullptr, 1}, {nullptr, "1.0", -1}, {nullptr, nullptr, 0},
               {"1. 3", "1.2b", 1}, {"", "1", 0},         {"1", "", 1},
               {"1..2", "1.2", 0},  {"1.2A", "1.2a", 0}};
  for (const auto &c : cases) EXPECT_EQ(zk_Str_compareVersion(c.a, c.b), c.result) << &c - cases;
}

TEST(Str, Wrapping) {
  const struct {
    const char *text;
    int32_t width;
    std::vector<std::string> lines;
  } cases[] = {
      {"hello world", 5, {"hello", "world"}},
      {"the quick brown fox", 10, {"the quick", " brown fox"}},
      {"aaaa bb", 5, {"aaaa", " bb"}},  // only lines that are cut lose the blank in front
      {"abcdefghijkl", 5, {"abcde", "fghij", "kl"}},
      {"ab cdefghijk", 5, {"ab", "cdefg", "hijk"}},
      {"short", 5, {"short"}},
      {"", 5, {""}},
      {"any text", 0, {"any text"}},
      {"any text", -7, {"any text"}},
      {"a b", 1, {"a", "b"}},
  };
  for (const auto &c : cases) {
    StrList *list = zk_Str_wrapText(c.text, c.width);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(zk_StrList_eol(list), 1);
    std::vector<std::string> lines;
    for (zk_StrList_start(list); !zk_StrList_eol(list); zk_StrList_next(list)) {
      lines.emplace_back(zk_StrList_getCurr(list));
    }
    EXPECT_EQ(lines, c.lines) << c.text;
    zk_StrList_destroy(list);
  }
  EXPECT_EQ(zk_Str_wrapText(nullptr, 5), nullptr);
}

TEST(Str, ClosestWordBoundary) {
  const struct {
    const char *string;
    int32_t n, result;
  } cases[] = {{"ab cd", 5, 3}, {"ab cd", 3, 1}, {"abcde", 4, 0}, {" abc", 4, 4},
               {"ab c", 99, 2}, {"", 3, 0},      {"a b", -1, 0},  {"a\tb", 3, 0}};
  for (const auto &c : cases) {
    EXPECT_EQ(zk_Str_findClosestWordBoundary(c.string, c.n), c.result) << c.string;
  }
}

}  // namespace
