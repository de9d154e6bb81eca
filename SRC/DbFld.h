// Record field lists and cursors without strlen, static buffers and list traces: what table access
// builds records with.
#pragma once

#include "zk/dbfld.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zk {

// A node as zk_DbFldNode_new makes it; without a value when `value` is null. Null when refused.
DbFldNode *newFieldNode(std::string_view name, int32_t width, int32_t prec, char type,
                        const char *value, std::size_t valueLength) noexcept;

// The value rule of zk/dbfld.h: a null value releases the old one and is false. False as well when
// the copy is refused; the old value then stays.
bool setFieldValue(DbFldNode *node, const char *value, std::size_t length) noexcept;

// The value becomes exactly that text, blanks and all. False when refused; the old value then
// stays.
bool setFieldText(DbFldNode *node, const char *text, std::size_t length) noexcept;

// Appends a node that newFieldNode gave. Takes the node over in any case: false when it is null,
// and when memory is refused, which destroys it. The position stays.
bool appendFieldNode(DbFldList *list, DbFldNode *node) noexcept;

// As zk_DbCursorNode_create: the list belongs to the node unless the result is null. A node whose
// `tblName` is null though a name was given tells of a refused copy.
DbCursorNode *newCursorNode(const char *tableName, DbFldList *list) noexcept;

// Name, list and record. Null is ignored.
void destroyCursorNode(DbCursorNode *node) noexcept;

}  // namespace zk
