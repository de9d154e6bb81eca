#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/processes.h"

// The address sanitizer keeps what was released to find later uses of it; little of it, as every
// copy of this program copies that as well.
extern "C" __attribute__((visibility("default"))) const char *__asan_default_options() {
  return "quarantine_size_mb=1";
}

namespace processes {
namespace {

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

void Process::closeInput() {
  if (input_ != -1) ::close(descriptor(input_));
  input_ = -1;
}

void Process::closeOutput() { ::close(descriptor(output_)); }

bool Process::send(const std::string &bytes) {
  return ::write(descriptor(input_), bytes.data(), bytes.size()) >= 0;
}

bool Process::receive(Milliseconds patience) {
  pollfd ready = {descriptor(output_), POLLIN, 0};
  const int count = poll(&ready, 1, static_cast<int>(patience.count()));
  if (count < 0 && errno == EINTR) return true;
  if (count <= 0) return false;
  char bytes[4096];
  const ssize_t got = ::read(descriptor(output_), bytes, sizeof bytes);
  if (got <= 0) return false;
  received_.append(bytes, static_cast<std::size_t>(got));
  return true;
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

bool hasCopies() { return true; }

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

void prepareRole() {}

void prepareTests() { std::signal(SIGPIPE, SIG_IGN); }

}  // namespace processes
