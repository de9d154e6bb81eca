/* Diagnostics: trace lines that the library and its hosts write to the console or a log file.
 *
 * A family traces when the level is at least 3 (the message catalogue: 2) and the condition has the
 * family's bit. With the defaults nothing is traced. A line is the lower-case file name of the
 * module, the line number in parentheses and the message:
 *
 *     lnklist.cpp (120) Entering zk_LnkList_insEnd.
 *
 * A host writes a line of its own with zk_Diag_putOutputMsg, or formats it into the shared buffer:
 *
 *     n = sprintf(zk_Diag_getDiagMsgBuf(), "%d records", count);
 *     zk_Diag_putOutput(n, zk_Diag_getDiagMsgBuf(), "SRC\\HOST.cpp", __LINE__);
 *
 * Writing a line takes no memory from the allocator (zk/memory.h). Lines on standard output are
 * flushed, and the log is opened and closed for every line, so both are complete if the process
 * dies.
 */
#ifndef ZK_DIAG_H
#define ZK_DIAG_H

#include <stdio.h>

#include "zk/types.h"

ZK_EXTERN_C_BEGIN

/* Output modes. */
enum {
  ZK_DIAG_OUTPUT_NONE = 0,
  ZK_DIAG_OUTPUT_CONSOLE = 1, /* standard output */
  ZK_DIAG_OUTPUT_FILE = 2,
  ZK_DIAG_OUTPUT_BOTH = 3
};

/* Condition bits. */
#define ZK_DIAG_STRLIST 0x00000002u /* string lists */
#define ZK_DIAG_LNKLIST 0x00000004u /* linked lists */
#define ZK_DIAG_POINT 0x00000008u   /* points */
#define ZK_DIAG_MATRIX 0x00000010u  /* matrices, rotations, transformations, quaternions */
#define ZK_DIAG_VECTOR 0x00000020u  /* vectors */
#define ZK_DIAG_ARRAY 0x00000040u   /* arrays */
#define ZK_DIAG_NTUPLE 0x00000080u  /* n-tuples */
#define ZK_DIAG_DBFLD 0x00000200u   /* record field nodes */
#define ZK_DIAG_MSG 0x00000400u     /* the message catalogue, from level 2 */
#define ZK_DIAG_TREE 0x00200000u    /* tree nodes and tree lists */

/* ---- The state, exported as data. Hosts may read it; the functions below change it. ------------
 */

ZK_DATA int16_t ZK_DiagCurrentOutput;     /* output mode, initially console */
ZK_DATA int16_t ZK_DiagCurrentLevel;      /* 0 (initially: off) to 3 */
ZK_DATA uint32_t ZK_DiagCurrentCondition; /* bits of the families that may trace, initially 0 */
ZK_DATA FILE *ZK_DiagOutputStream;        /* of the last opening of the log; closed, not for use */
ZK_DATA char *ZK_DiagCurrentFileName;     /* the log's name, initially null */

/* The one shared message buffer: 4096 characters and a terminator. */
#if defined(ZK_BUILDING_LIBRARY)
ZK_DATA char ZK_DiagMsgBuf[]; /* its definition has room for the terminator as well */
#else
ZK_DATA char ZK_DiagMsgBuf[4096];
#endif

/* ---- Where lines go ----------------------------------------------------------------------------
 */

/* Stores the mode as it is, without a check, and returns it. A file mode without a file name is
 * found out by the next line, which acts as for a log that cannot be opened. */
ZK_API int16_t ZK_CALL zk_Diag_setDiagOutput(int16_t mode);
ZK_API int16_t ZK_CALL zk_Diag_getDiagOutput(void);

/* Sets the mode and, for the file modes, names and empties the log file. A null or empty name
 * stands for "ZK_DIAG.LOG" in the current directory, which is announced on standard output. The
 * console modes 0 and 1 ignore the name. 1; 0 for a log that cannot be created (reported on
 * standard error) or an unknown mode: the mode is then console. 0 with everything as it was when
 * memory is refused. */
ZK_API int ZK_CALL zk_Diag_setOutput(int16_t mode, const char *fileName);

/* Returns the mode. `fileName` (room for 512 bytes) receives the log's name in the file modes, cut
 * to 511 characters, else "". A null `fileName` receives nothing. */
ZK_API int16_t ZK_CALL zk_Diag_getOutput(char *fileName);

/* Names the log file; opens nothing and leaves the mode alone. Null or "" leaves it without a name.
 * When memory is refused the old name stays. */
ZK_API void ZK_CALL zk_Diag_setFileName(const char *fileName);

/* The log's name or null. It belongs to the library and is released when another one is set. A host
 * that stores a pointer of its own in ZK_DiagCurrentFileName keeps owning it, and it is then opened
 * as it stands, without the translation that file names otherwise get on Linux. */
ZK_API const char *ZK_CALL zk_Diag_getFileName(void);

/* The stream is only kept: lines are never written to it. set returns its argument. */
ZK_API FILE *ZK_CALL zk_Diag_setOutputStream(FILE *stream);
ZK_API FILE *ZK_CALL zk_Diag_getOutputStream(void);

/* ---- What is traced ----------------------------------------------------------------------------
 */

ZK_API int16_t ZK_CALL zk_Diag_getLevel(void);

/* For 0 to 3 stores the level and returns the previous one; otherwise returns the level, which
 * stays. */
ZK_API int16_t ZK_CALL zk_Diag_setLevel(int16_t level);

ZK_API uint32_t ZK_CALL zk_Diag_getCondition(void);

/* Stores the condition bits and returns the previous ones. */
ZK_API uint32_t ZK_CALL zk_Diag_setCondition(uint32_t condition);

/* Level 0 and no condition bits. Returns the previous condition bits. */
ZK_API uint32_t ZK_CALL zk_Diag_disable(void);

/* ---- Writing a line ----------------------------------------------------------------------------
 */

/* The shared message buffer, never null. */
ZK_API char *ZK_CALL zk_Diag_getDiagMsgBuf(void);

/* Writes one line with `message`, which is left in the shared buffer, whatever the level and
 * condition are: the caller tests those. `sourceFile` is a path of which the file name is printed
 * in lower case. Nothing for a null or empty message.
 *
 * A message over 4096 characters is cut; but at level 3 with any condition bit set it is dropped,
 * and in its place stand two lines "Buffer size 5000 too big for diagnostics in host.cpp at 12",
 * one from the library's own module and one under the caller's name. The shared buffer then holds
 * that warning.
 *
 * When the log cannot be opened the line goes to no file, the reason to standard error, and the
 * mode becomes console. */
ZK_API void ZK_CALL zk_Diag_putOutputMsg(const char *message, const char *sourceFile, int32_t line);

/* The same for the text that is already in the shared buffer, of `length` characters. `message` is
 * not read. */
ZK_API void ZK_CALL zk_Diag_putOutput(int32_t length, const char *message, const char *sourceFile,
                                      int32_t line);

ZK_EXTERN_C_END
#endif
