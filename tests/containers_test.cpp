#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "tests/tracing.h"
#include "zk_baselib.h"

namespace {

using support::trace;
using support::tracePair;

// ---- Arrays

std::string freed;
void ZK_CALL logInteger(void *element) {
  freed += std::to_string(*static_cast<int32_t *>(element)) + " ";
}
int ZK_CALL compareIntegers(const void *a, const void *b) {
  const int32_t left = *static_cast<const int32_t *>(a);
  const int32_t right = *static_cast<const int32_t *>(b);
  return (left > right) - (left < right);
}

// `count` integers 0, 10, 20 ...
ZkArray *makeArray(uint32_t count) {
  const int32_t zero = 0;
  ZkArray *array = zk_Array_create(count, sizeof zero, &zero);
  for (uint32_t i = 0; i < count; ++i) {
    static_cast<int32_t *>(array->data)[i] = static_cast<int32_t>(i) * 10;
  }
  return array;
}

std::string shown(const ZkArray *array) {
  std::string text;
  for (uint32_t i = 0; i < array->count; ++i) {
    text += std::to_string(static_cast<const int32_t *>(array->data)[i]) + " ";
  }
  return text;
}

TEST(Array, CreateCopiesTheInitialElement) {
  const char initial[3] = {'a', 'b', 'c'};
  ZkArray *array = zk_Array_create(3, 3, initial);
  EXPECT_EQ(std::string(static_cast<char *>(array->data), 9), "abcabcabc");
  EXPECT_EQ(zk_Array_size(array), 3u);
  zk_Array_destroy(array, nullptr);
  EXPECT_EQ(zk_Array_create(0, 4, initial), nullptr);
  EXPECT_EQ(zk_Array_create(1, 4, nullptr), nullptr);
}

// The index is checked against the element size; getNth against the count as well.
TEST(Array, WhichIndexesHaveAnAddress) {
  constexpr int64_t kNone = -1;
  const struct {
    uint32_t count, size, index;
    int64_t address, nth;  // offsets from the data
  } cases[] = {
      {10, 4, 0, 0, 0},          {10, 4, 3, 12, 12},
      {10, 4, 4, kNone, kNone},  {10, 4, 5, kNone, kNone},
      {10, 4, 10, kNone, kNone}, {2, 16, 1, 16, 16},
      {2, 16, 5, 80, kNone},     {2, 16, 15, 240, kNone},
      {2, 16, 16, kNone, kNone}, {2, 16, UINT32_MAX, kNone, kNone},
  };
  const char initial[16] = {};
  for (const auto &c : cases) {
    ZkArray *array = zk_Array_create(c.count, c.size, initial);
    const auto offset = [&](const void *address) {
      if (address == nullptr) return kNone;
      return static_cast<int64_t>(reinterpret_cast<uintptr_t>(address) -
                                  reinterpret_cast<uintptr_t>(array->data));
    };
    EXPECT_EQ(offset(zk_Array_getAddress(array, c.index)), c.address) << c.index;
    EXPECT_EQ(offset(zk_Array_getNth(array, c.index)), c.nth) << c.index;
    zk_Array_destroy(array, nullptr);
  }
}

TEST(Array, Operations) {
  static const int32_t seven = 7;
  const struct {
    const char *what;
    uint32_t count;
    std::function<int(ZkArray *)> operation;
    int result;
    const char *after;
    const char *freedAfter = "";
  } cases[] = {
      {"set", 3, [](ZkArray *a) { return zk_Array_setNth(a, 1, &seven, logInteger); }, 0, "0 7 20 ",
       "10 "},
      {"set, free nothing", 3, [](ZkArray *a) { return zk_Array_setNth(a, 1, &seven, nullptr); }, 0,
       "0 7 20 "},
      {"set behind the end, where there is an address", 3,
       [](ZkArray *a) { return zk_Array_setNth(a, 3, &seven, logInteger); }, 0, "0 10 20 "},
      {"set inside, where there is none", 6,
       [](ZkArray *a) { return zk_Array_setNth(a, 5, &seven, logInteger); }, 0,
       "0 10 20 30 40 50 "},
      {"set nothing", 3, [](ZkArray *a) { return zk_Array_setNth(a, 1, nullptr, logInteger); }, 0,
       "0 10 20 "},
      {"swap", 6, [](ZkArray *a) { return zk_Array_swap(a, 0, 5); }, 1, "50 10 20 30 40 0 "},
      {"swap with itself", 3, [](ZkArray *a) { return zk_Array_swap(a, 2, 2); }, 1, "0 10 20 "},
      {"swap behind the end", 3, [](ZkArray *a) { return zk_Array_swap(a, 0, 3); }, 0, "0 10 20 "},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.what);
    freed.clear();
    ZkArray *array = makeArray(c.count);
    EXPECT_EQ(c.operation(array), c.result);
    EXPECT_EQ(shown(array), c.after);
    EXPECT_EQ(freed, c.freedAfter);
    freed.clear();
    const std::string all = shown(array);
    EXPECT_EQ(zk_Array_destroy(array, logInteger), 1);
    EXPECT_EQ(freed, all);
  }
}

// Not found looks like found at 0, and nothing is found where there is no address.
TEST(Array, Search) {
  ZkArray *array = makeArray(6);
  const struct {
    int32_t key;
    uint32_t index;
  } cases[] = {{0, 0}, {10, 1}, {30, 3}, {40, 0}, {50, 0}, {7, 0}};
  for (const auto &c : cases) {
    EXPECT_EQ(zk_Array_search(array, &c.key, compareIntegers), c.index) << c.key;
  }
  zk_Array_destroy(array, nullptr);
}

TEST(Array, Traces) {
  ZkArray *array = nullptr;
  const int32_t one = 1;
  const std::string address =
      "array.cpp: Entering zk_Array_getAddress.\narray.cpp: Exiting zk_Array_search.\n";
  const struct {
    const char *name;
    std::function<void()> call;
    std::string between;
  } cases[] = {
      {"zk_Array_create", [&] { array = zk_Array_create(2, 4, &one); }, ""},
      {"zk_Array_size", [&] { zk_Array_size(array); }, ""},
      {"zk_Array_getNth", [&] { zk_Array_getNth(array, 1); }, address},
      {"zk_Array_setNth", [&] { zk_Array_setNth(array, 1, &one, nullptr); }, address},
      {"zk_Array_swap", [&] { zk_Array_swap(array, 0, 1); }, ""},
      {"zk_Array_search", [&] { zk_Array_search(array, &one, compareIntegers); }, ""},
      {"zk_Array_destroy", [&] { zk_Array_destroy(array, nullptr); }, ""},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(trace(ZK_DIAG_ARRAY, c.call), tracePair("array", c.name, c.between));
  }
  EXPECT_EQ(trace(ZK_DIAG_ARRAY, [] { zk_Array_getAddress(nullptr, 0); }), address);
  EXPECT_EQ(trace(~ZK_DIAG_ARRAY, [] { zk_Array_size(nullptr); }), "");
}

// ---- Stacks and queues

char letters[] = "ABC";

template <typename Push, typename Pop>
std::string pushedAndPopped(LnkList *list, Push push, Pop pop) {
  std::string text;
  const auto popOne = [&] {
    const void *data = pop(list);
    text += data != nullptr ? *static_cast<const char *>(data) : '-';
    EXPECT_EQ(list->current, list->first);
  };
  for (char &letter : std::vector<std::reference_wrapper<char>>{letters[0], letters[1]}) {
    EXPECT_EQ(push(list, &letter), 1);
    EXPECT_EQ(list->current, list->first);
  }
  popOne();
  EXPECT_EQ(push(list, &letters[2]), 1);
  while (list->length > 0) popOne();
  popOne();
  EXPECT_EQ(list->last, nullptr);
  EXPECT_EQ(push(list, nullptr), 1);
  popOne();
  return text;
}

TEST(StackAndQueue, Order) {
  ZkStack *stack = zk_Stack_create();
  EXPECT_EQ(pushedAndPopped(stack, zk_Stack_push, zk_Stack_pop), "BCA--");
  zk_Stack_destroy(stack, nullptr);
  ZkQueue *queue = zk_Queue_create();
  EXPECT_EQ(pushedAndPopped(queue, zk_Queue_push, zk_Queue_pop), "ABC--");
  zk_Queue_destroy(queue, nullptr);
}

TEST(StackAndQueue, EmptyAndDestroy) {
  static std::string gone;
  gone.clear();
  const auto logLetter = [](void *data) { gone += *static_cast<char *>(data); };
  ZkStack *stack = zk_Stack_create();
  ZkQueue *queue = zk_Queue_create();
  EXPECT_EQ(zk_Stack_empty(stack), 1);
  EXPECT_EQ(zk_Queue_empty(queue), 1);
  for (char *letter : {&letters[0], &letters[1]}) {
    zk_Stack_push(stack, letter);
    zk_Queue_push(queue, letter);
  }
  EXPECT_EQ(zk_Stack_empty(stack), 0);
  EXPECT_EQ(zk_Queue_empty(queue), 0);
  EXPECT_EQ(zk_Queue_length(queue), 2u);
  EXPECT_EQ(zk_Stack_destroy(stack, logLetter), 1);
  EXPECT_EQ(zk_Queue_destroy(queue, logLetter), 1);
  EXPECT_EQ(gone, "BAAB");
  // A loop "until empty" ends for null too.
  EXPECT_EQ(zk_Stack_empty(nullptr), 1);
  EXPECT_EQ(zk_Queue_empty(nullptr), 1);
}

// Only the linked list's lines appear.
TEST(StackAndQueue, Traces) {
  constexpr uint32_t kAll = UINT32_MAX;
  ZkStack *stack = zk_Stack_create();
  EXPECT_EQ(trace(kAll, [&] { zk_Stack_push(stack, letters); }),
            tracePair("lnklist", "zk_LnkList_insStart"));
  EXPECT_EQ(trace(kAll, [&] { zk_Queue_push(stack, letters); }),
            tracePair("lnklist", "zk_LnkList_insEnd"));
  EXPECT_EQ(trace(kAll, [&] { zk_Stack_pop(stack); }), "");
  EXPECT_EQ(trace(kAll, [&] { zk_Stack_destroy(stack, nullptr); }),
            tracePair("lnklist", "zk_LnkList_destroy", tracePair("lnklist", "zk_LnkList_delAll")));
}

// ---- Integer lists

std::string walked(IntList *list) {
  std::string text;
  for (; !zk_IntList_eol(list); zk_IntList_next(list)) {
    text += std::to_string(*zk_IntList_getCurr(list)) + " ";
  }
  return text;
}

TEST(IntList, ValuesInOrder) {
  const int32_t a = 1;
  const int32_t b = INT32_MIN;
  IntList *list = zk_IntList_create(&a, &b, &a, (void *)0);
  EXPECT_EQ(walked(list), "1 -2147483648 1 ");  // the cursor is on the first
  EXPECT_EQ(zk_IntList_getCurr(list), nullptr);
  EXPECT_EQ(zk_IntList_insEnd(list, 4), 1);
  EXPECT_EQ(zk_IntList_length(list), 4u);
  EXPECT_EQ(zk_IntList_start(list), 1);
  *zk_IntList_getCurr(list) = 5;

  IntList *copy = zk_IntList_copy(list);
  EXPECT_EQ(zk_IntList_eol(copy), 1);
  *zk_IntList_getCurr(list) = 6;  // the copy has nodes of its own
  zk_IntList_start(copy);
  EXPECT_EQ(walked(copy), "5 -2147483648 1 4 ");
  EXPECT_EQ(zk_IntList_destroy(copy), 1);
  EXPECT_EQ(zk_IntList_destroy(list), 1);

  for (IntList *empty : {zk_IntList_create(nullptr), zk_IntList_copy(nullptr)}) {
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(zk_IntList_length(empty), 0u);
    EXPECT_EQ(zk_IntList_start(empty), 0);
    zk_IntList_destroy(empty);
  }
}

// ---- Base 36

TEST(Base36, ToBase10) {
  const struct {
    const char *digits;
    double value;
  } cases[] = {
      {nullptr, 0.0},
      {"", 0.0},
      {"0", 0.0},
      {"Z", 35.0},
      {"10", 36.0},
      {"00A", 10.0},
      {"ZZZZZZZZZ", 101559956668415.0},
      {"1000000000", 101559956668416.0},
      // What is no digit counts as -1.
      {"z", -1.0},
      {"1-", 35.0},
      {"a0", -36.0},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(zk_Base36_toBase10(c.digits), c.value) << (c.digits != nullptr ? c.digits : "null");
  }
}

TEST(Base36, FromBase10) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  const struct {
    double value;
    const char *digits;
  } cases[] = {
      {0.0, "0"},
      {-0.0, "0"},
      {0.99, "0"},
      {9.0, "9"},
      {10.0, "A"},
      {35.0, "Z"},
      {35.9, "Z"},
      {36.0, "10"},
      {37.5, "11"},
      {1295.0, "ZZ"},
      {1296.0, "100"},
      {101559956668415.0, "ZZZZZZZZZ"},
      {101559956668416.0, ""},
      {1e300, ""},
      {infinity, ""},
      {-1.0, ""},
      {-0.5, ""},
      {nan, ""},
  };
  for (const auto &c : cases) EXPECT_STREQ(zk_Base36_fromBase10(c.value), c.digits) << c.value;
  // Rounding just below a border never makes a digit that does not exist.
  for (double border = 36.0; border < 1e14; border *= 36.0) {
    for (const double factor : {1.0, 2.0, 35.0, 36.0}) {
      const std::string digits = zk_Base36_fromBase10(std::nextafter(border * factor, 0.0));
      EXPECT_EQ(digits.find_first_not_of("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"),
                std::string::npos);
      EXPECT_GE(digits.size(), 1u);
    }
  }
}

TEST(Base36, EveryWholeNumberComesBack) {
  for (double number = 0.0; number < 101559956668416.0; number = number * 1.37 + 1.0) {
    const double whole = std::trunc(number);
    EXPECT_EQ(zk_Base36_toBase10(zk_Base36_fromBase10(whole)), whole);
  }
}

TEST(Base36, CompareAndIncrement) {
  EXPECT_EQ(zk_Base36_compare("A", "9"), 1);
  EXPECT_EQ(zk_Base36_compare("Z", "10"), -1);
  EXPECT_EQ(zk_Base36_compare("0A", "A"), 0);
  EXPECT_EQ(zk_Base36_compare(nullptr, ""), 0);

  const struct {
    const char *digits;
    int32_t step;
    int result;
    const char *after;
  } cases[] = {
      {"Z", 1, 1, "10"},
      {"100", -1, 1, "ZZ"},
      {"", 5, 1, "5"},
      {"1", -1, 1, "0"},
      {"0007", 1, 1, "8"},
      {"0", -1, 0, "0"},
      {"ZZZZZZZZZ", 1, 0, "ZZZZZZZZZ"},
      {"0", INT32_MAX, 1, "ZIK0ZJ"},
  };
  const std::string kept = zk_Base36_fromBase10(1234.0);
  const char *const result = zk_Base36_fromBase10(1234.0);
  for (const auto &c : cases) {
    char digits[16];
    std::strcpy(digits, c.digits);
    EXPECT_EQ(zk_Base36_increment(digits, c.step), c.result) << c.digits;
    EXPECT_STREQ(digits, c.after);
  }
  EXPECT_EQ(result, kept) << "another function's buffer has changed";
}

// ---- Timers

class Timer : public testing::Test {
 protected:
  ~Timer() override { zk_Timer_clearAll(); }
  static void pass(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
  }
};

// Bounds from above what a timer may show, however busy the machine is.
class Watch {
 public:
  double seconds() const {
    const auto passed = std::chrono::steady_clock::now() - start_;
    return std::chrono::duration<double>(passed).count() + kSteps;
  }

 private:
  static constexpr double kSteps = 0.02;  // of the system's clocks
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

TEST_F(Timer, Measures) {
  EXPECT_EQ(zk_Timer_check("a"), 0.0);
  const Watch whole;
  EXPECT_EQ(zk_Timer_create("a"), 1);
  pass(60);
  const double first = zk_Timer_check("a");
  EXPECT_GE(first, 0.05);
  EXPECT_LE(first, whole.seconds());
  EXPECT_EQ(zk_Timer_check("A"), 0.0);
  const Watch anew;
  EXPECT_GE(zk_Timer_reset("a"), first);
  EXPECT_LE(zk_Timer_check("a"), anew.seconds());
  pass(20);
  EXPECT_GT(zk_Timer_delete("a"), 0.0);
  EXPECT_EQ(zk_Timer_delete("a"), 0.0);
}

TEST_F(Timer, ResetMakesWhatIsMissing) {
  EXPECT_EQ(zk_Timer_reset("new"), 0.0);
  pass(20);
  EXPECT_GT(zk_Timer_check("new"), 0.0);
  EXPECT_EQ(zk_Timer_clearAll(), 1);
  EXPECT_EQ(zk_Timer_check("new"), 0.0);
  EXPECT_EQ(zk_Timer_clearAll(), 1);
}

TEST_F(Timer, OfOneNameTheFirstIsFound) {
  zk_Timer_create("a");
  pass(60);
  const Watch second;
  zk_Timer_create("a");
  EXPECT_GE(zk_Timer_delete("a"), 0.05);
  EXPECT_LE(zk_Timer_check("a"), second.seconds());
}

TEST_F(Timer, NamesCountUpToFiftyOneBytes) {
  const std::string name(51, 'n');
  zk_Timer_create((name + "first").c_str());
  pass(20);
  EXPECT_GT(zk_Timer_check((name + "second").c_str()), 0.0);
  EXPECT_GT(zk_Timer_check(name.c_str()), 0.0);
  EXPECT_EQ(zk_Timer_check(name.substr(1).c_str()), 0.0);
  // A node by itself is in no list.
  TimerNode *node = zk_TimerNode_create((name + "x").c_str());
  EXPECT_EQ(node->name, name);
  zk_Free(node);
}

}  // namespace
