// Other programs for tests: the test program, started again in a role. A role speaks with the test
// by lines through its standard input and output, and can be killed at any moment.
//
// What a system does in its own way is in posix_processes.cpp and windows_processes.cpp.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace processes {

using Arguments = std::vector<std::string>;
using Milliseconds = std::chrono::milliseconds;

// What stands before the role when this program is started again.
constexpr char kRoleOption[] = "--role";

// What a program started in a role does instead of running tests; gives its exit code. Roles are
// made known by static objects.
using RoleFn = int (*)(const Arguments &arguments);
struct Role {
  Role(const char *name, RoleFn run);
};

// For roles: a line to the test, gone when the call returns; the next line from it, "" at its end.
void say(const std::string &line);
std::string hear();

class Process {
 public:
  Process(const std::string &role, const Arguments &arguments);
  // Kills it when it still runs.
  ~Process();
  Process(const Process &) = delete;
  Process &operator=(const Process &) = delete;

  void tell(const std::string &line);
  // Its next line; none at its end or when the time is up.
  std::optional<std::string> line(Milliseconds patience = std::chrono::seconds(60));
  // Says something and gives the answer, "(none)" when there is none.
  std::string ask(const std::string &question);

  // Ends it on the spot: nothing of it runs any more. What it said before can still be read.
  void kill();
  // Ends its input and waits for it: its exit code, or -1 when it was killed.
  int wait();

 private:
  bool send(const std::string &bytes);
  // Adds what comes within that time to received_; false when nothing does.
  bool receive(Milliseconds patience);
  void closeInput();
  void closeOutput();

  std::intptr_t process_ = -1;
  std::intptr_t input_ = -1;
  std::intptr_t output_ = -1;
  int exitCode_ = -1;
  std::string received_;
};

// Runs the work in a copy of this program as it stands, which is ended afterwards without closing
// anything: its exit code, or -1 when it was killed. Not every system has such copies.
bool hasCopies();
int inACopy(const std::function<int()> &work);

// Ends this program as hung when the next call does not come within so many seconds; 0: none comes.
void goOnWithin(unsigned seconds);

// A byte range locked by the system's own means, past the library. It keeps other programs out, but
// not this one: use it in a role that leaves the library alone.
class ByteLock {
 public:
  ByteLock(const std::string &path, std::uint64_t start, std::uint64_t length);
  ~ByteLock();
  ByteLock(const ByteLock &) = delete;
  ByteLock &operator=(const ByteLock &) = delete;
  bool held() const { return held_; }

 private:
  std::intptr_t file_ = -1;
  bool held_ = false;
};

// A named pipe in the file system, which blocks a careless opener; false where there are none.
bool makeNamedPipe(const std::string &path);

// For the program's start, before it plays a role or runs tests.
void prepareRole();
void prepareTests();

}  // namespace processes
