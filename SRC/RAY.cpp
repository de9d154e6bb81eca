#include "zk/plane.h"

#include "base/Memory.h"

using namespace zk;

ZkRay *ZK_CALL zk_Ray_create(const ZkPoint *point, const ZkVector *vector) {
  if (point == nullptr || vector == nullptr) return nullptr;
  return base::make<ZkRay>(ZkRay{*point, *vector}).release();
}

int ZK_CALL zk_Ray_destroy(ZkRay *ray) {
  if (ray == nullptr) return 0;
  base::release(ray);
  return 1;
}

int ZK_CALL zk_Ray_set(ZkRay *ray, const ZkPoint *point, const ZkVector *vector) {
  if (ray == nullptr || point == nullptr || vector == nullptr) return 0;
  *ray = {*point, *vector};
  return 1;
}

int ZK_CALL zk_Ray_getPoint(ZkPoint *out, const ZkRay *ray) {
  if (out == nullptr || ray == nullptr) return 0;
  *out = ray->point;
  return 1;
}

int ZK_CALL zk_Ray_getVector(ZkVector *out, const ZkRay *ray) {
  if (out == nullptr || ray == nullptr) return 0;
  *out = ray->vector;
  return 1;
}
