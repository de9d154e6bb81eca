#include "records.h"

#include <cstdio>
#include <random>

namespace zk::bench {
namespace {

constexpr const char *kComponents[] = {"Elbow 90 deg long radius",
                                       "Gate valve, rising stem",
                                       "Pipe, seamless",
                                       "Concentric reducer",
                                       "Weld neck flange, raised face",
                                       "Equal tee",
                                       "Globe valve with bypass",
                                       "Spectacle blind"};
constexpr const char *kMaterials[] = {"A106-B", "A312 TP304L", "A105", "A234 WPB"};

// Whole multiples of the field's last decimal, so that the text of a value reads back as the same
// double.
class Values {
 public:
  int below(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }
  double hundredths(int bound) { return below(bound) / 100.0; }
  double coordinate() { return (below(400'000'000) - 100'000'000) / 1000.0; }
  template <std::size_t count>
  const char *oneOf(const char *const (&texts)[count]) {
    return texts[below(static_cast<int>(count))];
  }

 private:
  std::mt19937 random_{20240229};
};

template <std::size_t size, typename... Arguments>
void print(char (&text)[size], const char *format, Arguments... arguments) {
  std::snprintf(text, size, format, arguments...);
}

Record generateRecord(Values &values, std::size_t number) {
  Record record{};
  print(record.tag, "%02d-P-%06zu-%s", 10 + values.below(80), number % 1'000'000,
        values.below(3) == 0 ? "SP" : "A");
  print(record.line, "%d\"-CW-%04d", 2 + 2 * values.below(12), values.below(10'000));
  record.weight = values.hundredths(500'000);
  record.x = values.coordinate();
  record.y = values.coordinate();
  record.z = values.coordinate();
  print(record.installed, "%04d%02d%02d", 1990 + values.below(35), 1 + values.below(12),
        1 + values.below(28));
  record.quantity = values.below(1000);
  record.insulated = values.below(2) == 0;
  print(record.description, "%s %s", values.oneOf(kComponents), values.oneOf(kMaterials));
  return record;
}

void generateKeys(std::mt19937 &random, std::size_t number, Record &record) {
  constexpr char kCharacters[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  for (std::size_t i = 0; i + 1 < sizeof record.code; ++i) {
    record.code[i] = kCharacters[random() % (sizeof kCharacters - 1)];
  }
  record.number = static_cast<int32_t>(number);
}

}  // namespace

std::vector<Record> generateRecords(std::size_t count) {
  Values values;
  std::mt19937 random{20240301};
  std::vector<Record> records;
  records.reserve(count);
  for (std::size_t number = 1; number <= count; ++number) {
    records.push_back(generateRecord(values, number));
    generateKeys(random, number, records.back());
  }
  return records;
}

}  // namespace zk::bench
