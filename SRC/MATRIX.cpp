#include "zk/matrix.h"

#include <algorithm>
#include <functional>

#include "SRC/Matrix.h"
#include "SRC/Ntuple.h"
#include "base/Memory.h"

namespace zk {

ZkMatrix *createMatrix(int32_t rows, int32_t columns) noexcept {
  if (rows < 1 || columns < 1) return nullptr;
  // Header and elements, the header being as large as one of them.
  const std::uint64_t places = static_cast<std::uint64_t>(rows) * columns + 1;
  if (places > SIZE_MAX / sizeof(double)) return nullptr;
  auto *matrix = static_cast<ZkMatrix *>(
      base::allocateZeroed(static_cast<std::size_t>(places), sizeof(double)));
  if (matrix == nullptr) return nullptr;
  matrix->rows = rows;
  matrix->columns = columns;
  for (int32_t i = 0; i < std::min(rows, columns); ++i) matrix->at(i, i) = 1.0;
  return matrix;
}

int destroyMatrix(ZkMatrix *matrix) noexcept {
  if (matrix == nullptr) return 0;
  base::release(matrix);
  return 1;
}

namespace {

bool sameSize(const ZkMatrix *a, const ZkMatrix *b) noexcept {
  return a != nullptr && hasSize(b, a->rows, a->columns);
}

}  // namespace

int copyMatrix(ZkMatrix *destination, const ZkMatrix *source) noexcept {
  if (!sameSize(destination, source)) return 0;
  if (destination != source) {
    std::copy_n(source->elements(), source->size(), destination->elements());
  }
  return 1;
}

void setIdentity(ZkMatrix &matrix) noexcept {
  std::fill_n(matrix.elements(), matrix.size(), 0.0);
  for (int32_t i = 0; i < std::min(matrix.rows, matrix.columns); ++i) matrix.at(i, i) = 1.0;
}

namespace {

bool hasRow(const ZkMatrix *matrix, int32_t row) noexcept {
  return matrix != nullptr && row >= 0 && row < matrix->rows;
}
bool hasColumn(const ZkMatrix *matrix, int32_t column) noexcept {
  return matrix != nullptr && column >= 0 && column < matrix->columns;
}

bool isAsLongAsRow(const ZkNtuple *ntuple, const ZkMatrix *matrix) noexcept {
  return ntuple != nullptr && ntuple->count == matrix->columns;
}
bool isAsLongAsColumn(const ZkNtuple *ntuple, const ZkMatrix *matrix) noexcept {
  return ntuple != nullptr && ntuple->count == matrix->rows;
}

template <typename Operation>
int combine(ZkMatrix *out, const ZkMatrix *a, const ZkMatrix *b, Operation operation) noexcept {
  if (!sameSize(out, a) || !sameSize(a, b)) return 0;
  std::transform(a->elements(), a->elements() + a->size(), b->elements(), out->elements(),
                 operation);
  return 1;
}

void transposeInto(double *out, const ZkMatrix &in) noexcept {
  for (int32_t row = 0; row < in.rows; ++row) {
    for (int32_t column = 0; column < in.columns; ++column) *out++ = in.at(row, column);
  }
}

// Adds column after column of `a`, each times an element of `b`, so that memory is walked in order.
void multiplyInto(double *out, const ZkMatrix &a, const ZkMatrix &b) noexcept {
  for (int32_t column = 0; column < b.columns; ++column, out += a.rows) {
    std::fill_n(out, a.rows, 0.0);
    for (int32_t k = 0; k < a.columns; ++k) {
      const double factor = b.at(k, column);
      const double *from = a.column(k);
      for (int32_t row = 0; row < a.rows; ++row) out[row] += from[row] * factor;
    }
  }
}

// Has `calculate` write the elements of `out`: aside first when `out` is an operand.
template <typename Calculate>
int calculateElements(ZkMatrix &out, bool aside, Calculate calculate) noexcept {
  if (!aside) {
    calculate(out.elements());
    return 1;
  }
  double few[kTransformSize * kTransformSize];
  base::OwnedBlock<double> many;
  double *elements = few;
  if (out.size() > std::size(few)) {
    many.reset(static_cast<double *>(base::allocate(out.size() * sizeof(double))));
    elements = many.get();
    if (elements == nullptr) return 0;
  }
  calculate(elements);
  std::copy_n(elements, out.size(), out.elements());
  return 1;
}

int multiply(ZkMatrix *out, const ZkMatrix *a, const ZkMatrix *b) noexcept {
  if (a == nullptr || b == nullptr || a->columns != b->rows || !hasSize(out, a->rows, b->columns)) {
    return 0;
  }
  return calculateElements(*out, out == a || out == b, [a, b](double *elements) {
    if (isTransform(a) && isTransform(b)) {
      multiplySquare<kTransformSize>(elements, a->elements(), b->elements());
    } else {
      multiplyInto(elements, *a, *b);
    }
  });
}

}  // namespace
}  // namespace zk

using namespace zk;

ZkMatrix *ZK_CALL zk_Matrix_create(int32_t rows, int32_t columns) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Matrix_create);
  return createMatrix(rows, columns);
}

int ZK_CALL zk_Matrix_destroy(ZkMatrix *matrix) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Matrix_destroy);
  return destroyMatrix(matrix);
}

int ZK_CALL zk_Matrix_numberRows(int32_t *out, const ZkMatrix *matrix) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Matrix_numberRows);
  if (out == nullptr || matrix == nullptr) return 0;
  *out = matrix->rows;
  return 1;
}

int ZK_CALL zk_Matrix_numberColumns(int32_t *out, const ZkMatrix *matrix) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Matrix_numberColumns);
  if (out == nullptr || matrix == nullptr) return 0;
  *out = matrix->columns;
  return 1;
}

int ZK_CALL zk_Matrix_getElement(double *out, const ZkMatrix *matrix, int32_t row, int32_t column) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Matrix_getElement);
  if (out == nullptr || !hasRow(matrix, row) || !hasColumn(matrix, column)) return 0;
  *out = matrix->at(row, column);
  return 1;
}

int ZK_CALL zk_Matrix_setElement(ZkMatrix *matrix, int32_t row, int32_t column, double value) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Matrix_setElement);
  if (!hasRow(matrix, row) || !hasColumn(matrix, column)) return 0;
  matrix->at(row, column) = value;
  return 1;
}

int ZK_CALL zk_Matrix_getColumn(ZkNtuple *out, const ZkMatrix *matrix, int32_t column) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Matrix_getColumn);
  if (!hasColumn(matrix, column) || !isAsLongAsColumn(out, matrix)) return 0;
  std::copy_n(matrix->column(column), matrix->rows, out->elements());
  return 1;
}

int ZK_CALL zk_Matrix_getRow(ZkNtuple *out, const ZkMatrix *matrix, int32_t row) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Matrix_getRow);
  if (!hasRow(matrix, row) || !isAsLongAsRow(out, matrix)) return 0;
  for (int32_t column = 0; column < matrix->columns; ++column) {
    out->elements()[column] = matrix->at(row, column);
  }
  return 1;
}

int ZK_CALL zk_Matrix_setColumn(ZkMatrix *matrix, int32_t column, const ZkNtuple *values) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Matrix_setColumn);
  if (!hasColumn(matrix, column) || !isAsLongAsColumn(values, matrix)) return 0;
  std::copy_n(values->elements(), matrix->rows, matrix->column(column));
  return 1;
}

int ZK_CALL zk_Matrix_setRow(ZkMatrix *matrix, int32_t row, const ZkNtuple *values) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Matrix_setRow);
  if (!hasRow(matrix, row) || !isAsLongAsRow(values, matrix)) return 0;
  for (int32_t column = 0; column < matrix->columns; ++column) {
    matrix->at(row, column) = values->elements()[column];
  }
  return 1;
}

int ZK_CALL zk_Matrix_copy(ZkMatrix *destination, const ZkMatrix *source) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Matrix_copy);
  return copyMatrix(destination, source);
}

int ZK_CALL zk_Matrix_transpose(ZkMatrix *out, const ZkMatrix *in) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Matrix_transpose);
  if (in == nullptr || !hasSize(out, in->columns, in->rows)) return 0;
  return calculateElements(*out, out == in,
                           [in](double *elements) { transposeInto(elements, *in); });
}

int ZK_CALL zk_Matrix_multiply(ZkMatrix *out, const ZkMatrix *a, const ZkMatrix *b) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Matrix_multiply);
  return multiply(out, a, b);
}

int ZK_CALL zk_Matrix_add(ZkMatrix *out, const ZkMatrix *a, const ZkMatrix *b) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Matrix_add);
  return combine(out, a, b, std::plus<>());
}

int ZK_CALL zk_Matrix_subtract(ZkMatrix *out, const ZkMatrix *a, const ZkMatrix *b) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Matrix_subtract);
  return combine(out, a, b, std::minus<>());
}

int ZK_CALL zk_Matrix_scale(ZkMatrix *out, const ZkMatrix *in, double factor) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Matrix_scale);
  if (!copyMatrix(out, in)) return 0;
  for (std::size_t i = 0; i < out->size(); ++i) out->elements()[i] *= factor;
  return 1;
}

int ZK_CALL zk_Matrix_print(const ZkMatrix *matrix, FILE *stream) {
  ZK_TRACE_LEAVING(kMatrixTrace, zk_Matrix_print);
  if (matrix == nullptr) return 0;
  if (stream == nullptr) stream = stdout;
  for (int32_t row = 0; row < matrix->rows; ++row) {
    for (int32_t column = 0; column < matrix->columns; ++column) {
      printNumber(stream, matrix->at(row, column));
      std::fputc(' ', stream);
    }
    std::fputc('\n', stream);
  }
  std::fputc('\n', stream);
  std::fflush(stream);
  return 1;
}
