/* Memory: the four functions through which the library takes and returns every block.
 *
 * A refused request never ends the process. The caller gets null, and the message that a user could
 * be shown ("Unable to allocate 1024 bytes of memory") is kept: see zk_Memory_lastFailure in
 * zk/extras.h. Nothing is shown or traced.
 */
#ifndef ZK_MEMORY_H
#define ZK_MEMORY_H

#include "zk/types.h"

ZK_EXTERN_C_BEGIN

/* Four functions with the meaning of malloc, realloc, calloc and free. The library never hands a
 * null block to the second and the last, and never re-allocates to 0 bytes. */
typedef void *(ZK_CALL *ZkAllocateFn)(size_t size);
typedef void *(ZK_CALL *ZkReallocateFn)(void *block, size_t size);
typedef void *(ZK_CALL *ZkAllocateZeroedFn)(size_t count, size_t size);
typedef void(ZK_CALL *ZkFreeFn)(void *block);

/* Installs an allocator for the whole library. Call it before any other function: blocks of the
 * allocator before would be returned to the new one.
 *
 * The four slots are judged one by one. A slot takes its argument unless that is the standard
 * library's own function for it, which leaves the slot as it is: once replaced, the standard
 * allocator cannot be put back. Null is stored like any other function, and a null slot acts as
 * refused memory (a null free function: nothing is released). */
ZK_API void ZK_CALL zk_MemoryManager_set(ZkAllocateFn allocate, ZkReallocateFn reallocate,
                                         ZkAllocateZeroedFn allocateZeroed, ZkFreeFn release);

/* Each gives a block to be released with zk_Free, or null when memory is refused. A negative size
 * or count is refused too.
 *
 * zk_Calloc clears the block. The message of its failure names the element size, not the product.
 * zk_Realloc of a null block is zk_Malloc, its message included. A refused re-allocation leaves the
 * old block valid and owned by the caller; a new size of 0 keeps a block of 1 byte. */
ZK_API void *ZK_CALL zk_Malloc(int32_t size);
ZK_API void *ZK_CALL zk_Calloc(int32_t count, int32_t size);
ZK_API void *ZK_CALL zk_Realloc(void *block, int32_t size);

/* Releases any block that the library handed out. Null is ignored. */
ZK_API void ZK_CALL zk_Free(void *block);

/* Kept for hosts that call them; they do nothing. */
ZK_API void ZK_CALL zk_Memory_clear(void);
ZK_API void ZK_CALL zk_Memory_statistics(void);

ZK_EXTERN_C_END
#endif
