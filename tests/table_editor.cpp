// table_editor TABLE MODE: changes that the command line has no commands for, a line of standard
// input each: "set RECORD FIELD VALUE", "delete RECORD", "recall RECORD". Everything is written in
// the end; the exit status is 1 after a failure, which is told.
#include <cstdlib>
#include <iostream>
#include <string>

#include "zk_baselib.h"

namespace {

bool apply(int32_t table, const std::string &command, int32_t record) {
  if (zk_Db_goRec(table, record) != 0) return false;
  if (command == "delete") return zk_Db_delRec(table) == 0;
  if (command == "recall") return zk_Db_undelRec(table) == 0;
  std::string field;
  std::string value;
  std::cin >> field;
  std::getline(std::cin >> std::ws, value);
  return command == "set" && zk_Db_assignFldStr(table, field.c_str(), value.c_str()) == 0;
}

}  // namespace

int main(int argc, char **argv) {
  const int32_t table = argc == 3 ? zk_Db_openDbEx(argv[1], std::atoi(argv[2])) : -1;
  bool ok = table >= 0;
  std::string command;
  for (int32_t record = 0; ok && std::cin >> command >> record;) {
    ok = apply(table, command, record) && zk_Db_flush(table) == 0;
  }
  if (!ok) std::cerr << command << ": " << zk_DbError_text() << " " << zk_DbError_file() << "\n";
  if (table >= 0 && zk_Db_closeDb(table) != 0) ok = false;
  return ok ? 0 : 1;
}
