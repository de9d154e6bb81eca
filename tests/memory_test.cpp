#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "zk_baselib.h"

namespace {

// An allocator that counts its calls and refuses while told to. Blocks are the standard ones, so
// that those from before its installation can be released through it.
struct Calls {
  int allocate, reallocate, allocateZeroed, release;
  bool operator==(const Calls &) const = default;
  int total() const { return allocate + reallocate + allocateZeroed + release; }
};
Calls calls;
bool refusing = false;
std::size_t lastSize = 0;

void *countedAllocate(std::size_t size) {
  ++calls.allocate;
  lastSize = size;
  return refusing ? nullptr : std::malloc(size);
}
void *countedReallocate(void *block, std::size_t size) {
  ++calls.reallocate;
  lastSize = size;
  return refusing ? nullptr : std::realloc(block, size);
}
void *countedAllocateZeroed(std::size_t count, std::size_t size) {
  ++calls.allocateZeroed;
  return refusing ? nullptr : std::calloc(count, size);
}
void countedRelease(void *block) {
  ++calls.release;
  std::free(block);
}

class Memory : public testing::Test {
 protected:
  void SetUp() override {
    zk_MemoryManager_set(countedAllocate, countedReallocate, countedAllocateZeroed, countedRelease);
    refusing = false;
    calls = {};
  }
  void TearDown() override { SetUp(); }
};

TEST_F(Memory, StandardFunctionsDoNotReplaceAnInstalledAllocator) {
  zk_MemoryManager_set(std::malloc, std::realloc, std::calloc, std::free);
  zk_Free(zk_Realloc(zk_Malloc(8), 16));
  zk_Free(zk_Calloc(2, 8));
  EXPECT_EQ(calls, (Calls{1, 1, 1, 2}));

  // Each slot knows its own function only: realloc is not the standard one of another slot.
  calls = {};
  zk_MemoryManager_set([](std::size_t) -> void * { return nullptr; }, std::realloc, std::calloc,
                       std::free);
  EXPECT_EQ(zk_Malloc(8), nullptr);
  void *block = zk_Calloc(1, 8);
  EXPECT_NE(block, nullptr);
  zk_Free(block);
  EXPECT_EQ(calls, (Calls{0, 0, 1, 1}));
}

TEST_F(Memory, EverySlotCanBeNull) {
  void *block = zk_Malloc(8);
  zk_MemoryManager_set(nullptr, nullptr, nullptr, nullptr);
  EXPECT_EQ(zk_Malloc(8), nullptr);
  EXPECT_EQ(zk_Calloc(1, 8), nullptr);
  EXPECT_EQ(zk_Realloc(block, 16), nullptr);
  EXPECT_STREQ(zk_Memory_lastFailure(), "Unable to re-allocate 16 bytes of memory");
  zk_Free(block);  // releases nothing
  zk_MemoryManager_set(nullptr, nullptr, nullptr, countedRelease);
  std::memset(block, 0, 8);
  zk_Free(block);
  EXPECT_EQ(calls.release, 1);
}

TEST_F(Memory, RefusalsLeaveTheirMessage) {
  void *block = zk_Malloc(8);
  refusing = true;
  struct Case {
    void *(*request)(void *block);
    const char *message;
    bool asksTheSlot = true;
  };
  const Case cases[] = {
      {[](void *) { return zk_Malloc(1024); }, "Unable to allocate 1024 bytes of memory"},
      {[](void *) { return zk_Realloc(nullptr, 16); }, "Unable to allocate 16 bytes of memory"},
      {[](void *b) { return zk_Realloc(b, 77); }, "Unable to re-allocate 77 bytes of memory"},
      // The element size, not the product.
      {[](void *) { return zk_Calloc(10, 8); }, "Unable to callocate 8 bytes of memory"},
      // Negative sizes.
      {[](void *) { return zk_Malloc(-5); }, "Unable to allocate -5 bytes of memory", false},
      {[](void *) { return zk_Realloc(nullptr, INT_MIN); },
       "Unable to allocate -2147483648 bytes of memory", false},
      {[](void *b) { return zk_Realloc(b, -1); }, "Unable to re-allocate -1 bytes of memory",
       false},
      {[](void *) { return zk_Calloc(-1, 4); }, "Unable to callocate 4 bytes of memory", false},
      {[](void *) { return zk_Calloc(4, -1); }, "Unable to callocate -1 bytes of memory", false},
  };
  for (const Case &c : cases) {
    calls = {};
    EXPECT_EQ(c.request(block), nullptr) << c.message;
    EXPECT_STREQ(zk_Memory_lastFailure(), c.message);
    EXPECT_EQ(calls.total(), c.asksTheSlot ? 1 : 0) << c.message;
  }
  // From within another family.
  EXPECT_EQ(zk_LnkList_create((void *)0), nullptr);
  EXPECT_EQ(zk_Memory_lastFailure(),
            "Unable to allocate " + std::to_string(sizeof(LnkList)) + " bytes of memory");
  refusing = false;
  std::memset(block, 1, 8);  // still the caller's
  zk_Free(block);
}

TEST_F(Memory, OddSizes) {
  zk_Free(nullptr);
  EXPECT_EQ(calls.release, 0);

  void *block = zk_Realloc(zk_Malloc(8), 0);  // a standard realloc of 0 could release it
  EXPECT_NE(block, nullptr);
  EXPECT_EQ(lastSize, 1u);
  zk_Free(block);
  EXPECT_EQ(calls.release, 1);

  const auto *zeroed = static_cast<const unsigned char *>(zk_Calloc(300, 3));
  ASSERT_NE(zeroed, nullptr);
  for (int i = 0; i < 900; ++i) ASSERT_EQ(zeroed[i], 0) << i;
  zk_Free(const_cast<unsigned char *>(zeroed));
}

// An allocator may trace; and tracing must work when memory is short.
TEST_F(Memory, TracingAllocatesNothing) {
  const std::string name = "zk_memory_" + std::to_string(std::random_device{}()) + ".log";
  const std::string log = (std::filesystem::temp_directory_path() / name).string();
  ASSERT_EQ(zk_Diag_setOutput(ZK_DIAG_OUTPUT_FILE, log.c_str()), 1);
  refusing = true;
  calls = {};
  zk_Diag_putOutputMsg("text", "SRC\\HOST.cpp", 1);
  EXPECT_EQ(calls.total(), 0);
  std::string line;
  std::getline(std::ifstream(log), line);
  EXPECT_EQ(line, "host.cpp (1) text");

  // A name that cannot be kept leaves everything as it was.
  EXPECT_EQ(zk_Diag_setOutput(ZK_DIAG_OUTPUT_BOTH, "other.log"), 0);
  EXPECT_EQ(zk_Diag_getDiagOutput(), ZK_DIAG_OUTPUT_FILE);
  zk_Diag_setFileName("other.log");
  EXPECT_EQ(zk_Diag_getFileName(), log);
  refusing = false;
  zk_Diag_setOutput(ZK_DIAG_OUTPUT_CONSOLE, nullptr);
  zk_Diag_setFileName(nullptr);
  std::filesystem::remove(log);
}

}  // namespace
