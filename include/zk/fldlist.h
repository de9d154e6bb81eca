/* Field list: an ordered list of named, typed values, in which the applications' components pass
 * data to each other.
 *
 * It is a linked list (lnklist.h) of FldNode, so every linked-list function works on it, and it has
 * that list's one current position. Names are kept in upper case and found in any spelling (by the
 * process's byte-case map); a list may hold several fields of one name, of which the first is
 * found.
 *
 * Results are ZK_FLD_OK (1) or one of the codes below. A null list has no fields. A null name is
 * never found and makes a field without a name. Null where a triple is read, and a list that would
 * contain itself, are bad arguments: 0, and nothing done. Null results are not written, and the
 * code is the same. Memory refused leaves list and field as they were, unless stated.
 *
 * Position: what looks a field up by name leaves it on the field found, or at end of list.
 * Appending leaves it alone. What walks a whole list (copy, concatenate, combine, diff,
 * applyTransform, the printing, the conversions) ends with the list read at end of list. New lists
 * are at end of list too: call start first.
 *
 * Ownership: a field owns its name, its text and its list. Texts given are copied. Nested lists and
 * string lists are taken over when the call succeeds, and must not be in two places nor contain
 * themselves. Lists may be nested as deep as memory goes.
 *
 * Cost: constant, but linear in the fields for what looks up a name or handles a whole list.
 * Nothing here traces, except that start, next, prev, eol, count, curr and the deletions are
 * linked-list functions, which do.
 */
#ifndef ZK_FLDLIST_H
#define ZK_FLDLIST_H

#include "zk/dbfld.h"
#include "zk/geometry.h"
#include "zk/lnklist.h"
#include "zk/strlist.h"
#include "zk/transform.h"

ZK_EXTERN_C_BEGIN

typedef LnkList FldList; /* its elements are FldNode */

/* Type codes. */
enum {
  ZK_FLD_CHAR = 'C',    /* text */
  ZK_FLD_HANDLE = 'H',  /* text: a key or handle, which the constructor puts in upper case */
  ZK_FLD_INT = 'I',     /* integer */
  ZK_FLD_LONG = 'L',    /* integer, 32 bits as well */
  ZK_FLD_REAL = 'N',    /* real */
  ZK_FLD_POINT = 'P',   /* point: a position */
  ZK_FLD_MPOINT = 'M',  /* point: a second kind of position */
  ZK_FLD_DPOINT = 'D',  /* point: a direction, rotated but never translated */
  ZK_FLD_VECTOR = 'O',  /* point: a vector, likewise */
  ZK_FLD_LIST = 'V',    /* list: a nested field list, or null */
  ZK_FLD_STRLIST = 'S', /* strList */
  ZK_FLD_UNKNOWN = 'U'  /* nothing; text is null */
};

/* Result codes. */
enum {
  ZK_FLD_OK = 1,
  ZK_FLD_NOTHING_DONE = 0, /* bad argument, or nothing to do */
  ZK_FLD_NO_CURRENT = -1,  /* there is no current field */
  ZK_FLD_NOT_FOUND = -2,   /* no field of that name */
  ZK_FLD_WRONG_TYPE = -3,  /* a type that cannot be read so, or only converted */
  ZK_FLD_NO_MEMORY = -4
};

/* An undefined number; see zk_FldList_create. */
#define ZK_FLD_UNDEFINED (-9999)

/* The value of a field: the member that its type code names. */
typedef union FldValue {
  char *text; /* or null */
  int32_t integer;
  double real;
  ZkPoint point;
  FldList *list;
  StrList *strList;
} FldValue;

/* One field. The offsets are those of the 32-bit library; with 8-byte pointers type and markers are
 * 4 and the value 8 more. Hosts may read a node and change its value within its type.
 *
 * A name and a text lie in the node's own block or in blocks of their own: only the library can
 * tell and releases them. Change a text with zk_FldNode_updateFldValue or the mod functions. */
typedef struct FldNode {
  char *name;     /*  0: in upper case; null for a field without a name */
  char type;      /*  4: the type code */
  char marker1;   /*  5: 1 in a new node, never looked at */
  char marker2;   /*  6: 0 in a new node, never looked at */
  FldValue value; /*  8: 24 bytes */
} FldNode;

/* ---- Making and releasing -----------------------------------------------------------------
 */

/* A new list of triples (name, type code, value), up to a null in the place of a name:
 *
 *     zk_FldList_create("PART", 'C', "A-100", "QTY", 'I', 12, "AT", 'P', x, y, z, (char *)0)
 *
 * C and H take a const char *, I and L an int, N a double, P, M, D and O three doubles. Any other
 * code makes a field of type U and takes one int as its value. An int of -9999 is stored as 0, and
 * so is a double that differs from -9999.0 by less than 0.01. A field whose memory is refused is
 * left out. Null when memory for the list is refused. */
ZK_API FldList *ZK_CALL zk_FldList_create(const char *firstName, ...);

/* Releases the fields with their texts, nested lists and string lists, and the list. 1, 0 for null.
 */
ZK_API int ZK_CALL zk_FldList_destroy(FldList *list);

/* The same for one node that is in no list. */
ZK_API int ZK_CALL zk_FldList_destroyNode(FldNode *node);

/* New nodes for zk_LnkList_insStart and the like. newHandle puts its copy in upper case. A null
 * text is stored as null, which reads as "no text". Null for a bad argument, or when memory is
 * refused; a list stays the caller's then. */
ZK_API FldNode *ZK_CALL zk_FldList_newChar(const char *name, const char *text);
ZK_API FldNode *ZK_CALL zk_FldList_newHandle(const char *name, const char *text);
ZK_API FldNode *ZK_CALL zk_FldList_newInt(const char *name, int32_t value);
ZK_API FldNode *ZK_CALL zk_FldList_newLong(const char *name, int32_t value);
ZK_API FldNode *ZK_CALL zk_FldList_newReal(const char *name, double value);
ZK_API FldNode *ZK_CALL zk_FldList_newPoint(const char *name, const ZkPoint *point);
ZK_API FldNode *ZK_CALL zk_FldList_newMpoint(const char *name, const ZkPoint *point);
ZK_API FldNode *ZK_CALL zk_FldList_newDpoint(const char *name, const ZkPoint *point);
ZK_API FldNode *ZK_CALL zk_FldList_newVector(const char *name, const ZkVector *vector);
ZK_API FldNode *ZK_CALL zk_FldList_newList(const char *name, FldList *nested);
ZK_API FldNode *ZK_CALL zk_FldList_newUnknown(const char *name);

/* ---- Appending ----------------------------------------------------------------------------
 *
 * A new node, as above, at the end; other fields of that name do not matter. ZK_FLD_OK; -4 when
 * memory is refused, 0 for a bad argument: a nested list then stays the caller's. A null list gives
 * ZK_FLD_OK though nothing keeps the field; a nested list stays the caller's then as well. */
ZK_API int ZK_CALL zk_FldList_appChar(FldList *list, const char *name, const char *text);
ZK_API int ZK_CALL zk_FldList_appHandle(FldList *list, const char *name, const char *text);
ZK_API int ZK_CALL zk_FldList_appInt(FldList *list, const char *name, int32_t value);
ZK_API int ZK_CALL zk_FldList_appLong(FldList *list, const char *name, int32_t value);
ZK_API int ZK_CALL zk_FldList_appReal(FldList *list, const char *name, double value);
ZK_API int ZK_CALL zk_FldList_appPoint(FldList *list, const char *name, const ZkPoint *point);
ZK_API int ZK_CALL zk_FldList_appMpoint(FldList *list, const char *name, const ZkPoint *point);
ZK_API int ZK_CALL zk_FldList_appDpoint(FldList *list, const char *name, const ZkPoint *point);
ZK_API int ZK_CALL zk_FldList_appVector(FldList *list, const char *name, const ZkVector *vector);
ZK_API int ZK_CALL zk_FldList_appList(FldList *list, const char *name, FldList *nested);
ZK_API int ZK_CALL zk_FldList_appStrList(FldList *list, const char *name, StrList *strings);
ZK_API int ZK_CALL zk_FldList_appUnknown(FldList *list, const char *name);

/* ---- Changing -----------------------------------------------------------------------------
 *
 * Give the field of that name a new type and value in its place, or append one when there is none.
 * ZK_FLD_OK; -4 when memory is refused, 0 for a bad argument. The text may be the field's own.
 *
 * A list or string list that the field held before is not destroyed: it is the caller's again, who
 * has to have its handle. A handle that is changed keeps the case given, unlike one that is
 * appended. */
ZK_API int ZK_CALL zk_FldList_modChar(FldList *list, const char *name, const char *text);
ZK_API int ZK_CALL zk_FldList_modHandle(FldList *list, const char *name, const char *text);
ZK_API int ZK_CALL zk_FldList_modInt(FldList *list, const char *name, int32_t value);
ZK_API int ZK_CALL zk_FldList_modLong(FldList *list, const char *name, int32_t value);
ZK_API int ZK_CALL zk_FldList_modReal(FldList *list, const char *name, double value);
ZK_API int ZK_CALL zk_FldList_modPoint(FldList *list, const char *name, const ZkPoint *point);
ZK_API int ZK_CALL zk_FldList_modMpoint(FldList *list, const char *name, const ZkPoint *point);
ZK_API int ZK_CALL zk_FldList_modDpoint(FldList *list, const char *name, const ZkPoint *point);
ZK_API int ZK_CALL zk_FldList_modVector(FldList *list, const char *name, const ZkVector *vector);
ZK_API int ZK_CALL zk_FldList_modList(FldList *list, const char *name, FldList *nested);
ZK_API int ZK_CALL zk_FldList_modUnknown(FldList *list, const char *name);

/* ---- Several values under one name --------------------------------------------------------
 *
 * The first value of a name is appended as a field of its own. The second turns that field into one
 * of type V at the same place, whose nested list holds both; later ones are appended to the nested
 * list. Nested fields bear the same name.
 *
 * The result is that of the append for a first value, 0 for a bad argument, and otherwise always
 * ZK_FLD_OK, even when memory was refused and everything is as it was. */
ZK_API int ZK_CALL zk_FldList_addCharVal(FldList *list, const char *name, const char *text);
ZK_API int ZK_CALL zk_FldList_addHandleVal(FldList *list, const char *name, const char *text);
ZK_API int ZK_CALL zk_FldList_addIntVal(FldList *list, const char *name, int32_t value);
ZK_API int ZK_CALL zk_FldList_addLongVal(FldList *list, const char *name, int32_t value);
ZK_API int ZK_CALL zk_FldList_addRealVal(FldList *list, const char *name, double value);
ZK_API int ZK_CALL zk_FldList_addPointVal(FldList *list, const char *name, const ZkPoint *point);
ZK_API int ZK_CALL zk_FldList_addMpointVal(FldList *list, const char *name, const ZkPoint *point);
ZK_API int ZK_CALL zk_FldList_addDpointVal(FldList *list, const char *name, const ZkPoint *point);
ZK_API int ZK_CALL zk_FldList_addVectorVal(FldList *list, const char *name, const ZkVector *vector);
ZK_API int ZK_CALL zk_FldList_addUnknownVal(FldList *list, const char *name);

/* The same with the type code as an argument: `value` is the text itself for C and H, points to an
 * int32_t for I and L, to a double for N, to a ZkPoint for P, M, D and O, and is not read for U.
 * ZK_FLD_OK for these whatever came of it; 0 for any other code, and for null where a value is read
 * (C and H store null), with nothing done. */
ZK_API int ZK_CALL zk_FldList_addVal(FldList *list, const char *name, char type, const void *value);

/* Turns the field of that name into one of type V at the same place, whose nested list holds the
 * field that was there, and returns the new node. Null when it is of type V already or memory is
 * refused. When there is no such field: null, and a field of type V with a null list is appended.
 */
ZK_API FldNode *ZK_CALL zk_FldList_convertNodeToList(FldList *list, const char *name);

/* ---- Position -----------------------------------------------------------------------------
 */

/* The linked-list functions start, next, prev, eol and length. */
ZK_API int ZK_CALL zk_FldList_start(FldList *list);
ZK_API int ZK_CALL zk_FldList_next(FldList *list);
ZK_API int ZK_CALL zk_FldList_prev(FldList *list);
ZK_API int ZK_CALL zk_FldList_eol(const FldList *list);
ZK_API uint32_t ZK_CALL zk_FldList_count(const FldList *list);

/* The current node, or null. */
ZK_API FldNode *ZK_CALL zk_FldList_curr(const FldList *list);

/* The first field of that name, now current; null, at end of list, when there is none. A null name:
 * null, and the position stays. */
ZK_API FldNode *ZK_CALL zk_FldList_find(FldList *list, const char *name);

/* ---- Reading a field by name --------------------------------------------------------------
 *
 * ZK_FLD_OK, -2 when there is no such field, -3 for a type that the function does not take. Some
 * types are converted though the code is -3; whatever else is -3 leaves the result alone, except as
 * said. For lists: zk_FldList_find. */

/* At most `size` characters of the text of C and H. The numbers I, L ("%d") and N ("%f") are
 * converted with -3. First of all `text` is made empty. */
ZK_API int ZK_CALL zk_FldList_getChar(FldList *list, const char *name, char *text, int32_t size);
/* The same without the conversion. */
ZK_API int ZK_CALL zk_FldList_getHandle(FldList *list, const char *name, char *text, int32_t size);
/* N, I and L. The number that a C begins with is converted with -3. First of all the result is made
 * 0.0. */
ZK_API int ZK_CALL zk_FldList_getReal(FldList *list, const char *name, double *value);
/* I and L, and N without its decimals (INT32_MIN for one that does not fit). The number that a C
 * begins with is converted with -3; it saturates. getLong is the same. */
ZK_API int ZK_CALL zk_FldList_getInt(FldList *list, const char *name, int32_t *value);
ZK_API int ZK_CALL zk_FldList_getLong(FldList *list, const char *name, int32_t *value);
/* P, M, D and O, both functions. */
ZK_API int ZK_CALL zk_FldList_getPoint(FldList *list, const char *name, ZkPoint *point);
ZK_API int ZK_CALL zk_FldList_getVector(FldList *list, const char *name, ZkVector *vector);

/* ---- Reading the current field ------------------------------------------------------------
 *
 * ZK_FLD_OK, -1 without a current field, -3 for a type that the function does not take. */

/* The whole name; the buffer has to be large enough. -1 also for a field without a name. */
ZK_API int ZK_CALL zk_FldList_currFldname(const FldList *list, char *name);
ZK_API int ZK_CALL zk_FldList_currFldtype(const FldList *list, char *type);
/* As getChar, but only a type that is not converted makes `text` empty; a null text leaves it. */
ZK_API int ZK_CALL zk_FldList_currChar(const FldList *list, char *text, int32_t size);
/* As getHandle, with `text` as for currChar. */
ZK_API int ZK_CALL zk_FldList_currHandle(const FldList *list, char *text, int32_t size);
/* N, I, L, and the number that a C begins with: unlike getReal this is ZK_FLD_OK. */
ZK_API int ZK_CALL zk_FldList_currReal(const FldList *list, double *value);
/* As getInt, but texts are not converted. */
ZK_API int ZK_CALL zk_FldList_currInt(const FldList *list, int32_t *value);
ZK_API int ZK_CALL zk_FldList_currLong(const FldList *list, int32_t *value);
ZK_API int ZK_CALL zk_FldList_currPoint(const FldList *list, ZkPoint *point);
ZK_API int ZK_CALL zk_FldList_currVector(const FldList *list, ZkVector *vector);
/* The nested list of V or the string list of S, which stays the field's. -3, not -1, without a
 * current field. */
ZK_API int ZK_CALL zk_FldList_currList(const FldList *list, LnkList **nested);

/* ---- Deleting ----------------------------------------------------------------------------- */

/* Removes and destroys the current field, or the one of that name. The position moves to its
 * successor, or to its predecessor when it was the last. 1, or 0 when there is none. */
ZK_API int ZK_CALL zk_FldList_delCurr(FldList *list);
ZK_API int ZK_CALL zk_FldList_delFld(FldList *list, const char *name);

/* ---- Whole lists --------------------------------------------------------------------------
 *
 * What is copied is deep, nested lists included, but fields of type S and of unknown types arrive
 * as U. A field whose memory is refused is left out of the result. */

/* A copy; an empty list for null. Null when memory for the list itself is refused. */
ZK_API FldList *ZK_CALL zk_FldList_copy(FldList *list);
/* Appends copies of all fields of `source`, which may be the list itself. 0 if either is null. */
ZK_API int ZK_CALL zk_FldList_concatenate(FldList *list, FldList *source);
/* Gives `list` a copy of every field of `source` by the mod functions: in the place of the field of
 * that name, or appended. A list or string list that is replaced is not destroyed; get its handle
 * first. 0 if either is null. */
ZK_API int ZK_CALL zk_FldList_combine(FldList *list, FldList *source);
/* Gives `list` the field `sourceName` of `source` under another name, by the mod functions. C and H
 * arrive as C, cut to 512 characters; V, S and U are not copied. ZK_FLD_OK in any case, but 0 for a
 * null argument or when there is no such field. */
ZK_API int ZK_CALL zk_FldList_copyFld(FldList *source, const char *sourceName, FldList *list,
                                      const char *name);

/* A new list with copies of those fields of `a` for which zk_FldList_compareNode with the field of
 * that name in `b` is not 0; fields that `b` lacks are among them if `missingResult` is not 0.
 * Fields without a name never are. Null, not an empty list, when there are none. So texts that
 * differ are reported, numbers only where that of `a` is less, points never. */
ZK_API FldList *ZK_CALL zk_FldList_diff(FldList *a, FldList *b, int missingResult);

/* Compares two fields by type code and then value: -1, 0 or 1; -2 if either is null. C and H are
 * ordered by their bytes, null as "". For I, L and N of one type the result is -1 if a is less than
 * b by 0.001 or more, and otherwise 0, even if it is greater. P, M, D, O, V, S and U equal every
 * value of their type. */
ZK_API int ZK_CALL zk_FldList_compareNode(const FldNode *a, const FldNode *b);

/* Moves the fields of types P, M, D and O whose type code is one of the characters of `typeFilter`
 * ("PM", "PMDO"): rotates them, then adds the translation to P and M. Either may be null, not both.
 * Nested lists are left alone. 1; 0 for bad arguments, and when a field could not be rotated (the
 * matrix is not 3 by 3), which then stays as it was. */
ZK_API int ZK_CALL zk_FldList_applyTransform(FldList *list, const ZkVector *translation,
                                             const ZkRotMatrix *rotation, const char *typeFilter);

/* ---- Printing and texts -------------------------------------------------------------------
 *
 * One line per field with a name: the name left-aligned in 16 columns and a blank, then type code,
 * colon and value ("WIDTH            I:3"). Reals have six decimals; of P, M, D and O the three
 * coordinates have three each. For V the line ends behind the blank, and the nested fields follow
 * without their names: at level n, 17 + 3 * (n - 1) blanks take the name's place. For S and U
 * "<undefined>" stands in place of code, colon and value. */

/* To standard output; from level 0, or as if nested at `level`. A null text prints nothing behind
 * the blank, not even the newline. 1, or 0 for null and when the nesting is deep and memory is
 * refused. */
ZK_API int ZK_CALL zk_FldList_printList(FldList *list);
ZK_API int ZK_CALL zk_FldList_printLevelList(FldList *list, int32_t level);

/* To the diagnostics (diag.h, module "fld.cpp") if its level is at least `minLevel` and its
 * condition has a bit of `conditionMask`. Lines are cut to 4096 characters; a field with a null
 * text has none. Results as above. */
ZK_API int ZK_CALL zk_FldList_printListDiag(FldList *list, int32_t minLevel,
                                            uint32_t conditionMask);
ZK_API int ZK_CALL zk_FldList_printLevelListDiag(FldList *list, int32_t level, int32_t minLevel,
                                                 uint32_t conditionMask);

/* The value as text, in a block from malloc that is released with free, not zk_Free: the one
 * exception to that rule. "" for a null node, a null text, S and U. Texts are whole; numbers are as
 * printed, without code and colon. For P, M, D and O the three coordinates follow a meaningless
 * character (the lowest byte of x, or the type code when that is 0) and a colon. For V it is the
 * text of the previous call (at first "", at most 4096 characters). Null when memory is refused. */
ZK_API char *ZK_CALL zk_FldNode_getFldValue(const FldNode *node);

/* Gives the node the value that the text stands for; the type stays. C and H take the text, in
 * their block if it is long enough, otherwise in a new one; I, L and N the number that it begins
 * with. 1; 0 for null, for other types, and when memory is refused. The text may be the node's own.
 */
ZK_API int ZK_CALL zk_FldNode_updateFldValue(FldNode *node, const char *text);

/* ---- Conversions --------------------------------------------------------------------------
 *
 * A new list; null when memory is refused. */

/* A field of type C for each string "name = value", split as by zk_Ini_parse (ini.h); strings
 * without a name or a value are left out. Positioned at its start. Null when there is no such
 * string.
 */
ZK_API FldList *ZK_CALL zk_FldList_fromEnvList(StrList *strings);

/* A field for each one of a record that has a name: type N with decimals becomes a real (in which
 * the first ',' is taken for a '.'), N without decimals an integer (I), any other type a text of at
 * most 512 characters. An empty list for null. */
ZK_API FldList *ZK_CALL zk_FldList_fromDbFldList(DbFldList *record);

ZK_EXTERN_C_END
#endif
