#include "zk/quaternion.h"

#include <cmath>

#include "SRC/Geometry.h"
#include "SRC/Matrix.h"

namespace zk {
namespace {

ZkVector vectorOf(const ZkQuaternion &q) noexcept { return {q.x, q.y, q.z}; }

ZkQuaternion conjugate(const ZkQuaternion &q) noexcept { return {-q.x, -q.y, -q.z, q.w}; }

double magnitude(const ZkQuaternion &q) noexcept {
  return std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
}

bool normalize(ZkQuaternion &q) noexcept {
  const double m = magnitude(q);
  if (!isLength(m)) return false;
  const double factor = 1.0 / m;
  q = {q.x * factor, q.y * factor, q.z * factor, q.w * factor};
  return true;
}

// A direction perpendicular to both, or to `from` alone when they are parallel.
bool axisBetween(ZkVector &axis, const ZkVector &from, const ZkVector &u, const ZkVector &v) {
  constexpr ZkVector kX = {1, 0, 0};
  constexpr ZkVector kZ = {0, 0, 1};
  axis = cross(u, v);
  if (length(axis) < kTolerance &&
      !perpendicularPart(axis, from, areParallel(from, kZ) ? kX : kZ)) {
    return false;
  }
  return zk::normalize(axis);
}

// Near 0 and half a turn the cosine tells little about the angle.
double angleOf(double cosine) noexcept {
  constexpr double kNearOne = 0.99999;
  if (cosine > kNearOne) return 0.0;
  if (cosine < -kNearOne) return kHalfTurn;
  return std::acos(cosine);
}

}  // namespace
}  // namespace zk

using namespace zk;

int ZK_CALL zk_Quaternion_set(ZkQuaternion *quaternion, double x, double y, double z, double w) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_set);
  if (quaternion == nullptr) return 0;
  *quaternion = {x, y, z, w};
  return 1;
}

int ZK_CALL zk_Quaternion_setX(ZkQuaternion *quaternion, double x) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_setX);
  if (quaternion == nullptr) return 0;
  quaternion->x = x;
  return 1;
}

int ZK_CALL zk_Quaternion_setY(ZkQuaternion *quaternion, double y) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_setY);
  if (quaternion == nullptr) return 0;
  quaternion->y = y;
  return 1;
}

int ZK_CALL zk_Quaternion_setZ(ZkQuaternion *quaternion, double z) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_setZ);
  if (quaternion == nullptr) return 0;
  quaternion->z = z;
  return 1;
}

int ZK_CALL zk_Quaternion_setScalar(ZkQuaternion *quaternion, double w) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_setScalar);
  if (quaternion == nullptr) return 0;
  quaternion->w = w;
  return 1;
}

int ZK_CALL zk_Quaternion_setVector(ZkQuaternion *quaternion, const ZkVector *vector) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_setVector);
  if (quaternion == nullptr || vector == nullptr) return 0;
  *quaternion = {vector->x, vector->y, vector->z, quaternion->w};
  return 1;
}

int ZK_CALL zk_Quaternion_getX(double *out, const ZkQuaternion *quaternion) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_getX);
  if (out == nullptr || quaternion == nullptr) return 0;
  *out = quaternion->x;
  return 1;
}

int ZK_CALL zk_Quaternion_getY(double *out, const ZkQuaternion *quaternion) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_getY);
  if (out == nullptr || quaternion == nullptr) return 0;
  *out = quaternion->y;
  return 1;
}

int ZK_CALL zk_Quaternion_getZ(double *out, const ZkQuaternion *quaternion) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_getZ);
  if (out == nullptr || quaternion == nullptr) return 0;
  *out = quaternion->z;
  return 1;
}

int ZK_CALL zk_Quaternion_getScalar(double *out, const ZkQuaternion *quaternion) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_getScalar);
  if (out == nullptr || quaternion == nullptr) return 0;
  *out = quaternion->w;
  return 1;
}

int ZK_CALL zk_Quaternion_getVector(ZkVector *out, const ZkQuaternion *quaternion) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_getVector);
  if (out == nullptr || quaternion == nullptr) return 0;
  *out = vectorOf(*quaternion);
  return 1;
}

int ZK_CALL zk_Quaternion_getConjugate(ZkQuaternion *out, const ZkQuaternion *in) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_getConjugate);
  if (out == nullptr || in == nullptr) return 0;
  *out = conjugate(*in);
  return 1;
}

int ZK_CALL zk_Quaternion_getInverse(ZkQuaternion *out, const ZkQuaternion *in) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_getInverse);
  if (out == nullptr || in == nullptr) return 0;
  *out = conjugate(*in);
  return 1;
}

int ZK_CALL zk_Quaternion_magnitude(double *out, const ZkQuaternion *quaternion) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_magnitude);
  if (out == nullptr || quaternion == nullptr) return 0;
  *out = magnitude(*quaternion);
  return 1;
}

int ZK_CALL zk_Quaternion_normalize(ZkQuaternion *out, const ZkQuaternion *in) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_normalize);
  if (out == nullptr || in == nullptr) return 0;
  ZkQuaternion q = *in;
  if (!normalize(q)) return 0;
  *out = q;
  return 1;
}

int ZK_CALL zk_Quaternion_multiply(ZkQuaternion *out, const ZkQuaternion *a,
                                   const ZkQuaternion *b) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_multiply);
  if (out == nullptr || a == nullptr || b == nullptr) return 0;
  const ZkVector va = vectorOf(*a);
  const ZkVector vb = vectorOf(*b);
  const ZkVector v = add(add(scale(va, b->w), scale(vb, a->w)), cross(va, vb));
  *out = {v.x, v.y, v.z, a->w * b->w - dot(va, vb)};
  return 1;
}

int ZK_CALL zk_Quaternion_fromRotAxisAndAngle(ZkQuaternion *quaternion, const ZkVector *axis,
                                              double angle) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_fromRotAxisAndAngle);
  if (quaternion == nullptr || axis == nullptr) return 0;
  const ZkVector v = scale(*axis, std::sin(angle / 2.0));
  ZkQuaternion q = {v.x, v.y, v.z, std::cos(angle / 2.0)};
  if (!normalize(q)) return 0;
  *quaternion = q;
  return 1;
}

int ZK_CALL zk_Quaternion_fromVectors(ZkQuaternion *quaternion, const ZkVector *from,
                                      const ZkVector *to) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Quaternion_fromVectors);
  if (quaternion == nullptr || from == nullptr || to == nullptr) return 0;
  ZkVector u = *from;
  ZkVector v = *to;
  ZkVector axis;
  if (!normalize(u) || !normalize(v) || !axisBetween(axis, *from, u, v)) return 0;
  return zk_Quaternion_fromRotAxisAndAngle(quaternion, &axis, angleOf(dot(u, v)));
}
