/* Files and file names.
 *
 * Paths are Windows-style: a drive letter with ":", directories and names parted by "\". A "/" is
 * understood as a separator, too; what the library adds is a "\". The extension is the text after
 * the last "." that follows the last separator. A path has at most 511 characters: buffers hold 512
 * bytes, and a result that would be longer is cut there.
 *
 * On Linux a drive letter stands for a directory (zk_Host_setDriveDirectory in zk/extras.h), and a
 * file that is not there as spelled is looked for without regard to case. A file without any write
 * bit is read-only, for the superuser as well.
 *
 * Results: mind the mixed sense. zk_File_copy and zk_File_append give 0 for success and 1 for
 * failure; zk_File_getTime, zk_File_findFirst and zk_File_findNext 0 for success; most others 1 for
 * success and 0 for failure. No messages are issued. A null or empty path is a failure.
 *
 * A "FILE *" comes from the C runtime that the library uses (msvcrt.dll on Windows).
 */
#ifndef ZK_FILE_H
#define ZK_FILE_H

#include <stdio.h>
#include <time.h>

#include "zk/strlist.h"
#include "zk/types.h"

ZK_EXTERN_C_BEGIN

/* ---- File names --------------------------------------------------------------------------------
 * These look at the text only. Those with a `char *path` work in place, in a buffer of at least 512
 * bytes, and return it (null for null). `out` may be `path` itself. */

/* Appends "\" unless the path is empty or ends with a separator. */
ZK_API char *ZK_CALL zk_Fname_fixDir(char *path);

/* Replaces the extension, or appends one; `ext` with or without its ".". An empty `ext` leaves the
 * "." alone at the end ("a.txt" gives "a."), a null one changes nothing. */
ZK_API char *ZK_CALL zk_Fname_addExt(char *path, const char *ext);

/* As zk_Fname_addExt, but a null or empty `ext` removes the extension with its ".", and with
 * `replace` 0 a name that has an extension stays as it is. 1; 0 for a null path. */
ZK_API int ZK_CALL zk_Fname_modExt(char *path, const char *ext, int replace);

/* Puts the part up to and including the last separator or ":" into `out`. Its length; with a null
 * `out` the length only. */
ZK_API int32_t ZK_CALL zk_Fname_extractPath(const char *path, char *out);

/* Puts the extension without its "." into `out`, "" when there is none. Returns `out`. */
ZK_API char *ZK_CALL zk_Fname_extractExt(const char *path, char *out);

/* Removes what zk_Fname_extractPath extracts; the extension and its ".". */
ZK_API char *ZK_CALL zk_Fname_rmvPath(char *path);
ZK_API char *ZK_CALL zk_Fname_rmvExt(char *path);

/* Builds a name from its parts, adding the ":" behind the drive, the "\" behind the directory and
 * the "." before the extension where they are missing: "C", "tmp", "f", ".dat" gives "C:tmp\f.dat".
 * A null or empty part is skipped. `out` may be one of the parts. Returns `out`; null, with `out`
 * unchanged, when memory is refused. */
ZK_API char *ZK_CALL zk_Fname_build(char *out, const char *drive, const char *dir, const char *name,
                                    const char *ext);

/* Shortens a path to at most `width` bytes for display: directories behind the root give way to
 * "..." ("C:\...\dir\name.ext") until it fits; where not even the name does, the name alone is
 * left, cut with "..." at its end when it has to be (without the dots below a width of 4). No
 * character is cut in two. A path that fits is not changed; a width below 1 gives "". */
ZK_API char *ZK_CALL zk_Fname_abbreviate(char *path, int32_t width);

/* A name for a temporary file, "zk_" and five random digits. Static. Whether such a file exists is
 * not looked at. The host's rand() is neither used nor seeded. */
ZK_API const char *ZK_CALL zk_Fname_createTemp(void);

/* The absolute path without "." and "..": of a relative one from the current directory, which is
 * also what "" gives. A copy of the input when there is none or it is longer than 511 characters,
 * "" for null. Static. On Linux a path with drive and separator keeps them ("C:\a\..\b" gives
 * "C:\b"), any other becomes the system's own, with "/". */
ZK_API const char *ZK_CALL zk_Fname_fullPath(const char *path);

/* ---- Existence, access, times ------------------------------------------------------------------
 */

/* 1 when the path is a file; 0 for a directory. The application component answers; without one, the
 * disk. */
ZK_API int ZK_CALL zk_File_exists(const char *path);

/* Has the application component refresh its view of the path: 1. 0 when no component is available;
 * nothing happens then. */
ZK_API int ZK_CALL zk_File_revalidate(const char *path);

/* Whether a file or directory exists (mode 0) and can be written (2), read (4), or both (6). Any
 * other mode gives 0. */
ZK_API int ZK_CALL zk_File_hasAccess(const char *path, int mode);

/* zk_File_hasAccess with mode 2. */
ZK_API int ZK_CALL zk_File_isWriteEnabled(const char *path);

/* Sets and removes a file's read-only mark. 0 for a directory. */
ZK_API int ZK_CALL zk_File_setReadOnlyAccess(const char *path);
ZK_API int ZK_CALL zk_File_setReadWriteAccess(const char *path);

/* The length of an open stream in bytes, those not yet written out included; its position stays.
 * INT32_MAX for anything longer, -1 for null and on failure. */
ZK_API int32_t ZK_CALL zk_File_length(FILE *stream);

/* The time of the last modification. 0, or -1 with `time` unchanged. A time that the 32-bit time_t
 * of the Windows build cannot hold is a failure. */
ZK_API int ZK_CALL zk_File_getTime(const char *path, time_t *time);

/* Sets the times of the last access and the last modification. */
ZK_API int ZK_CALL zk_File_setTime(const char *path, time_t time);

/* -1 when the file `a` is older than `b` or cannot be read, 1 when it is newer or `b` cannot be
 * read, 0 when they are equally old. Whole seconds. */
ZK_API int ZK_CALL zk_File_cmpTime(const char *a, const char *b);

/* ---- Search ------------------------------------------------------------------------------------
 * The process has one search. Pattern: a directory part and a DOS wildcard ("*" any text, "?" one
 * character), case ignored; "*.*" matches every name, "*." those without extension. Found are files
 * and directories, but not "." and "..", in the order of their names, as the directory was when the
 * search began. */

/* Begins a search, ending one under way. 0 with the first name (without directory) in `name`, a
 * buffer of 512 bytes; -1 when nothing matches or memory is refused. */
ZK_API int ZK_CALL zk_File_findFirst(const char *pattern, char *name);

/* 0 with the next name in `name`; -1 when there are no more, which ends the search. */
ZK_API int ZK_CALL zk_File_findNext(char *name);

/* ---- Lines -------------------------------------------------------------------------------------
 * A line ends at a newline or at the end of the file. A carriage return before the newline does not
 * belong to it. What a line has beyond its longest length is read and thrown away. */

/* Reads a line of at most `size` characters into `buffer`, which holds size + 1 bytes, without its
 * line end. 1 when a line was read, an empty one included. 0 at the end of the file, on a read
 * error with nothing read, and for a null stream or a negative size; a null buffer skips the line.
 */
ZK_API int ZK_CALL zk_File_readLine(FILE *stream, char *buffer, int32_t size);

/* The lines of a text file, each up to 512 characters, as a new list for zk_StrList_destroy; call
 * zk_StrList_start first. zk_File_readFile turns each tab into a blank; zk_File_readFileExactly
 * changes nothing and keeps a newline at the end of each line (an empty one is "\n"). Null when the
 * file cannot be read or is empty, and when memory is refused. */
ZK_API StrList *ZK_CALL zk_File_readFile(const char *path);
ZK_API StrList *ZK_CALL zk_File_readFileExactly(const char *path);

/* ---- Copying, moving, deleting ------------------------------------------------------------------
 * Files are the same when they are one file on disk, whatever their names. Afterwards the
 * application component, where there is one, refreshes its view of the files (see
 * zk_File_revalidate); for zk_File_deleteSingle before. */

/* Copies contents and modification time; an existing destination is overwritten. 0, or 1 on
 * failure. Copying a file onto itself, or onto its name in another case, is a failure that changes
 * nothing. A copy that fails half way (disk full) is removed. */
ZK_API int ZK_CALL zk_File_copy(const char *source, const char *destination);

/* Copies from the source's position to its end, to the destination's position. 1; 0 on an error and
 * when both work on the same file. */
ZK_API int ZK_CALL zk_File_copyRest(FILE *destination, FILE *source);

/* Appends the source's contents to the destination, which is created where there is none. 0, or 1
 * when either cannot be opened, both are the same, or writing fails; the destination is then as it
 * was. */
ZK_API int ZK_CALL zk_File_append(const char *destination, const char *source);

/* Gives the source the destination's name, replacing a file that has it in one step. Across devices
 * the file is copied and then deleted. 1; 0 when there is no source, or the destination is a
 * directory or read-only. Moving a file onto itself is a success that changes nothing. */
ZK_API int ZK_CALL zk_File_move(const char *source, const char *destination);

/* Deletes every file that matches a pattern (see Search; directories stay), or, with a non-zero
 * `listFlag`, every file that a line of the text file `pattern` names. Read-only files stay. The
 * search of zk_File_findFirst is not disturbed. 1 when at least one file was deleted. */
ZK_API int ZK_CALL zk_File_delete(const char *pattern, int listFlag);

/* Deletes one file: 1, or 0 when there is none or it is read-only or a directory. */
ZK_API int ZK_CALL zk_File_deleteSingle(const char *path);

/* Creates an empty file where there is none. 1, also when the file exists. */
ZK_API int ZK_CALL zk_File_create(const char *path);

/* ---- Pieces ------------------------------------------------------------------------------------
 * The pieces of "dir\a.dat" are "dir\a.1", "dir\a.2", ... */

/* Splits a file into pieces of `pieceSize` bytes; the file stays. A last piece that is full is
 * followed by an empty one: 10 bytes in pieces of 5 give three. The number of pieces. 0 when the
 * file or memory is not available, a piece would overwrite the file, a piece cannot be written
 * (what was written is removed), or the size is below 1. Older pieces with higher numbers stay. */
ZK_API int32_t ZK_CALL zk_File_slice(const char *path, int32_t pieceSize);

/* Writes `path` anew from pieces 1, 2, 3, ... as far as they exist, and deletes them. The number of
 * pieces. 0 when there is no piece 1 or `path` is a piece itself: nothing is changed; also when
 * reading or writing fails: then all pieces are still there, and `path` is gone. */
ZK_API int32_t ZK_CALL zk_File_mend(const char *path);

/* ---- Names of files elsewhere -------------------------------------------------------------------
 */

/* The network name of a path on a mapped drive ("N:\a" gives "\\server\share\a"); the path itself
 * when it has no drive or the drive is not mapped (on Linux always), "" for null. Static. */
ZK_API const char *ZK_CALL zk_File_getUNCPathName(const char *path);

/* `path` relative to the directory `base`: ".." for each directory of `base` that they do not
 * share, then the rest of `path`, with "\". Both are made absolute first, and case is ignored. ""
 * when they are the same; `path` itself when they have no drive in common or `base` is null.
 * Static. */
ZK_API const char *ZK_CALL zk_File_getRelativeFilename(const char *base, const char *path);

/* ---- Scrambling --------------------------------------------------------------------------------
 * Each byte is XORed with an entry of a fixed table of 512: applied twice it gives back the file,
 * so both functions are the same. It hides text from a casual look and protects nothing. */

/* Scrambles the source into the destination. 1; 0 when either cannot be opened (without a source
 * the destination is left empty), writing fails (likewise), or both are the same file, which is
 * then left alone. */
ZK_API int ZK_CALL zk_File_encrypt(const char *destination, const char *source);
ZK_API int ZK_CALL zk_File_decrypt(const char *destination, const char *source);

ZK_EXTERN_C_END
#endif
