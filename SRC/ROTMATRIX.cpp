#include "zk/transform.h"

#include <cmath>

#include "SRC/Geometry.h"
#include "SRC/Matrix.h"

namespace zk {

Rotation loadRotation(const ZkMatrix &matrix) noexcept {
  Rotation rotation;
  for (int column = 0; column < kRotationSize; ++column) {
    const double *from = matrix.column(column);
    rotation[static_cast<std::size_t>(column)] = {from[0], from[1], from[2]};
  }
  return rotation;
}

void storeRotation(ZkMatrix &matrix, const Rotation &rotation) noexcept {
  for (int column = 0; column < kRotationSize; ++column) {
    const ZkVector &from = rotation[static_cast<std::size_t>(column)];
    double *to = matrix.column(column);
    to[0] = from.x;
    to[1] = from.y;
    to[2] = from.z;
  }
}

namespace {

Rotation aboutZ(double angle) noexcept {
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  return fromRows({c, -s, 0}, {s, c, 0}, {0, 0, 1});
}

// The sines have their signs the other way round than about X and Z. That is meant.
Rotation aboutY(double angle) noexcept {
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  return fromRows({c, 0, -s}, {0, 1, 0}, {s, 0, c});
}

Rotation aboutX(double angle) noexcept {
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  return fromRows({1, 0, 0}, {0, c, -s}, {0, s, c});
}

}  // namespace

bool rotateByAngles(Rotation &out, const Rotation &in, double angleX, double angleY,
                    double angleZ) noexcept {
  if (!isFinite({angleX, angleY, angleZ})) return false;
  out = multiply(aboutX(angleX), multiply(aboutY(angleY), multiply(aboutZ(angleZ), in)));
  return true;
}

bool from3Points(Rotation &out, const ZkPoint *origin, const ZkPoint *pointOnX,
                 const ZkPoint *pointInXY) noexcept {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_from3Points);
  if (origin == nullptr || pointOnX == nullptr || pointInXY == nullptr) return false;
  ZkVector x = subtract(*pointOnX, *origin);
  ZkPoint foot;
  if (!normalize(x) || !projectOntoLine(foot, *pointInXY, *origin, *pointOnX)) return false;
  ZkVector y = subtract(*pointInXY, foot);
  if (!normalize(y)) return false;
  const ZkVector z = cross(x, y);
  if (!isLength(length(z))) return false;
  out = {{x, y, z}};
  return true;
}

namespace {

bool hasIndex(const ZkMatrix *matrix, int32_t index) noexcept {
  return isRotation(matrix) && index >= 0 && index < kRotationSize;
}

int setRow(ZkMatrix *matrix, int32_t row, const ZkVector &values) noexcept {
  if (!hasIndex(matrix, row)) return 0;
  matrix->at(row, 0) = values.x;
  matrix->at(row, 1) = values.y;
  matrix->at(row, 2) = values.z;
  return 1;
}

int setColumn(ZkMatrix *matrix, int32_t column, const ZkVector &values) noexcept {
  if (!hasIndex(matrix, column)) return 0;
  double *to = matrix->column(column);
  to[0] = values.x;
  to[1] = values.y;
  to[2] = values.z;
  return 1;
}

int rotate(ZkVector *vector, const ZkMatrix *matrix) noexcept {
  if (vector == nullptr || !isRotation(matrix)) [[unlikely]]
    return 0;
  *vector = rotated(matrix->elements(), *vector);
  return 1;
}

[[gnu::cold, gnu::noinline]] int rotatePointTraced(ZkPoint *point, const ZkMatrix *matrix) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_rotatePoint);
  return rotate(point, matrix);
}

[[gnu::cold, gnu::noinline]] int rotateVectorTraced(ZkVector *vector, const ZkMatrix *matrix) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_rotateVector);
  return rotate(vector, matrix);
}

// The unit of the part that is perpendicular to the axis.
bool perpendicularDirection(ZkVector &direction, const ZkVector &axis, const ZkVector &vector) {
  return perpendicularPart(direction, axis, vector) && normalize(direction);
}

bool turnAboutAxis(ZkQuaternion &turn, ZkVector axis, const ZkVector &from, const ZkVector &to) {
  ZkVector u;
  ZkVector v;
  if (!perpendicularDirection(u, axis, from) || !perpendicularDirection(v, axis, to)) return false;
  const bool areOpposite = !equal(u, v) && areParallel(u, v);
  if (!areOpposite) return zk_Quaternion_fromVectors(&turn, &u, &v) != 0;
  return normalize(axis) && zk_Quaternion_fromRotAxisAndAngle(&turn, &axis, kHalfTurn) != 0;
}

}  // namespace
}  // namespace zk

using namespace zk;

ZkRotMatrix *ZK_CALL zk_RotMatrix_create(void) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_create);
  return createMatrix(kRotationSize, kRotationSize);
}

int ZK_CALL zk_RotMatrix_destroy(ZkRotMatrix *matrix) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_destroy);
  return destroyMatrix(matrix);
}

int ZK_CALL zk_RotMatrix_set(ZkRotMatrix *matrix, double r00, double r01, double r02, double r10,
                             double r11, double r12, double r20, double r21, double r22) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_set);
  if (!isRotation(matrix)) return 0;
  storeRotation(*matrix, fromRows({r00, r01, r02}, {r10, r11, r12}, {r20, r21, r22}));
  return 1;
}

int ZK_CALL zk_RotMatrix_setIdentity(ZkRotMatrix *matrix) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_setIdentity);
  if (!isRotation(matrix)) return 0;
  setIdentity(*matrix);
  return 1;
}

int ZK_CALL zk_RotMatrix_copy(ZkRotMatrix *destination, const ZkRotMatrix *source) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_copy);
  return isRotation(destination) && copyMatrix(destination, source);
}

int ZK_CALL zk_RotMatrix_setElement(ZkRotMatrix *matrix, int32_t row, int32_t column,
                                    double value) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_setElement);
  if (!hasIndex(matrix, row) || !hasIndex(matrix, column)) return 0;
  matrix->at(row, column) = value;
  return 1;
}

int ZK_CALL zk_RotMatrix_getElement(double *out, const ZkRotMatrix *matrix, int32_t row,
                                    int32_t column) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_getElement);
  if (out == nullptr || !hasIndex(matrix, row) || !hasIndex(matrix, column)) return 0;
  *out = matrix->at(row, column);
  return 1;
}

int ZK_CALL zk_RotMatrix_setRowValues(ZkRotMatrix *matrix, int32_t row, double value0,
                                      double value1, double value2) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_setRowValues);
  return setRow(matrix, row, {value0, value1, value2});
}

int ZK_CALL zk_RotMatrix_setColumnValues(ZkRotMatrix *matrix, int32_t column, double value0,
                                         double value1, double value2) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_setColumnValues);
  return setColumn(matrix, column, {value0, value1, value2});
}

int ZK_CALL zk_RotMatrix_setRow(ZkRotMatrix *matrix, int32_t row, const ZkVector *values) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_setRow);
  return values != nullptr && setRow(matrix, row, *values);
}

int ZK_CALL zk_RotMatrix_setColumn(ZkRotMatrix *matrix, int32_t column, const ZkVector *values) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_setColumn);
  return values != nullptr && setColumn(matrix, column, *values);
}

int ZK_CALL zk_RotMatrix_getRow(ZkVector *out, const ZkRotMatrix *matrix, int32_t row) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_getRow);
  if (out == nullptr || !hasIndex(matrix, row)) return 0;
  *out = {matrix->at(row, 0), matrix->at(row, 1), matrix->at(row, 2)};
  return 1;
}

int ZK_CALL zk_RotMatrix_getColumn(ZkVector *out, const ZkRotMatrix *matrix, int32_t column) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_getColumn);
  if (out == nullptr || !hasIndex(matrix, column)) return 0;
  const double *from = matrix->column(column);
  *out = {from[0], from[1], from[2]};
  return 1;
}

int ZK_CALL zk_RotMatrix_isIdentity(const ZkRotMatrix *matrix) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_isIdentity);
  if (!isRotation(matrix)) return 0;
  // Not absolute values: elements may be as far below as they like. That is meant.
  for (int32_t column = 0; column < kRotationSize; ++column) {
    for (int32_t row = 0; row < kRotationSize; ++row) {
      const double excess = row == column ? matrix->at(row, column) - 1.0 : matrix->at(row, column);
      if (!(excess < kTolerance)) return 0;
    }
  }
  return 1;
}

int ZK_CALL zk_RotMatrix_equal(const ZkRotMatrix *a, const ZkRotMatrix *b) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_equal);
  if (!isRotation(a) || !isRotation(b)) return 0;
  const Rotation left = loadRotation(*a);
  const Rotation right = loadRotation(*b);
  return equal(left[0], right[0]) && equal(left[1], right[1]) && equal(left[2], right[2]);
}

int ZK_CALL zk_RotMatrix_getInverse(ZkRotMatrix *out, const ZkRotMatrix *in) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_getInverse);
  if (!isRotation(out) || !isRotation(in)) return 0;
  storeRotation(*out, transposed(loadRotation(*in)));
  return 1;
}

int ZK_CALL zk_RotMatrix_multiply(ZkRotMatrix *out, const ZkRotMatrix *a, const ZkRotMatrix *b) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_multiply);
  if (!isRotation(out) || !isRotation(a) || !isRotation(b)) return 0;
  storeRotation(*out, multiply(loadRotation(*a), loadRotation(*b)));
  return 1;
}

int ZK_CALL zk_RotMatrix_normalize(ZkRotMatrix *out, const ZkRotMatrix *in) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_normalize);
  if (!isRotation(out) || !isRotation(in)) return 0;
  Rotation rotation = loadRotation(*in);
  if (!normalize(rotation[0]) || !normalize(rotation[1]) || !normalize(rotation[2])) return 0;
  storeRotation(*out, rotation);
  return 1;
}

int ZK_CALL zk_RotMatrix_rotate(ZkRotMatrix *out, const ZkRotMatrix *in, double angleX,
                                double angleY, double angleZ) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_rotate);
  if (!isRotation(out) || !isRotation(in)) return 0;
  Rotation rotation;
  if (!rotateByAngles(rotation, loadRotation(*in), angleX, angleY, angleZ)) return 0;
  storeRotation(*out, rotation);
  return 1;
}

int ZK_CALL zk_RotMatrix_rotatePoint(ZkPoint *point, const ZkRotMatrix *matrix) {
  if (isTraced()) [[unlikely]]
    return rotatePointTraced(point, matrix);
  return rotate(point, matrix);
}

int ZK_CALL zk_RotMatrix_rotateVector(ZkVector *vector, const ZkRotMatrix *matrix) {
  if (isTraced()) [[unlikely]]
    return rotateVectorTraced(vector, matrix);
  return rotate(vector, matrix);
}

int ZK_CALL zk_RotMatrix_fromAngle(ZkRotMatrix *matrix, double angle) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_fromAngle);
  if (!isRotation(matrix) || !std::isfinite(angle)) return 0;
  storeRotation(*matrix, aboutZ(angle));
  return 1;
}

// Traced where it is done.
int ZK_CALL zk_RotMatrix_from3Points(ZkRotMatrix *matrix, const ZkPoint *origin,
                                     const ZkPoint *pointOnX, const ZkPoint *pointInXY) {
  Rotation rotation;
  if (!from3Points(rotation, origin, pointOnX, pointInXY) || !isRotation(matrix)) return 0;
  storeRotation(*matrix, rotation);
  return 1;
}

int ZK_CALL zk_RotMatrix_fromVectorsXY(ZkRotMatrix *matrix, const ZkPoint *origin,
                                       const ZkVector *xVector, const ZkVector *yVector) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_fromVectorsXY);
  if (origin == nullptr || xVector == nullptr || yVector == nullptr) return 0;
  ZkVector x = *xVector;
  ZkVector y = *yVector;
  if (!normalize(x) || !normalize(y)) return 0;
  const ZkPoint pointOnX = add(*origin, x);
  const ZkPoint pointInXY = add(*origin, y);
  return zk_RotMatrix_from3Points(matrix, origin, &pointOnX, &pointInXY);
}

int ZK_CALL zk_RotMatrix_fromVectors(ZkRotMatrix *matrix, const ZkVector *axis,
                                     const ZkVector *from, const ZkVector *to) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_fromVectors);
  if (from == nullptr || to == nullptr || (axis != nullptr && !isFinite(*axis))) return 0;
  const bool isAboutAxis = axis != nullptr && length(*axis) > kTolerance;
  ZkQuaternion turn;
  const bool turns = isAboutAxis ? turnAboutAxis(turn, *axis, *from, *to)
                                 : zk_Quaternion_fromVectors(&turn, from, to) != 0;
  return turns && zk_RotMatrix_fromQuaternion(matrix, &turn);
}

int ZK_CALL zk_RotMatrix_fromRotAxisAndAngle(ZkRotMatrix *matrix, const ZkVector *axis,
                                             double angle) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_fromRotAxisAndAngle);
  if (axis == nullptr) return 0;
  ZkVector direction = *axis;
  ZkQuaternion turn;
  return normalize(direction) && zk_Quaternion_fromRotAxisAndAngle(&turn, &direction, angle) &&
         zk_RotMatrix_fromQuaternion(matrix, &turn);
}

int ZK_CALL zk_RotMatrix_fromQuaternion(ZkRotMatrix *matrix, const ZkQuaternion *quaternion) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_fromQuaternion);
  if (!isRotation(matrix) || quaternion == nullptr) return 0;
  const auto [x, y, z, w] = *quaternion;
  storeRotation(
      *matrix,
      fromRows({1.0 - 2.0 * (y * y + z * z), 2.0 * (x * y - w * z), 2.0 * (x * z + w * y)},
               {2.0 * (x * y + w * z), 1.0 - 2.0 * (x * x + z * z), 2.0 * (y * z - w * x)},
               {2.0 * (x * z - w * y), 2.0 * (y * z + w * x), 1.0 - 2.0 * (x * x + y * y)}));
  return 1;
}

// The two that follow return 0 in any case. That is meant.
int ZK_CALL zk_RotMatrix_fromColumnVectors(ZkRotMatrix *matrix, const ZkVector *column0,
                                           const ZkVector *column1, const ZkVector *column2) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_fromColumnVectors);
  if (isRotation(matrix) && column0 != nullptr && column1 != nullptr && column2 != nullptr) {
    storeRotation(*matrix, {{*column0, *column1, *column2}});
  }
  return 0;
}

int ZK_CALL zk_RotMatrix_fromRowVectors(ZkRotMatrix *matrix, const ZkVector *row0,
                                        const ZkVector *row1, const ZkVector *row2) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_RotMatrix_fromRowVectors);
  if (isRotation(matrix) && row0 != nullptr && row1 != nullptr && row2 != nullptr) {
    storeRotation(*matrix, fromRows(*row0, *row1, *row2));
  }
  return 0;
}
