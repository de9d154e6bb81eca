/* Array: a block of equally sized elements that are copied by value. Its size is fixed when it is
 * made. Indices are zero-based; a null array gives 0 or null.
 *
 * getAddress, and with it getNth, setNth and search, checks the index against the element size, not
 * against the count. So they reach only the first `elementSize` elements: make elements at least as
 * large as there are of them, or walk `data`. destroy and swap reach every element.
 *
 * Traces under condition bit 0x40 (diag.h).
 */
#ifndef ZK_ARRAY_H
#define ZK_ARRAY_H

#include "zk/lnklist.h"

ZK_EXTERN_C_BEGIN

/* Applications may read these fields and walk the data. */
typedef struct ZkArray {
  uint32_t count;
  uint32_t elementSize; /* bytes per element */
  void *data;           /* count * elementSize bytes, owned */
} ZkArray;

/* An array of `count` copies of the element at `initial`. Null for a count of 0, a null `initial`,
 * or when the header is refused. When only the data block is refused, or its size is beyond what
 * the process can address, the result is an array with a count of 0 and null data. */
ZK_API ZkArray *ZK_CALL zk_Array_create(uint32_t count, uint32_t elementSize, const void *initial);
/* Calls `freeElement` (may be null) with the address of each element, first to last, then releases
 * data and header. */
ZK_API int ZK_CALL zk_Array_destroy(ZkArray *array, ZkFreeDataFn freeElement);

ZK_API uint32_t ZK_CALL zk_Array_size(const ZkArray *array);

/* The address of the element. Null for an index equal to or above the element size, even inside the
 * array. An index below the element size but beyond the count is not refused: the address then lies
 * behind the data and must not be used. (The exit trace names zk_Array_search.) */
ZK_API void *ZK_CALL zk_Array_getAddress(const ZkArray *array, uint32_t index);
/* The same, but null also for an index at or beyond the count: never behind the data. */
ZK_API void *ZK_CALL zk_Array_getNth(const ZkArray *array, uint32_t index);

/* Calls `freeElement` (may be null) with the address of the old element, then copies the one at
 * `element` over it. Nothing happens where getNth would give null, or when `element` is null.
 * Always 0. */
ZK_API int ZK_CALL zk_Array_setNth(ZkArray *array, uint32_t index, const void *element,
                                   ZkFreeDataFn freeElement);
/* Exchanges two elements. 0 for an index at or beyond the count, or when memory for one element is
 * refused. */
ZK_API int ZK_CALL zk_Array_swap(ZkArray *array, uint32_t a, uint32_t b);

/* The index of the first element for which compare(element, key) is 0. Also 0 when there is none,
 * so compare the first element once more where that matters. Linear. */
ZK_API uint32_t ZK_CALL zk_Array_search(const ZkArray *array, const void *key, ZkCompareFn compare);

ZK_EXTERN_C_END
#endif
