// The linked list against GLib's GList: the same pointers, the same comparison.
#include <glib.h>

#include <memory>
#include <numeric>
#include <random>

#include "measure.h"
#include "works.h"
#include "zk/lnklist.h"

namespace zk::bench {
namespace {

using Numbers = std::vector<int32_t>;

int compareNumbers(const void *left, const void *right) {
  const int32_t a = *static_cast<const int32_t *>(left);
  const int32_t b = *static_cast<const int32_t *>(right);
  return (a > b) - (a < b);
}

double number(const void *data) { return *static_cast<const int32_t *>(data); }

template <typename Node>
bool sorted(const Node *node) {
  for (; node->next != nullptr; node = node->next) {
    if (compareNumbers(node->data, node->next->data) > 0) return false;
  }
  return true;
}

constexpr std::size_t kHeapPerElement = 64;  // bytes, amply

double useLnkList(Numbers &numbers, Stopwatch &watch) {
  growHeap(numbers.size() * kHeapPerElement);
  watch.start();
  LnkList *list = zk_LnkList_create(nullptr);
  for (int32_t &value : numbers) zk_LnkList_insEnd(list, &value);
  double sum = 0;
  for (int more = zk_LnkList_start(list); more != 0; more = zk_LnkList_next(list)) {
    sum += number(zk_LnkList_getCurr(list));
  }
  zk_LnkList_qSort(list, compareNumbers);
  watch.stop();
  require(sorted(list->first), "not sorted");
  watch.start();
  zk_LnkList_destroy(list, nullptr);
  watch.stop();
  return sum;
}

double useGList(Numbers &numbers, Stopwatch &watch) {
  growHeap(numbers.size() * kHeapPerElement);
  watch.start();
  GList *list = nullptr;
  for (int32_t &value : numbers) list = g_list_prepend(list, &value);
  double sum = 0;
  for (GList *node = list; node != nullptr; node = node->next) sum += number(node->data);
  list = g_list_sort(list, compareNumbers);
  watch.stop();
  require(sorted(list), "not sorted");
  watch.start();
  g_list_free(list);
  watch.stop();
  return sum;
}

std::shared_ptr<Numbers> randomNumbers(std::size_t count) {
  std::mt19937 random{4711};
  auto numbers = std::make_shared<Numbers>(count);
  for (int32_t &value : *numbers) value = static_cast<int32_t>(random());
  return numbers;
}

}  // namespace

void addLists(const Setup &setup, Report &report) {
  const auto numbers = randomNumbers(setup.records.size());
  const double expected = std::accumulate(numbers->begin(), numbers->end(), 0.0);
  addBenchmark(
      "list/zk", [numbers](Stopwatch &watch) { return useLnkList(*numbers, watch); }, expected);
  addBenchmark(
      "list/glib", [numbers](Stopwatch &watch) { return useGList(*numbers, watch); }, expected);
  report.add({withCommas(numbers->size()) + " list insertions, walk, sort, destruction", "list/zk",
              "list/glib", "GList", 1.0});
}

}  // namespace zk::bench
