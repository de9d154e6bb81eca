// Field lists made, copied and destroyed, against std::list of a name and a std::variant.
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "measure.h"
#include "works.h"
#include "zk/fldlist.h"

namespace zk::bench {
namespace {

constexpr std::size_t kAttributes = 10;
constexpr std::size_t kHeapPerField = 500;  // bytes, for the field and its copy, amply

// ---- Both sides get the attributes of a component, made of the values of a record.

struct Field {
  std::string name;
  std::variant<std::string, int32_t, double, ZkPoint> value;
};
using StandardFields = std::list<Field>;
// Lists are handed about, so both sides have them in blocks of their own.
using OwnedFields = std::unique_ptr<StandardFields>;

OwnedFields makeStandard(const Record &record) {
  auto owned = std::make_unique<StandardFields>();
  StandardFields &fields = *owned;
  fields.push_back({"TAG", record.tag});
  fields.push_back({"LINE_NUMBER", record.line});
  fields.push_back({"DESCRIPTION", record.description});
  fields.push_back({"INSTALLED_ON", record.installed});
  fields.push_back({"QUANTITY", record.quantity});
  fields.push_back({"INSULATED", int32_t{record.insulated}});
  fields.push_back({"WEIGHT", record.weight});
  fields.push_back({"NOMINAL_DIAMETER", record.z});
  fields.push_back({"START_POINT", ZkPoint{record.x, record.y, record.z}});
  fields.push_back({"FLOW_DIRECTION", ZkPoint{record.y, record.z, record.x}});
  return owned;
}

FldList *makeFieldList(const Record &record) {
  FldList *list = zk_FldList_create(static_cast<char *>(nullptr));
  zk_FldList_appChar(list, "TAG", record.tag);
  zk_FldList_appHandle(list, "LINE_NUMBER", record.line);
  zk_FldList_appChar(list, "DESCRIPTION", record.description);
  zk_FldList_appChar(list, "INSTALLED_ON", record.installed);
  zk_FldList_appInt(list, "QUANTITY", record.quantity);
  zk_FldList_appInt(list, "INSULATED", record.insulated);
  zk_FldList_appReal(list, "WEIGHT", record.weight);
  zk_FldList_appReal(list, "NOMINAL_DIAMETER", record.z);
  const ZkPoint start = {record.x, record.y, record.z};
  const ZkVector direction = {record.y, record.z, record.x};
  zk_FldList_appPoint(list, "START_POINT", &start);
  zk_FldList_appVector(list, "FLOW_DIRECTION", &direction);
  return list;
}

// Number of lists and all quantities: what every copy has to hold.
double checksum(const std::vector<Record> &records, std::size_t count) {
  double sum = 0;
  for (std::size_t index = 0; index < count; ++index) sum += 1 + records[index].quantity;
  return sum;
}

double useFieldLists(const std::vector<Record> &records, std::size_t count, Stopwatch &watch) {
  touch(records.data(), count * sizeof(Record));
  growHeap(count * kAttributes * kHeapPerField);
  std::vector<FldList *> lists(count);
  std::vector<FldList *> copies(count);
  watch.start();
  for (std::size_t index = 0; index < count; ++index) lists[index] = makeFieldList(records[index]);
  for (std::size_t index = 0; index < count; ++index) copies[index] = zk_FldList_copy(lists[index]);
  watch.stop();
  double sum = 0;
  for (FldList *copy : copies) {
    int32_t quantity = 0;
    zk_FldList_getInt(copy, "QUANTITY", &quantity);
    sum += 1 + quantity;
  }
  watch.start();
  for (FldList *list : lists) zk_FldList_destroy(list);
  for (FldList *copy : copies) zk_FldList_destroy(copy);
  watch.stop();
  return sum;
}

double useStandardLists(const std::vector<Record> &records, std::size_t count, Stopwatch &watch) {
  touch(records.data(), count * sizeof(Record));
  growHeap(count * kAttributes * kHeapPerField);
  std::vector<OwnedFields> lists(count);
  std::vector<OwnedFields> copies(count);
  watch.start();
  for (std::size_t index = 0; index < count; ++index) lists[index] = makeStandard(records[index]);
  for (std::size_t index = 0; index < count; ++index) {
    copies[index] = std::make_unique<StandardFields>(*lists[index]);
  }
  watch.stop();
  double sum = 0;
  for (const OwnedFields &copy : copies) {
    for (const Field &field : *copy) {
      if (field.name == "QUANTITY") sum += 1 + std::get<int32_t>(field.value);
    }
  }
  watch.start();
  for (OwnedFields &list : lists) list.reset();
  for (OwnedFields &copy : copies) copy.reset();
  watch.stop();
  return sum;
}

}  // namespace

void addFields(const Setup &setup, Report &report) {
  const std::size_t count = setup.records.size() / 10;
  const double expected = checksum(setup.records, count);
  const auto add = [&](const char *name, auto use) {
    addBenchmark(
        name,
        [&records = setup.records, count, use](Stopwatch &watch) {
          return use(records, count, watch);
        },
        expected);
  };
  add("fields/zk", useFieldLists);
  add("fields/std", useStandardLists);
  report.add({withCommas(count) + " field lists of " + std::to_string(kAttributes) +
                  " made, copied, destroyed",
              "fields/zk", "fields/std", "std::list, std::variant", 1.5});
}

}  // namespace zk::bench
