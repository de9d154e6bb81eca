/* The registries behind table and tag ids, and the layer's bridge to the table engine.
 *
 * Engine objects are handles that the library checks: each is looked up among the live ones before
 * it is used, and a handle that is not (or no longer) live counts as null.
 */
#ifndef ZK_DBREF_H
#define ZK_DBREF_H

#include "zk/strlist.h"
#include "zk/types.h"

ZK_EXTERN_C_BEGIN

typedef struct ZkContext ZkContext; /* the engine's settings and open tables */
typedef struct ZkTable ZkTable;     /* an open table */
typedef struct ZkField ZkField;     /* a field of an open table */
typedef struct ZkIndex ZkIndex;     /* an open index file */
typedef struct ZkTag ZkTag;         /* a tag of an open index file */

/* One entry of the table registry. */
typedef struct DbRefNode {
  ZkTable *table;
  int32_t tableId;
} DbRefNode;

/* One entry of the tag registry. */
typedef struct DbTagRefNode {
  ZkIndex *index;  /* null while the index is being created */
  int32_t tableId; /* the table that the index belongs to */
  int32_t tagId;   /* a multiple of 100 */
} DbTagRefNode;

/* One field of a table to create; an array of them ends with an all-zero entry. */
typedef struct ZkFieldInfo {
  char *name;    /* zk_Free'd with the array */
  int32_t type;  /* the type letter */
  int32_t width; /* characters */
  int32_t decimals;
} ZkFieldInfo;

/* One tag of an index to create; an array of them ends with an all-zero entry. */
typedef struct ZkTagInfo {
  char *name;
  char *expression;
  char *filter; /* or null */
  int32_t unique;
  int32_t descending;
} ZkTagInfo;

/* ---- Table registry: table ids ----------------------------------------------------------------
 */

/* A new entry, zk_Free'd or given to zk_DbRefNode_free; not put into the registry. The table may be
 * null. Null when memory is refused. */
ZK_API DbRefNode *ZK_CALL zk_DbRefNode_create(ZkTable *table, int32_t tableId);

/* The first entry with that id (the registry keeps it), or null. */
ZK_API DbRefNode *ZK_CALL zk_DbRefNode_find(int32_t tableId);

/* Frees the entry, not the table. 1, or 0 for null. Not for entries that are in the registry. */
ZK_API int ZK_CALL zk_DbRefNode_free(DbRefNode *entry);

/* Registers a table under the largest registered id + 1 (0 when none is registered) and returns
 * the id. -1 for a table that is not open, or when memory is refused. */
ZK_API int32_t ZK_CALL zk_DbRef_add(ZkTable *table);

/* The table of that id, or null. Constant time for the id used last, else linear in open tables. */
ZK_API ZkTable *ZK_CALL zk_DbRef_sel(int32_t tableId);

/* Removes the first entry with that id; the table stays open. 1 when one was removed, else 0. */
ZK_API int ZK_CALL zk_DbRef_del(int32_t tableId);

/* Removes every tag entry of that table id. 1 when at least one was removed, else 0. */
ZK_API int ZK_CALL zk_DbRef_delTags(int32_t tableId);

/* ---- Tag registry: tag ids --------------------------------------------------------------------
 */

/* A new entry, not put into the registry. Null when memory is refused. */
ZK_API DbTagRefNode *ZK_CALL zk_DbTagRefNode_create(ZkIndex *index, int32_t tagId, int32_t tableId);

/* Frees the entry, not the index. 1, or 0 for null. Not for entries that are in the registry. */
ZK_API int ZK_CALL zk_DbTagRefNode_free(DbTagRefNode *entry);

/* Registers an index file of a table under the largest registered tag id + 100 (100 when none is)
 * and returns the tag id. The index may be null (reserved, see zk_DbTagRef_update). -1 when memory
 * is refused. */
ZK_API int32_t ZK_CALL zk_DbTagRef_add(int32_t tableId, ZkIndex *index);

/* Stores the index in the entry of the tag id, rounded down to its hundred (truncating toward
 * zero, as in the next two). 1 when there is one, else 0. */
ZK_API int ZK_CALL zk_DbTagRef_update(int32_t tagId, ZkIndex *index);

/* The index of the entry of the tag id rounded down to its hundred: 100 to 199 all name entry 100.
 * Null when there is none. */
ZK_API ZkIndex *ZK_CALL zk_DbTagRef_selNdx(int32_t tagId);

/* Removes the first entry matched the same way. 1 when one was removed, else 0. */
ZK_API int ZK_CALL zk_DbTagRef_del(int32_t tagId);

/* Selects the order of a table by tag number, as every positioning operation of zk/db.h does, and
 * returns the selected tag; null means record order. A negative number selects record order. Any
 * other number looks for a tag named "TAG%03d" of the number modulo 100, then "TAG%03d" of the
 * whole number, then "TAG%04d" of the number modulo 100 (1234: TAG034, TAG1234, TAG0034), and
 * selects record order when the table has none of them. The hundreds do not choose among several
 * index files of one table: 100 and 200 both select the TAG000 that the engine meets first. Numbers
 * that zk_Tag_find of zk/extras.h gave select that tag. Null for a null table as well. */
ZK_API ZkTag *ZK_CALL zk_DbTagRef_sel(ZkTable *table, int32_t tagNumber);

/* ---- Bridge to the table engine ---------------------------------------------------------------
 */

/* Gives a context that the library made (zk_Db_context) the access layer's settings: no message
 * boxes, no error for an unknown field name, creating replaces an existing file, a file that cannot
 * be opened for writing is opened read-only, production indexes are opened with their table. 1, or
 * 0 for anything else. */
ZK_API int ZK_CALL zk_Cb_init(ZkContext *context);

/* The key expressions of a tag-info string, split at commas and blanks (runs count as one); the
 * cursor is at the end of the list. Since blanks separate, an expression cannot contain one. Null
 * for null, for a text without an expression, or when memory is refused. Release with
 * zk_StrList_destroy. */
ZK_API StrList *ZK_CALL zk_Cb_parseTagInfo(const char *tagInfo);

/* Creates an index file (default extension "CDX") with one tag per key expression of the tag-info
 * string, named TAG000, TAG001, ..., without filter, ascending, and opens it. What was there is
 * replaced at once when the new file is whole. `tagId` is not used. Null when the string has no
 * expression or the engine fails: see zk_Tag_create of zk/extras.h, which also tells what becomes
 * a production index. */
ZK_API ZkIndex *ZK_CALL zk_Cb_i4create(ZkTable *table, const char *fileName, const char *tagInfo,
                                       int32_t tagId, int32_t unique);

/* Frees the name, expression and filter of the first `count` entries and then the array; with a
 * count below 1 only the array. 1, or 0 for null. */
ZK_API int ZK_CALL zk_Cb_freeTags(ZkTagInfo *tags, int32_t count);

/* The first of the table's tags, in the engine's order, with that name, ignoring case; or null. */
ZK_API ZkTag *ZK_CALL zk_Cb_findTag(ZkTable *table, const char *name);

/* Builds an index for a table that need not be open: extension "dbf" is added to the table's file
 * name, the index takes the name without extension. While nobody else has the table open it becomes
 * the production index, which is opened with the table from then on. 1 when it was created, else 0
 * (zk_DbError_code tells why). */
ZK_API int ZK_CALL zk_Cb_createNdx(const char *tableFile, const char *tagInfo, int32_t unique);

/* ---- Pass-throughs ----------------------------------------------------------------------------
 */

/* The number that the first `length` characters of the text begin with (leading white space, sign,
 * digits; for the double a decimal point and an exponent as well); 0 for none, for null or for a
 * length below 1. A NUL ends the text earlier. Integers saturate at their limits. */
ZK_API double ZK_CALL zk_c4atod(const char *text, int32_t length);
ZK_API int32_t ZK_CALL zk_c4atoi(const char *text, int32_t length);
ZK_API int32_t ZK_CALL zk_c4atol(const char *text, int32_t length);

/* Writes the record buffer to that record, which becomes the current one when the write succeeds.
 * 0, or the engine's status: -930 outside 1..record count, 50 locked by another program, another
 * negative code. 1 for a null table. */
ZK_API int ZK_CALL zk_d4write(ZkTable *table, int32_t recordNumber);

/* Degrees to radians (times 0.017453292519943295) and radians to degrees (times
 * 57.29577951308232). */
ZK_API double ZK_CALL zk_Cnv_dtor(double degrees);
ZK_API double ZK_CALL zk_Cnv_rtod(double radians);

ZK_EXTERN_C_END
#endif
