/* What hosts and tools need beyond the families' own functions: the engine's last error, facts
 * about a table and its tags, creating tags, going to a record and to those that match a condition,
 * flushing, lock attempts, progress, and how the library shows messages and finds drives.
 */
#ifndef ZK_EXTRAS_H
#define ZK_EXTRAS_H

#include "zk/dbref.h"
#include "zk/types.h"

ZK_EXTERN_C_BEGIN

/* The library's version, such as "0.1.0". Static, never null. */
ZK_API const char *ZK_CALL zk_Lib_version(void);

/* ---- The engine's last error ------------------------------------------------------------------
 */

/* The error code of the last table operation: 0 when it met none, else a negative code. Cleared by
 * each operation of zk/db.h that takes a table id or a file name. Soft results (end of file,
 * locked) are not errors. */
ZK_API int32_t ZK_CALL zk_DbError_code(void);

/* What belongs to that code: its own text where one error has several ("Too Many Fields"), else
 * zk_DbError_codeText of it; "" without an error. Valid until the next table operation. */
ZK_API const char *ZK_CALL zk_DbError_text(void);

/* The file that the error names, or "". Valid until the next table operation. */
ZK_API const char *ZK_CALL zk_DbError_file(void);

/* The engine's text for an error code ("Opening File" for -60); "" for a code that has none. */
ZK_API const char *ZK_CALL zk_DbError_codeText(int32_t code);

/* ---- Tables -----------------------------------------------------------------------------------
 */

typedef struct ZkDbInfo {
  int32_t version;    /* byte 0 of the header: 0x03, 0x30, 0xF5, ... */
  int32_t codePage;   /* byte 29 of the header: 0 none, 0x03 Windows-1252, ... */
  int32_t updateYear; /* last update; all 0 when the header's date is impossible */
  int32_t updateMonth;
  int32_t updateDay;
  int32_t recordCount;
  int32_t recordLength; /* bytes, the deletion mark included */
  int32_t headerLength; /* bytes */
  int32_t fieldCount;
  int32_t readOnly;      /* 1 when the table refuses changes */
  int32_t memoBlockSize; /* bytes; 0 without a memo file */
} ZkDbInfo;

/* Fills in the facts of an open table. 1; 0 for an unknown id or null. */
ZK_API int ZK_CALL zk_Db_getInfo(int32_t tableId, ZkDbInfo *info);

/* Why the table is read-only ("" when it is not): static text. */
ZK_API const char *ZK_CALL zk_Db_readOnlyReason(int32_t tableId);

/* The file name under which the table was found; "" for an unknown id. Valid while it is open. */
ZK_API const char *ZK_CALL zk_Db_getFileName(int32_t tableId);

/* Goes to a record by number: 0, -930 outside 1..record count (the position stays), another engine
 * status, 1 for an unknown id. */
ZK_API int ZK_CALL zk_Db_goRec(int32_t tableId, int32_t recordNumber);

/* Goes to the first record, in the order of that tag number, for which the condition (zk_Db_query)
 * holds; null or blank: every record. locateNext goes on in that order from the current record,
 * which may be another one by then, also with other moves and orders chosen in between. Nothing is
 * locked and no list is made: each record is read as it is when its turn comes.
 * 0; 3 when no more record matches: the table is at end of file; 1 for an unknown id; another
 * engine status: -400 to -500 and -950 for a wrong condition, -440 on a record for which it cannot
 * be evaluated, which is the current one then; -930 from locateNext without a locate before, or
 * when its condition was wrong. Time proportional to the records passed; reports the stage
 * "Locating" to the progress callback. */
ZK_API int ZK_CALL zk_Db_locate(int32_t tableId, int32_t tagNumber, const char *condition);
ZK_API int ZK_CALL zk_Db_locateNext(int32_t tableId);

/* Length in bytes of the current record's text of a field, blanks included: the width for most
 * types, the memo's length for memos. -1 for an unknown id or field or a memo that cannot be read
 * (zk_DbError_code). */
ZK_API int32_t ZK_CALL zk_Db_getFldLength(int32_t tableId, const char *field);

/* Writes everything that is pending (changed record, collected appends, header) to the file. 0, or
 * the engine's status; 1 for an unknown id. Hands the data to the system; does not wait for the
 * disk. */
ZK_API int ZK_CALL zk_Db_flush(int32_t tableId);

/* How often a lock that another program holds is tried: -1 (the default) until it succeeds, 0 and 1
 * once, n > 1 about n times, one second apart. set returns the previous value. */
ZK_API int32_t ZK_CALL zk_Db_getLockAttempts(void);
ZK_API int32_t ZK_CALL zk_Db_setLockAttempts(int32_t attempts);

/* Called now and then during long work with its stage ("Packing"), how much of `total` is done
 * (records) and `user`. It must not call table operations. Null switches it off. */
typedef void(ZK_CALL *ZkProgressFn)(const char *stage, int64_t done, int64_t total, void *user);
ZK_API void ZK_CALL zk_Db_setProgress(ZkProgressFn progress, void *user);

/* Whether engine errors are shown in message boxes; off after zk_Db_init. Returns the previous
 * setting. */
ZK_API int ZK_CALL zk_Db_setErrorBoxes(int show);

/* The engine objects behind the ids, for zk_Cb_init and zk_DbFldNode_fromFld. The context is null
 * before zk_Db_init; the field is null for an unknown id or a number outside 1..field count. They
 * belong to the library. */
ZK_API ZkContext *ZK_CALL zk_Db_context(void);
ZK_API ZkField *ZK_CALL zk_Db_field(int32_t tableId, int32_t number);

/* ---- Tags -------------------------------------------------------------------------------------
 */

/* One tag of an open index file. The texts are valid while the index is open. */
typedef struct ZkTagFacts {
  const char *name;       /* upper case */
  const char *expression; /* of the key */
  const char *filter;     /* "" without one */
  const char *fileName;   /* of the index file */
  int32_t keyLength;      /* bytes */
  int32_t unique;         /* 1: a key may stand in the tag once only */
  int32_t descending;
  int32_t problem;   /* 0, or why the engine cannot evaluate the keys (then no seeks) */
  int32_t tagNumber; /* for the positioning operations, as zk_Tag_find gives it */
  int32_t candidate; /* 1: unique, and every record has its key in the tag; some programs leave
                        records with a key that is there out of a tag that is unique only */
} ZkTagFacts;

/* How many tags the open index files of a table have; 0 for an unknown id. */
ZK_API int32_t ZK_CALL zk_Tag_count(int32_t tableId);

/* The facts of the table's n-th tag, from 1. 1; 0 for an unknown id or number or null. */
ZK_API int ZK_CALL zk_Tag_getInfo(int32_t tableId, int32_t number, ZkTagFacts *facts);

/* How many keys the table's n-th tag has, from 1. -1 for an unknown id or number; -310 when the
 * index is damaged or behind its table, -50 when another program is writing to it, another code of
 * the engine. Reads the whole tag. */
ZK_API int32_t ZK_CALL zk_Tag_keyCount(int32_t tableId, int32_t number);

/* The tag number to give to the positioning operations for the tag of that name, ignoring case; -1
 * when the table has none. It is larger than any that zk_Db_createNdx and zk_Db_openNdx give out,
 * and holds until an index file of the table is opened or closed. */
ZK_API int32_t ZK_CALL zk_Tag_find(int32_t tableId, const char *name);

/* Creates tags in an index file (default extension "CDX"; null or "": the one of the table's own
 * name): names of 1 to 10 characters, key expressions, filters (null or "": none), unique,
 * descending. A file that is there keeps its other tags; a tag of the same name is replaced. The
 * file is written anew as a whole and put in place at once, so that adding all tags in one call is
 * cheapest; it is open then. In exclusive mode a file of the table's own name becomes its
 * production index, which is opened with the table from then on.
 * 0, or, with everything as it was: 1 for an unknown id; 50 when other programs have the file open
 * or write to the table; -330 a name is missing; -340 equal keys in a unique tag; -930 a name or an
 * expression is too long, keys are longer than 240 bytes, nothing to create; -950 a filter is not
 * logical; -400 to -500 an expression is wrong; a file's or memory's code.
 * Sorts in memory within a budget of some tens of MiB, beyond it in a working file in the current
 * directory; reports the stages "Sorting" and "Creating Tag" to the progress callback. */
ZK_API int ZK_CALL zk_Tag_create(int32_t tableId, const char *fileName, const ZkTagInfo *tags,
                                 int32_t count);

/* ---- Checking and repairing -------------------------------------------------------------------
 */

/* Takes one finding of zk_Db_check: a sentence in English that says what is wrong and where (record,
 * tag, page), and the file that it is about. Both are valid during the call; table operations of
 * other tables are allowed in it. */
typedef void(ZK_CALL *ZkFindingFn)(const char *file, const char *text, void *user);

/* Checks a table (default extension "DBF"), its memo file, its production index and further index
 * files (default extension "CDX"; null, or ended by a null):
 *   table   record count against the file's length; deletion marks; numbers and dates that are
 *           none; memo references that lead outside the memo file or share blocks
 *   index   every page: its place, neighbours, order, what it says of its children, used once;
 *           and each tag against the records: every record's key there once, nothing else
 * The table need not be open; where the caller has it open this counts as another opener. While it
 * is checked no program can write to it, unless the file is read-only.
 *
 * With `repair` not 0, where no other program (nor the caller) has the table open: a count larger
 * than the file's whole records is made to fit, with the end mark behind the last; an index with
 * findings is written anew from its own tag definitions. Whole records behind those that are counted
 * stay where they are, and so does what memo references and cells say. Then everything is checked
 * again.
 *
 * Each finding is passed to `report` (null: none are), at most 50 of a file and then how many more
 * there are; with `repair` also what was mended ("mended: ...") or why not ("not written anew:
 * ..."), and the findings that are left ("left: ...").
 *
 * The number of findings, or of those left after repair: 0 when all is well. Or, negative, the code
 * of what kept the work from being done (zk_DbError_code): -60 a file does not exist; -50 the table
 * is open elsewhere, in the sense of zk_Db_setLockAttempts; -70 -120 reading, writing; -920 memory;
 * -930 null or empty name. Time of a walk and a sort for each tag; memory within some tens of MiB.
 * Reports the stage "Checking" to the progress callback. */
ZK_API int ZK_CALL zk_Db_check(const char *fileName, const char *const *indexFiles, int repair,
                               ZkFindingFn report, void *user);

/* ---- Memory -----------------------------------------------------------------------------------
 */

/* The message of the last refused allocation ("Unable to allocate 1024 bytes of memory"); "" before
 * the first. Static. */
ZK_API const char *ZK_CALL zk_Memory_lastFailure(void);

/* ---- Host -------------------------------------------------------------------------------------
 */

/* Shows a message in the host's own way; null puts the default back (Windows: a message box, Linux:
 * standard error). */
typedef void(ZK_CALL *ZkMessagePresenterFn)(const char *title, const char *text, void *user);
ZK_API void ZK_CALL zk_Host_setMessagePresenter(ZkMessagePresenterFn presenter, void *user);

/* Linux: the directory that a drive letter stands for in paths ("C:\\data"); by default every drive
 * is "/". A null or empty directory restores the default. 1; 0 for anything but a letter, for a
 * directory of 256 characters or more, and on Windows, where drives are the system's. */
ZK_API int ZK_CALL zk_Host_setDriveDirectory(char letter, const char *directory);

/* The system's own path of a name as hosts write it, into `out` (at most `size` characters). Linux:
 * "/" between the components, the drive's directory in place of its letter, and what exists in its
 * own letter case. Windows: the name. 1; 0 with "" for a null or empty name, for a path that does
 * not fit or when memory is refused; 0 with nothing written for a null `out` or a negative size. */
ZK_API int ZK_CALL zk_Host_nativePath(const char *name, char *out, int32_t size);

/* Linux: the package manager's list of installed packages, in which zk_Sys_getProductVersion looks;
 * by default "/var/lib/dpkg/status". Null or "" restores the default. 1; 0 for a path of 512
 * characters or more, and on Windows. */
ZK_API int ZK_CALL zk_Host_setProductDatabase(const char *path);

ZK_EXTERN_C_END
#endif
