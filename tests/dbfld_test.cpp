#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/support.h"
#include "zk_baselib.h"

namespace {

using support::Cursor;
using support::List;

struct Destroyer {
  void operator()(DbFldNode *node) const { zk_DbFldNode_destroy(node); }
};
using Node = std::unique_ptr<DbFldNode, Destroyer>;

// "NAME:type:width:prec:[value]" of every node, through the linked list's own fields.
std::vector<std::string> describe(const DbFldList *list) {
  std::vector<std::string> result;
  for (const LnkNode *element = list->first; element != nullptr; element = element->next) {
    const auto *node = static_cast<const DbFldNode *>(element->data);
    result.push_back(std::string(node->name) + ':' + node->type + ':' +
                     std::to_string(node->width) + ':' + std::to_string(node->prec) + ':' +
                     (node->value != nullptr ? '[' + std::string(node->value) + ']' : "null"));
  }
  return result;
}

using Lines = std::vector<std::string>;

// PART, SIZE, NOTE; the position is on the first.
List sample() {
  List list(zk_DbFldList_create("PART", "A-100", "SIZE", "12", "NOTE", "x", (char *)0));
  zk_DbFldList_start(list.get());
  return list;
}

std::string currentName(const List &list) { return zk_DbFldList_getCurrName(list.get()); }

TEST(DbFldNode, ValueRule) {
  const struct {
    char type;
    const char *given;
    const char *stored;
  } kCases[] = {
      {'C', "  3.50  ", "  3.50"}, {'N', "  3.50  ", "3.50"}, {'n', " 7", "7"},
      {'f', " 1 2 ", "1 2"},       {'N', "    ", ""},         {'C', "   ", ""},
      {'C', "a\t\n", "a\t\n"},     {'N', "\t5", "\t5"},       {'M', " text  .", " text  ."}};
  for (const auto &c : kCases) {
    SCOPED_TRACE(std::string(1, c.type) + "[" + c.given + "]");
    const Node node(zk_DbFldNode_new("F", c.given, 10, 2, c.type));
    EXPECT_STREQ(node->value, c.stored);
    EXPECT_EQ(node->type, std::toupper(c.type));

    const List list(zk_DbFldList_create((char *)0));
    zk_DbFldList_insEnd(list.get(), "F", "old", 10, 2, c.type);
    zk_DbFldList_start(list.get());
    EXPECT_EQ(zk_DbFldList_modCurrVal(list.get(), c.given), 1);
    EXPECT_STREQ(zk_DbFldList_getCurrFld(list.get())->value, c.stored);
  }
}

TEST(DbFldNode, NameIsCutAndValueMayBeMissing) {
  const Node node(zk_DbFldNode_new(std::string(70, 'n').c_str(), nullptr, -3, 4, 'L'));
  EXPECT_EQ(node->name, std::string(63, 'n'));
  EXPECT_EQ(node->value, nullptr);
  EXPECT_EQ(node->width, -3);
  EXPECT_EQ(node->prec, 4);
  EXPECT_EQ(zk_DbFldNode_new(nullptr, "v", 1, 0, 'C'), nullptr);
}

TEST(DbFldNode, OnlyDestroyTracesAndItsExitLineNamesAnotherFunction) {
  zk_Diag_setDiagOutput(ZK_DIAG_OUTPUT_CONSOLE);
  zk_Diag_setLevel(3);
  zk_Diag_setCondition(ZK_DIAG_DBFLD);
  testing::internal::CaptureStdout();
  List list(zk_DbFldList_create("A", "1", (char *)0));
  zk_DbFldList_findFld(list.get(), "a");
  zk_DbFldList_delCurr(list.get());
  const std::string lines = testing::internal::GetCapturedStdout();
  zk_Diag_disable();

  EXPECT_EQ(lines.find("dbfld.cpp ("), 0U) << lines;
  const std::size_t entry = lines.find(") Entering zk_DbFldNode_destroy.\n");
  const std::size_t exit = lines.find(") Entering zk_StrListNode_destroy.\n");
  EXPECT_LT(entry, exit) << lines;
  EXPECT_NE(exit, std::string::npos) << lines;
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 2) << lines;
}

TEST(DbFldList, CreateFromPairs) {
  const List list(
      zk_DbFldList_create("part", (char *)0, "Size", " 12 ", "n\xC3\xA4me", "", (char *)0));
  EXPECT_EQ(describe(list.get()),
            (Lines{"PART:C:0:0:[]", "SIZE:C:0:0:[ 12]", "N\xC3\xA4ME:C:0:0:[]"}));
  EXPECT_EQ(zk_DbFldList_eol(list.get()), 1);

  const List empty(zk_DbFldList_create((char *)0));
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(zk_DbFldList_length(empty.get()), 0U);
  EXPECT_EQ(zk_DbFldList_getCurrType(empty.get()), 'C');
}

TEST(DbFldList, InsertAtBothEndsLeavesThePosition) {
  const List list = sample();
  EXPECT_EQ(zk_DbFldList_insStart(list.get(), "low", " 1", 5, 1, 'n'), 1);
  EXPECT_EQ(zk_DbFldList_insEnd(list.get(), "END", nullptr, 8, 0, 'D'), 1);
  EXPECT_EQ(zk_DbFldList_insEnd(list.get(), nullptr, "v", 8, 0, 'D'), 0);
  EXPECT_EQ(describe(list.get()), (Lines{"low:N:5:1:[1]", "PART:C:0:0:[A-100]", "SIZE:C:0:0:[12]",
                                         "NOTE:C:0:0:[x]", "END:D:8:0:null"}));
  EXPECT_EQ(currentName(list), "PART");
}

TEST(DbFldList, TwoWaysToFindAName) {
  const List list(zk_DbFldList_create("SIZE", "1", "PART", "2", (char *)0));
  zk_DbFldList_insEnd(list.get(), "note", "3", 1, 0, 'C');
  zk_DbFldList_insEnd(list.get(), "PART", "4", 1, 0, 'C');
  const struct {
    const char *name;
    const char *findFld;  // the value of the node found
    bool find;
  } kCases[] = {{"size", "1", true},       {"SIZE", "1", true},  {"Part", "2", true},
                {"note", "3", false},      {"NOTE", "3", false}, {"SIZ", nullptr, false},
                {"SIZES", nullptr, false}, {"", nullptr, false}, {"PART ", nullptr, false}};
  for (const auto &c : kCases) {
    SCOPED_TRACE(c.name);
    const DbFldNode *node = zk_DbFldList_findFld(list.get(), c.name);
    EXPECT_STREQ(node != nullptr ? node->value : nullptr, c.findFld);
    EXPECT_EQ(node, zk_DbFldList_getCurrFld(list.get()));

    EXPECT_EQ(zk_DbFldList_find(list.get(), c.name), c.find ? 1 : 0);
    EXPECT_STREQ(zk_DbFldList_getCurrStr(list.get()), c.find ? c.findFld : "");
    EXPECT_EQ(zk_DbFldList_eol(list.get()), c.find ? 0 : 1);
  }
  zk_DbFldList_start(list.get());
  EXPECT_EQ(zk_DbFldList_findFld(list.get(), nullptr), nullptr);
  EXPECT_EQ(zk_DbFldList_find(list.get(), nullptr), 0);
  EXPECT_EQ(currentName(list), "SIZE");
}

TEST(DbFldList, TextResultsAreBoundedAndSeparate) {
  const std::string longText = std::string(600, 'v') + "end";
  const List list(zk_DbFldList_create("LONG", longText.c_str(), "S", "ab", (char *)0));
  zk_DbFldList_insEnd(list.get(), "WIDE", "w", 600, 0, 'C');
  zk_DbFldList_insEnd(list.get(), "NONE", nullptr, 3, 0, 'C');
  zk_DbFldList_insEnd(list.get(), "NEG", "n", -1, 0, 'C');
  const struct {
    std::string text;
    std::string padded;
  } kRows[] = {{std::string(512, 'v'), std::string(512, 'v')},
               {"ab", "ab"},
               {"w", "w" + std::string(518, ' ')},
               {"", "   "},
               {"n", "n"}};
  for (int i = 0; i < 5; ++i) {
    SCOPED_TRACE(i);
    const auto &row = kRows[i];
    EXPECT_EQ(zk_DbFldList_getNthStr(list.get(), i), row.text.substr(0, 263));
    EXPECT_EQ(zk_DbFldList_getNthStrPadded(list.get(), i), row.padded.substr(0, 263));
    const std::string name = currentName(list);
    EXPECT_EQ(zk_DbFldList_getCurrStr(list.get()), row.text);
    EXPECT_EQ(zk_DbFldList_getCurrStrPadded(list.get()), row.padded);
    EXPECT_EQ(zk_DbFldList_getFldVal(list.get(), name.c_str()), row.text);
  }

  // Each function has a buffer of its own.
  const char *nth = zk_DbFldList_getNthStr(list.get(), 1);
  const char *current = zk_DbFldList_getCurrStr(list.get());
  zk_DbFldList_getNthStrPadded(list.get(), 4);
  zk_DbFldList_getFldVal(list.get(), "WIDE");
  EXPECT_STREQ(nth, "ab");
  EXPECT_STREQ(current, "ab");

  // No such node: "", and only an index past the end moves the position.
  zk_DbFldList_getNthStr(list.get(), 1);
  EXPECT_STREQ(zk_DbFldList_getNthStr(list.get(), -1), "");
  EXPECT_STREQ(zk_DbFldList_getNthStrPadded(list.get(), -1), "");
  EXPECT_EQ(currentName(list), "S");
  EXPECT_STREQ(zk_DbFldList_getNthStr(list.get(), 5), "");
  EXPECT_EQ(currentName(list), "");
  EXPECT_STREQ(zk_DbFldList_getFldVal(list.get(), "GONE"), "");
}

TEST(DbFldList, AStaticResultMayBePassedBackIn) {
  const List list(zk_DbFldList_create("A", "B", "B", "C", "C", "last", (char *)0));
  const char *value = zk_DbFldList_getFldVal(list.get(), "A");
  value = zk_DbFldList_getFldVal(list.get(), value);
  EXPECT_STREQ(zk_DbFldList_getFldVal(list.get(), value), "last");

  DbFldNode *node = zk_DbFldList_findFld(list.get(), "C");
  EXPECT_EQ(zk_DbFldList_modCurrVal(list.get(), node->value + 1), 1);
  EXPECT_STREQ(node->value, "ast");
}

TEST(DbFldList, Numbers) {
  const struct {
    const char *value;
    double real;
    int32_t integer;
  } kCases[] = {{"12.75", 12.75, 12}, {"  -3,5x", -3, -3},
                {"", 0, 0},           {"x1", 0, 0},
                {"1e3", 1000, 1},     {"-9e9", -9e9, -9},
                {nullptr, 0, 0},      {"99999999999", 99999999999, INT32_MAX}};
  const List list = sample();
  for (const auto &c : kCases) {
    zk_DbFldList_modCurrVal(list.get(), c.value);
    EXPECT_EQ(zk_DbFldList_getCurrDouble(list.get()), c.real);
    EXPECT_EQ(zk_DbFldList_getCurrInt(list.get()), c.integer);
  }
}

TEST(DbFldList, ModifyValuesWidthAndDecimals) {
  const List list = sample();
  EXPECT_EQ(zk_DbFldList_modCurrVal(list.get(), nullptr), 0);
  EXPECT_EQ(zk_DbFldList_modNthVal(list.get(), 1, "13 "), 1);
  EXPECT_EQ(currentName(list), "SIZE");
  EXPECT_EQ(zk_DbFldList_modNthVal(list.get(), -1, "bad"), 0);
  EXPECT_EQ(zk_DbFldList_modNthVal(list.get(), 3, "bad"), 0);
  EXPECT_EQ(zk_DbFldList_modCurrVal(list.get(), "bad"), 0);
  EXPECT_EQ(zk_DbFldList_modCurrWidth(list.get(), 9), 0);
  EXPECT_EQ(zk_DbFldList_modFldVal(list.get(), "note", "y"), 1);
  EXPECT_EQ(zk_DbFldList_modCurrWidth(list.get(), 9), 0);
  EXPECT_EQ(zk_DbFldList_modCurrWidth(list.get(), 8), 9);
  EXPECT_EQ(zk_DbFldList_modCurrPrec(list.get(), 2), 0);
  EXPECT_EQ(zk_DbFldList_modCurrPrec(list.get(), 3), 2);
  EXPECT_EQ(zk_DbFldList_modFldVal(list.get(), "GONE", "bad"), 0);
  EXPECT_EQ(describe(list.get()), (Lines{"PART:C:0:0:null", "SIZE:C:0:0:[13]", "NOTE:C:8:3:[y]"}));
}

TEST(DbFldList, Delete) {
  const List list = sample();
  zk_DbFldList_insEnd(list.get(), "low", "1", 1, 0, 'C');
  EXPECT_EQ(zk_DbFldList_delFld(list.get(), "low"), 0);  // as zk_DbFldList_find has it
  EXPECT_EQ(zk_DbFldList_delCurr(list.get()), 0);
  EXPECT_EQ(zk_DbFldList_delFld(list.get(), "size"), 1);
  EXPECT_EQ(currentName(list), "NOTE");
  EXPECT_EQ(zk_DbFldList_next(list.get()), 1);
  EXPECT_EQ(zk_DbFldList_delCurr(list.get()), 1);
  EXPECT_EQ(currentName(list), "NOTE");
  EXPECT_EQ(describe(list.get()), (Lines{"PART:C:0:0:[A-100]", "NOTE:C:0:0:[x]"}));
}

TEST(DbFldList, CopyIsDeepAndAppliesTheValueRuleAgain) {
  const List list(zk_DbFldList_create("A", "  5", "B", "b", (char *)0));
  zk_DbFldList_insEnd(list.get(), "c", nullptr, 7, 3, 'N');
  zk_DbFldList_start(list.get());
  zk_DbFldList_getCurrFld(list.get())->type = 'N';
  const List copy(zk_DbFldList_copy(list.get()));
  EXPECT_EQ(currentName(list), "A");
  EXPECT_EQ(zk_DbFldList_freeValues(list.get()), 1);
  EXPECT_EQ(currentName(list), "A");
  EXPECT_EQ(describe(list.get()), (Lines{"A:N:0:0:null", "B:C:0:0:null", "c:N:7:3:null"}));
  EXPECT_EQ(describe(copy.get()), (Lines{"A:N:0:0:[5]", "B:C:0:0:[b]", "c:N:7:3:null"}));
  EXPECT_EQ(zk_DbFldList_eol(copy.get()), 1);

  const List empty(zk_DbFldList_create((char *)0));
  const List emptyCopy(zk_DbFldList_copy(empty.get()));
  EXPECT_NE(emptyCopy, nullptr);
}

TEST(DbFldList, PrintEndsNoLineForANodeWithoutValue) {
  const List list(zk_DbFldList_create((char *)0));
  zk_DbFldList_insEnd(list.get(), "PART", "100%s", 1, 0, 'C');
  zk_DbFldList_insEnd(list.get(), "NONE", nullptr, 1, 0, 'C');
  zk_DbFldList_insEnd(list.get(), "A_NAME_OF_MORE_THAN_16", "", 1, 0, 'N');
  testing::internal::CaptureStdout();
  EXPECT_EQ(zk_DbFldList_printList(list.get()), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "PART             C:100%s\nNONE             A_NAME_OF_MORE_THAN_16 N:\n");
}

TEST(DbFldTemplate, ParsesALine) {
  const struct {
    const char *line;
    const char *result;  // null: invalid
  } kCases[] = {
      {"PART C 12  0", "PART:C:12:0"},
      {"   price   n 10  2 anything", "PRICE:N:10:2"},
      {"A N010002", "A:N:10:2"},
      {"A Cx12 -1", "A:C:0:-1"},
      {"A C 12  ", nullptr},  // six characters
      {"A", nullptr},
      {"", nullptr},
      {"\tA C 12  0", "\tA:C:12:0"},  // only blanks separate
  };
  for (const auto &c : kCases) {
    SCOPED_TRACE(c.line);
    char name[257] = "as it was";
    char type = '?';
    int32_t width = -7;
    int32_t prec = -8;
    const int valid = zk_DbFldList_parseFldDesc(c.line, name, &type, &width, &prec);
    EXPECT_EQ(valid, c.result != nullptr);
    EXPECT_EQ(
        std::string(name) + ':' + type + ':' + std::to_string(width) + ':' + std::to_string(prec),
        c.result != nullptr ? c.result : "as it was:?:-7:-8");
    EXPECT_EQ(zk_DbFldList_parseFldDesc(c.line, nullptr, nullptr, nullptr, nullptr), valid);
  }

  // The name is bounded, and the line's own buffer may receive it.
  std::string line = "  " + std::string(300, 'n') + " C 12  0";
  int32_t width = 0;
  ASSERT_EQ(zk_DbFldList_parseFldDesc(line.c_str(), line.data(), nullptr, &width, nullptr), 1);
  EXPECT_EQ(line.c_str(), std::string(256, 'N'));
  EXPECT_EQ(width, 12);
}

class DbFldTemplateFile : public support::TableTest {
 protected:
  List read(const std::string &contents) const {
    support::writeFile(path("record.tpl"), contents);
    return List(zk_DbFldList_fromTemplate(path("record.tpl").c_str()));
  }
};

TEST_F(DbFldTemplateFile, ValidLinesBecomeNodesWithoutValues) {
  const std::string cutAt256 = "WIDE C 12  0" + std::string(300, ' ') + "TAIL C  1  0";
  const std::string cutInDescriptor = std::string(249, 'X') + " C 12  0";  // six characters left
  const List list = read("part C 12  0\r\n\nshort C 12  \r\n" + cutAt256 + "\n" + cutInDescriptor +
                         "\n" + std::string(80, 'a') + " l  1  0\nLAST n 10  2");
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(describe(list.get()),
            (Lines{"PART:C:12:0:null", "WIDE:C:12:0:null", std::string(63, 'A') + ":L:1:0:null",
                   "LAST:N:10:2:null"}));
  EXPECT_EQ(zk_DbFldList_eol(list.get()), 1);
}

TEST_F(DbFldTemplateFile, NothingValidGivesNull) {
  for (const char *contents : {"", "\n\n", "A C 12  \n", "only words"}) {
    EXPECT_EQ(read(contents), nullptr) << contents;
  }
  EXPECT_EQ(zk_DbFldList_fromTemplate(path("missing.tpl").c_str()), nullptr);
  EXPECT_EQ(zk_DbFldList_fromTemplate(path("").c_str()), nullptr);
}

// ---- Cursors

DbFldList *row(const char *value) { return zk_DbFldList_create("F", value, (char *)0); }

Cursor threeRows() {
  Cursor cursor(zk_DbCursor_create());
  zk_DbCursor_insEnd(cursor.get(), "T2", row("2"));
  zk_DbCursor_insEnd(cursor.get(), "T3", row("3"));
  zk_DbCursor_insStart(cursor.get(), "T1", row("1"));
  return cursor;
}

// The values of the rows in order.
std::string values(const Cursor &cursor) {
  std::string result;
  for (const LnkNode *element = cursor->first; element != nullptr; element = element->next) {
    result += zk_DbFldList_getNthStr(static_cast<DbCursorNode *>(element->data)->fldList, 0);
  }
  return result;
}

TEST(DbCursor, WalkAndLookUp) {
  const Cursor cursor = threeRows();
  EXPECT_EQ(zk_DbCursor_length(cursor.get()), 3U);
  EXPECT_EQ(zk_DbCursor_eol(cursor.get()), 1);
  EXPECT_EQ(zk_DbCursor_getCurrFldList(cursor.get()), nullptr);
  std::string walked;
  for (zk_DbCursor_end(cursor.get()); !zk_DbCursor_eol(cursor.get());
       zk_DbCursor_prev(cursor.get())) {
    walked += zk_DbCursor_getCurrTblName(cursor.get());
  }
  EXPECT_EQ(walked, "T3T2T1");
  zk_DbCursor_start(cursor.get());
  EXPECT_EQ(zk_DbCursor_skip(cursor.get(), 2), 1);
  EXPECT_STREQ(zk_DbCursor_getCurr(cursor.get())->tblName, "T3");
  EXPECT_STREQ(zk_DbFldList_getNthStr(zk_DbCursor_getNthFldList(cursor.get(), 1), 0), "2");
  EXPECT_EQ(zk_DbCursor_getNth(cursor.get(), 1), zk_DbCursor_getCurr(cursor.get()));
  EXPECT_EQ(zk_DbCursor_skip(cursor.get(), INT_MIN), 0);
  EXPECT_EQ(zk_DbCursor_getNthFldList(cursor.get(), 3), nullptr);
}

TEST(DbCursor, DeleteAndReplace) {
  const Cursor cursor = threeRows();
  EXPECT_EQ(zk_DbCursor_delNth(cursor.get(), 3), 0);
  EXPECT_EQ(zk_DbCursor_delNth(cursor.get(), 2), 1);
  EXPECT_STREQ(zk_DbCursor_getCurrTblName(cursor.get()), "T2");
  EXPECT_EQ(zk_DbCursor_modCurr(cursor.get(), "N2", row("4")), 1);
  EXPECT_EQ(values(cursor), "14");

  // The node's own name and list may be given again.
  DbCursorNode *node = zk_DbCursor_getCurr(cursor.get());
  EXPECT_EQ(zk_DbCursor_modCurr(cursor.get(), node->tblName, node->fldList), 1);
  EXPECT_STREQ(zk_DbCursor_getCurrTblName(cursor.get()), "N2");
  EXPECT_EQ(values(cursor), "14");

  EXPECT_EQ(zk_DbCursor_delCurr(cursor.get()), 1);
  EXPECT_EQ(zk_DbCursor_delCurr(cursor.get()), 1);
  EXPECT_EQ(zk_DbCursor_delCurr(cursor.get()), 0);
  const List unowned(row("5"));
  EXPECT_EQ(zk_DbCursor_modCurr(cursor.get(), "T", unowned.get()), 0);
}

TEST(DbCursor, Join) {
  const Cursor cursor = threeRows();
  EXPECT_EQ(zk_DbCursor_join(cursor.get(), cursor.get()), 0);
  EXPECT_EQ(values(cursor), "123");
  EXPECT_EQ(zk_DbCursor_join(cursor.get(), threeRows().release()), 1);
  EXPECT_EQ(values(cursor), "123123");
  EXPECT_STREQ(zk_DbCursor_getCurrTblName(cursor.get()), "T1");
}

TEST(DbCursor, NamesReturnedLastAreRememberedUntilTheirNodeDies) {
  Cursor cursor = threeRows();
  EXPECT_STREQ(zk_DbCursor_getNthTblName(cursor.get(), 0), "T1");
  zk_DbCursor_end(cursor.get());
  EXPECT_STREQ(zk_DbCursor_getCurrTblName(cursor.get()), "T3");
  zk_DbCursor_next(cursor.get());
  EXPECT_STREQ(zk_DbCursor_getCurrTblName(cursor.get()), "T3");
  EXPECT_STREQ(zk_DbCursor_getNthTblName(cursor.get(), 7), "T1");
  EXPECT_STREQ(zk_DbCursor_getNthTblName(nullptr, 0), "T1");

  zk_DbCursor_delNth(cursor.get(), 0);  // moves the position
  EXPECT_EQ(zk_DbCursor_getNthTblName(cursor.get(), 7), nullptr);
  EXPECT_STREQ(zk_DbCursor_getCurrTblName(cursor.get()), "T3");
  cursor.reset();
  EXPECT_EQ(zk_DbCursor_getCurrTblName(nullptr), nullptr);
}

TEST(DbCursor, CopyTakesCompleteNodesOnly) {
  const Cursor cursor = threeRows();
  zk_DbCursor_insEnd(cursor.get(), nullptr, row("4"));
  zk_DbCursor_insEnd(cursor.get(), "T5", nullptr);
  const Cursor copy(zk_DbCursor_copy(cursor.get()));
  EXPECT_EQ(values(copy), "123");
  EXPECT_EQ(zk_DbCursor_eol(copy.get()), 1);
  EXPECT_NE(zk_DbCursor_getNthFldList(copy.get(), 0), zk_DbCursor_getNthFldList(cursor.get(), 0));

  const Cursor incomplete(zk_DbCursor_create());
  EXPECT_EQ(zk_DbCursor_copy(incomplete.get()), nullptr);
  zk_DbCursor_insEnd(incomplete.get(), nullptr, row("1"));
  EXPECT_EQ(zk_DbCursor_copy(incomplete.get()), nullptr);
}

TEST(DbCursor, NodeDestroyLeavesTheRecord) {
  DbCursorNode *node = zk_DbCursorNode_create("T", row("1"));
  EXPECT_STREQ(node->tblName, "T");
  EXPECT_EQ(zk_DbCursorNode_destroy(node), 1);
  EXPECT_EQ(node->tblName, nullptr);
  EXPECT_EQ(node->fldList, nullptr);
  EXPECT_EQ(zk_DbCursorNode_destroy(node), 1);
  zk_Free(node);
}

// ---- Refused memory

int untilRefusal = INT_MAX;  // allocations that still succeed
bool refuseOnce = false;     // else all that follow are refused as well
int liveBlocks = 0;

void *allocateOrRefuse(std::size_t size) {
  if (untilRefusal <= 0) {
    if (refuseOnce) untilRefusal = INT_MAX;
    return nullptr;
  }
  --untilRefusal;
  void *block = std::malloc(size);
  if (block != nullptr) ++liveBlocks;
  return block;
}

void releaseCounted(void *block) {
  --liveBlocks;
  std::free(block);
}

// Runs `action`, which is true when it succeeded, with the n-th allocation refused (once, or for
// ever), for every n until it succeeds; a failure must leave no block behind and `state` as it was.
void refuseEvery(const std::function<bool()> &action, const std::function<std::string()> &state,
                 bool once) {
  refuseOnce = once;
  const std::string before = state();
  bool succeeded = false;
  for (int n = 0; !succeeded; ++n) {
    SCOPED_TRACE(n);
    ASSERT_LT(n, 100);
    const int live = liveBlocks;
    untilRefusal = n;
    succeeded = action();
    untilRefusal = INT_MAX;
    if (succeeded) {
      EXPECT_GT(n, 0) << "nothing was allocated";
    } else {
      EXPECT_EQ(liveBlocks, live);
      EXPECT_EQ(state(), before);
    }
  }
}

class DbFldRefusedMemory : public DbFldTemplateFile {
 protected:
  void SetUp() override { refuseOnce = false; }
  static void SetUpTestSuite() {
    zk_MemoryManager_set(allocateOrRefuse, std::realloc, std::calloc, releaseCounted);
  }
};

TEST_F(DbFldRefusedMemory, GivesTheFailureResultAndLeaksNothing) {
  const List list(zk_DbFldList_create("A", "1", "B", "2", (char *)0));
  zk_DbFldList_start(list.get());
  const Cursor cursor = threeRows();
  zk_DbCursor_start(cursor.get());
  ASSERT_NE(read("A C 12  0\nB C 12  0\n"), nullptr);

  const auto state = [&] {
    std::string text = values(cursor);
    for (const std::string &node : describe(list.get())) text += node;
    return text;
  };
  const auto unchanged = [&](const auto &make) {
    refuseEvery([&] { return make() != nullptr; }, state, false);
    refuseEvery([&] { return make() != nullptr; }, state, true);
  };
  unchanged([&] { return Node(zk_DbFldNode_new("N", "v", 1, 0, 'C')); });
  unchanged([&] { return List(zk_DbFldList_create("A", "1", "B", "2", (char *)0)); });
  unchanged([&] { return List(zk_DbFldList_copy(list.get())); });
  unchanged([&] { return List(zk_DbFldList_fromTemplate(path("record.tpl").c_str())); });
  unchanged([&] { return Cursor(zk_DbCursor_create()); });
  unchanged([&] {
    Cursor copy(zk_DbCursor_copy(cursor.get()));
    for (int i = 0; copy != nullptr && i < 3; ++i) {
      EXPECT_NE(zk_DbCursor_getNth(copy.get(), i)->tblName, nullptr);
    }
    return copy;
  });
  refuseEvery([&] { return zk_DbFldList_insEnd(list.get(), "C", "3", 1, 0, 'C') != 0; }, state,
              true);
  refuseEvery([&] { return zk_DbFldList_modCurrVal(list.get(), "new") != 0; }, state, true);
}

// The list belongs to the cursor on success only; a refused name alone is no failure.
TEST_F(DbFldRefusedMemory, ACursorTakesAListOnSuccessOnly) {
  const Cursor cursor = threeRows();
  zk_DbCursor_start(cursor.get());
  DbFldList *list = row("9");
  untilRefusal = 0;
  EXPECT_EQ(zk_DbCursor_insEnd(cursor.get(), nullptr, list), 0);
  untilRefusal = 0;
  EXPECT_EQ(zk_DbCursor_modCurr(cursor.get(), "T", list), 0);
  untilRefusal = 1;  // the record, but not its place in the cursor
  EXPECT_EQ(zk_DbCursor_insStart(cursor.get(), nullptr, list), 0);
  EXPECT_EQ(values(cursor), "123");
  EXPECT_EQ(describe(list), Lines{"F:C:0:0:[9]"});
  untilRefusal = 1;
  EXPECT_EQ(zk_DbCursor_modCurr(cursor.get(), "T", list), 1);
  untilRefusal = INT_MAX;
  EXPECT_EQ(values(cursor), "923");
  EXPECT_EQ(zk_DbCursor_getCurr(cursor.get())->tblName, nullptr);
}

}  // namespace
