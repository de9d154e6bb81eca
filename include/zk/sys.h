/* The well-known directories of an installation, processes, versions, and a few switches of the
 * process.
 *
 * Settings are looked for as the functions say: session variables (zk_Env_setSes), then the group
 * "GENERAL" of the file "zk.ini" (zk_Env_getIni).
 */
#ifndef ZK_SYS_H
#define ZK_SYS_H

#include "zk/types.h"

ZK_EXTERN_C_BEGIN

/* ---- Directories -------------------------------------------------------------------------------
 * Each writes a directory into `out`, a buffer of 512 bytes, and returns it (null for null): in
 * lower case, with a separator at its end, or "" where that is said. What would be longer is cut.
 * Whether the directory exists is not looked at unless stated. "" when memory is refused.
 *
 * The function whose name ends in "Name" writes the directory with a file name behind it, whose
 * letter case stays; `name` may be `out`, and null stands for "". */

/* The network (shared) directory: session variable or setting "JN"; else "". */
ZK_API char *ZK_CALL zk_Sys_getNetDir(char *out);
ZK_API char *ZK_CALL zk_Sys_getNetName(const char *name, char *out);

/* The work directory of this computer: session variable or setting "JNWS"; else the network
 * directory. */
ZK_API char *ZK_CALL zk_Sys_getLocalDir(char *out);
ZK_API char *ZK_CALL zk_Sys_getLocalName(const char *name, char *out);

/* The directory of specifications: session variable or setting "JNSPECS"; else "specs" in the
 * network directory. What was found elsewhere becomes the session variable. A `subDir` that is
 * neither null nor empty is appended as one more directory. */
ZK_API char *ZK_CALL zk_Sys_getSpecDir(char *out, const char *subDir);
ZK_API char *ZK_CALL zk_Sys_getSpecName(const char *name, char *out);

/* The directory of programs: setting "ZK_DEV_BIN_DIR", then setting "ZK_BIN_DIR"; else "bin" in the
 * network directory ("bin\" when that is empty). Session variables are not asked. */
ZK_API char *ZK_CALL zk_Sys_getBinDir(char *out);
ZK_API char *ZK_CALL zk_Sys_getBinName(const char *name, char *out);

/* The directory of programs for one version of the host: the session variable "ACADVER" names a
 * directory in that of zk_Sys_getBinDir, created when missing; without the variable it is that
 * directory itself. A `subDir` that is neither null nor empty is appended as one more directory. */
ZK_API char *ZK_CALL zk_Sys_getVersionBinName(const char *name, const char *subDir, char *out);

/* The directory for temporary files: session variable or setting "JNTMP" (which becomes the session
 * variable); else "jntmp" in the work directory.
 *
 * With `perSession` not 0 it is the session's own directory in there, created when missing. Its
 * name is the session variable "JNSES". Where that is not set, the first number from 1 to 999 for
 * which there is no directory yet becomes its value; processes that do this at the same time get
 * different numbers. When all are taken, it is the common directory. */
ZK_API char *ZK_CALL zk_Sys_getTempDir(char *out, int perSession);
ZK_API char *ZK_CALL zk_Sys_getTempName(const char *name, char *out);

/* The configuration directory that the application component reports; "" without a component. */
ZK_API char *ZK_CALL zk_Sys_getCfgDir(char *out);
ZK_API char *ZK_CALL zk_Sys_getCfgName(const char *name, char *out);

/* ---- Processes ---------------------------------------------------------------------------------
 */

/* Starts a program. `program` is a path or a name that the system looks for (Linux: on PATH), and
 * may have arguments behind it; `arguments` (null or "": none) follow, separated by blanks. Parts
 * in double quotes keep their blanks, \" is a quote; no shell is involved. With `wait` not 0 the
 * call returns when the program has ended (Windows: messages are dispatched meanwhile, and the wait
 * ends when the application is asked to quit).
 *
 * 1 when the program was started; 0 when not, also for a null or empty program. Where something
 * went wrong, and then only, `errorText` receives a message ("Unable to start the new process:")
 * and the system's text for the error, at most `errorTextSize` characters; null: nothing is
 * written. A program that runs but whose handle cannot be closed counts as started, and has a
 * message. */
ZK_API int ZK_CALL zk_Sys_createProcess(const char *program, const char *arguments, int wait,
                                        char *errorText, int32_t errorTextSize);

/* Opens a text file in Notepad (Linux: in the program that the desktop has for it, started through
 * "xdg-open"; the file must exist). Does not wait. 1 when that was started. */
ZK_API int ZK_CALL zk_Global_openFileinNotepad(const char *path);

/* ---- Versions ----------------------------------------------------------------------------------
 */

/* The file version of a loaded module ("ZK_BASELIB"): four numbers of at least two digits,
 * "02.10.00.117". Each is a signed 16-bit number. Static; null when no such module is loaded, or it
 * has no version resource (on Linux none has), or memory is refused. */
ZK_API const char *ZK_CALL zk_Sys_getVersionNumber(const char *module);

/* The version texts "FileVersion" and "ProductVersion" of a loaded module, in the first language of
 * its version resource; at most 511 characters. Static, one buffer each; null as above. */
ZK_API const char *ZK_CALL zk_Global_getModuleFileVersion(const char *module);
ZK_API const char *ZK_CALL zk_Global_getModuleProductVersion(const char *module);

/* The version of the first installed product of that name, ignoring case; at most 511 characters:
 * "DisplayVersion" of the uninstall record with that "DisplayName" or, on Linux, of the installed
 * package (see zk_Host_setProductDatabase). Static; null when there is none, it has no version, or
 * memory is refused. */
ZK_API const char *ZK_CALL zk_Sys_getProductVersion(const char *displayName);

/* ---- Switches ----------------------------------------------------------------------------------
 */

/* The setting "ShowModeSelectionGUI" as a number; 0 when there is none. set stores it in "zk.ini":
 * 1, or 0 when it cannot be stored (without an application component never). */
ZK_API int ZK_CALL zk_Sys_getShowModeSelectGUI(void);
ZK_API int ZK_CALL zk_Sys_setShowModeSelectGUI(int show);

/* The process's application group, at most 511 characters; "" at first and after null. set: 1. */
ZK_API int ZK_CALL zk_Sys_setApplicationGroup(const char *name);
ZK_API const char *ZK_CALL zk_Sys_getApplicationGroup(void);

/* Remembers whether the save events of a drawing are ignored, for the one drawing named last: 1; 0
 * for null, which changes nothing. IsSaveIgnored gives that flag back for the same name, ignoring
 * case, and 0 for any other. Names are compared over 511 characters. */
ZK_API int ZK_CALL zk_Drawing_IgnoreSaveEvents(const char *drawingName, int flag);
ZK_API int ZK_CALL zk_Drawing_IsSaveIgnored(const char *drawingName);

/* Releases the application component, and forgets that one could not be created: the next use
 * creates it again. 1. */
ZK_API int ZK_CALL zk_Global_destroyData(void);

/* The name of the base section of the application's configuration, "GENERAL": the group of "zk.ini"
 * in which settings are looked for. Constant. */
ZK_API const char *ZK_CALL zk_Merovin_getBaseSectionName(void);

ZK_EXTERN_C_END
#endif
