#include "tests/processes.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <iostream>
#include <map>

namespace processes {
namespace {

std::map<std::string, RoleFn> &roles() {
  static std::map<std::string, RoleFn> known;
  return known;
}

}  // namespace

Role::Role(const char *name, RoleFn run) { roles()[name] = run; }

void say(const std::string &line) {
  std::fputs((line + "\n").c_str(), stdout);
  std::fflush(stdout);
}

std::string hear() {
  std::string line;
  std::getline(std::cin, line);
  return line;
}

Process::~Process() {
  kill();
  closeOutput();
}

void Process::tell(const std::string &line) {
  if (!send(line + "\n")) ADD_FAILURE() << "cannot tell " << line;
}

std::optional<std::string> Process::line(Milliseconds patience) {
  const auto end = std::chrono::steady_clock::now() + patience;
  for (;;) {
    const std::size_t length = received_.find('\n');
    if (length != std::string::npos) {
      std::string result = received_.substr(0, length);
      received_.erase(0, length + 1);
      return result;
    }
    const auto left =
        std::chrono::duration_cast<Milliseconds>(end - std::chrono::steady_clock::now());
    if (!receive(left.count() > 0 ? left : Milliseconds(0))) return std::nullopt;
  }
}

std::string Process::ask(const std::string &question) {
  tell(question);
  return line().value_or("(none)");
}

}  // namespace processes

// In the place of GoogleTest's own: a program that was started in a role plays it.
int main(int argc, char **argv) {
  using namespace processes;
  if (argc >= 3 && std::string(argv[1]) == kRoleOption) {
    const auto role = roles().find(argv[2]);
    prepareRole();
    return role == roles().end() ? 126 : role->second(Arguments(argv + 3, argv + argc));
  }
  prepareTests();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
