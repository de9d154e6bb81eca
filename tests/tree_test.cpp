#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "tests/tracing.h"
#include "zk_baselib.h"

namespace {

using support::trace;
using support::tracePair;

// A tree is written "R(A(X Y) B)". The data of every node is its name.
TreeNode *makeNode(const std::string &name) {
  TreeNode *node = zk_TreeNode_create(name.c_str(), nullptr);
  zk_TreeNode_setData(node, node->name);
  return node;
}

TreeNode *makeTree(const std::string &text) {
  TreeNode *root = nullptr;
  TreeNode *parent = nullptr;
  TreeNode *latest = nullptr;
  for (std::size_t at = 0; at < text.size(); ++at) {
    switch (text[at]) {
      case '(':
        parent = latest;
        break;
      case ')':
        parent = parent->parent;
        break;
      case ' ':
        break;
      default: {
        const std::size_t end = std::min(text.find_first_of("() ", at), text.size());
        latest = makeNode(text.substr(at, end - at));
        at = end - 1;
        if (root == nullptr) {
          root = latest;
        } else {
          EXPECT_EQ(zk_TreeNode_insChild(parent, latest), 1);
        }
      }
    }
  }
  return root;
}

// The same notation, after a check of every link.
std::string shown(const TreeNode *node) {
  std::string text = node->name != nullptr ? node->name : "-";
  const TreeNode *prev = nullptr;
  for (const TreeNode *child = node->firstChild; child != nullptr; child = child->next) {
    EXPECT_EQ(child->parent, node);
    EXPECT_EQ(child->prev, prev);
    text += (prev == nullptr ? "(" : " ") + shown(child);
    prev = child;
  }
  EXPECT_EQ(zk_TreeNode_getLastChild(node), prev);
  return prev == nullptr ? text : text + ")";
}

std::string nameOf(const TreeNode *node) { return node != nullptr ? node->name : "none"; }

std::string freed;
void ZK_CALL logFree(void *data) {
  freed += data != nullptr ? static_cast<const char *>(data) : "null";
  freed += " ";
}

// Logs what it is offered, and stops at the name that is its argument.
std::string visited;
int ZK_CALL logVisit(void *argument, void *data) {
  visited += static_cast<const char *>(data);
  visited += " ";
  return std::string(static_cast<const char *>(argument)) == static_cast<const char *>(data);
}

TEST(TreeNode, Links) {
  TreeNode *r = makeTree("R(A B C)");
  TreeNode *b = zk_TreeNode_search(r, "B", 1);
  EXPECT_EQ(nameOf(zk_TreeNode_getParent(b)), "R");
  EXPECT_EQ(nameOf(zk_TreeNode_getNextSibling(b)), "C");
  EXPECT_EQ(nameOf(zk_TreeNode_getPreviousSibling(b)), "A");
  EXPECT_EQ(nameOf(zk_TreeNode_getFirstChild(r)), "A");
  EXPECT_EQ(nameOf(zk_TreeNode_getLastChild(r)), "C");
  EXPECT_EQ(zk_TreeNode_getLastChild(b), nullptr);
  EXPECT_EQ(zk_TreeNode_getParent(r), nullptr);
  zk_TreeNode_destroy(r, nullptr);
}

TEST(TreeNode, NameAndData) {
  std::string name = "first";
  TreeNode *node = zk_TreeNode_create(name.c_str(), &name);
  name = "other";
  EXPECT_STREQ(zk_TreeNode_getName(node), "first");
  EXPECT_EQ(zk_TreeNode_getData(node), &name);
  EXPECT_EQ(zk_TreeNode_setName(node, zk_TreeNode_getName(node) + 2), 1);  // of its own name
  EXPECT_STREQ(zk_TreeNode_getName(node), "rst");
  EXPECT_EQ(zk_TreeNode_setName(node, nullptr), 1);
  EXPECT_EQ(zk_TreeNode_getName(node), nullptr);
  EXPECT_EQ(zk_TreeNode_setData(node, node), 0);
  EXPECT_EQ(zk_TreeNode_getData(node), node);
  zk_TreeNode_destroy(node, nullptr);
}

TEST(TreeNode, ChildrenByName) {
  TreeNode *r = makeTree("R(A B a Ab)");
  const struct {
    const char *name;
    int32_t occurrence;
    const char *found;
  } cases[] = {{"A", 0, "A"},    {"A", 1, "A"},     {"A", 2, "a"},
               {"A", 3, "none"}, {"a", -1, "none"}, {"aB", 1, "Ab"},
               {"R", 1, "none"}, {"", 1, "none"},   {nullptr, 1, "none"}};
  for (const auto &c : cases) {
    EXPECT_EQ(nameOf(zk_TreeNode_getChildByName(r, c.name, c.occurrence)), c.found);
  }
  EXPECT_EQ(zk_TreeNode_getChildCount(r, nullptr), 4);
  EXPECT_EQ(zk_TreeNode_getChildCount(r, "a"), 2);
  EXPECT_EQ(zk_TreeNode_getChildCount(r, "x"), 0);
  zk_TreeNode_setName(zk_TreeNode_getFirstChild(r), nullptr);
  EXPECT_EQ(zk_TreeNode_getChildCount(r, ""), 1);  // no name is like an empty one
  zk_TreeNode_destroy(r, nullptr);
}

TEST(TreeNode, SearchByPath) {
  TreeNode *r = makeTree("R(A(X1 Y(Z) X2) B A(X3) a(W))");
  for (TreeNode *node = r; node != nullptr; node = zk_TreeNode_next(node)) {
    if (node->name[0] == 'X') zk_TreeNode_setName(node, "X");
  }
  const struct {
    const char *path;
    int32_t occurrence;
    const char *found;  // with its parent and position
  } cases[] = {
      {"A.X", 1, "A0.X0"},     {"A.X", 2, "A0.X2"}, {"A.X", 3, "none"}, {"a.y.z", 0, "Y1.Z0"},
      {"A.W", 1, "none"},  // only the first of the inner names counts
      {"A", 2, "R0.A2"},       {"Q.X", 1, "none"},  {"R.A", 1, "none"}, {" A . X ", 1, "A0.X0"},
      {"..A..X.", 1, "A0.X0"}, {"", 1, "none"},     {".", 1, "none"},   {"A. .X", 1, "none"},
  };
  const auto place = [](const TreeNode *node) {
    int position = 0;
    for (const TreeNode *before = node->prev; before != nullptr; before = before->prev) ++position;
    return node->name + std::to_string(position);
  };
  for (const auto &c : cases) {
    const TreeNode *found = zk_TreeNode_search(r, c.path, c.occurrence);
    EXPECT_EQ(found != nullptr ? place(found->parent) + "." + place(found) : "none", c.found)
        << c.path;
  }
  zk_TreeNode_destroy(r, nullptr);
}

TEST(TreeNode, Visits) {
  TreeNode *r = makeTree("R(A(X Y) B(C(D)) E)");
  TreeNode *b = zk_TreeNode_search(r, "B", 1);
  const struct {
    TreeNode *top;
    const char *stop;
    int order;
    const char *visited;
    const char *found;
  } cases[] = {
      {r, "", 0, "R A X Y B C D E ", "none"},
      {r, "", ZK_TREE_PRE_ORDER, "R A X Y B C D E ", "none"},
      {r, "", ZK_TREE_POST_ORDER, "X Y A D C B E R ", "none"},
      {r, "B", ZK_TREE_PRE_ORDER, "R A X Y B ", "B"},
      {r, "C", ZK_TREE_POST_ORDER, "X Y A D C ", "C"},
      // Nothing beside or above the start.
      {b, "", ZK_TREE_PRE_ORDER, "B C D ", "none"},
      {b, "", ZK_TREE_POST_ORDER, "D C B ", "none"},
      {b->firstChild->firstChild, "", ZK_TREE_PRE_ORDER, "D ", "none"},
      {r, "R", 3, "", "none"},
      {r, "R", -1, "", "none"},
  };
  for (const auto &c : cases) {
    visited.clear();
    std::string stop = c.stop;
    EXPECT_EQ(nameOf(zk_TreeNode_visit(c.top, stop.data(), logVisit, c.order)), c.found);
    EXPECT_EQ(visited, c.visited);
  }
  // Only a result of exactly 1 stops.
  EXPECT_EQ(zk_TreeNode_visitPre(r, nullptr, [](void *, void *) { return 2; }), nullptr);

  std::string walked;
  for (TreeNode *node = r; node != nullptr; node = zk_TreeNode_next(node)) walked += node->name;
  EXPECT_EQ(walked, "RAXYBCDE");
  zk_TreeNode_destroy(r, nullptr);
}

// What insChild refuses would close a circle, in which a walk never ends.
TEST(TreeNode, InsertingWhatStandsInATree) {
  const struct {
    const char *parent;
    const char *child;
    int result;
    const char *after;
  } cases[] = {
      {"B", "E", 1, "R(A(X Y) B(C(D) E))"},
      // The next sibling stays where it is: behind the child.
      {"E", "X", 1, "R(A B(C(D)) E(X Y))"},
      {"D", "Y", 1, "R(A(X) B(C(D(Y))) E)"},
      {"Y", "B", 1, "R(A(X Y(B(C(D)) E)))"},
      {"R", "D", 1, "R(A(X Y) B(C) E D)"},
      {"R", "B", 0, nullptr},  // its child
      {"B", "B", 0, nullptr},
      {"D", "B", 0, nullptr},  // an ancestor
      {"D", "R", 0, nullptr},
      {"D", "A", 0, nullptr},  // brings along an ancestor
      {"E", "A", 0, nullptr},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(std::string(c.child) + " below " + c.parent);
    const char *const before = "R(A(X Y) B(C(D)) E)";
    TreeNode *r = makeTree(before);
    const auto find = [&](std::string name) {
      return zk_TreeNode_visit(r, name.data(), logVisit, ZK_TREE_PRE_ORDER);
    };
    EXPECT_EQ(zk_TreeNode_insChild(find(c.parent), find(c.child)), c.result);
    EXPECT_EQ(shown(r), c.after != nullptr ? c.after : before);
    zk_TreeNode_destroy(r, nullptr);
  }
}

TEST(TreeNode, Removing) {
  const struct {
    const char *path;
    int (*remove)(TreeNode *, ZkFreeDataFn);
    int result;
    const char *after;
    const char *freed;
  } cases[] = {
      {"A", zk_TreeNode_delCurr, 0, "R(A(X Y Z) B C)", ""},
      {"A.X", zk_TreeNode_delCurr, 1, "R(A(Y Z) B C)", "X "},
      {"A.Y", zk_TreeNode_delCurr, 1, "R(A(X Z) B C)", "Y "},
      {"A.Z", zk_TreeNode_delCurr, 1, "R(A(X Y) B C)", "Z "},
      {"A", zk_TreeNode_destroy, 1, "R(B C)", "Z Y X A "},
      {"C", zk_TreeNode_destroy, 1, "R(A(X Y Z) B)", "C "},
  };
  for (const auto &c : cases) {
    TreeNode *r = makeTree("R(A(X Y Z) B C)");
    freed.clear();
    // The data are the names, which live until after the call of the free function.
    EXPECT_EQ(c.remove(zk_TreeNode_search(r, c.path, 1), logFree), c.result) << c.path;
    EXPECT_EQ(shown(r), c.after);
    EXPECT_EQ(freed, c.freed);
    zk_TreeNode_destroy(r, nullptr);
  }
  freed.clear();
  EXPECT_EQ(zk_TreeNode_destroy(makeTree("R(A(X Y(P Q)) B)"), logFree), 1);
  EXPECT_EQ(freed, "B Q P Y X A R ");
  // Null data is handed over as well.
  freed.clear();
  EXPECT_EQ(zk_TreeNode_delCurr(zk_TreeNode_create("N", nullptr), logFree), 1);
  EXPECT_EQ(freed, "null ");
}

// A hundred thousand nodes, one below the other or beside each other: no recursion, and nothing
// that takes quadratic time.
TEST(TreeNode, DeepAndWide) {
  constexpr int kNodes = 100'000;
  static int count;
  const auto counter = [](void *, void *) { return ++count, 0; };
  const auto freeCounter = [](void *) { ++count; };
  for (const bool deep : {true, false}) {
    TreeNode *root = zk_TreeNode_create("N", nullptr);
    TreeNode *latest = root;
    for (int i = 1; i < kNodes; ++i) {
      TreeNode *node = zk_TreeNode_create("N", nullptr);
      if (deep) {
        EXPECT_EQ(zk_TreeNode_insChild(latest, node), 1);
      } else {  // upwards: every subtree so far goes below a new root, beside a leaf
        zk_TreeNode_insChild(node, root);
        zk_TreeNode_insChild(node, zk_TreeNode_create("N", nullptr));
        root = node;
        ++i;
      }
      latest = node;
    }
    for (const int order : {ZK_TREE_PRE_ORDER, ZK_TREE_POST_ORDER}) {
      count = 0;
      EXPECT_EQ(zk_TreeNode_visit(root, nullptr, counter, order), nullptr);
      EXPECT_GE(count, kNodes);
    }
    count = 0;
    EXPECT_EQ(zk_TreeNode_destroy(root, freeCounter), 1);
    EXPECT_GE(count, kNodes);
  }
}

// ---- Tree lists

struct ListOwner {
  TreeList *list = zk_TreeList_create("r", this);
  ~ListOwner() { zk_TreeList_destroy(list, nullptr); }
  operator TreeList *() const { return list; }
};

std::string current(const TreeList *list) {
  char name[16];
  return zk_TreeList_getCurrName(list, name, sizeof name) ? name : "none";
}

void fill(TreeList *list) {
  static char texts[] = "AXYB";
  EXPECT_EQ(zk_TreeList_insChild(list, "R", "A", &texts[0]), 1);
  EXPECT_EQ(zk_TreeList_insChild(list, "R.A", "X", &texts[1]), 1);
  EXPECT_EQ(zk_TreeList_insChild(list, "r.a.", "Y", &texts[2]), 1);
  EXPECT_EQ(zk_TreeList_insChild(list, "R", "B", &texts[3]), 1);
}

TEST(TreeList, RootAndHeader) {
  int data = 0;
  const struct {
    const char *name;
    void *data;
    bool hasRoot;
  } cases[] = {
      {"R", &data, true}, {nullptr, &data, false}, {"R", nullptr, false}, {"", &data, true}};
  for (const auto &c : cases) {
    TreeList *list = zk_TreeList_create(c.name, c.data);
    EXPECT_EQ(zk_TreeNode_getRoot(list) != nullptr, c.hasRoot);
    EXPECT_EQ(zk_TreeList_eol(list), !c.hasRoot);
    EXPECT_EQ(zk_TreeList_start(list), c.hasRoot);
    if (!c.hasRoot) {
      EXPECT_EQ(zk_TreeList_destroy(list, nullptr), 0);  // keeps its header
      TreeNode *root = zk_TreeNode_create("R", nullptr);
      EXPECT_EQ(zk_TreeNode_setRoot(list, nullptr), 0);
      EXPECT_EQ(zk_TreeNode_setRoot(list, root), 1);
      EXPECT_EQ(zk_TreeNode_setRoot(list, root), 0);
      EXPECT_EQ(zk_TreeNode_getRoot(list), root);
    }
    EXPECT_EQ(zk_TreeList_destroy(list, nullptr), 1);
  }
}

TEST(TreeList, InsertWithoutPathMakesTheRoot) {
  TreeList *list = zk_TreeList_create(nullptr, nullptr);
  EXPECT_EQ(zk_TreeList_insChild(list, "R", "A", nullptr), 0);
  EXPECT_EQ(zk_TreeList_insChild(list, nullptr, "R", nullptr), 1);
  EXPECT_EQ(zk_TreeList_eol(list), 1);
  EXPECT_EQ(zk_TreeList_insChild(list, nullptr, "S", nullptr), 0);
  EXPECT_EQ(shown(zk_TreeNode_getRoot(list)), "R");
  zk_TreeList_destroy(list, nullptr);
}

TEST(TreeList, Walk) {
  ListOwner list;
  fill(list);
  std::string walked;
  for (zk_TreeList_start(list); !zk_TreeList_eol(list); zk_TreeList_next(list)) {
    walked += current(list) + " ";
  }
  EXPECT_EQ(walked, "r A X Y B ");
  EXPECT_EQ(zk_TreeList_next(list), 0);
  EXPECT_EQ(zk_TreeList_length(list), 0u);  // nothing counts
}

TEST(TreeList, Search) {
  ListOwner list;
  fill(list);
  zk_TreeNode_setName(zk_TreeNode_getRoot(list), "Root");
  const struct {
    const char *path;
    const char *found;
  } cases[] = {
      {"ROOT", "Root"},    {"Root.A", "A"}, {"root.a.y", "Y"}, {"Ro.A", "A"},
      {"Rootx.A", "none"}, {"Ro", "none"},  {"Root.", "none"}, {"Root.Q", "none"},
      {".A", "none"},      {"", "none"},    {"A", "none"},     {"X.A", "none"},
  };
  for (const auto &c : cases) {
    zk_TreeList_start(list);
    EXPECT_EQ(zk_TreeList_search(list, c.path), std::string(c.found) != "none") << c.path;
    EXPECT_EQ(current(list), c.found) << c.path;
  }
}

TEST(TreeList, VisitMovesTheCursor) {
  ListOwner list;
  fill(list);
  const auto is = [](void *argument, void *data) {
    return static_cast<int>(data != nullptr &&
                            *static_cast<char *>(data) == *static_cast<char *>(argument));
  };
  char x = 'X';
  char q = 'Q';
  zk_TreeNode_setData(zk_TreeNode_getRoot(list), nullptr);
  EXPECT_EQ(zk_TreeList_visit(list, &x, is, ZK_TREE_POST_ORDER), 1);
  EXPECT_EQ(current(list), "X");
  EXPECT_EQ(zk_TreeList_visit(list, &x, nullptr, ZK_TREE_PRE_ORDER), 0);
  EXPECT_EQ(current(list), "X");
  EXPECT_EQ(zk_TreeList_visit(list, &q, is, ZK_TREE_PRE_ORDER), 0);
  EXPECT_EQ(zk_TreeList_eol(list), 1);
}

TEST(TreeList, CurrentNode) {
  ListOwner list;
  char old[] = "old";
  char fresh[] = "new";
  freed.clear();
  EXPECT_EQ(zk_TreeList_modCurr(list, old, nullptr), 1);
  EXPECT_EQ(zk_TreeList_modCurr(list, nullptr, logFree), 1);
  EXPECT_EQ(zk_TreeList_modCurr(list, fresh, logFree), 1);  // no call for null
  EXPECT_EQ(freed, "old ");
  EXPECT_EQ(zk_TreeList_getCurrData(list), fresh);

  // The size is the buffer's; a name that fills it has no terminator.
  zk_TreeNode_setName(zk_TreeNode_getRoot(list), "naef");
  const struct {
    int32_t size;
    const char *copied;
  } cases[] = {{6, "naef\0#"}, {5, "naef\0#"}, {4, "naef##"}, {2, "na####"},
               {1, "n#####"},  {0, "######"},  {-1, "######"}};
  for (const auto &c : cases) {
    std::string buffer(6, '#');
    EXPECT_EQ(zk_TreeList_getCurrName(list, buffer.data(), c.size), 1);
    EXPECT_EQ(buffer, std::string(c.copied, 6)) << c.size;
  }
#if !defined(_WIN32)
  // Only whole characters are copied.
  zk_TreeNode_setName(zk_TreeNode_getRoot(list), "n\xC3\xA4");
  char buffer[3] = {'#', '#', '#'};
  EXPECT_EQ(zk_TreeList_getCurrName(list, buffer, 2), 1);
  EXPECT_EQ(std::string(buffer, 3), std::string("n\0#", 3));
#endif
  zk_TreeNode_setName(zk_TreeNode_getRoot(list), nullptr);
  EXPECT_EQ(zk_TreeList_getCurrName(list, nullptr, 0), 0);
}

// Every function of both families, with the lines of those that it goes through.
TEST(TreeList, Traces) {
  TreeNode *r = makeTree("R(A)");
  TreeNode *loose = nullptr;
  TreeList *list = nullptr;
  char argument[] = "";
  char buffer[8];
  const auto pair = [](const char *name, const std::string &between = "") {
    return tracePair("treelist", name, between);
  };
  const struct {
    const char *name;
    std::function<void()> call;
    std::string between = {};
  } cases[] = {
      {"zk_TreeNode_create", [&] { loose = zk_TreeNode_create("B", nullptr); }},
      {"zk_TreeNode_setName", [&] { zk_TreeNode_setName(loose, "C"); }},
      {"zk_TreeNode_getName", [&] { zk_TreeNode_getName(loose); }},
      {"zk_TreeNode_setData", [&] { zk_TreeNode_setData(loose, nullptr); }},
      {"zk_TreeNode_getData", [&] { zk_TreeNode_getData(loose); }},
      {"zk_TreeNode_getParent", [&] { zk_TreeNode_getParent(loose); }},
      {"zk_TreeNode_getFirstChild", [&] { zk_TreeNode_getFirstChild(loose); }},
      {"zk_TreeNode_getNextSibling", [&] { zk_TreeNode_getNextSibling(loose); }},
      {"zk_TreeNode_getLastChild", [&] { zk_TreeNode_getLastChild(loose); }},
      {"zk_TreeNode_insChild", [&] { zk_TreeNode_insChild(r, loose); }},
      {"zk_TreeNode_getChildCount", [&] { zk_TreeNode_getChildCount(r, nullptr); }},
      {"zk_TreeNode_getChildByName", [&] { zk_TreeNode_getChildByName(r, "A", 1); }},
      {"zk_TreeNode_search", [&] { zk_TreeNode_search(r, "A", 1); }},
      {"zk_TreeNode_next", [&] { zk_TreeNode_next(r); }},
      {"zk_TreeNode_delCurr", [&] { zk_TreeNode_delCurr(loose, nullptr); }},
      {"zk_TreeList_create", [&] { list = zk_TreeList_create(nullptr, nullptr); }},
      {"zk_TreeNode_setRoot", [&] { zk_TreeNode_setRoot(list, r); }},
      {"zk_TreeNode_getRoot", [&] { zk_TreeNode_getRoot(list); }},
      {"zk_TreeList_start", [&] { zk_TreeList_start(list); }},
      {"zk_TreeList_next", [&] { zk_TreeList_next(list); }, pair("zk_TreeNode_next")},
      {"zk_TreeList_eol", [&] { zk_TreeList_eol(list); }},
      {"zk_TreeList_length", [&] { zk_TreeList_length(list); }},
      {"zk_TreeList_getCurrData", [&] { zk_TreeList_getCurrData(list); }},
      {"zk_TreeList_getCurrName", [&] { zk_TreeList_getCurrName(list, buffer, 8); }},
      {"zk_TreeList_modCurr", [&] { zk_TreeList_modCurr(list, argument, nullptr); }},
      {"zk_TreeList_search", [&] { zk_TreeList_search(list, "R.A"); }, pair("zk_TreeNode_search")},
      {"zk_TreeList_visit", [&] { zk_TreeList_visit(list, argument, logVisit, 0); },
       pair("zk_TreeNode_visit", pair("zk_TreeNode_visitPre"))},
      {"zk_TreeNode_visit", [&] { zk_TreeNode_visit(r, argument, logVisit, 2); },
       pair("zk_TreeNode_visitPost")},
      {"zk_TreeList_insChild", [&] { zk_TreeList_insChild(list, "R", "N", argument); },
       pair("zk_TreeList_search")},
      {"zk_TreeList_destroy", [&] { zk_TreeList_destroy(list, nullptr); },
       pair("zk_TreeNode_destroy", pair("zk_TreeNode_delCurr"))},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(trace(ZK_DIAG_TREE, c.call), pair(c.name, c.between));
  }
  EXPECT_EQ(trace(ZK_DIAG_TREE, [] { zk_TreeNode_getPreviousSibling(nullptr); }),
            "treelist.cpp: Entering zk_TreeNode_getNextSibling.\n"
            "treelist.cpp: Exiting zk_TreeNode_getPreviousSibling.\n");
  EXPECT_EQ(trace(~ZK_DIAG_TREE, [] { zk_TreeNode_next(nullptr); }), "");
}

}  // namespace
