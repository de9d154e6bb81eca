// Records that hosts see keep their layout: hosts in other languages declare them by offsets.
// Compiling is the test.
#include <cstddef>
#include <ctime>

#include "zk_baselib.h"

namespace {

constexpr bool kWide = sizeof(void *) == 8;

// A number of the 32-bit library, and of the one with 8-byte pointers.
constexpr std::size_t n(std::size_t narrow, std::size_t wide) { return kWide ? wide : narrow; }

#define SIZE(type, narrow, wide) static_assert(sizeof(type) == n(narrow, wide), #type)
#define OFFSET(type, member, narrow, wide) \
  static_assert(offsetof(type, member) == n(narrow, wide), #type "." #member)

SIZE(LnkNode, 12, 24);
OFFSET(LnkNode, data, 0, 0);
OFFSET(LnkNode, next, 4, 8);
OFFSET(LnkNode, prev, 8, 16);

SIZE(LnkList, 16, 32);
OFFSET(LnkList, length, 0, 0);
OFFSET(LnkList, first, 4, 8);
OFFSET(LnkList, last, 8, 16);
OFFSET(LnkList, current, 12, 24);

SIZE(StrListNode, 4, 8);

SIZE(ZkArray, 12, 16);
OFFSET(ZkArray, count, 0, 0);
OFFSET(ZkArray, elementSize, 4, 4);
OFFSET(ZkArray, data, 8, 8);

SIZE(TreeNode, 24, 48);
OFFSET(TreeNode, name, 0, 0);
OFFSET(TreeNode, data, 4, 8);
OFFSET(TreeNode, next, 8, 16);
OFFSET(TreeNode, prev, 12, 24);
OFFSET(TreeNode, firstChild, 16, 32);
OFFSET(TreeNode, parent, 20, 40);

SIZE(TreeList, 12, 24);
OFFSET(TreeList, count, 0, 0);
OFFSET(TreeList, root, 4, 8);
OFFSET(TreeList, current, 8, 16);

SIZE(FldNode, 32, 40);
OFFSET(FldNode, name, 0, 0);
OFFSET(FldNode, type, 4, 8);
OFFSET(FldNode, marker1, 5, 9);
OFFSET(FldNode, marker2, 6, 10);
OFFSET(FldNode, value, 8, 16);
SIZE(FldValue, 24, 24);

SIZE(ZkPoint, 24, 24);
OFFSET(ZkPoint, x, 0, 0);
OFFSET(ZkPoint, y, 8, 8);
OFFSET(ZkPoint, z, 16, 16);
SIZE(ZkVector, 24, 24);

SIZE(PointTravelNode, 544, 544);
OFFSET(PointTravelNode, label, 24, 24);
OFFSET(PointTravelNode, value, 540, 540);

SIZE(TimerNode, 56, 56);
OFFSET(TimerNode, start, 52, 52);

SIZE(DbFldNode, 80, 88);
OFFSET(DbFldNode, name, 0, 0);
OFFSET(DbFldNode, value, 64, 64);
OFFSET(DbFldNode, width, 68, 72);
OFFSET(DbFldNode, prec, 72, 76);
OFFSET(DbFldNode, type, 76, 80);

SIZE(DbCursorNode, 8, 16);
OFFSET(DbCursorNode, fldList, 0, 0);
OFFSET(DbCursorNode, tblName, 4, 8);

SIZE(DbRefNode, 8, 16);
OFFSET(DbRefNode, table, 0, 0);
OFFSET(DbRefNode, tableId, 4, 8);

SIZE(DbTagRefNode, 12, 16);
OFFSET(DbTagRefNode, index, 0, 0);
OFFSET(DbTagRefNode, tableId, 4, 8);
OFFSET(DbTagRefNode, tagId, 8, 12);

SIZE(ZkFieldInfo, 16, 24);
OFFSET(ZkFieldInfo, type, 4, 8);
OFFSET(ZkFieldInfo, width, 8, 12);
OFFSET(ZkFieldInfo, decimals, 12, 16);

SIZE(ZkTagInfo, 20, 32);
OFFSET(ZkTagInfo, expression, 4, 8);
OFFSET(ZkTagInfo, filter, 8, 16);
OFFSET(ZkTagInfo, unique, 12, 24);
OFFSET(ZkTagInfo, descending, 16, 28);

SIZE(ZkDbInfo, 44, 44);

// As zk_File_getTime hands it out.
SIZE(std::time_t, 4, 8);

}  // namespace
