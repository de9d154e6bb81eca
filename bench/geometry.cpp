// Transformations and products of matrices against the same formulas on plain arrays, behind a
// call of another library as well.
#include <memory>
#include <random>
#include <vector>

#include "measure.h"
#include "plainarrays.h"
#include "works.h"
#include "zk/transform.h"

namespace zk::bench {
namespace {

using Points = std::vector<ZkPoint>;

struct MatrixDestroyer {
  void operator()(ZkMatrix *matrix) const { zk_Matrix_destroy(matrix); }
};
using Matrix = std::unique_ptr<ZkMatrix, MatrixDestroyer>;

Matrix makeMatrix(const Square &numbers, int32_t size) {
  Matrix matrix(zk_Matrix_create(size, size));
  for (int32_t row = 0; row < size; ++row) {
    for (int32_t column = 0; column < size; ++column) {
      zk_Matrix_setElement(
          matrix.get(), row, column,
          numbers[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)]);
    }
  }
  return matrix;
}

class Random {
 public:
  double number() { return distribution_(engine_); }
  Square square() {
    Square square{};
    for (auto &row : square) {
      for (double &value : row) value = number();
    }
    return square;
  }

 private:
  std::mt19937 engine_{4711};
  std::uniform_real_distribution<double> distribution_{-1, 1};
};

struct Inputs {
  Points points;
  Square matrix;
  std::vector<Square> factors;
  std::size_t products;
};

// Once over the points takes too few milliseconds for a steady ratio.
constexpr int kPasses = 5;

// `change` moves each point in place.
template <typename Change>
double changePoints(const Inputs &inputs, Stopwatch &watch, Change change) {
  Points points = inputs.points;
  watch.start();
  for (int pass = 0; pass < kPasses; ++pass) {
    for (ZkPoint &point : points) change(point);
  }
  watch.stop();
  double sum = 0;
  for (const ZkPoint &point : points) sum += point.x + point.y + point.z;
  return sum;
}

double transformPoints(const Inputs &inputs, Stopwatch &watch) {
  const Matrix matrix = makeMatrix(inputs.matrix, 4);
  return changePoints(inputs, watch, [t = matrix.get()](ZkPoint &point) {
    require(zk_TMatrix_xform(&point, t, &point) == 1, "not transformed");
  });
}

double transformArrays(const Inputs &inputs, Stopwatch &watch) {
  return changePoints(inputs, watch,
                      [&inputs](ZkPoint &point) { transform(&point.x, inputs.matrix, &point.x); });
}

double rotatePoints(const Inputs &inputs, Stopwatch &watch) {
  const Matrix matrix = makeMatrix(inputs.matrix, 3);
  return changePoints(inputs, watch, [r = matrix.get()](ZkPoint &point) {
    require(zk_RotMatrix_rotatePoint(&point, r) == 1, "not rotated");
  });
}

double rotateArrays(const Inputs &inputs, Stopwatch &watch) {
  return changePoints(inputs, watch,
                      [&inputs](ZkPoint &point) { rotate(&point.x, inputs.matrix); });
}

double multiplyMatrices(const Inputs &inputs, Stopwatch &watch) {
  std::vector<Matrix> factors;
  for (const Square &factor : inputs.factors) factors.push_back(makeMatrix(factor, 4));
  const Matrix product(zk_Matrix_create(4, 4));
  double sum = 0;
  watch.start();
  for (std::size_t i = 0; i < inputs.products; ++i) {
    const ZkMatrix *a = factors[i % factors.size()].get();
    const ZkMatrix *b = factors[(i + 1) % factors.size()].get();
    require(zk_Matrix_multiply(product.get(), a, b) == 1, "not multiplied");
    if (i % factors.size() == 0) {
      double element = 0;
      zk_Matrix_getElement(&element, product.get(), 3, 0);
      sum += element;
    }
  }
  watch.stop();
  return sum;
}

double multiplyArrays(const Inputs &inputs, Stopwatch &watch) {
  const std::vector<Square> factors = inputs.factors;
  Square product{};
  double sum = 0;
  watch.start();
  for (std::size_t i = 0; i < inputs.products; ++i) {
    multiply(product, factors[i % factors.size()], factors[(i + 1) % factors.size()]);
    if (i % factors.size() == 0) sum += product[3][0];
  }
  watch.stop();
  return sum;
}

std::shared_ptr<Inputs> makeInputs(std::size_t count) {
  Random random;
  auto inputs = std::make_shared<Inputs>();
  inputs->products = count;
  inputs->matrix = random.square();
  inputs->points.resize(count);
  for (ZkPoint &point : inputs->points) point = {random.number(), random.number(), random.number()};
  inputs->factors.resize(256);  // stay in the nearest cache
  for (Square &factor : inputs->factors) factor = random.square();
  return inputs;
}

}  // namespace

void addGeometry(const Setup &setup, Report &report) {
  const auto inputs = makeInputs(setup.records.size());
  const std::string count = withCommas(setup.records.size());
  using Side = double (*)(const Inputs &, Stopwatch &);
  const struct {
    const char *name;
    std::string work;
    Side ours, yardstick;
    double limit;
  } rows[] = {
      {"transform", count + " points transformed, five times", transformPoints, transformArrays,
       1.5},
      {"rotate", count + " points rotated, five times", rotatePoints, rotateArrays, 1.5},
      {"multiply", count + " products of 4 x 4 matrices", multiplyMatrices, multiplyArrays, 3.0},
  };
  for (const auto &row : rows) {
    Stopwatch ignored;
    const double expected = row.yardstick(*inputs, ignored);
    const std::string name = std::string("geometry/") + row.name;
    for (const auto &[side, work] : {std::pair("/zk", row.ours), {"/arrays", row.yardstick}}) {
      addBenchmark(
          name + side, [inputs, work](Stopwatch &watch) { return work(*inputs, watch); }, expected);
    }
    report.add({row.work, name + "/zk", name + "/arrays", "plain arrays", row.limit});
  }
}

}  // namespace zk::bench
