/* Record field lists and cursors: what table access (zk/db.h) hands out and takes in.
 *
 * A record field list (DbFldList) is one record or one table layout: an ordered list of nodes, each
 * a field's name, type letter, width, decimals and value as text. A cursor (DbCursor) is a result
 * set: an ordered list of nodes, each a table name and one record field list. Both are linked lists
 * (zk/lnklist.h) with a built-in position, and may be handed to the linked-list functions; their
 * elements must then stay what is described here.
 *
 *     for (zk_DbCursor_start(rows); !zk_DbCursor_eol(rows); zk_DbCursor_next(rows)) {
 *       DbFldList *row = zk_DbCursor_getCurrFldList(rows);
 *       puts(zk_DbFldList_getFldVal(row, "PART"));
 *     }
 *     zk_DbCursor_destroy(rows);
 *
 * Position: a list or cursor that was just made, copied, read from a template or read from a table
 * has no current element: call start first. Inserting and reading at the position leave it alone;
 * what looks an element up by index or name moves it there. Counting, copying, printing and
 * emptying leave it where it was.
 *
 * Ownership: a list owns its nodes and their values, a cursor its nodes, their names and their
 * lists. A record field list that is handed to a cursor belongs to the cursor when the call
 * succeeds, and stays the caller's when it fails.
 *
 * Cost: constant unless a function looks something up by index or name (linear in the elements) or
 * handles the whole list.
 */
#ifndef ZK_DBFLD_H
#define ZK_DBFLD_H

#include "zk/lnklist.h"

ZK_EXTERN_C_BEGIN

struct ZkField; /* a field of an open table; see zk/dbref.h */

/* One field. The offsets are those of the 32-bit library; with 8-byte pointers the ones behind
 * `value` are 4 more. A host that stores a value itself takes the text from zk_Malloc. */
typedef struct DbFldNode {
  char name[64]; /*  0: at most 63 characters and a NUL */
  char *value;   /* 64: a block of its own, or null: the node has no value */
  int32_t width; /* 68: characters */
  int32_t prec;  /* 72: decimals */
  char type;     /* 76: the type letter in upper case: C, N, F, L, D, M, ... */
} DbFldNode;

typedef LnkList DbFldList; /* its elements are DbFldNode */

/* One record of a cursor. */
typedef struct DbCursorNode {
  DbFldList *fldList; /* 0: the record, or null */
  char *tblName;      /* 4: a block of its own, or null */
} DbCursorNode;

typedef LnkList DbCursor; /* its elements are DbCursorNode */

/* ---- Record field nodes -----------------------------------------------------------------
 *
 * The value rule, applied wherever a function below is given a value: null leaves the node without
 * a value; otherwise the node takes a copy without trailing blanks, and for the types N and F
 * without leading blanks too. The copy is made before the old value is released, so a node's own
 * value may be given; when it is refused the old value stays. */

/* A new node with the first 63 characters of the name, the type in upper case, the value by the
 * value rule. Null for a null name or when memory is refused. Release with zk_DbFldNode_destroy, or
 * hand it to a list with zk_LnkList_insEnd. */
ZK_API DbFldNode *ZK_CALL zk_DbFldNode_new(const char *name, const char *value, int32_t width,
                                           int32_t prec, char type);

/* A new node from a field of an open table, as zk_DbFldNode_new makes it of the field's name,
 * width, decimals, type and text in the current record. Null for a field that is not live
 * (zk/dbref.h) or when memory is refused. */
ZK_API DbFldNode *ZK_CALL zk_DbFldNode_fromFld(const struct ZkField *field);

/* Frees the value and the node: 1, or 0 for null. Not for a node that is in a list. The only
 * function here that traces under ZK_DIAG_DBFLD; its exit line reads "Entering
 * zk_StrListNode_destroy.". */
ZK_API int ZK_CALL zk_DbFldNode_destroy(DbFldNode *node);

/* ---- Record field lists: making and releasing ------------------------------------------- */

/* A new list of pairs (name, value), all const char *, up to a null in the place of a name:
 *
 *     zk_DbFldList_create("PART", "A-100", "SIZE", "12", (char *)0)
 *
 * Each pair becomes a node of type C, width 0, decimals 0, with the name in upper case and the
 * value by the value rule, but "" where it is null. A null first name gives an empty list. Null
 * when memory is refused. */
ZK_API DbFldList *ZK_CALL zk_DbFldList_create(const char *firstName, ...);

/* A new list of the fields that a template file describes, in file order, without values: one line
 * each as zk_DbFldList_parseFldDesc reads it, invalid lines skipped, at most 256 characters of a
 * line read. Null when the file cannot be opened, has no valid line, or memory is refused. */
ZK_API DbFldList *ZK_CALL zk_DbFldList_fromTemplate(const char *fileName);

/* Reads one line of a template: optional blanks, the name (up to the next blank), blanks, and seven
 * characters: the type letter, three characters of width and three of decimals, each read as a
 * number that may have blanks in front ("PRICE N 12  2"). What follows is ignored.
 * 1 and the results for a valid line; 0, with the results as they were, for a line without a name
 * or with less than seven characters behind it. `name` has room for 257 bytes and receives at most
 * 256 characters in upper case; `type` becomes upper case. A result that is not wanted may be null.
 */
ZK_API int ZK_CALL zk_DbFldList_parseFldDesc(const char *line, char *name, char *type,
                                             int32_t *width, int32_t *prec);

/* A new list with a zk_DbFldNode_new of every node, so that the value rule is applied once more; an
 * empty list of an empty one. Null for null or when memory is refused. */
ZK_API DbFldList *ZK_CALL zk_DbFldList_copy(const DbFldList *list);

/* Destroys every node and the list. 1, or 0 for null. */
ZK_API int ZK_CALL zk_DbFldList_destroy(DbFldList *list);

/* Frees every node's value and leaves the nodes without one. 1, or 0 for null. */
ZK_API int ZK_CALL zk_DbFldList_freeValues(DbFldList *list);

/* Makes a node with zk_DbFldNode_new and inserts it at the front or back. 1, or 0 for a null list
 * or name or when memory is refused. The name is stored as it is spelled: see zk_DbFldList_find. */
ZK_API int ZK_CALL zk_DbFldList_insStart(DbFldList *list, const char *name, const char *value,
                                         int32_t width, int32_t prec, char type);
ZK_API int ZK_CALL zk_DbFldList_insEnd(DbFldList *list, const char *name, const char *value,
                                       int32_t width, int32_t prec, char type);

/* ---- Record field lists: position ------------------------------------------------------- */

/* The linked-list functions of the same names. */
ZK_API int ZK_CALL zk_DbFldList_start(DbFldList *list);
ZK_API int ZK_CALL zk_DbFldList_next(DbFldList *list);
ZK_API int ZK_CALL zk_DbFldList_prev(DbFldList *list);
ZK_API int ZK_CALL zk_DbFldList_eol(const DbFldList *list);
ZK_API uint32_t ZK_CALL zk_DbFldList_length(const DbFldList *list);

/* Both go through the list from its start and make the first node of that name current; when there
 * is none the position is past the end. A null name finds nothing and leaves the position.
 *
 * findFld ignores case and returns the node, or null. find compares the name in upper case with the
 * stored names as they are, so it never finds one that is stored with lower-case letters; 1 or 0.
 */
ZK_API DbFldNode *ZK_CALL zk_DbFldList_findFld(DbFldList *list, const char *name);
ZK_API int ZK_CALL zk_DbFldList_find(DbFldList *list, const char *name);

/* ---- Record field lists: the current node ----------------------------------------------- */

/* The node itself, or null when there is none. */
ZK_API DbFldNode *ZK_CALL zk_DbFldList_getCurrFld(const DbFldList *list);

/* Its name in a static buffer; "" without a current node. */
ZK_API const char *ZK_CALL zk_DbFldList_getCurrName(const DbFldList *list);

/* Its type letter; 'C' without a current node. */
ZK_API char ZK_CALL zk_DbFldList_getCurrType(const DbFldList *list);

/* Its width and decimals; 0 without a current node. mod stores a new one and returns the old. */
ZK_API int32_t ZK_CALL zk_DbFldList_getCurrWidth(const DbFldList *list);
ZK_API int32_t ZK_CALL zk_DbFldList_getCurrPrec(const DbFldList *list);
ZK_API int32_t ZK_CALL zk_DbFldList_modCurrWidth(DbFldList *list, int32_t width);
ZK_API int32_t ZK_CALL zk_DbFldList_modCurrPrec(DbFldList *list, int32_t prec);

/* At most 512 characters of its value in a static buffer; "" without a current node or value.
 * Padded: with blanks on the right up to the node's width, at most 519 characters in all; a longer
 * value is not cut to the width. */
ZK_API const char *ZK_CALL zk_DbFldList_getCurrStr(const DbFldList *list);
ZK_API const char *ZK_CALL zk_DbFldList_getCurrStrPadded(const DbFldList *list);

/* The number that the first 512 characters of its value begin with; 0 for none and without a
 * current node or value. The int stops at a decimal point and saturates at its limits. */
ZK_API double ZK_CALL zk_DbFldList_getCurrDouble(const DbFldList *list);
ZK_API int32_t ZK_CALL zk_DbFldList_getCurrInt(const DbFldList *list);

/* Sets its value by the value rule. 1 when a value was stored; 0 for null (the node then has no
 * value), without a current node, or when memory is refused. */
ZK_API int ZK_CALL zk_DbFldList_modCurrVal(DbFldList *list, const char *value);

/* Removes and destroys it; its successor is then current, or its predecessor when it was the last.
 * 1, or 0 without a current node. */
ZK_API int ZK_CALL zk_DbFldList_delCurr(DbFldList *list);

/* ---- Record field lists: by index and by name ------------------------------------------- */

/* Makes the node at the index (from 0) current and returns a copy of zk_DbFldList_getCurrStr's or
 * zk_DbFldList_getCurrStrPadded's result, whose buffer changes too, in a static buffer of its own:
 * at most 263 characters, "" when there is no such node. */
ZK_API const char *ZK_CALL zk_DbFldList_getNthStr(DbFldList *list, int32_t index);
ZK_API const char *ZK_CALL zk_DbFldList_getNthStrPadded(DbFldList *list, int32_t index);

/* Finds the node as zk_DbFldList_findFld does and returns at most 512 characters of its value in a
 * static buffer; "" when there is no such node or it has no value. */
ZK_API const char *ZK_CALL zk_DbFldList_getFldVal(DbFldList *list, const char *name);

/* Make the node at the index, or the one that zk_DbFldList_findFld finds, current and act as
 * zk_DbFldList_modCurrVal; 0 when there is no such node. */
ZK_API int ZK_CALL zk_DbFldList_modNthVal(DbFldList *list, int32_t index, const char *value);
ZK_API int ZK_CALL zk_DbFldList_modFldVal(DbFldList *list, const char *name, const char *value);

/* Removes and destroys the node that zk_DbFldList_find finds. 1, or 0 when there is none. */
ZK_API int ZK_CALL zk_DbFldList_delFld(DbFldList *list, const char *name);

/* Writes every node to standard output: the name left-aligned in 16 columns and a blank, then type,
 * colon, value and a newline ("PART             C:A-100"). A node without a value ends with the
 * blank, and the next one follows on the same line. 1, or 0 for null. */
ZK_API int ZK_CALL zk_DbFldList_printList(DbFldList *list);

/* ---- Cursor nodes ----------------------------------------------------------------------- */

/* A new node with a copy of the name and the list itself, which then belongs to the node. The name
 * of the node is null when `tableName` is, and when memory for the copy is refused. Null when
 * memory for the node is refused. */
ZK_API DbCursorNode *ZK_CALL zk_DbCursorNode_create(const char *tableName, DbFldList *list);

/* Frees the name, destroys the list and sets both to null. The node record stays: release it with
 * zk_Free. (The functions of a cursor that remove nodes free the record as well.) 1, or 0 for
 * null. */
ZK_API int ZK_CALL zk_DbCursorNode_destroy(DbCursorNode *node);

/* ---- Cursors ---------------------------------------------------------------------------- */

/* A new empty cursor; null when memory is refused. */
ZK_API DbCursor *ZK_CALL zk_DbCursor_create(void);

/* Destroys every node with its name and list, and the cursor. 1, or 0 for null. */
ZK_API int ZK_CALL zk_DbCursor_destroy(DbCursor *cursor);

/* Inserts a node as zk_DbCursorNode_create makes it at the front or back. Name and list may be
 * null. 1, or 0 for a null cursor or when memory is refused: the list then stays the caller's. */
ZK_API int ZK_CALL zk_DbCursor_insStart(DbCursor *cursor, const char *tableName, DbFldList *list);
ZK_API int ZK_CALL zk_DbCursor_insEnd(DbCursor *cursor, const char *tableName, DbFldList *list);

/* Puts such a node in the place of the current one, which is destroyed with its name and list;
 * either may be given again. 1, or 0 without a current element or when memory is refused. */
ZK_API int ZK_CALL zk_DbCursor_modCurr(DbCursor *cursor, const char *tableName, DbFldList *list);

/* Removes and destroys the current node, or the one at the index (from 0); the position moves to
 * its successor, or to its predecessor when it was the last. 1, or 0 when there is none. */
ZK_API int ZK_CALL zk_DbCursor_delCurr(DbCursor *cursor);
ZK_API int ZK_CALL zk_DbCursor_delNth(DbCursor *cursor, int32_t index);

/* The linked-list functions of the same names. join moves the nodes of `other` to the end of
 * `cursor` and frees `other`; of one cursor given twice it is 0 and changes nothing. */
ZK_API uint32_t ZK_CALL zk_DbCursor_length(const DbCursor *cursor);
ZK_API int ZK_CALL zk_DbCursor_start(DbCursor *cursor);
ZK_API int ZK_CALL zk_DbCursor_end(DbCursor *cursor);
ZK_API int ZK_CALL zk_DbCursor_skip(DbCursor *cursor, int32_t count);
ZK_API int ZK_CALL zk_DbCursor_next(DbCursor *cursor);
ZK_API int ZK_CALL zk_DbCursor_prev(DbCursor *cursor);
ZK_API int ZK_CALL zk_DbCursor_eol(const DbCursor *cursor);
ZK_API DbCursorNode *ZK_CALL zk_DbCursor_getCurr(const DbCursor *cursor);
ZK_API DbCursorNode *ZK_CALL zk_DbCursor_getNth(DbCursor *cursor, int32_t index);
ZK_API int ZK_CALL zk_DbCursor_join(DbCursor *cursor, DbCursor *other);

/* The record field list of the current node, or of the node at the index (from 0), which becomes
 * current. It stays the cursor's; null when there is no such node. */
ZK_API DbFldList *ZK_CALL zk_DbCursor_getCurrFldList(const DbCursor *cursor);
ZK_API DbFldList *ZK_CALL zk_DbCursor_getNthFldList(DbCursor *cursor, int32_t index);

/* The table name of the current node, or of the node at the index (from 0), which becomes current.
 * It stays the node's.
 * Without such a node (or cursor) the result is not null but the name that the same function
 * returned last, so test zk_DbCursor_eol first. The two functions remember separately, for all
 * cursors together. A name is forgotten (null) when its node is destroyed. */
ZK_API const char *ZK_CALL zk_DbCursor_getCurrTblName(const DbCursor *cursor);
ZK_API const char *ZK_CALL zk_DbCursor_getNthTblName(DbCursor *cursor, int32_t index);

/* A new cursor with copies of every node that has a table name and a record field list
 * (zk_DbFldList_copy). Null when there is no such node, so never an empty cursor; also for null and
 * when memory is refused. */
ZK_API DbCursor *ZK_CALL zk_DbCursor_copy(const DbCursor *cursor);

ZK_EXTERN_C_END
#endif
