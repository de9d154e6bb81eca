/* INI files: groups of variables with values, in text files.
 *
 *     ; a comment
 *     [Paths]
 *     Spool = C:\Plant\Spool
 *
 * A line whose first character is "[" is the header of a group: its name is the text up to the next
 * "]" or the end of the line. A group goes on to the next header or the end of the file. Any other
 * line is a variable, unless it is empty or its first character is ";": name, "=" and value as
 * zk_Ini_parse splits them. White space at the start of a line and round names and values does not
 * count. Groups and variables are found in any case; of several with one name the first. Lines are
 * read to 1024 characters.
 *
 * Two ways lead to a file. The cached functions ask the configuration cache of the application
 * component (zk_component.h), which keeps files in memory and writes changes; without a component
 * they fail as stated. The direct functions open the file themselves. Neither knows of what the
 * other keeps in memory: see zk_Ini_reload.
 *
 * Values are cut to a length where it is given. Where references are expanded, it is as by
 * zk_Alias_expandStr (alias.h). Field lists that are made here hold fields of type C; their names
 * are in upper case, as in every field list, and so is what is written from them. The position of a
 * list that is read stays. Nothing here is reported or traced.
 */
#ifndef ZK_INI_H
#define ZK_INI_H

#include <stdio.h>

#include "zk/fldlist.h"
#include "zk/strlist.h"
#include "zk/types.h"

ZK_EXTERN_C_BEGIN

/* ---- Variables of cached files ----------------------------------------------------------------
 */

/* The value: with `expand`, expanded and cut to 512 characters; otherwise cut to `maxLength`, but
 * no more than 4096. Blanks at its start are then removed. In a static buffer that this function,
 * zk_Ini_get, zk_Ini_getAbsolute and zk_Env_getIni share. Null without such a variable, and when
 * the result is empty. */
ZK_API const char *ZK_CALL zk_Ini_getValue(const char *file, const char *group,
                                           const char *variable, int expand, int32_t maxLength);

/* zk_Ini_getValue for 512 characters, with expansion and without. */
ZK_API const char *ZK_CALL zk_Ini_get(const char *file, const char *group, const char *variable);
ZK_API const char *ZK_CALL zk_Ini_getAbsolute(const char *file, const char *group,
                                              const char *variable);

/* Sets a variable, adding file, group and variable where they are missing. Mind the result: 0 when
 * the value was stored, 1 when not. */
ZK_API int ZK_CALL zk_Ini_set(const char *file, const char *group, const char *variable,
                              const char *value);

/* The same, with that result in `status` (may be null). Then the value is read back, up to 1024
 * characters and without blanks at its start: 1 when it is the one written, ignoring case. 0 when
 * not, and for an empty value. */
ZK_API int ZK_CALL zk_Ini_setAndVerify(const char *file, const char *group, const char *variable,
                                       const char *value, int32_t *status);

/* ---- Groups of cached files -------------------------------------------------------------------
 */

/* Sets a variable for each field, in their order; with `updateOnly` only those for which zk_Ini_get
 * finds something. Values are zk_FldList_currChar's texts, up to 512 characters.
 *
 * The result is that of the last field that was not skipped: zk_FldList_currChar's code (1; -3 for
 * anything but a text, which is written nevertheless), or 0 when the field has no name or its value
 * was not stored. What went wrong before the last one is not seen. 1 when there is no such field. 0
 * for null and when the file does not exist or is not writable. */
ZK_API int ZK_CALL zk_Ini_setGroup(const char *file, const char *group, const FldList *list,
                                   int updateOnly);

/* A new list with a field for each variable of the group, in their order; variables without a name
 * or a value are left out. Values have any length. An empty list when nothing is left; null when
 * there is no such group or it has no variables, and when memory is refused.
 * getGroup expands the values; getGroupWithNulls likewise, and keeps variables without a value;
 * getGroupAbsolute does not expand; getGroupValues as `expand` says. */
ZK_API FldList *ZK_CALL zk_Ini_getGroup(const char *file, const char *group);
ZK_API FldList *ZK_CALL zk_Ini_getGroupWithNulls(const char *file, const char *group);
ZK_API FldList *ZK_CALL zk_Ini_getGroupAbsolute(const char *file, const char *group);
ZK_API FldList *ZK_CALL zk_Ini_getGroupValues(const char *file, const char *group, int expand);

/* Removes the group and adds it anew with a variable for each field that has a name; updateGroup
 * keeps the group, or adds it, and sets these variables in it. Values are zk_FldList_currChar's
 * texts, up to 1024 characters. 1 when the component did everything, 0 otherwise. */
ZK_API int ZK_CALL zk_Ini_setGroupEx(const char *file, const char *group, const FldList *list);
ZK_API int ZK_CALL zk_Ini_updateGroup(const char *file, const char *group, const FldList *list);

/* Adds a group unless it is there: 1. Removes it with its lines: 1, or 0 when there was none. 0
 * when the component fails. */
ZK_API int ZK_CALL zk_Ini_addGroup(const char *file, const char *group);
ZK_API int ZK_CALL zk_Ini_removeGroup(const char *file, const char *group);

/* The names of all groups that begin with `prefix` in any case, and of all groups, in the file's
 * order: a new list for zk_StrList_destroy; call zk_StrList_start first. Null when there are none.
 */
ZK_API StrList *ZK_CALL zk_Ini_findPrefixGroups(const char *file, const char *prefix);
ZK_API StrList *ZK_CALL zk_Ini_findAllGroups(const char *file);

/* The next number for a group of a family "Run.0", "Run.1", ...: one more than the largest number
 * that zk_Ini_getGroupNameSuffix of a group with the prefix begins with (0 where it begins with
 * none), "0" when there is no such group. Static. When the groups cannot be listed only the first
 * character is set to "0", so that "14" from an earlier call becomes "04". */
ZK_API const char *ZK_CALL zk_Ini_getNextIncrSuffix(const char *file, const char *prefix);

/* What follows the first "." of a group's name, inside that text; the whole name when it has none.
 */
ZK_API const char *ZK_CALL zk_Ini_getGroupNameSuffix(const char *group);

/* ---- The cache --------------------------------------------------------------------------------
 */

/* Has the component refresh its view of the file (zk_File_revalidate) and read it again. The
 * component's answer, not 0 when it could; 0 without a component. */
ZK_API int ZK_CALL zk_Ini_reload(const char *file);

/* Drops every cached file; shows the cache in the component's own way. 1, or 0 when that fails. */
ZK_API int ZK_CALL zk_Ini_resetCache(void);
ZK_API int ZK_CALL zk_Ini_viewCache(void);

/* Prints "Error reading Ini File\nFile Name %s\nGroup Name %s\nVariable Name %s" to standard output
 * and gives the number of characters. */
ZK_API int ZK_CALL zk_Ini_displayError(const char *file, const char *group, const char *variable);

/* ---- Lines ------------------------------------------------------------------------------------
 */

/* Whether the line is the header of a group: 1, with the blanks at the start of the line removed
 * and the group's name in `name`, which has room for the line. 0 with "" otherwise. */
ZK_API int ZK_CALL zk_Ini_getGroupName(char *line, char *name);

/* Splits a line at its first '='. The name is what stands before it, the value what follows the run
 * of white space and '=' there, both without white space at their ends: "key = = a b " gives "key"
 * and "a b". Without '=' all is the name and the value is "".
 *
 * `name` and `value` have room for the line; each may be null, and `name` may be the line itself.
 * 1; 0 with both made empty for a null line. */
ZK_API int ZK_CALL zk_Ini_parse(const char *line, char *name, char *value);

/* ---- Files as they lie on disk ----------------------------------------------------------------
 */

/* Reads lines up to the header of the group and past it: 1; 0 at the end of the file. */
ZK_API int ZK_CALL zk_Ini_findGroup(FILE *stream, const char *group);

/* The group's lines that are not empty, without the blanks at their start, and without comments
 * unless `keepComments`: a new list for zk_StrList_destroy; call zk_StrList_start first. Null when
 * there is no such file or group, when there are no such lines, and when memory is refused. */
ZK_API StrList *ZK_CALL zk_Ini_getGroupLines(const char *file, const char *group, int keepComments);

/* A new list with a field for each of the group's variables, in their order; those without a name
 * or a value are left out. Null as above. */
ZK_API FldList *ZK_CALL zk_Ini_getGroupItems(const char *file, const char *group);

/* Replaces the group's variables by one for each field that has a name ("NAME=value"; values are
 * zk_FldList_currChar's texts, up to 1024 characters) and an empty line. What else stood in the
 * group goes, comments included; the header stays as it is. A group that is not there is appended,
 * a file that is not there is made with it. All other lines stay as they are, however long; lines
 * that are written end as the file's first one does.
 *
 * The file is written as "zk_tmp.ini" in its directory and put in place at once, so that no program
 * sees half of it. 1; 0, with the file as it was, when it is read-only or cannot be read or
 * written, another program is writing such a file there, or memory is refused. */
ZK_API int ZK_CALL zk_Ini_setGroupItems(const char *file, const char *group, const FldList *list);

ZK_EXTERN_C_END
#endif
