// Point and vector arithmetic without traces and null tests, for the geometry families.
//
// The order of the operations is part of each formula: results agree to the last bit on every
// platform. Comparisons are written so that a NaN fails them.
#pragma once

#include "zk/geometry.h"

#include <cmath>

namespace zk {

inline constexpr double kTolerance = ZK_GEOMETRY_TOLERANCE;
inline constexpr double kPi = 3.141592653589793;

inline ZkVector add(const ZkVector &a, const ZkVector &b) noexcept {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}

// a - b, unlike the exported subtractions, which take their second operand from the third.
inline ZkVector subtract(const ZkVector &a, const ZkVector &b) noexcept {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

inline ZkVector scale(const ZkVector &v, double factor) noexcept {
  return {v.x * factor, v.y * factor, v.z * factor};
}

inline ZkVector negate(const ZkVector &v) noexcept { return {-v.x, -v.y, -v.z}; }

inline double dot(const ZkVector &a, const ZkVector &b) noexcept {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline ZkVector cross(const ZkVector &a, const ZkVector &b) noexcept {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline double length(const ZkVector &v) noexcept { return std::sqrt(dot(v, v)); }

inline double distance(const ZkPoint &a, const ZkPoint &b) noexcept {
  return length(subtract(a, b));
}

inline bool isFinite(const ZkVector &v) noexcept {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

// Whether two points differ at all, given the vector between them; no tolerance comes in.
inline bool isFormed(const ZkVector &v) noexcept {
  const double magnitude = length(v);
  return magnitude > 0.0 && std::isfinite(magnitude);
}

// Whether a length counts as one: a number that is more than the tolerance.
inline bool isLength(double length) noexcept {
  return length > kTolerance && std::isfinite(length);
}

inline bool equal(const ZkVector &a, const ZkVector &b, double tolerance = kTolerance) noexcept {
  return std::fabs(a.x - b.x) < tolerance && std::fabs(a.y - b.y) < tolerance &&
         std::fabs(a.z - b.z) < tolerance;
}

// Neither operand is normalised first.
inline bool areOrthogonal(const ZkVector &a, const ZkVector &b) noexcept {
  return std::fabs(dot(a, b)) < kTolerance;
}
inline bool areParallel(const ZkVector &a, const ZkVector &b) noexcept {
  return length(cross(a, b)) < kTolerance;
}

// False and the vector as it was when it has no length.
inline bool normalize(ZkVector &v) noexcept {
  const double magnitude = length(v);
  if (!isLength(magnitude)) return false;
  v = scale(v, 1.0 / magnitude);
  return true;
}

// Moves `p` along the direction of `v`; false and the point as it was when there is no direction
// or no finite place there.
inline bool translate(ZkPoint &p, ZkVector v, double distance) noexcept {
  if (!normalize(v)) return false;
  const ZkPoint moved = add(p, scale(v, distance));
  if (!isFinite(moved)) return false;
  p = moved;
  return true;
}

// The foot of the perpendicular from `p` onto the line from `a` to `b`. False, with `foot` as it
// was, when the line has no length or `p` lies on `a`.
inline bool projectOntoLine(ZkPoint &foot, const ZkPoint &p, const ZkPoint &a,
                            const ZkPoint &b) noexcept {
  const ZkVector ab = subtract(b, a);
  const ZkVector ap = subtract(p, a);
  const double lengthAb = length(ab);
  const double lengthAp = length(ap);
  if (!isLength(lengthAb) || !isLength(lengthAp)) return false;
  const double along = lengthAp * dot(ab, ap) / (lengthAb * lengthAp);
  ZkPoint moved = a;
  if (!translate(moved, ab, along)) return false;
  foot = moved;
  return true;
}

// The part of unit(b) that is perpendicular to `a`; false, with `part` as it was, when either has
// no direction or both have the same one. Seen from the tip of unit(a), so that it fails there.
inline bool perpendicularPart(ZkVector &part, ZkVector a, ZkVector b) noexcept {
  ZkPoint foot;
  if (!normalize(a) || !normalize(b) || !projectOntoLine(foot, b, a, ZkPoint{0, 0, 0})) {
    return false;
  }
  part = subtract(b, foot);
  return true;
}

// ---- The pointers of exported functions

template <typename... T>
bool areGiven(const T *...pointers) noexcept {
  return (... && (pointers != nullptr));
}

// The result of `compute` on the operands; `result` may be one of them.
template <typename Result, typename Compute, typename... Operand>
int store(Result *result, Compute compute, const Operand *...operands) noexcept {
  if (!areGiven(result, operands...)) return 0;
  *result = compute(*operands...);
  return 1;
}

// The same for a `compute` that can fail and writes its result last.
template <typename Result, typename Compute, typename... Operand>
int storeIf(Result *result, Compute compute, const Operand *...operands) noexcept {
  return areGiven(result, operands...) && compute(*result, *operands...);
}

template <typename Test, typename... Operand>
int holds(Test test, const Operand *...operands) noexcept {
  return areGiven(operands...) && test(*operands...);
}

inline ZkPoint itself(const ZkPoint &record) noexcept { return record; }

inline int setRecord(ZkPoint *record, double x, double y, double z) noexcept {
  const ZkPoint values{x, y, z};
  return store(record, itself, &values);
}

inline int setCoordinate(ZkPoint *record, double ZkPoint::*coordinate, double value) noexcept {
  if (record == nullptr) return 0;
  record->*coordinate = value;
  return 1;
}

inline int getCoordinate(double *result, const ZkPoint *record,
                         double ZkPoint::*coordinate) noexcept {
  return store(
      result, [&](const ZkPoint &from) { return from.*coordinate; }, record);
}

}  // namespace zk
