#include "base/Memory.h"

#include <cstdlib>
#include <cstring>

namespace zk::base {

AllocatorSlots allocatorSlots = {std::malloc, std::realloc, std::calloc, std::free};
AllocationFailureHook allocationFailureHook = nullptr;

void *refused(AllocationKind kind, std::size_t size) noexcept {
  if (allocationFailureHook != nullptr) allocationFailureHook(kind, size);
  return nullptr;
}

void *reallocate(void *block, std::size_t size) noexcept {
  if (block == nullptr) return allocate(size);
  void *grown = nullptr;
  if (allocatorSlots.reallocate != nullptr) {
    grown = allocatorSlots.reallocate(block, size == 0 ? 1 : size);
  }
  return grown != nullptr ? grown : refused(AllocationKind::kReallocate, size);
}

void *allocateZeroed(std::size_t count, std::size_t size) noexcept {
  void *block = allocatorSlots.allocateZeroed != nullptr
                    ? allocatorSlots.allocateZeroed(count, size)
                    : nullptr;
  return block != nullptr ? block : refused(AllocationKind::kAllocateZeroed, size);
}

char *duplicate(const char *text, std::size_t length) noexcept {
  if (length == SIZE_MAX) return nullptr;
  char *copy = static_cast<char *>(allocate(length + 1));
  if (copy == nullptr) return nullptr;
  std::memcpy(copy, text, length);
  copy[length] = '\0';
  return copy;
}

}  // namespace zk::base
