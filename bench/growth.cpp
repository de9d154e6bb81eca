// How the cost of works with indexes grows with the table.
#include "indexworks.h"

namespace zk::bench {
namespace {

struct GrowingWork {
  const char *name;
  const char *work;
  Work (*make)(const Inputs &inputs);
  double (*expected)(const IndexInputs &inputs);
  double (*operations)(const IndexInputs &inputs);
};

double records(const IndexInputs &inputs) { return static_cast<double>(inputs.records.size()); }
double seeks(const IndexInputs &inputs) { return static_cast<double>(inputs.sought->size()); }
double appends(const IndexInputs &inputs) { return static_cast<double>(inputs.additional.size()); }

double positions(const IndexInputs &inputs) { return expectedOfSeeks(inputs, Reading::kPosition); }

Work seeking(const Inputs &inputs, int mode) {
  return seekingInTag(inputs, mode, Reading::kPosition);
}

const GrowingWork kWorks[] = {
    {"tag_text", "create a tag of random texts, a record",
     [](const Inputs &inputs) { return creatingTag(inputs, kTextTag); }, records, records},
    {"tag_number", "create a tag of ascending numbers, a record",
     [](const Inputs &inputs) { return creatingTag(inputs, kNumberTag); }, records, records},
    {"seek", "a seek", [](const Inputs &inputs) { return seeking(inputs, kExclusive); }, positions,
     seeks},
    {"seek_shared", "a seek, shared", [](const Inputs &inputs) { return seeking(inputs, kShared); },
     positions, seeks},
    {"walk_tag", "walk in a tag's order, a record", walkingInOrder, records, records},
    {"query", "query without a tag, a record of the table",
     [](const Inputs &inputs) { return queryingTable(inputs, Access::kScan); }, expectedOfQuery,
     records},
    {"query_tag", "query with a tag, a record of the table",
     [](const Inputs &inputs) { return queryingTable(inputs, Access::kTag); }, expectedOfQuery,
     records},
    {"append_tags", "append with two tags, shared", appendingWithTags, appends, appends},
};

}  // namespace

void addGrowth(const Setup &setup, std::size_t count, Report &report) {
  const Inputs few = makeIndexInputs(setup, "few", count, false);
  const Inputs many = makeIndexInputs(setup, "many", setup.records.size(), false);
  report.setSizes(withCommas(few->records.size()), withCommas(many->records.size()));
  for (const GrowingWork &each : kWorks) {
    const std::string name(each.name);
    addBenchmark(name + "/few", each.make(few), each.expected(*few), kFewRepetitions);
    addBenchmark(name + "/many", each.make(many), each.expected(*many), kFewRepetitions);
    report.add(Growth{each.work, name + "/few", name + "/many", each.operations(*few),
                      each.operations(*many)});
  }
}

}  // namespace zk::bench
