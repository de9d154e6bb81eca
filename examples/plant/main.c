/* A host's view of the table functions: makes a table of piping items from a CSV file, reads it
 * back, indexes it, seeks in it and asks questions, moves an item to its place in the plant,
 * changes and deletes records and packs it.
 *
 *     plant_demo [DIRECTORY [CSV-FILE]]
 *
 * The table is made in the directory (default: the current one). HEAVIEST in the group PLANT of
 * zk.ini says how many of the heaviest items are shown; PLANT_<language>.dbf may translate the
 * messages. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "layout.h"
#include "zk_baselib.h"

#ifndef PLANT_CSV
#define PLANT_CSV "piping.csv"
#endif

enum { kPathSize = 512, kLineSize = 1024, kColumns = 9, kExclusive = 2 };

/* Tag numbers of the orders that makeIndex creates: 0 is the tag TAG000. */
enum { kByTag = 0, kByWeight = 1 };

typedef struct Column {
  const char *name;
  int32_t width;
  int32_t decimals;
  char type;
} Column;

/* In the order of the CSV file. A field name has at most 10 characters. */
static const Column kColumn[kColumns] = {
    {"TAG", 10, 0, 'C'},      {"DESCRIPT", 30, 0, 'C'}, {"LINE", 8, 0, 'C'},
    {"SIZE_MM", 4, 0, 'N'},   {"LENGTH", 8, 2, 'N'},    {"WEIGHT", 9, 2, 'N'},
    {"INSTALLED", 8, 0, 'D'}, {"INSULATED", 1, 0, 'L'}, {"NOTES", 10, 0, 'M'},
};

/* Says what failed, and why as the library tells it. Always 0, so that callers can return it. */
static int failed(const char *what) {
  fprintf(stderr, "plant_demo: %s: %s (%ld) %s\n", what, zk_DbError_text(), (long)zk_DbError_code(),
          zk_DbError_file());
  return 0;
}

/* ---- Settings and messages ---- */

/* A line in the user's language, where there is a message table for it. */
static void say(const char *text, const char *messageId) {
  printf("%s", zk_Msg(text, messageId, zk_Msg_setFormat(4)));
}

/* A number from the group PLANT of zk.ini; the fallback where it is not set. */
static int numberSetting(const char *name, int fallback) {
  const char *value = zk_Env_getIni("PLANT", name);
  return value != NULL ? atoi(value) : fallback;
}

/* ---- Making the table ---- */

/* The id of the new, empty table, or -1. Nobody else can open it: an index that is made then is
 * open with the table from now on, in every program. */
static int32_t createTable(const char *path) {
  DbFldList *fields = zk_DbFldList_create((char *)0);
  int32_t table;
  int i;
  for (i = 0; i < kColumns; i++) {
    zk_DbFldList_insEnd(fields, kColumn[i].name, NULL, kColumn[i].width, kColumn[i].decimals,
                        kColumn[i].type);
  }
  table = zk_Db_createDb(path, fields);
  zk_DbFldList_destroy(fields);
  if (table >= 0) {
    zk_Db_closeDb(table);
    table = zk_Db_openDbEx(path, kExclusive);
  }
  if (table < 0) failed(path);
  return table;
}

/* Cuts a line at its commas (the file has no quoted values). The number of values. */
static int splitLine(char *line, char *values[kColumns]) {
  int count = 0;
  while (line != NULL && count < kColumns) {
    char *comma = strchr(line, ',');
    values[count++] = line;
    if (comma != NULL) *comma++ = '\0';
    line = comma;
  }
  return count;
}

/* Tables keep a date as 8 digits: 2021-03-15 becomes 20210315. */
static void removeDashes(char *date) {
  char *to = date;
  for (; *date != '\0'; date++) {
    if (*date != '-') *to++ = *date;
  }
  *to = '\0';
}

/* Numbers are assigned as numbers, so that they stand right-aligned; all else is text. */
static int assignValue(int32_t table, const Column *column, char *value) {
  if (column->type == 'N') {
    return zk_Db_assignFldDouble(table, column->name, atof(value));
  }
  if (column->type == 'D') removeDashes(value);
  return zk_Db_assignFldStr(table, column->name, value);
}

static int appendLine(int32_t table, char *line) {
  char *values[kColumns];
  int i;
  if (splitLine(line, values) != kColumns) {
    fprintf(stderr, "plant_demo: a line without %d values\n", kColumns);
    return 0;
  }
  if (zk_Db_appendStart(table) != 0) return failed("appendStart");
  for (i = 0; i < kColumns; i++) {
    if (assignValue(table, &kColumn[i], values[i]) != 0) return failed(kColumn[i].name);
  }
  return zk_Db_append(table) == 0 ? 1 : failed("append");
}

static int appendFile(int32_t table, const char *csvFile) {
  char line[kLineSize + 1];
  int ok = 1;
  FILE *stream = fopen(csvFile, "r");
  if (stream == NULL) {
    perror(csvFile);
    return 0;
  }
  zk_File_readLine(stream, line, kLineSize); /* the header line */
  while (ok && zk_File_readLine(stream, line, kLineSize) != 0) {
    if (line[0] != '\0') ok = appendLine(table, line);
  }
  fclose(stream);
  if (ok) printf("Appended %ld records\n", (long)zk_Db_getRecordCount(table));
  return ok;
}

/* ---- Reading it back ---- */

static const char *textOf(DbFldList *record, const char *name) {
  const DbFldNode *field = zk_DbFldList_findFld(record, name);
  return field != NULL && field->value != NULL ? field->value : "";
}

static void printItem(DbFldList *record) {
  printf("  %-7s %-28s %-7s %4s mm %8s m %9s kg\n", textOf(record, "TAG"),
         textOf(record, "DESCRIPT"), textOf(record, "LINE"), textOf(record, "SIZE_MM"),
         textOf(record, "LENGTH"), textOf(record, "WEIGHT"));
}

/* Adds up one line of the plant; 0 when the cursor has no item of it. */
static int printTotal(DbCursor *items, const char *line) {
  int count = 0;
  double length = 0.0;
  double weight = 0.0;
  for (zk_DbCursor_start(items); !zk_DbCursor_eol(items); zk_DbCursor_next(items)) {
    DbFldList *record = zk_DbCursor_getCurrFldList(items);
    if (strcmp(textOf(record, "LINE"), line) != 0) continue;
    count++;
    length += atof(textOf(record, "LENGTH"));
    weight += atof(textOf(record, "WEIGHT"));
  }
  printf("  %-7s %2d items %8.2f m %9.2f kg\n", line, count, length, weight);
  return count > 0;
}

/* Reads the whole table into a cursor and walks it. Without a template (the last argument) every
 * record comes with all its fields. */
static int showItems(int32_t table) {
  int shown;
  DbCursor *items = zk_Db_readTable(table, "piping", NULL);
  if (items == NULL) return failed("readTable");
  printf("Read back %lu items; the first four:\n", (unsigned long)zk_DbCursor_length(items));
  zk_DbCursor_start(items);
  for (shown = 0; shown < 4 && !zk_DbCursor_eol(items); shown++) {
    printItem(zk_DbCursor_getCurrFldList(items));
    zk_DbCursor_next(items);
  }
  say("Totals by line:", "PLANT_1");
  printTotal(items, "CW-100");
  printTotal(items, "HS-200");
  printTotal(items, "PR-300");
  zk_DbCursor_destroy(items);
  return 1;
}

/* ---- Orders, seeks and queries ---- */

/* The index file of the table's own name, with a tag for each expression. It is kept up to date by
 * every change of the table. */
static int makeIndex(int32_t table) {
  zk_Db_createNdx(table, "", "TAG,WEIGHT", 0);
  if (zk_DbError_code() != 0) return failed("createNdx");
  say("Indexed by TAG and by WEIGHT", "PLANT_2");
  return 1;
}

static void printCurrent(int32_t table) {
  DbFldList *record = zk_Db_readRec(table, NULL);
  printItem(record);
  zk_DbFldList_destroy(record);
}

/* Backward from the greatest key. */
static int showHeaviest(int32_t table, int count) {
  int status = zk_Db_botRec(table, kByWeight);
  printf("The heaviest %d:\n", count);
  for (; status == 0 && count > 0; count--) {
    printCurrent(table);
    status = zk_Db_prevRec(table, kByWeight);
  }
  return status >= 0 ? 1 : failed("prevRec");
}

static int seekItem(int32_t table, const char *key) {
  const int status = zk_Db_seekStr(key, table, kByTag);
  if (status < 0) return failed("seekStr");
  if (status == 0) {
    printf("Seeking %s: found\n", key);
  } else {
    printf("Seeking %s: not there, %s\n", key, status == 2 ? "the next one is" : "nor one behind");
  }
  if (status == 0 || status == 2) printCurrent(table);
  return 1;
}

static int showMatches(int32_t table, const char *condition) {
  DbCursor *items = zk_Db_query(table, condition, "piping", NULL);
  if (items == NULL && zk_DbError_code() != 0) return failed("query");
  printf("%lu items with %s:\n", (unsigned long)zk_DbCursor_length(items), condition);
  for (zk_DbCursor_start(items); !zk_DbCursor_eol(items); zk_DbCursor_next(items)) {
    printItem(zk_DbCursor_getCurrFldList(items));
  }
  zk_DbCursor_destroy(items);
  return 1;
}

static int layOutItem(int32_t table, const char *tag) {
  if (zk_Db_seekStr(tag, table, kByTag) != 0) return failed(tag);
  return showLayout(table) || failed("layout");
}

/* ---- Changing it ---- */

/* Makes the record with that tag the current one; 0 when there is none. A seek also finds a key
 * that only begins so. */
static int findItem(int32_t table, const char *tag) {
  if (zk_Db_seekStr(tag, table, kByTag) == 0 && strcmp(zk_Db_getFldStr(table, "TAG"), tag) == 0) {
    return 1;
  }
  fprintf(stderr, "plant_demo: no item %s\n", tag);
  return 0;
}

static int lengthenPipe(int32_t table, const char *tag) {
  double before;
  if (!findItem(table, tag)) return 0;
  before = zk_Db_getFldDouble(table, "LENGTH");
  zk_Db_assignFldDouble(table, "LENGTH", before + 1.25);
  zk_Db_assignFldStr(table, "NOTES", "Extended by 1.25 m to the new pump; see drawing CW-100-07.");
  if (zk_Db_writeRec(table) != 0 || zk_DbError_code() != 0) return failed("writeRec");
  printf("Changed %s: length %.2f m is now %.2f m\n", tag, before,
         zk_Db_getFldDouble(table, "LENGTH"));
  printf("  its note: %s\n", zk_Db_getFldStr(table, "NOTES"));
  return 1;
}

/* Deleting only marks a record: it can be recalled until the table is packed. */
static int deleteItem(int32_t table, const char *tag) {
  if (!findItem(table, tag) || zk_Db_delRec(table) != 0) return 0;
  printf("Marked %s as deleted: %s\n", tag, zk_Db_getFldStr(table, "DESCRIPT"));
  return 1;
}

static int recallItem(int32_t table, const char *tag) {
  if (!findItem(table, tag) || zk_Db_undelRec(table) != 0) return 0;
  printf("Recalled %s after all\n", tag);
  return 1;
}

static int packTable(int32_t table) {
  const int32_t before = zk_Db_getRecordCount(table);
  if (zk_Db_packDb(table) != 0) return failed("packDb");
  printf("Packed: %ld records before, %ld now\n", (long)before, (long)zk_Db_getRecordCount(table));
  return 1;
}

static int useTable(int32_t table, const char *csvFile) {
  return appendFile(table, csvFile) && showItems(table) && makeIndex(table) &&
         showHeaviest(table, numberSetting("HEAVIEST", 3)) && seekItem(table, "V-2006") &&
         seekItem(table, "P-2005") && showMatches(table, "WEIGHT >= 100 .AND. LINE = 'CW'") &&
         layOutItem(table, "V-2006") && lengthenPipe(table, "P-1008") &&
         deleteItem(table, "T-2008") && deleteItem(table, "V-3006") &&
         deleteItem(table, "P-3009") && recallItem(table, "V-3006") && packTable(table) &&
         seekItem(table, "P-3009");
}

int main(int argc, char **argv) {
  char path[kPathSize];
  const char *csvFile = argc > 2 ? argv[2] : PLANT_CSV;
  int32_t table;
  int ok;
  snprintf(path, sizeof path, "%s/piping.dbf", argc > 1 ? argv[1] : ".");
  printf("ZK_BASELIB %s makes %s from %s\n", zk_Lib_version(), path, csvFile);
  table = createTable(path);
  if (table < 0) return EXIT_FAILURE;
  ok = useTable(table, csvFile);
  if (zk_Db_closeDb(table) != 0) ok = failed("closeDb");
  if (ok) printf("Done. To look at the table: zktool cat %s --order TAG000\n", path);
  return ok ? EXIT_SUCCESS : EXIT_FAILURE;
}
