#include "tests/processes.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// The address sanitizer keeps what was released to find later uses of it; little of it, as every
// copy of this program copies that as well.
extern "C" __attribute__((visibility("default"))) const char *__asan_default_options() {
  return "quarantine_size_mb=1";
}

namespace processes {
namespace {

constexpr char kRoleOption[] = "--role";

std::map<std::string, RoleFn> &roles() {
  static std::map<std::string, RoleFn> known;
  return known;
}

int descriptor(std::intptr_t value) { return static_cast<int>(value); }

// The program itself in the child of a fork: only calls that are safe there.
[[noreturn]] void becomeRole(int input, int output, char *const *arguments) {
  dup2(input, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  execv("/proc/self/exe", arguments);
  _exit(127);
}

// The exit code; -1 when it was killed.
int waitForEnd(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) continue;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
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

Process::Process(const std::string &role, const Arguments &arguments) {
  int input[2];
  int output[2];
  if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) std::abort();
  Arguments words = {"test", kRoleOption, role};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char *> pointers;
  for (std::string &word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);

  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) becomeRole(input[0], output[1], pointers.data());
  ::close(input[0]);
  ::close(output[1]);
  process_ = child;
  input_ = input[1];
  output_ = output[0];
}

Process::~Process() {
  kill();
  ::close(descriptor(output_));
}

void Process::closeInput() {
  if (input_ != -1) ::close(descriptor(input_));
  input_ = -1;
}

void Process::tell(const std::string &line) {
  const std::string bytes = line + "\n";
  if (::write(descriptor(input_), bytes.data(), bytes.size()) < 0) {
    ADD_FAILURE() << "cannot tell " << line;
  }
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
        std::chrono::duration_cast<Milliseconds>(end - std::chrono::steady_clock::now()).count();
    pollfd ready = {descriptor(output_), POLLIN, 0};
    const int count = poll(&ready, 1, static_cast<int>(left > 0 ? left : 0));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return std::nullopt;
    char bytes[4096];
    const ssize_t got = ::read(descriptor(output_), bytes, sizeof bytes);
    if (got <= 0) return std::nullopt;
    received_.append(bytes, static_cast<std::size_t>(got));
  }
}

std::string Process::ask(const std::string &question) {
  tell(question);
  return line().value_or("(none)");
}

void Process::kill() {
  if (process_ == -1) return;
  ::kill(static_cast<pid_t>(process_), SIGKILL);
  wait();
}

int Process::wait() {
  closeInput();
  if (process_ == -1) return exitCode_;
  exitCode_ = waitForEnd(static_cast<pid_t>(process_));
  process_ = -1;
  return exitCode_;
}

int inACopy(const std::function<int()> &work) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) _exit(work());
  return waitForEnd(child);
}

void goOnWithin(unsigned seconds) {
  std::signal(SIGALRM, [](int) {
    static constexpr char kText[] = "Hung.\n";
    if (::write(STDERR_FILENO, kText, sizeof kText - 1) > 0) std::abort();
  });
  alarm(seconds);
}

ByteLock::ByteLock(const std::string &path, std::uint64_t start, std::uint64_t length) {
  file_ = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  struct flock range = {};
  range.l_type = F_WRLCK;
  range.l_whence = SEEK_SET;
  range.l_start = static_cast<off_t>(start);
  range.l_len = static_cast<off_t>(length);
  held_ = file_ != -1 && fcntl(descriptor(file_), F_SETLK, &range) == 0;
}

ByteLock::~ByteLock() {
  if (file_ != -1) ::close(descriptor(file_));
}

bool makeNamedPipe(const std::string &path) { return mkfifo(path.c_str(), 0600) == 0; }

}  // namespace processes

// In the place of GoogleTest's own: a program that was started in a role plays it.
int main(int argc, char **argv) {
  using namespace processes;
  if (argc >= 3 && std::string(argv[1]) == kRoleOption) {
    const auto role = roles().find(argv[2]);
    return role == roles().end() ? 126 : role->second(Arguments(argv + 3, argv + argc));
  }
  std::signal(SIGPIPE, SIG_IGN);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
