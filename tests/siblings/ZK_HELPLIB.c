#include <stdarg.h>
#include <stdio.h>

#include "sibling.h"

static char got[512];

PointerFn zk_Help_Initialize;
void *zk_Help_Initialize(void *value) { return value; }

VariableFn zk_Help_DisplayTopic;
const char *zk_Help_DisplayTopic(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(got, sizeof got, format, arguments);
  va_end(arguments);
  return got;
}

DoubleFn zk_Help_DisplayContext;
double zk_Help_DisplayContext(double value) { return -value; }
