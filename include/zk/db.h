/* Table access: dBASE and FoxPro tables (.dbf with .fpt memos) through small integer ids.
 *
 * A table id is 0 or greater and unique among open tables; -1 means none. The first table opened
 * gets 0, each further one the largest registered id + 1.
 *
 * Status results: 0 is success, 1 means an unknown table id (or no field of that name), and
 * anything else comes from the table engine:
 *     2  positioned on the next greater key (seeks)
 *     3  end of file: no such record, the position is behind the last one
 *     4  beginning of file: no record before the first
 *    50  another program holds a lock that is needed (see zk_Db_setLockAttempts in zk/extras.h)
 *    80  a seek without a selected tag
 *    <0  an error; zk_DbError_code, _text and _file of zk/extras.h tell more
 *
 * Tag numbers: the last argument of the positioning operations chooses the order to walk by. A
 * negative number is record order; for others see zk_DbTagRef_sel in zk/dbref.h. The order is
 * chosen anew by every call.
 *
 * Changes: assigning to a field, deleting and recalling change the record buffer only. The record
 * is written by zk_Db_writeRec and zk_Db_modRec, and before any move, seek, append, pack, query or
 * close; when that write fails, its status is the result of the call and the position stays (a
 * close drops the change, closes all the same and returns the code). In a table that several
 * programs have open the whole record is written: of two changes to one record the later wins.
 *
 * Open modes: 0 shared, 1 others may read but not write, 2 exclusive; any other gives -1. A file
 * that cannot be opened for writing is opened read-only and refuses changes with -120. In mode 0
 * every record whose append has returned survives the death of the program. In mode 2 appended
 * records are collected in memory and written by the block: until zk_Db_flush or zk_Db_closeDb a
 * dying program loses the last of them, and the table opens with whole records.
 *
 * While the library waits for another program's lock it dispatches the thread's window messages
 * (Windows). What they lead to may use other tables; on the table that is waited for every call
 * gives 50 or finds nothing. When the application is asked to quit the wait ends with 50.
 *
 * Field names are matched without regard to case or trailing blanks.
 */
#ifndef ZK_DB_H
#define ZK_DB_H

#include "zk/dbfld.h"
#include "zk/dbref.h"
#include "zk/types.h"

ZK_EXTERN_C_BEGIN

/* ---- Opening and closing ----------------------------------------------------------------------
 */

/* Prepares the engine context and the registries; the first open or create does it as well. 1, or
 * 0 when memory is refused. Further calls do nothing. */
ZK_API int ZK_CALL zk_Db_init(void);

/* Opens a table in mode 0. See zk_Db_openDbEx. */
ZK_API int32_t ZK_CALL zk_Db_openDb(const char *fileName);

/* Opens a table (default extension "DBF"; upper and lower case are the same) and its memo file,
 * positioned on the top record. The id, or -1: no such file or not openable in that mode (-60), not
 * a table (-200), memo file missing (-60 naming it), memory refused (-920). A table with a
 * production index that this version cannot maintain is opened read-only. */
ZK_API int32_t ZK_CALL zk_Db_openDbEx(const char *fileName, int mode);

/* Creates a table with one field per node of the list (name, type, width, decimals; values are not
 * used), with a memo file when a field has type M, G or B, and opens it shared. An existing file
 * that nobody has open is replaced; one that is open anywhere is left alone (-20). A failure leaves
 * what was there, or, when only the opening at the end fails, the new table.
 * Types: C, N and F with their width (N and F up to 255 and with decimals < width), D (8), L (1),
 * M, G, B (10); any other letter is written with width 0. Names are upper-cased and cut at 10
 * characters. The id, or -1: null list, empty or equal names (-210), bad widths (-930), record of
 * 65,535 bytes or more (-230), too many fields (-20). */
ZK_API int32_t ZK_CALL zk_Db_createDb(const char *fileName, const DbFldList *fields);

/* Frees the names of the first `count` entries and then the array; with a count below 1 only the
 * array. 1, or 0 for null. */
ZK_API int ZK_CALL zk_Db_freeFldInfo(ZkFieldInfo *fields, int32_t count);

/* Writes a pending change, closes the table and removes its id and its tag ids. The engine's close
 * status: 0, or the code of what could not be written. The id is gone in any case, but not when the
 * table is in use by a call that waits for a lock and dispatches messages (Windows): 50. */
ZK_API int ZK_CALL zk_Db_closeDb(int32_t tableId);

/* Closes every table and empties the registries; later opens work. The engine's status; 1 when
 * nothing was ever opened; 50, and nothing is closed, from within such a wait. */
ZK_API int ZK_CALL zk_Db_closeAll(void);

/* Not supported: always -1. */
ZK_API int ZK_CALL zk_Db_rendx(void);

/* ---- Index files --------------------------------------------------------------------------------
 *
 * A compound index file (.CDX) holds any number of tags, a compact single-tag file (.IDX) one. A
 * production index, the .CDX of the table's own name that its header tells of, is open with its
 * table. Every change of a record keeps the tags of all open index files right; those that are not
 * open fall behind. An index that is found to be behind its table (records came without it, or a
 * writer died in the middle of a change) is refused with -310 wherever its order is needed, and
 * changes of its keys too, until it is written anew (zk_Db_check of zk/extras.h, or by creating it
 * again); the records themselves can be read.
 * A table is read-only with an index whose keys cannot be computed here (a foreign collation, an
 * expression with unknown functions, with memos or other tables), or that cannot be read. */

/* Opens an index file of the table (default extension "CDX"), or finds it among the open ones: its
 * tag id, or -1: unknown id, -60, not an index or a damaged one (-310). Writes a pending change
 * first. */
ZK_API int32_t ZK_CALL zk_Db_openNdx(int32_t tableId, const char *fileName);

/* Creates an index file with one tag per key expression (zk_Cb_i4create) and opens it. -1 for an
 * unknown table. Otherwise the new tag id, also when creating fails: then zk_Db_closeNdx of it
 * gives 1. With `unique` keys that two records have are refused (-340), then and later. */
ZK_API int32_t ZK_CALL zk_Db_createNdx(int32_t tableId, const char *fileName, const char *tagInfo,
                                       int unique);

/* Closes the index file of the tag id (rounded down to its hundred). The engine's status, or 1. Of
 * a production index only the id is removed. */
ZK_API int ZK_CALL zk_Db_closeNdx(int32_t tagId);

/* ---- Position ---------------------------------------------------------------------------------
 */

/* First and last record: 0, or 3 in an empty table (then both flags are set). */
ZK_API int ZK_CALL zk_Db_topRec(int32_t tableId, int32_t tagNumber);
ZK_API int ZK_CALL zk_Db_botRec(int32_t tableId, int32_t tagNumber);

/* One record on: 0, or 3 behind the last (blank record, record number count + 1). */
ZK_API int ZK_CALL zk_Db_nextRec(int32_t tableId, int32_t tagNumber);

/* One record back: 0, or 4 on the first, which stays the current one. */
ZK_API int ZK_CALL zk_Db_prevRec(int32_t tableId, int32_t tagNumber);

/* Seeks a key in the selected tag; note that the key comes first. In a character tag as many
 * characters count as the text has, so that a shorter text finds the first key that begins with it;
 * for other tags the text is converted to a number, a date (CCYYMMDD) or a letter. Dates are
 * numbers of days (Julian day). 0 found, the first of equal keys in the tag's order; 2 positioned
 * on the next greater key (of a descending tag: the next one in its order); 3 end of file; 80
 * without a tag; -1 for a number in a tag of texts or logicals; 50 locked; other negative codes are
 * errors. A null text counts as "". */
ZK_API int ZK_CALL zk_Db_seekStr(const char *key, int32_t tableId, int32_t tagNumber);
ZK_API int ZK_CALL zk_Db_seekDouble(double key, int32_t tableId, int32_t tagNumber);

/* Non-zero behind the last record, before the first, on a record marked as deleted (its mark is
 * anything but a blank). 1 for an unknown id. */
ZK_API int ZK_CALL zk_Db_eof(int32_t tableId);
ZK_API int ZK_CALL zk_Db_bof(int32_t tableId);
ZK_API int ZK_CALL zk_Db_deleted(int32_t tableId);

/* Marks the current record as deleted, or recalls it. 0, or 1 for an unknown id. */
ZK_API int ZK_CALL zk_Db_delRec(int32_t tableId);
ZK_API int ZK_CALL zk_Db_undelRec(int32_t tableId);

/* Removes the deleted records for good and goes to the top. The table and its memo file are written
 * anew beside the old ones and put in their place at once: a kill leaves the old or the new pair.
 * Then every open index file is written anew. Needs to be the only opener (50 otherwise). 0, or the engine's status. Time and disk space
 * proportional to the table; reports the stages "Packing", "Sorting" and "Creating Tag" to the
 * progress callback. */
ZK_API int ZK_CALL zk_Db_packDb(int32_t tableId);

/* Number of records, those marked as deleted included; 0 for an unknown id. In a shared table a
 * look at the file, as others may append. */
ZK_API int32_t ZK_CALL zk_Db_getRecordCount(int32_t tableId);

/* Current record number from 1; count + 1 at end of file, 0 during an append and for an unknown
 * id. */
ZK_API int32_t ZK_CALL zk_Db_getRecordNo(int32_t tableId);

/* ---- Writing records --------------------------------------------------------------------------
 */

/* Appends a blank record, which becomes the current one. 0 or the engine's status. */
ZK_API int ZK_CALL zk_Db_appRec(int32_t tableId);

/* Begins an append: the record buffer keeps its values (its memo texts become copies) without the
 * deletion mark, or is blank at end of file, and the record number is 0 until zk_Db_append. Assign
 * fields in between; any move, seek or close abandons the append. 0 or the engine's status. */
ZK_API int ZK_CALL zk_Db_appendStart(int32_t tableId);

/* Completes the append begun by zk_Db_appendStart; the new record is the current one. 0, -930
 * without a start, 50 when another program holds the append lock, -340 when a unique tag has its key
 * already, -440 when a tag's expression overflows, -310 when an index is behind the table, or
 * another status; nothing was written then, and the append can be tried again. */
ZK_API int ZK_CALL zk_Db_append(int32_t tableId);

/* Writes the record buffer to the current record. 0, also when the write fails (see
 * zk_DbError_code), or 1 for an unknown id. */
ZK_API int ZK_CALL zk_Db_writeRec(int32_t tableId);

/* Stores every node of the list with zk_Db_updFld and writes the record. 0 when every node was
 * stored, 1 when a node was null, had no value or named no field (the others are stored and
 * written), or for an unknown id. A null list: 0 and nothing is written. */
ZK_API int ZK_CALL zk_Db_modRec(int32_t tableId, const DbFldList *list);

/* Stores one node in the record buffer of a table object: N and F as a number, L as the single byte
 * with the number's value (so the text "1" stores byte 1, not 'T'; use zk_Db_assignFldStr for the
 * letters), all others as text. 0; 1 for null, an unknown table or field, or a node without a
 * value. */
ZK_API int ZK_CALL zk_Db_updFld(ZkTable *table, const DbFldNode *node);

/* ---- Fields of the current record ---------------------------------------------------------------
 */

/* Each of the assigns changes the record buffer and gives 0, or 1 for an unknown id or field, a
 * null text, or a memo that memory was refused for.
 *
 * Text is stored as it stands: left-aligned, cut at the width or padded with blanks; in a memo
 * field it becomes the memo's text. The fields of newer tables that are not kept as text are given
 * in their readable form: I digits, Y digits with four decimals, B digits, T
 * "YYYY-MM-DD hh:mm:ss"; an empty text makes them blank. A field whose text is assigned back keeps
 * its bytes. */
ZK_API int ZK_CALL zk_Db_assignFldStr(int32_t tableId, const char *field, const char *text);
/* The first `length` bytes of the text, NULs included; a length below 0 counts as 0. */
ZK_API int ZK_CALL zk_Db_assignFldStrN(int32_t tableId, const char *field, const char *text,
                                       int32_t length);
/* Right-aligned with the field's decimals. A number that is too wide loses decimals first; one that
 * still does not fit, NaN and infinity fill the field with asterisks and read as 0. */
ZK_API int ZK_CALL zk_Db_assignFldDouble(int32_t tableId, const char *field, double value);
ZK_API int ZK_CALL zk_Db_assignFldInt(int32_t tableId, const char *field, int32_t value);

/* Static buffer with at most 511 characters of the field's text, trailing blanks removed; "" on
 * failure. */
ZK_API const char *ZK_CALL zk_Db_getFldStr(int32_t tableId, const char *field);
/* The number that the field's text begins with; 0 on failure. The int truncates. */
ZK_API double ZK_CALL zk_Db_getFldDouble(int32_t tableId, const char *field);
ZK_API int32_t ZK_CALL zk_Db_getFldInt(int32_t tableId, const char *field);
/* Copies at most `size` characters of the field's text, blanks and all, and ends them with a NUL
 * (so `buffer` holds size + 1 bytes). The number copied; 0 on failure with "" in the buffer. */
ZK_API int32_t ZK_CALL zk_Db_cpyFldN(int32_t tableId, const char *field, char *buffer,
                                     int32_t size);
/* Pads the text in place with blanks up to the field's width; the buffer holds width + 1 bytes.
 * 0, else 1. */
ZK_API int ZK_CALL zk_Db_padVal(char *text, int32_t tableId, const char *field);

/* ---- Reading whole records --------------------------------------------------------------------
 */

/* zk_Db_readCurrRec of the table's current record. Null for an unknown id. */
ZK_API DbFldList *ZK_CALL zk_Db_readRec(int32_t tableId, DbFldList *list);

/* The current record of a table object as a record field list.
 * A list with nodes is filled in place and returned: each node takes the width, decimals, type and
 * text (trailing blanks removed, leading ones kept) of the field of its name; a name that the table
 * lacks gives type C, width 1, value "".
 * Null or an empty list gets one new node per field (of N and F leading blanks are removed too); a
 * list made here belongs to the caller and has its cursor at the end: call zk_DbFldList_start.
 * Null for a null table or when memory is refused (-920); a given list may then be filled in
 * part. */
ZK_API DbFldList *ZK_CALL zk_Db_readCurrRec(ZkTable *table, DbFldList *list);

/* The fields of the table in order, with the current record's values. The caller destroys the list.
 * Null for an unknown id. */
ZK_API DbFldList *ZK_CALL zk_Db_struct(int32_t tableId);

/* Every record, those marked as deleted included, in the selected order, as a cursor whose nodes
 * carry `tableName` and a list filled like a copy of the template (or all fields without one). Null
 * for an unknown id, for a table without records, or when memory is refused (-920, nothing is
 * leaked). The table is left at end of file, the cursor at its end: call zk_DbCursor_start. Release
 * it with zk_DbCursor_destroy. */
ZK_API DbCursor *ZK_CALL zk_Db_readTable(int32_t tableId, const char *tableName,
                                         const DbFldList *fields);

/* The records for which the condition holds, deleted ones included, as zk_Db_readTable gives them.
 * Null when there are none (zk_DbError_code is 0 then), on error or for an unknown id. A null or
 * blank condition selects every record. While the query runs nobody can change the table, which may
 * mean waiting for writers first; other readers go on.
 *
 * A condition is an expression with a logical value, such as
 *     QTY >= 10 .AND. (TAG = 'PIPE' .OR. .NOT. DELETED())
 * Fields by name, or ALIAS->FIELD for another open table's current record (the alias is the file's
 * base name); texts in '', "" or []; .T. and .F.; + - * / ^ on numbers, dates and texts; = # <> < >
 * <= >= (texts compare over the length of the right one) and $ (is contained in); the functions CHR
 * CTOD DATE DAY DEL DELETED DTOC DTOS IIF LEFT LTRIM MONTH PAGENO RECCOUNT RECNO STOD STR SUBSTR
 * TIME TRIM UPPER VAL YEAR. What is wrong with it is told by -400 to -500 and -950 ("Expecting
 * logical result."); a division by zero and an overflow end the query with -440.
 *
 * Where the condition compares the expression of an open tag with a constant, only the records that
 * the tag names are read: time proportional to those, else to the table. (A record that is not read
 * cannot divide by zero.) */
ZK_API DbCursor *ZK_CALL zk_Db_query(int32_t tableId, const char *condition, const char *tableName,
                                     const DbFldList *fields);

ZK_EXTERN_C_END
#endif
