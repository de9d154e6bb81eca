#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "zk_baselib.h"

namespace {

// Elements are letters; '-' stands for a node that holds null.
char letters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
void *element(char letter) { return letter == '-' ? nullptr : &letters[letter - 'A']; }
char letterOf(const void *data) { return data == nullptr ? '-' : *static_cast<const char *>(data); }

constexpr int kEnd = -1;

LnkList *makeList(const std::string &content, int cursor = 0) {
  LnkList *list = zk_LnkList_create((void *)0);
  for (const char letter : content) zk_LnkList_insEnd(list, element(letter));
  list->current = list->first;
  for (int i = 0; i < cursor; ++i) list->current = list->current->next;
  if (cursor == kEnd) list->current = nullptr;
  return list;
}

// "ABC@1": the elements and the cursor's position, after a check of every link.
std::string show(const LnkList *list) {
  std::string text;
  std::string cursor = list->current == nullptr ? "end" : "astray";
  uint32_t count = 0;
  const LnkNode *prev = nullptr;
  for (const LnkNode *node = list->first; node != nullptr; prev = node, node = node->next) {
    EXPECT_EQ(node->prev, prev);
    if (node == list->current) cursor = std::to_string(count);
    text += letterOf(node->data);
    ++count;
  }
  EXPECT_EQ(list->last, prev);
  EXPECT_EQ(list->length, count);
  return text + "@" + cursor;
}

std::string freed;
void ZK_CALL logFree(void *data) { freed += letterOf(data); }
int ZK_CALL compareLetters(const void *a, const void *b) { return letterOf(a) - letterOf(b); }

TEST(LnkList, Create) {
  LnkList *list = zk_LnkList_create(element('A'), element('B'), element('C'), (void *)0);
  EXPECT_EQ(show(list), "ABC@0");
  EXPECT_EQ(zk_LnkList_destroy(list, nullptr), 1);
  list = zk_LnkList_create((void *)0);
  EXPECT_EQ(show(list), "@end");
  EXPECT_EQ(zk_LnkList_isLast(list), 1);  // first and last are both null
  zk_LnkList_destroy(list, nullptr);
}

// What each operation returns and leaves: elements, links and cursor.
TEST(LnkList, OperationsOnElementsAndCursor) {
  struct Case {
    const char *content;
    int cursor;
    std::function<int(LnkList *)> operation;
    int result;
    const char *after;
    const char *freedAfter = "";
  };
  const auto insBefore = [](LnkList *l) { return zk_LnkList_insBefore(l, element('X')); };
  const auto insAfter = [](LnkList *l) { return zk_LnkList_insAfter(l, element('X')); };
  const auto insNth = [](int n) {
    return [n](LnkList *l) { return zk_LnkList_insNth(l, n, element('X')); };
  };
  const auto delCurr = [](LnkList *l) { return zk_LnkList_delCurr(l, logFree); };
  const auto delNth = [](int n) {
    return [n](LnkList *l) { return zk_LnkList_delNth(l, n, logFree); };
  };
  const auto modNth = [](int n) {
    return [n](LnkList *l) { return zk_LnkList_modNth(l, n, element('X'), logFree); };
  };
  const auto skip = [](int n) { return [n](LnkList *l) { return zk_LnkList_skip(l, n); }; };
  const auto setPos = [](int n) { return [n](LnkList *l) { return zk_LnkList_setPos(l, n); }; };
  const auto getNth = [](int n) {
    return [n](LnkList *l) { return int(letterOf(zk_LnkList_getNth(l, n))); };
  };
  const auto savePos = [](int n) {
    return [n](LnkList *l) { return int(letterOf(zk_LnkList_getNthSavePos(l, n))); };
  };
  const auto move = [](int from, int to) {
    return [=](LnkList *l) { return zk_LnkList_move(l, from, to); };
  };
  const auto search = [](char key) {
    return [key](LnkList *l) {
      return int(letterOf(zk_LnkList_search(l, &letters[key - 'A'], compareLetters)));
    };
  };
  const Case cases[] = {
      {"", kEnd, [](LnkList *l) { return zk_LnkList_insStart(l, element('X')); }, 1, "X@end"},
      {"AB", 1, [](LnkList *l) { return zk_LnkList_insStart(l, element('X')); }, 1, "XAB@2"},
      {"AB", 1, [](LnkList *l) { return zk_LnkList_insEnd(l, element('X')); }, 1, "ABX@1"},
      {"", kEnd, insBefore, 1, "X@0"},
      {"AB", 0, insBefore, 1, "XAB@1"},
      {"AB", 1, insBefore, 1, "AXB@2"},
      {"AB", kEnd, insBefore, 1, "XAB@1"},  // the cursor was put on A
      {"", kEnd, insAfter, 1, "X@0"},
      {"AB", 0, insAfter, 1, "AXB@0"},
      {"AB", 1, insAfter, 1, "ABX@1"},
      {"AB", kEnd, insAfter, 1, "ABX@1"},  // the cursor was put on B
      {"ABC", 2, insNth(0), 1, "XABC@1"},
      {"ABC", 0, insNth(2), 1, "ABXC@3"},
      {"ABC", 0, insNth(5), 1, "ABCX@2"},
      {"ABC", 1, insNth(-1), 1, "ABXC@1"},  // behind the cursor
      {"A-C", 0, insNth(1), 1, "A-XC@1"},   // behind a node that holds null

      {"ABC", 1, delCurr, 1, "AC@1", "B"},
      {"ABC", 2, delCurr, 1, "AB@1", "C"},
      {"A", 0, delCurr, 1, "@end", "A"},
      {"A-", 1, delCurr, 1, "A@0"},
      {"AB", kEnd, delCurr, 0, "AB@end"},
      {"ABC", 2, delNth(0), 1, "BC@0", "A"},
      {"ABC", 0, delNth(3), 0, "ABC@end"},
      {"ABC", 1, delNth(-1), 0, "ABC@1"},
      {"A-C", 0, delNth(1), 0, "A-C@1"},  // null cannot be removed by index
      {"A-C", 1, [](LnkList *l) { return zk_LnkList_delAll(l, logFree); }, 1, "@end", "AC"},

      {"ABC", kEnd, [](LnkList *l) { return zk_LnkList_end(l); }, 1, "ABC@2"},
      {"ABC", 2, [](LnkList *l) { return zk_LnkList_start(l); }, 1, "ABC@0"},
      {"", kEnd, [](LnkList *l) { return zk_LnkList_start(l) + zk_LnkList_end(l); }, 0, "@end"},
      {"ABC", 0, skip(10), 0, "ABC@end"},
      {"ABC", 2, skip(INT_MIN), 0, "ABC@end"},
      {"ABC", 0, skip(2), 1, "ABC@2"},
      {"ABC", 2, skip(-2), 1, "ABC@0"},
      {"ABC", 1, skip(0), 1, "ABC@1"},
      {"ABC", kEnd, [](LnkList *l) { return zk_LnkList_prev(l) + zk_LnkList_next(l); }, 0,
       "ABC@end"},
      {"ABC", 2, [](LnkList *l) { return zk_LnkList_next(l); }, 0, "ABC@end"},
      {"ABC", 2, [](LnkList *l) { return zk_LnkList_prev(l); }, 1, "ABC@1"},
      {"ABC", 2, setPos(-5), 1, "ABC@0"},
      {"ABC", 0, setPos(1), 1, "ABC@1"},
      {"ABC", 0, setPos(3), 1, "ABC@end"},
      {"ABC", 2, [](LnkList *l) { return zk_LnkList_getPos(l); }, 2, "ABC@2"},
      {"ABC", kEnd, [](LnkList *l) { return zk_LnkList_getPos(l); }, -1, "ABC@end"},
      {"ABC", 2, [](LnkList *l) { return zk_LnkList_isLast(l); }, 1, "ABC@2"},
      {"ABC", kEnd, [](LnkList *l) { return zk_LnkList_isLast(l); }, 0, "ABC@end"},

      {"ABC", 0, getNth(2), 'C', "ABC@2"},
      {"ABC", 0, getNth(3), '-', "ABC@end"},
      {"ABC", 1, getNth(-1), '-', "ABC@1"},
      {"ABC", 1, savePos(2), 'C', "ABC@1"},
      {"ABC", kEnd, savePos(2), 'C', "ABC@0"},  // end of list is not remembered
      {"ABC", 1, [](LnkList *l) { return zk_LnkList_modCurr(l, element('X'), logFree); }, 1,
       "AXC@1", "B"},
      {"ABC", kEnd, [](LnkList *l) { return zk_LnkList_modCurr(l, element('X'), logFree); }, 0,
       "ABC@end"},
      {"ABC", 0, modNth(2), 1, "ABX@2", "C"},
      {"A-C", 0, modNth(1), 0, "A-C@1"},
      {"A-CC", kEnd, search('C'), 'C', "A-CC@2"},
      {"ABC", 1, search('Z'), '-', "ABC@end"},
      {"AB", 1, [](LnkList *l) { return zk_LnkList_search(l, letters, nullptr) != nullptr; }, 0,
       "AB@1"},

      {"ABC", 0, move(0, 2), 1, "BCA@2"},
      {"ABC", 0, move(2, 0), 1, "CAB@0"},
      {"ABCD", 0, move(1, 2), 1, "ACBD@2"},
      {"ABCD", 0, move(2, 1), 1, "ACBD@1"},
      {"AB", kEnd, move(0, 1), 1, "BA@1"},
      {"ABC", 2, move(1, 1), 1, "ABC@2"},
      {"ABC", 2, move(0, 3), 0, "ABC@2"},
      {"ABC", 2, move(-1, 0), 0, "ABC@2"},

      {"CDA-B", 1, [](LnkList *l) { return zk_LnkList_sort(l, compareLetters), 0; }, 0, "ABC-D@1"},
      {"CAB", 1, [](LnkList *l) { return zk_LnkList_qSort(l, compareLetters), 0; }, 0, "ABC@end"},
      {"AAA", 1, [](LnkList *l) { return zk_LnkList_qSort(l, compareLetters), 0; }, 0, "AAA@1"},
      {"-BA", 1, [](LnkList *l) { return zk_LnkList_qSort(l, compareLetters), 0; }, 0, "-BA@1"},
      {"CAB", 1, [](LnkList *l) { return zk_LnkList_qSort(l, nullptr), 0; }, 0, "CAB@1"},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(testing::Message()
                 << "case " << &c - cases << ": " << c.content << "@" << c.cursor);
    LnkList *list = makeList(c.content, c.cursor);
    freed.clear();
    EXPECT_EQ(c.operation(list), c.result);
    EXPECT_EQ(show(list), c.after);
    EXPECT_EQ(freed, c.freedAfter);
    zk_LnkList_destroy(list, nullptr);
  }
}

TEST(LnkList, Join) {
  const struct {
    const char *list, *other, *after;
  } cases[] = {{"AB", "CD", "ABCD@0"}, {"AB", "", "AB@0"}, {"", "CD", "CD@0"}, {"", "", "@end"}};
  for (const auto &c : cases) {
    LnkList *list = makeList(c.list, kEnd);
    EXPECT_EQ(zk_LnkList_join(list, makeList(c.other)), 1);  // a leak here is the other's header
    EXPECT_EQ(show(list), c.after);
    zk_LnkList_destroy(list, nullptr);
  }
  LnkList *list = makeList("AB", 1);
  EXPECT_EQ(zk_LnkList_join(list, list), 0);
  EXPECT_EQ(zk_LnkList_join(list, nullptr), 0);
  EXPECT_EQ(show(list), "AB@1");
  zk_LnkList_destroy(list, nullptr);
}

TEST(LnkList, PivotIsTheLargerOfTheFirstTwoThatDiffer) {
  const struct {
    const char *content;
    char pivot;
  } cases[] = {{"", '-'},    {"B", '-'},   {"BBB", '-'},   {"BBA", 'B'},
               {"BBC", 'C'}, {"-AB", '-'}, {"B--AC", 'B'}, {"B--", '-'}};
  for (const auto &c : cases) {
    LnkList *list = makeList(c.content);
    EXPECT_EQ(letterOf(zk_LnkList_findPivot(list, compareLetters)), c.pivot) << c.content;
    zk_LnkList_destroy(list, nullptr);
  }
}

// A quick sort as callers write it, on the exported steps.
void quickSort(LnkList *list) {
  void *pivot = zk_LnkList_findPivot(list, compareLetters);
  if (pivot == nullptr) return;
  LnkList *left = zk_LnkList_create((void *)0);
  LnkList *right = zk_LnkList_create((void *)0);
  zk_LnkList_partition(list, left, right, pivot, compareLetters);
  EXPECT_EQ(list->current, nullptr);
  EXPECT_EQ(left->last->next, nullptr);  // the chain is cut
  EXPECT_EQ(right->first->prev, nullptr);
  EXPECT_EQ(left->length + right->length, 0u);
  quickSort(left);
  quickSort(right);
  left->last->next = right->first;
  right->first->prev = left->last;
  zk_Free(left);
  zk_Free(right);
}

TEST(LnkList, PartitionServesACallersOwnQuickSort) {
  for (std::string content : {"BA", "CAB", "QWERTYUIOPASDFGHJKLZXCVBNM", "AABBAABB"}) {
    LnkList *list = makeList(content);
    quickSort(list);
    std::sort(content.begin(), content.end());
    EXPECT_EQ(show(list), content + "@end");
    zk_LnkList_destroy(list, nullptr);
  }
  // Nothing below the pivot: everything is on the right.
  LnkList *list = makeList("BC");
  LnkList left{};
  LnkList right{};
  zk_LnkList_partition(list, &left, &right, element('A'), compareLetters);
  EXPECT_EQ(left.first, nullptr);
  EXPECT_EQ(right.first, list->first);
  EXPECT_EQ(right.last, list->last);
  zk_LnkList_destroy(list, nullptr);
}

long comparisons = 0;
int ZK_CALL compareNumbers(const void *a, const void *b) {
  ++comparisons;
  const int x = *static_cast<const int *>(a);
  const int y = *static_cast<const int *>(b);
  return (x > y) - (x < y);
}

TEST(LnkList, QuickSortIsNLogNForEveryOrder) {
  constexpr int kCount = 1000000;
  const long limit = std::lround(kCount * std::log2(kCount) * 1.2);
  std::mt19937 random(7);
  const std::pair<const char *, std::function<int(int)>> orders[] = {
      {"sorted", [](int i) { return i; }},
      {"reversed", [](int i) { return -i; }},
      {"equal", [](int) { return 1; }},
      {"two values", [](int i) { return i & 1; }},
      {"saw", [](int i) { return i % 1000; }},
      {"organ pipe", [](int i) { return std::min(i, kCount - i); }},
      {"random", [&](int) { return static_cast<int>(random()); }},
  };
  std::vector<int> numbers(kCount);
  for (const auto &[name, order] : orders) {
    LnkList *list = zk_LnkList_create((void *)0);
    for (int i = 0; i < kCount; ++i) {
      numbers[i] = order(i);
      zk_LnkList_insEnd(list, &numbers[i]);
    }
    comparisons = 0;
    zk_LnkList_qSort(list, compareNumbers);
    EXPECT_LE(comparisons, limit) << name;
    std::vector<int> result;
    for (const LnkNode *node = list->first; node != nullptr; node = node->next) {
      result.push_back(*static_cast<const int *>(node->data));
    }
    std::vector<int> expected = numbers;
    std::sort(expected.begin(), expected.end());
    EXPECT_TRUE(result == expected) << name;
    zk_LnkList_destroy(list, nullptr);
  }
}

int ZK_CALL compareNullFirst(const void *a, const void *b) {
  EXPECT_NE(b, nullptr);  // null is promised on the left only
  return a == nullptr ? -1 : letterOf(a) - letterOf(b);
}

TEST(LnkList, QuickSortWithNullElements) {
  LnkList *list = makeList("C-A--BZ-YXWVUTSRQPONM-L");
  zk_LnkList_qSort(list, compareNullFirst);
  EXPECT_EQ(show(list), "-----ABCLMNOPQRSTUVWXYZ@end");
  zk_LnkList_destroy(list, nullptr);
}

// Memory stays in bounds (the sanitizers watch) and no element is lost.
TEST(LnkList, QuickSortSurvivesAComparisonThatContradictsItself) {
  const ZkCompareFn comparisonsThatLie[] = {
      [](const void *, const void *) { return 1; },
      [](const void *, const void *) { return -1; },
      [](const void *, const void *) { return std::rand() % 3 - 1; },
      [](const void *, const void *) { return INT_MIN; },
  };
  for (const ZkCompareFn compare : comparisonsThatLie) {
    LnkList *list = makeList("ABCDEFGHIJKLMNOPQRSTUVWXYZ");
    zk_LnkList_qSort(list, compare);
    zk_LnkList_sort(list, compareLetters);
    list->current = nullptr;
    EXPECT_EQ(show(list), "ABCDEFGHIJKLMNOPQRSTUVWXYZ@end");
    zk_LnkList_destroy(list, nullptr);
  }
}

// The messages of the trace lines that `body` writes, one a line, indented by depth.
template <typename Body>
std::string trace(uint32_t condition, Body body) {
  zk_Diag_setLevel(3);
  zk_Diag_setCondition(condition);
  testing::internal::CaptureStdout();
  body();
  zk_Diag_disable();
  std::string lines = testing::internal::GetCapturedStdout();
  std::string messages;
  for (std::size_t at = 0; at < lines.size(); at = lines.find('\n', at) + 1) {
    const std::size_t start = lines.find(") ", at) + 2;
    EXPECT_EQ(lines.compare(at, 13, "lnklist.cpp ("), 0);
    messages += lines.substr(start, lines.find('\n', at) - start) + "\n";
  }
  return messages;
}

TEST(LnkList, TracesEntryAndExitWithTheCallsBeneath) {
  LnkList *list = makeList("ABC");
  EXPECT_EQ(trace(ZK_DIAG_LNKLIST, [&] { zk_LnkList_insNth(list, 1, element('X')); }),
            "Entering zk_LnkList_insNth.\nEntering zk_LnkList_getNth.\n"
            "Entering zk_LnkList_start.\nExiting zk_LnkList_start.\n"
            "Exiting zk_LnkList_getNth.\nExiting zk_LnkList_insNth.\n");
  EXPECT_EQ(trace(ZK_DIAG_LNKLIST, [&] { zk_LnkList_qSort(list, compareLetters); }),
            "Entering zk_LnkList_qSort.\nExiting zk_LnkList_qSort.\n");
  EXPECT_EQ(trace(ZK_DIAG_LNKLIST, [] { zk_LnkList_eol(nullptr); }),
            "Entering zk_LnkList_eol.\nExiting zk_LnkList_eol.\n");
  // Not for these three, nor under another family's bit.
  EXPECT_EQ(trace(ZK_DIAG_LNKLIST,
                  [&] {
                    zk_LnkList_next(list);
                    zk_LnkList_prev(list);
                    zk_LnkList_move(list, 0, 1);
                  }),
            "");
  EXPECT_EQ(trace(~ZK_DIAG_LNKLIST, [&] { zk_LnkList_start(list); }), "");
  EXPECT_EQ(trace(ZK_DIAG_LNKLIST, [&] { zk_LnkList_destroy(list, nullptr); }),
            "Entering zk_LnkList_destroy.\nEntering zk_LnkList_delAll.\n"
            "Exiting zk_LnkList_delAll.\nExiting zk_LnkList_destroy.\n");
}

// An allocator that grants so many requests and refuses the next ones.
int granted = INT_MAX;
void *ZK_CALL grant(size_t size) { return granted-- > 0 ? std::malloc(size) : nullptr; }

TEST(LnkList, RefusedMemoryLeavesTheListAsItWas) {
  zk_MemoryManager_set(grant, std::realloc, std::calloc, std::free);
  granted = 0;
  EXPECT_EQ(zk_LnkList_create(element('A'), (void *)0), nullptr);
  granted = 2;  // header and one node
  LnkList *list = zk_LnkList_create(element('B'), element('A'), (void *)0);
  EXPECT_EQ(show(list), "B@0");
  granted = 1;
  zk_LnkList_insEnd(list, element('A'));

  const std::function<int()> insertions[] = {
      [&] { return zk_LnkList_insStart(list, letters); },
      [&] { return zk_LnkList_insEnd(list, letters); },
      [&] { return zk_LnkList_insBefore(list, letters); },
      [&] { return zk_LnkList_insAfter(list, letters); },
  };
  for (const auto &insert : insertions) {
    list->current = nullptr;
    granted = 0;
    EXPECT_EQ(insert(), 0);
    EXPECT_EQ(show(list), "BA@end");
  }
  list->current = list->first;
  for (int blocks = 0; blocks < 2; ++blocks) {
    granted = blocks;
    zk_LnkList_qSort(list, compareLetters);
    EXPECT_EQ(show(list), "BA@0");
  }
  granted = INT_MAX;
  zk_LnkList_destroy(list, nullptr);
}

}  // namespace
