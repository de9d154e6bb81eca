/* Aliases: a table of texts by name, one for the process, and texts that refer to them between
 * percent signs. Names are told apart as those of fields (fldlist.h): in any spelling. The table is
 * a field list of type C; what follows costs time linear in the number of aliases, per name.
 * Aliases do not trace; the linked-list functions beneath do.
 */
#ifndef ZK_ALIAS_H
#define ZK_ALIAS_H

#include "zk/fldlist.h"

ZK_EXTERN_C_BEGIN

/* Adds or replaces an alias; a null value removes it. The result of zk_FldList_modChar (-4 when
 * memory is refused: the old value stays) or of zk_FldList_delFld (0 when there was none). 0 when
 * the table itself is refused. */
ZK_API int ZK_CALL zk_Alias_put(const char *name, const char *value);
/* zk_Alias_put with a null value. */
ZK_API int ZK_CALL zk_Alias_del(const char *name);
/* Puts an alias for every field of the list: its name and zk_FldList_currChar's text of its value,
 * at most 512 characters. Fields without a name are left out. The list's position stays. 0 for
 * null, and when memory is refused: the aliases from there on are missing. */
ZK_API int ZK_CALL zk_Alias_putFromFldList(const FldList *list);

/* Copies at most `size` characters of the alias's value, else "". 1 if there is such an alias, -2
 * if not, 0 for a null argument or before the first put. */
ZK_API int ZK_CALL zk_Alias_get(char *buffer, const char *name, int32_t size);

/* Copies `text` with each "%NAME%" replaced by the first 256 characters of that alias's value,
 * which is not expanded again. A name without an alias stays as it is, percent signs included, and
 * so does one of more than 255 characters. "%%" vanishes. A "%" without a second one ends the
 * result: the rest of the text is dropped. Always 0, and nothing is written for a null argument.
 *
 * `buffer` is not bounded: it needs the length of the text, 255 for each "%NAME%" in it, and 1. It
 * may be the text itself, which then is copied first (when that is refused, nothing is written). */
ZK_API int ZK_CALL zk_Alias_expandStr(char *buffer, const char *text);

ZK_EXTERN_C_END
#endif
