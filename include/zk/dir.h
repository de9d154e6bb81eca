/* Directories and drives.
 *
 * Paths are those of zk/file.h: at most 511 characters, "\" and "/" both separate. A null or empty
 * path is a failure.
 *
 * Results: zk_Dir_create, zk_Dir_delete, zk_Dir_change and zk_Drive_set give 0 for success and -1
 * for failure; zk_Dir_exists and zk_Dir_deleteTree 1 and 0.
 */
#ifndef ZK_DIR_H
#define ZK_DIR_H

#include "zk/strlist.h"
#include "zk/types.h"

ZK_EXTERN_C_BEGIN

/* 1 when the application component says that the directory exists. Without a component always 0;
 * zk_File_hasAccess with mode 0 asks the system. */
ZK_API int ZK_CALL zk_Dir_exists(const char *path);

/* The current directory; "" when it cannot be told or is longer than 511 characters. Static. On
 * Linux it is spelled as there ("/home/x"). */
ZK_API const char *ZK_CALL zk_Dir_current(void);

/* Creates every directory along the path that does not exist yet, with its name in lower case. The
 * application component refreshes its view of the path before.
 * 0 when the last directory that had to be created was; -1 when it could not be, and also when
 * nothing had to be created: -1 alone does not mean failure. */
ZK_API int ZK_CALL zk_Dir_create(const char *path);

/* Removes an empty directory. */
ZK_API int ZK_CALL zk_Dir_delete(const char *path);

/* Makes a directory, and the drive that the path begins with, the current one. A separator at the
 * end is ignored, except that of a root ("C:\"). "C:" alone changes the drive only; a drive that is
 * no letter is a failure, one that does not exist is not. On failure the current drive may have
 * changed. On Linux no drive is current: "C:" alone changes nothing. */
ZK_API int ZK_CALL zk_Dir_change(const char *path);

/* The directory above, as an absolute path with its separator at the end: "c:\a\b\" gives "c:\a\",
 * "c:\a" gives "c:\". Null for a drive or root, a path of more than 511 characters and refused
 * memory. Static. */
ZK_API const char *ZK_CALL zk_Dir_getParent(const char *path);

/* Files and directories that match a pattern (see zk_File_findFirst), each as the pattern's
 * directory part and the name, in lower case, ordered by name; "." and ".." are left out. A new
 * list for zk_StrList_destroy; call zk_StrList_start first. Null when nothing matches or memory is
 * refused. */
ZK_API StrList *ZK_CALL zk_Dir_list(const char *pattern);

/* Deletes a directory with everything in it. Links are removed, not followed. 1 when the directory
 * is gone. 0 when it is not there or something could not be deleted (a file with the read-only
 * mark, refused memory); what could be is gone then. A drive or root is refused: 0, nothing done.
 */
ZK_API int ZK_CALL zk_Dir_deleteTree(const char *directory);

/* The number of a drive: 1 for 'A' and 'a'. Of any other character its upper-case code - 64. */
ZK_API int ZK_CALL zk_Drive_num(char letter);

/* Makes a drive the current one. -1 for a number below 1; else 0, also when there is no such drive.
 * On Linux nothing changes. */
ZK_API int ZK_CALL zk_Drive_set(int number);

/* Always -1: the current drive is not reported. */
ZK_API int ZK_CALL zk_Drive_get(void);

ZK_EXTERN_C_END
#endif
