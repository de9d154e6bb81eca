/* A host that knows nothing but the DLL's file name: windows_host PATH-OF-THE-DLL. It runs in an
 * empty folder. Built with stacks aligned to 4 bytes only, as old compilers leave them. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

typedef int (*Create)(const char *, void *);
typedef void *(*CreateList)(const char *, ...);
typedef int (*InsertField)(void *, const char *, const char *, int, int, char);
typedef int (*OfTable)(int);
typedef int (*AssignText)(int, const char *, const char *);
typedef int (*Open)(const char *);
typedef void *(*Query)(int, const char *, const char *, void *);
typedef int (*OfList)(void *);
typedef void *(*ListOf)(void *);
typedef const char *(*TextOf)(void *, const char *);
typedef int (*SetAllocator)(void *(*)(size_t), void *(*)(void *, size_t), void *(*)(size_t, size_t),
                            void (*)(void *));

static HMODULE library;
static int allocations;

static void check(int holds, const char *what) {
  if (holds) return;
  fprintf(stderr, "windows_host: %s (error %lu)\n", what, GetLastError());
  exit(1);
}

/* The function of that name, called with whatever type it is converted to. */
static void (*find(const char *name))(void) {
  void (*const function)(void) = (void (*)(void))GetProcAddress(library, name);
  check(function != NULL, name);
  return function;
}

static short *diagLevel(void) {
  return (short *)(UINT_PTR)GetProcAddress(library, "ZK_DiagCurrentLevel");
}

static void makeTable(void) {
  static const struct {
    const char *part, *weight;
  } kParts[] = {{"ELBOW", "12.5"}, {"FLANGE", "7.25"}, {"VALVE", "40"}};
  void *fields = ((CreateList)find("zk_DbFldList_create"))(NULL);
  int table;
  size_t i;
  ((InsertField)find("zk_DbFldList_insEnd"))(fields, "PART", NULL, 12, 0, 'C');
  ((InsertField)find("zk_DbFldList_insEnd"))(fields, "WEIGHT", NULL, 8, 2, 'N');
  table = ((Create)find("zk_Db_createDb"))("PARTS", fields);
  check(table >= 0, "creating the table");
  ((OfList)find("zk_DbFldList_destroy"))(fields);
  for (i = 0; i < sizeof kParts / sizeof *kParts; ++i) {
    const AssignText assign = (AssignText)find("zk_Db_assignFldStr");
    check(((OfTable)find("zk_Db_appendStart"))(table) == 0, "starting a record");
    check(assign(table, "PART", kParts[i].part) == 0, "assigning PART");
    check(assign(table, "WEIGHT", kParts[i].weight) == 0, "assigning WEIGHT");
    check(((OfTable)find("zk_Db_append"))(table) == 0, "appending");
  }
  check(((OfTable)find("zk_Db_closeDb"))(table) == 0, "closing the new table");
}

static void queryTable(void) {
  char found[100] = "";
  void *rows;
  const int table = ((Open)find("zk_Db_openDb"))("parts.dbf");
  check(table >= 0, "opening");
  rows = ((Query)find("zk_Db_query"))(table, "WEIGHT > 10 .AND. WEIGHT * 2 <= 80", "parts", NULL);
  check(rows != NULL, "querying");
  for (((OfList)find("zk_DbCursor_start"))(rows); !((OfList)find("zk_DbCursor_eol"))(rows);
       ((OfList)find("zk_DbCursor_next"))(rows)) {
    void *row = ((ListOf)find("zk_DbCursor_getCurrFldList"))(rows);
    strcat(found, ((TextOf)find("zk_DbFldList_getFldVal"))(row, "part"));
    strcat(found, " ");
  }
  check(strcmp(found, "ELBOW VALVE ") == 0, found);
  ((OfList)find("zk_DbCursor_destroy"))(rows);
  check(((OfTable)find("zk_Db_closeDb"))(table) == 0, "closing");
}

static void *countingAllocate(size_t size) {
  ++allocations;
  return malloc(size);
}

/* The library knows this program's malloc, a jump through the import table, for the standard one,
 * which cannot be put back. */
static void setAllocators(void) {
  const SetAllocator set = (SetAllocator)find("zk_MemoryManager_set");
  set(countingAllocate, realloc, calloc, free);
  set(malloc, realloc, calloc, free);
}

static int filesHere(void) {
  WIN32_FIND_DATAA found;
  int count = 0;
  const HANDLE search = FindFirstFileA("*", &found);
  if (search == INVALID_HANDLE_VALUE) return 0;
  do count += strcmp(found.cFileName, ".") != 0 && strcmp(found.cFileName, "..") != 0;
  while (FindNextFileA(search, &found));
  FindClose(search);
  return count;
}

/* Loading does nothing that anybody can see, any number of times. */
static void loadOften(const char *dll) {
  char before[MAX_PATH];
  char after[MAX_PATH];
  int i;
  GetCurrentDirectoryA(sizeof before, before);
  for (i = 0; i < 3; ++i) {
    library = LoadLibraryA(dll);
    check(library != NULL, "loading");
    check(GetProcAddress(library, "zk_Db_query@16") == NULL, "a decorated name is exported");
    check(*diagLevel() == 0, "not as at first");
    *diagLevel() = 3;
    check(FreeLibrary(library), "unloading");
    check(GetModuleHandleA("ZK_BASELIB.dll") == NULL, "it stays loaded");
  }
  GetCurrentDirectoryA(sizeof after, after);
  check(strcmp(before, after) == 0, "the current directory has changed");
  check(filesHere() == 0, "loading left files");
}

/* Calls with the stack moved by `words` words. */
static void runAt(size_t words) {
  volatile int *place = (volatile int *)__builtin_alloca(4 * words + 4);
  place[words] = 0;
  makeTable();
  queryTable();
}

int main(int argc, char **argv) {
  size_t words;
  check(argc == 2, "usage: windows_host PATH-OF-THE-DLL");
  loadOften(argv[1]);
  library = LoadLibraryA(argv[1]);
  check(library != NULL, "loading");
  setAllocators();
  ((int (*)(void))find("zk_Db_init"))();
  for (words = 0; words < 4; ++words) runAt(words);
  check(allocations > 0, "the allocator was replaced by the standard one");
  check(((int (*)(void))find("zk_Db_closeAll"))() == 0, "closing all");
  check(DeleteFileA("PARTS.DBF") && filesHere() == 0, "a file stays behind");
  check(FreeLibrary(library), "unloading");
  return 0;
}
