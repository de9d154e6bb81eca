/* N-tuples: rows of doubles whose length is fixed when they are made. Matrices hand out and take
 * their columns and rows as n-tuples (zk/matrix.h).
 *
 * Indexes are zero-based; one below 0 or not below the count is a failure. On failure results stay
 * as they were. A result may be one of the operands. NaN and infinities are values like others.
 *
 * Traces under condition bit 0x80 (see diag.h).
 */
#ifndef ZK_NTUPLE_H
#define ZK_NTUPLE_H

#include <stdio.h>

#include "zk/geometry.h"
#include "zk/types.h"

ZK_EXTERN_C_BEGIN

typedef struct ZkNtuple ZkNtuple;

/* A new n-tuple of `count` zeros; an empty one is possible. Null when `count` is negative or memory
 * is refused. */
ZK_API ZkNtuple *ZK_CALL zk_Ntuple_create(int32_t count);
/* A new n-tuple (x, y, z). */
ZK_API ZkNtuple *ZK_CALL zk_Ntuple_fromVector(const ZkVector *vector);
ZK_API int ZK_CALL zk_Ntuple_destroy(ZkNtuple *ntuple);

ZK_API int ZK_CALL zk_Ntuple_getElement(double *out, const ZkNtuple *ntuple, int32_t index);
ZK_API int ZK_CALL zk_Ntuple_setElement(ZkNtuple *ntuple, int32_t index, double value);

/* All elements of `source`; the counts must be equal. */
ZK_API int ZK_CALL zk_Ntuple_copy(ZkNtuple *destination, const ZkNtuple *source);

/* Element by element a + b and a - b (not b - a, as points and vectors subtract). All three counts
 * must be equal. */
ZK_API int ZK_CALL zk_Ntuple_add(ZkNtuple *out, const ZkNtuple *a, const ZkNtuple *b);
ZK_API int ZK_CALL zk_Ntuple_subtract(ZkNtuple *out, const ZkNtuple *a, const ZkNtuple *b);

/* Multiplies every element, in place. */
ZK_API int ZK_CALL zk_Ntuple_scale(ZkNtuple *ntuple, double factor);

/* The sum of the products, from 0.0 on in the order of the indexes. The counts must be equal. */
ZK_API int ZK_CALL zk_Ntuple_dotProduct(double *out, const ZkNtuple *a, const ZkNtuple *b);

/* Writes the elements on one line, each with six decimals, between them ", "; an empty n-tuple is
 * an empty line. A null stream is standard output. The stream is flushed. */
ZK_API int ZK_CALL zk_Ntuple_print(const ZkNtuple *ntuple, FILE *stream);

ZK_EXTERN_C_END
#endif
