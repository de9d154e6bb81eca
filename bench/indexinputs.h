// The files that the works with indexes read: a table of the records with both keys, its index
// files, and the same in databases.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "records.h"
#include "works.h"

namespace zk::bench {

// The tags' names are their expressions.
constexpr const char *kTextTag = "CODE";
constexpr const char *kNumberTag = "NUMBER";
constexpr const char *kQuantityTag = "QUANTITY";

// What a seek looks for, and what it has to find.
struct Sought {
  char code[21];
  int32_t number;  // of the record, and its key
  int32_t quantity;
};

struct IndexInputs {
  std::string table;       // has no index of its own: the files below are opened when needed
  std::string keys;        // index file with the tags CODE and NUMBER
  std::string quantities;  // index file with the tag QUANTITY

  // Each with the pages that are best for what it is used for.
  std::string plainDatabase;     // without an index: large ones
  std::string codeDatabase;      // with an index on CODE: large ones
  std::string keysDatabase;      // with indexes on CODE and NUMBER: small ones
  std::string quantityDatabase;  // with an index on QUANTITY: small ones

  std::span<const Record> records;
  std::span<const Record> additional;  // none of which is in the files
  std::shared_ptr<const std::vector<Sought>> sought;

  std::string directory;
  std::string path(const char *name) const { return directory + "/" + name; }
};

// Writes the files into a directory of that name, the databases only when they are wanted, and
// checks that the tag CODE leads through all records in order.
std::shared_ptr<const IndexInputs> makeIndexInputs(const Setup &setup, const char *directory,
                                                   std::size_t count, bool withDatabases);

// Opens the table in that mode, with an index file or (null) without. Both are in the page cache
// then.
int32_t openTable(const IndexInputs &inputs, int mode, const std::string *index);
int32_t openTable(const std::string &table, int mode, const std::string *index);
// The number of a tag for the positioning operations.
int32_t tagNumber(int32_t id, const char *name);
// Creates an index file with one tag, called as its expression.
void createTag(int32_t id, const std::string &path, const char *name);

}  // namespace zk::bench
