// Opens and walks a damaged index. The input is a list of changes to a whole index file, so that
// every input gets past the first checks: three bytes each, a place (low byte first) and what
// stands there.
#include <stdlib.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "engine/Context.h"
#include "engine/IndexBuilder.h"
#include "engine/Table.h"

namespace {

using namespace zk::engine;
namespace fs = std::filesystem;

constexpr int kRecords = 300;
constexpr int kMostSteps = 4 * kRecords;

struct Files {
  std::string table;
  std::string index;
  std::string whole;  // the index as it was built
};

void require(bool holds) {
  if (!holds) abort();
}

Files makeFiles() {
  std::string folder = (fs::temp_directory_path() / "index_XXXXXX").string();
  require(mkdtemp(folder.data()) != nullptr);
  Files files = {folder + "/T.DBF", folder + "/T.CDX", ""};
  Context context;
  context.settings.showErrorBoxes = false;
  const FieldDefinition fields[] = {{"C", 'C', 12, 0}, {"N", 'N', 8, 2}};
  Table *table = Table::create(context, files.table.c_str(), fields, 2);
  require(table != nullptr);
  for (int i = 0; i < kRecords; ++i) {
    require(table->appendBlank() == 0);
    table->fields()[0].assignText("K" + std::to_string(i * 7919 % 1000));
    table->fields()[1].assignDouble(i % 17);
    require(table->writeCurrent() == 0);
  }
  const TagDefinition tags[] = {{"TAG000", "C", "", false, false},
                                {"TAG001", "N", "N > 3", false, true}};
  require(IndexBuilder(*table).build(files.index.c_str(), tags, 2) == 0);
  table->close();
  std::fstream header(files.table, std::ios::binary | std::ios::in | std::ios::out);
  header.seekp(28).put(1);  // the index is the table's own
  std::ifstream built(files.index, std::ios::binary);
  files.whole.assign(std::istreambuf_iterator<char>(built), {});
  return files;
}

void walk(Table &table, Tag &tag) {
  table.selectTag(&tag);
  int steps = 0;
  for (int status = table.top(); status == kOk; status = table.skip(1))
    require(++steps < kMostSteps);
  steps = 0;
  for (int status = table.bottom(); status == kOk; status = table.skip(-1)) {
    require(++steps < kMostSteps);
  }
  table.seek(std::string_view("K5"));
  table.seek(5.0);
  table.selectTag(nullptr);
  table.go(kRecords / 2);
  table.selectTag(&tag);
  table.skip(2);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static const Files files = makeFiles();
  std::string bytes = files.whole;
  for (std::size_t i = 0; i + 3 <= size; i += 3) {
    const std::size_t at = data[i] | static_cast<std::size_t>(data[i + 1]) << 8;
    bytes[at % bytes.size()] = static_cast<char>(data[i + 2]);
  }
  std::ofstream(files.index, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  Context context;
  context.settings.showErrorBoxes = false;
  Table *table = Table::open(context, files.table.c_str());
  require(table != nullptr);  // the records stay readable
  for (const auto &index : table->indexes()) {
    for (const auto &tag : index->tags()) walk(*table, *tag);
  }
  table->close();
  return 0;
}
