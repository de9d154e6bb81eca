#include "zk/plane.h"

#include <cmath>

#include "SRC/Geometry.h"
#include "base/Memory.h"
#include "zk/point.h"

using namespace zk;

ZkPlane *ZK_CALL zk_Plane_create(const ZkPoint *point, const ZkVector *normal) {
  if (point == nullptr || normal == nullptr) return nullptr;
  return base::make<ZkPlane>(ZkPlane{*point, *normal}).release();
}

int ZK_CALL zk_Plane_destroy(ZkPlane *plane) {
  if (plane == nullptr) return 0;
  base::release(plane);
  return 1;
}

int ZK_CALL zk_Plane_set(ZkPlane *plane, const ZkPoint *point, const ZkVector *normal) {
  if (plane == nullptr || point == nullptr || normal == nullptr) return 0;
  *plane = {*point, *normal};
  return 1;
}

int ZK_CALL zk_Plane_getPoint(ZkPoint *out, const ZkPlane *plane) {
  if (out == nullptr || plane == nullptr) return 0;
  *out = plane->point;
  return 1;
}

int ZK_CALL zk_Plane_getOrthoVector(ZkVector *out, const ZkPlane *plane) {
  if (out == nullptr || plane == nullptr) return 0;
  *out = plane->normal;
  return 1;
}

int ZK_CALL zk_Plane_intersectionWithRay(ZkPoint *out, const ZkPlane *plane, const ZkRay *ray) {
  if (out == nullptr || plane == nullptr || ray == nullptr) return 0;
  ZkVector normal = plane->normal;
  ZkVector direction = ray->vector;
  if (!normalize(normal) || !normalize(direction)) return 0;
  const double cosine = dot(normal, direction);
  if (!(std::fabs(cosine) > kTolerance)) return 0;
  const double along = dot(normal, subtract(plane->point, ray->point)) / cosine;
  ZkPoint place;
  if (!zk_Point_translateByVector(&place, &ray->point, &direction, along)) return 0;
  *out = place;
  return 1;
}
