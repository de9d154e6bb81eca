// Memory that is refused at the n-th request, for every n: once, and from there on.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "zk_baselib.h"

namespace support {

// It cannot be taken out again, so it is told when to refuse.
struct Allocator {
  int blocks = 0;  // outstanding
  int asked = 0;
  int failAt = 0;  // 0: never
  bool forEver = false;
  int refusals = 0;

  bool refuses() {
    if (failAt == 0) return false;
    ++asked;
    const bool refused = forEver ? asked >= failAt : asked == failAt;
    refusals += refused ? 1 : 0;
    return refused;
  }
};
inline Allocator allocator;

inline void *counted(void *block) {
  if (block != nullptr) ++allocator.blocks;
  return block;
}
inline void *allocate(std::size_t size) {
  return allocator.refuses() ? nullptr : counted(std::malloc(size));
}
inline void *reallocate(void *block, std::size_t size) {
  return allocator.refuses() ? nullptr : std::realloc(block, size);
}
inline void *allocateZeroed(std::size_t count, std::size_t size) {
  return allocator.refuses() ? nullptr : counted(std::calloc(count, size));
}
inline void release(void *block) {
  --allocator.blocks;
  std::free(block);
}

inline const bool installed = [] {
  zk_MemoryManager_set(allocate, reallocate, allocateZeroed, release);
  return true;
}();

// One try of a scenario: it does its preparations and checks undisturbed, and what it runs here
// with memory refused.
class Attempt {
 public:
  Attempt(int failAt, bool forEver) : failAt_(failAt), forEver_(forEver) {
    allocator.asked = allocator.refusals = 0;
  }
  template <typename Operation>
  auto during(Operation operation) {
    allocator.failAt = failAt_;
    allocator.forEver = forEver_;
    const auto result = operation();
    allocator.failAt = 0;
    return result;
  }
  bool refused() const { return allocator.refusals > 0; }

 private:
  int failAt_;
  bool forEver_;
};

// Runs the scenario until nothing of it is refused any more; after each try the blocks that were
// there are there, and no others.
inline void forEveryAllocation(const char *what, const std::function<void(Attempt &)> &scenario) {
  ASSERT_TRUE(installed);
  for (const bool forEver : {false, true}) {
    for (int n = 1;; ++n) {
      SCOPED_TRACE(testing::Message() << what << ", request " << n << (forEver ? " and on" : ""));
      const int blocks = allocator.blocks;
      Attempt attempt(n, forEver);
      scenario(attempt);
      EXPECT_EQ(allocator.blocks, blocks) << "blocks are lost";
      if (testing::Test::HasFailure()) return;
      if (!attempt.refused()) break;
      ASSERT_LT(n, 10'000);
    }
  }
}

}  // namespace support
