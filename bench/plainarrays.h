// The yardsticks of geometry: its formulas on plain arrays, without a test of any kind. They are a
// shared library of their own, so that a call costs what a call of this library costs: on its own
// that is as much as the formula.
#pragma once

#include <array>

namespace zk::bench {

using Square = std::array<std::array<double, 4>, 4>;  // row by row

void transform(double *out, const Square &t, const double *p);
void rotate(double *p, const Square &r);  // the upper left 3 x 3
void multiply(Square &out, const Square &a, const Square &b);

}  // namespace zk::bench
