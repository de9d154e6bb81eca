/* Matrices of doubles with any number of rows and columns. Rotations (3 x 3) and transformations
 * (4 x 4) are matrices as well and have operations of their own in zk/transform.h.
 *
 * An element is named by its row and its column, both zero-based. Points and vectors are columns
 * that are multiplied on the right, and products compose from right to left: a * b applies b first.
 *
 * Functions fail for null, an index out of range, operands whose sizes do not go together, and
 * where memory is refused; the result then stays as it was. A result may be one of the operands.
 * NaN and infinities are values like others. Elements lie column by column in one block, so
 * anything that walks down a column is quick.
 *
 * Traces under condition bit 0x10 (see diag.h), as do rotations, transformations and quaternions.
 */
#ifndef ZK_MATRIX_H
#define ZK_MATRIX_H

#include <stdio.h>

#include "zk/ntuple.h"
#include "zk/types.h"

ZK_EXTERN_C_BEGIN

typedef struct ZkMatrix ZkMatrix;

/* A new matrix with 1.0 at (0,0), (1,1), ... and 0.0 elsewhere: a square one is the identity. Null
 * when there would not be at least one row and one column, or memory is refused. */
ZK_API ZkMatrix *ZK_CALL zk_Matrix_create(int32_t rows, int32_t columns);
ZK_API int ZK_CALL zk_Matrix_destroy(ZkMatrix *matrix);

ZK_API int ZK_CALL zk_Matrix_numberRows(int32_t *out, const ZkMatrix *matrix);
ZK_API int ZK_CALL zk_Matrix_numberColumns(int32_t *out, const ZkMatrix *matrix);

ZK_API int ZK_CALL zk_Matrix_getElement(double *out, const ZkMatrix *matrix, int32_t row,
                                        int32_t column);
ZK_API int ZK_CALL zk_Matrix_setElement(ZkMatrix *matrix, int32_t row, int32_t column,
                                        double value);

/* Copy one column or row into or from an n-tuple, which must have just as many elements. */
ZK_API int ZK_CALL zk_Matrix_getColumn(ZkNtuple *out, const ZkMatrix *matrix, int32_t column);
ZK_API int ZK_CALL zk_Matrix_getRow(ZkNtuple *out, const ZkMatrix *matrix, int32_t row);
ZK_API int ZK_CALL zk_Matrix_setColumn(ZkMatrix *matrix, int32_t column, const ZkNtuple *values);
ZK_API int ZK_CALL zk_Matrix_setRow(ZkMatrix *matrix, int32_t row, const ZkNtuple *values);

/* All elements of `source`. Both must have the same size, as must all operands of add, subtract and
 * scale. */
ZK_API int ZK_CALL zk_Matrix_copy(ZkMatrix *destination, const ZkMatrix *source);

/* `out` has as many rows as `in` has columns, and the other way round. */
ZK_API int ZK_CALL zk_Matrix_transpose(ZkMatrix *out, const ZkMatrix *in);

/* a * b: `a` has as many columns as `b` has rows, and `out` has the rows of `a` and the columns of
 * `b`. Each element is the sum of its products from 0.0 on, in the order of the columns of `a`.
 * Takes memory only where `out` is an operand and has more than 16 elements. */
ZK_API int ZK_CALL zk_Matrix_multiply(ZkMatrix *out, const ZkMatrix *a, const ZkMatrix *b);

/* a + b and a - b (not b - a, as points and vectors subtract). */
ZK_API int ZK_CALL zk_Matrix_add(ZkMatrix *out, const ZkMatrix *a, const ZkMatrix *b);
ZK_API int ZK_CALL zk_Matrix_subtract(ZkMatrix *out, const ZkMatrix *a, const ZkMatrix *b);

/* `in` with every element multiplied. */
ZK_API int ZK_CALL zk_Matrix_scale(ZkMatrix *out, const ZkMatrix *in, double factor);

/* Writes a line for each row, every element with six decimals and a blank behind it, and an empty
 * line at the end. A null stream is standard output. The stream is flushed. */
ZK_API int ZK_CALL zk_Matrix_print(const ZkMatrix *matrix, FILE *stream);

ZK_EXTERN_C_END
#endif
