// Matrices as the geometry modules see them, and rotations by value.
//
// The order of the operations is part of each formula: results agree to the last bit on every
// platform. Sums of products begin with 0.0, which tells in the sign of a zero.
#pragma once

#include "zk/matrix.h"
#include "zk/transform.h"

#include <array>

#include "SRC/Trace.h"

// The elements follow in the same block, column by column.
struct alignas(double) ZkMatrix {
  int32_t rows;
  int32_t columns;

  double *elements() noexcept { return reinterpret_cast<double *>(this + 1); }
  const double *elements() const noexcept { return reinterpret_cast<const double *>(this + 1); }
  std::size_t size() const noexcept {
    return static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
  }

  double *column(int32_t index) noexcept {
    return elements() + static_cast<std::ptrdiff_t>(rows) * index;
  }
  const double *column(int32_t index) const noexcept {
    return elements() + static_cast<std::ptrdiff_t>(rows) * index;
  }
  double &at(int32_t row, int32_t columnIndex) noexcept { return column(columnIndex)[row]; }
  double at(int32_t row, int32_t columnIndex) const noexcept { return column(columnIndex)[row]; }
};
static_assert(sizeof(ZkMatrix) == sizeof(double));

namespace zk {

// Rotations, transformations and quaternions trace as matrices.
inline constexpr TraceFamily kMatrixTrace{ZK_DIAG_MATRIX, "SRC\\MATRIX.cpp"};

// The operations on single points are so short that keeping their arguments for a trace line would
// cost as much as they do: they ask here and trace in a function of their own.
inline bool isTraced() noexcept {
  return ZK_DiagCurrentLevel >= 3 && (ZK_DiagCurrentCondition & kMatrixTrace.conditionBit) != 0;
}

// Half a turn, as the constructions that need one know it: rounded, which is meant.
inline constexpr double kHalfTurn = 3.1415926536;

inline constexpr int kRotationSize = 3;
inline constexpr int kTransformSize = 4;

inline bool hasSize(const ZkMatrix *matrix, int32_t rows, int32_t columns) noexcept {
  return matrix != nullptr && matrix->rows == rows && matrix->columns == columns;
}
inline bool isRotation(const ZkMatrix *matrix) noexcept {
  return hasSize(matrix, kRotationSize, kRotationSize);
}
inline bool isTransform(const ZkMatrix *matrix) noexcept {
  return hasSize(matrix, kTransformSize, kTransformSize);
}

// The exported operations without traces (MATRIX.cpp).
ZkMatrix *createMatrix(int32_t rows, int32_t columns) noexcept;
int destroyMatrix(ZkMatrix *matrix) noexcept;
int copyMatrix(ZkMatrix *destination, const ZkMatrix *source) noexcept;
void setIdentity(ZkMatrix &matrix) noexcept;

// out = a * b for square matrices, column by column; `out` is none of the operands.
template <int kSize>
void multiplySquare(double *out, const double *a, const double *b) noexcept {
  for (int column = 0; column < kSize; ++column) {
    for (int row = 0; row < kSize; ++row) {
      double sum = 0.0;
      for (int k = 0; k < kSize; ++k) sum += a[k * kSize + row] * b[column * kSize + k];
      out[column * kSize + row] = sum;
    }
  }
}

// The three columns of a rotation.
using Rotation = std::array<ZkVector, 3>;
static_assert(sizeof(Rotation) == 9 * sizeof(double));

inline constexpr Rotation kIdentity = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

inline double *elementsOf(Rotation &rotation) noexcept { return &rotation[0].x; }
inline const double *elementsOf(const Rotation &rotation) noexcept { return &rotation[0].x; }

inline Rotation fromRows(const ZkVector &row0, const ZkVector &row1,
                         const ZkVector &row2) noexcept {
  return {{{row0.x, row1.x, row2.x}, {row0.y, row1.y, row2.y}, {row0.z, row1.z, row2.z}}};
}
inline Rotation transposed(const Rotation &r) noexcept { return fromRows(r[0], r[1], r[2]); }

inline Rotation multiply(const Rotation &a, const Rotation &b) noexcept {
  Rotation product;
  multiplySquare<kRotationSize>(elementsOf(product), elementsOf(a), elementsOf(b));
  return product;
}

// `r` points to nine elements, column by column.
inline ZkVector rotated(const double *r, const ZkVector &v) noexcept {
  return {0.0 + r[0] * v.x + r[3] * v.y + r[6] * v.z, 0.0 + r[1] * v.x + r[4] * v.y + r[7] * v.z,
          0.0 + r[2] * v.x + r[5] * v.y + r[8] * v.z};
}

// Between a rotation and the upper left block of a matrix of at least that size.
Rotation loadRotation(const ZkMatrix &matrix) noexcept;
void storeRotation(ZkMatrix &matrix, const Rotation &rotation) noexcept;

// X * Y * Z * in. False for an angle that is not finite.
bool rotateByAngles(Rotation &out, const Rotation &in, double angleX, double angleY,
                    double angleZ) noexcept;

// Traced as zk_RotMatrix_from3Points, whose construction it is.
bool from3Points(Rotation &out, const ZkPoint *origin, const ZkPoint *pointOnX,
                 const ZkPoint *pointInXY) noexcept;

}  // namespace zk
