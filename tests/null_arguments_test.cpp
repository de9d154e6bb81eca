// Walks every exported function: nothing may fault, whatever mixture of null and small arguments it
// is given. The functions come from the export list, so none can be forgotten.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "tests/support.h"
#include "zk_baselib.h"
#include "zk_component.h"

namespace {

// Keeps every block reachable to the end, because nobody looks at the results of the calls.
std::set<void *> &blocks = *new std::set<void *>;
bool refusing = false;

void *remember(void *block) {
  if (block != nullptr) blocks.insert(block);
  return block;
}
bool allowed(std::size_t size) { return !refusing && size <= 1 << 20; }

void *walkAllocate(std::size_t size) {
  return allowed(size) ? remember(std::malloc(size)) : nullptr;
}
void *walkReallocate(void *block, std::size_t size) {
  if (!allowed(size)) return nullptr;
  blocks.erase(block);
  return remember(std::realloc(block, size));
}
void *walkAllocateZeroed(std::size_t count, std::size_t size) {
  if (!allowed(size) || (size != 0 && !allowed(count))) return nullptr;
  return remember(std::calloc(count, size));
}
void walkRelease(void *block) {
  blocks.erase(block);
  std::free(block);
}

void installAllocator() {
  zk_MemoryManager_set(walkAllocate, walkReallocate, walkAllocateZeroed, walkRelease);
}

// One choice of arguments: which of the texts, lists and points are null, and what every number is.
struct Choice {
  unsigned given;  // bit per text, list or point parameter
  int64_t number;
};

// Whether a parameter can be something else than null, and what it is then. Handles and nodes are
// always null here.
enum class Kind { kNull, kNumber, kText, kBuffer, kList, kRecord };

template <typename T>
constexpr Kind kindOf() {
  if constexpr (std::is_same_v<T, const char *>) return Kind::kText;
  if constexpr (std::is_same_v<T, char *>) return Kind::kBuffer;
  if constexpr (std::is_same_v<T, LnkList *> || std::is_same_v<T, const LnkList *>) {
    return Kind::kList;
  }
  if constexpr (std::is_same_v<T, ZkPoint *> || std::is_same_v<T, const ZkPoint *>) {
    return Kind::kRecord;
  }
  if constexpr (std::is_arithmetic_v<T>) return Kind::kNumber;
  return Kind::kNull;
}

template <typename T>
T makeArgument(bool given, int64_t number) {
  constexpr Kind kKind = kindOf<T>();
  if constexpr (kKind == Kind::kNumber) {
    return static_cast<T>(number);
  } else if constexpr (kKind == Kind::kText) {
    return given ? "x" : nullptr;
  } else if constexpr (kKind == Kind::kBuffer) {
    static std::array<std::array<char, 4096>, 8> buffers;
    static std::size_t next = 0;
    if (!given) return nullptr;
    next = (next + 1) % buffers.size();
    std::strcpy(buffers[next].data(), "x");
    return buffers[next].data();
  } else if constexpr (kKind == Kind::kList) {
    return given ? zk_LnkList_create((void *)0) : nullptr;
  } else if constexpr (kKind == Kind::kRecord) {
    static ZkPoint record;
    record = {1, 2, 3};
    return given ? &record : nullptr;
  } else {
    return T{};
  }
}

template <typename... Parameters>
struct Walk {
  static constexpr std::array<Kind, sizeof...(Parameters) + 1> kKinds = {kindOf<Parameters>()...};

  static bool isGiven(const Choice &choice, std::size_t parameter) {
    unsigned bit = 1;
    for (std::size_t i = 0; i < parameter; ++i) {
      if (kKinds[i] >= Kind::kText) bit <<= 1;
    }
    return (choice.given & bit) != 0;
  }

  static unsigned choices() {
    unsigned count = 1;
    for (Kind kind : kKinds) count <<= kind >= Kind::kText ? 1 : 0;
    return count;
  }

  template <std::size_t... I>
  static auto arguments(const Choice &choice, std::index_sequence<I...>) {
    return std::tuple<Parameters...>{
        makeArgument<Parameters>(isGiven(choice, I), choice.number)...};
  }

  // Texts do not go with sizes that they do not have.
  static bool makesSense(const Choice &choice) {
    if (choice.number >= -1 && choice.number <= 1) return true;
    for (std::size_t i = 0; i < sizeof...(Parameters); ++i) {
      if ((kKinds[i] == Kind::kText || kKinds[i] == Kind::kBuffer) && isGiven(choice, i)) {
        return false;
      }
    }
    return true;
  }

  template <typename Call>
  static void run(Call call) {
    for (int64_t number :
         {int64_t{0}, int64_t{1}, int64_t{-1}, int64_t{INT32_MAX}, int64_t{INT32_MIN}}) {
      for (unsigned given = 0; given < choices(); ++given) {
        const Choice choice = {given, number};
        if (makesSense(choice)) {
          std::apply(call, arguments(choice, std::index_sequence_for<Parameters...>()));
        }
      }
    }
  }
};

template <typename Result, typename... Parameters>
void walk(Result(ZK_CALL *function)(Parameters...)) {
  Walk<Parameters...>::run([function](Parameters... arguments) { function(arguments...); });
}
template <typename Result, typename... Parameters>
void walk(Result(ZK_CALL *function)(Parameters..., ...)) {
  Walk<Parameters...>::run([function](Parameters... arguments) {
    // Enough to end a list in the middle of a group.
    function(arguments..., (void *)0, (void *)0, (void *)0, (void *)0, (void *)0);
  });
}

struct Function {
  std::string_view name;
  void (*walk)();
};
constexpr Function kFunctions[] = {
#define ZK_FUNCTION(name) {#name, [] { walk(name); }},
#include "exported_functions.inc"
#undef ZK_FUNCTION
};

// These would take the walk's own allocator away, let a message box or an editor wait for somebody,
// or give a block that is not from the allocator.
bool isLeftOut(std::string_view name) {
  return name == "zk_MemoryManager_set" || name == "zk_FldNode_getFldValue" || name == "zk_Host_setMessagePresenter" ||
         name == "zk_Db_setErrorBoxes" || name == "zk_FldNode_getFldValue" ||
         name == "zk_Global_openFileinNotepad";
}

// Runs inside its folder, because some functions make files named "x".
class NullArguments : public support::TableTest {
 protected:
  void SetUp() override {
    installAllocator();
    zk_Host_setMessagePresenter([](const char *, const char *, void *) {}, nullptr);
    start_ = support::fs::current_path();
    support::fs::current_path(folder_);
  }
  void TearDown() override {
    refusing = false;
    support::fs::current_path(start_);
  }

  static void walkAll() {
    for (const Function &function : kFunctions) {
      zk_Db_setLockAttempts(
          1);  // the walk opens a table several times and must not wait for itself
      if (!isLeftOut(function.name)) function.walk();
    }
  }

 private:
  support::fs::path start_;
};

TEST_F(NullArguments, NothingFaults) { walkAll(); }

TEST_F(NullArguments, NothingFaultsWithoutMemory) {
  refusing = true;
  walkAll();
  zk_MemoryManager_set(nullptr, nullptr, nullptr, nullptr);
  walkAll();
  installAllocator();
}

// A release of nothing reports that it released nothing.
TEST_F(NullArguments, ReleasingNullGivesZero) {
  EXPECT_EQ(zk_LnkList_destroy(nullptr, nullptr), 0);
  EXPECT_EQ(zk_StrList_destroy(nullptr), 0);
  EXPECT_EQ(zk_StrListNode_destroy(nullptr), 0);
  EXPECT_EQ(zk_PointList_destroy(nullptr), 0);
  EXPECT_EQ(zk_VectorList_destroy(nullptr), 0);
  EXPECT_EQ(zk_PointTravelList_destroy(nullptr), 0);
  EXPECT_EQ(zk_PointTravelNode_destroy(nullptr), 0);
  EXPECT_EQ(zk_Array_destroy(nullptr, nullptr), 0);
  EXPECT_EQ(zk_Stack_destroy(nullptr, nullptr), 0);
  EXPECT_EQ(zk_Queue_destroy(nullptr, nullptr), 0);
  EXPECT_EQ(zk_IntList_destroy(nullptr), 0);
  EXPECT_EQ(zk_IntListNode_destroy(nullptr), 0);
  EXPECT_EQ(zk_TreeNode_destroy(nullptr, nullptr), 0);
  EXPECT_EQ(zk_TreeList_destroy(nullptr, nullptr), 0);
  EXPECT_EQ(zk_FldList_destroy(nullptr), 0);
  EXPECT_EQ(zk_FldList_destroyNode(nullptr), 0);
  EXPECT_EQ(zk_DbFldNode_destroy(nullptr), 0);
  EXPECT_EQ(zk_DbFldList_destroy(nullptr), 0);
  EXPECT_EQ(zk_DbFldList_freeValues(nullptr), 0);
  EXPECT_EQ(zk_DbCursorNode_destroy(nullptr), 0);
  EXPECT_EQ(zk_DbCursor_destroy(nullptr), 0);
  EXPECT_EQ(zk_DbRefNode_free(nullptr), 0);
  EXPECT_EQ(zk_DbTagRefNode_free(nullptr), 0);
  EXPECT_EQ(zk_Db_freeFldInfo(nullptr, 1), 0);
  EXPECT_EQ(zk_Ntuple_destroy(nullptr), 0);
  EXPECT_EQ(zk_Matrix_destroy(nullptr), 0);
  EXPECT_EQ(zk_RotMatrix_destroy(nullptr), 0);
  EXPECT_EQ(zk_TMatrix_destroy(nullptr), 0);
  EXPECT_EQ(zk_Plane_destroy(nullptr), 0);
  EXPECT_EQ(zk_Ray_destroy(nullptr), 0);
}

}  // namespace
