#include <algorithm>
#include <climits>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "tests/field_lists.h"

namespace {

using support::describe;
using support::Fields;
using support::position;
using support::Strings;

constexpr ZkPoint kPoint = {1, 2.5, -3};

Strings twoStrings() { return Strings(zk_StrList_create("a", "b", ZK_END)); }

// A field of every type, named after its code. V holds an integer, S two strings.
Fields everyType() {
  FldList *list = zk_FldList_create("C", 'C', "text", "H", 'H', "key", "I", 'I', 42, "L", 'L', -7,
                                    "N", 'N', 2.5, "P", 'P', 1.0, 2.5, -3.0, ZK_END);
  zk_FldList_appMpoint(list, "M", &kPoint);
  zk_FldList_appDpoint(list, "D", &kPoint);
  zk_FldList_appVector(list, "O", &kPoint);
  zk_FldList_appList(list, "V", zk_FldList_create("X", 'I', 1, ZK_END));
  zk_FldList_appStrList(list, "S", twoStrings().release());
  zk_FldList_appUnknown(list, "U");
  return Fields(list);
}
constexpr char kTypes[] = "CHILNPMDOVSU";

TEST(FldList, CreateReadsTriples) {
  const struct {
    FldList *list;
    const char *fields;
  } kCases[] = {
      {zk_FldList_create(ZK_END), ""},
      {zk_FldList_create("part", 'C', "A-100", "Key", 'H', "ab1", ZK_END),
       "PART=C'A-100', KEY=H'AB1'"},
      {zk_FldList_create("n\xC3\xA4me", 'C', ZK_END, ZK_END), "N\xC3\xA4ME=Cnull"},
      {zk_FldList_create("a", 'I', -9999, "b", 'L', -9999, "c", 'I', -9998, ZK_END),
       "A=I0, B=L0, C=I-9998"},
      {zk_FldList_create("a", 'N', -9999.005, "b", 'N', -9998.995, "c", 'N', -9999.02, ZK_END),
       "A=N0, B=N0, C=N-9999.02"},
      {zk_FldList_create("p", 'P', 1.0, 2.0, 3.0, "m", 'M', 4.0, 5.0, 6.0, "d", 'D', 7.0, 8.0, 9.0,
                         "o", 'O', -9999.0, 0.5, 1e3, "last", 'I', 1, ZK_END),
       "P=P(1 2 3), M=M(4 5 6), D=D(7 8 9), O=O(-9999 0.5 1000), LAST=I1"},
      // No list is taken: one int is skipped.
      {zk_FldList_create("x", 'V', 77, "y", 'I', 5, "s", 'S', 0, "u", 'U', 0, "?", '?', 0, ZK_END),
       "X=U, Y=I5, S=U, U=U, ?=U"},
  };
  for (const auto &c : kCases) {
    const Fields list(c.list);
    EXPECT_EQ(describe(list), c.fields);
    EXPECT_EQ(zk_FldList_eol(c.list), 1);
  }
}

TEST(FldList, NewNodes) {
  FldNode *nodes[] = {zk_FldList_newHandle("abc", "xyz"), zk_FldList_newUnknown(nullptr)};
  EXPECT_EQ(describe(*nodes[0]), "ABC=H'XYZ'");
  EXPECT_EQ(describe(*nodes[1]), "(null)=U");
  EXPECT_EQ(nodes[1]->value.text, nullptr);
  for (FldNode *node : nodes) {
    EXPECT_EQ(node->marker1, 1);
    EXPECT_EQ(node->marker2, 0);
    EXPECT_EQ(zk_FldList_destroyNode(node), 1);
  }
  EXPECT_EQ(zk_FldList_newPoint("P", nullptr), nullptr);
}

TEST(FldList, AppendAllowsDuplicatesAndFindTakesTheFirst) {
  const Fields list(zk_FldList_create("Width", 'I', 3, "other", 'I', 1, ZK_END));
  zk_FldList_start(list.get());
  EXPECT_EQ(zk_FldList_appInt(list.get(), "WIDTH", 4), ZK_FLD_OK);
  EXPECT_EQ(position(list), "WIDTH");

  int32_t value = 0;
  EXPECT_EQ(zk_FldList_getInt(list.get(), "wIDTH", &value), ZK_FLD_OK);
  EXPECT_EQ(value, 3);
  EXPECT_NE(zk_FldList_find(list.get(), "other"), nullptr);
  EXPECT_EQ(zk_FldList_find(list.get(), nullptr), nullptr);
  EXPECT_EQ(position(list), "OTHER");
  for (const char *missing : {"", "WIDT", "WIDTHS", "WIDTH "}) {
    EXPECT_EQ(zk_FldList_find(list.get(), missing), nullptr) << missing;
    EXPECT_EQ(position(list), "(end)");
  }
  EXPECT_EQ(zk_FldList_count(list.get()), 3U);
}

TEST(FldList, WhatAListRefusesStaysTheCallers) {
  // Without a list the field is lost, though the result is success.
  const Fields nested(zk_FldList_create("X", 'I', 1, ZK_END));
  const Strings strings = twoStrings();
  EXPECT_EQ(zk_FldList_appChar(nullptr, "A", "text"), ZK_FLD_OK);
  EXPECT_EQ(zk_FldList_appList(nullptr, "A", nested.get()), ZK_FLD_OK);
  EXPECT_EQ(zk_FldList_modList(nullptr, "A", nested.get()), ZK_FLD_OK);
  EXPECT_EQ(zk_FldList_appStrList(nullptr, "A", strings.get()), ZK_FLD_OK);

  EXPECT_EQ(zk_FldList_appList(nested.get(), "SELF", nested.get()), ZK_FLD_NOTHING_DONE);
  EXPECT_EQ(zk_FldList_modList(nested.get(), "X", nested.get()), ZK_FLD_NOTHING_DONE);
  EXPECT_EQ(zk_FldList_appPoint(nested.get(), "P", nullptr), ZK_FLD_NOTHING_DONE);
  EXPECT_EQ(zk_FldList_modPoint(nested.get(), "X", nullptr), ZK_FLD_NOTHING_DONE);
  EXPECT_EQ(zk_FldList_addPointVal(nested.get(), "X", nullptr), ZK_FLD_NOTHING_DONE);
  EXPECT_EQ(describe(nested), "X=I1");
}

// ---- Reading: what each read makes of each type

std::string outcome(int code, const std::string &result) {
  return std::to_string(code) + " " + result;
}
template <int (*read)(FldList *, const char *, char *, int32_t)>
std::string getText(FldList *list, const char *name) {
  char text[64] = "old";
  const int code = read(list, name, text, 63);
  return outcome(code, text);
}
template <int (*read)(const FldList *, char *, int32_t)>
std::string currText(FldList *list, const char *) {
  char text[64] = "old";
  const int code = read(list, text, 63);
  return outcome(code, text);
}
template <typename T, int (*read)(FldList *, const char *, T *)>
std::string getNumber(FldList *list, const char *name) {
  T value = 9;
  const int code = read(list, name, &value);
  return outcome(code, support::number(value));
}
template <typename T, int (*read)(const FldList *, T *)>
std::string currNumber(FldList *list, const char *) {
  T value = 9;
  const int code = read(list, &value);
  return outcome(code, support::number(value));
}
std::string show(int code, const ZkPoint &point) {
  return outcome(code, support::number(point.x) + support::number(point.y));
}
template <int (*read)(FldList *, const char *, ZkPoint *)>
std::string getPoint(FldList *list, const char *name) {
  ZkPoint point = {9, 9, 9};
  const int code = read(list, name, &point);
  return show(code, point);
}
template <int (*read)(const FldList *, ZkPoint *)>
std::string currPoint(FldList *list, const char *) {
  ZkPoint point = {9, 9, 9};
  const int code = read(list, &point);
  return show(code, point);
}
std::string currList(FldList *list, const char *) {
  LnkList *nested = nullptr;
  const int code = zk_FldList_currList(list, &nested);
  return outcome(code, std::to_string(zk_LnkList_length(nested)));
}
std::string currName(FldList *list, const char *) {
  char name[8] = "old";
  const int code = zk_FldList_currFldname(list, name);
  return outcome(code, name);
}
std::string currType(FldList *list, const char *) {
  char type = '?';
  const int code = zk_FldList_currFldtype(list, &type);
  return outcome(code, {type});
}

// In the order of kTypes, and for the field that is not there.
constexpr char kTexts[] = "1 3.7|1 KEY|-3 42|-3 -7|-3 2.500000|-3 |-3 |-3 |-3 |-3 |-3 |-3 |";
constexpr char kHandles[] = "1 3.7|1 KEY|-3 |-3 |-3 |-3 |-3 |-3 |-3 |-3 |-3 |-3 |";
constexpr char kGotReals[] = "-3 3.7|-3 0|1 42|1 -7|1 2.5|-3 0|-3 0|-3 0|-3 0|-3 0|-3 0|-3 0|";
constexpr char kCurrReals[] = "1 3.7|-3 9|1 42|1 -7|1 2.5|-3 9|-3 9|-3 9|-3 9|-3 9|-3 9|-3 9|";
constexpr char kGotIntegers[] = "-3 3|-3 9|1 42|1 -7|1 2|-3 9|-3 9|-3 9|-3 9|-3 9|-3 9|-3 9|";
constexpr char kCurrIntegers[] = "-3 9|-3 9|1 42|1 -7|1 2|-3 9|-3 9|-3 9|-3 9|-3 9|-3 9|-3 9|";
constexpr char kPoints[] =
    "-3 99|-3 99|-3 99|-3 99|-3 99|1 12.5|1 12.5|1 12.5|1 12.5|-3 99|-3 99|-3 99|";
constexpr char kLists[] = "-3 0|-3 0|-3 0|-3 0|-3 0|-3 0|-3 0|-3 0|-3 0|1 1|1 2|-3 0|";
constexpr char kCodes[] = "1 C|1 H|1 I|1 L|1 N|1 P|1 M|1 D|1 O|1 V|1 S|1 U|";

struct Read {
  const char *what;
  // The code and the result, of the field that is named or current.
  std::string (*read)(FldList *list, const char *name);
  const char *results;
  const char *missing;
};
const Read kReads[] = {
    {"getChar", getText<zk_FldList_getChar>, kTexts, "-2 "},
    {"currChar", currText<zk_FldList_currChar>, kTexts, "-1 old"},
    {"getHandle", getText<zk_FldList_getHandle>, kHandles, "-2 "},
    {"currHandle", currText<zk_FldList_currHandle>, kHandles, "-1 old"},
    {"getReal", getNumber<double, zk_FldList_getReal>, kGotReals, "-2 0"},
    {"currReal", currNumber<double, zk_FldList_currReal>, kCurrReals, "-1 9"},
    {"getInt", getNumber<int32_t, zk_FldList_getInt>, kGotIntegers, "-2 9"},
    {"getLong", getNumber<int32_t, zk_FldList_getLong>, kGotIntegers, "-2 9"},
    {"currInt", currNumber<int32_t, zk_FldList_currInt>, kCurrIntegers, "-1 9"},
    {"currLong", currNumber<int32_t, zk_FldList_currLong>, kCurrIntegers, "-1 9"},
    {"getPoint", getPoint<zk_FldList_getPoint>, kPoints, "-2 99"},
    {"getVector", getPoint<zk_FldList_getVector>, kPoints, "-2 99"},
    {"currPoint", currPoint<zk_FldList_currPoint>, kPoints, "-1 99"},
    {"currVector", currPoint<zk_FldList_currVector>, kPoints, "-1 99"},
    // No current field is a wrong type here.
    {"currList", currList, kLists, "-3 0"},
    {"currFldname", currName, kCodes, "-1 old"},
    {"currFldtype", currType, kCodes, "-1 ?"},
};

TEST(FldListReads, EveryTypeByEveryFunction) {
  const Fields list = everyType();
  zk_FldList_modChar(list.get(), "C", "3.7");
  for (const Read &read : kReads) {
    std::istringstream results(read.results);
    for (const char *type = kTypes; *type != '\0'; ++type) {
      const std::string name(1, *type);
      std::string expected;
      std::getline(results, expected, '|');
      ASSERT_NE(zk_FldList_find(list.get(), name.c_str()), nullptr);
      EXPECT_EQ(read.read(list.get(), name.c_str()), expected) << read.what << " of " << name;
      EXPECT_EQ(position(list), name);
    }
    EXPECT_EQ(zk_FldList_find(list.get(), "missing"), nullptr);
    EXPECT_EQ(read.read(list.get(), "missing"), read.missing) << read.what;
  }
}

TEST(FldListReads, SizesCountCharacters) {
  const Fields list(
      zk_FldList_create("C", 'C', "abcdef", "I", 'I', 123456, "N", 'N', 1e300, ZK_END));
  const struct {
    const char *name;
    int32_t size;
    const char *text;
  } kCases[] = {{"C", 6, "abcdef"}, {"C", 5, "abcde"}, {"C", 0, ""},     {"C", -1, ""},
                {"C", INT_MIN, ""}, {"I", 3, "123"},   {"N", 4, "1000"}, {"N", 0, ""}};
  for (const auto &c : kCases) {
    std::vector<char> text(static_cast<std::size_t>(std::max(c.size, 0)) + 1, '?');  // not one more
    zk_FldList_getChar(list.get(), c.name, text.data(), c.size);
    EXPECT_STREQ(text.data(), c.text) << c.name << " " << c.size;
    text[0] = '?';
    zk_FldList_currChar(list.get(), text.data(), c.size);
    EXPECT_STREQ(text.data(), c.text) << c.name << " " << c.size;
  }
}

TEST(FldListReads, ANullTextReadsAsNone) {
  const Fields list(zk_FldList_create("C", 'C', ZK_END, ZK_END));
  zk_FldList_start(list.get());
  char text[] = "old";
  EXPECT_EQ(zk_FldList_currChar(list.get(), text, 3), ZK_FLD_OK);
  EXPECT_EQ(zk_FldList_currHandle(list.get(), text, 3), ZK_FLD_OK);
  EXPECT_STREQ(text, "old");
  EXPECT_EQ(zk_FldList_getChar(list.get(), "C", text, 3), ZK_FLD_OK);
  EXPECT_STREQ(text, "");
  int32_t value = 9;
  EXPECT_EQ(zk_FldList_getInt(list.get(), "C", &value), ZK_FLD_WRONG_TYPE);
  EXPECT_EQ(value, 9);
}

TEST(FldListReads, NumbersThatDoNotFit) {
  const double kNan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    double real;
    int32_t integer;
  } kReals[] = {
      {2.9, 2},           {-2.9, -2},          {2147483647.9, INT32_MAX}, {2147483648.0, INT32_MIN},
      {1e300, INT32_MIN}, {-1e300, INT32_MIN}, {kNan, INT32_MIN}};
  int32_t value = 0;
  for (const auto &c : kReals) {
    const Fields list(zk_FldList_create("N", 'N', c.real, ZK_END));
    EXPECT_EQ(zk_FldList_getInt(list.get(), "N", &value), ZK_FLD_OK);
    EXPECT_EQ(value, c.integer) << c.real;
  }
  const struct {
    const char *text;
    int32_t integer;
  } kDigits[] = {{"99999999999", INT32_MAX}, {"-99999999999", INT32_MIN}, {" 12 x", 12}, {"", 0}};
  for (const auto &c : kDigits) {
    const Fields list(zk_FldList_create("C", 'C', c.text, ZK_END));
    EXPECT_EQ(zk_FldList_getLong(list.get(), "C", &value), ZK_FLD_WRONG_TYPE);
    EXPECT_EQ(value, c.integer) << c.text;
  }
}

// ---- Changing

using Store = int (*)(FldList *list, const char *name);
struct Type {
  char code;
  Store app;
  Store mod;  // null: there is none
  Store add;
  const char *appended;  // as described, of the field X
  const char *modified;
};
#define ZK_STORES(Type, ...)                                                                       \
  [](FldList *l, const char *n) { return zk_FldList_app##Type(l, n __VA_OPT__(, ) __VA_ARGS__); }, \
      [](FldList *l, const char *n) {                                                              \
        return zk_FldList_mod##Type(l, n __VA_OPT__(, ) __VA_ARGS__);                              \
      },                                                                                           \
      [](FldList *l, const char *n) {                                                              \
        return zk_FldList_add##Type##Val(l, n __VA_OPT__(, ) __VA_ARGS__);                         \
      }
const Type kStored[] = {
    {'C', ZK_STORES(Char, "New"), "X=C'New'", "X=C'New'"},
    // Only a new handle is put in upper case.
    {'H', ZK_STORES(Handle, "Key"), "X=H'KEY'", "X=H'Key'"},
    {'I', ZK_STORES(Int, 5), "X=I5", "X=I5"},
    {'L', ZK_STORES(Long, -9999), "X=L-9999", "X=L-9999"},
    {'N', ZK_STORES(Real, -9999.0), "X=N-9999", "X=N-9999"},
    {'P', ZK_STORES(Point, &kPoint), "X=P(1 2.5 -3)", "X=P(1 2.5 -3)"},
    {'M', ZK_STORES(Mpoint, &kPoint), "X=M(1 2.5 -3)", "X=M(1 2.5 -3)"},
    {'D', ZK_STORES(Dpoint, &kPoint), "X=D(1 2.5 -3)", "X=D(1 2.5 -3)"},
    {'O', ZK_STORES(Vector, &kPoint), "X=O(1 2.5 -3)", "X=O(1 2.5 -3)"},
    {'U', ZK_STORES(Unknown), "X=U", "X=U"},
    {'V',
     [](FldList *l, const char *n) { return zk_FldList_appList(l, n, zk_FldList_create(ZK_END)); },
     [](FldList *l, const char *n) { return zk_FldList_modList(l, n, zk_FldList_create(ZK_END)); },
     nullptr, "X=V{}", "X=V{}"},
};

TEST(FldListChanges, ModifyKeepsThePlaceOrAppends) {
  for (const Type &to : kStored) {
    for (const Type &from : kStored) {
      SCOPED_TRACE(std::string(1, from.code) + " becomes " + to.code);
      const Fields list(zk_FldList_create("A", 'I', 1, ZK_END));
      EXPECT_EQ(from.app(list.get(), "x"), ZK_FLD_OK);
      EXPECT_EQ(from.app(list.get(), "x"), ZK_FLD_OK);
      zk_FldList_appInt(list.get(), "B", 2);
      EXPECT_EQ(describe(list),
                std::string("A=I1, ") + from.appended + ", " + from.appended + ", B=I2");

      // A nested list that is replaced is not destroyed.
      const FldNode *node = zk_FldList_find(list.get(), "X");
      const Fields orphan(from.code == 'V' ? node->value.list : nullptr);
      EXPECT_EQ(to.mod(list.get(), "x"), ZK_FLD_OK);
      EXPECT_EQ(zk_FldList_curr(list.get()), node);
      EXPECT_EQ(describe(list),
                std::string("A=I1, ") + to.modified + ", " + from.appended + ", B=I2");
    }
    const Fields empty(zk_FldList_create(ZK_END));
    EXPECT_EQ(to.mod(empty.get(), "x"), ZK_FLD_OK);
    EXPECT_EQ(describe(empty), to.appended);
  }
}

// Texts change between the node's own block and others without loss.
TEST(FldListChanges, TextsInAnyBlockAreReleased) {
  const Fields list(zk_FldList_create("C", 'C', "text", ZK_END));
  for (const char *text : {"a", "a longer text", "", "an even longer text"}) {
    EXPECT_EQ(zk_FldNode_updateFldValue(zk_FldList_find(list.get(), "C"), text), 1);
    EXPECT_EQ(describe(list), std::string("C=C'") + text + "'");
    EXPECT_EQ(zk_FldList_modHandle(list.get(), "C", text), ZK_FLD_OK);
    EXPECT_EQ(zk_FldList_modChar(list.get(), "C", text), ZK_FLD_OK);
  }
  // A node that a host has put together.
  auto *node = static_cast<FldNode *>(zk_Calloc(1, sizeof(FldNode)));
  node->name = zk_Str_dup("HOST");
  node->type = ZK_FLD_HANDLE;
  node->value.text = zk_Str_dup("its text");
  zk_LnkList_insEnd(list.get(), node);
  const Fields copy(zk_FldList_copy(list.get()));
  EXPECT_EQ(describe(copy), describe(list));
  EXPECT_EQ(zk_FldList_modInt(list.get(), "host", 1), ZK_FLD_OK);
  EXPECT_EQ(describe(list), "C=C'an even longer text', HOST=I1");
}

TEST(FldListChanges, AFieldsOwnTextMayBeGiven) {
  const Fields list(zk_FldList_create("C", 'C', "own text", ZK_END));
  const FldNode *node = zk_FldList_find(list.get(), "C");
  EXPECT_EQ(zk_FldList_modHandle(list.get(), node->name, node->value.text + 4), ZK_FLD_OK);
  EXPECT_EQ(describe(list), "C=H'text'");
}

TEST(FldListValues, ARepeatedNameBecomesAListOfItsValues) {
  for (const Type &type : kStored) {
    if (type.add == nullptr) continue;
    const Fields list(zk_FldList_create("A", 'I', 1, ZK_END));
    const std::string value = type.appended;
    EXPECT_EQ(type.add(list.get(), "x"), ZK_FLD_OK);
    zk_FldList_appInt(list.get(), "B", 2);
    EXPECT_EQ(describe(list), "A=I1, " + value + ", B=I2");
    EXPECT_EQ(type.add(list.get(), "X"), ZK_FLD_OK);
    EXPECT_EQ(describe(list), "A=I1, X=V{" + value + ", " + value + "}, B=I2");
    EXPECT_EQ(type.add(list.get(), "x"), ZK_FLD_OK);
    EXPECT_EQ(describe(list), "A=I1, X=V{" + value + ", " + value + ", " + value + "}, B=I2");
    EXPECT_EQ(position(list), "X");
  }
}

TEST(FldListValues, AddValDispatchesOnTheCode) {
  const int32_t integer = 7;
  const double real = 2.5;
  const struct {
    char type;
    const void *value;
    int result;
    const char *fields;
  } kCases[] = {
      {'C', "text", 1, "K=C'text'"},
      {'H', "key", 1, "K=H'KEY'"},
      {'I', &integer, 1, "K=I7"},
      {'L', &integer, 1, "K=L7"},
      {'N', &real, 1, "K=N2.5"},
      {'P', &kPoint, 1, "K=P(1 2.5 -3)"},
      {'M', &kPoint, 1, "K=M(1 2.5 -3)"},
      {'D', &kPoint, 1, "K=D(1 2.5 -3)"},
      {'O', &kPoint, 1, "K=O(1 2.5 -3)"},
      {'U', nullptr, 1, "K=U"},
      {'C', nullptr, 1, "K=Cnull"},
      {'I', nullptr, 0, ""},
      {'N', nullptr, 0, ""},
      {'P', nullptr, 0, ""},
      {'V', &integer, 0, ""},
      {'S', &integer, 0, ""},
      {'c', "text", 0, ""},
      {'\0', "text", 0, ""},
  };
  for (const auto &c : kCases) {
    const Fields list(zk_FldList_create(ZK_END));
    EXPECT_EQ(zk_FldList_addVal(list.get(), "k", c.type, c.value), c.result) << c.type;
    EXPECT_EQ(describe(list), c.fields) << c.type;
  }
}

TEST(FldListValues, ConvertNodeToList) {
  const Fields list(zk_FldList_create("A", 'I', 1, "B", 'C', "b", ZK_END));
  FldNode *inner = zk_FldList_find(list.get(), "A");
  FldNode *outer = zk_FldList_convertNodeToList(list.get(), "a");
  EXPECT_EQ(zk_FldList_curr(list.get()), outer);
  EXPECT_EQ(outer->value.list->first->data, inner);
  EXPECT_EQ(zk_FldList_convertNodeToList(list.get(), "a"), nullptr) << "it is one already";
  EXPECT_EQ(zk_FldList_convertNodeToList(list.get(), "new"), nullptr);
  EXPECT_EQ(describe(list), "A=V{A=I1}, B=C'b', NEW=Vnull");

  // The value that comes to a list which is not there is kept.
  EXPECT_EQ(zk_FldList_addIntVal(list.get(), "new", 3), ZK_FLD_OK);
  EXPECT_EQ(describe(list), "A=V{A=I1}, B=C'b', NEW=V{NEW=I3}");
}

TEST(FldListPosition, WalkingAndDeleting) {
  const Fields list = everyType();
  EXPECT_EQ(zk_FldList_start(list.get()), 1);
  EXPECT_EQ(zk_FldList_delCurr(list.get()), 1);
  EXPECT_EQ(position(list), "H");
  EXPECT_EQ(zk_FldList_next(list.get()), 1);
  EXPECT_EQ(zk_FldList_prev(list.get()), 1);
  EXPECT_EQ(zk_FldList_delFld(list.get(), "n"), 1);
  EXPECT_EQ(position(list), "P");
  EXPECT_EQ(zk_FldList_delFld(list.get(), "N"), 0);
  EXPECT_EQ(position(list), "(end)");
  EXPECT_EQ(zk_FldList_delCurr(list.get()), 0);
  EXPECT_EQ(zk_FldList_delFld(list.get(), "u"), 1);
  EXPECT_EQ(position(list), "S") << "the last one deleted";
  EXPECT_EQ(zk_FldList_count(list.get()), 9U);
}

TEST(FldListPosition, ElementsAndNamesThatAreMissing) {
  const Fields list(zk_FldList_create("A", 'I', 1, ZK_END));
  zk_FldList_appInt(list.get(), nullptr, 2);
  zk_LnkList_insEnd(list.get(), nullptr);
  zk_FldList_appInt(list.get(), "B", 3);
  EXPECT_NE(zk_FldList_find(list.get(), "B"), nullptr);
  zk_FldList_prev(list.get());
  char name[8] = "old";
  EXPECT_EQ(zk_FldList_currFldname(list.get(), name), ZK_FLD_NO_CURRENT) << "a null element";
  zk_FldList_prev(list.get());
  EXPECT_EQ(zk_FldList_currFldname(list.get(), name), ZK_FLD_NO_CURRENT) << "a null name";
  EXPECT_STREQ(name, "old");
  const Fields copy(zk_FldList_copy(list.get()));
  EXPECT_EQ(describe(copy), "A=I1, (null)=I2, B=I3");
}

TEST(FldList, NothingTraces) {
  zk_Diag_setLevel(3);
  zk_Diag_setCondition(~0U);
  testing::internal::CaptureStdout();
  {
    const Fields list = everyType();
    zk_FldList_find(list.get(), "V");
    zk_FldList_modUnknown(list.get(), "C");
    zk_FldList_addIntVal(list.get(), "I", 1);
    const Fields copy(zk_FldList_copy(list.get()));
  }
  const std::string lines = testing::internal::GetCapturedStdout();
  zk_Diag_disable();
  EXPECT_EQ(lines.find("FldList"), std::string::npos) << lines;
  EXPECT_EQ(lines.find("fld.cpp"), std::string::npos) << lines;
}

}  // namespace
