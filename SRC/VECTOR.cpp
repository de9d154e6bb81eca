#include "zk/vector.h"

#include "SRC/Geometry.h"
#include "SRC/Ntuple.h"
#include "SRC/Trace.h"
#include "zk/point.h"

namespace zk {
namespace {

constexpr TraceFamily kTrace{ZK_DIAG_VECTOR, "SRC\\VECTOR.cpp"};
constexpr ZkPoint kOrigin{0.0, 0.0, 0.0};
constexpr ZkVector kVertical{0.0, 0.0, 1.0};

bool unit(ZkVector &result, const ZkVector &vector) {
  ZkVector copy = vector;
  if (!normalize(copy)) return false;
  result = copy;
  return true;
}

ZkVector orthovec(const ZkPoint &p0, const ZkPoint &p1, const ZkPoint &p2) {
  return cross(subtract(p1, p0), subtract(p2, p0));
}

bool findAngle(double &result, const ZkVector &a, const ZkVector &b) {
  const double lengthA = length(a);
  const double lengthB = length(b);
  if (!isLength(lengthA) || !isLength(lengthB)) return false;
  const double cosine = dot(a, b) / (lengthA * lengthB);
  // Rounding takes parallel vectors past the ends, where acos has no answer.
  if (cosine > 1.0) {
    result = 0.0;
  } else {
    result = cosine < -1.0 ? kPi : std::acos(cosine);
  }
  return true;
}

}  // namespace
}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

int ZK_CALL zk_Vector_set(ZkVector *vector, double x, double y, double z) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_set);
  return setRecord(vector, x, y, z);
}

int ZK_CALL zk_Vector_setX(ZkVector *vector, double x) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_setX);
  return setCoordinate(vector, &ZkVector::x, x);
}

int ZK_CALL zk_Vector_setY(ZkVector *vector, double y) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_setY);
  return setCoordinate(vector, &ZkVector::y, y);
}

int ZK_CALL zk_Vector_setZ(ZkVector *vector, double z) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_setZ);
  return setCoordinate(vector, &ZkVector::z, z);
}

int ZK_CALL zk_Vector_getX(double *x, const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_getX);
  return getCoordinate(x, vector, &ZkVector::x);
}

int ZK_CALL zk_Vector_getY(double *y, const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_getY);
  return getCoordinate(y, vector, &ZkVector::y);
}

int ZK_CALL zk_Vector_getZ(double *z, const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_getZ);
  return getCoordinate(z, vector, &ZkVector::z);
}

int ZK_CALL zk_Vector_copy(ZkVector *result, const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_copy);
  return store(result, itself, vector);
}

int ZK_CALL zk_Vector_fromPoint(ZkVector *result, const ZkPoint *point) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_fromPoint);
  return store(result, itself, point);
}

int ZK_CALL zk_Vector_fromNtuple(ZkVector *result, const ZkNtuple *ntuple) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_fromNtuple);
  if (!areGiven(result, ntuple) || ntuple->count < 3) return 0;
  return setRecord(result, ntuple->elements()[0], ntuple->elements()[1], ntuple->elements()[2]);
}

int ZK_CALL zk_Vector_equal(const ZkVector *a, const ZkVector *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_equal);
  return areGiven(a, b) && equal(*a, *b);
}

int ZK_CALL zk_Vector_equalWithinTol(const ZkVector *a, const ZkVector *b, double tolerance) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_equalWithinTol);
  return areGiven(a, b) && equal(*a, *b, tolerance);
}

int ZK_CALL zk_Vector_orthogonal(const ZkVector *a, const ZkVector *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_orthogonal);
  return areGiven(a, b) && areOrthogonal(*a, *b);
}

int ZK_CALL zk_Vector_parallel(const ZkVector *a, const ZkVector *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_parallel);
  return areGiven(a, b) && areParallel(*a, *b);
}

int ZK_CALL zk_Vector_isHorizontal(const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_isHorizontal);
  return areGiven(vector) && areOrthogonal(*vector, kVertical);
}

int ZK_CALL zk_Vector_isVertical(const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_isVertical);
  return areGiven(vector) && areParallel(*vector, kVertical);
}

int ZK_CALL zk_Vector_magnitude(double *result, const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_magnitude);
  return store(result, length, vector);
}

int ZK_CALL zk_Vector_scale(ZkVector *result, const ZkVector *vector, double factor) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_scale);
  return store(result, scale, vector, &factor);
}

int ZK_CALL zk_Vector_negate(ZkVector *result, const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_negate);
  return store(result, negate, vector);
}

int ZK_CALL zk_Vector_add(ZkVector *result, const ZkVector *a, const ZkVector *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_add);
  return store(result, add, a, b);
}

// In the order of the points' subtraction.
int ZK_CALL zk_Vector_subtract(ZkVector *result, const ZkVector *a, const ZkVector *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_subtract);
  return store(result, subtract, b, a);
}

int ZK_CALL zk_Vector_dotProduct(double *result, const ZkVector *a, const ZkVector *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_dotProduct);
  return store(result, dot, a, b);
}

int ZK_CALL zk_Vector_crossProduct(ZkVector *result, const ZkVector *a, const ZkVector *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_crossProduct);
  return store(result, cross, a, b);
}

int ZK_CALL zk_Vector_normalize(ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_normalize);
  return areGiven(vector) && normalize(*vector);
}

int ZK_CALL zk_Vector_copyNormalize(ZkVector *result, const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_copyNormalize);
  return storeIf(result, unit, vector);
}

int ZK_CALL zk_Vector_computeVector(ZkVector *result, const ZkPoint *a, const ZkPoint *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_computeVector);
  return store(result, subtract, b, a) && isFormed(*result);
}

int ZK_CALL zk_Vector_computeNormal(ZkVector *result, const ZkPoint *a, const ZkPoint *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_computeNormal);
  return areGiven(result, a, b) && unit(*result, subtract(*b, *a));
}

int ZK_CALL zk_Vector_computeOrthovec(ZkVector *result, const ZkPoint *p0, const ZkPoint *p1,
                                      const ZkPoint *p2) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_computeOrthovec);
  return store(result, orthovec, p0, p1, p2);
}

int ZK_CALL zk_Vector_computeOrthonorm(ZkVector *result, const ZkPoint *p0, const ZkPoint *p1,
                                       const ZkPoint *p2) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_computeOrthonorm);
  return areGiven(result, p0, p1, p2) && unit(*result, orthovec(*p0, *p1, *p2));
}

// The line leads from the tip of unit(a) to the origin: with equal directions the point lies on its
// start, from which nothing can be projected.
int ZK_CALL zk_Vector_getOrthoVector(ZkVector *result, const ZkVector *a, const ZkVector *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_getOrthoVector);
  ZkVector unitA;
  ZkVector unitB;
  if (!storeIf(&unitA, unit, a) || !storeIf(&unitB, unit, b)) return 0;
  return zk_Point_getOrthoVector(result, &kOrigin, &unitA, &unitB);
}

int ZK_CALL zk_Vector_angle(double *result, const ZkVector *a, const ZkVector *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Vector_angle);
  return storeIf(result, findAngle, a, b);
}

ZK_EXTERN_C_END
