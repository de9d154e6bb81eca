#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <unordered_set>
#include <vector>

#include "zk_baselib.h"

namespace {

using Strings = std::vector<std::string>;

constexpr int kEnd = -1;

StrList *makeList(const Strings &strings, int cursor = 0) {
  StrList *list = zk_StrList_create((const char *)0);
  for (const std::string &string : strings) zk_StrList_insEnd(list, string.c_str());
  zk_StrList_start(list);
  zk_StrList_skip(list, cursor == kEnd ? INT_MAX : cursor);
  return list;
}

// "a|b|c@1": the strings and the cursor's position.
std::string show(const StrList *list) {
  if (list == nullptr) return "null";
  std::string text;
  std::string cursor = list->current == nullptr ? "end" : "astray";
  uint32_t count = 0;
  for (const LnkNode *node = list->first; node != nullptr; node = node->next, ++count) {
    if (count != 0) text += "|";
    text += static_cast<const StrListNode *>(node->data)->text;
    if (node == list->current) cursor = std::to_string(count);
    EXPECT_EQ(node->next == nullptr ? list->last : node->next->prev, node);
  }
  EXPECT_EQ(zk_StrList_count(list), count);
  EXPECT_EQ(zk_StrList_length(list), count);
  return text + "@" + cursor;
}

// Shows a list and destroys it.
std::string shown(StrList *list) {
  const std::string text = show(list);
  zk_StrList_destroy(list);
  return text;
}

// Must come first: there is nothing to repeat only until something has been read.
TEST(StrList, NothingReadYet) {
  StrList *list = zk_StrList_create((const char *)0);
  EXPECT_EQ(zk_StrList_getCurr(list), nullptr);
  EXPECT_EQ(zk_StrList_getCurrPtr(list), nullptr);
  EXPECT_EQ(shown(list), "@end");
}

TEST(StrList, OperationsOnStringsAndCursor) {
  struct Case {
    Strings strings;
    int cursor;
    std::function<int(StrList *)> operation;
    int result;
    const char *after;
  };
  const auto search = [](const char *key, int ignoreCase) {
    return [=](StrList *l) { return zk_StrList_search(l, key, ignoreCase); };
  };
  const auto insSorted = [](const char *string) {
    return [=](StrList *l) { return zk_StrList_insSorted(l, string); };
  };
  const auto modNth = [](int n) {
    return [n](StrList *l) { return zk_StrList_modNth(l, n, "x"); };
  };
  const Case cases[] = {
      {{"a", "b"}, 1, [](StrList *l) { return zk_StrList_insStart(l, "x"); }, 1, "x|a|b@2"},
      {{"a", "b"}, 0, [](StrList *l) { return zk_StrList_insEnd(l, "x"); }, 1, "a|b|x@0"},
      {{"a", "b"}, 1, [](StrList *l) { return zk_StrList_insBefore(l, "x"); }, 1, "a|x|b@2"},
      {{"a", "b"}, 0, [](StrList *l) { return zk_StrList_insAfter(l, "x"); }, 1, "a|x|b@0"},
      {{"a", "b"}, 1, [](StrList *l) { return zk_StrList_insNth(l, 0, "x"); }, 1, "x|a|b@1"},
      {{"a", "b"}, 0, [](StrList *l) { return zk_StrList_insNth(l, 9, "x"); }, 1, "a|b|x@1"},
      {{"a", "c"}, 1, insSorted("b"), 1, "a|b|c@2"},
      {{"a", "c"}, kEnd, insSorted("d"), 1, "a|c|d@end"},
      {{"a", "c"}, 0, insSorted("\xC3\xA9"), 1, "a|c|\xC3\xA9@0"},  // bytes are unsigned
      {{}, kEnd, insSorted("a"), 1, "a@end"},
      {{"a", "b"}, 1, [](StrList *l) { return zk_StrList_delCurr(l); }, 1, "a@0"},
      {{"a", "b"}, 1, [](StrList *l) { return zk_StrList_delNth(l, 0); }, 1, "b@0"},
      {{"a", "b"}, 1, [](StrList *l) { return zk_StrList_delNth(l, 2); }, 0, "a|b@end"},
      {{"a", "b"}, 1, [](StrList *l) { return zk_StrList_delAll(l); }, 1, "@end"},
      {{"a", "b"}, 1, [](StrList *l) { return zk_StrList_modCurr(l, "x"); }, 1, "a|x@1"},
      {{"a", "b"}, kEnd, [](StrList *l) { return zk_StrList_modCurr(l, "x"); }, 0, "a|b@end"},
      {{"a", "bcd"},
       1,
       [](StrList *l) {  // the string that is about to be released
         return zk_StrList_modCurr(l, static_cast<StrListNode *>(l->current->data)->text + 1);
       },
       1,
       "a|cd@1"},
      {{"a", "b"}, 0, modNth(1), 1, "a|x@1"},
      {{"a", "b"}, 0, modNth(2), 0, "a|b@end"},
      {{"a", "b"},
       0,
       [](StrList *l) { return zk_StrList_modNth(l, 1, zk_StrList_getCurr(l)); },  // static buffer
       1,
       "a|a@1"},
      {{"x", "ABC", "abc"}, 0, search("abc", 1), 1, "x|ABC|abc@1"},
      {{"x", "ABC", "abc"}, 0, search("abc", 0), 2, "x|ABC|abc@2"},
      {{"ABC"}, 0, search("abc", 0), -1, "ABC@end"},
      {{"c", "B", "a", "b"}, 2, [](StrList *l) { return zk_StrList_sort(l); }, 1, "B|a|b|c@end"},
      {{"a", "b"}, 1, [](StrList *l) { return zk_StrList_concatenate(l, l); }, 1, "a|b|a|b@1"},
      {{"a"}, 0, [](StrList *l) { return zk_StrList_concatenate(l, nullptr); }, 0, "a@0"},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(testing::Message() << "case " << &c - cases);
    StrList *list = makeList(c.strings, c.cursor);
    EXPECT_EQ(c.operation(list), c.result);
    EXPECT_EQ(shown(list), c.after);
  }
  EXPECT_EQ(shown(zk_StrList_create("a", "b", (void *)0)), "a|b@0");
}

// Equal strings cannot be told apart by content, so this looks at the nodes.
TEST(StrList, SortedInsertionGoesBehindEquals) {
  StrList *list = makeList({"a", "c"});
  const void *old = list->first->data;
  zk_StrList_insSorted(list, "a");
  EXPECT_EQ(list->first->data, old);
  EXPECT_EQ(shown(list), "a|a|c@0");
}

TEST(StrList, ReadingBehindTheEndRepeatsTheLastResult) {
  StrList *list = makeList({"a", std::string(600, 'x')});
  EXPECT_STREQ(zk_StrList_getCurr(list), "a");
  const char *current = zk_StrList_getNth(list, 1);
  EXPECT_EQ(current, std::string(512, 'x'));
  char *copy = zk_StrList_getCurrPtr(list);
  EXPECT_EQ(copy, std::string(600, 'x'));

  EXPECT_EQ(zk_StrList_getNth(list, 2), nullptr);
  EXPECT_EQ(zk_StrList_getCurr(list), current);
  EXPECT_EQ(current, std::string(512, 'x'));
  EXPECT_EQ(zk_StrList_getCurrPtr(list), copy);
  EXPECT_EQ(zk_StrList_getNth(list, -1), nullptr);
  zk_Free(copy);
  zk_StrList_destroy(list);
}

TEST(StrList, SearchForSubstring) {
  StrList *list = makeList({"one", "Two hundred", std::string(600, 'y')});
  const char *found = zk_StrList_searchForString(list, "hund", 0);
  EXPECT_STREQ(found, "Two hundred");
  EXPECT_EQ(show(list).back(), '1');
  EXPECT_STREQ(zk_StrList_searchForString(list, found, 0), "Two hundred");  // its own result
  zk_StrList_getNth(list, 0);
  EXPECT_STREQ(found, "Two hundred");  // a buffer of its own
  EXPECT_EQ(zk_StrList_searchForString(list, "two", 0), nullptr);
  EXPECT_EQ(zk_StrList_eol(list), 1);
  EXPECT_STREQ(zk_StrList_searchForString(list, "two", 1), "Two hundred");
  EXPECT_EQ(zk_StrList_searchForString(list, "yy", 0), std::string(512, 'y'));
  zk_StrList_destroy(list);
}

TEST(StrList, SplitAndJoin) {
  const struct {
    const char *text, *delimiters, *list, *joined;
  } cases[] = {
      {"a, b;;c", ",;", "a|b|c@end", "a + b + c"},
      {"  one\t", nullptr, "one@end", "one"},
      {"a,  ,b", ",", "a||b@end", "a +  + b"},  // a part of blanks stays
      {",,", ",", "null", nullptr},
      {"", ",", "null", nullptr},
      {nullptr, ",", "null", nullptr},
  };
  for (const auto &c : cases) {
    StrList *list = zk_StrList_fromDelimitedString(c.text, c.delimiters);
    char *joined = zk_StrList_toDelimitedString(list, " + ");
    EXPECT_STREQ(joined, c.joined);
    EXPECT_EQ(shown(list), c.list);
    zk_Free(joined);
  }
  StrList *list = makeList({"a", "b"}, 1);
  char *joined = zk_StrList_toDelimitedString(list, nullptr);
  EXPECT_STREQ(joined, "ab");
  EXPECT_EQ(shown(list), "a|b@1");
  zk_Free(joined);
}

TEST(StrList, Copies) {
  StrList *list = makeList({"a", "", "b"}, 1);
  StrList *copy = zk_StrList_copy(list);
  EXPECT_EQ(zk_StrList_concatenate(copy, list), 1);
  EXPECT_EQ(shown(list), "a||b@1");
  EXPECT_EQ(shown(copy), "a||b|a||b@end");
  EXPECT_EQ(shown(zk_StrList_copy(nullptr)), "@end");
}

TEST(StrList, RemoveDuplicates) {
  const struct {
    Strings strings;
    int ignoreCase;
    const char *after;
  } cases[] = {
      {{"a", "A", "b"}, 1, "a|b@0"},
      {{"a", "A", "a"}, 0, "a|A@0"},
      {{"b", "b", "b"}, 0, "b@0"},
      {{"a", "b", "a", "c", "b"}, 0, "a|b|c@0"},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(shown(zk_StrList_removeDuplicates(makeList(c.strings, kEnd), c.ignoreCase)), c.after);
  }
  // Too short to hold any: the list itself, its cursor where it was.
  StrList *list = makeList({"a"}, kEnd);
  EXPECT_EQ(zk_StrList_removeDuplicates(list, 0), list);
  EXPECT_EQ(shown(list), "a@end");

  // Against the obvious way, and fast enough for a list of this length only if linear.
  std::mt19937 random(3);
  Strings strings;
  for (int i = 0; i < 200000; ++i) strings.push_back("key" + std::to_string(random() % 150000));
  list = zk_StrList_removeDuplicates(makeList(strings), 0);
  std::unordered_set<std::string> seen;
  std::erase_if(strings, [&](const std::string &string) { return !seen.insert(string).second; });
  ASSERT_EQ(zk_StrList_length(list), strings.size());
  std::size_t i = 0;
  for (zk_StrList_start(list); !zk_StrList_eol(list); zk_StrList_next(list)) {
    ASSERT_EQ(zk_StrList_getCurr(list), strings[i++]);
  }
  zk_StrList_destroy(list);
}

TEST(StrList, Chunks) {
  const std::string longText(1000, 'x');
  const struct {
    Strings strings;
    int32_t size;
    int quote;
    std::string after;
  } cases[] = {
      {{"e1", "e2", "e3", "e4", "e5"}, 2, 1, "'e1','e2'|'e3','e4'|'e5'@end"},
      {{"e1", "e2"}, 2, 0, "e1,e2@end"},
      {{"e1", "e2", "e3"}, 0, 0, "e1,e2,e3@end"},
      {{longText, "a"}, 1, 1, "'" + longText + "'|'a'@end"},
      {{}, 2, 1, "null"},
  };
  for (const auto &c : cases) {
    StrList *list = makeList(c.strings);
    EXPECT_EQ(shown(zk_StrList_toDelimitedStringList(list, ",", c.size, c.quote)), c.after);
    zk_StrList_destroy(list);
  }
}

template <typename Body>
std::string trace(uint32_t condition, Body body) {
  zk_Diag_setLevel(3);
  zk_Diag_setCondition(condition);
  testing::internal::CaptureStdout();
  body();
  zk_Diag_disable();
  return testing::internal::GetCapturedStdout();
}

TEST(StrList, WhichFunctionsTrace) {
  StrList *list = makeList({"a"});
  StrList *copy = nullptr;
  const struct {
    const char *name;
    std::function<void()> call;
    bool traces;
  } cases[] = {
      {"search", [&] { zk_StrList_search(list, "a", 0); }, true},
      {"searchForString", [&] { zk_StrList_searchForString(list, "a", 0); }, true},
      {"insStart", [&] { zk_StrList_insStart(list, "a"); }, true},
      {"insEnd", [&] { zk_StrList_insEnd(list, "a"); }, false},
      {"insBefore", [&] { zk_StrList_insBefore(list, "a"); }, true},
      {"insAfter", [&] { zk_StrList_insAfter(list, "a"); }, true},
      {"insNth", [&] { zk_StrList_insNth(list, 0, "a"); }, true},
      {"insSorted", [&] { zk_StrList_insSorted(list, "a"); }, true},
      {"modCurr", [&] { zk_StrList_modCurr(list, "a"); }, true},
      {"modNth", [&] { zk_StrList_modNth(list, 0, "a"); }, true},
      {"concatenate", [&] { zk_StrList_concatenate(list, list); }, true},
      {"copy", [&] { copy = zk_StrList_copy(list); }, true},
      {"delCurr", [&] { zk_StrList_delCurr(list); }, false},
      {"getNth", [&] { zk_StrList_getNth(list, 0); }, false},
      {"sort", [&] { zk_StrList_sort(list); }, false},
  };
  for (const auto &c : cases) {
    const std::string lines = trace(ZK_DIAG_STRLIST, c.call);
    const std::string name = std::string("zk_StrList_") + c.name + ".\n";
    EXPECT_EQ(lines.find("strlist.cpp (") == 0 && lines.find("Entering " + name) < 20, c.traces)
        << c.name << "\n"
        << lines;
    EXPECT_EQ(lines.ends_with("Exiting " + name), c.traces) << c.name << "\n" << lines;
  }
  zk_StrList_destroy(copy);
  // The node's lines come from the family, the list's own from the linked list.
  EXPECT_NE(trace(ZK_DIAG_STRLIST, [&] { zk_StrList_insEnd(list, "a"); })
                .find("Entering zk_StrListNode_create."),
            std::string::npos);
  const std::string destroyed =
      trace(ZK_DIAG_STRLIST | ZK_DIAG_LNKLIST, [&] { zk_StrList_destroy(list); });
  EXPECT_EQ(destroyed.find("lnklist.cpp ("), 0u);
  EXPECT_NE(destroyed.find("Exiting zk_StrListNode_destroy."), std::string::npos);
}

// An allocator that grants so many requests and refuses the next ones, and counts live blocks.
int granted = INT_MAX;
int live = 0;
void *ZK_CALL grant(size_t size) {
  if (granted-- <= 0) return nullptr;
  ++live;
  return std::malloc(size);
}
void ZK_CALL release(void *block) {
  --live;
  std::free(block);
}

// Every operation with its n-th request refused, for every n: its failure result, nothing leaked,
// and the lists as they were.
TEST(StrList, RefusedMemory) {
  zk_MemoryManager_set(grant, std::realloc, std::calloc, release);
  const std::function<bool(StrList *)> operations[] = {
      [](StrList *l) { return zk_StrList_insStart(l, "x") == 1; },
      [](StrList *l) { return zk_StrList_insBefore(l, "x") == 1; },
      [](StrList *l) { return zk_StrList_insSorted(l, "x") == 1; },
      [](StrList *l) { return zk_StrList_modCurr(l, "x") == 1; },
      [](StrList *l) { return zk_StrList_modNth(l, 0, "a string too long for its object") == 1; },
      [](StrList *l) { return zk_StrList_concatenate(l, l) == 1; },
      [](StrList *l) { return zk_StrList_destroy(zk_StrList_copy(l)) == 1; },
      [](StrList *) { return zk_StrList_destroy(zk_StrList_fromDelimitedString("a,b", ",")) == 1; },
      [](StrList *l) {
        return zk_StrList_destroy(zk_StrList_toDelimitedStringList(l, ", and then ", 2, 1)) == 1;
      },
      [](StrList *) { return zk_StrList_destroy(zk_Str_wrapText("some longer text", 6)) == 1; },
      [](StrList *l) {
        char *text = zk_StrList_toDelimitedString(l, ",");
        zk_Free(text);
        return text != nullptr;
      },
      [](StrList *) {
        char *text = zk_Str_replaceKeywordDynamic("a text with %a long keyword%", "a long keyword",
                                                  "%", "x");
        zk_Free(text);
        return text != nullptr;
      },
  };
  for (const auto &operation : operations) {
    SCOPED_TRACE(testing::Message() << "operation " << &operation - operations);
    bool done = false;
    for (int n = 0; !done; ++n) {
      ASSERT_LT(n, 100);
      StrList *list = makeList({"a", "b", "a"}, 0);
      const int before = live;
      granted = n;
      done = operation(list);
      granted = INT_MAX;
      if (!done) {
        EXPECT_EQ(live, before);
        EXPECT_EQ(show(list), "a|b|a@0");
      }
      zk_StrList_destroy(list);
    }
    EXPECT_EQ(live, 0);
  }
  // Its argument stays the caller's.
  for (int n = 0;; ++n) {
    StrList *list = makeList({"a", "b", "a"}, 0);
    granted = n;
    StrList *result = zk_StrList_removeDuplicates(list, 0);
    granted = INT_MAX;
    EXPECT_EQ(shown(result != nullptr ? result : list), result != nullptr ? "a|b@0" : "a|b|a@0");
    EXPECT_EQ(live, 0);
    if (result != nullptr) break;
  }
}

}  // namespace
