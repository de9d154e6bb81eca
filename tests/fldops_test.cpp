#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include "tests/field_lists.h"
#include "tests/support.h"

namespace {

using support::describe;
using support::Fields;
using support::position;
using support::Strings;

constexpr int kDeep = 10'000;

// A field of every type, nested lists and a string list among them.
Fields sample() {
  FldList *list =
      zk_FldList_create("C", 'C', "text", "H", 'H', "KEY", "NONE", 'C', ZK_END, "I", 'I', 3, "L",
                        'L', -7, "N", 'N', 2.5, "P", 'P', 1.0, 2.0, 3.0, "M", 'M', 4.0, 5.0, 6.0,
                        "D", 'D', 7.0, 8.0, 9.0, "O", 'O', -1.0, -2.0, -0.0004, ZK_END);
  FldList *nested = zk_FldList_create("X", 'I', 1, ZK_END);
  zk_FldList_appList(nested, "Y", zk_FldList_create("Z", 'C', "deep", ZK_END));
  zk_FldList_appList(nested, "EMPTY", nullptr);
  zk_FldList_appList(list, "V", nested);
  zk_FldList_appStrList(list, "S", zk_StrList_create("a", ZK_END));
  zk_FldList_appUnknown(list, "U");
  return Fields(list);
}

// "V=V{V=V{... A=I1}}"; `fields` of them at each level.
Fields nestedDeep(int depth, int fields = 1) {
  FldList *list = zk_FldList_create("A", 'I', 1, ZK_END);
  for (int i = 0; i < depth; ++i) {
    FldList *outer = zk_FldList_create(ZK_END);
    for (int j = 1; j < fields; ++j) zk_FldList_appInt(outer, "B", j);
    zk_FldList_appList(outer, "V", list);
    list = outer;
  }
  return Fields(list);
}

// ---- Copying

TEST(FldListCopy, IsDeepAndIndependent) {
  Fields source = sample();
  std::string expected = describe(source);
  zk_FldList_start(source.get());
  const Fields copy(zk_FldList_copy(source.get()));
  EXPECT_EQ(position(source), "(end)") << "the source was walked";
  EXPECT_EQ(position(copy), "(end)");
  EXPECT_EQ(describe(source), expected);
  source.reset();
  // String lists are never copied.
  expected.replace(expected.find("S=S1"), 4, "S=U");
  EXPECT_EQ(describe(copy), expected);

  const Fields nothing(zk_FldList_copy(nullptr));
  EXPECT_EQ(describe(nothing), "");
}

TEST(FldListCopy, Concatenate) {
  const Fields list(zk_FldList_create("A", 'I', 1, ZK_END));
  const Fields other(zk_FldList_create("A", 'C', "x", "B", 'I', 2, ZK_END));
  EXPECT_EQ(zk_FldList_concatenate(list.get(), other.get()), 1);
  EXPECT_EQ(describe(list), "A=I1, A=C'x', B=I2");
  EXPECT_EQ(zk_FldList_concatenate(other.get(), other.get()), 1) << "its own fields, once";
  EXPECT_EQ(describe(other), "A=C'x', B=I2, A=C'x', B=I2");
  EXPECT_EQ(zk_FldList_concatenate(list.get(), nullptr), 0);
  EXPECT_EQ(zk_FldList_concatenate(nullptr, list.get()), 0);

  // A list to which what contains it is appended does not copy its own growth.
  FldList *inner = zk_FldList_create("X", 'I', 1, ZK_END);
  const Fields outer(zk_FldList_create(ZK_END));
  zk_FldList_appList(outer.get(), "V", inner);
  EXPECT_EQ(zk_FldList_concatenate(inner, outer.get()), 1);
  EXPECT_EQ(describe(outer), "V=V{X=I1, V=V{X=I1}}");
}

TEST(FldListCopy, Combine) {
  const Fields list(zk_FldList_create("A", 'C', "x", "B", 'I', 2, ZK_END));
  const Fields source(zk_FldList_create("b", 'N', 0.5, "a", 'I', 1, "new", 'H', "k", ZK_END));
  EXPECT_EQ(zk_FldList_combine(list.get(), source.get()), 1);
  EXPECT_EQ(describe(list), "A=I1, B=N0.5, NEW=H'K'");
  EXPECT_EQ(zk_FldList_combine(list.get(), nullptr), 0);
  EXPECT_EQ(zk_FldList_combine(nullptr, list.get()), 0);

  // Every type replaces an integer; a list that is replaced is the caller's.
  const Fields all = sample();
  const Fields target = sample();
  const Strings strings(zk_FldList_find(target.get(), "S")->value.strList);
  for (LnkNode *node = target->first; node != nullptr; node = node->next) {
    if (static_cast<FldNode *>(node->data)->type == 'V') continue;
    zk_FldList_modInt(target.get(), static_cast<FldNode *>(node->data)->name, 0);
  }
  const Fields replaced(zk_FldList_find(target.get(), "V")->value.list);
  EXPECT_EQ(zk_FldList_combine(target.get(), all.get()), 1);
  const Fields copy(zk_FldList_copy(all.get()));
  EXPECT_EQ(describe(target), describe(copy));

  // Of itself, and with a field that no name finds, so that it is appended.
  const Fields self(zk_FldList_create("A", 'I', 1, "A", 'I', 2, ZK_END));
  zk_FldList_appInt(self.get(), nullptr, 3);
  EXPECT_EQ(zk_FldList_combine(self.get(), self.get()), 1);
  EXPECT_EQ(describe(self), "A=I2, A=I2, (null)=I3, (null)=I3");
}

TEST(FldListCopy, CopyFld) {
  const Fields source = sample();
  const struct {
    const char *name;
    const char *fields;
  } kCases[] = {{"c", "TO=C'text'"},
                {"h", "TO=C'KEY'"},
                {"none", "TO=C''"},
                {"i", "TO=I3"},
                {"l", "TO=L-7"},
                {"n", "TO=N2.5"},
                {"p", "TO=P(1 2 3)"},
                {"m", "TO=M(4 5 6)"},
                {"d", "TO=D(7 8 9)"},
                {"o", "TO=O(-1 -2 -0.0004)"},
                {"v", ""},
                {"s", ""},
                {"u", ""}};
  for (const auto &c : kCases) {
    const Fields list(zk_FldList_create(ZK_END));
    EXPECT_EQ(zk_FldList_copyFld(source.get(), c.name, list.get(), "to"), 1) << c.name;
    EXPECT_EQ(describe(list), c.fields) << c.name;
  }
  EXPECT_EQ(zk_FldList_copyFld(source.get(), "missing", source.get(), "to"), 0);
  EXPECT_EQ(zk_FldList_copyFld(source.get(), "c", source.get(), "C"), 1);
  EXPECT_STREQ(zk_FldList_find(source.get(), "c")->value.text, "text") << "onto itself";

  zk_FldList_modChar(source.get(), "c", std::string(600, 'x').c_str());
  EXPECT_EQ(zk_FldList_copyFld(source.get(), "c", source.get(), "u"), 1);
  EXPECT_EQ(zk_FldList_find(source.get(), "u")->value.text, std::string(512, 'x'));
}

// ---- Comparing

FldNode *text(char type, const char *value) {
  return type == 'C' ? zk_FldList_newChar("A", value) : zk_FldList_newHandle("A", value);
}

TEST(FldListCompare, Nodes) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  constexpr ZkPoint kNear = {0, 0, 0};
  constexpr ZkPoint kFar = {100, -200, 300};
  const struct {
    FldNode *a;
    FldNode *b;
    int result;
    int reversed;
  } kCases[] = {
      {text('C', "a"), text('C', "b"), -1, 1},
      {text('C', "a"), text('C', "A"), 1, -1},
      {text('C', "a"), text('C', "\xC3\xA4"), -1, 1},
      {text('C', nullptr), text('C', ""), 0, 0},
      {text('C', nullptr), text('C', "a"), -1, 1},
      {text('H', "zz"), text('H', "ZZ"), 0, 0},
      // Numbers of one type are never greater, only less or not.
      {zk_FldList_newInt("A", 3), zk_FldList_newInt("A", 5), -1, 0},
      {zk_FldList_newInt("A", INT32_MIN), zk_FldList_newInt("A", INT32_MAX), -1, 0},
      {zk_FldList_newLong("A", 3), zk_FldList_newLong("A", 5), -1, 0},
      {zk_FldList_newReal("A", 1.0), zk_FldList_newReal("A", 1.0005), 0, 0},
      {zk_FldList_newReal("A", 1.0), zk_FldList_newReal("A", 1.0015), -1, 0},
      {zk_FldList_newReal("A", kNan), zk_FldList_newReal("A", 1), 0, 0},
      // By type code first.
      {zk_FldList_newInt("A", 9), zk_FldList_newReal("A", 1), -1, 1},
      {text('C', "z"), text('H', "a"), -1, 1},
      {zk_FldList_newUnknown("A"), zk_FldList_newPoint("A", &kFar), 1, -1},
      // Points are equal however far apart, and so are lists.
      {zk_FldList_newPoint("A", &kNear), zk_FldList_newPoint("A", &kFar), 0, 0},
      {zk_FldList_newVector("A", &kNear), zk_FldList_newVector("A", &kFar), 0, 0},
      {zk_FldList_newUnknown("A"), zk_FldList_newUnknown("B"), 0, 0},
      {zk_FldList_newList("A", nullptr), zk_FldList_newList("A", zk_FldList_create(ZK_END)), 0, 0},
  };
  for (const auto &c : kCases) {
    SCOPED_TRACE(describe(*c.a) + " and " + describe(*c.b));
    EXPECT_EQ(zk_FldList_compareNode(c.a, c.b), c.result);
    EXPECT_EQ(zk_FldList_compareNode(c.b, c.a), c.reversed);
    EXPECT_EQ(zk_FldList_compareNode(c.a, nullptr), -2);
    EXPECT_EQ(zk_FldList_compareNode(nullptr, c.a), -2);
    zk_FldList_destroyNode(c.a);
    zk_FldList_destroyNode(c.b);
  }
}

TEST(FldListCompare, Diff) {
  const Fields a(zk_FldList_create("SAME", 'I', 1, "LESS", 'I', 1, "MORE", 'I', 9, "TEXT", 'C', "a",
                                   "ONLY", 'C', "a", "AT", 'P', 1.0, 2.0, 3.0, ZK_END));
  zk_FldList_appList(a.get(), "NESTED", zk_FldList_create("X", 'I', 1, ZK_END));
  zk_FldList_appInt(a.get(), nullptr, 5);
  const Fields b(zk_FldList_create("text", 'C', "b", "more", 'I', 2, "less", 'I', 2, "same", 'I', 1,
                                   "at", 'P', 9.0, 9.0, 9.0, "nested", 'I', 1, ZK_END));
  const Fields less(zk_FldList_diff(a.get(), b.get(), 0));
  EXPECT_EQ(describe(less), "LESS=I1, TEXT=C'a', NESTED=V{X=I1}");
  const Fields all(zk_FldList_diff(a.get(), b.get(), 1));
  EXPECT_EQ(describe(all), "LESS=I1, TEXT=C'a', ONLY=C'a', NESTED=V{X=I1}");
  EXPECT_EQ(position(a), "(end)");

  EXPECT_EQ(zk_FldList_diff(a.get(), a.get(), 1), nullptr) << "not an empty list";
  EXPECT_EQ(zk_FldList_diff(nullptr, b.get(), 1), nullptr);
  const Fields without(zk_FldList_diff(b.get(), nullptr, 1));
  EXPECT_EQ(zk_FldList_count(without.get()), zk_FldList_count(b.get()));
}

// ---- Moving

TEST(FldListTransform, RotatesAndTranslatesByType) {
  ZkRotMatrix *quarter = zk_RotMatrix_create();
  zk_RotMatrix_set(quarter, 0, -1, 0, 1, 0, 0, 0, 0, 1);
  ZkMatrix *oblong = zk_Matrix_create(2, 2);  // cannot rotate anything
  const ZkVector by = {10, 20, 30};
  const std::string before = "P=P(1 0 0), M=M(1 0 0), D=D(1 0 0), O=O(1 0 0), I=I1";
  const struct {
    const ZkVector *translation;
    const ZkMatrix *rotation;
    const char *filter;
    int result;
    const char *fields;
  } kCases[] = {
      {&by, nullptr, "PMDO", 1, "P=P(11 20 30), M=M(11 20 30), D=D(1 0 0), O=O(1 0 0), I=I1"},
      {&by, quarter, "PMDO", 1, "P=P(10 21 30), M=M(10 21 30), D=D(0 1 0), O=O(0 1 0), I=I1"},
      {nullptr, quarter, "MO", 1, "P=P(1 0 0), M=M(0 1 0), D=D(1 0 0), O=O(0 1 0), I=I1"},
      {&by, quarter, "P", 1, "P=P(10 21 30), M=M(1 0 0), D=D(1 0 0), O=O(1 0 0), I=I1"},
      {&by, quarter, "I, p", 1, before.c_str()},
      {&by, quarter, "", 1, before.c_str()},
      {&by, oblong, "PMDO", 0, before.c_str()},
      {nullptr, nullptr, "PMDO", 0, before.c_str()},
      {&by, quarter, nullptr, 0, before.c_str()},
  };
  for (const auto &c : kCases) {
    const Fields list(zk_FldList_create("P", 'P', 1.0, 0.0, 0.0, "M", 'M', 1.0, 0.0, 0.0, "D", 'D',
                                        1.0, 0.0, 0.0, "O", 'O', 1.0, 0.0, 0.0, "I", 'I', 1,
                                        ZK_END));
    EXPECT_EQ(zk_FldList_applyTransform(list.get(), c.translation, c.rotation, c.filter), c.result);
    EXPECT_EQ(describe(list), c.fields);
  }
  zk_RotMatrix_destroy(quarter);
  zk_Matrix_destroy(oblong);
}

TEST(FldListTransform, LeavesNestedListsAlone) {
  const Fields list(zk_FldList_create("P", 'P', 1.0, 2.0, 3.0, "P2", 'P', 0.0, 0.0, 0.0, ZK_END));
  zk_FldList_appList(list.get(), "V", zk_FldList_create("P", 'P', 1.0, 2.0, 3.0, ZK_END));
  // The translation may be one of the points.
  const ZkPoint *own = &zk_FldList_find(list.get(), "P")->value.point;
  EXPECT_EQ(zk_FldList_applyTransform(list.get(), own, nullptr, "P"), 1);
  EXPECT_EQ(describe(list), "P=P(2 4 6), P2=P(1 2 3), V=V{P=P(1 2 3)}");
}

// ---- Printing

template <typename Print>
std::string printed(Print print) {
  testing::internal::CaptureStdout();
  print();
  return testing::internal::GetCapturedStdout();
}

class FldListPrint : public testing::Test {
 protected:
  ~FldListPrint() override {
    zk_Diag_disable();
    std::setlocale(LC_ALL, "C");
  }
};

TEST_F(FldListPrint, Lines) {
  std::setlocale(LC_ALL, "de_DE.UTF-8");  // numbers keep their point, where that locale exists
  const Fields list = sample();
  zk_FldList_appInt(list.get(), nullptr, 5);
  zk_FldList_appReal(list.get(), "A_NAME_OF_21_LETTERS_", 1e15);
  const std::string lines =
      "C                C:text\n"
      "H                H:KEY\n"
      "NONE             "  // a null text does not end its line
      "I                I:3\n"
      "L                L:-7\n"
      "N                N:2.500000\n"
      "P                P:1.000 2.000 3.000\n"
      "M                M:4.000 5.000 6.000\n"
      "D                D:7.000 8.000 9.000\n"
      "O                O:-1.000 -2.000 -0.000\n"
      "V                \n"
      "                 I:1\n"
      "                 \n"
      "                    C:deep\n"
      "                 \n"
      "S                <undefined>\n"
      "U                <undefined>\n"
      "A_NAME_OF_21_LETTERS_ N:1000000000000000.000000\n";
  EXPECT_EQ(printed([&] { EXPECT_EQ(zk_FldList_printList(list.get()), 1); }), lines);
  EXPECT_EQ(position(list), "(end)");
  EXPECT_EQ(printed([] { EXPECT_EQ(zk_FldList_printList(nullptr), 0); }), "");

  const Fields two(zk_FldList_create("A", 'I', 1, ZK_END));
  EXPECT_EQ(printed([&] { zk_FldList_printLevelList(two.get(), 2); }),
            std::string(20, ' ') + "I:1\n");
}

TEST_F(FldListPrint, DiagnosticLines) {
  const Fields list = sample();
  zk_FldList_modChar(list.get(), "C", std::string(5000, 'x').c_str());
  zk_FldList_appChar(list.get(), "PERCENT", "%s%n");
  const auto print = [&] { zk_FldList_printListDiag(list.get(), 2, 0x6); };
  zk_Diag_setLevel(1);
  zk_Diag_setCondition(0x4);
  EXPECT_EQ(printed(print), "");
  zk_Diag_setLevel(2);
  zk_Diag_setCondition(0x1);
  EXPECT_EQ(printed(print), "");
  zk_Diag_setCondition(0x4);

  std::istringstream lines(printed(print));
  const std::string expected[] = {
      "C                C:" + std::string(4077, 'x'),  // 4096 characters
      "H                H:KEY",                        // and none for a null text
      "I                I:3",
      "L                L:-7",
      "N                N:2.500000",
      "P                P:1.000 2.000 3.000",
      "M                M:4.000 5.000 6.000",
      "D                D:7.000 8.000 9.000",
      "O                O:-1.000 -2.000 -0.000",
      "V                ",
      "                 I:1",
      "                 ",
      "                    C:deep",
      "                 ",
      "S                <undefined>",
      "U                <undefined>",
      "PERCENT          C:%s%n",
  };
  std::string line;
  for (const std::string &text : expected) {
    std::getline(lines, line);
    EXPECT_EQ(line.substr(0, 9), "fld.cpp (");
    EXPECT_EQ(line.substr(std::min(line.find(") "), line.size() - 2) + 2), text);
  }
  EXPECT_FALSE(std::getline(lines, line)) << line;
}

// ---- Single values

struct Freer {
  void operator()(char *text) const { std::free(text); }
};
std::string valueText(const FldNode *node) {
  const std::unique_ptr<char, Freer> text(zk_FldNode_getFldValue(node));
  return text.get();
}
std::string valueText(const Fields &list, const char *name) {
  return valueText(zk_FldList_find(list.get(), name));
}

TEST(FldNodeText, Values) {
  const Fields list = sample();
  zk_FldList_appPoint(list.get(), "ODD", std::make_unique<ZkPoint>(ZkPoint{0.1, 0, 0}).get());
  zk_FldList_appChar(list.get(), "LONG", std::string(9000, 'x').c_str());
  const struct {
    const char *name;
    std::string text;
  } kCases[] = {{"C", "text"},
                {"H", "KEY"},
                {"NONE", ""},
                {"I", "3"},
                {"V", "3"},  // what the call before gave
                {"L", "-7"},
                {"N", "2.500000"},
                {"S", ""},
                {"U", ""},
                {"V", ""},
                // Not the type code leads but the lowest byte of x, unless that is 0.
                {"P", "P:1.000 2.000 3.000"},
                {"O", "O:-1.000 -2.000 -0.000"},
                {"ODD", "\x9A:0.100 0.000 0.000"},
                {"V", "\x9A:0.100 0.000 0.000"},
                {"LONG", std::string(9000, 'x')},
                {"V", std::string(4096, 'x')}};
  for (const auto &c : kCases) EXPECT_EQ(valueText(list, c.name), c.text) << c.name;
  EXPECT_EQ(valueText(nullptr), "");
  EXPECT_EQ(valueText(list, "V"), "") << "cleared by the null node";
}

TEST(FldNodeText, Update) {
  const Fields list = sample();
  const struct {
    const char *name;
    const char *text;
    int result;
    const char *field;
  } kCases[] = {{"C", "new", 1, "C=C'new'"},
                {"C", "longer than before", 1, "C=C'longer than before'"},
                {"H", "key", 1, "H=H'key'"},
                {"NONE", "some", 1, "NONE=C'some'"},
                {"I", " 12abc", 1, "I=I12"},
                {"L", "99999999999", 1, "L=L2147483647"},
                {"N", "1.5e2", 1, "N=N150"},
                {"P", "1 2 3", 0, "P=P(1 2 3)"},
                {"V", "x", 0, "V=V{X=I1, Y=V{Z=C'deep'}, EMPTY=Vnull}"},
                {"S", "x", 0, "S=S1"},
                {"U", "x", 0, "U=U"},
                {"I", nullptr, 0, "I=I12"}};
  for (const auto &c : kCases) {
    FldNode *node = zk_FldList_find(list.get(), c.name);
    EXPECT_EQ(zk_FldNode_updateFldValue(node, c.text), c.result) << c.name;
    EXPECT_EQ(describe(*node), c.field);
  }
  FldNode *node = zk_FldList_find(list.get(), "C");
  const char *block = node->value.text;
  EXPECT_EQ(zk_FldNode_updateFldValue(node, node->value.text + 7), 1);
  EXPECT_STREQ(node->value.text, "than before");
  EXPECT_EQ(node->value.text, block) << "in its place";
}

// ---- Conversions

TEST(FldListFrom, EnvironmentLines) {
  const Strings strings(zk_StrList_create("A = 1", "B=", " C=two ", "= x", "", "noequals",
                                          "d == e = f", "a=again", ZK_END));
  const Fields list(zk_FldList_fromEnvList(strings.get()));
  EXPECT_EQ(describe(list), "A=C'1', C=C'two', D=C'e = f', A=C'again'");
  EXPECT_EQ(position(list), "A");
  const std::string longLine = "name=" + std::string(5000, 'x');
  const Strings longStrings(zk_StrList_create(longLine.c_str(), ZK_END));
  const Fields longList(zk_FldList_fromEnvList(longStrings.get()));
  EXPECT_EQ(describe(longList), "NAME=C'" + std::string(5000, 'x') + "'");

  const Strings useless(zk_StrList_create("B=", "x", ZK_END));
  EXPECT_EQ(zk_FldList_fromEnvList(useless.get()), nullptr);
  const Strings empty(zk_StrList_create(ZK_END));
  EXPECT_EQ(zk_FldList_fromEnvList(empty.get()), nullptr);
  EXPECT_EQ(zk_FldList_fromEnvList(nullptr), nullptr);
}

TEST(IniLine, Parse) {
  const struct {
    const char *line;
    const char *name;
    const char *value;
  } kCases[] = {{"key = = value", "key", "value"},
                {"  a b\t=\tc d  ", "a b", "c d"},
                {"key=", "key", ""},
                {"key", "key", ""},
                {"=value", "", "value"},
                {"", "", ""},
                {"a=b=c", "a", "b=c"},
                {" = = ", "", ""}};
  for (const auto &c : kCases) {
    char name[32] = "old";
    char value[32] = "old";
    EXPECT_EQ(zk_Ini_parse(c.line, name, value), 1);
    EXPECT_STREQ(name, c.name) << c.line;
    EXPECT_STREQ(value, c.value) << c.line;
    std::strcpy(name, c.line);
    EXPECT_EQ(zk_Ini_parse(name, name, value), 1);
    EXPECT_STREQ(name, c.name) << "over " << c.line;
    EXPECT_STREQ(value, c.value) << c.line;
  }
  char name[] = "old";
  EXPECT_EQ(zk_Ini_parse(nullptr, name, nullptr), 0);
  EXPECT_STREQ(name, "");
}

TEST(FldListFrom, RecordFields) {
  const support::List record = support::fieldList(
      "part C 10, price N 9 2, weight N 9 3, qty N 5, empty N 5, none N 5 1, flt F 9 2, when D 8");
  const struct {
    const char *name;
    const char *value;
  } kValues[] = {{"part", " A,1"}, {"price", "3,25"}, {"weight", "1.5,7"}, {"qty", "7.9"},
                 {"none", ""},     {"flt", "2.50"},   {"when", "20240131"}};
  for (const auto &c : kValues) zk_DbFldList_modFldVal(record.get(), c.name, c.value);
  zk_DbFldList_insEnd(record.get(), "", "nameless", 1, 0, 'C');
  zk_DbFldList_insEnd(record.get(), "memo", std::string(600, 'x').c_str(), 10, 0, 'M');
  // Another function's static result stays.
  zk_DbFldList_start(record.get());
  const char *shown = zk_DbFldList_getCurrStr(record.get());
  const Fields list(zk_FldList_fromDbFldList(record.get()));
  EXPECT_STREQ(shown, " A,1");
  EXPECT_EQ(describe(list),
            "PART=C' A,1', PRICE=N3.25, WEIGHT=N1.5, QTY=I7, EMPTY=I0, NONE=N0, FLT=C'2.50', "
            "WHEN=C'20240131', MEMO=C'" +
                std::string(512, 'x') + "'");
  const Fields nothing(zk_FldList_fromDbFldList(nullptr));
  EXPECT_EQ(describe(nothing), "");
}

// ---- Size

TEST(FldListSize, NestingNeedsNoStack) {
  const Fields list = nestedDeep(kDeep, 2);
  Fields copy(zk_FldList_copy(list.get()));
  EXPECT_EQ(zk_FldList_concatenate(copy.get(), list.get()), 1);
  const Fields target(zk_FldList_create("V", 'I', 1, ZK_END));
  EXPECT_EQ(zk_FldList_combine(target.get(), list.get()), 1);
  const Fields difference(zk_FldList_diff(list.get(), target.get(), 0));
  EXPECT_EQ(difference, nullptr);

  int depth = 0;
  const FldList *level = target.get();
  for (; level != nullptr; ++depth) {
    const auto *last = static_cast<const FldNode *>(level->last->data);
    level = depth == 0          ? zk_FldList_find(target.get(), "V")->value.list
            : last->type == 'V' ? last->value.list
                                : nullptr;
  }
  EXPECT_EQ(depth, kDeep + 1);

  FldNode *node = zk_FldList_newList("V", copy.release());
  EXPECT_EQ(zk_FldList_destroyNode(node), 1);
}

TEST(FldListSize, DeepPrinting) {
  constexpr int kLevels = 1000;
  const Fields list = nestedDeep(kLevels);
  std::size_t size = std::strlen("V                \n");
  for (int level = 1; level < kLevels; ++level)
    size += 17U + 3U * (static_cast<unsigned>(level) - 1) + 1;
  size += 17 + 3 * (kLevels - 1) + std::strlen("I:1\n");
  EXPECT_EQ(printed([&] { zk_FldList_printList(list.get()); }).size(), size);

  zk_Diag_setLevel(3);
  zk_Diag_setCondition(1);
  const Fields deeper = nestedDeep(2 * kLevels);  // lines are cut where they are too long
  const std::string lines = printed([&] { zk_FldList_printListDiag(deeper.get(), 1, 1); });
  zk_Diag_disable();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 2 * kLevels + 1);
  EXPECT_EQ(lines.find("too big"), std::string::npos);
}

TEST(FldListSize, ManyFields) {
  constexpr int kCount = 5000;
  const Fields list(zk_FldList_create(ZK_END));
  for (int i = 0; i < kCount; ++i) {
    zk_FldList_appInt(list.get(), ("FIELD" + std::to_string(i)).c_str(), i);
  }
  const Fields copy(zk_FldList_copy(list.get()));
  EXPECT_EQ(zk_FldList_combine(copy.get(), list.get()), 1);
  EXPECT_EQ(describe(copy), describe(list));
  int32_t value = 0;
  EXPECT_EQ(zk_FldList_getInt(copy.get(), "field4999", &value), ZK_FLD_OK);
  EXPECT_EQ(value, kCount - 1);
}

}  // namespace
