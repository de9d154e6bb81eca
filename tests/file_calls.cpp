#include "tests/file_calls.h"

namespace file_calls {
namespace {

int target = 0;  // 0: calls are not counted
Disturbance disturbance = Disturbance::kNone;
int calls = 0;
int exitCode = 1;
int readsLeft = 0;
std::function<void()> actBeforeRead;

}  // namespace

bool endsTheProgram() {
  return disturbance == Disturbance::kEndBefore || disturbance == Disturbance::kEndHalfway ||
         disturbance == Disturbance::kEndAfter;
}

Fate arrive() {
  if (target == 0 || ++calls < target) return Fate::kWhole;
  const bool first = calls == target;
  switch (disturbance) {
    case Disturbance::kNone:
    case Disturbance::kEndAfter:
      return Fate::kWhole;
    case Disturbance::kEndBefore:
      endAtOnce(exitCode);
    case Disturbance::kEndHalfway:
      return Fate::kHalf;
    case Disturbance::kFailOnce:
      return first ? Fate::kFails : Fate::kWhole;
    case Disturbance::kFailHalfway:
      return first ? Fate::kHalf : calls == target + 1 ? Fate::kFails : Fate::kWhole;
    case Disturbance::kFailHalfwayAndOn:
      return first ? Fate::kHalf : Fate::kFails;
    case Disturbance::kFailFromThere:
      return Fate::kFails;
  }
  return Fate::kWhole;
}

bool arriveWhole() {
  const Fate fate = arrive();
  if (fate == Fate::kHalf && endsTheProgram()) endAtOnce(exitCode);
  return fate == Fate::kWhole;
}

void leave() {
  if (target != 0 && calls == target && endsTheProgram()) endAtOnce(exitCode);
}

void arriveAtRead() {
  if (readsLeft > 0 && --readsLeft == 0) actBeforeRead();
}

void disturb(int n, Disturbance kind) {
  watchCalls();
  calls = 0;
  target = n;
  disturbance = kind;
}

void setExitCode(int code) { exitCode = code; }

void beforeRead(int n, const std::function<void()> &act) {
  watchCalls();
  readsLeft = n;
  actBeforeRead = act;
}

bool calm() {
  const bool reached = target != 0 && calls >= target;
  target = 0;
  return reached;
}

}  // namespace file_calls
