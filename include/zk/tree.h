/* Trees of named nodes, each with a data pointer and ordered children; and tree lists, a header
 * with the root of one tree and a cursor on one of its nodes.
 *
 * Names are copied and owned by their nodes, and compare as zk_Str_cmpi (str.h), a null name like
 * "". Data is the caller's; operations that drop it take an optional free function, which is called
 * with null data too.
 *
 * Nothing here recurses: depth costs no stack. Visits, next and destroy take time proportional to
 * the nodes they pass; whatever looks for a child walks the children before it.
 *
 * Traces under condition bit 0x200000 (diag.h), nodes and lists.
 */
#ifndef ZK_TREE_H
#define ZK_TREE_H

#include "zk/lnklist.h"

ZK_EXTERN_C_BEGIN

/* Applications may read these fields; only the library changes them. */
typedef struct TreeNode {
  char *name; /* owned, may be null */
  void *data;
  struct TreeNode *next; /* siblings */
  struct TreeNode *prev;
  struct TreeNode *firstChild;
  struct TreeNode *parent; /* null for a root */
} TreeNode;

typedef struct TreeList {
  uint32_t count;    /* always 0: no operation counts */
  TreeNode *root;    /* owned */
  TreeNode *current; /* the cursor */
} TreeList;

/* Looks at one node's data; exactly 1 ends the visit. */
typedef int(ZK_CALL *ZkTreeVisitFn)(void *argument, void *data);

/* The order of a visit: a node before its children, or behind them. 0 is the first as well. */
enum { ZK_TREE_PRE_ORDER = 1, ZK_TREE_POST_ORDER = 2 };

/* ---- Nodes: making, naming, data ---- */

/* A node by itself. Null when refused. */
ZK_API TreeNode *ZK_CALL zk_TreeNode_create(const char *name, void *data);
/* Stores a copy of the name, null for null. 0 when the copy is refused: the old name stays. */
ZK_API int ZK_CALL zk_TreeNode_setName(TreeNode *node, const char *name);
/* The node's own name. */
ZK_API const char *ZK_CALL zk_TreeNode_getName(const TreeNode *node);
/* Frees nothing. Always 0. */
ZK_API int ZK_CALL zk_TreeNode_setData(TreeNode *node, void *data);
ZK_API void *ZK_CALL zk_TreeNode_getData(const TreeNode *node);

/* ---- Nodes: neighbours, null where there is none ---- */

ZK_API TreeNode *ZK_CALL zk_TreeNode_getParent(const TreeNode *node);
ZK_API TreeNode *ZK_CALL zk_TreeNode_getFirstChild(const TreeNode *node);
ZK_API TreeNode *ZK_CALL zk_TreeNode_getLastChild(const TreeNode *node);
ZK_API TreeNode *ZK_CALL zk_TreeNode_getNextSibling(const TreeNode *node);
/* (The entry trace names zk_TreeNode_getNextSibling.) */
ZK_API TreeNode *ZK_CALL zk_TreeNode_getPreviousSibling(const TreeNode *node);
/* The next node of the whole tree in pre-order: the first child, else the next sibling, else that
 * of the nearest ancestor that has one. */
ZK_API TreeNode *ZK_CALL zk_TreeNode_next(const TreeNode *node);

/* ---- Nodes: children ---- */

/* Appends `child` as the last child. It keeps its own next sibling: a node that stood among other
 * siblings leaves that place and brings along those that followed it. 0, and nothing changed, for a
 * child that would come below itself (it is the parent, an ancestor of it, or stands before one of
 * these among siblings) and for one that is the parent's child already. Constant time apart from
 * the walk to the last child if `child` has neither children nor a next sibling; else it also looks
 * at the parent's ancestors and their earlier siblings. */
ZK_API int ZK_CALL zk_TreeNode_insChild(TreeNode *parent, TreeNode *child);
/* The children, or with a name (not null) those of that name. */
ZK_API int32_t ZK_CALL zk_TreeNode_getChildCount(const TreeNode *node, const char *name);
/* The first (occurrence 0 or 1), second (2), ... child of that name. */
ZK_API TreeNode *ZK_CALL zk_TreeNode_getChildByName(const TreeNode *node, const char *name,
                                                    int32_t occurrence);
/* The node at a path of names below `node`, separated by "." and trimmed of white space; empty
 * parts do not count. Every name but the last leads to the first child of that name, the last to
 * the occurrence-th: with "A.X" and 2 to the second X in the first A. */
ZK_API TreeNode *ZK_CALL zk_TreeNode_search(const TreeNode *node, const char *path,
                                            int32_t occurrence);

/* ---- Nodes: visits ---- */

/* Offer the data of `node` and of every node below it to the visitor, until it returns 1: the
 * result is the node it did so for, else null. The visitor must not change the tree. visit chooses
 * by `order`; any other order than those above visits nothing. */
ZK_API TreeNode *ZK_CALL zk_TreeNode_visitPre(TreeNode *node, void *argument,
                                              ZkTreeVisitFn visitor);
ZK_API TreeNode *ZK_CALL zk_TreeNode_visitPost(TreeNode *node, void *argument,
                                               ZkTreeVisitFn visitor);
ZK_API TreeNode *ZK_CALL zk_TreeNode_visit(TreeNode *node, void *argument, ZkTreeVisitFn visitor,
                                           int order);

/* ---- Nodes: removing. A tree list whose cursor is on the node is not told ---- */

/* Takes a node out of its tree and releases it. 0 for a node that has children. */
ZK_API int ZK_CALL zk_TreeNode_delCurr(TreeNode *node, ZkFreeDataFn freeData);
/* The same for a node with all nodes below it: children before their parent, last child first. */
ZK_API int ZK_CALL zk_TreeNode_destroy(TreeNode *node, ZkFreeDataFn freeData);

/* ---- Tree lists ---- */

/* A list with a root of that name and data and the cursor on it. When name or data is null the list
 * has no root. Null when memory is refused. */
ZK_API TreeList *ZK_CALL zk_TreeList_create(const char *name, void *data);
/* Releases the nodes and the header. A list without a root gives 0 and stays as it is: release it
 * with zk_Free. */
ZK_API int ZK_CALL zk_TreeList_destroy(TreeList *list, ZkFreeDataFn freeData);

/* Gives the list its root, which it then owns. 0 when it has one already. */
ZK_API int ZK_CALL zk_TreeNode_setRoot(TreeList *list, TreeNode *node);
ZK_API TreeNode *ZK_CALL zk_TreeNode_getRoot(const TreeList *list);

/* The cursor: to the root, or on by zk_TreeNode_next; 1 if it is on a node then. eol is 1 when it
 * is on none, and for a null list. */
ZK_API int ZK_CALL zk_TreeList_start(TreeList *list);
ZK_API int ZK_CALL zk_TreeList_next(TreeList *list);
ZK_API int ZK_CALL zk_TreeList_eol(const TreeList *list);
/* Always 0: see `count` above. */
ZK_API uint32_t ZK_CALL zk_TreeList_length(const TreeList *list);

ZK_API void *ZK_CALL zk_TreeList_getCurrData(const TreeList *list);
/* Copies at most `size` bytes of the current node's name, whole characters only. Here `size` is the
 * buffer's: a terminator is written only where room is left. 1 if there is a name. */
ZK_API int ZK_CALL zk_TreeList_getCurrName(const TreeList *list, char *buffer, int32_t size);
/* Replaces the current node's data; the old is freed when it and `freeData` are not null. */
ZK_API int ZK_CALL zk_TreeList_modCurr(TreeList *list, void *data, ZkFreeDataFn freeData);

/* Puts the cursor on the node at a path that begins with the root's name, "ROOT.A.X", or on none
 * and gives 0. Behind the first name it is a path of zk_TreeNode_search. Of the first name only as
 * many characters count as are given, if a "." follows: "RO.A" finds A below ROOT. */
ZK_API int ZK_CALL zk_TreeList_search(TreeList *list, const char *path);
/* zk_TreeNode_visit from the root; puts the cursor on the node that was found, or on none and gives
 * 0. With a null visitor the cursor stays. */
ZK_API int ZK_CALL zk_TreeList_visit(TreeList *list, void *argument, ZkTreeVisitFn visitor,
                                     int order);
/* Makes a node and appends it to the children of the node at `parentPath`, to which the cursor goes
 * by zk_TreeList_search. With a null path the new node becomes the root, if there is none, and the
 * cursor stays. 0 without the parent, or with the cursor where it was when memory is refused. */
ZK_API int ZK_CALL zk_TreeList_insChild(TreeList *list, const char *parentPath, const char *name,
                                        void *data);

ZK_EXTERN_C_END
#endif
