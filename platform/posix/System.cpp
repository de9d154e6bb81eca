#include "platform/System.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace zk::platform {
namespace {

using CaseMap = std::array<unsigned char, 256>;

constexpr CaseMap makeCaseMap(char first, char last, int shift) {
  CaseMap map{};
  for (int c = 0; c < 256; ++c) {
    map[static_cast<std::size_t>(c)] =
        static_cast<unsigned char>(c >= first && c <= last ? c + shift : c);
  }
  return map;
}

constexpr CaseMap kUpper = makeCaseMap('a', 'z', 'A' - 'a');
constexpr CaseMap kLower = makeCaseMap('A', 'Z', 'a' - 'A');

void writeToStandardError(const char *title, const char *text, void *) {
  std::fprintf(stderr, "%s: %s\n", title, text);
}

MessagePresenter presenter = writeToStandardError;
void *presenterUser = nullptr;

}  // namespace

std::uint64_t monotonicMilliseconds() noexcept {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1000 +
         static_cast<std::uint64_t>(now.tv_nsec) / 1000000;
}

Date today() noexcept {
  static Date date = {};
  static std::time_t begin = 0;  // of the day that `date` holds for; the end is that of the next
  static std::time_t end = 0;
  const std::time_t now = std::time(nullptr);
  if (now >= begin && now < end) return date;

  std::tm local{};
  localtime_r(&now, &local);
  date = {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday};
  // By the calendar, because a day can have 23 or 25 hours.
  std::tm midnight{};
  midnight.tm_year = local.tm_year;
  midnight.tm_mon = local.tm_mon;
  midnight.tm_mday = local.tm_mday;
  midnight.tm_isdst = -1;
  std::tm nextMidnight = midnight;
  ++nextMidnight.tm_mday;
  begin = std::mktime(&midnight);
  end = std::mktime(&nextMidnight);
  return date;
}

LocalTime localTime() noexcept {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return {{local.tm_year + 1900, local.tm_mon + 1, local.tm_mday},
          local.tm_hour,
          local.tm_min,
          local.tm_sec};
}

bool waitMicroseconds(std::uint32_t microseconds) noexcept {
  timespec left = {static_cast<std::time_t>(microseconds / 1000000),
                   static_cast<long>(microseconds % 1000000) * 1000};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
  return true;
}

void setMessagePresenter(MessagePresenter newPresenter, void *user) noexcept {
  presenter = newPresenter != nullptr ? newPresenter : writeToStandardError;
  presenterUser = user;
}

void showMessage(const char *title, const char *text) noexcept {
  presenter(title, text, presenterUser);
}

void showStopMessage(const char *title, const char *text) noexcept { showMessage(title, text); }

const unsigned char *upperCaseMap() noexcept { return kUpper.data(); }
const unsigned char *lowerCaseMap() noexcept { return kLower.data(); }

std::size_t characterLength(const char *text) noexcept {
  const auto *bytes = reinterpret_cast<const unsigned char *>(text);
  const unsigned lead = bytes[0];
  if (lead == 0) return 0;
  std::size_t length = 1;
  if (lead >= 0xC2 && lead < 0xE0) length = 2;
  if (lead >= 0xE0 && lead < 0xF0) length = 3;
  if (lead >= 0xF0 && lead < 0xF5) length = 4;
  for (std::size_t i = 1; i < length; ++i) {
    if ((bytes[i] & 0xC0) != 0x80) return 1;  // cut short; the terminator ends up here as well
  }
  return length;
}

// The dynamic linker gives a function one address throughout the process, executables included.
bool isStandardFunction(StandardFunction which, void (*function)()) noexcept {
  switch (which) {
    case StandardFunction::kMalloc:
      return function == reinterpret_cast<void (*)()>(&std::malloc);
    case StandardFunction::kRealloc:
      return function == reinterpret_cast<void (*)()>(&std::realloc);
    case StandardFunction::kCalloc:
      return function == reinterpret_cast<void (*)()>(&std::calloc);
    case StandardFunction::kFree:
      return function == reinterpret_cast<void (*)()>(&std::free);
  }
  return false;
}

}  // namespace zk::platform
