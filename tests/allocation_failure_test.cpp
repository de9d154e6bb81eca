// Memory is refused at the n-th request, for every n: once, and from there on. Each operation then
// fails as documented, loses no block, leaves its object as it was, and works when tried again.
#include <cstdlib>
#include <functional>
#include <map>

#include "tests/fake_com.h"
#include "tests/indexed_table.h"
#include "tests/refusing_memory.h"
#include "tests/support.h"

namespace {

using support::allocator;
using support::assign;
using support::Attempt;
using support::fieldText;
using support::forEveryAllocation;
using support::openTable;
using support::readFile;
using support::writeFile;

constexpr int kMemory = -920;

template <typename T, int (*destroy)(T *)>
void destroyWith(void *object) {
  destroy(static_cast<T *>(object));
}

// ---- What makes something new gives null

std::string folder() { return testing::TempDir(); }

std::string textFile() {
  const std::string name = folder() + "/zk_allocation.txt";
  writeFile(name, "PART C 10  0\nPRICE N 12  2\nNOTE M 10  0\n");
  return name;
}

StrList *words() {
  static StrList *list =
      zk_StrList_create("pear", "fig", "apple", "fig", static_cast<char *>(nullptr));
  return list;
}
IntList *integers() {
  static const std::int32_t number = 7;
  static IntList *list = zk_IntList_create(&number, &number, (void *)0);
  return list;
}
DbFldList *record() {
  static DbFldList *list =
      zk_DbFldList_create("PART", "A-100", "SIZE", "12", static_cast<char *>(nullptr));
  return list;
}
DbCursor *records() {
  static DbCursor *cursor = nullptr;
  if (cursor == nullptr) {
    cursor = zk_DbCursor_create();
    for (const char *name : {"one", "two"}) {
      zk_DbCursor_insEnd(cursor, name, zk_DbFldList_copy(record()));
    }
  }
  return cursor;
}

StrList *lines() {
  static StrList *list = zk_StrList_create("A=1", "B=2", static_cast<char *>(nullptr));
  return list;
}
FldList *namedValues() {
  static FldList *list = nullptr;
  if (list == nullptr) {
    list = zk_FldList_create("A", 'C', "text", "B", 'I', 2, static_cast<char *>(nullptr));
    FldList *nested = zk_FldList_create("X", 'C', "deep", static_cast<char *>(nullptr));
    zk_FldList_appList(list, "V", nested);
  }
  return list;
}

constexpr ZkPoint kPoint = {1, 2, 3};
PointList *points() {
  static PointList *list = zk_PointList_create(&kPoint, &kPoint, (void *)0);
  return list;
}

TEST(AllocationFailure, NothingIsMadeInPart) {
  struct Maker {
    const char *what;
    void *(*make)();
    void (*destroy)(void *);
  };
  constexpr auto strings = destroyWith<StrList, zk_StrList_destroy>;
  constexpr auto fields = destroyWith<DbFldList, zk_DbFldList_destroy>;
  const Maker makers[] = {
      {"dup", []() -> void * { return zk_Str_dup("text"); }, zk_Free},
      {"dupW", []() -> void * { return zk_Str_dupW("text"); }, zk_Free},
      {"replaceKeywordDynamic",
       []() -> void * { return zk_Str_replaceKeywordDynamic("a %B% c", "B", "%", "value"); },
       zk_Free},
      {"wrapText", []() -> void * { return zk_Str_wrapText("several words of a text", 7); },
       strings},
      {"StrListNode_create", []() -> void * { return zk_StrListNode_create("text"); },
       destroyWith<StrListNode, zk_StrListNode_destroy>},
      {"StrList_copy", []() -> void * { return zk_StrList_copy(words()); }, strings},
      {"toDelimitedString", []() -> void * { return zk_StrList_toDelimitedString(words(), ", "); },
       zk_Free},
      {"fromDelimitedString",
       []() -> void * { return zk_StrList_fromDelimitedString("a, b,c", ","); }, strings},
      {"toDelimitedStringList",
       []() -> void * { return zk_StrList_toDelimitedStringList(words(), ",", 2, 1); }, strings},
      {"FldList_newHandle", []() -> void * { return zk_FldList_newHandle("A", "key"); },
       destroyWith<FldNode, zk_FldList_destroyNode>},
      {"FldList_newPoint", []() -> void * { return zk_FldList_newPoint("A", &kPoint); },
       destroyWith<FldNode, zk_FldList_destroyNode>},
      {"FldList_fromEnvList", []() -> void * { return zk_FldList_fromEnvList(lines()); },
       destroyWith<FldList, zk_FldList_destroy>},
      {"FldList_fromDbFldList", []() -> void * { return zk_FldList_fromDbFldList(record()); },
       destroyWith<FldList, zk_FldList_destroy>},
      {"PointList_copy", []() -> void * { return zk_PointList_copy(points()); },
       destroyWith<PointList, zk_PointList_destroy>},
      {"PointTravelNode_create",
       []() -> void * { return zk_PointTravelNode_create(&kPoint, "label", 0, 1); },
       destroyWith<PointTravelNode, zk_PointTravelNode_destroy>},
      {"PointTravelList_create", []() -> void * { return zk_PointTravelList_create(); },
       destroyWith<PointTravelList, zk_PointTravelList_destroy>},
      {"parseTagInfo", []() -> void * { return zk_Cb_parseTagInfo("PART, UPPER(NAME) SIZE"); },
       strings},
      {"readFile", []() -> void * { return zk_File_readFile(textFile().c_str()); }, strings},
      {"readFileExactly", []() -> void * { return zk_File_readFileExactly(textFile().c_str()); },
       strings},
      {"Stack_create", []() -> void * { return zk_Stack_create(); }, zk_Free},
      {"IntListNode_create", []() -> void * { return zk_IntListNode_create(1); }, zk_Free},
      {"IntList_copy", []() -> void * { return zk_IntList_copy(integers()); },
       destroyWith<IntList, zk_IntList_destroy>},
      {"TreeNode_create", []() -> void * { return zk_TreeNode_create("name", nullptr); },
       [](void *node) { zk_TreeNode_destroy(static_cast<TreeNode *>(node), nullptr); }},
      {"TreeList_create", []() -> void * { return zk_TreeList_create("root", records()); },
       [](void *list) { zk_TreeList_destroy(static_cast<TreeList *>(list), nullptr); }},
      {"TimerNode_create", []() -> void * { return zk_TimerNode_create("name"); }, zk_Free},
      {"DbFldNode_new", []() -> void * { return zk_DbFldNode_new("A", "value", 10, 0, 'C'); },
       destroyWith<DbFldNode, zk_DbFldNode_destroy>},
      {"DbFldList_create",
       []() -> void * {
         return zk_DbFldList_create("A", "1", "B", nullptr, static_cast<char *>(nullptr));
       },
       fields},
      {"DbFldList_copy", []() -> void * { return zk_DbFldList_copy(record()); }, fields},
      {"fromTemplate", []() -> void * { return zk_DbFldList_fromTemplate(textFile().c_str()); },
       fields},
      {"DbCursor_create", []() -> void * { return zk_DbCursor_create(); },
       destroyWith<DbCursor, zk_DbCursor_destroy>},
      {"DbCursor_copy", []() -> void * { return zk_DbCursor_copy(records()); },
       destroyWith<DbCursor, zk_DbCursor_destroy>},
      {"DbRefNode_create", []() -> void * { return zk_DbRefNode_create(nullptr, 1); },
       destroyWith<DbRefNode, zk_DbRefNode_free>},
      {"DbTagRefNode_create", []() -> void * { return zk_DbTagRefNode_create(nullptr, 1, 1); },
       destroyWith<DbTagRefNode, zk_DbTagRefNode_free>},
  };
  words(), lines(), integers(), record(), records(), points();
  for (const Maker &maker : makers) {
    forEveryAllocation(maker.what, [&](Attempt &attempt) {
      void *made = attempt.during(maker.make);
      EXPECT_EQ(made == nullptr, attempt.refused());
      if (made != nullptr) maker.destroy(made);
    });
  }
  support::fs::remove(textFile());
}

TEST(AllocationFailure, ElementsThatAreRefusedAreLeftOut) {
  forEveryAllocation("StrList_create", [](Attempt &attempt) {
    StrList *list = attempt.during(
        [] { return zk_StrList_create("a", "b", "c", static_cast<char *>(nullptr)); });
    const std::uint32_t length = zk_StrList_length(list);
    EXPECT_EQ(length < 3, attempt.refused());
    zk_StrList_destroy(list);
  });
  forEveryAllocation("LnkList_create", [](Attempt &attempt) {
    int a = 1;
    LnkList *list = attempt.during([&] { return zk_LnkList_create(&a, &a, (void *)0); });
    const std::uint32_t length = zk_LnkList_length(list);
    EXPECT_EQ(length < 2, attempt.refused());
    zk_LnkList_destroy(list, nullptr);
  });
}

// ---- What changes something leaves it as it was

std::string shown(const LnkList *list, std::string (*show)(const void *)) {
  std::string text;
  for (const LnkNode *node = list->first; node != nullptr; node = node->next) {
    text += (node == list->current ? ">" : " ") + show(node->data);
  }
  return text + " #" + std::to_string(list->length);
}

std::string showString(const void *data) { return static_cast<const StrListNode *>(data)->text; }

std::string showField(const void *data) {
  const auto *node = static_cast<const DbFldNode *>(data);
  return std::string(node->name) + "=" + (node->value != nullptr ? node->value : "(null)");
}

std::string showRecord(const void *data) {
  const auto *node = static_cast<const DbCursorNode *>(data);
  return std::string(node->tblName != nullptr ? node->tblName : "(null)") + "(" +
         shown(node->fldList, showField) + ")";
}

struct Changer {
  const char *what;
  int (*change)(LnkList *&list);
};

template <typename Copy, typename Destroy>
void expectAllOrNothing(const std::vector<Changer> &changers, LnkList *original, Copy copy,
                        Destroy destroy, std::string (*show)(const void *)) {
  for (const Changer &changer : changers) {
    forEveryAllocation(changer.what, [&](Attempt &attempt) {
      LnkList *list = copy(original);
      zk_LnkList_start(list);
      const std::string before = shown(list, show);
      const int result = attempt.during([&] { return changer.change(list); });
      EXPECT_EQ(result != 1, attempt.refused()) << "result " << result;
      if (attempt.refused()) {
        EXPECT_EQ(shown(list, show), before);
        EXPECT_EQ(changer.change(list), 1) << "works when tried again";
      }
      EXPECT_NE(shown(list, show), before);
      destroy(list);
    });
  }
}

TEST(AllocationFailure, StringListsStayAsTheyWere) {
  expectAllOrNothing(
      {
          {"insStart", [](LnkList *&list) { return zk_StrList_insStart(list, "new"); }},
          {"insEnd", [](LnkList *&list) { return zk_StrList_insEnd(list, "new"); }},
          {"insBefore", [](LnkList *&list) { return zk_StrList_insBefore(list, "new"); }},
          {"insAfter", [](LnkList *&list) { return zk_StrList_insAfter(list, "new"); }},
          {"insSorted", [](LnkList *&list) { return zk_StrList_insSorted(list, "new"); }},
          {"modCurr", [](LnkList *&list) { return zk_StrList_modCurr(list, "new"); }},
          {"concatenate", [](LnkList *&list) { return zk_StrList_concatenate(list, words()); }},
          {"itself twice", [](LnkList *&list) { return zk_StrList_concatenate(list, list); }},
          {"sort", [](LnkList *&list) { return zk_StrList_sort(list); }},
          {"removeDuplicates",
           [](LnkList *&list) {
             StrList *result = zk_StrList_removeDuplicates(list, 1);
             if (result != nullptr) list = result;
             return result != nullptr ? 1 : 0;
           }},
      },
      words(), zk_StrList_copy, zk_StrList_destroy, showString);
}

TEST(AllocationFailure, PointListsStayAsTheyWere) {
  static constexpr ZkPoint kNew = {4, 5, 6};
  expectAllOrNothing(
      {
          {"insStart", [](LnkList *&list) { return zk_PointList_insStart(list, &kNew); }},
          {"insEnd", [](LnkList *&list) { return zk_PointList_insEnd(list, &kNew); }},
          {"insBefore", [](LnkList *&list) { return zk_PointList_insBefore(list, &kNew); }},
          {"insAfter", [](LnkList *&list) { return zk_PointList_insAfter(list, &kNew); }},
          {"insNth", [](LnkList *&list) { return zk_PointList_insNth(list, 0, &kNew); }},
          {"modCurr", [](LnkList *&list) { return zk_PointList_modCurr(list, &kNew); }},
          {"modNth", [](LnkList *&list) { return zk_PointList_modNth(list, 0, &kNew); }},
      },
      points(), zk_PointList_copy, zk_PointList_destroy,
      [](const void *data) { return std::to_string(static_cast<const ZkPoint *>(data)->x); });
}

// Without its data block an array has no elements.
TEST(AllocationFailure, ArraysWithoutData) {
  forEveryAllocation("Array_create", [](Attempt &attempt) {
    ZkArray *array = attempt.during([] { return zk_Array_create(3, 4, "init"); });
    EXPECT_EQ(zk_Array_size(array), attempt.refused() ? 0u : 3u);
    EXPECT_EQ(zk_Array_getAddress(array, 0) == nullptr, attempt.refused());
    zk_Array_destroy(array, nullptr);
  });
  forEveryAllocation("Array_swap", [](Attempt &attempt) {
    ZkArray *array = zk_Array_create(2, 4, "init");
    zk_Array_setNth(array, 1, "more", nullptr);
    const int swapped = attempt.during([&] { return zk_Array_swap(array, 0, 1); });
    EXPECT_EQ(swapped, !attempt.refused());
    EXPECT_EQ(std::string(static_cast<char *>(array->data), 8),
              attempt.refused() ? "initmore" : "moreinit");
    zk_Array_destroy(array, nullptr);
  });
}

TEST(AllocationFailure, IntegerListsStacksAndQueuesStayAsTheyWere) {
  static IntListNode pushed = {1};
  const auto show = [](const void *data) {
    return std::to_string(static_cast<const IntListNode *>(data)->value);
  };
  expectAllOrNothing({{"insEnd", [](LnkList *&list) { return zk_IntList_insEnd(list, 9); }}},
                     integers(), zk_IntList_copy, zk_IntList_destroy, show);
  expectAllOrNothing(
      {
          {"push on a stack", [](LnkList *&list) { return zk_Stack_push(list, &pushed); }},
          {"push on a queue", [](LnkList *&list) { return zk_Queue_push(list, &pushed); }},
      },
      integers(), [](const LnkList *) { return zk_LnkList_create(&pushed, (void *)0); },
      [](LnkList *list) { return zk_LnkList_destroy(list, nullptr); }, show);
}

TEST(AllocationFailure, TreesStayAsTheyWere) {
  forEveryAllocation("TreeNode_setName", [](Attempt &attempt) {
    TreeNode *node = zk_TreeNode_create("old", nullptr);
    const int set = attempt.during([&] { return zk_TreeNode_setName(node, "new"); });
    EXPECT_EQ(set, !attempt.refused());
    EXPECT_STREQ(zk_TreeNode_getName(node), attempt.refused() ? "old" : "new");
    zk_TreeNode_destroy(node, nullptr);
  });
  DbCursor *const data = records();
  forEveryAllocation("TreeList_insChild", [data](Attempt &attempt) {
    TreeList *list = zk_TreeList_create("root", data);
    zk_TreeList_insChild(list, "root", "A", nullptr);
    zk_TreeList_search(list, "root.A");
    TreeNode *const current = list->current;
    const int inserted =
        attempt.during([&] { return zk_TreeList_insChild(list, "root", "B", nullptr); });
    EXPECT_EQ(inserted, !attempt.refused());
    EXPECT_EQ(zk_TreeNode_getChildCount(list->root, nullptr), attempt.refused() ? 1 : 2);
    EXPECT_EQ(list->current, attempt.refused() ? current : list->root);
    zk_TreeList_destroy(list, nullptr);
  });
}

TEST(AllocationFailure, TimersAndAliasesStayAsTheyWere) {
  forEveryAllocation("Timer_create", [](Attempt &attempt) {
    const int created = attempt.during([] { return zk_Timer_create("timer"); });
    EXPECT_EQ(created, !attempt.refused());
    zk_Timer_clearAll();
  });
  // The table stays to the end, and a value that is replaced has a block of its own from then on.
  for (const char *value : {"older", "old"}) zk_Alias_put("KEPT", value);
  const auto value = [](const char *name) {
    char text[9];
    zk_Alias_get(text, name, 8);
    return std::string(text);
  };
  forEveryAllocation("Alias_put", [&](Attempt &attempt) {
    const int put = attempt.during([] { return zk_Alias_put("NEW", "value"); });
    EXPECT_EQ(put, attempt.refused() ? ZK_FLD_NO_MEMORY : 1);
    EXPECT_EQ(value("NEW"), attempt.refused() ? "" : "value");
    zk_Alias_del("NEW");
  });
  forEveryAllocation("Alias_put over another", [&](Attempt &attempt) {
    zk_Alias_put("KEPT", "old");
    attempt.during([] { return zk_Alias_put("KEPT", "new"); });
    EXPECT_EQ(value("KEPT"), attempt.refused() ? "old" : "new");
    zk_Alias_put("KEPT", "old");
  });
  forEveryAllocation("Alias_putFromFldList", [](Attempt &attempt) {
    FldList *list = zk_FldList_create("A", 'I', 1, "B", 'C', "text", static_cast<char *>(nullptr));
    const int put = attempt.during([&] { return zk_Alias_putFromFldList(list); });
    EXPECT_EQ(put, !attempt.refused());
    for (const char *name : {"A", "B"}) zk_Alias_del(name);
    zk_FldList_destroy(list);
  });
  forEveryAllocation("Alias_expandStr in place", [](Attempt &attempt) {
    char text[16] = "a%KEPT%";
    attempt.during([&] { return zk_Alias_expandStr(text, text); });
    EXPECT_STREQ(text, attempt.refused() ? "a%KEPT%" : "aold");
  });
}

std::string showValue(const void *data) {
  const auto *node = static_cast<const FldNode *>(data);
  const std::string start = std::string(node->name) + node->type;
  if (node->type == 'C' || node->type == 'H') return start + node->value.text;
  if (node->type == 'V' && node->value.list == nullptr) return start;
  if (node->type == 'V') return start + "(" + shown(node->value.list, showValue) + ")";
  return start + std::to_string(node->value.integer);
}

TEST(AllocationFailure, FieldListsStayAsTheyWere) {
  // A list that is not taken stays the caller's.
  static constexpr auto give = [](int (*store)(FldList *, const char *, FldList *), FldList *list) {
    FldList *nested = zk_FldList_create("N", 'I', 1, static_cast<char *>(nullptr));
    if (nested == nullptr || zk_FldList_count(nested) == 0) return zk_FldList_destroy(nested), -4;
    const int result = store(list, "A", nested);
    if (result != 1) zk_FldList_destroy(nested);
    return result;
  };
  expectAllOrNothing(
      {
          {"appChar", [](LnkList *&list) { return zk_FldList_appChar(list, "A", "more"); }},
          {"appReal", [](LnkList *&list) { return zk_FldList_appReal(list, "A", 1.5); }},
          {"appList", [](LnkList *&list) { return give(zk_FldList_appList, list); }},
          {"modList", [](LnkList *&list) { return give(zk_FldList_modList, list); }},
          {"modChar", [](LnkList *&list) { return zk_FldList_modChar(list, "A", "other"); }},
          {"modHandle", [](LnkList *&list) { return zk_FldList_modHandle(list, "A", "other"); }},
          {"convertNodeToList",
           [](LnkList *&list) {
             return zk_FldList_convertNodeToList(list, "A") != nullptr ? 1 : 0;
           }},
          {"updateFldValue",
           [](LnkList *&list) {
             FldNode *node = zk_FldList_find(list, "A");
             return zk_FldNode_updateFldValue(node, "a longer text");
           }},
      },
      namedValues(), zk_FldList_copy, zk_FldList_destroy, showValue);
}

// These do not tell, but nothing is lost and nothing is left half changed.
TEST(AllocationFailure, FieldsThatAreRefusedAreLeftOut) {
  namedValues();
  for (const char *name : {"A", "V"}) {
    forEveryAllocation("addIntVal of a name that is there", [&](Attempt &attempt) {
      FldList *list = zk_FldList_copy(namedValues());
      const std::string before = shown(list, showValue);
      EXPECT_EQ(attempt.during([&] { return zk_FldList_addIntVal(list, name, 7); }), 1);
      list->current = nullptr;
      EXPECT_EQ(shown(list, showValue) == before, attempt.refused());
      zk_FldList_destroy(list);
    });
  }
  struct Operation {
    const char *what;
    FldList *(*run)(FldList *list);  // the result, which may be the list
  };
  const Operation operations[] = {
      {"create",
       [](FldList *) {
         return zk_FldList_create("A", 'C', "text", "B", 'I', 2, "C", 'P', 1.0, 2.0, 3.0,
                                  static_cast<char *>(nullptr));
       }},
      {"copy", [](FldList *) { return zk_FldList_copy(namedValues()); }},
      {"diff", [](FldList *list) { return zk_FldList_diff(namedValues(), list, 1); }},
      {"concatenate",
       [](FldList *list) {
         return zk_FldList_concatenate(list, namedValues()) == 1 ? list : nullptr;
       }},
      {"combine",
       [](FldList *list) { return zk_FldList_combine(list, namedValues()) == 1 ? list : nullptr; }},
      {"copyFld",
       [](FldList *list) {
         return zk_FldList_copyFld(namedValues(), "A", list, "TO") == 1 ? list : nullptr;
       }},
  };
  for (const Operation &operation : operations) {
    std::string complete;
    {
      FldList *list = zk_FldList_create(static_cast<char *>(nullptr));
      FldList *result = operation.run(list);
      complete = shown(result, showValue);
      if (result != list) zk_FldList_destroy(result);
      zk_FldList_destroy(list);
    }
    forEveryAllocation(operation.what, [&](Attempt &attempt) {
      FldList *list = zk_FldList_create(static_cast<char *>(nullptr));
      FldList *result = attempt.during([&] { return operation.run(list); });
      if (result != nullptr) {
        EXPECT_EQ(shown(result, showValue) == complete, !attempt.refused());
      } else {
        EXPECT_TRUE(attempt.refused());
      }
      if (result != list) zk_FldList_destroy(result);
      zk_FldList_destroy(list);
    });
  }
}

TEST(AllocationFailure, RecordFieldListsStayAsTheyWere) {
  expectAllOrNothing(
      {
          {"insStart",
           [](LnkList *&list) { return zk_DbFldList_insStart(list, "NEW", "value", 9, 0, 'C'); }},
          {"insEnd",
           [](LnkList *&list) { return zk_DbFldList_insEnd(list, "NEW", "value", 9, 0, 'C'); }},
          {"modCurrVal", [](LnkList *&list) { return zk_DbFldList_modCurrVal(list, "a value"); }},
          {"modFldVal",
           [](LnkList *&list) {
             const int result = zk_DbFldList_modFldVal(list, "PART", "another value");
             return result;
           }},
      },
      record(), zk_DbFldList_copy, zk_DbFldList_destroy, showField);
}

TEST(AllocationFailure, CursorsStayAsTheyWere) {
  // A list that is not taken stays the caller's. (A name whose copy is refused is left out.)
  constexpr auto given = [](int (*give)(DbCursor *, const char *, DbFldList *), DbCursor *cursor) {
    DbFldList *list = zk_DbFldList_copy(record());
    if (list == nullptr) return 0;
    const int result = give(cursor, nullptr, list);
    if (result != 1) zk_DbFldList_destroy(list);
    return result;
  };
  static constexpr auto give = given;
  expectAllOrNothing(
      {
          {"insStart", [](LnkList *&list) { return give(zk_DbCursor_insStart, list); }},
          {"insEnd", [](LnkList *&list) { return give(zk_DbCursor_insEnd, list); }},
          {"modCurr", [](LnkList *&list) { return give(zk_DbCursor_modCurr, list); }},
      },
      records(), zk_DbCursor_copy, zk_DbCursor_destroy, showRecord);
}

TEST(AllocationFailure, LinkedListsStayAsTheyWere) {
  static int numbers[] = {3, 1, 2};
  static constexpr auto compare = [](const void *a, const void *b) {
    return *static_cast<const int *>(a) - *static_cast<const int *>(b);
  };
  const auto show = [](const void *data) {
    return std::to_string(*static_cast<const int *>(data));
  };
  expectAllOrNothing(
      {
          {"insBefore", [](LnkList *&list) { return zk_LnkList_insBefore(list, &numbers[0]); }},
          {"qSort",
           [](LnkList *&list) {
             zk_LnkList_qSort(list, compare);
             return list->current == nullptr ? 1 : 0;
           }},
      },
      nullptr,
      [](LnkList *) { return zk_LnkList_create(&numbers[0], &numbers[1], &numbers[2], (void *)0); },
      [](LnkList *list) { return zk_LnkList_destroy(list, nullptr); }, show);
}

TEST(AllocationFailure, StringsInPlaceStayAsTheyWere) {
  forEveryAllocation("replaceKeyword", [](Attempt &attempt) {
    char text[40] = "a %B% c";
    const char *result =
        attempt.during([&] { return zk_Str_replaceKeyword(text, "B", "%", "longer value", 30); });
    EXPECT_EQ(result == nullptr, attempt.refused());
    EXPECT_STREQ(text, attempt.refused() ? "a %B% c" : "a longer value c");
  });
}

TEST(AllocationFailure, DiagnosticsKeepTheirFile) {
  const std::string first = folder() + "/zk_first.log";
  const std::string second = folder() + "/zk_second.log";
  forEveryAllocation("setOutput and setFileName", [&](Attempt &attempt) {
    ASSERT_EQ(zk_Diag_setOutput(ZK_DIAG_OUTPUT_FILE, first.c_str()), 1);
    const int result =
        attempt.during([&] { return zk_Diag_setOutput(ZK_DIAG_OUTPUT_BOTH, second.c_str()); });
    EXPECT_EQ(result == 0, attempt.refused());
    EXPECT_EQ(zk_Diag_getDiagOutput(),
              attempt.refused() ? ZK_DIAG_OUTPUT_FILE : ZK_DIAG_OUTPUT_BOTH);
    EXPECT_EQ(zk_Diag_getFileName(), attempt.refused() ? first : second);
    zk_Diag_setOutput(ZK_DIAG_OUTPUT_CONSOLE, nullptr);
    zk_Diag_setFileName(nullptr);
  });
  support::fs::remove(first);
  support::fs::remove(second);
}

// ---- Files

class FilesWithoutMemory : public support::TableTest {
 protected:
  const support::NoComponent noComponent_;

  // Names and contents of everything in the folder.
  std::map<std::string, std::string> contents() const {
    std::map<std::string, std::string> result;
    for (const std::string &name : files()) result[name] = bytesOf(name);
    return result;
  }
};

TEST_F(FilesWithoutMemory, StayAsTheyWere) {
  struct Change {
    const char *what;
    bool (*succeeds)(const std::string &a, const std::string &b);
  };
  const Change changes[] = {
      {"copy",
       [](const auto &a, const auto &b) { return zk_File_copy(a.c_str(), b.c_str()) == 0; }},
      {"append",
       [](const auto &a, const auto &b) { return zk_File_append(a.c_str(), b.c_str()) == 0; }},
      {"move",
       [](const auto &a, const auto &b) { return zk_File_move(a.c_str(), b.c_str()) == 1; }},
      {"deleteSingle",
       [](const auto &a, const auto &) { return zk_File_deleteSingle(a.c_str()) == 1; }},
      {"create",
       [](const auto &a, const auto &) { return zk_File_create((a + ".new").c_str()) == 1; }},
      {"slice", [](const auto &a, const auto &) { return zk_File_slice(a.c_str(), 3) == 3; }},
      {"encrypt",
       [](const auto &a, const auto &b) { return zk_File_encrypt(a.c_str(), b.c_str()) == 1; }},
  };
  const std::string a = path("a.txt");
  const std::string b = path("b.txt");
  for (const Change &change : changes) {
    forEveryAllocation(change.what, [&](Attempt &attempt) {
      for (const std::string &name : files()) support::fs::remove(path(name));
      writeFile(a, "content");
      writeFile(b, "other content");
      const auto before = contents();
      const bool done = attempt.during([&] { return change.succeeds(a, b); });
      EXPECT_EQ(done, !attempt.refused());
      EXPECT_EQ(contents() == before, !done);
      if (!done) {
        EXPECT_TRUE(change.succeeds(a, b)) << "works when tried again";
      }
    });
  }
  forEveryAllocation("findFirst", [&](Attempt &attempt) {
    char name[512] = "";
    const int found = attempt.during([&] { return zk_File_findFirst(path("*.*").c_str(), name); });
    EXPECT_EQ(found == -1, attempt.refused());
    while (zk_File_findNext(name) == 0) continue;
  });
}

// ---- Tables

class TablesWithoutMemory : public support::TableTest {
 protected:
  static constexpr int kRecords = 4;

  static void SetUpTestSuite() {
    // The first call makes what lasts.
    for (int n = 1;; ++n) {
      Attempt attempt(n, n % 2 == 0);
      const int done = attempt.during(zk_Db_init);
      EXPECT_EQ(done == 0, attempt.refused());
      if (!attempt.refused()) break;
    }
  }

  TablesWithoutMemory() {
    const int32_t table = support::createTable(file_, "PART C 8, QTY N 6, NOTE M, MORE M");
    for (int i = 0; i < kRecords; ++i) {
      support::appendRecord(table, {{"PART", "p" + std::to_string(i)}, {"NOTE", note(i)}});
    }
    zk_Db_closeDb(table);
    table_ = bytesOf("T.DBF");
    memo_ = bytesOf("T.FPT");
  }

  static std::string note(int i) { return std::string(static_cast<std::size_t>(i) * 500, 'n'); }

  // Puts the table's original files in place.
  void restore() {
    writeFile(file_, table_);
    writeFile(path("T.FPT"), memo_);
  }

  int32_t restoreAndOpen(int mode = 0) {
    restore();
    return openTable(file_, mode);
  }

  // Record by record "PART:size of NOTE", "-" in front of the deleted.
  static std::string walk(int32_t table) {
    std::string text;
    int status = zk_Db_topRec(table, -1);
    for (; status == 0; status = zk_Db_nextRec(table, -1)) {
      text += zk_Db_deleted(table) ? " -" : " ";
      text +=
          support::trimmed(table, "PART") + ":" + std::to_string(fieldText(table, "NOTE").size());
    }
    return status == 3 ? text : "status " + std::to_string(status);
  }

  // What the files hold when everything is closed; nobody may have been forgotten.
  std::string reread() {
    const int32_t table = openTable(file_, 2);
    EXPECT_GE(table, 0) << zk_DbError_text();
    const std::string text = walk(table);
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    EXPECT_EQ(files(), (std::vector<std::string>{"T.DBF", "T.FPT"}));
    return text;
  }

  const std::string file_ = path("T.DBF");
  const std::string original_ = " p0:0 p1:500 p2:1000 p3:1500";
  std::string table_, memo_;
};

TEST_F(TablesWithoutMemory, Opening) {
  for (const int mode : {0, 2}) {
    forEveryAllocation("open", [&](Attempt &attempt) {
      restore();
      const int32_t table = attempt.during([&] { return openTable(file_, mode); });
      EXPECT_EQ(table == -1, attempt.refused());
      EXPECT_EQ(zk_DbError_code(), attempt.refused() ? kMemory : 0);
      zk_Db_closeDb(table);
      EXPECT_EQ(reread(), original_);
    });
  }
}

TEST_F(TablesWithoutMemory, Creating) {
  const support::List fields = support::fieldList("PART C 8, NOTE M");
  for (const bool overAnother : {false, true}) {
    forEveryAllocation("create", [&](Attempt &attempt) {
      for (const std::string &name : files()) support::fs::remove(path(name));
      if (overAnother) restore();
      const int32_t table =
          attempt.during([&] { return zk_Db_createDb(file_.c_str(), fields.get()); });
      EXPECT_EQ(table == -1, attempt.refused());
      EXPECT_EQ(zk_DbError_code(), attempt.refused() ? kMemory : 0);
      zk_Db_closeDb(table);
      // Memory can also be refused when the finished table is opened: then it is there, and new.
      const std::vector<std::string> there = files();
      if (overAnother || !there.empty()) {
        const std::string found = reread();
        EXPECT_TRUE(found.empty() || (overAnother && attempt.refused() && found == original_))
            << found;
      }
    });
  }
}

TEST_F(TablesWithoutMemory, Appending) {
  for (const int mode : {0, 2}) {
    forEveryAllocation("append", [&](Attempt &attempt) {
      const int32_t table = restoreAndOpen(mode);
      ASSERT_EQ(zk_Db_botRec(table, -1), 0);
      const auto append = [&] {
        int status = zk_Db_appendStart(table);
        if (status != 0) return status;
        if (zk_Db_assignFldStr(table, "PART", "new") != 0) return zk_DbError_code();
        if (zk_Db_assignFldStr(table, "NOTE", std::string(700, 'x').c_str()) != 0) {
          return zk_DbError_code();
        }
        return zk_Db_append(table);
      };
      const int status = attempt.during(append);
      EXPECT_EQ(status, attempt.refused() ? kMemory : 0);
      EXPECT_EQ(zk_Db_getRecordCount(table), status == 0 ? kRecords + 1 : kRecords);
      if (status != 0) {
        EXPECT_EQ(append(), 0) << "works when tried again";
      }
      EXPECT_EQ(zk_Db_closeDb(table), 0);
      EXPECT_EQ(reread(), original_ + " new:700");
    });
  }
}

TEST_F(TablesWithoutMemory, AppendingAndKeepingTheMemos) {
  forEveryAllocation("append a copy", [&](Attempt &attempt) {
    const int32_t table = restoreAndOpen();
    ASSERT_EQ(zk_Db_botRec(table, -1), 0);
    const int started = attempt.during([&] { return zk_Db_appendStart(table); });
    EXPECT_EQ(started, attempt.refused() ? kMemory : 0);
    if (started != 0) {
      EXPECT_EQ(zk_Db_getRecordNo(table), kRecords) << "not begun";
      EXPECT_EQ(fieldText(table, "NOTE").size(), 1500u);
      EXPECT_EQ(zk_Db_appendStart(table), 0);
    }
    const int appended = attempt.during([&] { return zk_Db_append(table); });
    EXPECT_EQ(appended == 0 ? 0 : kMemory, appended);
    if (appended != 0) {
      EXPECT_EQ(zk_Db_append(table), 0) << "can be tried again";
    }
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    EXPECT_EQ(reread(), original_ + " p3:1500");
  });
}

TEST_F(TablesWithoutMemory, Updating) {
  forEveryAllocation("update", [&](Attempt &attempt) {
    const int32_t table = restoreAndOpen();
    ASSERT_EQ(zk_Db_goRec(table, 2), 0);
    assign(table, {{"PART", "new"}});
    const auto update = [&] {
      const int assigned = zk_Db_assignFldStr(table, "NOTE", std::string(3000, 'x').c_str());
      return assigned != 0 ? zk_DbError_code() : zk_Db_flush(table);
    };
    const int status = attempt.during(update);
    EXPECT_EQ(status, attempt.refused() ? kMemory : 0);
    if (status != 0) {
      EXPECT_EQ(update(), 0) << "works when tried again";
    }
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    EXPECT_EQ(reread(), " p0:0 new:3000 p2:1000 p3:1500");
  });
  // A close drops what it cannot write, says so and closes all the same.
  forEveryAllocation("close", [&](Attempt &attempt) {
    const int32_t table = restoreAndOpen();
    ASSERT_EQ(zk_Db_goRec(table, 2), 0);
    assign(table, {{"NOTE", std::string(3000, 'x')}});
    const int status = attempt.during([&] { return zk_Db_closeDb(table); });
    EXPECT_EQ(status, attempt.refused() ? kMemory : 0);
    EXPECT_EQ(reread(), status == 0 ? " p0:0 p1:3000 p2:1000 p3:1500" : original_);
  });
}

TEST_F(TablesWithoutMemory, Reading) {
  const auto show = [](DbFldList *list) { return shown(list, showField); };
  std::string whole;
  for (const bool withTemplate : {false, true}) {
    const support::List fields =
        withTemplate ? support::fieldList("NOTE M, PART C, OTHER C") : nullptr;
    whole.clear();
    {
      const int32_t table = restoreAndOpen();
      support::Cursor rows(zk_Db_readTable(table, "T", fields.get()));
      ASSERT_EQ(zk_DbCursor_length(rows.get()), static_cast<std::uint32_t>(kRecords));
      whole = shown(rows.get(), showRecord);
      zk_Db_closeDb(table);
    }
    for (const int mode : {0, 2}) {
      forEveryAllocation("readTable", [&](Attempt &attempt) {
        const int32_t table = restoreAndOpen(mode);
        support::Cursor rows(
            attempt.during([&] { return zk_Db_readTable(table, "T", fields.get()); }));
        EXPECT_EQ(rows == nullptr, attempt.refused());
        EXPECT_EQ(zk_DbError_code(), attempt.refused() ? kMemory : 0);
        if (rows != nullptr) {
          EXPECT_EQ(shown(rows.get(), showRecord), whole);
        }
        EXPECT_EQ(walk(table), original_) << "the table goes on";
        zk_Db_closeDb(table);
      });
    }
  }
  forEveryAllocation("readRec, struct and fromFld", [&](Attempt &attempt) {
    const int32_t table = restoreAndOpen();
    ASSERT_EQ(zk_Db_botRec(table, -1), 0);
    support::List record(attempt.during([&] { return zk_Db_readRec(table, nullptr); }));
    EXPECT_EQ(record == nullptr, attempt.refused());
    EXPECT_EQ(zk_DbError_code(), attempt.refused() ? kMemory : 0);
    if (record != nullptr) {
      EXPECT_EQ(show(record.get()), " PART=p3 QTY= NOTE=" + note(3) + " MORE= #4");
    }
    zk_Db_closeDb(table);
  });
}

TEST_F(TablesWithoutMemory, Packing) {
  for (const int mode : {0, 2}) {
    forEveryAllocation("pack", [&](Attempt &attempt) {
      const int32_t table = restoreAndOpen(mode);
      ASSERT_EQ(zk_Db_goRec(table, 3), 0);
      ASSERT_EQ(zk_Db_delRec(table), 0);
      ASSERT_EQ(zk_Db_flush(table), 0);
      const int status = attempt.during([&] { return zk_Db_packDb(table); });
      EXPECT_EQ(status, attempt.refused() ? kMemory : 0);
      const std::string packed = " p0:0 p1:500 p3:1500";
      EXPECT_EQ(walk(table), status == 0 ? packed : " p0:0 p1:500 -p2:1000 p3:1500");
      if (mode == 0) {
        const int32_t second = openTable(file_);
        EXPECT_GE(second, 0) << "others may come in again";
        EXPECT_EQ(walk(second), walk(table)) << "and find the same table";
        zk_Db_closeDb(second);
      }
      EXPECT_EQ(zk_Db_packDb(table), 0);
      EXPECT_EQ(zk_Db_closeDb(table), 0);
      EXPECT_EQ(reread(), packed);
    });
  }
}

TEST_F(TablesWithoutMemory, TagIds) {
  const int32_t table = restoreAndOpen();
  forEveryAllocation("createNdx", [&](Attempt &attempt) {
    const int32_t tag = attempt.during([&] { return zk_DbTagRef_add(table, nullptr); });
    EXPECT_EQ(tag == -1, attempt.refused());
    EXPECT_EQ(zk_DbTagRef_del(tag), attempt.refused() ? 0 : 1);
  });
}

// ---- Indexes

class IndexesWithoutMemory : public FilesWithoutMemory {
 protected:
  static constexpr int kRecords = 9;
  using Records = indexed::Records;

  static void SetUpTestSuite() { zk_Db_init(); }

  // Keys so long and different that every other append makes a page more.
  static indexed::Record record(int i) {
    indexed::Record made = {"c" + std::to_string(i), i * 7 % 10, "", "", i == 4};
    for (int k = 0; k < 45; ++k) made.text += std::to_string(1000 + (i * 7919 + k * 331) % 8999);
    return made;
  }

  IndexesWithoutMemory() {
    int32_t table = support::createTable(file_, indexed::kFields);
    zk_Db_closeDb(table);
    table = openTable(file_, 2);
    for (int i = 0; i < kRecords; ++i) {
      records_.push_back(record(i));
      EXPECT_EQ(indexed::append(table, records_.back()), 0);
    }
    EXPECT_EQ(indexed::setDeleted(table, 5, true), 0);
    EXPECT_EQ(indexed::createTags(table, "", {"TEXT", "LIVE"}), 0);
    EXPECT_EQ(indexed::createTags(table, other_.c_str(), {"QTY"}), 0);
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    original_ = contents();
  }

  static bool assignKeys(int32_t table, const indexed::Record &record) {
    return zk_Db_assignFldStr(table, "CODE", record.code.c_str()) == 0 &&
           zk_Db_assignFldInt(table, "QTY", record.quantity) == 0 &&
           zk_Db_assignFldStr(table, "TEXT", record.text.c_str()) == 0;
  }

  int32_t restoreAndOpen(int mode) {
    for (const std::string &name : files()) support::fs::remove(path(name));
    for (const auto &[name, bytes] : original_) writeFile(path(name), bytes);
    const int32_t table = openTable(file_, mode);
    EXPECT_GE(zk_Db_openNdx(table, other_.c_str()), 100);
    return table;
  }

  void expectRight(int32_t table, const Records &records) {
    ZkTagFacts facts;
    int32_t tags = 0;
    while (zk_Tag_getInfo(table, tags + 1, &facts) != 0) {
      ++tags;
      EXPECT_EQ(indexed::judge(table, facts.name, records), "right");
    }
    EXPECT_GE(tags, 3);
  }

  void expectRightWhenClosed(const Records &records) {
    EXPECT_EQ(indexed::findings(file_, {other_}), "");
    const int32_t table = openTable(file_);
    EXPECT_STREQ(zk_Db_readOnlyReason(table), "");
    EXPECT_GE(zk_Db_openNdx(table, other_.c_str()), 100);
    Records found;
    EXPECT_EQ(indexed::readAll(table, found), 3);
    EXPECT_TRUE(found == records);
    expectRight(table, records);
    EXPECT_EQ(zk_Db_closeDb(table), 0);
  }

  const std::string file_ = path("T.DBF");
  const std::string other_ = path("X.CDX");
  Records records_;
  std::map<std::string, std::string> original_;
};

TEST_F(IndexesWithoutMemory, Opening) {
  for (const int mode : {0, 2}) {
    forEveryAllocation("open", [&](Attempt &attempt) {
      zk_Db_closeDb(restoreAndOpen(mode));
      const auto open = [&] {
        const int32_t table = openTable(file_, mode);
        if (table < 0) return table;
        if (zk_Db_openNdx(table, other_.c_str()) > 0) return table;
        EXPECT_EQ(zk_DbError_code(), kMemory);
        zk_Db_closeDb(table);
        return -1;
      };
      const int32_t table = attempt.during(open);
      EXPECT_TRUE(table >= 0 || attempt.refused());  // pages are kept where there is memory
      if (table >= 0) expectRight(table, records_);
      EXPECT_EQ(zk_Db_closeAll(), 0);
      expectRightWhenClosed(records_);
    });
  }
}

TEST_F(IndexesWithoutMemory, StayAsTheyWere) {
  struct Change {
    const char *what;
    std::function<int(int32_t table)> change;
    std::function<void(Records &)> apply;
  };
  const std::vector<Change> changes = {
      {"append",
       [](int32_t table) {
         const int status = zk_Db_appendStart(table);
         return status == 0 && assignKeys(table, record(20)) ? zk_Db_append(table) : kMemory;
       },
       [](Records &all) { all.push_back(record(20)); }},
      {"change of keys",
       [](int32_t table) {
         const int status = zk_Db_goRec(table, 3);
         return status == 0 && assignKeys(table, record(21)) ? zk_Db_flush(table) : kMemory;
       },
       [](Records &all) { all[2] = record(21); }},
      {"deletion", [](int32_t table) { return indexed::setDeleted(table, 1, true); },
       [](Records &all) { all[0].deleted = true; }},
      {"tags for an index",
       [this](int32_t table) { return indexed::createTags(table, other_.c_str(), {"CODE"}); },
       [](Records &) {}},
      {"pack", [](int32_t table) { return zk_Db_packDb(table); },
       [](Records &all) { all.erase(all.begin() + 4); }},
  };
  for (const int mode : {0, 2}) {
    for (const Change &c : changes) {
      forEveryAllocation(c.what, [&](Attempt &attempt) {
        const int32_t table = restoreAndOpen(mode);
        // What a position needs is there already, or is not.
        if (mode == 0) expectRight(table, records_);
        Records changed = records_;
        c.apply(changed);
        const int status = attempt.during([&] { return c.change(table); });
        EXPECT_TRUE(status == 0 || (attempt.refused() && status == kMemory)) << status;
        if (status != 0) {
          EXPECT_EQ(c.change(table), 0) << "works when tried again" << zk_DbError_text();
        }
        expectRight(table, changed);
        EXPECT_EQ(zk_Db_closeDb(table), 0);
        expectRightWhenClosed(changed);
        EXPECT_EQ(files().size(), original_.size());
      });
    }
  }
}

TEST_F(IndexesWithoutMemory, AreUsedOrNot) {
  struct Use {
    const char *what;
    std::function<int(int32_t table)> use;  // gives the status, or -920 of a null result
    int status;
  };
  const auto tag = [](int32_t table, const char *name) { return zk_Tag_find(table, name); };
  const Use uses[] = {
      {"walk",
       [&](int32_t table) {
         int status = zk_Db_topRec(table, tag(table, "TEXT"));
         while (status == 0) status = zk_Db_nextRec(table, tag(table, "TEXT"));
         return status;
       },
       3},
      {"seek", [&](int32_t table) { return zk_Db_seekStr("c3", table, tag(table, "LIVE")); }, 0},
      {"seek of a number",
       [&](int32_t table) { return zk_Db_seekDouble(5.5, table, tag(table, "QTY")); }, 2},
      {"query",
       [&](int32_t table) {
         const support::Cursor rows(zk_Db_query(table, "QTY >= 3 .AND. QTY < 8", "T", nullptr));
         return rows != nullptr ? static_cast<int>(zk_DbCursor_length(rows.get()))
                                : zk_DbError_code();
       },
       4},
      {"locate", [&](int32_t table) { return zk_Db_locate(table, tag(table, "QTY"), "QTY = 8"); },
       0},
      {"check", [&](int32_t) { return zk_Db_check(file_.c_str(), nullptr, 0, nullptr, nullptr); },
       0},
  };
  for (const Use &u : uses) {
    forEveryAllocation(u.what, [&](Attempt &attempt) {
      const int32_t table = restoreAndOpen(0);
      const int status = attempt.during([&] { return u.use(table); });
      EXPECT_TRUE(status == u.status || (attempt.refused() && status == kMemory)) << status;
      EXPECT_EQ(u.use(table), u.status);
      EXPECT_EQ(zk_Db_closeDb(table), 0);
    });
  }
  expectRightWhenClosed(records_);
}

}  // namespace
