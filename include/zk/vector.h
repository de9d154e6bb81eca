/* Vectors: construction, comparison, arithmetic, products and angles.
 *
 * Records, results, tolerances and the treatment of infinities and NaN are those of points
 * (point.h); a vector and a point have one layout. Plain arithmetic (set, add, subtract, scale,
 * negate, magnitude, the products and computeOrthovec) always returns 1 for arguments that are not
 * null.
 *
 * Every function traces under condition bit 0x20 (see diag.h).
 */
#ifndef ZK_VECTOR_H
#define ZK_VECTOR_H

#include "zk/geometry.h"
#include "zk/ntuple.h"

ZK_EXTERN_C_BEGIN

/* ---- Components ---- */

ZK_API int ZK_CALL zk_Vector_set(ZkVector *vector, double x, double y, double z);
ZK_API int ZK_CALL zk_Vector_setX(ZkVector *vector, double x);
ZK_API int ZK_CALL zk_Vector_setY(ZkVector *vector, double y);
ZK_API int ZK_CALL zk_Vector_setZ(ZkVector *vector, double z);
ZK_API int ZK_CALL zk_Vector_getX(double *x, const ZkVector *vector);
ZK_API int ZK_CALL zk_Vector_getY(double *y, const ZkVector *vector);
ZK_API int ZK_CALL zk_Vector_getZ(double *z, const ZkVector *vector);
ZK_API int ZK_CALL zk_Vector_copy(ZkVector *result, const ZkVector *vector);
ZK_API int ZK_CALL zk_Vector_fromPoint(ZkVector *result, const ZkPoint *point);
/* The elements 0, 1 and 2 of an n-tuple; 0 if it has fewer. */
ZK_API int ZK_CALL zk_Vector_fromNtuple(ZkVector *result, const ZkNtuple *ntuple);

/* ---- Comparison: vectors are not normalised first ---- */

/* 1 if all three components differ by less than the tolerance. */
ZK_API int ZK_CALL zk_Vector_equal(const ZkVector *a, const ZkVector *b);
ZK_API int ZK_CALL zk_Vector_equalWithinTol(const ZkVector *a, const ZkVector *b, double tolerance);
/* 1 if a . b is nearer to 0 than the tolerance. */
ZK_API int ZK_CALL zk_Vector_orthogonal(const ZkVector *a, const ZkVector *b);
/* 1 if the length of a x b is less than the tolerance (same or opposite direction). */
ZK_API int ZK_CALL zk_Vector_parallel(const ZkVector *a, const ZkVector *b);
/* Orthogonal or parallel to (0, 0, 1). */
ZK_API int ZK_CALL zk_Vector_isHorizontal(const ZkVector *vector);
ZK_API int ZK_CALL zk_Vector_isVertical(const ZkVector *vector);

/* ---- Arithmetic ---- */

/* The length of the vector. */
ZK_API int ZK_CALL zk_Vector_magnitude(double *result, const ZkVector *vector);
ZK_API int ZK_CALL zk_Vector_scale(ZkVector *result, const ZkVector *vector, double factor);
ZK_API int ZK_CALL zk_Vector_negate(ZkVector *result, const ZkVector *vector);
/* a + b. */
ZK_API int ZK_CALL zk_Vector_add(ZkVector *result, const ZkVector *a, const ZkVector *b);
/* b - a: the first operand is taken from the second. */
ZK_API int ZK_CALL zk_Vector_subtract(ZkVector *result, const ZkVector *a, const ZkVector *b);
/* a . b. */
ZK_API int ZK_CALL zk_Vector_dotProduct(double *result, const ZkVector *a, const ZkVector *b);
/* a x b, right-handed. */
ZK_API int ZK_CALL zk_Vector_crossProduct(ZkVector *result, const ZkVector *a, const ZkVector *b);
/* Scales the vector, or a copy of it, to length 1. 0 if its length does not exceed the tolerance.
 */
ZK_API int ZK_CALL zk_Vector_normalize(ZkVector *vector);
ZK_API int ZK_CALL zk_Vector_copyNormalize(ZkVector *result, const ZkVector *vector);

/* ---- Directions ---- */

/* b - a. 0, with the result written, for a length of exactly 0 (or none that is finite); the
 * tolerance does not come in. */
ZK_API int ZK_CALL zk_Vector_computeVector(ZkVector *result, const ZkPoint *a, const ZkPoint *b);
/* b - a scaled to length 1. */
ZK_API int ZK_CALL zk_Vector_computeNormal(ZkVector *result, const ZkPoint *a, const ZkPoint *b);
/* (p1 - p0) x (p2 - p0), as it is or scaled to length 1. */
ZK_API int ZK_CALL zk_Vector_computeOrthovec(ZkVector *result, const ZkPoint *p0, const ZkPoint *p1,
                                             const ZkPoint *p2);
ZK_API int ZK_CALL zk_Vector_computeOrthonorm(ZkVector *result, const ZkPoint *p0,
                                              const ZkPoint *p1, const ZkPoint *p2);
/* The part of b, scaled to length 1, that is perpendicular to a: (0, 0, 0) for opposite
 * directions, 0 for equal ones. */
ZK_API int ZK_CALL zk_Vector_getOrthoVector(ZkVector *result, const ZkVector *a, const ZkVector *b);
/* The angle between a and b, from 0 to pi. 0 if either has no length. */
ZK_API int ZK_CALL zk_Vector_angle(double *result, const ZkVector *a, const ZkVector *b);

ZK_EXTERN_C_END
#endif
