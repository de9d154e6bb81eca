#include "zk/timer.h"

#include <cstring>

#include "SRC/LnkList.h"
#include "SRC/Str.h"
#include "platform/System.h"

using namespace zk;

namespace {

constexpr std::size_t kNameLength = sizeof(TimerNode::name) - 1;

LnkList *timers = nullptr;

uint32_t now() { return static_cast<uint32_t>(platform::monotonicMilliseconds()); }

// Right across one turn of the 32 bits.
double secondsSince(uint32_t start) { return (now() - start) * 0.001; }

int ZK_CALL compareName(const void *timer, const void *name) {
  if (timer == nullptr || name == nullptr) return -1;
  return std::strcmp(static_cast<const TimerNode *>(timer)->name, static_cast<const char *>(name));
}

// Null when there is none; else the list's cursor is on it.
TimerNode *findTimer(const char *name) {
  if (timers == nullptr || name == nullptr) return nullptr;
  char stored[kNameLength + 1];
  copyBounded(stored, name, kNameLength);
  return static_cast<TimerNode *>(zk_LnkList_search(timers, stored, compareName));
}

}  // namespace

ZK_EXTERN_C_BEGIN

TimerNode *ZK_CALL zk_TimerNode_create(const char *name) {
  if (name == nullptr) return nullptr;
  auto *timer = static_cast<TimerNode *>(base::allocate(sizeof(TimerNode)));
  if (timer == nullptr) return nullptr;
  copyBounded(timer->name, name, kNameLength);
  timer->start = now();
  return timer;
}

int ZK_CALL zk_Timer_create(const char *name) {
  TimerNode *timer = zk_TimerNode_create(name);
  if (timer == nullptr) return 0;
  if (timers == nullptr) timers = newList();
  if (timers != nullptr && appendNode(*timers, timer) != nullptr) return 1;
  base::release(timer);
  return 0;
}

double ZK_CALL zk_Timer_check(const char *name) {
  const TimerNode *timer = findTimer(name);
  return timer != nullptr ? secondsSince(timer->start) : 0.0;
}

double ZK_CALL zk_Timer_reset(const char *name) {
  TimerNode *timer = findTimer(name);
  if (timer == nullptr) {
    zk_Timer_create(name);
    return 0.0;
  }
  const double seconds = secondsSince(timer->start);
  timer->start = now();
  return seconds;
}

double ZK_CALL zk_Timer_delete(const char *name) {
  const TimerNode *timer = findTimer(name);
  if (timer == nullptr) return 0.0;
  const double seconds = secondsSince(timer->start);
  zk_LnkList_delCurr(timers, base::release);
  return seconds;
}

int ZK_CALL zk_Timer_clearAll(void) {
  destroyList(timers, base::release);
  timers = nullptr;
  return 1;
}

ZK_EXTERN_C_END
