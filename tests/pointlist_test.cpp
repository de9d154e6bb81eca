// Point lists and vector lists, which do the same under two names, and point travel.
#include <gtest/gtest.h>

#include <ostream>

#include <functional>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "zk_baselib.h"

namespace {

// Both families: a function that is wired wrongly fails the same tests.
struct Family {
  LnkList *(ZK_CALL *create)(const ZkPoint *, ...);
  LnkList *(ZK_CALL *copy)(const LnkList *);
  int(ZK_CALL *destroy)(LnkList *);
  int(ZK_CALL *delAll)(LnkList *);
  int(ZK_CALL *start)(LnkList *);
  int(ZK_CALL *end)(LnkList *);
  int(ZK_CALL *skip)(LnkList *, int32_t);
  int(ZK_CALL *next)(LnkList *);
  int(ZK_CALL *prev)(LnkList *);
  int(ZK_CALL *eol)(const LnkList *);
  uint32_t(ZK_CALL *length)(const LnkList *);
  ZkPoint *(ZK_CALL *getCurr)(const LnkList *);
  ZkPoint *(ZK_CALL *getNth)(LnkList *, int32_t);
  ZkPoint *(ZK_CALL *getCurrCopy)(const LnkList *);
  int(ZK_CALL *insStart)(LnkList *, const ZkPoint *);
  int(ZK_CALL *insEnd)(LnkList *, const ZkPoint *);
  int(ZK_CALL *insBefore)(LnkList *, const ZkPoint *);
  int(ZK_CALL *insAfter)(LnkList *, const ZkPoint *);
  int(ZK_CALL *insNth)(LnkList *, int32_t, const ZkPoint *);
  int(ZK_CALL *delCurr)(LnkList *);
  int(ZK_CALL *delNth)(LnkList *, int32_t);
  int(ZK_CALL *modCurr)(LnkList *, const ZkPoint *);
  int(ZK_CALL *modNth)(LnkList *, int32_t, const ZkPoint *);
  int32_t(ZK_CALL *search)(LnkList *, const ZkPoint *, double);
  int32_t(ZK_CALL *getClosest)(ZkPoint *, const ZkPoint *, LnkList *);
};

#define FAMILY(name, closest)                                                                \
  {                                                                                          \
    name##_create, name##_copy, name##_destroy, name##_delAll, name##_start, name##_end,     \
        name##_skip, name##_next, name##_prev, name##_eol, name##_length, name##_getCurr,    \
        name##_getNth, name##_getCurrCopy, name##_insStart, name##_insEnd, name##_insBefore, \
        name##_insAfter, name##_insNth, name##_delCurr, name##_delNth, name##_modCurr,       \
        name##_modNth, name##_search, name##_##closest                                       \
  }
// The name that the instances have says it all.
void PrintTo(const Family &, std::ostream *) {}

const Family kFamilies[] = {FAMILY(zk_PointList, getClosestPoint),
                            FAMILY(zk_VectorList, getClosestVector)};

class RecordLists : public testing::TestWithParam<Family> {
 protected:
  // Records (x, -x, 0.5).
  static ZkPoint record(double x) { return {x, -x, 0.5}; }

  LnkList *makeList(const std::vector<double> &xs, int32_t cursor = 0) const {
    LnkList *list = f.create(nullptr);
    for (const double x : xs) {
      const ZkPoint made = record(x);
      EXPECT_EQ(f.insEnd(list, &made), 1);
    }
    f.start(list);
    f.skip(list, cursor);
    return list;
  }

  // "1 >2 3": the records by their x, with a mark at the cursor.
  std::string show(const LnkList *list) const {
    std::ostringstream text;
    uint32_t count = 0;
    for (const LnkNode *node = list->first; node != nullptr; node = node->next, ++count) {
      const auto *found = static_cast<const ZkPoint *>(node->data);
      text << (count != 0 ? " " : "") << (node == list->current ? ">" : "") << found->x;
      EXPECT_EQ(found->y, -found->x);
      EXPECT_EQ(found->z, 0.5);
    }
    EXPECT_EQ(f.length(list), count);
    return text.str();
  }

  std::string shown(LnkList *list) const {
    const std::string text = show(list);
    EXPECT_EQ(f.destroy(list), 1);
    return text;
  }

  const Family &f = GetParam();
};

INSTANTIATE_TEST_SUITE_P(, RecordLists, testing::ValuesIn(kFamilies), [](const auto &family) {
  return family.index == 0 ? "Points" : "Vectors";
});

TEST_P(RecordLists, OperationsOnRecordsAndCursor) {
  const ZkPoint nine = record(9);
  const struct {
    std::vector<double> xs;
    int32_t cursor;
    std::function<int(LnkList *)> operation;
    int result;
    const char *after;
  } cases[] = {
      {{1, 2, 3}, 1, [&](LnkList *l) { return f.start(l); }, 1, ">1 2 3"},
      {{1, 2, 3}, 0, [&](LnkList *l) { return f.end(l); }, 1, "1 2 >3"},
      {{1, 2, 3}, 0, [&](LnkList *l) { return f.skip(l, 2); }, 1, "1 2 >3"},
      {{1, 2, 3}, 1, [&](LnkList *l) { return f.next(l); }, 1, "1 2 >3"},
      {{1, 2, 3}, 1, [&](LnkList *l) { return f.prev(l); }, 1, ">1 2 3"},
      {{1, 2, 3}, 2, [&](LnkList *l) { return f.next(l) + f.eol(l); }, 1, "1 2 3"},
      {{1, 2}, 1, [&](LnkList *l) { return f.insStart(l, &nine); }, 1, "9 1 >2"},
      {{1, 2}, 0, [&](LnkList *l) { return f.insEnd(l, &nine); }, 1, ">1 2 9"},
      {{1, 2}, 1, [&](LnkList *l) { return f.insBefore(l, &nine); }, 1, "1 9 >2"},
      {{1, 2}, 0, [&](LnkList *l) { return f.insAfter(l, &nine); }, 1, ">1 9 2"},
      {{1, 2}, 0, [&](LnkList *l) { return f.insNth(l, 1, &nine); }, 1, "1 9 >2"},
      {{1, 2}, 0, [&](LnkList *l) { return f.insNth(l, 9, &nine); }, 1, "1 >2 9"},
      {{1, 2, 3}, 1, [&](LnkList *l) { return f.delCurr(l); }, 1, "1 >3"},
      {{1, 2, 3}, 0, [&](LnkList *l) { return f.delNth(l, 2); }, 1, "1 >2"},
      {{1, 2}, 0, [&](LnkList *l) { return f.delNth(l, 2); }, 0, "1 2"},
      {{1, 2}, 0, [&](LnkList *l) { return f.delAll(l); }, 1, ""},
      {{1, 2}, 1, [&](LnkList *l) { return f.modCurr(l, &nine); }, 1, "1 >9"},
      {{1, 2}, 9, [&](LnkList *l) { return f.modCurr(l, &nine); }, 0, "1 2"},
      {{1, 2}, 0, [&](LnkList *l) { return f.modNth(l, 1, &nine); }, 1, "1 >9"},
      {{1, 2}, 0, [&](LnkList *l) { return f.modNth(l, 2, &nine); }, 0, "1 2"},
      // Records of the list itself, one of them about to be released.
      {{1, 2}, 1, [&](LnkList *l) { return f.modCurr(l, f.getCurr(l)); }, 1, "1 >2"},
      {{1, 2}, 1, [&](LnkList *l) { return f.insStart(l, f.getCurr(l)); }, 1, "2 1 >2"},
      {{1, 2}, 1, [&](LnkList *l) { return f.modNth(l, 0, f.getCurrCopy(l)); }, 1, ">2 2"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << "case " << &c - cases);
    LnkList *list = makeList(c.xs, c.cursor);
    EXPECT_EQ(c.operation(list), c.result);
    EXPECT_EQ(shown(list), c.after);
  }
  EXPECT_EQ(shown(f.create(&nine, &nine, (void *)0)), ">9 9");
}

TEST_P(RecordLists, ReadingAndCopying) {
  LnkList *list = makeList({1, 2, 3});
  ZkPoint *own = f.getNth(list, 1);
  EXPECT_EQ(own, f.getCurr(list));
  EXPECT_EQ(own, list->first->next->data);
  const ZkPoint *copied = f.getCurrCopy(list);
  EXPECT_NE(copied, own);
  EXPECT_EQ(copied->x, 2);
  f.next(list);
  EXPECT_EQ(f.getCurrCopy(list), copied);
  EXPECT_EQ(copied->x, 3);
  EXPECT_EQ(f.getNth(list, 3), nullptr);
  EXPECT_EQ(f.getCurr(list), nullptr);
  EXPECT_EQ(f.getCurrCopy(list), nullptr);
  EXPECT_EQ(copied->x, 3);

  f.start(list);
  LnkList *copy = f.copy(list);
  *own = record(7);
  EXPECT_EQ(shown(copy), "1 2 3");  // at end of list
  EXPECT_EQ(shown(list), ">1 7 3");
  EXPECT_EQ(f.copy(nullptr), nullptr);
}

// One static record for each family.
TEST(RecordList, CurrentCopiesOfTheFamiliesAreApart) {
  const ZkPoint one = {1, 1, 1};
  const ZkPoint two = {2, 2, 2};
  PointList *points = zk_PointList_create(&one, (void *)0);
  VectorList *vectors = zk_VectorList_create(&two, (void *)0);
  const ZkPoint *point = zk_PointList_getCurrCopy(points);
  EXPECT_EQ(zk_VectorList_getCurrCopy(vectors)->x, 2);
  EXPECT_EQ(point->x, 1);
  zk_PointList_destroy(points);
  zk_VectorList_destroy(vectors);
}

TEST_P(RecordLists, Finding) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    std::vector<double> xs;
    double wanted, tolerance;
    int32_t last, closest;
  } cases[] = {
      {{1, 5, 2, 5, 3}, 5, 1e-5, 3, 1},  // the last equal one, the first nearest one
      {{1, 5, 5.5, 2}, 5.5, 0.5, 2, 2},  // strictly within
      {{1, 5, 5.5, 2}, 5.5, 0.51, 2, 2}, {{1, 5.5, 5, 2}, 5.5, 0.51, 2, 1},
      {{1, 3}, 2, 1e-5, -1, 0},          {{kNan, 4, kNan}, 9, 1e-5, -1, 1},
      {{1e200, 1e150}, 9, 1e-5, -1, 1},  // the first is too far away to be measured
      {{1, 2}, kNan, 1e-5, -1, -1},      {{}, 5, 1e-5, -1, -1},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << "case " << &c - cases);
    LnkList *list = f.create(nullptr);
    for (const double x : c.xs) {
      const ZkPoint made = record(x);
      f.insEnd(list, &made);
    }
    const ZkPoint wanted = record(c.wanted);
    f.start(list);
    EXPECT_EQ(f.search(list, &wanted, c.tolerance), c.last);
    EXPECT_EQ(f.eol(list), 1);
    ZkPoint result = wanted;
    EXPECT_EQ(f.getClosest(&result, &result, list), c.closest);  // into its operand
    if (c.closest >= 0) {
      EXPECT_EQ(result.x, c.xs[static_cast<std::size_t>(c.closest)]);
    }
    f.destroy(list);
  }
}

// ---- Point travel

TEST(PointTravel, Nodes) {
  const ZkPoint point = {1, 2, 3};
  const std::string longLabel(600, 'x');
  const std::string percents = std::string(514, 'x') + "%%y";
  const struct {
    const char *label;
    std::string kept;
  } cases[] = {
      {"A-100", "A-100"},
      {"50%% of %s, %d%", "50% of %s, %d%"},
      {"%%%", "%%"},
      {nullptr, ""},
      {longLabel.c_str(), std::string(515, 'x')},
      {percents.c_str(), std::string(514, 'x') + "%"},
  };
  for (const auto &c : cases) {
    PointTravelNode *node = zk_PointTravelNode_create(&point, c.label, 99, -7);
    EXPECT_EQ(node->label, c.kept);
    EXPECT_EQ(node->value, -7);
    EXPECT_EQ(node->point.z, 3);
    EXPECT_EQ(zk_PointTravelNode_destroy(node), 1);
  }
  EXPECT_EQ(zk_PointTravelNode_create(nullptr, "A", 0, 0), nullptr);
}

TEST(PointTravel, Lists) {
  const ZkPoint point = {1, 2, 3};
  PointTravelList *list = zk_PointTravelList_create();
  EXPECT_EQ(zk_PointTravelList_insEnd(list, nullptr), 0);
  for (const int32_t value : {1, 2, 3}) {
    EXPECT_EQ(zk_PointTravelList_insEnd(list, zk_PointTravelNode_create(&point, "", 0, value)), 1);
  }
  const struct {
    int(ZK_CALL *move)(PointTravelList *);
    int32_t value;
  } steps[] = {
      {zk_PointTravelList_start, 1}, {zk_PointTravelList_next, 2}, {zk_PointTravelList_end, 3},
      {zk_PointTravelList_prev, 2},  {zk_PointTravelList_next, 3},
  };
  for (const auto &step : steps) {
    EXPECT_EQ(step.move(list), 1);
    EXPECT_EQ(zk_PointTravelList_getCurr(list)->value, step.value);
    EXPECT_EQ(zk_PointTravelList_eol(list), 0);
  }
  EXPECT_EQ(zk_PointTravelList_next(list), 0);
  EXPECT_EQ(zk_PointTravelList_eol(list), 1);
  EXPECT_EQ(zk_PointTravelList_getCurr(list), nullptr);
  EXPECT_EQ(zk_PointTravelList_destroy(list), 1);  // with its nodes: the sanitizer looks for them
}

// The register is the process's: this is the only test that adds.
TEST(PointTravel, RegisterOfTheLastFifty) {
  EXPECT_EQ(zk_PointTravelList_get(0), 0);
  for (int32_t serial = 0; serial < 160; ++serial) {
    EXPECT_EQ(zk_PointTravelList_add(1000 + serial), serial);
    for (const int32_t asked : {0, serial - 50, serial - 49, serial - 1, serial, serial + 1, -1}) {
      const bool isThere = asked >= 0 && asked <= serial && asked > serial - 50;
      EXPECT_EQ(zk_PointTravelList_get(asked), isThere ? 1000 + asked : 0) << serial << asked;
    }
  }
}

}  // namespace
