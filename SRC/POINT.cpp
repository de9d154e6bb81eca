#include "zk/point.h"

#include "SRC/Geometry.h"
#include "SRC/Str.h"
#include "SRC/Trace.h"
#include "base/Number.h"

namespace zk {
namespace {

constexpr TraceFamily kTrace{ZK_DIAG_POINT, "SRC\\POINT.cpp"};

void snapToZero(double &coordinate) {
  if (std::fabs(coordinate) < kTolerance) coordinate = 0.0;
}

// Measures the area between the points, not how far one is from the line of the others.
bool areColinear(const ZkPoint &p0, const ZkPoint &p1, const ZkPoint &p2, double tolerance) {
  const ZkVector u = subtract(p0, p1);
  const ZkVector w = subtract(p2, p0);
  return std::fabs(w.x * u.y - u.x * w.y) < tolerance &&
         std::fabs(u.z * w.y - w.z * u.y) < tolerance &&
         std::fabs(u.z * w.x - w.z * u.x) < tolerance;
}

// For a point on the line ab; the ends are outside.
bool isInside(const ZkPoint &point, const ZkPoint &a, const ZkPoint &b) {
  const ZkVector ap = subtract(point, a);
  const ZkVector ab = subtract(b, a);
  ZkVector towardsPoint = ap;
  ZkVector towardsB = ab;
  return normalize(towardsPoint) && normalize(towardsB) && equal(towardsPoint, towardsB) &&
         length(ap) < length(ab);
}

bool isBetween(const ZkPoint &point, const ZkPoint &a, const ZkPoint &b, bool onlyIfColinear) {
  if (areColinear(point, a, b, kTolerance)) return isInside(point, a, b);
  ZkPoint foot;
  return !onlyIfColinear && projectOntoLine(foot, point, a, b) && isInside(foot, a, b);
}

bool isInCylinder(double *distanceOut, const ZkPoint &point, const ZkPoint &a, const ZkPoint &b,
                  double radius) {
  ZkPoint foot;
  if (!projectOntoLine(foot, point, a, b) || !isInside(foot, a, b)) return false;
  const double fromAxis = distance(point, foot);
  if (!(fromAxis <= radius)) return false;
  if (distanceOut != nullptr) *distanceOut = fromAxis;
  return true;
}

// How far from `c` along the unit of `cd` the line with the foot of `c` is met; `cf` leads from
// there back to the foot.
double distanceToMeeting(const ZkVector &cf, const ZkVector &cd) {
  const double k = dot(cf, cd);
  const double lengthCf = length(cf);
  return std::fabs(k) >= kTolerance ? length(cd) * (lengthCf * lengthCf) / k : lengthCf;
}

// The point of line cd that is on line ab if the lines meet at all.
bool findMeeting(ZkPoint &meeting, const ZkPoint &a, ZkVector ab, const ZkPoint &c,
                 const ZkVector &cd) {
  ZkVector unitCd = cd;
  if (!normalize(ab) || !normalize(unitCd)) return false;
  const ZkPoint foot = add(a, scale(ab, dot(ab, subtract(c, a))));
  meeting = add(c, scale(unitCd, distanceToMeeting(subtract(foot, c), cd)));
  return true;
}

bool intersect(ZkPoint &result, const ZkPoint &a, const ZkPoint &b, const ZkPoint &c,
               const ZkPoint &d, double tolerance) {
  const ZkVector ab = subtract(b, a);
  const ZkVector cd = subtract(d, c);
  if (!isFormed(ab) || !isFormed(cd) || areParallel(ab, cd)) return false;
  for (const ZkPoint &end : {a, b}) {
    if (!equal(end, c, tolerance) && !equal(end, d, tolerance)) continue;
    result = end;
    return true;
  }
  ZkPoint meeting;
  if (!findMeeting(meeting, a, ab, c, cd)) return false;
  const bool meets = areColinear(a, b, meeting, tolerance);
  result = meeting;  // last: it may be one of the operands
  return meets;
}

// With a decimal point in any locale, and without taking memory.
void traceProjection(const ZkPoint &foot, int line) {
  if (ZK_DiagCurrentLevel < 3 || (ZK_DiagCurrentCondition & kTrace.conditionBit) == 0) return;
  char text[1100];
  std::size_t end = copyBounded(text, "Projection point is ", sizeof text - 1);
  const auto append = [&](double value, const char *separator) {
    end += base::formatFixed(text + end, sizeof text - 1 - end, value, 6);
    end += copyBounded(text + end, separator, sizeof text - 1 - end);
  };
  append(foot.x, ", ");
  append(foot.y, ", ");
  append(foot.z, "\n");
  zk_Diag_putOutputMsg(text, kTrace.module, line);
}

bool orthoVector(ZkVector &result, const ZkPoint &b, const ZkPoint &a, const ZkPoint &point) {
  ZkPoint foot;
  if (!projectOntoLine(foot, point, a, b)) return false;
  traceProjection(foot, __LINE__);
  result = subtract(point, foot);
  return true;
}

bool parse(ZkPoint &result, const char *text, const char *delimiters) {
  double values[3] = {0.0, 0.0, 0.0};
  std::size_t count = 0;
  Tokenizer tokens(text, delimiters);
  for (std::string_view token; count < 3 && tokens.next(token); ++count) {
    values[count] = base::toDouble(token);
  }
  const bool enough = count >= 2;
  result = enough ? ZkPoint{values[0], values[1], values[2]} : ZkPoint{0.0, 0.0, 0.0};
  return enough;
}

// A failed move leaves the starting point as the result.
bool moveAlong(ZkPoint &result, const ZkPoint &point, const ZkVector &vector, double distance) {
  ZkPoint moved = point;
  const bool done = translate(moved, vector, distance);
  result = moved;
  return done;
}

}  // namespace
}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

int ZK_CALL zk_Point_set(ZkPoint *point, double x, double y, double z) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_set);
  return setRecord(point, x, y, z);
}

int ZK_CALL zk_Point_setX(ZkPoint *point, double x) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_setX);
  return setCoordinate(point, &ZkPoint::x, x);
}

int ZK_CALL zk_Point_setY(ZkPoint *point, double y) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_setY);
  return setCoordinate(point, &ZkPoint::y, y);
}

int ZK_CALL zk_Point_setZ(ZkPoint *point, double z) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_setZ);
  return setCoordinate(point, &ZkPoint::z, z);
}

int ZK_CALL zk_Point_getX(double *x, const ZkPoint *point) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_getX);
  return getCoordinate(x, point, &ZkPoint::x);
}

int ZK_CALL zk_Point_getY(double *y, const ZkPoint *point) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_getY);
  return getCoordinate(y, point, &ZkPoint::y);
}

int ZK_CALL zk_Point_getZ(double *z, const ZkPoint *point) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_getZ);
  return getCoordinate(z, point, &ZkPoint::z);
}

int ZK_CALL zk_Point_copy(ZkPoint *result, const ZkPoint *point) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_copy);
  return store(result, itself, point);
}

int ZK_CALL zk_Point_fromVector(ZkPoint *result, const ZkVector *vector) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_fromVector);
  return store(result, itself, vector);
}

int ZK_CALL zk_Point_setToTolerance(ZkPoint *point) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_setToTolerance);
  if (point == nullptr) return 0;
  snapToZero(point->x);
  snapToZero(point->y);
  snapToZero(point->z);
  return 1;
}

int ZK_CALL zk_Point_fromDelimitedString(ZkPoint *result, const char *text,
                                         const char *delimiters) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_fromDelimitedString);
  return areGiven(result, text, delimiters) && parse(*result, text, delimiters);
}

int ZK_CALL zk_Point_equal(const ZkPoint *a, const ZkPoint *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_equal);
  return areGiven(a, b) && equal(*a, *b);
}

int ZK_CALL zk_Point_equalWithinTol(const ZkPoint *a, const ZkPoint *b, double tolerance) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_equalWithinTol);
  return areGiven(a, b) && equal(*a, *b, tolerance);
}

int ZK_CALL zk_Point_colinear(const ZkPoint *p0, const ZkPoint *p1, const ZkPoint *p2) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_colinear);
  return zk_Point_colinearWithinTol(p0, p1, p2, kTolerance);
}

int ZK_CALL zk_Point_colinearWithinTol(const ZkPoint *p0, const ZkPoint *p1, const ZkPoint *p2,
                                       double tolerance) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_colinearWithinTol);
  return areGiven(p0, p1, p2) && areColinear(*p0, *p1, *p2, tolerance);
}

int ZK_CALL zk_Point_distance(double *result, const ZkPoint *a, const ZkPoint *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_distance);
  return store(result, distance, a, b);
}

int ZK_CALL zk_Point_add(ZkPoint *result, const ZkPoint *a, const ZkPoint *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_add);
  return store(result, add, a, b);
}

// Every caller relies on this order: the first operand is taken from the second.
int ZK_CALL zk_Point_subtract(ZkPoint *result, const ZkPoint *a, const ZkPoint *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_subtract);
  return store(result, subtract, b, a);
}

int ZK_CALL zk_Point_midpoint(ZkPoint *result, const ZkPoint *a, const ZkPoint *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_midpoint);
  return store(
      result, [](const ZkPoint &p, const ZkPoint &q) { return scale(add(p, q), 0.5); }, a, b);
}

int ZK_CALL zk_Point_translateByVector(ZkPoint *result, const ZkPoint *point,
                                       const ZkVector *vector, double distance) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_translateByVector);
  return areGiven(result, point, vector) && moveAlong(*result, *point, *vector, distance);
}

int ZK_CALL zk_Point_translateByAngle(ZkPoint *result, const ZkPoint *point, double angle,
                                      double distance) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_translateByAngle);
  const ZkVector direction{std::cos(angle), std::sin(angle), 0.0};
  return areGiven(result, point) && moveAlong(*result, *point, direction, distance);
}

int ZK_CALL zk_Point_projectOntoLine(ZkPoint *result, const ZkPoint *point, const ZkPoint *a,
                                     const ZkPoint *b) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_projectOntoLine);
  return storeIf(result, projectOntoLine, point, a, b);
}

int ZK_CALL zk_Point_getOrthoVector(ZkVector *result, const ZkPoint *b, const ZkPoint *a,
                                    const ZkPoint *point) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_getOrthoVector);
  return storeIf(result, orthoVector, b, a, point);
}

int ZK_CALL zk_Point_intersectPoint(ZkPoint *result, const ZkPoint *a, const ZkPoint *b,
                                    const ZkPoint *c, const ZkPoint *d) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_intersectPoint);
  return zk_Point_intersectPointWithinTol(result, a, b, c, d, kTolerance);
}

int ZK_CALL zk_Point_intersectPointWithinTol(ZkPoint *result, const ZkPoint *a, const ZkPoint *b,
                                             const ZkPoint *c, const ZkPoint *d, double tolerance) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_intersectPointWithinTol);
  return areGiven(result, a, b, c, d) && intersect(*result, *a, *b, *c, *d, tolerance);
}

int ZK_CALL zk_Point_between(const ZkPoint *point, const ZkPoint *a, const ZkPoint *b,
                             int onlyIfColinear) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_between);
  return areGiven(point, a, b) && isBetween(*point, *a, *b, onlyIfColinear != 0);
}

int ZK_CALL zk_Point_inCylinder(double *distance, const ZkPoint *point, const ZkPoint *a,
                                const ZkPoint *b, double radius) {
  ZK_TRACE_LEAVING(kTrace, zk_Point_inCylinder);
  return areGiven(point, a, b) && isInCylinder(distance, *point, *a, *b, radius);
}

ZK_EXTERN_C_END
