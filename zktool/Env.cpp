#include "Commands.h"
#include "Table.h"

namespace zk::tool {
namespace {

constexpr std::size_t kLongestText = 511;  // of the library's result

}  // namespace

void runEnvExpand(const std::string &text, Output &out) {
  const std::string expanded = zk_Env_expandStr(text.c_str());
  if (expanded.size() >= kLongestText) {
    throw Failure("TEXT: becomes longer than " + std::to_string(kLongestText - 1) + " characters");
  }
  out.write(expanded + "\n");
  out.flush();
}

}  // namespace zk::tool
