#include "zk/tree.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "SRC/Str.h"
#include "SRC/Trace.h"
#include "base/Memory.h"

using namespace zk;

namespace {

constexpr TraceFamily kTrace{ZK_DIAG_TREE, "SRC\\treelist.cpp"};

// ---- Nodes

TreeNode *newNode(const char *name, void *data) {
  auto *node = static_cast<TreeNode *>(base::allocate(sizeof(TreeNode)));
  if (node == nullptr) return nullptr;
  *node = {nullptr, data, nullptr, nullptr, nullptr, nullptr};
  if (name == nullptr) return node;
  node->name = base::duplicate(name, std::strlen(name));
  if (node->name != nullptr) return node;
  base::release(node);
  return nullptr;
}

void releaseNode(TreeNode *node) {
  base::release(node->name);
  base::release(node);
}

std::string_view nameOf(const TreeNode &node) { return node.name != nullptr ? node.name : ""; }

bool isNamed(const TreeNode &node, std::string_view name) {
  return compareIgnoringCase(nameOf(node), name) == 0;
}

TreeNode *lastChild(const TreeNode &node) {
  TreeNode *child = node.firstChild;
  while (child != nullptr && child->next != nullptr) child = child->next;
  return child;
}

TreeNode *childByName(const TreeNode &node, std::string_view name, int32_t occurrence) {
  if (occurrence < 0) return nullptr;
  int32_t before = std::max(occurrence, 1) - 1;
  for (TreeNode *child = node.firstChild; child != nullptr; child = child->next) {
    if (isNamed(*child, name) && before-- == 0) return child;
  }
  return nullptr;
}

TreeNode *nodeAtPath(const TreeNode &start, const char *path, int32_t occurrence) {
  Tokenizer tokens(path, ".");
  const TreeNode *at = &start;
  std::string_view name;
  std::string_view following;
  if (!tokens.next(name)) return nullptr;
  while (tokens.next(following)) {
    at = childByName(*at, trimmed(name), 1);
    if (at == nullptr) return nullptr;
    name = following;
  }
  return childByName(*at, trimmed(name), occurrence);
}

// ---- Inserting

// Whether `parent` is reached from `child` over children and next siblings, seen from below.
bool leadsTo(const TreeNode &child, const TreeNode &parent) {
  if (&child == &parent) return true;
  if (child.firstChild == nullptr && child.next == nullptr) return false;
  const TreeNode *node = &parent;
  while (node != nullptr && node != &child)
    node = node->prev != nullptr ? node->prev : node->parent;
  return node != nullptr;
}

// Where the tree points to a node; null for one that stands in no tree, or is a root.
TreeNode **linkTo(const TreeNode &node) {
  TreeNode **link = nullptr;
  if (node.prev != nullptr) {
    link = &node.prev->next;
  } else if (node.parent != nullptr) {
    link = &node.parent->firstChild;
  }
  return link != nullptr && *link == &node ? link : nullptr;
}

// Takes a node, and those that follow it, from where it stands.
void cutOff(TreeNode &node) {
  if (TreeNode **link = linkTo(node)) *link = nullptr;
}

bool appendChild(TreeNode &parent, TreeNode &child) {
  TreeNode *last = nullptr;
  for (TreeNode *node = parent.firstChild; node != nullptr; node = node->next) {
    if (node == &child) return false;
    last = node;
  }
  if (leadsTo(child, parent)) return false;

  cutOff(child);
  child.prev = last;
  (last != nullptr ? last->next : parent.firstChild) = &child;
  // The child's next sibling is meant to stay, so it gets the new parent as well.
  for (TreeNode *node = &child; node != nullptr; node = node->next) node->parent = &parent;
  return true;
}

// ---- Walking. `top` bounds the walk: nothing beside or above it is passed; null: no bound

TreeNode *nextInPreOrder(const TreeNode *node, const TreeNode *top) {
  if (node->firstChild != nullptr) return node->firstChild;
  while (node != nullptr && node != top && node->next == nullptr) node = node->parent;
  return node != nullptr && node != top ? node->next : nullptr;
}

TreeNode *firstInPostOrder(TreeNode *top) {
  while (top->firstChild != nullptr) top = top->firstChild;
  return top;
}

TreeNode *nextInPostOrder(const TreeNode *node, const TreeNode *top) {
  if (node == top) return nullptr;
  return node->next != nullptr ? firstInPostOrder(node->next) : node->parent;
}

// ---- Removing

void removeLeaf(TreeNode *node, ZkFreeDataFn freeData) {
  if (TreeNode **link = linkTo(*node)) *link = node->next;
  if (node->next != nullptr) node->next->prev = node->prev;
  // Null data is meant to be handed over too.
  if (freeData != nullptr) freeData(node->data);
  releaseNode(node);
}

// Looks for each last child once: the ones before it are found over their siblings.
void removeBelow(const TreeNode &top, ZkFreeDataFn freeData) {
  TreeNode *node = lastChild(top);
  while (node != nullptr && node != &top) {
    if (node->firstChild != nullptr) {
      node = lastChild(*node);
      continue;
    }
    TreeNode *following = node->prev != nullptr ? node->prev : node->parent;
    removeLeaf(node, freeData);
    node = following;
  }
}

}  // namespace

ZK_EXTERN_C_BEGIN

TreeNode *ZK_CALL zk_TreeNode_create(const char *name, void *data) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_create);
  return newNode(name, data);
}

int ZK_CALL zk_TreeNode_setName(TreeNode *node, const char *name) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_setName);
  if (node == nullptr) return 0;
  char *copy = name != nullptr ? base::duplicate(name, std::strlen(name)) : nullptr;
  if (name != nullptr && copy == nullptr) return 0;
  base::release(node->name);
  node->name = copy;
  return 1;
}

const char *ZK_CALL zk_TreeNode_getName(const TreeNode *node) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_getName);
  return node != nullptr ? node->name : nullptr;
}

// Meant to give 0 even where it stored the data.
int ZK_CALL zk_TreeNode_setData(TreeNode *node, void *data) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_setData);
  if (node != nullptr) node->data = data;
  return 0;
}

void *ZK_CALL zk_TreeNode_getData(const TreeNode *node) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_getData);
  return node != nullptr ? node->data : nullptr;
}

TreeNode *ZK_CALL zk_TreeNode_getParent(const TreeNode *node) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_getParent);
  return node != nullptr ? node->parent : nullptr;
}

TreeNode *ZK_CALL zk_TreeNode_getFirstChild(const TreeNode *node) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_getFirstChild);
  return node != nullptr ? node->firstChild : nullptr;
}

TreeNode *ZK_CALL zk_TreeNode_getLastChild(const TreeNode *node) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_getLastChild);
  return node != nullptr ? lastChild(*node) : nullptr;
}

TreeNode *ZK_CALL zk_TreeNode_getNextSibling(const TreeNode *node) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_getNextSibling);
  return node != nullptr ? node->next : nullptr;
}

TreeNode *ZK_CALL zk_TreeNode_getPreviousSibling(const TreeNode *node) {
  // The entry is meant to name the next sibling.
  const TraceGuard traceGuard(kTrace, "Entering zk_TreeNode_getNextSibling.",
                              "Exiting zk_TreeNode_getPreviousSibling.", __LINE__);
  return node != nullptr ? node->prev : nullptr;
}

TreeNode *ZK_CALL zk_TreeNode_next(const TreeNode *node) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_next);
  return node != nullptr ? nextInPreOrder(node, nullptr) : nullptr;
}

int ZK_CALL zk_TreeNode_insChild(TreeNode *parent, TreeNode *child) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_insChild);
  return parent != nullptr && child != nullptr && appendChild(*parent, *child);
}

int32_t ZK_CALL zk_TreeNode_getChildCount(const TreeNode *node, const char *name) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_getChildCount);
  if (node == nullptr) return 0;
  int32_t count = 0;
  for (const TreeNode *child = node->firstChild; child != nullptr; child = child->next) {
    if (name == nullptr || isNamed(*child, name)) ++count;
  }
  return count;
}

TreeNode *ZK_CALL zk_TreeNode_getChildByName(const TreeNode *node, const char *name,
                                             int32_t occurrence) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_getChildByName);
  return node != nullptr && name != nullptr ? childByName(*node, name, occurrence) : nullptr;
}

TreeNode *ZK_CALL zk_TreeNode_search(const TreeNode *node, const char *path, int32_t occurrence) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_search);
  return node != nullptr && path != nullptr ? nodeAtPath(*node, path, occurrence) : nullptr;
}

TreeNode *ZK_CALL zk_TreeNode_visitPre(TreeNode *node, void *argument, ZkTreeVisitFn visitor) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_visitPre);
  if (node == nullptr || visitor == nullptr) return nullptr;
  TreeNode *at = node;
  while (at != nullptr && visitor(argument, at->data) != 1) at = nextInPreOrder(at, node);
  return at;
}

TreeNode *ZK_CALL zk_TreeNode_visitPost(TreeNode *node, void *argument, ZkTreeVisitFn visitor) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_visitPost);
  if (node == nullptr || visitor == nullptr) return nullptr;
  TreeNode *at = firstInPostOrder(node);
  while (at != nullptr && visitor(argument, at->data) != 1) at = nextInPostOrder(at, node);
  return at;
}

TreeNode *ZK_CALL zk_TreeNode_visit(TreeNode *node, void *argument, ZkTreeVisitFn visitor,
                                    int order) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_visit);
  if (node == nullptr) return nullptr;
  switch (order) {
    case 0:
    case ZK_TREE_PRE_ORDER:
      return zk_TreeNode_visitPre(node, argument, visitor);
    case ZK_TREE_POST_ORDER:
      return zk_TreeNode_visitPost(node, argument, visitor);
    default:
      return nullptr;
  }
}

int ZK_CALL zk_TreeNode_delCurr(TreeNode *node, ZkFreeDataFn freeData) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_delCurr);
  if (node == nullptr || node->firstChild != nullptr) return 0;
  removeLeaf(node, freeData);
  return 1;
}

int ZK_CALL zk_TreeNode_destroy(TreeNode *node, ZkFreeDataFn freeData) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_destroy);
  if (node == nullptr) return 0;
  removeBelow(*node, freeData);
  return zk_TreeNode_delCurr(node, freeData);
}

int ZK_CALL zk_TreeNode_setRoot(TreeList *list, TreeNode *node) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_setRoot);
  if (list == nullptr || list->root != nullptr || node == nullptr) return 0;
  list->root = node;
  return 1;
}

TreeNode *ZK_CALL zk_TreeNode_getRoot(const TreeList *list) {
  ZK_TRACE_EXITING(kTrace, zk_TreeNode_getRoot);
  return list != nullptr ? list->root : nullptr;
}

TreeList *ZK_CALL zk_TreeList_create(const char *name, void *data) {
  ZK_TRACE_EXITING(kTrace, zk_TreeList_create);
  base::OwnedBlock<TreeList> list(static_cast<TreeList *>(base::allocate(sizeof(TreeList))));
  if (list == nullptr) return nullptr;
  *list = {0, nullptr, nullptr};
  if (name == nullptr || data == nullptr) return list.release();
  list->root = list->current = newNode(name, data);
  return list->root != nullptr ? list.release() : nullptr;
}

// A list without a root is meant to keep its header.
int ZK_CALL zk_TreeList_destroy(TreeList *list, ZkFreeDataFn freeData) {
  ZK_TRACE_EXITING(kTrace, zk_TreeList_destroy);
  if (list == nullptr || zk_TreeNode_destroy(list->root, freeData) != 1) return 0;
  base::release(list);
  return 1;
}

int ZK_CALL zk_TreeList_start(TreeList *list) {
  ZK_TRACE_EXITING(kTrace, zk_TreeList_start);
  if (list == nullptr) return 0;
  list->current = list->root;
  return list->current != nullptr;
}

int ZK_CALL zk_TreeList_next(TreeList *list) {
  ZK_TRACE_EXITING(kTrace, zk_TreeList_next);
  if (list == nullptr) return 0;
  list->current = zk_TreeNode_next(list->current);
  return list->current != nullptr;
}

int ZK_CALL zk_TreeList_eol(const TreeList *list) {
  ZK_TRACE_EXITING(kTrace, zk_TreeList_eol);
  return list == nullptr || list->current == nullptr;
}

uint32_t ZK_CALL zk_TreeList_length(const TreeList *list) {
  ZK_TRACE_EXITING(kTrace, zk_TreeList_length);
  return list != nullptr ? list->count : 0;
}

void *ZK_CALL zk_TreeList_getCurrData(const TreeList *list) {
  ZK_TRACE_EXITING(kTrace, zk_TreeList_getCurrData);
  return list != nullptr && list->current != nullptr ? list->current->data : nullptr;
}

int ZK_CALL zk_TreeList_getCurrName(const TreeList *list, char *buffer, int32_t size) {
  ZK_TRACE_EXITING(kTrace, zk_TreeList_getCurrName);
  if (list == nullptr || list->current == nullptr || list->current->name == nullptr) return 0;
  if (buffer == nullptr || size <= 0) return 1;
  const char *name = list->current->name;
  const auto room = static_cast<std::size_t>(size);
  std::size_t copied = 0;
  for (std::size_t more; (more = characterLength(name + copied)) != 0 && copied + more <= room;) {
    copied += more;
  }
  std::memmove(buffer, name, copied);
  // A name that fills the buffer is meant to have no terminator.
  if (copied < room) buffer[copied] = '\0';
  return 1;
}

int ZK_CALL zk_TreeList_modCurr(TreeList *list, void *data, ZkFreeDataFn freeData) {
  ZK_TRACE_EXITING(kTrace, zk_TreeList_modCurr);
  if (list == nullptr || list->current == nullptr) return 0;
  if (freeData != nullptr && list->current->data != nullptr) freeData(list->current->data);
  list->current->data = data;
  return 1;
}

int ZK_CALL zk_TreeList_search(TreeList *list, const char *path) {
  ZK_TRACE_EXITING(kTrace, zk_TreeList_search);
  if (list == nullptr || path == nullptr) return 0;
  list->current = nullptr;
  if (list->root == nullptr) return 0;
  const std::string_view whole(path);
  const std::size_t dot = whole.find('.', 1);
  if (dot == std::string_view::npos) {
    if (isNamed(*list->root, whole)) list->current = list->root;
  } else if (compareIgnoringCase(nameOf(*list->root).substr(0, dot), whole.substr(0, dot)) == 0) {
    list->current = zk_TreeNode_search(list->root, path + dot + 1, 1);
  }
  return list->current != nullptr;
}

int ZK_CALL zk_TreeList_visit(TreeList *list, void *argument, ZkTreeVisitFn visitor, int order) {
  ZK_TRACE_EXITING(kTrace, zk_TreeList_visit);
  if (list == nullptr || visitor == nullptr) return 0;
  list->current = zk_TreeNode_visit(list->root, argument, visitor, order);
  return list->current != nullptr;
}

int ZK_CALL zk_TreeList_insChild(TreeList *list, const char *parentPath, const char *name,
                                 void *data) {
  ZK_TRACE_EXITING(kTrace, zk_TreeList_insChild);
  if (list == nullptr || (parentPath == nullptr && list->root != nullptr)) return 0;
  TreeNode *node = newNode(name, data);
  if (node == nullptr) return 0;
  if (parentPath == nullptr) {
    list->root = node;
    return 1;
  }
  if (zk_TreeList_search(list, parentPath) && appendChild(*list->current, *node)) return 1;
  releaseNode(node);
  return 0;
}

ZK_EXTERN_C_END
