// Compiles any bytes as an expression and evaluates what compiles, on a full and on a blank record.
#include <stdlib.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <new>
#include <string>
#include <string_view>

#include "engine/Context.h"
#include "engine/Expression.h"
#include "engine/Table.h"

namespace {

using namespace zk::engine;

Table *makeTable(Context &context) {
  std::string folder = (std::filesystem::temp_directory_path() / "expression_XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) abort();
  context.settings.showErrorBoxes = false;
  const FieldDefinition fields[] = {{"C", 'C', 12, 0}, {"N", 'N', 8, 2},  {"D", 'D', 8, 0},
                                    {"L", 'L', 1, 0},  {"M", 'M', 10, 0}, {"W", 'C', 3000, 0}};
  Table *table = Table::create(context, (folder + "/t.dbf").c_str(), fields, 6);
  if (table == nullptr) abort();
  table->appendBlank();
  table->appendBlank();
  const char *texts[] = {" Pump A", "-12.50", "20240229", "T", "a memo text", "wide"};
  for (std::size_t i = 0; i < 6; ++i) table->fields()[i].assignText(texts[i]);
  table->writeCurrent();
  std::filesystem::remove_all(folder);  // the open files stay readable
  return table;
}

void evaluate(Expression &expression) {
  Value value{};
  if (expression.evaluate(value) != 0) return;
  if (value.type != expression.type() || !std::isfinite(value.number)) abort();
  if (value.text.size() > expression.length()) abort();
  volatile char last = 0;
  for (char c : value.text) last = c;
  (void)last;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static Context context;
  static Table *const table = makeTable(context);
  const std::string_view source(reinterpret_cast<const char *>(data), size);
  zk::base::Owned<Expression> expression;
  try {
    if (Expression::compile(*table, source, expression) != 0) return 0;
  } catch (const std::bad_alloc &) {
    return 0;
  }
  for (std::int64_t record = 1; record <= 2; ++record) {
    if (table->go(record) == 0) evaluate(*expression);
  }
  return 0;
}
