#include <stdarg.h>
#include <stdio.h>

#include "sibling.h"

static char got[512];
static char lastAlert[1024];

AlertFn zk_mfcDlgAlert;
const char *zk_mfcDlgAlert(const char *text, const char *caption) {
  snprintf(lastAlert, sizeof lastAlert, "%s|%s", text, caption);
  return lastAlert;
}

LastAlertFn zk_MfcDlg_setControlFont;
const char *zk_MfcDlg_setControlFont(void) { return lastAlert; }

IntegersFn zk_mfcDlgFile;
const char *zk_mfcDlgFile(int a, int b, int c, int d, int e, int f, int g, int h, int i,
                          int64_t j) {
  snprintf(got, sizeof got, "%d %d %d %d %d %d %d %d %d %.0f", a, b, c, d, e, f, g, h, i,
           (double)j);
  return got;
}

DoublesFn zk_mfcDlgOpenFiles;
const char *zk_mfcDlgOpenFiles(double a, double b, double c, double d, double e, double f, double g,
                               double h, double i, double j) {
  snprintf(got, sizeof got, "%g %g %g %g %g %g %g %g %g %g", a, b, c, d, e, f, g, h, i, j);
  return got;
}

VariableFn zk_mfcMsgBox;
const char *zk_mfcMsgBox(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(got, sizeof got, format, arguments);
  va_end(arguments);
  return got;
}

MixedFn zk_mfcDlgBusy_open;
const char *zk_mfcDlgBusy_open(signed char a, double b, const char *c, float d, int64_t e, void *f,
                               short g, long double h, double i, double j, double k, double l,
                               double m, double n, float o, int p, int64_t q) {
  snprintf(got, sizeof got, "%d %g %s %g %.0f %s %d %g %g %g %g %g %g %g %g %d %.0f", a, b, c,
           (double)d, (double)e, (const char *)f, g, (double)h, i, j, k, l, m, n, (double)o, p,
           (double)q);
  return got;
}

RecordsFn zk_mfcDlgBusy_setText;
const char *zk_mfcDlgBusy_setText(LargeRecord large, int count, SmallRecord small) {
  snprintf(got, sizeof got, "%g %.0f %s %d %g %g", large.number, (double)large.whole, large.text,
           count, small.x, small.y);
  return got;
}

DoubleFn zk_mfcDlgBusy_close;
double zk_mfcDlgBusy_close(double value) { return value / 2; }

FloatFn zk_ListCtrlSelect;
float zk_ListCtrlSelect(float value) { return value / 4; }

WideFn zk_ListCtrlAddRow;
int64_t zk_ListCtrlAddRow(int64_t value) { return value + 1; }

LargeFn zk_ListCtrlBegin;
LargeRecord zk_ListCtrlBegin(int value) {
  LargeRecord record = {value / 2.0, (int64_t)value << 32, "large"};
  return record;
}

SmallFn zk_ListGetCurrentState;
SmallRecord zk_ListGetCurrentState(double value) {
  SmallRecord record = {value, -value};
  return record;
}

AlignmentFn zk_ListSetCurrentState;
int zk_ListSetCurrentState(void) {
  _Alignas(16) volatile char aligned[16];
  aligned[0] = 0;
  return (int)((uintptr_t)aligned % 16);
}

PointerFn zk_mfcDlg_getDirectorySelection;
void *zk_mfcDlg_getDirectorySelection(void *value) { return value; }

/* zk_ListCtrlEnd is missing. */
