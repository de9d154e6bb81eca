// Standard output for data, standard error for messages.
#pragma once

#include <exception>
#include <string_view>

namespace zk::tool {

// The reader of our output has gone: the command ends quietly.
class ClosedPipe : public std::exception {};

// Data, written byte for byte: line ends are the writer's own.
class Output {
 public:
  Output();
  void write(std::string_view bytes);
  // Writes out what is buffered; to be called before success is reported.
  void flush();
  static bool isTerminal();

 private:
  [[noreturn]] static void fail();
};

bool errorIsTerminal();

// One line to standard error, with the program's name.
void printMessage(std::string_view text);

}  // namespace zk::tool
