#include "zk/memory.h"

#include <cstdio>

#include "SRC/ToolMessage.h"
#include "base/Memory.h"
#include "platform/System.h"
#include "zk/extras.h"

namespace zk {
namespace {

using base::AllocationKind;
using platform::StandardFunction;

// Holds two texts of the catalogue at their longest and a number.
char lastFailure[1100] = "";

void recordFailure(AllocationKind kind, long long size) noexcept {
  struct Text {
    const char *english;
    const char *key;
  };
  static constexpr Text kTexts[] = {{"Unable to allocate", "TOOL_216"},
                                    {"Unable to re-allocate", "TOOL_218"},
                                    {"Unable to callocate", "TOOL_219"}};
  const Text &text = kTexts[static_cast<int>(kind)];
  std::snprintf(lastFailure, sizeof lastFailure, "%s %lld %s",
                toolMessage(text.english, text.key, MessageKind::kPlain), size,
                toolMessage("bytes of memory", "TOOL_217", MessageKind::kPlain));
}

void *refuse(AllocationKind kind, int32_t size) noexcept {
  recordFailure(kind, size);
  return nullptr;
}

// The core below cannot know the catalogue; it is handed the hook while the library is loaded.
[[maybe_unused]] const bool hookInstalled = [] {
  base::allocationFailureHook = [](AllocationKind kind, std::size_t size) {
    recordFailure(kind, static_cast<long long>(size));
  };
  return true;
}();

// Keeps the slot when it is offered the standard function, null included among the others: so a
// host that passes on its own runtime's malloc cannot undo what was installed before.
template <typename Function>
void setSlot(Function &slot, StandardFunction which, Function function) {
  if (!platform::isStandardFunction(which, reinterpret_cast<void (*)()>(function))) slot = function;
}

}  // namespace
}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

void ZK_CALL zk_MemoryManager_set(ZkAllocateFn allocate, ZkReallocateFn reallocate,
                                  ZkAllocateZeroedFn allocateZeroed, ZkFreeFn release) {
  base::AllocatorSlots &slots = base::allocatorSlots;
  setSlot(slots.allocate, StandardFunction::kMalloc, allocate);
  setSlot(slots.reallocate, StandardFunction::kRealloc, reallocate);
  setSlot(slots.allocateZeroed, StandardFunction::kCalloc, allocateZeroed);
  setSlot(slots.release, StandardFunction::kFree, release);
}

void *ZK_CALL zk_Malloc(int32_t size) {
  if (size < 0) return refuse(AllocationKind::kAllocate, size);
  return base::allocate(static_cast<std::size_t>(size));
}

void *ZK_CALL zk_Calloc(int32_t count, int32_t size) {
  const bool negative = count < 0 || size < 0;
  // A host's function need not check the product as the standard one does.
  if (negative ||
      (size > 0 && static_cast<std::size_t>(count) > SIZE_MAX / static_cast<std::size_t>(size))) {
    return refuse(AllocationKind::kAllocateZeroed, size);
  }
  return base::allocateZeroed(static_cast<std::size_t>(count), static_cast<std::size_t>(size));
}

void *ZK_CALL zk_Realloc(void *block, int32_t size) {
  if (block == nullptr) return zk_Malloc(size);
  if (size < 0) return refuse(AllocationKind::kReallocate, size);
  return base::reallocate(block, static_cast<std::size_t>(size));
}

void ZK_CALL zk_Free(void *block) { base::release(block); }

void ZK_CALL zk_Memory_clear(void) {}

void ZK_CALL zk_Memory_statistics(void) {}

const char *ZK_CALL zk_Memory_lastFailure(void) { return lastFailure; }

ZK_EXTERN_C_END
