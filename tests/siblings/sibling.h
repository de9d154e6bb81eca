/* What the siblings of these tests take and give: as many kinds of arguments and results as there
 * are. Those that give a text write into it what they got. */
#ifndef ZK_TESTS_SIBLING_H
#define ZK_TESTS_SIBLING_H

#include <stdint.h>

typedef struct {
  double number;
  int64_t whole;
  char text[20];
} LargeRecord;

typedef struct {
  double x, y;
} SmallRecord;

typedef const char *AlertFn(const char *text, const char *caption);
typedef const char *IntegersFn(int a, int b, int c, int d, int e, int f, int g, int h, int i,
                               int64_t j);
typedef const char *DoublesFn(double a, double b, double c, double d, double e, double f, double g,
                              double h, double i, double j);
typedef const char *VariableFn(const char *format, ...);
typedef const char *MixedFn(signed char a, double b, const char *c, float d, int64_t e, void *f,
                            short g, long double h, double i, double j, double k, double l,
                            double m, double n, float o, int p, int64_t q);
typedef const char *RecordsFn(LargeRecord large, int count, SmallRecord small);
typedef double DoubleFn(double value);
typedef float FloatFn(float value);
typedef int64_t WideFn(int64_t value);
typedef LargeRecord LargeFn(int value);
typedef SmallRecord SmallFn(double value);
typedef void *PointerFn(void *value);
/* What is missing of the stack's alignment to 16 bytes. */
typedef int AlignmentFn(void);
/* The last alert's text and caption. */
typedef const char *LastAlertFn(void);

#endif
