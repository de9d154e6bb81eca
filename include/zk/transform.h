/* Rotations and transformations: 3 x 3 and 4 x 4 matrices (zk/matrix.h) that move points and
 * vectors.
 *
 * A rotation R maps p to R * p. A transformation T maps p to R * p + origin: its upper left block
 * is R, elements (0,3), (1,3), (2,3) hold the origin, and row 3 is (0, 0, 0, 1). That a matrix
 * given is orthonormal, or row 3 as it should be, is not checked.
 *
 * Functions fail for null, a matrix of another size, and indexes out of range. Those that construct
 * something from directions or angles also fail where there is none: a length must be finite and
 * greater than 1e-5, an angle finite. The result then stays as it was. Those that only calculate
 * pass NaN and infinities through. A result may be one of the operands.
 *
 * Traces under condition bit 0x10 (see diag.h).
 */
#ifndef ZK_TRANSFORM_H
#define ZK_TRANSFORM_H

#include "zk/geometry.h"
#include "zk/matrix.h"
#include "zk/quaternion.h"
#include "zk/types.h"

ZK_EXTERN_C_BEGIN

typedef ZkMatrix ZkRotMatrix; /* 3 x 3 */
typedef ZkMatrix ZkTMatrix;   /* 4 x 4 */

/* ---- Rotations: making, elements ---- */

/* A new identity; null when memory is refused. */
ZK_API ZkRotMatrix *ZK_CALL zk_RotMatrix_create(void);
ZK_API int ZK_CALL zk_RotMatrix_destroy(ZkRotMatrix *matrix);

/* Row by row. */
ZK_API int ZK_CALL zk_RotMatrix_set(ZkRotMatrix *matrix, double r00, double r01, double r02,
                                    double r10, double r11, double r12, double r20, double r21,
                                    double r22);
ZK_API int ZK_CALL zk_RotMatrix_setIdentity(ZkRotMatrix *matrix);
ZK_API int ZK_CALL zk_RotMatrix_copy(ZkRotMatrix *destination, const ZkRotMatrix *source);

ZK_API int ZK_CALL zk_RotMatrix_setElement(ZkRotMatrix *matrix, int32_t row, int32_t column,
                                           double value);
ZK_API int ZK_CALL zk_RotMatrix_getElement(double *out, const ZkRotMatrix *matrix, int32_t row,
                                           int32_t column);

ZK_API int ZK_CALL zk_RotMatrix_setRowValues(ZkRotMatrix *matrix, int32_t row, double value0,
                                             double value1, double value2);
ZK_API int ZK_CALL zk_RotMatrix_setColumnValues(ZkRotMatrix *matrix, int32_t column, double value0,
                                                double value1, double value2);
ZK_API int ZK_CALL zk_RotMatrix_setRow(ZkRotMatrix *matrix, int32_t row, const ZkVector *values);
ZK_API int ZK_CALL zk_RotMatrix_setColumn(ZkRotMatrix *matrix, int32_t column,
                                          const ZkVector *values);
ZK_API int ZK_CALL zk_RotMatrix_getRow(ZkVector *out, const ZkRotMatrix *matrix, int32_t row);
ZK_API int ZK_CALL zk_RotMatrix_getColumn(ZkVector *out, const ZkRotMatrix *matrix, int32_t column);

/* 1 when each diagonal element minus 1 and every other element is less than 1e-5. The test is
 * one-sided: negative elements pass, however large, so a matrix of all -5.0 is an identity here. */
ZK_API int ZK_CALL zk_RotMatrix_isIdentity(const ZkRotMatrix *matrix);

/* 1 when all elements differ by less than 1e-5. */
ZK_API int ZK_CALL zk_RotMatrix_equal(const ZkRotMatrix *a, const ZkRotMatrix *b);

/* ---- Rotations: calculating ---- */

/* The transpose, which is the inverse of an orthonormal matrix. */
ZK_API int ZK_CALL zk_RotMatrix_getInverse(ZkRotMatrix *out, const ZkRotMatrix *in);

/* a * b, which rotates by b first. */
ZK_API int ZK_CALL zk_RotMatrix_multiply(ZkRotMatrix *out, const ZkRotMatrix *a,
                                         const ZkRotMatrix *b);

/* Brings each column to length 1; the angles between them stay. Fails when one has no length. */
ZK_API int ZK_CALL zk_RotMatrix_normalize(ZkRotMatrix *out, const ZkRotMatrix *in);

/* X * Y * Z * in, where X, Y and Z rotate about the axes: `in`, then about Z by `angleZ`, then
 * about Y by `angleY`, then about X by `angleX`. Mind that Y turns the other way round than X and
 * Z: a quarter turn about Y takes (1, 0, 0) to (0, 0, 1), one about Z takes it to (0, 1, 0). */
ZK_API int ZK_CALL zk_RotMatrix_rotate(ZkRotMatrix *out, const ZkRotMatrix *in, double angleX,
                                       double angleY, double angleZ);

/* Replace a point or a vector by R times it. */
ZK_API int ZK_CALL zk_RotMatrix_rotatePoint(ZkPoint *point, const ZkRotMatrix *matrix);
ZK_API int ZK_CALL zk_RotMatrix_rotateVector(ZkVector *vector, const ZkRotMatrix *matrix);

/* ---- Rotations: constructing ---- */

/* About Z: (1, 0, 0) goes to (cos angle, sin angle, 0). */
ZK_API int ZK_CALL zk_RotMatrix_fromAngle(ZkRotMatrix *matrix, double angle);

/* The axes of a right-handed system as columns: X from `origin` to `pointOnX`; Y perpendicular to
 * it in the plane of the three points, to the side of `pointInXY`; Z their cross product. Fails
 * when the points lie on one line. */
ZK_API int ZK_CALL zk_RotMatrix_from3Points(ZkRotMatrix *matrix, const ZkPoint *origin,
                                            const ZkPoint *pointOnX, const ZkPoint *pointInXY);

/* zk_RotMatrix_from3Points with the points one unit from `origin` in the directions given. */
ZK_API int ZK_CALL zk_RotMatrix_fromVectorsXY(ZkRotMatrix *matrix, const ZkPoint *origin,
                                              const ZkVector *xVector, const ZkVector *yVector);

/* The rotation that turns `from` into `to`. Without an axis (null, or no longer than 1e-5) it is
 * that of zk_Quaternion_fromVectors; with one it turns about the axis until the parts of the
 * vectors that are perpendicular to it point the same way. Opposite parts turn by 3.1415926536. */
ZK_API int ZK_CALL zk_RotMatrix_fromVectors(ZkRotMatrix *matrix, const ZkVector *axis,
                                            const ZkVector *from, const ZkVector *to);

/* By `angle` about `axis`, whose length does not matter. */
ZK_API int ZK_CALL zk_RotMatrix_fromRotAxisAndAngle(ZkRotMatrix *matrix, const ZkVector *axis,
                                                    double angle);

/* From a quaternion as it is, which should be of magnitude 1. */
ZK_API int ZK_CALL zk_RotMatrix_fromQuaternion(ZkRotMatrix *matrix, const ZkQuaternion *quaternion);

/* Write three columns or three rows. They return 0 even when they have done so: the result tells
 * nothing. */
ZK_API int ZK_CALL zk_RotMatrix_fromColumnVectors(ZkRotMatrix *matrix, const ZkVector *column0,
                                                  const ZkVector *column1, const ZkVector *column2);
ZK_API int ZK_CALL zk_RotMatrix_fromRowVectors(ZkRotMatrix *matrix, const ZkVector *row0,
                                               const ZkVector *row1, const ZkVector *row2);

/* ---- Transformations ---- */

/* A new identity; null when memory is refused. */
ZK_API ZkTMatrix *ZK_CALL zk_TMatrix_create(void);
ZK_API int ZK_CALL zk_TMatrix_destroy(ZkTMatrix *matrix);

/* Rows 0 to 2, row by row; row 3 becomes (0, 0, 0, 1). */
ZK_API int ZK_CALL zk_TMatrix_set(ZkTMatrix *matrix, double t00, double t01, double t02, double t03,
                                  double t10, double t11, double t12, double t13, double t20,
                                  double t21, double t22, double t23);
ZK_API int ZK_CALL zk_TMatrix_setIdentity(ZkTMatrix *matrix);

ZK_API int ZK_CALL zk_TMatrix_setOrigin(ZkTMatrix *matrix, const ZkPoint *origin);
ZK_API int ZK_CALL zk_TMatrix_getOrigin(ZkPoint *out, const ZkTMatrix *matrix);
ZK_API int ZK_CALL zk_TMatrix_setRMatrix(ZkTMatrix *matrix, const ZkRotMatrix *rotation);
ZK_API int ZK_CALL zk_TMatrix_getRMatrix(ZkRotMatrix *out, const ZkTMatrix *matrix);

/* Rotation times point plus origin; row 3 is not looked at. */
ZK_API int ZK_CALL zk_TMatrix_xform(ZkPoint *out, const ZkTMatrix *matrix, const ZkPoint *point);

/* `source` with its rotation replaced by zk_RotMatrix_rotate of the identity; what it rotated
 * before does not count, its origin stays. */
ZK_API int ZK_CALL zk_TMatrix_rotate(ZkTMatrix *matrix, const ZkTMatrix *source, double angleX,
                                     double angleY, double angleZ);

/* Moves `from` to `to`. */
ZK_API int ZK_CALL zk_TMatrix_createForTranslation(ZkTMatrix *matrix, const ZkPoint *from,
                                                   const ZkPoint *to);

/* Carries one user coordinate system onto another: origin to origin, axes to axes. A system is
 * given as for zk_RotMatrix_from3Points; one whose points lie on one line, or are not finite, has
 * the axes of the world. Systems whose edges from origin to X point and from X point to Y point
 * have the same directions (to 1e-5) only differ by a translation. 1; 0 for null and where the
 * result would not be finite. */
ZK_API int ZK_CALL zk_TMatrix_createFromUCS(ZkTMatrix *matrix, const ZkPoint *origin1,
                                            const ZkPoint *xPoint1, const ZkPoint *yPoint1,
                                            const ZkPoint *origin2, const ZkPoint *xPoint2,
                                            const ZkPoint *yPoint2);

ZK_EXTERN_C_END
#endif
