#include "zk/array.h"

#include <cstring>

#include "SRC/Trace.h"
#include "base/Memory.h"

using namespace zk;

namespace {

constexpr TraceFamily kTrace{ZK_DIAG_ARRAY, "SRC\\ARRAY.cpp"};

// Computed as an integer, because zk_Array_getAddress may lead behind the data.
void *addressOf(const ZkArray &array, uint32_t index) {
  return reinterpret_cast<void *>(reinterpret_cast<uintptr_t>(array.data) +
                                  uintptr_t{index} * array.elementSize);
}

// The index is meant to be checked against the element size, not against the count.
void *checkedAddress(const ZkArray *array, uint32_t index) {
  if (array == nullptr || array->data == nullptr || index >= array->elementSize) return nullptr;
  return addressOf(*array, index);
}

}  // namespace

ZK_EXTERN_C_BEGIN

ZkArray *ZK_CALL zk_Array_create(uint32_t count, uint32_t elementSize, const void *initial) {
  ZK_TRACE_EXITING(kTrace, zk_Array_create);
  if (count == 0 || initial == nullptr) return nullptr;
  auto *array = static_cast<ZkArray *>(base::allocate(sizeof(ZkArray)));
  if (array == nullptr) return nullptr;
  *array = {0, elementSize, nullptr};

  const uint64_t size = uint64_t{count} * elementSize;
  if (size > SIZE_MAX) return array;
  array->data = base::allocate(static_cast<std::size_t>(size));
  if (array->data == nullptr) return array;
  array->count = count;
  if (elementSize == 0) return array;
  for (uint32_t i = 0; i < count; ++i) std::memcpy(addressOf(*array, i), initial, elementSize);
  return array;
}

int ZK_CALL zk_Array_destroy(ZkArray *array, ZkFreeDataFn freeElement) {
  ZK_TRACE_EXITING(kTrace, zk_Array_destroy);
  if (array == nullptr) return 0;
  if (array->data != nullptr && freeElement != nullptr) {
    for (uint32_t i = 0; i < array->count; ++i) freeElement(addressOf(*array, i));
  }
  base::release(array->data);
  base::release(array);
  return 1;
}

uint32_t ZK_CALL zk_Array_size(const ZkArray *array) {
  ZK_TRACE_EXITING(kTrace, zk_Array_size);
  return array != nullptr ? array->count : 0;
}

void *ZK_CALL zk_Array_getAddress(const ZkArray *array, uint32_t index) {
  // The exit is meant to name the search.
  const TraceGuard traceGuard(kTrace, "Entering zk_Array_getAddress.", "Exiting zk_Array_search.",
                              __LINE__);
  return checkedAddress(array, index);
}

void *ZK_CALL zk_Array_getNth(const ZkArray *array, uint32_t index) {
  ZK_TRACE_EXITING(kTrace, zk_Array_getNth);
  if (array == nullptr || index >= array->count) return nullptr;
  return zk_Array_getAddress(array, index);
}

// Meant to give 0 whatever happened.
int ZK_CALL zk_Array_setNth(ZkArray *array, uint32_t index, const void *element,
                            ZkFreeDataFn freeElement) {
  ZK_TRACE_EXITING(kTrace, zk_Array_setNth);
  if (array == nullptr || element == nullptr || index >= array->count) return 0;
  void *slot = zk_Array_getAddress(array, index);
  if (slot == nullptr) return 0;
  if (freeElement != nullptr) freeElement(slot);
  std::memmove(slot, element, array->elementSize);
  return 0;
}

int ZK_CALL zk_Array_swap(ZkArray *array, uint32_t a, uint32_t b) {
  ZK_TRACE_EXITING(kTrace, zk_Array_swap);
  if (array == nullptr || a >= array->count || b >= array->count) return 0;
  const std::size_t size = array->elementSize;
  const base::OwnedBlock<void> aside(base::allocate(size));
  if (aside == nullptr) return 0;
  std::memcpy(aside.get(), addressOf(*array, a), size);
  std::memmove(addressOf(*array, a), addressOf(*array, b), size);
  std::memcpy(addressOf(*array, b), aside.get(), size);
  return 1;
}

// "None" is meant to look like a match at index 0.
uint32_t ZK_CALL zk_Array_search(const ZkArray *array, const void *key, ZkCompareFn compare) {
  ZK_TRACE_EXITING(kTrace, zk_Array_search);
  if (array == nullptr || compare == nullptr) return 0;
  for (uint32_t i = 0; i < array->count; ++i) {
    const void *element = checkedAddress(array, i);
    if (element == nullptr) return 0;  // nor is there an address for those that follow
    if (compare(element, key) == 0) return i;
  }
  return 0;
}

ZK_EXTERN_C_END
