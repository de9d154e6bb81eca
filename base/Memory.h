// The allocator core: every block of the library comes from these four replaceable slots.
//
// It lies below the engine, so that tables and containers alike can be tested with the n-th
// allocation refused. Nothing here throws except through Allocator<T>, whose std::bad_alloc stops
// at the exported function (see Guard.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace zk::base {

struct AllocatorSlots {
  void *(*allocate)(std::size_t size);
  void *(*reallocate)(void *block, std::size_t size);
  void *(*allocateZeroed)(std::size_t count, std::size_t size);
  void (*release)(void *block);
};

// The slots in force. A null slot acts as refused memory, a null `release` releases nothing.
extern AllocatorSlots allocatorSlots;

enum class AllocationKind { kAllocate, kReallocate, kAllocateZeroed };

// Called after a refused request with the size that the failure text names (for a zeroed request
// the element size). Null until the layer above installs it.
using AllocationFailureHook = void (*)(AllocationKind kind, std::size_t size);
extern AllocationFailureHook allocationFailureHook;

// Tells the hook; null, for the caller to return.
[[gnu::cold]] void *refused(AllocationKind kind, std::size_t size) noexcept;

// Null when refused. A size of 0 is asked of the slot as it stands.
inline void *allocate(std::size_t size) noexcept {
  void *block = allocatorSlots.allocate != nullptr ? allocatorSlots.allocate(size) : nullptr;
  return block != nullptr ? block : refused(AllocationKind::kAllocate, size);
}

// A null block allocates. The old block stays valid when refused. A size of 0 asks for 1 byte,
// because a standard realloc of 0 may free the block.
void *reallocate(void *block, std::size_t size) noexcept;
void *allocateZeroed(std::size_t count, std::size_t size) noexcept;

// Null is ignored.
inline void release(void *block) noexcept {
  if (block != nullptr && allocatorSlots.release != nullptr) allocatorSlots.release(block);
}

// A copy of `length` bytes with a NUL behind them; null when refused.
char *duplicate(const char *text, std::size_t length) noexcept;

// Standard containers over the slots.
template <typename T>
struct Allocator {
  using value_type = T;
  Allocator() noexcept = default;
  template <typename U>
  Allocator(const Allocator<U> &) noexcept {}

  T *allocate(std::size_t count) {
    if (count > SIZE_MAX / sizeof(T)) throw std::bad_alloc();
    void *block = base::allocate(count * sizeof(T));
    if (block == nullptr) throw std::bad_alloc();
    return static_cast<T *>(block);
  }
  void deallocate(T *block, std::size_t) noexcept { base::release(block); }

  template <typename U>
  bool operator==(const Allocator<U> &) const noexcept {
    return true;
  }
};

using String = std::basic_string<char, std::char_traits<char>, Allocator<char>>;
template <typename T>
using Vector = std::vector<T, Allocator<T>>;

// Single objects over the slots: make<T>() gives an empty Owned when refused.
template <typename T>
struct Destroyer {
  void operator()(T *object) const noexcept {
    object->~T();
    base::release(object);
  }
};
template <typename T>
using Owned = std::unique_ptr<T, Destroyer<T>>;

template <typename T, typename... Arguments>
Owned<T> make(Arguments &&...arguments) {
  void *block = base::allocate(sizeof(T));
  if (block == nullptr) return {};
  try {
    return Owned<T>(new (block) T(std::forward<Arguments>(arguments)...));
  } catch (...) {
    base::release(block);
    throw;
  }
}

// A plain block that is released at the end of its scope.
struct BlockReleaser {
  void operator()(void *block) const noexcept { base::release(block); }
};
template <typename T>
using OwnedBlock = std::unique_ptr<T, BlockReleaser>;

}  // namespace zk::base
