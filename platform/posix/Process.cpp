#include "platform/Process.h"

#include <fcntl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace zk::platform {
namespace {

using Words = base::Vector<base::String>;

bool isBlank(char c) { return c == ' ' || c == '\t'; }

// Takes the next word off `text`, which begins with something else than a blank. Backslashes stand
// for themselves except before a double quote, where two are one and an odd one keeps the quote;
// two double quotes inside quotes are one.
base::String takeWord(const char *&text) {
  base::String word;
  bool quoted = false;
  while (*text != '\0' && (quoted || !isBlank(*text))) {
    const std::size_t slashes = std::strspn(text, "\\");
    text += slashes;
    const bool beforeQuote = *text == '"';
    word.append(beforeQuote ? slashes / 2 : slashes, '\\');
    if (!beforeQuote) {
      if (slashes == 0) word += *text++;
      continue;
    }
    ++text;
    if (slashes % 2 != 0) {
      word += '"';
    } else if (quoted && *text == '"') {
      word += *text++;
    } else {
      quoted = !quoted;
    }
  }
  return word;
}

void appendWords(const char *text, Words &words) {
  for (;;) {
    while (isBlank(*text)) ++text;
    if (*text == '\0') return;
    words.push_back(takeWord(text));
  }
}

// A bare name is for PATH; one with a drive or a directory is a path, which always has a "/".
base::String executableName(const base::String &name) {
  if (name.find_first_of("\\/:") == base::String::npos) return name;
  base::String path = nativePath(name.c_str());
  return path.find('/') == base::String::npos ? "./" + path : path;
}

Words commandWords(const char *program, const char *arguments) {
  Words words;
  if (pathKind(nativePath(program).c_str()) == PathKind::kFile) {
    words.push_back(program);  // as a whole, though it may have blanks in it
  } else {
    appendWords(program, words);
  }
  if (words.empty()) return words;
  words[0] = executableName(words[0]);
  if (arguments != nullptr) appendWords(arguments, words);
  return words;
}

void waitForEnd(pid_t process) {
  while (waitpid(process, nullptr, 0) == -1 && errno == EINTR) {
  }
}

// In the new process: becomes the program, or sends why not through the pipe.
[[noreturn]] void runProgram(char *const *arguments, int errorPipe) {
  execvp(arguments[0], arguments);
  const int error = errno;
  [[maybe_unused]] const ssize_t written = write(errorPipe, &error, sizeof error);
  _exit(127);
}

// The pipe's writing end closes when the program runs. A program that nobody waits for is a
// grandchild, which the system itself clears away at its end: posix_spawn cannot do that.
int run(char *const *arguments, bool wait) {
  int errorPipe[2];
  if (pipe2(errorPipe, O_CLOEXEC) != 0) return errno;
  const pid_t child = fork();
  if (child == 0) {
    if (wait) runProgram(arguments, errorPipe[1]);
    const pid_t grandchild = _Fork();  // safe in a child, whatever threads the host has
    if (grandchild == 0) runProgram(arguments, errorPipe[1]);
    const int error = errno;
    if (grandchild == -1 && write(errorPipe[1], &error, sizeof error) < 0) _exit(1);
    _exit(0);
  }
  int error = child == -1 ? errno : 0;
  close(errorPipe[1]);
  if (child != -1) {
    ssize_t got;
    while ((got = read(errorPipe[0], &error, sizeof error)) == -1 && errno == EINTR) {
    }
    waitForEnd(child);
  }
  close(errorPipe[0]);
  return error;
}

int startWords(Words &words, bool wait) {
  if (words.empty()) return ENOENT;
  base::Vector<char *> arguments;
  for (base::String &word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  return run(arguments.data(), wait);
}

}  // namespace

ProcessStart startProcess(const char *program, const char *arguments, bool wait) {
  Words words = commandWords(program, arguments);
  return {startWords(words, wait), 0};
}

base::String systemErrorText(int error) { return std::strerror(error); }

bool openInEditor(const char *name) {
  Words words = {"xdg-open", fullPath(nativePath(name).c_str())};
  return pathKind(words[1].c_str()) == PathKind::kFile && startWords(words, false) == 0;
}

bool canShowHelp() noexcept { return true; }

}  // namespace zk::platform
