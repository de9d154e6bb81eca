/* Lists of the library and lists of COM components: variables lists and records as objects.
 *
 * The interfaces are those of zk_component.h; arguments are interface pointers by which an object
 * can be asked for them. Every reference that a call takes is released before it returns. "Uses up"
 * means that the caller's own reference to an object is released as well, on success only.
 *
 * COM errors never leave a call: they give its failure result and a call of the handler that
 * zk_Com_setErrorHandler sets. Texts cross in the current code page (Linux: UTF-8).
 */
#ifndef ZK_VARLIST_H
#define ZK_VARLIST_H

#include "zk/dbfld.h"
#include "zk/fldlist.h"
#include "zk/types.h"

ZK_EXTERN_C_BEGIN

struct IUnknown;

/* Appends the items of a variables list to *fldList, in order; a null *fldList becomes a new list
 * when there is an item. Uses up varsList. By the type of an item's value:
 *
 *   VT_EMPTY, VT_NULL   'U'
 *   VT_I2               'I'
 *   VT_I4               'L'
 *   VT_R4, VT_R8        'N'
 *   VT_BSTR             'C', cut at 299 bytes
 *   VT_BOOL             'I', 1 for anything but 0
 *   VT_UI1              'I', the byte as a signed char: 200 gives -56
 *
 * For any other, by-reference values and arrays included, nothing is appended and a line with the
 * type's number is printed. Items without a name are skipped; names are cut at 127 bytes.
 *
 * 1; 0 for a null argument, for an object that is no variables list (E_NOINTERFACE: no error, and
 * nothing is used up), or when it cannot be counted. Refused memory leaves an item out. */
ZK_API int ZK_CALL zk_ConvertVarListToFldList(struct IUnknown *varsList, FldList **fldList);

/* Appends a variable with a text value; its key is the new count as text ("4" in a list of three).
 * Uses up varsList. 1, or 0 for a null argument, no variables list, refused memory or a COM error.
 */
ZK_API int ZK_CALL zk_VarsList_InsertAtEnd(struct IUnknown *varsList, const char *name,
                                           const char *value);

/* Empties a variables list: removes its items from the last to the first, by the keys "1" to their
 * count, and then whatever has other keys. The reference stays the caller's. 1 when the list is
 * empty afterwards, 0 otherwise. */
ZK_API int ZK_CALL zk_VarsList_Reset(struct IUnknown *varsList);

/* Makes a field-list object of a record: one field object per node, with name, type, width,
 * precision and value as text; a field without a value, or with an empty one, is marked as empty.
 * Readies COM on the calling thread. 1 with the caller's reference in *comFldList; 0 with null in
 * it for a null list, refused memory or a COM error (no such class: REGDB_E_CLASSNOTREG). */
ZK_API int ZK_CALL zk_ConvertDBFldListToJNFldList(const DbFldList *dbFldList,
                                                  struct IUnknown **comFldList);

/* Makes a record field list, the caller's, of a field-list object. A field that cannot be read is
 * left out; one marked as empty has no value. 1; 0 with null in *dbFldList for null arguments, an
 * object that is no field list, refused memory, or when it cannot be counted. */
ZK_API int ZK_CALL zk_ConvertJNFldListToDBFldList(struct IUnknown *comFldList,
                                                  DbFldList **dbFldList);

ZK_EXTERN_C_END
#endif
