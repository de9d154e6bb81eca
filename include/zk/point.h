/* Points: construction, comparison, arithmetic, lines, and where a point lies.
 *
 * Records are the caller's (geometry.h); points and vectors have one layout. The result comes first
 * and may be one of the operands. Functions return 1, or 0 when a pointer is null or the operation
 * cannot be done; the result is then as it was, unless stated.
 *
 * Comparisons are strict: a difference equal to the tolerance is one. A line through two points is
 * infinite. A length counts from above ZK_GEOMETRY_TOLERANCE; what needs a length or a direction
 * gives 0 without one, and also where infinities, NaN or overflow leave no finite result.
 * Plain arithmetic (set, add, subtract, midpoint, distance) passes them on and returns 1.
 *
 * Every function traces under condition bit 0x8 (see diag.h).
 */
#ifndef ZK_POINT_H
#define ZK_POINT_H

#include "zk/geometry.h"

ZK_EXTERN_C_BEGIN

/* ---- Coordinates ---- */

ZK_API int ZK_CALL zk_Point_set(ZkPoint *point, double x, double y, double z);
ZK_API int ZK_CALL zk_Point_setX(ZkPoint *point, double x);
ZK_API int ZK_CALL zk_Point_setY(ZkPoint *point, double y);
ZK_API int ZK_CALL zk_Point_setZ(ZkPoint *point, double z);
ZK_API int ZK_CALL zk_Point_getX(double *x, const ZkPoint *point);
ZK_API int ZK_CALL zk_Point_getY(double *y, const ZkPoint *point);
ZK_API int ZK_CALL zk_Point_getZ(double *z, const ZkPoint *point);
ZK_API int ZK_CALL zk_Point_copy(ZkPoint *result, const ZkPoint *point);
ZK_API int ZK_CALL zk_Point_fromVector(ZkPoint *result, const ZkVector *vector);
/* Makes coordinates nearer to 0 than the tolerance exactly 0.0. */
ZK_API int ZK_CALL zk_Point_setToTolerance(ZkPoint *point);
/* "1.5,2" with the delimiter "," is (1.5, 2, 0). `text` is split at any of the characters of
 * `delimiters` (zk_StrList_fromDelimitedString), the first two or three parts are the coordinates
 * and further ones are ignored. A part that does not begin with a number is 0. With fewer than two
 * parts the result is (0, 0, 0) and 0 is returned. */
ZK_API int ZK_CALL zk_Point_fromDelimitedString(ZkPoint *result, const char *text,
                                                const char *delimiters);

/* ---- Comparison ---- */

/* 1 if all three coordinates differ by less than the tolerance. */
ZK_API int ZK_CALL zk_Point_equal(const ZkPoint *a, const ZkPoint *b);
ZK_API int ZK_CALL zk_Point_equalWithinTol(const ZkPoint *a, const ZkPoint *b, double tolerance);
/* 1 if all three components of (p0 - p1) x (p2 - p0) are less than the tolerance, which so applies
 * to an area, not to a distance from the line. */
ZK_API int ZK_CALL zk_Point_colinear(const ZkPoint *p0, const ZkPoint *p1, const ZkPoint *p2);
ZK_API int ZK_CALL zk_Point_colinearWithinTol(const ZkPoint *p0, const ZkPoint *p1,
                                              const ZkPoint *p2, double tolerance);

/* ---- Arithmetic ---- */

/* The distance between two points. */
ZK_API int ZK_CALL zk_Point_distance(double *result, const ZkPoint *a, const ZkPoint *b);
/* a + b. */
ZK_API int ZK_CALL zk_Point_add(ZkPoint *result, const ZkPoint *a, const ZkPoint *b);
/* b - a: the first operand is taken from the second. */
ZK_API int ZK_CALL zk_Point_subtract(ZkPoint *result, const ZkPoint *a, const ZkPoint *b);
/* (a + b) * 0.5. */
ZK_API int ZK_CALL zk_Point_midpoint(ZkPoint *result, const ZkPoint *a, const ZkPoint *b);
/* `point` moved by `distance` along the direction of `vector`, or along (cos angle, sin angle, 0).
 * When that fails the result is `point`. */
ZK_API int ZK_CALL zk_Point_translateByVector(ZkPoint *result, const ZkPoint *point,
                                              const ZkVector *vector, double distance);
ZK_API int ZK_CALL zk_Point_translateByAngle(ZkPoint *result, const ZkPoint *point, double angle,
                                             double distance);

/* ---- Lines ---- */

/* The foot of the perpendicular from `point` onto the line ab. 0 for a line without length, and for
 * a point that coincides with `a`. */
ZK_API int ZK_CALL zk_Point_projectOntoLine(ZkPoint *result, const ZkPoint *point, const ZkPoint *a,
                                            const ZkPoint *b);
/* The vector from that foot to `point`; 0 as above. Note the order of a and b. Writes the foot to
 * the diagnostics as well. */
ZK_API int ZK_CALL zk_Point_getOrthoVector(ZkVector *result, const ZkPoint *b, const ZkPoint *a,
                                           const ZkPoint *point);
/* Where the lines ab and cd meet. When an end point of ab equals one of cd within the tolerance it
 * is that one of ab. 0 for lines that are parallel (zk_Vector_parallel of b - a and d - c) or have
 * no length; 0 for skew lines, whose result, a point of cd, is not colinear with a and b within the
 * tolerance but is written. */
ZK_API int ZK_CALL zk_Point_intersectPoint(ZkPoint *result, const ZkPoint *a, const ZkPoint *b,
                                           const ZkPoint *c, const ZkPoint *d);
ZK_API int ZK_CALL zk_Point_intersectPointWithinTol(ZkPoint *result, const ZkPoint *a,
                                                    const ZkPoint *b, const ZkPoint *c,
                                                    const ZkPoint *d, double tolerance);

/* ---- Where a point lies ---- */

/* 1 if `point` lies between a and b; both ends are outside. A point that is not colinear with them
 * is outside if `onlyIfColinear` is non-zero, otherwise its foot on the line is looked at. */
ZK_API int ZK_CALL zk_Point_between(const ZkPoint *point, const ZkPoint *a, const ZkPoint *b,
                                    int onlyIfColinear);
/* 1 if `point` lies in the cylinder around ab: its foot on the line lies between a and b (the ends
 * are outside) and is at most `radius` away from it. That distance is then stored in `distance`,
 * which may be null. A point that coincides with `a` is outside. */
ZK_API int ZK_CALL zk_Point_inCylinder(double *distance, const ZkPoint *point, const ZkPoint *a,
                                       const ZkPoint *b, double radius);

ZK_EXTERN_C_END
#endif
