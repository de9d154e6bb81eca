// Batches of messages.
#include <cstdarg>
#include <cstring>

#include "SRC/LnkList.h"
#include "SRC/Msg.h"
#include "SRC/Str.h"
#include "base/Guard.h"
#include "zk/msg.h"

namespace zk {
namespace {

const char *orEmpty(const char *text) { return text != nullptr ? text : ""; }

void ZK_CALL releaseNode(void *data) {
  auto *node = static_cast<MsgNode *>(data);
  base::release(node->text);
  base::release(node);
}

void ZK_CALL destroyMessages(MsgList *list) { destroyList(list, releaseNode); }

struct MessageListDestroyer {
  void operator()(MsgList *list) const noexcept { destroyMessages(list); }
};
using OwnedMessages = std::unique_ptr<MsgList, MessageListDestroyer>;

bool append(MsgList &list, const ZkMsgEntry &entry) {
  MsgNode *node = zk_MsgNode_create(entry.key, entry.text, entry.messageId, entry.format, 0);
  if (node != nullptr && appendNode(list, node) != nullptr) return true;
  if (node != nullptr) releaseNode(node);
  return false;
}

bool translate(MsgNode &node) {
  return base::guarded(false, [&] {
    const base::String result = message(node.text, node.messageId, node.format);
    if (result[0] == '^') return true;
    const std::size_t width = node.padWidth > 0 ? static_cast<std::size_t>(node.padWidth) : 0;
    base::String padded = result;
    if (padded.size() < width) padded.resize(width, ' ');
    char *copy = base::duplicate(padded.c_str(), padded.size());
    if (copy == nullptr) return false;
    base::release(node.text);
    node.text = copy;
    return true;
  });
}

}  // namespace
}  // namespace zk

using namespace zk;

extern "C" {

MsgNode *ZK_CALL zk_MsgNode_create(const char *key, const char *text, const char *messageId,
                                   int32_t format, int32_t padWidth) {
  base::OwnedBlock<MsgNode> node(static_cast<MsgNode *>(base::allocate(sizeof(MsgNode))));
  if (node == nullptr) return nullptr;
  text = orEmpty(text);
  node->text = base::duplicate(text, std::strlen(text));
  if (node->text == nullptr) return nullptr;
  copyBounded(node->key, orEmpty(key), ZK_MSG_KEY_LENGTH);
  copyBounded(node->messageId, orEmpty(messageId), ZK_MSG_KEY_LENGTH);
  node->format = format;
  node->padWidth = padWidth;
  return node.release();
}

MsgList *ZK_CALL zk_Msg_mlt(const char *key, ...) {
  OwnedMessages list(newList());
  bool complete = list != nullptr;
  va_list arguments;
  va_start(arguments, key);
  for (; complete && key != nullptr; key = va_arg(arguments, const char *)) {
    ZkMsgEntry entry = {key, nullptr, nullptr, 0};
    entry.text = va_arg(arguments, const char *);
    entry.messageId = va_arg(arguments, const char *);
    entry.format = va_arg(arguments, int);
    complete = append(*list, entry);
  }
  va_end(arguments);
  if (!complete) return nullptr;
  zk_Msg_multiple(list.get());
  return list.release();
}

MsgList *ZK_CALL zk_Msg_mltReadArray(const ZkMsgEntry *entries) {
  if (entries == nullptr) return nullptr;
  OwnedMessages list(newList());
  if (list == nullptr) return nullptr;
  for (; entries->key != nullptr; ++entries) {
    if (!append(*list, *entries)) return nullptr;
  }
  zk_Msg_multiple(list.get());
  return list.release();
}

int ZK_CALL zk_Msg_multiple(MsgList *list) {
  if (list == nullptr) return 0;
  int done = 1;
  for (LnkNode *at = list->first; at != nullptr; at = at->next) {
    auto *node = static_cast<MsgNode *>(at->data);
    if (node == nullptr || node->text == nullptr || node->text[0] == '\0') continue;
    if (node->messageId[0] != '\0' && !translate(*node)) done = 0;
  }
  return done;
}

const char *ZK_CALL zk_Msg_find(const MsgList *list, const char *key) {
  static char result[ZK_MSG_LENGTH + 1];
  const char *found = orEmpty(key);
  for (const LnkNode *at = list != nullptr && key != nullptr ? list->first : nullptr; at != nullptr;
       at = at->next) {
    const auto *node = static_cast<const MsgNode *>(at->data);
    if (node != nullptr && std::strcmp(node->key, key) == 0) {
      found = orEmpty(node->text);
      break;
    }
  }
  copyBounded(result, found, ZK_MSG_LENGTH);
  return result;
}

int ZK_CALL zk_MsgList_destroy(MsgList *list) {
  destroyMessages(list);
  return list != nullptr ? 1 : 0;
}

}  // extern "C"
