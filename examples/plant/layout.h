#ifndef PLANT_LAYOUT_H
#define PLANT_LAYOUT_H

#include <stdint.h>

/* Places the table's current record, moves it and prints what became of it. 1, or 0. */
int showLayout(int32_t table);

#endif
