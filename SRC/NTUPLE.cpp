#include "zk/ntuple.h"

#include <algorithm>
#include <charconv>
#include <functional>

#include "SRC/Ntuple.h"
#include "SRC/Trace.h"
#include "base/Memory.h"

namespace zk {

void printNumber(std::FILE *stream, double value) noexcept {
  char text[320];  // the largest number has 309 digits before its point
  const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 6).ptr;
  std::fwrite(text, 1, static_cast<std::size_t>(end - text), stream);
}

namespace {

constexpr TraceFamily kTrace{ZK_DIAG_NTUPLE, "SRC\\NTUPLE.cpp"};

ZkNtuple *createNtuple(int32_t count) noexcept {
  // Header and elements, the header being as large as one of them.
  const std::size_t places = static_cast<std::size_t>(count) + 1;
  if (count < 0 || places > SIZE_MAX / sizeof(double)) return nullptr;
  auto *ntuple = static_cast<ZkNtuple *>(base::allocateZeroed(places, sizeof(double)));
  if (ntuple != nullptr) ntuple->count = count;
  return ntuple;
}

bool hasIndex(const ZkNtuple *ntuple, int32_t index) noexcept {
  return ntuple != nullptr && index >= 0 && index < ntuple->count;
}

bool sameCount(const ZkNtuple *a, const ZkNtuple *b) noexcept {
  return a != nullptr && b != nullptr && a->count == b->count;
}

template <typename Operation>
int combine(ZkNtuple *out, const ZkNtuple *a, const ZkNtuple *b, Operation operation) noexcept {
  if (!sameCount(out, a) || !sameCount(a, b)) return 0;
  std::transform(a->elements(), a->elements() + a->count, b->elements(), out->elements(),
                 operation);
  return 1;
}

}  // namespace
}  // namespace zk

using namespace zk;

ZkNtuple *ZK_CALL zk_Ntuple_create(int32_t count) {
  ZK_TRACE_LEAVING(kTrace, zk_Ntuple_create);
  return createNtuple(count);
}

ZkNtuple *ZK_CALL zk_Ntuple_fromVector(const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_Ntuple_fromVector);
  if (vector == nullptr) return nullptr;
  ZkNtuple *ntuple = createNtuple(3);
  if (ntuple == nullptr) return nullptr;
  ntuple->elements()[0] = vector->x;
  ntuple->elements()[1] = vector->y;
  ntuple->elements()[2] = vector->z;
  return ntuple;
}

int ZK_CALL zk_Ntuple_destroy(ZkNtuple *ntuple) {
  ZK_TRACE_LEAVING(kTrace, zk_Ntuple_destroy);
  if (ntuple == nullptr) return 0;
  base::release(ntuple);
  return 1;
}

int ZK_CALL zk_Ntuple_getElement(double *out, const ZkNtuple *ntuple, int32_t index) {
  ZK_TRACE_LEAVING(kTrace, zk_Ntuple_getElement);
  if (out == nullptr || !hasIndex(ntuple, index)) return 0;
  *out = ntuple->elements()[index];
  return 1;
}

int ZK_CALL zk_Ntuple_setElement(ZkNtuple *ntuple, int32_t index, double value) {
  ZK_TRACE_LEAVING(kTrace, zk_Ntuple_setElement);
  if (!hasIndex(ntuple, index)) return 0;
  ntuple->elements()[index] = value;
  return 1;
}

int ZK_CALL zk_Ntuple_copy(ZkNtuple *destination, const ZkNtuple *source) {
  ZK_TRACE_LEAVING(kTrace, zk_Ntuple_copy);
  if (!sameCount(destination, source)) return 0;
  if (destination != source) {
    std::copy_n(source->elements(), source->count, destination->elements());
  }
  return 1;
}

int ZK_CALL zk_Ntuple_add(ZkNtuple *out, const ZkNtuple *a, const ZkNtuple *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Ntuple_add);
  return combine(out, a, b, std::plus<>());
}

int ZK_CALL zk_Ntuple_subtract(ZkNtuple *out, const ZkNtuple *a, const ZkNtuple *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Ntuple_subtract);
  return combine(out, a, b, std::minus<>());
}

int ZK_CALL zk_Ntuple_scale(ZkNtuple *ntuple, double factor) {
  ZK_TRACE_LEAVING(kTrace, zk_Ntuple_scale);
  if (ntuple == nullptr) return 0;
  for (int32_t i = 0; i < ntuple->count; ++i) ntuple->elements()[i] *= factor;
  return 1;
}

int ZK_CALL zk_Ntuple_dotProduct(double *out, const ZkNtuple *a, const ZkNtuple *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Ntuple_dotProduct);
  if (out == nullptr || !sameCount(a, b)) return 0;
  double sum = 0.0;
  for (int32_t i = 0; i < a->count; ++i) sum += a->elements()[i] * b->elements()[i];
  *out = sum;
  return 1;
}

int ZK_CALL zk_Ntuple_print(const ZkNtuple *ntuple, FILE *stream) {
  ZK_TRACE_LEAVING(kTrace, zk_Ntuple_print);
  if (ntuple == nullptr) return 0;
  if (stream == nullptr) stream = stdout;
  for (int32_t i = 0; i < ntuple->count; ++i) {
    if (i > 0) std::fputs(", ", stream);
    printNumber(stream, ntuple->elements()[i]);
  }
  std::fputc('\n', stream);
  std::fflush(stream);
  return 1;
}
