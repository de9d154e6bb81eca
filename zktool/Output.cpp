#include "Output.h"

#include <fcntl.h>
#include <unistd.h>
#if __has_include(<io.h>)
#include <io.h>  // setmode
#endif

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "Table.h"

namespace zk::tool {

Output::Output() {
#ifdef SIGPIPE
  std::signal(SIGPIPE, SIG_IGN);  // a closed pipe is then an error of the write
#endif
#ifdef O_BINARY
  setmode(STDOUT_FILENO, O_BINARY);
#endif
}

void Output::fail() {
  if (errno == EPIPE) throw ClosedPipe();
  throw Failure(std::string("standard output: ") + std::strerror(errno));
}

void Output::write(std::string_view bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()) fail();
}

void Output::flush() {
  if (std::fflush(stdout) != 0) fail();
}

bool Output::isTerminal() { return isatty(STDOUT_FILENO) != 0; }

bool errorIsTerminal() { return isatty(STDERR_FILENO) != 0; }

void printMessage(std::string_view text) {
  std::fprintf(stderr, "zktool: %.*s\n", static_cast<int>(text.size()), text.data());
}

}  // namespace zk::tool
