#include "plainarrays.h"

namespace zk::bench {

void transform(double *out, const Square &t, const double *p) {
  const double x = p[0];
  const double y = p[1];
  const double z = p[2];
  out[0] = t[0][0] * x + t[0][1] * y + t[0][2] * z + t[0][3];
  out[1] = t[1][0] * x + t[1][1] * y + t[1][2] * z + t[1][3];
  out[2] = t[2][0] * x + t[2][1] * y + t[2][2] * z + t[2][3];
}

void rotate(double *p, const Square &r) {
  const double x = p[0];
  const double y = p[1];
  const double z = p[2];
  p[0] = 0.0 + r[0][0] * x + r[0][1] * y + r[0][2] * z;
  p[1] = 0.0 + r[1][0] * x + r[1][1] * y + r[1][2] * z;
  p[2] = 0.0 + r[2][0] * x + r[2][1] * y + r[2][2] * z;
}

void multiply(Square &out, const Square &a, const Square &b) {
  for (std::size_t row = 0; row < 4; ++row) {
    for (std::size_t column = 0; column < 4; ++column) {
      double sum = 0.0;
      for (std::size_t k = 0; k < 4; ++k) sum += a[row][k] * b[k][column];
      out[row][column] = sum;
    }
  }
}

}  // namespace zk::bench
