// N-tuples as the geometry modules see them.
#pragma once

#include "zk/ntuple.h"

#include <cstdio>

// The elements follow in the same block.
struct alignas(double) ZkNtuple {
  int32_t count;

  double *elements() noexcept { return reinterpret_cast<double *>(this + 1); }
  const double *elements() const noexcept { return reinterpret_cast<const double *>(this + 1); }
};
static_assert(sizeof(ZkNtuple) == sizeof(double));

namespace zk {

// As "%lf" writes it, but with a point in every locale.
void printNumber(std::FILE *stream, double value) noexcept;

}  // namespace zk
