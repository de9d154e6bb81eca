/* Base-36 numbers: short sortable identifiers of the digits 0-9 and A-Z (upper case only). They do
 * not trace.
 */
#ifndef ZK_BASE36_H
#define ZK_BASE36_H

#include "zk/types.h"

ZK_EXTERN_C_BEGIN

/* The value; 0.0 for null or "". Any character that is no digit, lower-case letters included,
 * counts as a digit of value -1. Exact up to 2 to the 53rd. */
ZK_API double ZK_CALL zk_Base36_toBase10(const char *digits);
/* The digits of the whole part of `value`, without leading zeros, in a static buffer. "" for a
 * value that takes more than nine digits (36 to the 9th, 101559956668416, or more), for a negative
 * one and for no number. */
ZK_API const char *ZK_CALL zk_Base36_fromBase10(double value);
/* -1, 0 or 1 as the value of `a` is below, equal to or above that of `b`. */
ZK_API int ZK_CALL zk_Base36_compare(const char *a, const char *b);
/* Adds `step` to the number in `digits`, which must have room for the result (at most ten bytes).
 * 0 and an unchanged text where zk_Base36_fromBase10 of the sum is "". */
ZK_API int ZK_CALL zk_Base36_increment(char *digits, int32_t step);

ZK_EXTERN_C_END
#endif
