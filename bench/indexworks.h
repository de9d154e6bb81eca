// This library's works with indexes, for tables of any size.
#pragma once

#include <memory>

#include "indexinputs.h"
#include "measure.h"

namespace zk::bench {

using Inputs = std::shared_ptr<const IndexInputs>;

// What a seek is followed by: the number of the record that it led to, or one of its fields.
enum class Reading { kPosition, kField };
double expectedOfSeeks(const IndexInputs &inputs, Reading reading);

Work creatingTag(const Inputs &inputs, const char *name);
Work seekingInTag(const Inputs &inputs, int mode, Reading reading);
Work walkingInOrder(const Inputs &inputs);
Work appendingWithTags(const Inputs &inputs);

// With the tag on QUANTITY, or without any.
enum class Access { kScan, kTag };
double expectedOfQuery(const IndexInputs &inputs);
Work queryingTable(const Inputs &inputs, Access access);

// The rows of queries.
void addQueries(const Inputs &inputs, Report &report);

}  // namespace zk::bench
