#include "zk/transform.h"

#include <algorithm>
#include <cmath>

#include "SRC/Geometry.h"
#include "SRC/Matrix.h"

namespace zk {
namespace {

// The elements of a transformation, column by column.
using Transform = std::array<double, kTransformSize * kTransformSize>;

Transform makeTransform(const Rotation &r, const ZkPoint &origin) noexcept {
  return {r[0].x, r[0].y, r[0].z, 0, r[1].x,   r[1].y,   r[1].z,   0,
          r[2].x, r[2].y, r[2].z, 0, origin.x, origin.y, origin.z, 1};
}

Transform multiply(const Transform &a, const Transform &b) noexcept {
  Transform product;
  multiplySquare<kTransformSize>(product.data(), a.data(), b.data());
  return product;
}

void store(ZkMatrix &matrix, const Transform &transform) noexcept {
  std::copy(transform.begin(), transform.end(), matrix.elements());
}

bool isFinite(const Transform &transform) noexcept {
  return std::all_of(transform.begin(), transform.end(), [](double v) { return std::isfinite(v); });
}

// A user coordinate system as callers give it.
struct System {
  const ZkPoint *origin;
  const ZkPoint *xPoint;
  const ZkPoint *yPoint;

  bool isComplete() const noexcept {
    return origin != nullptr && xPoint != nullptr && yPoint != nullptr;
  }
};

bool sameDirection(ZkVector a, ZkVector b) noexcept {
  return normalize(a) && normalize(b) && equal(a, b);
}

bool sameEdges(const System &a, const System &b) noexcept {
  return sameDirection(subtract(*a.xPoint, *a.origin), subtract(*b.xPoint, *b.origin)) &&
         sameDirection(subtract(*a.yPoint, *a.xPoint), subtract(*b.yPoint, *b.xPoint));
}

Rotation axesOf(const System &system) noexcept {
  Rotation axes = kIdentity;  // stays when the points are on one line
  from3Points(axes, system.origin, system.xPoint, system.yPoint);
  return axes;
}

Transform translation(const ZkPoint &from, const ZkPoint &to) noexcept {
  return makeTransform(kIdentity, subtract(to, from));
}

Transform between(const System &from, const System &to) noexcept {
  if (sameEdges(from, to)) return translation(*from.origin, *to.origin);
  const Rotation toWorld = transposed(axesOf(from));
  const ZkPoint origin = rotated(elementsOf(toWorld), negate(*from.origin));
  return multiply(makeTransform(axesOf(to), *to.origin), makeTransform(toWorld, origin));
}

int xform(ZkPoint *out, const ZkMatrix *matrix, const ZkPoint *point) noexcept {
  if (out == nullptr || point == nullptr || !isTransform(matrix)) [[unlikely]]
    return 0;
  const double *t = matrix->elements();
  const auto [x, y, z] = *point;
  *out = {t[0] * x + t[4] * y + t[8] * z + t[12], t[1] * x + t[5] * y + t[9] * z + t[13],
          t[2] * x + t[6] * y + t[10] * z + t[14]};
  return 1;
}

[[gnu::cold, gnu::noinline]] int xformTraced(ZkPoint *out, const ZkMatrix *matrix,
                                             const ZkPoint *point) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_TMatrix_xform);
  return xform(out, matrix, point);
}

}  // namespace
}  // namespace zk

using namespace zk;

ZkTMatrix *ZK_CALL zk_TMatrix_create(void) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_TMatrix_create);
  return createMatrix(kTransformSize, kTransformSize);
}

int ZK_CALL zk_TMatrix_destroy(ZkTMatrix *matrix) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_TMatrix_destroy);
  return destroyMatrix(matrix);
}

int ZK_CALL zk_TMatrix_set(ZkTMatrix *matrix, double t00, double t01, double t02, double t03,
                           double t10, double t11, double t12, double t13, double t20, double t21,
                           double t22, double t23) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_TMatrix_set);
  if (!isTransform(matrix)) return 0;
  store(*matrix, makeTransform(fromRows({t00, t01, t02}, {t10, t11, t12}, {t20, t21, t22}),
                               {t03, t13, t23}));
  return 1;
}

int ZK_CALL zk_TMatrix_setIdentity(ZkTMatrix *matrix) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_TMatrix_setIdentity);
  if (!isTransform(matrix)) return 0;
  setIdentity(*matrix);
  return 1;
}

int ZK_CALL zk_TMatrix_setOrigin(ZkTMatrix *matrix, const ZkPoint *origin) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_TMatrix_setOrigin);
  if (!isTransform(matrix) || origin == nullptr) return 0;
  double *to = matrix->column(kRotationSize);
  to[0] = origin->x;
  to[1] = origin->y;
  to[2] = origin->z;
  return 1;
}

int ZK_CALL zk_TMatrix_getOrigin(ZkPoint *out, const ZkTMatrix *matrix) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_TMatrix_getOrigin);
  if (out == nullptr || !isTransform(matrix)) return 0;
  const double *from = matrix->column(kRotationSize);
  *out = {from[0], from[1], from[2]};
  return 1;
}

int ZK_CALL zk_TMatrix_setRMatrix(ZkTMatrix *matrix, const ZkRotMatrix *rotation) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_TMatrix_setRMatrix);
  if (!isTransform(matrix) || !isRotation(rotation)) return 0;
  storeRotation(*matrix, loadRotation(*rotation));
  return 1;
}

int ZK_CALL zk_TMatrix_getRMatrix(ZkRotMatrix *out, const ZkTMatrix *matrix) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_TMatrix_getRMatrix);
  if (!isRotation(out) || !isTransform(matrix)) return 0;
  storeRotation(*out, loadRotation(*matrix));
  return 1;
}

int ZK_CALL zk_TMatrix_xform(ZkPoint *out, const ZkTMatrix *matrix, const ZkPoint *point) {
  if (isTraced()) [[unlikely]]
    return xformTraced(out, matrix, point);
  return xform(out, matrix, point);
}

int ZK_CALL zk_TMatrix_rotate(ZkTMatrix *matrix, const ZkTMatrix *source, double angleX,
                              double angleY, double angleZ) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_TMatrix_rotate);
  Rotation rotation;
  if (!isTransform(matrix) || !isTransform(source) ||
      !rotateByAngles(rotation, kIdentity, angleX, angleY, angleZ)) {
    return 0;
  }
  copyMatrix(matrix, source);
  storeRotation(*matrix, rotation);
  return 1;
}

int ZK_CALL zk_TMatrix_createForTranslation(ZkTMatrix *matrix, const ZkPoint *from,
                                            const ZkPoint *to) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_TMatrix_createForTranslation);
  if (!isTransform(matrix) || from == nullptr || to == nullptr) return 0;
  store(*matrix, translation(*from, *to));
  return 1;
}

int ZK_CALL zk_TMatrix_createFromUCS(ZkTMatrix *matrix, const ZkPoint *origin1,
                                     const ZkPoint *xPoint1, const ZkPoint *yPoint1,
                                     const ZkPoint *origin2, const ZkPoint *xPoint2,
                                     const ZkPoint *yPoint2) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_TMatrix_createFromUCS);
  const System from = {origin1, xPoint1, yPoint1};
  const System to = {origin2, xPoint2, yPoint2};
  if (!isTransform(matrix) || !from.isComplete() || !to.isComplete()) return 0;
  const Transform transform = between(from, to);
  if (!isFinite(transform)) return 0;
  store(*matrix, transform);
  return 1;
}
