/* Quaternions: rotations as four numbers, the vector part first and the scalar last. The rotation
 * by an angle about a unit axis is (sin(angle/2) * axis, cos(angle/2)).
 *
 * The records are the callers'. A result may be one of the operands and stays as it was on failure.
 * Functions fail for null and where it is said; those that only calculate pass NaN and infinities
 * through.
 *
 * Traces under condition bit 0x10 (see diag.h).
 */
#ifndef ZK_QUATERNION_H
#define ZK_QUATERNION_H

#include "zk/geometry.h"
#include "zk/types.h"

ZK_EXTERN_C_BEGIN

/* 32 bytes: x at 0, y at 8, z at 16, w at 24. */
typedef struct ZkQuaternion {
  double x;
  double y;
  double z;
  double w; /* the scalar */
} ZkQuaternion;

ZK_API int ZK_CALL zk_Quaternion_set(ZkQuaternion *quaternion, double x, double y, double z,
                                     double w);
ZK_API int ZK_CALL zk_Quaternion_setX(ZkQuaternion *quaternion, double x);
ZK_API int ZK_CALL zk_Quaternion_setY(ZkQuaternion *quaternion, double y);
ZK_API int ZK_CALL zk_Quaternion_setZ(ZkQuaternion *quaternion, double z);
ZK_API int ZK_CALL zk_Quaternion_setScalar(ZkQuaternion *quaternion, double w);
ZK_API int ZK_CALL zk_Quaternion_setVector(ZkQuaternion *quaternion, const ZkVector *vector);

ZK_API int ZK_CALL zk_Quaternion_getX(double *out, const ZkQuaternion *quaternion);
ZK_API int ZK_CALL zk_Quaternion_getY(double *out, const ZkQuaternion *quaternion);
ZK_API int ZK_CALL zk_Quaternion_getZ(double *out, const ZkQuaternion *quaternion);
ZK_API int ZK_CALL zk_Quaternion_getScalar(double *out, const ZkQuaternion *quaternion);
ZK_API int ZK_CALL zk_Quaternion_getVector(ZkVector *out, const ZkQuaternion *quaternion);

/* The quaternion with its vector part negated. The inverse is just that: it takes a unit quaternion
 * for granted. */
ZK_API int ZK_CALL zk_Quaternion_getConjugate(ZkQuaternion *out, const ZkQuaternion *in);
ZK_API int ZK_CALL zk_Quaternion_getInverse(ZkQuaternion *out, const ZkQuaternion *in);

ZK_API int ZK_CALL zk_Quaternion_magnitude(double *out, const ZkQuaternion *quaternion);

/* `in` at magnitude 1; fails unless its magnitude is finite and greater than 1e-5. */
ZK_API int ZK_CALL zk_Quaternion_normalize(ZkQuaternion *out, const ZkQuaternion *in);

/* The product a * b, which rotates by b first. */
ZK_API int ZK_CALL zk_Quaternion_multiply(ZkQuaternion *out, const ZkQuaternion *a,
                                          const ZkQuaternion *b);

/* The rotation by `angle` about `axis`, a unit vector. The result is normalised, which does not
 * mend an axis of another length: its angle then is another one. Fails where
 * zk_Quaternion_normalize does, and for an angle that is not finite. */
ZK_API int ZK_CALL zk_Quaternion_fromRotAxisAndAngle(ZkQuaternion *quaternion, const ZkVector *axis,
                                                     double angle);

/* The rotation that turns the direction of `from` into that of `to`, about an axis perpendicular to
 * both. Opposite vectors turn by 3.1415926536 about the part of (0, 0, 1) that is perpendicular to
 * `from`, or of (1, 0, 0) where `from` is parallel to the former (zk_Vector_parallel, which goes by
 * the vector's length as well). Directions whose cosine is greater than 0.99999 (0.26 degrees)
 * count as one. Fails when a vector has no length, and when no perpendicular is found: (0, 0, 1)
 * and a long `from` may have the same direction without being parallel. */
ZK_API int ZK_CALL zk_Quaternion_fromVectors(ZkQuaternion *quaternion, const ZkVector *from,
                                             const ZkVector *to);

ZK_EXTERN_C_END
#endif
