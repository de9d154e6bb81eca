// N-tuples, matrices, rotations, transformations and quaternions.
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "zk_baselib.h"

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kPi = 3.141592653589793;
constexpr double kRoundedPi = 3.1415926536;
constexpr double kClose = 1e-9;  // what rounding may do to numbers of the size of 1 to 100

// ---- Values of the tests: numbers row by row

using Numbers = std::vector<double>;

struct Destroyer {
  void operator()(ZkMatrix *matrix) const { zk_Matrix_destroy(matrix); }
  void operator()(ZkNtuple *ntuple) const { zk_Ntuple_destroy(ntuple); }
};
using Matrix = std::unique_ptr<ZkMatrix, Destroyer>;
using Ntuple = std::unique_ptr<ZkNtuple, Destroyer>;

Matrix makeMatrix(int32_t rows, int32_t columns, const Numbers &numbers = {}) {
  Matrix matrix(zk_Matrix_create(rows, columns));
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const auto place = static_cast<int32_t>(i);
    EXPECT_EQ(zk_Matrix_setElement(matrix.get(), place / columns, place % columns, numbers[i]), 1);
  }
  return matrix;
}

Numbers numbersOf(const ZkMatrix *matrix) {
  int32_t rows = 0;
  int32_t columns = 0;
  EXPECT_EQ(zk_Matrix_numberRows(&rows, matrix), 1);
  EXPECT_EQ(zk_Matrix_numberColumns(&columns, matrix), 1);
  Numbers numbers;
  for (int32_t row = 0; row < rows; ++row) {
    for (int32_t column = 0; column < columns; ++column) {
      numbers.push_back(kNan);
      EXPECT_EQ(zk_Matrix_getElement(&numbers.back(), matrix, row, column), 1);
    }
  }
  return numbers;
}
Numbers numbersOf(const Matrix &matrix) { return numbersOf(matrix.get()); }

Ntuple makeNtuple(const Numbers &numbers) {
  Ntuple ntuple(zk_Ntuple_create(static_cast<int32_t>(numbers.size())));
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    EXPECT_EQ(zk_Ntuple_setElement(ntuple.get(), static_cast<int32_t>(i), numbers[i]), 1);
  }
  return ntuple;
}

Numbers numbersOf(const Ntuple &ntuple) {
  Numbers numbers;
  double number = 0;
  for (int32_t i = 0; zk_Ntuple_getElement(&number, ntuple.get(), i) == 1; ++i) {
    numbers.push_back(number);
  }
  return numbers;
}

Numbers numbersOf(const ZkVector &v) { return {v.x, v.y, v.z}; }
Numbers numbersOf(const ZkQuaternion &q) { return {q.x, q.y, q.z, q.w}; }

void expectNear(const Numbers &actual, const Numbers &expected, double tolerance = kClose) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < actual.size(); ++i) {
    EXPECT_NEAR(actual[i], expected[i], tolerance) << "number " << i;
  }
}

ZkVector rotated(const Matrix &rotation, ZkVector v) {
  EXPECT_EQ(zk_RotMatrix_rotateVector(&v, rotation.get()), 1);
  return v;
}

ZkPoint transformed(const Matrix &transform, ZkPoint p) {
  EXPECT_EQ(zk_TMatrix_xform(&p, transform.get(), &p), 1);
  return p;
}

ZkVector plus(const ZkVector &a, const ZkVector &b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
ZkVector times(const ZkVector &v, double factor) {
  return {v.x * factor, v.y * factor, v.z * factor};
}
ZkVector minus(const ZkVector &a, const ZkVector &b) { return plus(a, times(b, -1)); }
double dot(const ZkVector &a, const ZkVector &b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
ZkVector cross(const ZkVector &a, const ZkVector &b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
ZkVector unit(const ZkVector &v) { return times(v, 1 / std::sqrt(dot(v, v))); }
ZkVector perpendicular(const ZkVector &v, const ZkVector &axis) {
  return minus(v, times(axis, dot(v, axis) / dot(axis, axis)));
}

class Random {
 public:
  double number(double limit = 10) {
    return std::uniform_real_distribution<double>(-limit, limit)(engine_);
  }
  int32_t count(int32_t highest) {
    return std::uniform_int_distribution<int32_t>(1, highest)(engine_);
  }
  ZkVector vector(double limit = 10) { return {number(limit), number(limit), number(limit)}; }
  Numbers numbers(int32_t count) {
    Numbers numbers(static_cast<std::size_t>(count));
    for (double &value : numbers) value = number();
    return numbers;
  }

 private:
  std::mt19937 engine_{20240917};
};
constexpr int kRounds = 1000;

std::string printed(const std::function<int(FILE *)> &print) {
  FILE *stream = std::tmpfile();
  EXPECT_EQ(print(stream), 1);
  std::rewind(stream);
  std::string text(2000, '\0');
  text.resize(std::fread(text.data(), 1, text.size(), stream));
  std::fclose(stream);
  return text;
}

// ---- N-tuples

TEST(Ntuple, ElementsAndCounts) {
  const Ntuple ntuple(zk_Ntuple_create(3));
  EXPECT_EQ(numbersOf(ntuple), (Numbers{0, 0, 0}));
  double untouched = 7;
  for (const int32_t index : {3, -1, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(zk_Ntuple_getElement(&untouched, ntuple.get(), index), 0);
    EXPECT_EQ(zk_Ntuple_setElement(ntuple.get(), index, 1), 0);
  }
  EXPECT_EQ(untouched, 7);
  EXPECT_EQ(zk_Ntuple_create(-1), nullptr);
  EXPECT_EQ(numbersOf(Ntuple(zk_Ntuple_create(0))), Numbers{});
  const ZkVector vector{1, 2, 3};
  EXPECT_EQ(numbersOf(Ntuple(zk_Ntuple_fromVector(&vector))), (Numbers{1, 2, 3}));
}

TEST(Ntuple, Arithmetic) {
  const Ntuple a = makeNtuple({1, 2, 3});
  const Ntuple b = makeNtuple({10, 20, 40});
  const Ntuple out = makeNtuple({0, 0, 0});
  EXPECT_EQ(zk_Ntuple_add(out.get(), a.get(), b.get()), 1);
  EXPECT_EQ(numbersOf(out), (Numbers{11, 22, 43}));
  EXPECT_EQ(zk_Ntuple_subtract(out.get(), a.get(), b.get()), 1);
  EXPECT_EQ(numbersOf(out), (Numbers{-9, -18, -37}));
  EXPECT_EQ(zk_Ntuple_subtract(b.get(), b.get(), a.get()), 1);  // onto an operand
  EXPECT_EQ(numbersOf(b), (Numbers{9, 18, 37}));
  EXPECT_EQ(zk_Ntuple_scale(b.get(), -0.5), 1);
  EXPECT_EQ(numbersOf(b), (Numbers{-4.5, -9, -18.5}));
  double product = 0;
  EXPECT_EQ(zk_Ntuple_dotProduct(&product, a.get(), b.get()), 1);
  EXPECT_EQ(product, -78);
  EXPECT_EQ(zk_Ntuple_copy(out.get(), a.get()), 1);
  EXPECT_EQ(numbersOf(out), numbersOf(a));
  // The sum begins with 0.0, which swallows the sign of a zero.
  EXPECT_EQ(zk_Ntuple_dotProduct(&product, makeNtuple({-0.0}).get(), makeNtuple({1}).get()), 1);
  EXPECT_FALSE(std::signbit(product));
}

TEST(Ntuple, CountsThatDifferChangeNothing) {
  const Ntuple three = makeNtuple({1, 2, 3});
  const Ntuple four = makeNtuple({4, 5, 6, 7});
  double product = 9;
  EXPECT_EQ(zk_Ntuple_copy(four.get(), three.get()), 0);
  EXPECT_EQ(zk_Ntuple_copy(three.get(), four.get()), 0);
  EXPECT_EQ(zk_Ntuple_add(four.get(), three.get(), three.get()), 0);
  EXPECT_EQ(zk_Ntuple_add(three.get(), four.get(), three.get()), 0);
  EXPECT_EQ(zk_Ntuple_subtract(three.get(), three.get(), four.get()), 0);
  EXPECT_EQ(zk_Ntuple_dotProduct(&product, three.get(), four.get()), 0);
  EXPECT_EQ(product, 9);
  EXPECT_EQ(numbersOf(three), (Numbers{1, 2, 3}));
  EXPECT_EQ(numbersOf(four), (Numbers{4, 5, 6, 7}));
}

TEST(Matrix, PrintsWithAPointInEveryLocale) {
  const Ntuple ntuple = makeNtuple({1.5, -2.0000005, 1e15});
  const Matrix matrix = makeMatrix(2, 3, {1, 0.5, -3, 1e-7, -0.25, 123456.789});
  for (const char *locale : {"C", "de_DE.UTF-8", "German"}) {
    std::setlocale(LC_ALL, locale);
    EXPECT_EQ(printed([&](FILE *stream) { return zk_Ntuple_print(ntuple.get(), stream); }),
              "1.500000, -2.000001, 1000000000000000.000000\n");
    EXPECT_EQ(printed([&](FILE *stream) { return zk_Matrix_print(matrix.get(), stream); }),
              "1.000000 0.500000 -3.000000 \n0.000000 -0.250000 123456.789000 \n\n");
  }
  std::setlocale(LC_ALL, "C");
  const Ntuple longest = makeNtuple({-std::numeric_limits<double>::max()});
  EXPECT_EQ(printed([&](FILE *stream) { return zk_Ntuple_print(longest.get(), stream); }).size(),
            318u);
  testing::internal::CaptureStdout();
  zk_Ntuple_print(makeNtuple({}).get(), nullptr);
  zk_Matrix_print(makeMatrix(1, 1).get(), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n1.000000 \n\n");
}

// ---- Matrices

TEST(Matrix, IsMadeWithOnesOnItsDiagonal) {
  EXPECT_EQ(numbersOf(makeMatrix(3, 2)), (Numbers{1, 0, 0, 1, 0, 0}));
  EXPECT_EQ(numbersOf(makeMatrix(2, 3)), (Numbers{1, 0, 0, 0, 1, 0}));
  const struct {
    int32_t rows, columns;
  } sizes[] = {{0, 1}, {1, 0}, {-1, 3}, {3, INT32_MIN}, {INT32_MAX, INT32_MAX}};
  for (const auto &size : sizes) EXPECT_EQ(zk_Matrix_create(size.rows, size.columns), nullptr);
}

TEST(Matrix, ElementsRowsAndColumns) {
  const Matrix matrix = makeMatrix(2, 3, {1, 2, 3, 4, 5, 6});
  const Ntuple two = makeNtuple({0, 0});
  const Ntuple three = makeNtuple({0, 0, 0});
  EXPECT_EQ(zk_Matrix_getColumn(two.get(), matrix.get(), 2), 1);
  EXPECT_EQ(numbersOf(two), (Numbers{3, 6}));
  EXPECT_EQ(zk_Matrix_getRow(three.get(), matrix.get(), 1), 1);
  EXPECT_EQ(numbersOf(three), (Numbers{4, 5, 6}));
  EXPECT_EQ(zk_Matrix_setRow(matrix.get(), 0, three.get()), 1);
  EXPECT_EQ(zk_Matrix_setColumn(matrix.get(), 1, two.get()), 1);
  const Numbers after = {4, 3, 6, 4, 6, 6};
  EXPECT_EQ(numbersOf(matrix), after);

  double untouched = 7;
  for (const auto &[row, column] : {std::pair(2, 0), {-1, 0}, {0, 3}, {0, -1}}) {
    EXPECT_EQ(zk_Matrix_getElement(&untouched, matrix.get(), row, column), 0);
    EXPECT_EQ(zk_Matrix_setElement(matrix.get(), row, column, 7), 0);
  }
  EXPECT_EQ(untouched, 7);
  for (const int32_t index : {-1, 3}) {
    EXPECT_EQ(zk_Matrix_getColumn(two.get(), matrix.get(), index), 0);
    EXPECT_EQ(zk_Matrix_setColumn(matrix.get(), index, two.get()), 0);
    EXPECT_EQ(zk_Matrix_getRow(three.get(), matrix.get(), index), 0);
    EXPECT_EQ(zk_Matrix_setRow(matrix.get(), index, three.get()), 0);
  }
  EXPECT_EQ(zk_Matrix_getColumn(three.get(), matrix.get(), 0), 0);
  EXPECT_EQ(zk_Matrix_setColumn(matrix.get(), 0, three.get()), 0);
  EXPECT_EQ(zk_Matrix_getRow(two.get(), matrix.get(), 0), 0);
  EXPECT_EQ(zk_Matrix_setRow(matrix.get(), 0, two.get()), 0);
  EXPECT_EQ(numbersOf(matrix), after);
  EXPECT_EQ(numbersOf(two), (Numbers{3, 6}));
}

Numbers productOf(const Numbers &a, const Numbers &b, int32_t rows, int32_t inner,
                  int32_t columns) {
  Numbers product;
  for (int32_t row = 0; row < rows; ++row) {
    for (int32_t column = 0; column < columns; ++column) {
      double sum = 0.0;
      for (int32_t k = 0; k < inner; ++k) {
        sum += a[static_cast<std::size_t>(row * inner + k)] *
               b[static_cast<std::size_t>(k * columns + column)];
      }
      product.push_back(sum);
    }
  }
  return product;
}

// Compared to the last bit, results in operands included.
TEST(Matrix, ArithmeticOfEverySize) {
  Random random;
  for (int round = 0; round < kRounds; ++round) {
    const int32_t m = random.count(6);
    const int32_t n = random.count(6);
    const int32_t k = random.count(6);
    const Numbers left = random.numbers(m * n);
    const Numbers right = random.numbers(n * k);
    const Matrix a = makeMatrix(m, n, left);
    const Matrix b = makeMatrix(n, k, right);
    const Matrix product = makeMatrix(m, k);
    EXPECT_EQ(zk_Matrix_multiply(product.get(), a.get(), b.get()), 1);
    EXPECT_EQ(numbersOf(product), productOf(left, right, m, n, k));

    const Matrix transpose = makeMatrix(n, m);
    EXPECT_EQ(zk_Matrix_transpose(transpose.get(), a.get()), 1);
    const Numbers turned = numbersOf(transpose);
    for (int32_t i = 0; i < m * n; ++i) {
      const auto from = static_cast<std::size_t>(i);
      EXPECT_EQ(turned[static_cast<std::size_t>(i % n * m + i / n)], left[from]);
    }

    const Numbers square = random.numbers(n * n);
    const Matrix c = makeMatrix(n, n, square);
    EXPECT_EQ(zk_Matrix_multiply(a.get(), a.get(), c.get()), 1);
    EXPECT_EQ(numbersOf(a), productOf(left, square, m, n, n));
    EXPECT_EQ(zk_Matrix_multiply(b.get(), c.get(), b.get()), 1);
    EXPECT_EQ(numbersOf(b), productOf(square, right, n, n, k));
    EXPECT_EQ(zk_Matrix_multiply(c.get(), c.get(), c.get()), 1);
    EXPECT_EQ(numbersOf(c), productOf(square, square, n, n, n));
    const Matrix d = makeMatrix(n, n, square);
    EXPECT_EQ(zk_Matrix_transpose(c.get(), d.get()), 1);
    EXPECT_EQ(zk_Matrix_transpose(d.get(), d.get()), 1);
    EXPECT_EQ(numbersOf(d), numbersOf(c));
  }
}

TEST(Matrix, AddsSubtractsScalesAndCopies) {
  const Matrix a = makeMatrix(2, 2, {1, 2, 3, 4});
  const Matrix b = makeMatrix(2, 2, {10, 20, 30, 50});
  const Matrix out = makeMatrix(2, 2);
  EXPECT_EQ(zk_Matrix_add(out.get(), a.get(), b.get()), 1);
  EXPECT_EQ(numbersOf(out), (Numbers{11, 22, 33, 54}));
  EXPECT_EQ(zk_Matrix_subtract(b.get(), a.get(), b.get()), 1);
  EXPECT_EQ(numbersOf(b), (Numbers{-9, -18, -27, -46}));
  EXPECT_EQ(zk_Matrix_scale(out.get(), a.get(), -2), 1);
  EXPECT_EQ(numbersOf(out), (Numbers{-2, -4, -6, -8}));
  EXPECT_EQ(zk_Matrix_scale(out.get(), out.get(), 0.5), 1);
  EXPECT_EQ(numbersOf(out), (Numbers{-1, -2, -3, -4}));
  EXPECT_EQ(zk_Matrix_copy(out.get(), a.get()), 1);
  EXPECT_EQ(numbersOf(out), numbersOf(a));
}

TEST(Matrix, SizesThatDoNotGoTogetherChangeNothing) {
  using Binary = int(ZK_CALL *)(ZkMatrix *, const ZkMatrix *, const ZkMatrix *);
  using Unary = int(ZK_CALL *)(ZkMatrix *, const ZkMatrix *);
  struct Size {
    int32_t rows, columns;
  };
  const Unary scale = [](ZkMatrix *out, const ZkMatrix *in) { return zk_Matrix_scale(out, in, 2); };
  const struct {
    Unary unary;
    Binary binary;
    Size out, a, b;
  } cases[] = {
      {nullptr, zk_Matrix_multiply, {2, 2}, {2, 3}, {2, 2}},
      {nullptr, zk_Matrix_multiply, {2, 3}, {2, 3}, {3, 2}},
      {nullptr, zk_Matrix_multiply, {3, 2}, {2, 3}, {3, 2}},
      {nullptr, zk_Matrix_add, {2, 3}, {2, 3}, {2, 2}},
      {nullptr, zk_Matrix_add, {2, 2}, {2, 3}, {2, 3}},
      {nullptr, zk_Matrix_subtract, {2, 3}, {3, 2}, {2, 3}},
      {zk_Matrix_copy, nullptr, {2, 3}, {2, 2}, {}},
      {zk_Matrix_copy, nullptr, {3, 3}, {2, 3}, {}},
      {zk_Matrix_transpose, nullptr, {2, 3}, {2, 3}, {}},
      {scale, nullptr, {2, 3}, {3, 3}, {}},
      // What is for rotations and transformations takes nothing else.
      {zk_RotMatrix_copy, nullptr, {4, 4}, {4, 4}, {}},
      {zk_RotMatrix_getInverse, nullptr, {3, 3}, {4, 4}, {}},
      {zk_RotMatrix_normalize, nullptr, {4, 3}, {3, 3}, {}},
      {nullptr, zk_RotMatrix_multiply, {3, 3}, {3, 3}, {4, 4}},
      {zk_TMatrix_getRMatrix, nullptr, {3, 3}, {3, 3}, {}},
      {zk_TMatrix_setRMatrix, nullptr, {4, 4}, {4, 4}, {}},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << "case " << &c - cases);
    const Matrix out = makeMatrix(c.out.rows, c.out.columns);
    const Matrix a = makeMatrix(c.a.rows, c.a.columns, Numbers(1, 5.0));
    const Numbers before = numbersOf(out);
    if (c.unary != nullptr) {
      EXPECT_EQ(c.unary(out.get(), a.get()), 0);
    } else {
      const Matrix b = makeMatrix(c.b.rows, c.b.columns, Numbers(1, 6.0));
      EXPECT_EQ(c.binary(out.get(), a.get(), b.get()), 0);
    }
    EXPECT_EQ(numbersOf(out), before);
  }
}

// ---- Rotations

const Numbers kSquare = {1, 2, 3, 4, 5, 6, 7, 8, 10};

Matrix makeRotation(const Numbers &numbers = {}) { return makeMatrix(3, 3, numbers); }

TEST(RotMatrix, ElementsRowsAndColumns) {
  const Matrix matrix(zk_RotMatrix_create());
  EXPECT_EQ(zk_RotMatrix_set(matrix.get(), 1, 2, 3, 4, 5, 6, 7, 8, 10), 1);
  EXPECT_EQ(numbersOf(matrix), kSquare);
  const ZkVector vector{-1, -2, -3};
  ZkVector got{0, 0, 0};
  double element = 0;
  EXPECT_EQ(zk_RotMatrix_setRow(matrix.get(), 1, &vector), 1);
  EXPECT_EQ(zk_RotMatrix_setColumn(matrix.get(), 2, &vector), 1);
  EXPECT_EQ(zk_RotMatrix_setElement(matrix.get(), 2, 0, 70), 1);
  EXPECT_EQ(zk_RotMatrix_getElement(&element, matrix.get(), 0, 1), 1);
  EXPECT_EQ(element, 2);
  const Numbers after = {1, 2, -1, -1, -2, -2, 70, 8, -3};
  EXPECT_EQ(numbersOf(matrix), after);
  EXPECT_EQ(zk_RotMatrix_getRow(&got, matrix.get(), 2), 1);
  EXPECT_EQ(numbersOf(got), (Numbers{70, 8, -3}));
  EXPECT_EQ(zk_RotMatrix_getColumn(&got, matrix.get(), 0), 1);
  EXPECT_EQ(numbersOf(got), (Numbers{1, -1, 70}));
  for (const int32_t bad : {-1, 3, INT32_MAX}) {
    EXPECT_EQ(zk_RotMatrix_setElement(matrix.get(), bad, 0, 9), 0);
    EXPECT_EQ(zk_RotMatrix_setElement(matrix.get(), 0, bad, 9), 0);
    EXPECT_EQ(zk_RotMatrix_getElement(&element, matrix.get(), bad, 0), 0);
    EXPECT_EQ(zk_RotMatrix_getElement(&element, matrix.get(), 0, bad), 0);
    EXPECT_EQ(zk_RotMatrix_setRow(matrix.get(), bad, &vector), 0);
    EXPECT_EQ(zk_RotMatrix_setColumn(matrix.get(), bad, &vector), 0);
    EXPECT_EQ(zk_RotMatrix_setRowValues(matrix.get(), bad, 1, 2, 3), 0);
    EXPECT_EQ(zk_RotMatrix_setColumnValues(matrix.get(), bad, 1, 2, 3), 0);
    EXPECT_EQ(zk_RotMatrix_getRow(&got, matrix.get(), bad), 0);
    EXPECT_EQ(zk_RotMatrix_getColumn(&got, matrix.get(), bad), 0);
  }
  EXPECT_EQ(numbersOf(matrix), after);
  EXPECT_EQ(zk_RotMatrix_setRowValues(matrix.get(), 0, 7, 8, 9), 1);
  EXPECT_EQ(zk_RotMatrix_setColumnValues(matrix.get(), 1, 4, 5, 6), 1);
  EXPECT_EQ(numbersOf(matrix), (Numbers{7, 4, 9, -1, 5, -2, 70, 6, -3}));
  EXPECT_EQ(zk_RotMatrix_setIdentity(matrix.get()), 1);
  EXPECT_EQ(numbersOf(matrix), numbersOf(makeMatrix(3, 3)));
}

// Both write and return 0 all the same.
TEST(RotMatrix, FromVectorsOfItsColumnsOrRowsReturnsZero) {
  const Matrix matrix = makeRotation();
  const ZkVector a{1, 2, 3};
  const ZkVector b{4, 5, 6};
  const ZkVector c{7, 8, 10};
  EXPECT_EQ(zk_RotMatrix_fromRowVectors(matrix.get(), &a, &b, &c), 0);
  EXPECT_EQ(numbersOf(matrix), kSquare);
  EXPECT_EQ(zk_RotMatrix_fromColumnVectors(matrix.get(), &a, &b, &c), 0);
  EXPECT_EQ(numbersOf(matrix), (Numbers{1, 4, 7, 2, 5, 8, 3, 6, 10}));
  EXPECT_EQ(zk_RotMatrix_fromRowVectors(matrix.get(), &a, &b, nullptr), 0);
  EXPECT_EQ(numbersOf(matrix), (Numbers{1, 4, 7, 2, 5, 8, 3, 6, 10}));
}

TEST(RotMatrix, IdentityTestIsOneSided) {
  const struct {
    Numbers numbers;
    int expected;
  } cases[] = {
      {{1, 0, 0, 0, 1, 0, 0, 0, 1}, 1},
      {Numbers(9, -5.0), 1},
      {{1, 0.9e-5, 0, 0, 1.000009, 0, 0, 0, 1}, 1},
      {{1, 1.1e-5, 0, 0, 1, 0, 0, 0, 1}, 0},
      {{1, 0, 0, 0, 1, 0, 0, 0, 1.00002}, 0},
      {{1, 0, 0, 0, 1, 0, kNan, 0, 1}, 0},
      {{-kInfinity, 0, 0, 0, 1, 0, 0, 0, 1}, 1},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(zk_RotMatrix_isIdentity(makeRotation(c.numbers).get()), c.expected)
        << "case " << &c - cases;
  }
  EXPECT_EQ(zk_RotMatrix_isIdentity(makeMatrix(4, 4).get()), 0);
}

TEST(RotMatrix, EqualWithinTheTolerance) {
  const Matrix matrix = makeRotation(kSquare);
  for (const auto &[change, expected] :
       {std::pair(0.9e-5, 1), {-0.9e-5, 1}, {1.1e-5, 0}, {-1.1e-5, 0}, {kNan, 0}}) {
    for (std::size_t i = 0; i < kSquare.size(); ++i) {
      Numbers changed = kSquare;
      changed[i] += change;
      EXPECT_EQ(zk_RotMatrix_equal(matrix.get(), makeRotation(changed).get()), expected);
    }
  }
}

// Where the quarter turns take the axes. The one about Y goes the other way round.
TEST(RotMatrix, TurnsOfTheAxes) {
  const double quarter = kPi / 2;
  const struct {
    double angleX, angleY, angleZ;
    ZkVector from, to;
  } cases[] = {
      {0, 0, quarter, {1, 0, 0}, {0, 1, 0}},        {0, 0, quarter, {0, 1, 0}, {-1, 0, 0}},
      {quarter, 0, 0, {0, 1, 0}, {0, 0, 1}},        {quarter, 0, 0, {0, 0, 1}, {0, -1, 0}},
      {0, quarter, 0, {1, 0, 0}, {0, 0, 1}},        {0, quarter, 0, {0, 0, 1}, {-1, 0, 0}},
      {0, quarter, quarter, {0, 1, 0}, {0, 0, -1}},  // Z first, then Y
      {quarter, 0, quarter, {1, 0, 0}, {0, 0, 1}},   // Z first, then X
      {quarter, quarter, 0, {1, 0, 0}, {0, -1, 0}},  // Y first, then X
  };
  const Matrix out = makeRotation();
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << "case " << &c - cases);
    EXPECT_EQ(zk_RotMatrix_rotate(out.get(), makeRotation().get(), c.angleX, c.angleY, c.angleZ),
              1);
    expectNear(numbersOf(rotated(out, c.from)), numbersOf(c.to));
  }
  EXPECT_EQ(zk_RotMatrix_fromAngle(out.get(), quarter), 1);
  expectNear(numbersOf(rotated(out, {1, 0, 0})), {0, 1, 0});

  // What was rotated before is applied first, and the result may be the operand.
  Random random;
  const Matrix before = makeRotation(random.numbers(9));
  const Matrix turn = makeRotation();
  EXPECT_EQ(zk_RotMatrix_rotate(turn.get(), turn.get(), 0.3, -0.4, 2), 1);
  EXPECT_EQ(zk_RotMatrix_multiply(turn.get(), turn.get(), before.get()), 1);
  EXPECT_EQ(zk_RotMatrix_rotate(before.get(), before.get(), 0.3, -0.4, 2), 1);
  expectNear(numbersOf(before), numbersOf(turn));
}

// The rotation of a point is that of a one-column matrix, to the sign of a zero.
TEST(RotMatrix, RotatesAsMatricesMultiply) {
  for (const double zero : numbersOf(rotated(makeRotation(Numbers(9, 1.0)), {-0.0, -0.0, -0.0}))) {
    EXPECT_FALSE(std::signbit(zero));
  }
  Random random;
  for (int round = 0; round < kRounds; ++round) {
    const Numbers r = random.numbers(9);
    const ZkPoint p = random.vector();
    ZkPoint point = p;
    const Matrix rotation = makeRotation(r);
    EXPECT_EQ(zk_RotMatrix_rotatePoint(&point, rotation.get()), 1);
    EXPECT_EQ(numbersOf(point), productOf(r, numbersOf(p), 3, 3, 1));
    EXPECT_EQ(numbersOf(rotated(rotation, p)), numbersOf(point));

    const Matrix other = makeRotation(random.numbers(9));
    const Matrix product = makeRotation();
    EXPECT_EQ(zk_RotMatrix_multiply(product.get(), rotation.get(), other.get()), 1);
    EXPECT_EQ(numbersOf(product), productOf(r, numbersOf(other), 3, 3, 3));
    EXPECT_EQ(zk_RotMatrix_multiply(other.get(), rotation.get(), other.get()), 1);
    EXPECT_EQ(numbersOf(other), numbersOf(product));
  }
}

TEST(RotMatrix, NormalizeKeepsTheDirectionsOfTheColumns) {
  const Matrix matrix = makeRotation({3, 0, 1, 0, 2, 1, 4, 0, 0});
  EXPECT_EQ(zk_RotMatrix_normalize(matrix.get(), matrix.get()), 1);
  const double half = std::sqrt(0.5);
  expectNear(numbersOf(matrix), {0.6, 0, half, 0, 1, half, 0.8, 0, 0});
  for (const double length : {0.0, 1e-5, kNan, kInfinity}) {
    const Matrix bad = makeRotation({1, 0, 0, 0, length, 0, 0, 0, 1});
    const Matrix out = makeRotation(kSquare);
    EXPECT_EQ(zk_RotMatrix_normalize(out.get(), bad.get()), 0);
    EXPECT_EQ(numbersOf(out), kSquare);
  }
}

void expectRotation(const Matrix &rotation) {
  const Matrix inverse = makeRotation();
  EXPECT_EQ(zk_RotMatrix_getInverse(inverse.get(), rotation.get()), 1);
  EXPECT_EQ(zk_RotMatrix_multiply(inverse.get(), rotation.get(), inverse.get()), 1);
  expectNear(numbersOf(inverse), numbersOf(makeMatrix(3, 3)));
  const Numbers r = numbersOf(rotation);
  const ZkVector x{r[0], r[3], r[6]};
  const ZkVector y{r[1], r[4], r[7]};
  expectNear({r[2], r[5], r[8]}, numbersOf(cross(x, y)));  // right-handed
}

TEST(RotMatrix, From3PointsAndVectorsXY) {
  Random random;
  const Matrix rotation = makeRotation();
  const Matrix fromVectors = makeRotation();
  for (int round = 0; round < kRounds; ++round) {
    const ZkPoint origin = random.vector();
    const ZkVector x = random.vector();
    const ZkVector y = random.vector();
    const ZkPoint pointOnX = plus(origin, x);
    const ZkPoint pointInXY = plus(origin, y);
    ASSERT_EQ(zk_RotMatrix_from3Points(rotation.get(), &origin, &pointOnX, &pointInXY), 1);
    expectRotation(rotation);
    expectNear(numbersOf(rotated(rotation, {1, 0, 0})), numbersOf(unit(x)));
    expectNear(numbersOf(rotated(rotation, {0, 1, 0})), numbersOf(unit(perpendicular(y, x))));
    ASSERT_EQ(zk_RotMatrix_fromVectorsXY(fromVectors.get(), &origin, &x, &y), 1);
    expectNear(numbersOf(fromVectors), numbersOf(rotation));
  }
}

// ---- Quaternions

// The rotation of v about a unit axis, by the formula of Rodrigues.
ZkVector turnedAbout(const ZkVector &axis, double angle, const ZkVector &v) {
  return plus(plus(times(v, std::cos(angle)), times(cross(axis, v), std::sin(angle))),
              times(axis, dot(axis, v) * (1 - std::cos(angle))));
}

TEST(Quaternion, ComponentsAndSimpleArithmetic) {
  ZkQuaternion q;
  EXPECT_EQ(zk_Quaternion_set(&q, 1, 2, 3, 4), 1);
  EXPECT_EQ(zk_Quaternion_setY(&q, -2), 1);
  EXPECT_EQ(numbersOf(q), (Numbers{1, -2, 3, 4}));
  const ZkVector vector{5, 6, 7};
  EXPECT_EQ(zk_Quaternion_setVector(&q, &vector), 1);
  EXPECT_EQ(zk_Quaternion_setScalar(&q, 8), 1);
  EXPECT_EQ(zk_Quaternion_setX(&q, 2), 1);
  EXPECT_EQ(zk_Quaternion_setZ(&q, 4), 1);
  EXPECT_EQ(numbersOf(q), (Numbers{2, 6, 4, 8}));
  double x, y, z, w, magnitude;
  EXPECT_EQ(zk_Quaternion_getX(&x, &q) + zk_Quaternion_getY(&y, &q) + zk_Quaternion_getZ(&z, &q) +
                zk_Quaternion_getScalar(&w, &q) + zk_Quaternion_magnitude(&magnitude, &q),
            5);
  EXPECT_EQ((Numbers{x, y, z, w, magnitude}), (Numbers{2, 6, 4, 8, std::sqrt(120.0)}));
  ZkVector part;
  EXPECT_EQ(zk_Quaternion_getVector(&part, &q), 1);
  EXPECT_EQ(numbersOf(part), (Numbers{2, 6, 4}));
  ZkQuaternion out;
  EXPECT_EQ(zk_Quaternion_getConjugate(&out, &q), 1);
  EXPECT_EQ(numbersOf(out), (Numbers{-2, -6, -4, 8}));
  EXPECT_EQ(zk_Quaternion_getInverse(&out, &out), 1);
  EXPECT_EQ(numbersOf(out), numbersOf(q));
  const ZkQuaternion i{1, 0, 0, 0};
  const ZkQuaternion j{0, 1, 0, 0};
  EXPECT_EQ(zk_Quaternion_multiply(&out, &i, &j), 1);
  EXPECT_EQ(numbersOf(out), (Numbers{0, 0, 1, 0}));
}

TEST(Quaternion, RotatesAboutItsAxis) {
  Random random;
  const Matrix fromQuaternion = makeRotation();
  const Matrix fromAxis = makeRotation();
  const Matrix product = makeRotation();
  ZkQuaternion before{0, 0, 0, 1};
  for (int round = 0; round < kRounds; ++round) {
    const ZkVector axis = random.vector();
    const ZkVector direction = unit(axis);
    const double angle = random.number();
    ZkQuaternion q;
    ASSERT_EQ(zk_Quaternion_fromRotAxisAndAngle(&q, &direction, angle), 1);
    ASSERT_EQ(zk_RotMatrix_fromQuaternion(fromQuaternion.get(), &q), 1);
    ASSERT_EQ(zk_RotMatrix_fromRotAxisAndAngle(fromAxis.get(), &axis, angle), 1);
    expectNear(numbersOf(fromAxis), numbersOf(fromQuaternion));
    expectRotation(fromAxis);
    const ZkVector v = random.vector();
    expectNear(numbersOf(rotated(fromAxis, v)), numbersOf(turnedAbout(direction, angle, v)));

    // Products of quaternions rotate as products of matrices do.
    ZkQuaternion both;
    ASSERT_EQ(zk_Quaternion_multiply(&both, &q, &before), 1);
    ASSERT_EQ(zk_RotMatrix_fromQuaternion(product.get(), &before), 1);
    ASSERT_EQ(zk_RotMatrix_multiply(product.get(), fromAxis.get(), product.get()), 1);
    ASSERT_EQ(zk_RotMatrix_fromQuaternion(fromQuaternion.get(), &both), 1);
    expectNear(numbersOf(fromQuaternion), numbersOf(product));
    before = q;
  }
}

// Angles near 0 and half a turn are those that count as such.
TEST(Quaternion, TurnsOneVectorIntoAnother) {
  constexpr double kCutOff = 0.0045;
  Random random;
  const Matrix rotation = makeRotation();
  for (int round = 0; round < kRounds; ++round) {
    const ZkVector from = random.vector();
    const ZkVector to = round % 2 == 0 ? random.vector() : plus(from, random.vector(0.02));
    ASSERT_EQ(zk_RotMatrix_fromVectors(rotation.get(), nullptr, &from, &to), 1);
    expectRotation(rotation);
    const bool isNear = dot(unit(from), unit(to)) > 0.99999;
    expectNear(numbersOf(rotated(rotation, unit(from))), numbersOf(unit(to)),
               isNear ? kCutOff : kClose);

    const ZkVector axis = random.vector();
    ASSERT_EQ(zk_RotMatrix_fromVectors(rotation.get(), &axis, &from, &to), 1);
    expectNear(numbersOf(rotated(rotation, unit(axis))), numbersOf(unit(axis)));
    const ZkVector u = unit(perpendicular(from, axis));
    const ZkVector v = unit(perpendicular(to, axis));
    const bool isCut = std::fabs(dot(u, v)) > 0.99999;
    expectNear(numbersOf(rotated(rotation, u)), numbersOf(v), isCut ? kCutOff : kClose);
  }
}

TEST(Quaternion, FromParallelVectors) {
  const double s = std::sin(kRoundedPi / 2);
  const double c = std::cos(kRoundedPi / 2);  // of half a turn as rounded, so less than nothing
  EXPECT_LT(c, 0);
  const struct {
    ZkVector from, to;
    Numbers expected;
  } cases[] = {
      {{1, 0, 0}, {-1, 0, 0}, {0, 0, s, c}},    {{0, 0, 2}, {0, 0, -3}, {s, 0, 0, c}},
      {{0, 3, 0}, {0, 5, 0}, {0, 0, 0, 1}},     {{0, 0, 1}, {0, 0, 1}, {0, 0, 0, 1}},
      {{1, 0, 0}, {-1, 1e-4, 0}, {0, 0, s, c}},  // nearly opposite counts as opposite
      {{1, 0, 0}, {1, 1e-4, 0}, {0, 0, 0, 1}},
  };
  for (const auto &x : cases) {
    SCOPED_TRACE(testing::Message() << "case " << &x - cases);
    ZkQuaternion q;
    EXPECT_EQ(zk_Quaternion_fromVectors(&q, &x.from, &x.to), 1);
    expectNear(numbersOf(q), x.expected, 1e-15);
  }
  // About an axis: opposite parts, an axis without length, and one of another length.
  const Matrix rotation = makeRotation();
  const ZkVector from{1, 0, 5};
  const ZkVector to{-2, 0, 7};
  const ZkVector z{0, 0, -4};
  EXPECT_EQ(zk_RotMatrix_fromVectors(rotation.get(), &z, &from, &to), 1);
  expectNear(numbersOf(rotation), {-1, 0, 0, 0, -1, 0, 0, 0, 1});
  EXPECT_NEAR(numbersOf(rotation)[1], std::sin(kRoundedPi), 1e-14);  // half a turn as rounded
  const ZkVector none{0, 0, 1e-5};
  EXPECT_EQ(zk_RotMatrix_fromVectors(rotation.get(), &none, &from, &to), 1);
  expectNear(numbersOf(rotated(rotation, unit(from))), numbersOf(unit(to)));
}

// ---- Transformations

Matrix makeTransform(const Numbers &numbers = {}) { return makeMatrix(4, 4, numbers); }

TEST(TMatrix, PartsAndTransformation) {
  const Matrix matrix(zk_TMatrix_create());
  EXPECT_EQ(numbersOf(matrix), numbersOf(makeMatrix(4, 4)));
  zk_Matrix_setElement(matrix.get(), 3, 0, 9);
  EXPECT_EQ(zk_TMatrix_set(matrix.get(), 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12), 1);
  EXPECT_EQ(numbersOf(matrix), (Numbers{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0, 0, 0, 1}));
  zk_Matrix_setElement(matrix.get(), 3, 3, 100);  // is not looked at
  EXPECT_EQ(numbersOf(transformed(matrix, {1, 10, 100})), (Numbers{325, 773, 1221}));
  ZkPoint origin{0, 0, 0};
  EXPECT_EQ(zk_TMatrix_getOrigin(&origin, matrix.get()), 1);
  EXPECT_EQ(numbersOf(origin), (Numbers{4, 8, 12}));
  const Matrix rotation = makeRotation();
  EXPECT_EQ(zk_TMatrix_getRMatrix(rotation.get(), matrix.get()), 1);
  EXPECT_EQ(numbersOf(rotation), (Numbers{1, 2, 3, 5, 6, 7, 9, 10, 11}));
  EXPECT_EQ(zk_TMatrix_setIdentity(matrix.get()), 1);
  EXPECT_EQ(zk_TMatrix_setRMatrix(matrix.get(), rotation.get()), 1);
  origin = {-1, -2, -3};
  EXPECT_EQ(zk_TMatrix_setOrigin(matrix.get(), &origin), 1);
  EXPECT_EQ(numbersOf(matrix), (Numbers{1, 2, 3, -1, 5, 6, 7, -2, 9, 10, 11, -3, 0, 0, 0, 1}));
  // Rotating replaces the rotation that was there and keeps the rest.
  const Numbers turned = {0, 0, -1, -1, 0, 1, 0, -2, 1, 0, 0, -3, 0, 0, 0, 1};
  const Matrix copy = makeMatrix(4, 4);
  EXPECT_EQ(zk_TMatrix_rotate(copy.get(), matrix.get(), 0, kPi / 2, 0), 1);
  expectNear(numbersOf(copy), turned);
  EXPECT_EQ(zk_TMatrix_rotate(matrix.get(), matrix.get(), 0, kPi / 2, 0), 1);
  expectNear(numbersOf(matrix), turned);
  const ZkPoint from{1, 1, 1};
  const ZkPoint to{2, 4, 8};
  EXPECT_EQ(zk_TMatrix_createForTranslation(matrix.get(), &from, &to), 1);
  EXPECT_EQ(numbersOf(matrix), (Numbers{1, 0, 0, 1, 0, 1, 0, 3, 0, 0, 1, 7, 0, 0, 0, 1}));
}

struct System {
  ZkPoint origin, xPoint, yPoint;
};

int createFromUCS(const Matrix &matrix, const System &a, const System &b) {
  return zk_TMatrix_createFromUCS(matrix.get(), &a.origin, &a.xPoint, &a.yPoint, &b.origin,
                                  &b.xPoint, &b.yPoint);
}

TEST(TMatrix, CarriesOneSystemOntoAnother) {
  Random random;
  const Matrix matrix = makeTransform();
  for (int round = 0; round < kRounds; ++round) {
    const System a{random.vector(), random.vector(), random.vector()};
    const System b{random.vector(), random.vector(), random.vector()};
    ASSERT_EQ(createFromUCS(matrix, a, b), 1);
    const Matrix axesA = makeRotation();
    const Matrix axesB = makeRotation();
    zk_RotMatrix_from3Points(axesA.get(), &a.origin, &a.xPoint, &a.yPoint);
    zk_RotMatrix_from3Points(axesB.get(), &b.origin, &b.xPoint, &b.yPoint);
    expectNear(numbersOf(transformed(matrix, a.origin)), numbersOf(b.origin));
    for (const ZkVector &place : {ZkVector{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, random.vector()}) {
      expectNear(numbersOf(transformed(matrix, plus(a.origin, rotated(axesA, place)))),
                 numbersOf(plus(b.origin, rotated(axesB, place))));
    }
  }
}

TEST(TMatrix, SystemsThatAreAlikeOrDegenerate) {
  const System world{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  const System tilted{{1, 1, 1}, {2, 3, 1}, {1, 1, 5}};
  const System line{{1, 2, 3}, {2, 3, 4}, {3, 4, 5}};
  const System point{{1, 2, 3}, {1, 2, 3}, {1, 2, 3}};
  const System unknown{{1, 2, 3}, {kNan, 0, 0}, {0, kInfinity, 0}};
  const auto moved = [](const System &s, const ZkVector &by) {
    return System{plus(s.origin, by), plus(s.xPoint, by), plus(s.yPoint, by)};
  };
  const Numbers translation = {1, 0, 0, 1, 0, 1, 0, 2, 0, 0, 1, 3, 0, 0, 0, 1};
  const struct {
    System a, b;
    Numbers expected;
  } cases[] = {
      {tilted, tilted, numbersOf(makeMatrix(4, 4))},
      {tilted, moved(tilted, {1, 2, 3}), translation},
      {world, line, translation},  // has the axes of the world
      {world, point, translation},
      {world, unknown, translation},
      {line, moved(line, {1, 2, 3}), translation},
  };
  const Matrix matrix = makeTransform();
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << "case " << &c - cases);
    EXPECT_EQ(createFromUCS(matrix, c.a, c.b), 1);
    EXPECT_EQ(numbersOf(matrix), c.expected);
  }
  for (const double bad : {kNan, kInfinity, -kInfinity}) {
    System nowhere = world;
    nowhere.origin.y = bad;
    EXPECT_EQ(createFromUCS(matrix, world, nowhere), 0);
    EXPECT_EQ(createFromUCS(matrix, nowhere, world), 0);
  }
  EXPECT_EQ(numbersOf(matrix), translation);
}

// ---- What cannot be done

TEST(Rotations, DegenerateInputGivesZeroAndChangesNothing) {
  const ZkVector none{0, 0, 0};
  const ZkVector shortest{1e-5, 0, 0};
  const ZkVector x{1, 0, 0};
  const ZkVector y{0, 1, 0};
  const ZkVector unknown{0, kNan, 0};
  const ZkVector endless{1, kInfinity, 0};
  const ZkVector huge{1e200, 0, 1e200};
  const ZkVector steep{1, 0, 1e6};
  const Matrix matrix = makeRotation(kSquare);
  const Matrix transform = makeTransform();
  const Matrix unit = makeRotation();
  ZkMatrix *r = matrix.get();
  ZkMatrix *t = transform.get();
  ZkQuaternion q{1, 2, 3, 4};
  const ZkQuaternion unusable[] = {
      {0, 0, 0, 0}, {1e-5, 0, 0, 0}, {0, kNan, 0, 1}, {0, 0, 0, -kInfinity}, {1e200, 0, 0, 0}};
  for (const ZkQuaternion &in : unusable) EXPECT_EQ(zk_Quaternion_normalize(&q, &in), 0);
  const std::function<int()> cases[] = {
      [&] { return zk_Quaternion_fromRotAxisAndAngle(&q, &none, kPi); },
      [&] { return zk_Quaternion_fromRotAxisAndAngle(&q, &unknown, 1); },
      [&] { return zk_Quaternion_fromRotAxisAndAngle(&q, &x, kNan); },
      [&] { return zk_Quaternion_fromRotAxisAndAngle(&q, &x, kInfinity); },
      [&] { return zk_Quaternion_fromVectors(&q, &none, &x); },
      [&] { return zk_Quaternion_fromVectors(&q, &x, &shortest); },
      [&] { return zk_Quaternion_fromVectors(&q, &unknown, &x); },
      [&] { return zk_Quaternion_fromVectors(&q, &x, &endless); },
      [&] { return zk_Quaternion_fromVectors(&q, &huge, &x); },
      [&] { return zk_Quaternion_fromVectors(&q, &steep, &steep); },  // no perpendicular
      [&] { return zk_RotMatrix_fromAngle(r, kInfinity); },
      [&] { return zk_RotMatrix_rotate(r, unit.get(), 0, kNan, 0); },
      [&] { return zk_TMatrix_rotate(t, t, 0, 0, -kInfinity); },
      [&] { return zk_RotMatrix_from3Points(r, &none, &none, &y); },
      [&] { return zk_RotMatrix_from3Points(r, &none, &x, &none); },
      [&] { return zk_RotMatrix_from3Points(r, &none, &x, &x); },
      [&] { return zk_RotMatrix_from3Points(r, &none, &x, nullptr); },
      [&] { return zk_RotMatrix_from3Points(r, &none, &x, &unknown); },
      [&] { return zk_RotMatrix_from3Points(r, &none, &endless, &y); },
      [&] { return zk_RotMatrix_from3Points(r, &unknown, &x, &y); },
      [&] { return zk_RotMatrix_fromVectorsXY(r, &none, &x, &x); },
      [&] { return zk_RotMatrix_fromVectorsXY(r, &none, &x, &none); },
      [&] { return zk_RotMatrix_fromVectorsXY(r, &unknown, &x, &y); },
      [&] { return zk_RotMatrix_fromVectors(r, &x, &x, &y); },  // nothing perpendicular to x
      [&] { return zk_RotMatrix_fromVectors(r, &unknown, &x, &y); },
      [&] { return zk_RotMatrix_fromVectors(r, nullptr, &endless, &y); },
      [&] { return zk_RotMatrix_fromRotAxisAndAngle(r, &none, 1); },
      [&] { return zk_RotMatrix_fromRotAxisAndAngle(r, &unknown, 1); },
      [&] { return zk_RotMatrix_fromRotAxisAndAngle(r, &x, kNan); },
  };
  for (const auto &operation : cases) {
    SCOPED_TRACE(testing::Message() << "case " << &operation - cases);
    EXPECT_EQ(operation(), 0);
    EXPECT_EQ(numbersOf(q), (Numbers{1, 2, 3, 4}));
    EXPECT_EQ(numbersOf(matrix), kSquare);
    EXPECT_EQ(numbersOf(transform), numbersOf(makeMatrix(4, 4)));
  }
  // What only calculates passes it on.
  ZkPoint point{1, kNan, 1};
  EXPECT_EQ(zk_TMatrix_xform(&point, t, &point), 1);
  EXPECT_TRUE(std::isnan(point.y));
  point = {1, kInfinity, 1};
  EXPECT_EQ(zk_RotMatrix_rotatePoint(&point, unit.get()), 1);
  EXPECT_EQ(point.y, kInfinity);
}

// ---- Memory

struct Allocations {
  int asked = 0;
  bool refused = false;
};
Allocations allocations;

void *ZK_CALL allocate(std::size_t size) {
  ++allocations.asked;
  return allocations.refused ? nullptr : std::malloc(size);
}
void *ZK_CALL allocateZeroed(std::size_t count, std::size_t size) {
  ++allocations.asked;
  return allocations.refused ? nullptr : std::calloc(count, size);
}

TEST(Matrix, MemoryIsAskedForOnceOrNotAtAll) {
  zk_MemoryManager_set(allocate, std::realloc, allocateZeroed, std::free);
  Random random;
  const Matrix four = makeTransform(random.numbers(16));
  const Matrix five = makeMatrix(5, 5, random.numbers(25));
  const Matrix other = makeMatrix(5, 5);
  const Numbers before = numbersOf(five);
  allocations = {0, true};
  EXPECT_EQ(zk_Matrix_multiply(four.get(), four.get(), four.get()), 1);
  EXPECT_EQ(zk_Matrix_transpose(four.get(), four.get()), 1);
  EXPECT_EQ(zk_Matrix_multiply(other.get(), five.get(), five.get()), 1);
  EXPECT_EQ(allocations.asked, 0);
  EXPECT_EQ(zk_Matrix_multiply(five.get(), five.get(), five.get()), 0);
  EXPECT_EQ(zk_Matrix_transpose(five.get(), five.get()), 0);
  EXPECT_EQ(allocations.asked, 2);
  EXPECT_EQ(numbersOf(five), before);
  const ZkVector v{1, 2, 3};
  EXPECT_EQ(zk_Matrix_create(3, 3), nullptr);
  EXPECT_EQ(zk_RotMatrix_create(), nullptr);
  EXPECT_EQ(zk_TMatrix_create(), nullptr);
  EXPECT_EQ(zk_Ntuple_create(3), nullptr);
  EXPECT_EQ(zk_Ntuple_fromVector(&v), nullptr);
  EXPECT_EQ(zk_Plane_create(&v, &v), nullptr);
  EXPECT_EQ(zk_Ray_create(&v, &v), nullptr);
  allocations = {};
  EXPECT_EQ(zk_Matrix_multiply(five.get(), five.get(), five.get()), 1);
  EXPECT_EQ(allocations.asked, 1);
  EXPECT_EQ(numbersOf(five), numbersOf(other));
}

// ---- Traces

// The trace lines that `body` writes, without their line numbers.
template <typename Body>
std::string trace(uint32_t condition, Body body) {
  zk_Diag_setLevel(3);
  zk_Diag_setCondition(condition);
  testing::internal::CaptureStdout();
  body();
  zk_Diag_disable();
  std::string lines = testing::internal::GetCapturedStdout();
  for (std::size_t at = 0; (at = lines.find(" (", at)) != std::string::npos;) {
    lines.erase(at, lines.find(')', at) + 1 - at);
  }
  return lines;
}

// Releases what a function makes out of nothing.
int release(int result) { return result; }
template <typename T>
int release(T *made) {
  Destroyer()(made);
  return 0;
}

template <typename Result, typename... Parameters>
auto callWithNothing(Result(ZK_CALL *function)(Parameters...)) {
  return function(Parameters{}...);
}

TEST(Matrix, EveryFunctionTracesUnderTheBitOfItsFamily) {
  int count = 0;
  const auto expectTraces = [&count](const std::string &name, const auto &function) {
    ++count;
    const bool isNtuple = name.starts_with("zk_Ntuple_");
    const uint32_t bit = isNtuple ? ZK_DIAG_NTUPLE : ZK_DIAG_MATRIX;
    const std::string module = isNtuple ? "ntuple.cpp" : "matrix.cpp";
    decltype(callWithNothing(function)) made{};
    EXPECT_EQ(trace(bit, [&] { made = callWithNothing(function); }),
              module + " Entering " + name + ".\n" + module + " Leaving " + name + ".\n");
    release(made);
    EXPECT_EQ(trace(~bit, [&] { release(callWithNothing(function)); }), "") << name;
  };
#define ZK_FUNCTION(name) expectTraces(#name, name);
#include "exported_functions.inc"
#undef ZK_FUNCTION
  EXPECT_GT(count, 80);
}

TEST(RotMatrix, TracesTheConstructionsThatItIsMadeOf) {
  const Matrix rotation = makeRotation();
  const Matrix transform = makeTransform();
  const ZkVector x{1, 0, 0};
  const ZkVector y{0, 1, 0};
  const ZkVector z{0, 0, 1};
  const auto lines = [](const std::string &name, const std::string &inner) {
    return "matrix.cpp Entering zk_" + name + ".\n" + inner + "matrix.cpp Leaving zk_" + name +
           ".\n";
  };
  const std::string turn = lines("Quaternion_fromRotAxisAndAngle", "");
  const std::string store = lines("RotMatrix_fromQuaternion", "");
  const std::string points = lines("RotMatrix_from3Points", "");
  const struct {
    std::function<int()> call;
    std::string expected;
  } cases[] = {
      {[&] { return zk_RotMatrix_fromVectors(rotation.get(), nullptr, &x, &y); },
       lines("RotMatrix_fromVectors", lines("Quaternion_fromVectors", turn) + store)},
      {[&] { return zk_RotMatrix_fromRotAxisAndAngle(rotation.get(), &x, 1); },
       lines("RotMatrix_fromRotAxisAndAngle", turn + store)},
      {[&] { return zk_RotMatrix_fromVectorsXY(rotation.get(), &z, &x, &y); },
       lines("RotMatrix_fromVectorsXY", points)},
      {[&] { return zk_RotMatrix_from3Points(rotation.get(), &z, &x, &y); }, points},
      {[&] { return zk_TMatrix_createFromUCS(transform.get(), &x, &y, &z, &z, &y, &x); },
       lines("TMatrix_createFromUCS", points + points)},
      // One block of elements: neither temporaries nor n-tuples show.
      {[&] { return zk_Matrix_multiply(transform.get(), transform.get(), transform.get()); },
       lines("Matrix_multiply", "")},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(trace(ZK_DIAG_MATRIX | ZK_DIAG_NTUPLE, [&] { EXPECT_EQ(c.call(), 1); }), c.expected);
  }
}

}  // namespace
