// Clock, waiting, message boxes, character case, and which allocator is the standard one.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zk::platform {

// Milliseconds that never go back.
std::uint64_t monotonicMilliseconds() noexcept;

struct Date {
  int year;
  int month;  // 1..12
  int day;    // 1..31
};
// The local date. Cheap: the calendar is asked once a day.
Date today() noexcept;

// The local date and time of day, of one moment.
struct LocalTime {
  Date date;
  int hour;
  int minute;
  int second;  // 60 in a leap second
};
LocalTime localTime() noexcept;

// Lets other programs run for about that long. Windows: translates and dispatches the thread's
// window messages meanwhile; false when the application is asked to quit (the quit message is
// posted again), so that the wait should end.
bool waitMicroseconds(std::uint32_t microseconds) noexcept;

// Shows a message through the presenter; by default a message box (Windows) or standard error.
using MessagePresenter = void (*)(const char *title, const char *text, void *user);
void setMessagePresenter(MessagePresenter presenter, void *user) noexcept;
void showMessage(const char *title, const char *text) noexcept;
// The same for what keeps the user from going on: the message box is system-modal, with the stop
// icon.
void showStopMessage(const char *title, const char *text) noexcept;

// The process's byte-case map, 256 entries each (Windows: current code page; Linux: ASCII, so that
// UTF-8 sequences stay whole).
const unsigned char *upperCaseMap() noexcept;
const unsigned char *lowerCaseMap() noexcept;

// Bytes of the character that `text` begins with in the current code page: 1 at least, except 0 at
// the terminator. (Linux: UTF-8 sequences, a stray byte counts as one; Windows: lead bytes.)
std::size_t characterLength(const char *text) noexcept;

// Whether `function` is that function of the standard library, however the caller was linked
// (follows one import jump, and compares with every C runtime loaded).
enum class StandardFunction { kMalloc, kRealloc, kCalloc, kFree };
bool isStandardFunction(StandardFunction which, void (*function)()) noexcept;

}  // namespace zk::platform
