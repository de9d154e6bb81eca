/* Calling convention, linkage and fixed-size integers for every ZK_BASELIB header.
 *
 * Rules that hold for every function of the library, unless its own comment says otherwise:
 *  - Null never faults: a null handle, null text, index out of range or refused allocation gives
 *    the result that the function documents, and the object stays as it was.
 *  - `int` results are 1 for success and 0 for failure (where the sense is inverted it is said).
 *  - `_create` allocates and returns a handle or null; `_destroy` accepts null and releases the
 *    object with everything that it owns. Blocks handed to the caller are released with zk_Free.
 *  - A `const char *` result that is called static lives in the library's own buffer and is
 *    overwritten by the next call of the same function. A static result may be passed back in.
 *  - Sizes count characters: a buffer of "at most n characters" holds n + 1 bytes.
 *  - Numbers are written and read with a decimal point, whatever locale the process has set.
 *  - The library is used from one thread at a time.
 */
#ifndef ZK_TYPES_H
#define ZK_TYPES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define ZK_EXTERN_C extern "C"
#define ZK_EXTERN_C_BEGIN extern "C" {
#define ZK_EXTERN_C_END }
#else
#define ZK_EXTERN_C extern
#define ZK_EXTERN_C_BEGIN
#define ZK_EXTERN_C_END
#endif

#if defined(_WIN32)
#define ZK_CALL __cdecl
#if defined(ZK_BUILDING_LIBRARY)
#define ZK_API
#define ZK_DATA extern
#else
#define ZK_API __declspec(dllimport)
#define ZK_DATA extern __declspec(dllimport)
#endif
#else
#define ZK_CALL
#define ZK_API __attribute__((visibility("default")))
#define ZK_DATA extern __attribute__((visibility("default")))
#endif

#endif
