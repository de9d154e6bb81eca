#include "zk/rm.h"

namespace {
ZkTrackObjectFn trackObject = nullptr;
}

int ZK_CALL zk_RM_setFuncTrackObject(ZkTrackObjectFn function) {
  trackObject = function;
  return 1;
}

int ZK_CALL zk_RM_callFuncTrackObject(void) { return trackObject != nullptr ? trackObject() : 0; }
