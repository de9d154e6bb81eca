/* Planes and rays: a point with a normal, and a point with a direction.
 *
 * Normals and directions may have any length. Functions return 0 for null; they do not trace.
 */
#ifndef ZK_PLANE_H
#define ZK_PLANE_H

#include "zk/geometry.h"
#include "zk/types.h"

ZK_EXTERN_C_BEGIN

/* 48 bytes: the point at 0, the vector at 24. */
typedef struct ZkPlane {
  ZkPoint point;
  ZkVector normal;
} ZkPlane;

typedef struct ZkRay {
  ZkPoint point; /* where it begins */
  ZkVector vector;
} ZkRay;

/* A new record with copies of both; null when one is null or memory is refused. */
ZK_API ZkPlane *ZK_CALL zk_Plane_create(const ZkPoint *point, const ZkVector *normal);
ZK_API ZkRay *ZK_CALL zk_Ray_create(const ZkPoint *point, const ZkVector *vector);
ZK_API int ZK_CALL zk_Plane_destroy(ZkPlane *plane);
ZK_API int ZK_CALL zk_Ray_destroy(ZkRay *ray);

ZK_API int ZK_CALL zk_Plane_set(ZkPlane *plane, const ZkPoint *point, const ZkVector *normal);
ZK_API int ZK_CALL zk_Ray_set(ZkRay *ray, const ZkPoint *point, const ZkVector *vector);

ZK_API int ZK_CALL zk_Plane_getPoint(ZkPoint *out, const ZkPlane *plane);
ZK_API int ZK_CALL zk_Ray_getPoint(ZkPoint *out, const ZkRay *ray);
ZK_API int ZK_CALL zk_Plane_getOrthoVector(ZkVector *out, const ZkPlane *plane);
ZK_API int ZK_CALL zk_Ray_getVector(ZkVector *out, const ZkRay *ray);

/* Where the line through the ray meets the plane, behind the ray's beginning as well. 0, with `out`
 * unchanged, when they are parallel (the cosine between ray and normal is at most 1e-5), a vector
 * is no longer than 1e-5, or the place is not finite. */
ZK_API int ZK_CALL zk_Plane_intersectionWithRay(ZkPoint *out, const ZkPlane *plane,
                                                const ZkRay *ray);

ZK_EXTERN_C_END
#endif
