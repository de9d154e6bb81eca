/* String list: a linked list (lnklist.h) that owns private copies of its strings. Header, cursor
 * and positions are those of the linked list; results are 1 or 0 unless stated; a null list or
 * string gives 0, null or -1, and so does refused memory, with the list unchanged.
 *
 * Strings compare byte by byte, as unsigned bytes; where an ignore-case flag is non-zero, as
 * zk_Str_cmpi (str.h).
 *
 * Lists that a function below makes by appending (copy, fromDelimitedString,
 * toDelimitedStringList) have their cursor at end of list: call zk_StrList_start first.
 *
 * Traces under condition bit 0x2: search, searchForString, insStart, insBefore, insAfter, insNth,
 * insSorted, modCurr, modNth, concatenate, copy and the two node functions. The linked-list
 * functions beneath trace under their own bit.
 */
#ifndef ZK_STRLIST_H
#define ZK_STRLIST_H

#include "zk/lnklist.h"

ZK_EXTERN_C_BEGIN

typedef LnkList StrList;

/* What the data pointers of a string list point to. */
typedef struct StrListNode {
  char *text; /* owned */
} StrListNode;

/* A node with a copy of the string; null for null. destroy releases both, 0 for null. For callers
 * that handle nodes themselves; the list functions below make and release their own. */
ZK_API StrListNode *ZK_CALL zk_StrListNode_create(const char *string);
ZK_API int ZK_CALL zk_StrListNode_destroy(StrListNode *node);

/* ---- Making and releasing ---- */

/* A new list of copies of the strings given, up to a mandatory (void *)0, with the cursor on the
 * first. A string whose copy is refused is left out. */
ZK_API StrList *ZK_CALL zk_StrList_create(const char *first, ...);
/* Release all strings; destroy the header as well. */
ZK_API int ZK_CALL zk_StrList_destroy(StrList *list);
ZK_API int ZK_CALL zk_StrList_delAll(StrList *list);

/* ---- The cursor: the linked list's functions under this family's name ---- */

ZK_API int ZK_CALL zk_StrList_start(StrList *list);
ZK_API int ZK_CALL zk_StrList_end(StrList *list);
ZK_API int ZK_CALL zk_StrList_skip(StrList *list, int32_t count);
ZK_API int ZK_CALL zk_StrList_next(StrList *list);
ZK_API int ZK_CALL zk_StrList_prev(StrList *list);
ZK_API int ZK_CALL zk_StrList_eol(const StrList *list);
/* The number of strings, under two names. */
ZK_API uint32_t ZK_CALL zk_StrList_length(const StrList *list);
ZK_API uint32_t ZK_CALL zk_StrList_count(const StrList *list);

/* ---- Inserting a copy: places and cursor as the linked list's functions of these names ---- */

ZK_API int ZK_CALL zk_StrList_insStart(StrList *list, const char *string);
ZK_API int ZK_CALL zk_StrList_insEnd(StrList *list, const char *string);
ZK_API int ZK_CALL zk_StrList_insBefore(StrList *list, const char *string);
ZK_API int ZK_CALL zk_StrList_insAfter(StrList *list, const char *string);
ZK_API int ZK_CALL zk_StrList_insNth(StrList *list, int32_t index, const char *string);
/* Before the first element that compares greater, else at the end; so behind its equals. Linear;
 * the cursor stays. */
ZK_API int ZK_CALL zk_StrList_insSorted(StrList *list, const char *string);

/* ---- Removing and replacing ---- */

/* Cursor as the linked list's functions. */
ZK_API int ZK_CALL zk_StrList_delCurr(StrList *list);
ZK_API int ZK_CALL zk_StrList_delNth(StrList *list, int32_t index);
/* Replaces the current string by a copy of `string`, which may be that string itself. 0 at end of
 * list. modNth first does zk_StrList_getNth, whose static buffer it overwrites. */
ZK_API int ZK_CALL zk_StrList_modCurr(StrList *list, const char *string);
ZK_API int ZK_CALL zk_StrList_modNth(StrList *list, int32_t index, const char *string);

/* ---- Reading ---- */

/* The current string, cut to 512 characters, in a static buffer. Without a current node it returns
 * what the previous call did (null if there was none), so test zk_StrList_eol, not the result. */
ZK_API const char *ZK_CALL zk_StrList_getCurr(const StrList *list);
/* A copy of the current string, to be released with zk_Free; null when the copy is refused. Without
 * a current node it returns the last copy that it handed out, which the caller may have released
 * already: test zk_StrList_eol first. */
ZK_API char *ZK_CALL zk_StrList_getCurrPtr(const StrList *list);
/* Puts the cursor on `index` as zk_LnkList_getNth does and returns zk_StrList_getCurr (the same
 * static buffer); null where there is no node. */
ZK_API const char *ZK_CALL zk_StrList_getNth(StrList *list, int32_t index);
/* The position of the first string that equals `string`, with the cursor on it; else -1, at end of
 * list. */
ZK_API int32_t ZK_CALL zk_StrList_search(StrList *list, const char *string, int ignoreCase);
/* The first string that contains `substring`, cut to 512 characters, in a static buffer of its own,
 * with the cursor on it; else null, at end of list. */
ZK_API const char *ZK_CALL zk_StrList_searchForString(StrList *list, const char *substring,
                                                      int ignoreCase);

/* ---- Whole lists ---- */

/* Ascending, not stable, in n log n comparisons; see zk_LnkList_qSort for the cursor. */
ZK_API int ZK_CALL zk_StrList_sort(StrList *list);
/* A list of copies in the same order; an empty list for null. */
ZK_API StrList *ZK_CALL zk_StrList_copy(const StrList *list);
/* Appends copies of the strings that `other` holds; `other` may be the list itself. All or nothing;
 * the cursors stay. */
ZK_API int ZK_CALL zk_StrList_concatenate(StrList *list, const StrList *other);
/* The list without repeated strings: the first of each stays, in order. A list of fewer than two
 * strings is returned as it is; otherwise the argument is destroyed and a new list returned, with
 * its cursor on the first string:  list = zk_StrList_removeDuplicates(list, 0);
 * Linear. When memory is refused: null, and the argument is as it was. */
ZK_API StrList *ZK_CALL zk_StrList_removeDuplicates(StrList *list, int ignoreCase);

/* ---- Delimited text ---- */

/* All strings with `delimiter` (null: nothing) between neighbours, to be released with zk_Free.
 * Null for an empty list. Linear; the cursor stays. */
ZK_API char *ZK_CALL zk_StrList_toDelimitedString(const StrList *list, const char *delimiter);
/* The parts of `string` between any of the characters of `delimiters`, white space trimmed from
 * both ends. Runs of delimiters count as one, so empty parts are lost, but a part of blanks stays
 * as
 * "". With null delimiters the whole string is one part. Null when there is no part. */
ZK_API StrList *ZK_CALL zk_StrList_fromDelimitedString(const char *string, const char *delimiters);
/* Value lists of bounded length for queries: the strings joined in chunks of `chunkSize`, one
 * joined string per chunk, the last maybe shorter. A non-zero `quote` puts each string between
 * single quotes ('A','B'); quotes inside are not doubled. A chunk size below 1 makes one chunk.
 * Null for an empty list; the cursor stays. */
ZK_API StrList *ZK_CALL zk_StrList_toDelimitedStringList(const StrList *list, const char *delimiter,
                                                         int32_t chunkSize, int quote);

ZK_EXTERN_C_END
#endif
