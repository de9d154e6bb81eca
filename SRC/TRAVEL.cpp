#include "zk/pointtravel.h"

#include <cstddef>

#include "SRC/LnkList.h"
#include "SRC/Trace.h"
#include "base/Memory.h"

static_assert(offsetof(PointTravelNode, label) == 24 && offsetof(PointTravelNode, value) == 540 &&
              sizeof(PointTravelNode) == 544);

namespace zk {
namespace {

// Traced as the points' own functions are.
constexpr TraceFamily kTrace{ZK_DIAG_POINT, "SRC\\POINT.cpp"};

struct Entry {
  uint32_t serial;
  int32_t value;
};
constexpr uint32_t kEntries = 50;
Entry entries[kEntries];
uint32_t nextSerial = 0;  // its place follows from it

void ZK_CALL destroyNode(void *node) {
  zk_PointTravelNode_destroy(static_cast<PointTravelNode *>(node));
}

// The label went through a formatting function without values once: of what that made of it,
// doubled percent signs have stayed.
void copyLabel(char (&destination)[sizeof PointTravelNode::label], const char *label) {
  char *const last = destination + sizeof destination - 1;
  char *end = destination;
  while (end != last && *label != '\0') {
    if (label[0] == '%' && label[1] == '%') ++label;
    *end++ = *label++;
  }
  *end = '\0';
}

}  // namespace
}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

PointTravelNode *ZK_CALL zk_PointTravelNode_create(const ZkPoint *point, const char *label,
                                                   int32_t /*unused*/, int32_t value) {
  ZK_TRACE_LEAVING(kTrace, zk_PointTravelNode_create);
  if (point == nullptr) return nullptr;
  auto *node = static_cast<PointTravelNode *>(base::allocate(sizeof(PointTravelNode)));
  if (node == nullptr) return nullptr;
  node->point = *point;
  copyLabel(node->label, label != nullptr ? label : "");
  node->value = value;
  return node;
}

int ZK_CALL zk_PointTravelNode_destroy(PointTravelNode *node) {
  ZK_TRACE_LEAVING(kTrace, zk_PointTravelNode_destroy);
  if (node == nullptr) return 0;
  base::release(node);
  return 1;
}

PointTravelList *ZK_CALL zk_PointTravelList_create(void) {
  ZK_TRACE_LEAVING(kTrace, zk_PointTravelList_create);
  return newList();
}

int ZK_CALL zk_PointTravelList_destroy(PointTravelList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointTravelList_destroy);
  return zk_LnkList_destroy(list, destroyNode);
}

int ZK_CALL zk_PointTravelList_insEnd(PointTravelList *list, PointTravelNode *node) {
  ZK_TRACE_LEAVING(kTrace, zk_PointTravelList_insEnd);
  return node != nullptr ? zk_LnkList_insEnd(list, node) : 0;
}

PointTravelNode *ZK_CALL zk_PointTravelList_getCurr(const PointTravelList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointTravelList_getCurr);
  return static_cast<PointTravelNode *>(zk_LnkList_getCurr(list));
}

int ZK_CALL zk_PointTravelList_start(PointTravelList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointTravelList_start);
  return zk_LnkList_start(list);
}

int ZK_CALL zk_PointTravelList_end(PointTravelList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointTravelList_end);
  return zk_LnkList_end(list);
}

int ZK_CALL zk_PointTravelList_next(PointTravelList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointTravelList_next);
  return zk_LnkList_next(list);
}

int ZK_CALL zk_PointTravelList_prev(PointTravelList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointTravelList_prev);
  return zk_LnkList_prev(list);
}

int ZK_CALL zk_PointTravelList_eol(const PointTravelList *list) {
  ZK_TRACE_LEAVING(kTrace, zk_PointTravelList_eol);
  return zk_LnkList_eol(list);
}

int32_t ZK_CALL zk_PointTravelList_add(int32_t value) {
  ZK_TRACE_LEAVING(kTrace, zk_PointTravelList_add);
  const uint32_t serial = nextSerial++;
  entries[serial % kEntries] = {serial, value};
  return static_cast<int32_t>(serial);
}

int32_t ZK_CALL zk_PointTravelList_get(int32_t serial) {
  ZK_TRACE_LEAVING(kTrace, zk_PointTravelList_get);
  const auto wanted = static_cast<uint32_t>(serial);
  const Entry &entry = entries[wanted % kEntries];
  return entry.serial == wanted ? entry.value : 0;
}

ZK_EXTERN_C_END
