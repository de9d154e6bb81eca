/* Settings by name: the session variables, which live as long as the process; the configuration
 * file "zk.ini" (ini.h), which lies in the configuration directory; the process environment. Where
 * a setting is looked up through all of them, it is in this order, and in zk.ini in the group
 * "GENERAL".
 *
 * Names are compared without regard to case. Nothing is reported: an absent value is null or empty.
 * Static results: see types.h; each function has a buffer of its own, except as said. Nothing here
 * traces.
 */
#ifndef ZK_ENV_H
#define ZK_ENV_H

#include "zk/fldlist.h"
#include "zk/strlist.h"
#include "zk/types.h"

ZK_EXTERN_C_BEGIN

/* ---- Session variables ------------------------------------------------------------------------
 *
 * A list of texts "name = value" in the order of their first setting. They are read as lines of an
 * INI file are (zk_Ini_parse): blanks round name and value do not count, a value does not begin
 * with "=", and a name with a "=" in it is never found. The ...Local functions are the same ones.
 */

/* The value, at most 511 characters, in a buffer that both functions share: static. Null when there
 * is no such variable. */
ZK_API const char *ZK_CALL zk_Env_getSes(const char *name);
ZK_API const char *ZK_CALL zk_Env_getSesLocal(const char *name);

/* Sets a variable in its place, or appends it; null or "" removes it. Mind the result: 1 when there
 * was no such variable before, also when nothing was to be removed, 0 when there was one. 0
 * for a null name, and when memory is refused: the variables are as they were. */
ZK_API int ZK_CALL zk_Env_setSes(const char *name, const char *value);
ZK_API int ZK_CALL zk_Env_setSesLocal(const char *name, const char *value);

/* Removes every session variable: 1, or 0 when none was ever set. */
ZK_API int ZK_CALL zk_Env_resetSes(void);
ZK_API int ZK_CALL zk_Env_resetSesLocal(void);

/* A copy of the list for zk_StrList_destroy, each text "name = value" with the name as it was set;
 * call zk_StrList_start first. Null when none was ever set and when memory is refused. */
ZK_API StrList *ZK_CALL zk_Env_getSesList(void);

/* Notes that an application keeps its session variables itself; nothing in the library asks. */
ZK_API int ZK_CALL zk_Env_setSesApp(void);

/* ---- zk.ini -----------------------------------------------------------------------------------
 *
 * The functions of ini.h on the file "zk.ini" of the configuration directory, which the component
 * is asked for at each call. */

/* As zk_Ini_get, in the same static buffer. */
ZK_API const char *ZK_CALL zk_Env_getIni(const char *group, const char *variable);

/* As zk_Ini_set: mind the result, 0 when the value was stored, 1 on failure. */
ZK_API int ZK_CALL zk_Env_setIni(const char *group, const char *variable, const char *value);

/* As zk_Ini_getGroup. */
ZK_API FldList *ZK_CALL zk_Env_getIniGroup(const char *group);

/* As zk_Ini_displayError. */
ZK_API int ZK_CALL zk_Env_displayIniError(const char *group, const char *variable);

/* ---- Windows profile files --------------------------------------------------------------------
 */

/* The value of a key, at most 255 characters, as Windows reads it from a profile file: without the
 * white space and the quotes round it. Windows looks for a bare file name in its own directory,
 * Linux in the current one. Static. Null where there is no value or an empty one. */
ZK_API const char *ZK_CALL zk_Env_getWin(const char *file, const char *section, const char *key);

/* ---- Texts ------------------------------------------------------------------------------------
 */

/* The pieces of a text between ";", without the white space round them: a new list for
 * zk_StrList_destroy; call zk_StrList_start first. "a;;b" has two pieces, "a; ;b" three. Null when
 * there is none and when memory is refused. */
ZK_API StrList *ZK_CALL zk_Env_split(const char *text);

/* The value of the setting that is named between percent signs at `position`, which is moved behind
 * the second sign, or to the end of the text where that is missing. The value is that of the
 * session variable, else of the variable of "GENERAL" in zk.ini, else of the process environment;
 * "" when there is none, for an empty name, and when memory is refused. Also "" when there is no
 * "%" at `position`: it stays then. At most 511 characters, static. */
ZK_API const char *ZK_CALL zk_Env_expandVar(const char *text, int32_t *position);

/* The text with each "%NAME%" replaced so, and each "%%" by "%". Values stay as they are, percent
 * signs and all. "" for null. At most 511 characters, static. */
ZK_API const char *ZK_CALL zk_Env_expandStr(const char *text);

ZK_EXTERN_C_END
#endif
