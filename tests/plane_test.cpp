// Planes, rays, where they meet, and the function that tracks objects.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "zk_baselib.h"

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

void expectSame(const ZkPoint &actual, const ZkPoint &expected) {
  EXPECT_EQ(std::memcmp(&actual, &expected, sizeof actual), 0)
      << actual.x << " " << actual.y << " " << actual.z;
}

TEST(Plane, RecordsHoldCopies) {
  const ZkPoint point{1, 2, 3};
  const ZkVector vector{4, 5, 6};
  ZkPlane *plane = zk_Plane_create(&point, &vector);
  ZkRay *ray = zk_Ray_create(&point, &vector);
  const double expected[] = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(std::memcmp(plane, expected, sizeof *plane), 0);
  EXPECT_EQ(std::memcmp(ray, expected, sizeof *ray), 0);
  EXPECT_EQ(zk_Plane_set(plane, &plane->normal, &plane->point), 1);  // from its own parts
  EXPECT_EQ(zk_Ray_set(ray, &vector, &point), 1);
  EXPECT_EQ(zk_Plane_set(plane, &point, nullptr), 0);
  EXPECT_EQ(zk_Ray_set(ray, nullptr, &vector), 0);
  ZkPoint got{0, 0, 0};
  EXPECT_EQ(zk_Plane_getPoint(&got, plane), 1);
  expectSame(got, vector);
  EXPECT_EQ(zk_Plane_getOrthoVector(&got, plane), 1);
  expectSame(got, point);
  EXPECT_EQ(zk_Ray_getPoint(&got, ray), 1);
  expectSame(got, vector);
  EXPECT_EQ(zk_Ray_getVector(&got, ray), 1);
  expectSame(got, point);
  EXPECT_EQ(zk_Plane_create(&point, nullptr), nullptr);
  EXPECT_EQ(zk_Ray_create(nullptr, &vector), nullptr);
  EXPECT_EQ(zk_Plane_destroy(plane), 1);
  EXPECT_EQ(zk_Ray_destroy(ray), 1);
}

TEST(Plane, MeetsRays) {
  const ZkPlane ground{{0, 0, 0}, {0, 0, 1}};
  const struct {
    ZkPlane plane;
    ZkRay ray;
    int result;
    ZkPoint place;
  } cases[] = {
      {ground, {{0, 0, 5}, {0, 0, 2}}, 1, {0, 0, 0}},  // behind where the ray begins
      {ground, {{0, 0, 5}, {0, 0, -2}}, 1, {0, 0, 0}},
      {{{7, 8, 2}, {0, 0, -3}}, {{1, 2, 0}, {0, 0, 9}}, 1, {1, 2, 2}},
      {ground, {{1, 2, 0}, {0, 0, 1}}, 1, {1, 2, 0}},
      {ground, {{1, 2, 0}, {1, 0, 0}}, 0, {}},  // lies in the plane
      {ground, {{1, 2, 3}, {1, 0, 1e-5}}, 0, {}},
      {ground, {{0, 0, 5}, {0, 0, 1e-5}}, 0, {}},
      {{{0, 0, 0}, {0, 0, 0}}, {{0, 0, 5}, {0, 0, 1}}, 0, {}},
      {{{0, 0, 0}, {0, 0, kInfinity}}, {{0, 0, 5}, {0, 0, 1}}, 0, {}},
      {{{0, 0, kNan}, {0, 0, 1}}, {{0, 0, 5}, {0, 0, 1}}, 0, {}},
      {ground, {{0, 0, 5}, {0, kNan, 1}}, 0, {}},
      {ground, {{0, -kInfinity, 5}, {0, 0, 1}}, 0, {}},
      {{{0, 0, 1e308}, {0, 0, 1}}, {{0, 0, -1e308}, {0, 0, 1}}, 0, {}},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << "case " << &c - cases);
    const ZkPoint untouched{-7, -7, -7};
    ZkPoint place = untouched;
    EXPECT_EQ(zk_Plane_intersectionWithRay(&place, &c.plane, &c.ray), c.result);
    expectSame(place, c.result != 0 ? c.place : untouched);
  }
}

TEST(Plane, TheMeetingPlaceIsOnBoth) {
  std::mt19937 engine(4711);
  std::uniform_real_distribution<double> number(-10, 10);
  const auto vector = [&] {
    const double x = number(engine);
    const double y = number(engine);
    return ZkVector{x, y, number(engine)};
  };
  for (int round = 0; round < 1000; ++round) {
    const ZkPlane plane{vector(), vector()};
    ZkRay ray{vector(), vector()};
    const ZkVector n = plane.normal;
    const ZkVector v = ray.vector;
    const double steepness = n.x * v.x + n.y * v.y + n.z * v.z;
    if (std::fabs(steepness) < 1) continue;
    const ZkPoint from = ray.point;
    ASSERT_EQ(zk_Plane_intersectionWithRay(&ray.point, &plane, &ray), 1);  // onto an operand
    const ZkPoint p = ray.point;
    EXPECT_NEAR(
        (p.x - plane.point.x) * n.x + (p.y - plane.point.y) * n.y + (p.z - plane.point.z) * n.z, 0,
        1e-6);
    const double along = (p.x - from.x) / v.x;
    EXPECT_NEAR(from.y + along * v.y, p.y, 1e-6);
    EXPECT_NEAR(from.z + along * v.z, p.z, 1e-6);
  }
}

TEST(TrackObject, CallsTheFunctionThatIsSet) {
  EXPECT_EQ(zk_RM_callFuncTrackObject(), 0);
  EXPECT_EQ(zk_RM_setFuncTrackObject([] { return 42; }), 1);
  EXPECT_EQ(zk_RM_callFuncTrackObject(), 42);
  EXPECT_EQ(zk_RM_setFuncTrackObject(nullptr), 1);
  EXPECT_EQ(zk_RM_callFuncTrackObject(), 0);
}

}  // namespace
