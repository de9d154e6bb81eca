#include <algorithm>

#include "RecordWriter.h"
#include "Text.h"

namespace zk::tool {

void writeVertically(Output &out, const std::vector<Field> &fields, const CodePage &page,
                     const Values &values) {
  const bool terminal = Output::isTerminal();
  const auto shown = [&](std::string_view text) {
    const std::string utf8 = page.toUtf8(text);
    return terminal ? escapeControls(utf8) : utf8;
  };
  std::size_t width = 0;
  for (const Field &field : fields) width = std::max(width, characters(shown(field.name)));
  for (std::size_t i = 0; i < fields.size(); ++i) {
    std::string name = shown(fields[i].name);
    for (const std::string_view part : linesOf(readable(fields[i], values[i]))) {
      std::string line = name + std::string(width - characters(name) + 2, ' ') + shown(part);
      line.erase(line.find_last_not_of(' ') + 1);
      out.write(line + "\n");
      name.clear();  // the further lines of a memo stand in its column
    }
  }
}

}  // namespace zk::tool
