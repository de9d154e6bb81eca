/* Dialogs, message boxes, busy indicators, list controls and help, which two sibling libraries
 * provide: the dialog library ZK_DLGLIB and the help library ZK_HELPLIB.
 *
 * Each function here transfers to the sibling's function of the same name. What that one takes and
 * gives is the sibling's matter: arguments and result pass through untouched, whatever their number
 * and kind (integers, floating point, pointers, records, variable arguments; not the wide vector
 * types of AVX, nor register calling conventions in 32-bit programs). So the declarations below are
 * open; a call with anything else than int, double and pointers, or with another result, needs the
 * function's true type:
 *
 *     typedef double(ZK_CALL *PartFn)(float part);
 *     PartFn setPart = (PartFn)(void (*)(void))zk_mfcDlgBusy_setText;
 *     setPart(0.5f);
 *
 * The sibling is looked for at every call: a module of that name that the process has loaded; else
 * the file ("ZK_DLGLIB.dll", on Linux "ZK_DLGLIB.so") in the directory of zk_Sys_getBinDir; else,
 * where that does not exist, wherever the system looks for libraries. Once loaded by this library
 * it stays loaded. The help library also needs the system's HTML component "mshtml.dll"; not on
 * Linux.
 *
 * When the dialog library cannot be loaded, a message (zk_Host_setMessagePresenter) says so at each
 * call; for the help library zk_mfcDlgAlert is called with two texts, message and caption. The call
 * then gives 0, and so does, without a message, a function that the sibling does not have: as an
 * integer or pointer, on 64-bit Linux also as a floating-point number.
 */
#ifndef ZK_BRIDGE_H
#define ZK_BRIDGE_H

#include "zk/types.h"

/* Whatever the sibling takes. */
#if defined(__cplusplus) || (defined(__STDC_VERSION__) && __STDC_VERSION__ >= 202311L)
#define ZK_ANYTHING ...
#else
#define ZK_ANYTHING
#endif

#if defined(__GNUC__) && !defined(__cplusplus)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wstrict-prototypes"
#endif

ZK_EXTERN_C_BEGIN

/* ---- The dialog library ---- */
ZK_API intptr_t ZK_CALL zk_mfcDlgAlert(ZK_ANYTHING);
ZK_API intptr_t ZK_CALL zk_mfcDlgFile(ZK_ANYTHING);
ZK_API intptr_t ZK_CALL zk_mfcDlgOpenFiles(ZK_ANYTHING);
ZK_API intptr_t ZK_CALL zk_mfcMsgBox(ZK_ANYTHING);
ZK_API intptr_t ZK_CALL zk_mfcDlgBusy_open(ZK_ANYTHING);
ZK_API intptr_t ZK_CALL zk_mfcDlgBusy_setText(ZK_ANYTHING);
ZK_API intptr_t ZK_CALL zk_mfcDlgBusy_close(ZK_ANYTHING);
ZK_API intptr_t ZK_CALL zk_ListCtrlBegin(ZK_ANYTHING);
ZK_API intptr_t ZK_CALL zk_ListCtrlAddRow(ZK_ANYTHING);
ZK_API intptr_t ZK_CALL zk_ListCtrlSelect(ZK_ANYTHING);
ZK_API intptr_t ZK_CALL zk_ListCtrlEnd(ZK_ANYTHING);
ZK_API intptr_t ZK_CALL zk_ListGetCurrentState(ZK_ANYTHING);
ZK_API intptr_t ZK_CALL zk_ListSetCurrentState(ZK_ANYTHING);
ZK_API intptr_t ZK_CALL zk_mfcDlg_getDirectorySelection(ZK_ANYTHING);
ZK_API intptr_t ZK_CALL zk_MfcDlg_setControlFont(ZK_ANYTHING);

/* ---- The help library ---- */
ZK_API intptr_t ZK_CALL zk_Help_Initialize(ZK_ANYTHING);
ZK_API intptr_t ZK_CALL zk_Help_DisplayTopic(ZK_ANYTHING);
ZK_API intptr_t ZK_CALL zk_Help_DisplayContext(ZK_ANYTHING);

ZK_EXTERN_C_END

#if defined(__GNUC__) && !defined(__cplusplus)
#pragma GCC diagnostic pop
#endif
#endif
