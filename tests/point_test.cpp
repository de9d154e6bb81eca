// Points and vectors: tolerances, degenerate input, and properties over random input.
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <functional>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "zk_baselib.h"

// Exactly equal: these tests say so themselves where a tolerance is meant.
static bool operator==(const ZkPoint &a, const ZkPoint &b) {
  return a.x == b.x && a.y == b.y && a.z == b.z;
}
static std::ostream &operator<<(std::ostream &out, const ZkPoint &p) {
  return out << "(" << p.x << ", " << p.y << ", " << p.z << ")";
}

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kPi = 3.141592653589793;
constexpr ZkPoint kOrigin = {0, 0, 0};
constexpr ZkPoint kUntouched = {-77, -77, -77};

using TwoToOne = int(ZK_CALL *)(ZkPoint *, const ZkPoint *, const ZkPoint *);

bool isFinite(const ZkPoint &p) {
  return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

double distance(const ZkPoint &a, const ZkPoint &b) {
  return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
}

// a + t(b - a).
ZkPoint along(const ZkPoint &a, const ZkPoint &b, double t) {
  return {a.x + t * (b.x - a.x), a.y + t * (b.y - a.y), a.z + t * (b.z - a.z)};
}

// A vector of length 1 at right angles to ab.
ZkVector sideways(const ZkPoint &a, const ZkPoint &b, double angle) {
  const ZkPoint helper = {a.x + std::cos(angle), a.y + std::sin(angle), a.z + 0.3};
  ZkVector normal = kOrigin;
  EXPECT_EQ(zk_Vector_computeOrthonorm(&normal, &a, &b, &helper), 1);
  return normal;
}

class RandomPoints {
 public:
  double number(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(engine_);
  }
  ZkPoint point() { return {number(-9, 9), number(-9, 9), number(-9, 9)}; }
  // At least 1 away from `other`.
  ZkPoint pointAwayFrom(const ZkPoint &other) {
    ZkPoint made = point();
    while (distance(made, other) < 1) made = point();
    return made;
  }

 private:
  std::mt19937 engine_{9};
};

TEST(Point, ArithmeticMayWriteIntoItsOperands) {
  const ZkPoint a = {1, 1, 1};
  const ZkPoint b = {4, 5, 6};
  const struct {
    const char *name;
    TwoToOne compute;
    ZkPoint result;
  } cases[] = {
      {"Point_add", zk_Point_add, {5, 6, 7}},
      {"Point_subtract", zk_Point_subtract, {3, 4, 5}},  // the second operand from the third
      {"Point_midpoint", zk_Point_midpoint, {2.5, 3, 3.5}},
      {"Vector_add", zk_Vector_add, {5, 6, 7}},
      {"Vector_subtract", zk_Vector_subtract, {3, 4, 5}},
      {"Vector_computeVector", zk_Vector_computeVector, {3, 4, 5}},
      {"Vector_crossProduct", zk_Vector_crossProduct, {1, -2, 1}},
  };
  for (const auto &c : cases) {
    ZkPoint result = kUntouched;
    EXPECT_EQ(c.compute(&result, &a, &b), 1) << c.name;
    EXPECT_EQ(result, c.result) << c.name;
    ZkPoint first = a;
    EXPECT_EQ(c.compute(&first, &first, &b), 1) << c.name;
    EXPECT_EQ(first, c.result) << c.name;
    ZkPoint second = b;
    EXPECT_EQ(c.compute(&second, &a, &second), 1) << c.name;
    EXPECT_EQ(second, c.result) << c.name;
  }
  ZkPoint p = a;
  EXPECT_EQ(zk_Point_translateByVector(&p, &p, &p, std::sqrt(3.0)), 1);
  EXPECT_LT(distance(p, {2, 2, 2}), 1e-12);
  EXPECT_EQ(zk_Point_translateByAngle(&p, &b, kPi / 2, 2), 1);
  EXPECT_LT(distance(p, {4, 7, 6}), 1e-12);
  EXPECT_EQ(zk_Vector_scale(&p, &b, -0.5), 1);
  EXPECT_EQ(p, (ZkPoint{-2, -2.5, -3}));
  EXPECT_EQ(zk_Vector_negate(&p, &p), 1);
  EXPECT_EQ(p, (ZkPoint{2, 2.5, 3}));
  double number = 0;
  EXPECT_EQ(zk_Point_distance(&number, &kOrigin, &b), 1);
  EXPECT_EQ(number, std::sqrt(77.0));
  EXPECT_EQ(zk_Vector_dotProduct(&number, &p, &b), 1);
  EXPECT_EQ(number, 38.5);
}

TEST(Point, EachCoordinateHasItsOwnAccessors) {
  const struct {
    int(ZK_CALL *set)(ZkPoint *, double);
    int(ZK_CALL *get)(double *, const ZkPoint *);
    double ZkPoint::*coordinate;
  } cases[] = {
      {zk_Point_setX, zk_Point_getX, &ZkPoint::x},   {zk_Point_setY, zk_Point_getY, &ZkPoint::y},
      {zk_Point_setZ, zk_Point_getZ, &ZkPoint::z},   {zk_Vector_setX, zk_Vector_getX, &ZkPoint::x},
      {zk_Vector_setY, zk_Vector_getY, &ZkPoint::y}, {zk_Vector_setZ, zk_Vector_getZ, &ZkPoint::z},
  };
  for (const auto &c : cases) {
    ZkPoint expected = {1, 2, 3};
    ZkPoint point = kUntouched;
    zk_Point_set(&point, 1, 2, 3);
    EXPECT_EQ(c.set(&point, 9), 1);
    expected.*c.coordinate = 9;
    EXPECT_EQ(point, expected);
    double value = 0;
    EXPECT_EQ(c.get(&value, &point), 1);
    EXPECT_EQ(value, 9);
  }
}

// The formulas are evaluated in one order, without extra precision: these bits hold on every
// platform. (A division in place of the factor 1/m, or a shortened projection, gives others.)
TEST(Point, ResultsAgreeToTheLastBit) {
  const ZkPoint p = {3.8, -4.8, 4.6};
  const ZkPoint a = {-3.5, -3.4, 3.5};
  const ZkPoint b = {3.2, -2.7, 0.5};
  ZkPoint result;
  ASSERT_EQ(zk_Vector_copyNormalize(&result, &p), 1);
  EXPECT_EQ(result, (ZkPoint{0x1.fc24cb96132a5p-2, -0x1.40eed16c41ffdp-1, 0x1.338f88b269ea7p-1}));
  ASSERT_EQ(zk_Point_projectOntoLine(&result, &p, &a, &b), 1);
  EXPECT_EQ(result, (ZkPoint{0x1.ffacd83fb8e58p+0, -0x1.69aa2bb96c683p+1, 0x1.09b29b59ea584p+0}));
  ASSERT_EQ(zk_Vector_getOrthoVector(&result, &p, &a), 1);
  EXPECT_EQ(result, (ZkPoint{-0x1.940f4233f4dffp-1, -0x1.38e65ef087015p-2, 0x1.55128fe06be03p-2}));
  const ZkPoint a1 = {3.3, 5.0, 2.1};
  const ZkPoint b1 = {-0x1.f333333333333p+0, 0x1.999999999999cp-1, -0x1.6cccccccccccdp+2};
  const ZkPoint c1 = {4.2, 4.4, -1.2};
  const ZkPoint d1 = {-0x1.851eb851eb852p+0, 0x1.8a3d70a3d70a4p+0, -0x1.d5c28f5c28f5cp+1};
  ASSERT_EQ(zk_Point_intersectPoint(&result, &a1, &b1, &c1, &d1), 1);
  EXPECT_EQ(result, (ZkPoint{-0x1.99999999999c0p-3, 0x1.1999999999999p+1, -0x1.8cccccccccccdp+1}));
}

TEST(Point, TolerancesAreStrict) {
  const double exactly = ZK_GEOMETRY_TOLERANCE;
  for (double ZkPoint::*coordinate : {&ZkPoint::x, &ZkPoint::y, &ZkPoint::z}) {
    for (const double sign : {1.0, -1.0}) {
      ZkPoint other = kOrigin;
      other.*coordinate = sign * exactly;
      EXPECT_EQ(zk_Point_equal(&kOrigin, &other), 0);
      EXPECT_EQ(zk_Vector_equal(&kOrigin, &other), 0);
      other.*coordinate = sign * 0.99e-5;
      EXPECT_EQ(zk_Point_equal(&kOrigin, &other), 1);
      EXPECT_EQ(zk_Vector_equal(&kOrigin, &other), 1);
      other.*coordinate = sign * 2;
      EXPECT_EQ(zk_Point_equalWithinTol(&kOrigin, &other, 2), 0);
      EXPECT_EQ(zk_Vector_equalWithinTol(&kOrigin, &other, 2), 0);
      EXPECT_EQ(zk_Point_equalWithinTol(&kOrigin, &other, 2.001), 1);
      EXPECT_EQ(zk_Vector_equalWithinTol(&kOrigin, &other, 2.001), 1);
    }
  }
  ZkPoint p = {-0.99e-5, 1e-5, 1e-300};
  EXPECT_EQ(zk_Point_setToTolerance(&p), 1);
  EXPECT_EQ(p, (ZkPoint{0, 1e-5, 0}));
  EXPECT_FALSE(std::signbit(p.x));

  // An area: the same small distance from the line counts more at the end of a longer one.
  const ZkPoint shortEnd = {1, 0, 0};
  const ZkPoint longEnd = {10, 0, 0};
  const ZkPoint beside = {0, 5e-6, 0};
  EXPECT_EQ(zk_Point_colinear(&beside, &kOrigin, &shortEnd), 1);
  EXPECT_EQ(zk_Point_colinear(&beside, &kOrigin, &longEnd), 0);
  EXPECT_EQ(zk_Point_colinearWithinTol(&beside, &kOrigin, &longEnd, 1e-4), 1);

  const struct {
    ZkVector a, b;
    int orthogonal, parallel;
  } cases[] = {
      {{1, 0, 0}, {1e-5, 1, 0}, 0, 0},     {{1, 0, 0}, {-0.99e-5, 1, 0}, 1, 0},
      {{1, 0, 0}, {1, 1e-5, 0}, 0, 0},     {{1, 0, 0}, {-1, 0.99e-5, 0}, 0, 1},
      {{1e-3, 0, 0}, {0, 1e-3, 0}, 1, 1},   // too short to be told apart
      {{100, 0, 0}, {1e-6, 100, 0}, 0, 0},  // nor is the longer one made shorter
  };
  for (const auto &c : cases) {
    EXPECT_EQ(zk_Vector_orthogonal(&c.a, &c.b), c.orthogonal) << c.a << c.b;
    EXPECT_EQ(zk_Vector_parallel(&c.a, &c.b), c.parallel) << c.a << c.b;
  }
  const ZkVector flat = {5, -3, 0.99e-5};
  const ZkVector upright = {0, 0, -4};
  EXPECT_EQ(zk_Vector_isHorizontal(&flat) * 10 + zk_Vector_isVertical(&flat), 10);
  EXPECT_EQ(zk_Vector_isHorizontal(&upright) * 10 + zk_Vector_isVertical(&upright), 1);
}

TEST(Point, LengthsCountFromAboveTheTolerance) {
  ZkVector v = {1e-5, 0, 0};
  EXPECT_EQ(zk_Vector_normalize(&v), 0);
  EXPECT_EQ(v, (ZkVector{1e-5, 0, 0}));
  v = {2e-5, 0, 0};
  EXPECT_EQ(zk_Vector_normalize(&v), 1);
  EXPECT_LT(distance(v, {1, 0, 0}), 1e-15);

  const ZkPoint near = {1e-6, 0, 0};
  EXPECT_EQ(zk_Vector_computeVector(&v, &kOrigin, &near), 1);  // the tolerance does not come in
  EXPECT_EQ(v, near);
  EXPECT_EQ(zk_Vector_computeVector(&v, &near, &near), 0);
  EXPECT_EQ(v, kOrigin);  // written
  v = kUntouched;
  EXPECT_EQ(zk_Vector_computeNormal(&v, &kOrigin, &near), 0);
  EXPECT_EQ(v, kUntouched);
  const ZkPoint p = {1, 2, 3};
  EXPECT_EQ(zk_Point_translateByVector(&v, &p, &near, 7), 0);
  EXPECT_EQ(v, p);  // the point itself
  v = kUntouched;
  EXPECT_EQ(zk_Point_translateByAngle(&v, &p, kInfinity, 7), 0);
  EXPECT_EQ(v, p);
}

TEST(Point, Angles) {
  const struct {
    ZkVector a, b;
    double angle;  // negative: none
  } cases[] = {
      {{1, 0, 0}, {-1, 0, 0}, kPi},
      {{1, 0, 0}, {0, 0, 5}, kPi / 2},
      {{1, 1, 0}, {3, 0, 0}, kPi / 4},
      {{1.2, -1.6, -1.9}, {1.2, -1.6, -1.9}, 0},   // where rounding passes 1 ...
      {{1.2, -1.6, -1.9}, {-1.2, 1.6, 1.9}, kPi},  // ... and -1
      {{1, 0, 0}, {0, 0, 0}, -1},
      {{1e-5, 0, 0}, {1, 0, 0}, -1},
  };
  for (const auto &c : cases) {
    double angle = -1;
    EXPECT_EQ(zk_Vector_angle(&angle, &c.a, &c.b), c.angle >= 0) << c.a << c.b;
    EXPECT_NEAR(angle, c.angle, 1e-7) << c.a << c.b;
  }
  RandomPoints random;
  for (int i = 0; i < 2000; ++i) {
    const double expected = random.number(0, kPi);
    const ZkVector a = random.pointAwayFrom(kOrigin);
    ZkVector unit;
    ASSERT_EQ(zk_Vector_copyNormalize(&unit, &a), 1);
    const ZkVector side = sideways(kOrigin, a, 1.0);
    const double c = 3 * std::cos(expected);
    const double s = 3 * std::sin(expected);
    const ZkVector b = {c * unit.x + s * side.x, c * unit.y + s * side.y, c * unit.z + s * side.z};
    double angle = -1;
    EXPECT_EQ(zk_Vector_angle(&angle, &a, &b), 1);
    EXPECT_NEAR(angle, expected, 1e-6);
  }
}

TEST(Point, OrthoVectors) {
  const ZkPoint a = {0, 0, 0};
  const ZkPoint b = {4, 0, 0};
  const ZkPoint p = {1, 2, 0};
  ZkVector v = kUntouched;
  EXPECT_EQ(zk_Point_getOrthoVector(&v, &b, &a, &p), 1);
  EXPECT_EQ(v, (ZkVector{0, 2, 0}));
  EXPECT_EQ(zk_Point_getOrthoVector(&v, &b, &a, &a), 0);
  EXPECT_EQ(zk_Point_getOrthoVector(&v, &b, &p, &a), 1) << "b and a come in this order";
  EXPECT_LT(std::fabs(v.x * 3 - v.y * 2), 1e-12);
  const ZkVector same = {9, 0, 0};
  const ZkVector opposite = {-9, 0, 0};
  v = kUntouched;
  EXPECT_EQ(zk_Vector_getOrthoVector(&v, &b, &same), 0);
  EXPECT_EQ(v, kUntouched);
  EXPECT_EQ(zk_Vector_getOrthoVector(&v, &b, &opposite), 1);
  EXPECT_EQ(v, kOrigin);
  EXPECT_EQ(zk_Vector_getOrthoVector(&v, &kOrigin, &b), 0);
}

TEST(Point, PropertiesOfProjections) {
  RandomPoints random;
  for (int i = 0; i < 2000; ++i) {
    const ZkPoint a = random.point();
    const ZkPoint b = random.pointAwayFrom(a);
    const double t = random.number(-2, 3);
    const ZkVector side = sideways(a, b, random.number(0, 6));
    const double away = random.number(0.1, 5);
    const ZkPoint foot = along(a, b, t);
    const ZkPoint p = {foot.x + away * side.x, foot.y + away * side.y, foot.z + away * side.z};
    SCOPED_TRACE(testing::Message() << a << b << p << t);

    ZkPoint found = kUntouched;
    EXPECT_EQ(zk_Point_projectOntoLine(&found, &p, &a, &b), 1);
    EXPECT_LT(distance(found, foot), 1e-9);
    EXPECT_EQ(zk_Point_getOrthoVector(&found, &b, &a, &p), 1);
    EXPECT_LT(distance(found, {p.x - foot.x, p.y - foot.y, p.z - foot.z}), 1e-9);

    const int inside = t > 0 && t < 1;
    EXPECT_EQ(zk_Point_between(&foot, &a, &b, 1), inside);
    EXPECT_EQ(zk_Point_between(&p, &a, &b, 1), 0);
    EXPECT_EQ(zk_Point_between(&p, &a, &b, 0), inside);
    double measured = -1;
    EXPECT_EQ(zk_Point_inCylinder(&measured, &p, &a, &b, away + 1e-9), inside);
    EXPECT_NEAR(measured, inside ? away : -1, 1e-9);
    EXPECT_EQ(zk_Point_inCylinder(nullptr, &p, &a, &b, away - 1e-9), 0);

    // The perpendicular part of unit(b) is what is missing to unit(b) along a.
    ZkVector unit, part;
    ASSERT_EQ(zk_Vector_copyNormalize(&unit, &b), 1);
    double dot = 1, length = 0, angle = 0;
    EXPECT_EQ(zk_Vector_getOrthoVector(&part, &a, &b), 1);
    zk_Vector_dotProduct(&dot, &part, &a);
    EXPECT_NEAR(dot, 0, 1e-9);
    zk_Vector_magnitude(&length, &part);
    EXPECT_EQ(zk_Vector_angle(&angle, &a, &b), 1);
    EXPECT_NEAR(length, std::sin(angle), 1e-9);
  }
}

TEST(Point, BetweenAndInCylinderAtTheirEdges) {
  const ZkPoint a = {0, 0, 0};
  const ZkPoint b = {10, 0, 0};
  const struct {
    ZkPoint p;
    int colinear, any, cylinder;  // between with and without the flag; cylinder of radius 2
  } cases[] = {
      {{5, 0, 0}, 1, 1, 1},
      {a, 0, 0, 0},
      {b, 0, 0, 0},
      {{-1, 0, 0}, 0, 0, 0},
      {{11, 0, 0}, 0, 0, 0},
      {{5, 2, 0}, 0, 1, 1},  // inclusive
      {{5, 0, -2.0001}, 0, 1, 0},
      {{0, 1, 0}, 0, 0, 0},  // its foot is an end
      {{10, 1, 0}, 0, 0, 0},
      {{1e-6, 0, 0}, 0, 0, 0},  // coincides with a
      {{5, 9e-7, 0}, 1, 1, 1},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(zk_Point_between(&c.p, &a, &b, 1), c.colinear) << c.p;
    EXPECT_EQ(zk_Point_between(&c.p, &a, &b, 0), c.any) << c.p;
    EXPECT_EQ(zk_Point_inCylinder(nullptr, &c.p, &a, &b, 2), c.cylinder) << c.p;
  }
  double distance = 5;
  const ZkPoint outside = {5, 3, 0};
  EXPECT_EQ(zk_Point_inCylinder(&distance, &outside, &a, &b, kNan), 0);
  EXPECT_EQ(distance, 5);
}

TEST(Point, Intersections) {
  const struct {
    const char *what;
    ZkPoint a, b, c, d;
    double tolerance;
    int result;
    ZkPoint meeting;
  } cases[] = {
      {"crossing", {0, 0, 0}, {4, 0, 0}, {1, -1, 0}, {1, 1, 0}, 1e-5, 1, {1, 0, 0}},
      {"beyond both", {0, 0, 0}, {1, 0, 0}, {5, 2, 0}, {5, 3, 0}, 1e-5, 1, {5, 0, 0}},
      {"c on ab", {0, 0, 0}, {4, 0, 0}, {1, 0, 0}, {1, 3, 0}, 1e-5, 1, {1, 0, 0}},
      {"a and b both near an end: a",
       {0, 0, 0},
       {1, 0, 0},
       {0.9, 0.2, 0},
       {0.1, 0.3, 0},
       0.5,
       1,
       {0, 0, 0}},
      {"b near c", {9, 9, 9}, {1, 0, 0}, {1.2, 0, 0}, {3, 7, 1}, 0.5, 1, {1, 0, 0}},
      {"skew", {0, 0, 0}, {4, 0, 0}, {1, -1, 1}, {1, 1, 1}, 1e-5, 0, {1, -1, 1}},
      {"parallel", {0, 0, 0}, {4, 0, 0}, {0, 1, 0}, {-2, 1, 0}, 1e-5, 0, kUntouched},
      {"the same line", {0, 0, 0}, {4, 0, 0}, {1, 0, 0}, {2, 0, 0}, 1e-5, 0, kUntouched},
      {"no line", {0, 0, 0}, {0, 0, 0}, {1, 0, 0}, {2, 1, 0}, 1e-5, 0, kUntouched},
      {"no second line", {0, 0, 0}, {4, 1, 0}, {1, 1, 0}, {1, 1, 0}, 1e-5, 0, kUntouched},
  };
  for (const auto &c : cases) {
    ZkPoint meeting = kUntouched;
    EXPECT_EQ(zk_Point_intersectPointWithinTol(&meeting, &c.a, &c.b, &c.c, &c.d, c.tolerance),
              c.result)
        << c.what;
    if (c.what != std::string("skew")) {
      EXPECT_EQ(meeting, c.meeting) << c.what;
    } else {
      EXPECT_FALSE(meeting == kUntouched);  // written all the same
    }
  }

  RandomPoints random;
  for (int i = 0; i < 2000; ++i) {
    const ZkPoint m = random.point();
    const ZkPoint a = random.pointAwayFrom(m);
    const ZkPoint c = random.pointAwayFrom(m);
    const ZkPoint b = along(a, m, random.number(1.5, 2));
    const ZkPoint d = along(c, m, random.number(0.2, 0.8));
    const ZkVector u = {b.x - a.x, b.y - a.y, b.z - a.z};
    const ZkVector w = {d.x - c.x, d.y - c.y, d.z - c.z};
    double angle = 0;
    ASSERT_EQ(zk_Vector_angle(&angle, &u, &w), 1);
    if (std::sin(angle) < 0.05) continue;
    SCOPED_TRACE(testing::Message() << a << b << c << d);
    ZkPoint meeting = kUntouched;
    EXPECT_EQ(zk_Point_intersectPoint(&meeting, &a, &b, &c, &d), 1);
    EXPECT_LT(distance(meeting, m), 1e-6);
    EXPECT_EQ(zk_Point_intersectPoint(&meeting, &c, &d, &b, &a), 1);
    EXPECT_LT(distance(meeting, m), 1e-6);

    // Lifted off each other they are skew.
    ZkVector normal;
    ASSERT_EQ(zk_Vector_crossProduct(&normal, &u, &w), 1);
    ASSERT_EQ(zk_Vector_normalize(&normal), 1);
    const ZkPoint liftedC = {c.x + normal.x, c.y + normal.y, c.z + normal.z};
    const ZkPoint liftedD = {d.x + normal.x, d.y + normal.y, d.z + normal.z};
    EXPECT_EQ(zk_Point_intersectPoint(&meeting, &a, &b, &liftedC, &liftedD), 0);
  }
}

// Whatever is given, what measures, divides or normalises succeeds with numbers or not at all.
TEST(Point, SuccessIsNeverNotANumber) {
  const std::vector<ZkPoint> odd = {{0, 0, 0},         {1, 0, 0},     {2, 0, 0},
                                    {0, 1, -1},        {1e-6, 0, 0},  {1e-170, 0, 0},
                                    {1e154, 1e154, 0}, {0, 1e200, 0}, {1.7e308, 0, 0},
                                    {kInfinity, 0, 0}, {0, kNan, 0},  {1, -kInfinity, kInfinity}};
  const struct {
    const char *name;
    std::function<int(ZkPoint &, const ZkPoint &, const ZkPoint &, const ZkPoint &)> run;
  } cases[] = {
      {"projectOntoLine", [](auto &out, auto &a, auto &b,
                             auto &c) { return zk_Point_projectOntoLine(&out, &a, &b, &c); }},
      {"Point_getOrthoVector", [](auto &out, auto &a, auto &b,
                                  auto &c) { return zk_Point_getOrthoVector(&out, &a, &b, &c); }},
      {"computeOrthonorm", [](auto &out, auto &a, auto &b,
                              auto &c) { return zk_Vector_computeOrthonorm(&out, &a, &b, &c); }},
      {"computeNormal",
       [](auto &out, auto &a, auto &b, auto &) { return zk_Vector_computeNormal(&out, &a, &b); }},
      {"Vector_getOrthoVector",
       [](auto &out, auto &a, auto &b, auto &) { return zk_Vector_getOrthoVector(&out, &a, &b); }},
      {"copyNormalize",
       [](auto &out, auto &a, auto &, auto &) { return zk_Vector_copyNormalize(&out, &a); }},
      {"angle",
       [](auto &out, auto &a, auto &b, auto &) { return zk_Vector_angle(&out.x, &a, &b); }},
      {"inCylinder", [](auto &out, auto &a, auto &b,
                        auto &c) { return zk_Point_inCylinder(&out.x, &a, &b, &c, kInfinity); }},
  };
  for (const ZkPoint &a : odd) {
    for (const ZkPoint &b : odd) {
      for (const ZkPoint &c : odd) {
        for (const auto &k : cases) {
          ZkPoint out = kUntouched;
          const int result = k.run(out, a, b, c);
          EXPECT_TRUE(result == 1 ? isFinite(out) : result == 0 && out == kUntouched)
              << k.name << a << b << c << " gives " << result << out;
        }
        ZkPoint out = kUntouched;
        if (zk_Point_translateByVector(&out, &a, &b, c.x) == 1) {
          EXPECT_TRUE(isFinite(out)) << a << b << c;
        }
        if (zk_Vector_computeVector(&out, &a, &b) == 1) {
          EXPECT_TRUE(isFinite(out)) << a << b;
        }
        for (const ZkPoint &d : odd) {
          if (zk_Point_intersectPointWithinTol(&out, &a, &b, &c, &d, 1e300) == 1) {
            EXPECT_TRUE(isFinite(out)) << a << b << c << d;
          }
        }
      }
    }
  }
  const ZkPoint bad = {kNan, 0, 0};
  for (int(ZK_CALL * test)(const ZkPoint *, const ZkPoint *) :
       {zk_Point_equal, zk_Vector_equal, zk_Vector_orthogonal, zk_Vector_parallel}) {
    EXPECT_EQ(test(&bad, &bad), 0);
  }
  // Plain arithmetic passes them on.
  ZkPoint sum = kOrigin;
  EXPECT_EQ(zk_Point_add(&sum, &bad, &kOrigin), 1);
  EXPECT_TRUE(std::isnan(sum.x));
}

TEST(Point, FromText) {
  // A comma in numbers would be taken for the delimiter, were the locale looked at.
  std::setlocale(LC_ALL, "de_DE.UTF-8");
  const struct {
    const char *text, *delimiters;
    int result;
    ZkPoint point;
  } cases[] = {
      {"1.5,2", ",", 1, {1.5, 2, 0}},  {" -1e2 ; 2.25x;3; 4", ";", 1, {-100, 2.25, 3}},
      {"1,,2", ",", 1, {1, 2, 0}},  // runs of delimiters count as one
      {"1 2/3", " /", 1, {1, 2, 3}},   {"a,b", ",", 1, {0, 0, 0}},
      {"7", ",", 0, {0, 0, 0}},        {"", ",", 0, {0, 0, 0}},
      {"1,2", "", 0, {0, 0, 0}},       {nullptr, ",", 0, kUntouched},
      {"1,2", nullptr, 0, kUntouched},
  };
  for (const auto &c : cases) {
    ZkPoint point = kUntouched;
    EXPECT_EQ(zk_Point_fromDelimitedString(&point, c.text, c.delimiters), c.result);
    EXPECT_EQ(point, c.point) << (c.text != nullptr ? c.text : "null");
  }
  std::setlocale(LC_ALL, "C");
}

TEST(Point, FromNtuple) {
  const ZkVector v = {1, 2, 3};
  ZkNtuple *three = zk_Ntuple_fromVector(&v);
  ZkNtuple *two = zk_Ntuple_create(2);
  ZkVector result = kUntouched;
  EXPECT_EQ(zk_Vector_fromNtuple(&result, two), 0);
  EXPECT_EQ(result, kUntouched);
  EXPECT_EQ(zk_Vector_fromNtuple(&result, three), 1);
  EXPECT_EQ(result, v);
  zk_Ntuple_destroy(two);
  zk_Ntuple_destroy(three);
}

// ---- Traces

template <typename Body>
std::string trace(uint32_t condition, Body body) {
  zk_Diag_setLevel(3);
  zk_Diag_setCondition(condition);
  testing::internal::CaptureStdout();
  body();
  zk_Diag_disable();
  return testing::internal::GetCapturedStdout();
}

template <typename Result, typename... Parameters>
void callWithNothing(Result(ZK_CALL *function)(Parameters...)) {
  function(Parameters{}...);
}
// The variadic ones make a list.
template <typename Record>
void callWithNothing(LnkList *(ZK_CALL *create)(const Record *, ...)) {
  zk_LnkList_destroy(create(nullptr), nullptr);
}
void callWithNothing(LnkList *(ZK_CALL *create)(void)) { zk_LnkList_destroy(create(), nullptr); }

struct Function {
  std::string name;
  void (*call)();
};
const Function kFunctions[] = {
#define ZK_FUNCTION(name) {#name, [] { callWithNothing(name); }},
#include "exported_functions.inc"
#undef ZK_FUNCTION
};

TEST(Point, EveryFunctionTraces) {
  for (const Function &f : kFunctions) {
    const bool isPoint = f.name.starts_with("zk_Point");
    const std::string lines = trace(isPoint ? ZK_DIAG_POINT : ZK_DIAG_VECTOR, f.call);
    EXPECT_TRUE(lines.starts_with(isPoint ? "point.cpp (" : "vector.cpp (")) << lines;
    EXPECT_EQ(lines.find(") Entering " + f.name + ".\n"), lines.find(')')) << f.name << lines;
    EXPECT_TRUE(lines.ends_with(") Leaving " + f.name + ".\n")) << f.name << lines;
    EXPECT_EQ(trace(~(isPoint ? ZK_DIAG_POINT : ZK_DIAG_VECTOR), f.call).find(f.name),
              std::string::npos)
        << f.name << " traces under another bit";
  }
}

TEST(Point, OrthoVectorsTellTheProjectionPoint) {
  const ZkPoint b = {3, 0, 0};
  const ZkPoint p = {1.5, 2, 0};
  ZkPoint result;
  std::setlocale(LC_ALL, "de_DE.UTF-8");
  const std::string lines =
      trace(ZK_DIAG_POINT, [&] { zk_Point_getOrthoVector(&result, &b, &kOrigin, &p); });
  std::setlocale(LC_ALL, "C");
  EXPECT_NE(lines.find(") Projection point is 1.500000, 0.000000, 0.000000\n\n"), std::string::npos)
      << lines;
  // Vectors go the points' way.
  const std::string both =
      trace(ZK_DIAG_POINT | ZK_DIAG_VECTOR, [&] { zk_Vector_getOrthoVector(&result, &b, &p); });
  EXPECT_NE(both.find(") Entering zk_Point_getOrthoVector.\n"), std::string::npos) << both;
  EXPECT_NE(both.find(") Projection point is 0.600000, 0.000000, 0.000000\n\n"), std::string::npos)
      << both;
}

}  // namespace
