#include <memory>

#include "Commands.h"
#include "Table.h"

namespace zk::tool {
namespace {

constexpr int32_t kLongestValue = 4096;  // that the library reads

using Fields = std::unique_ptr<FldList, decltype(&zk_FldList_destroy)>;
using Texts = std::unique_ptr<StrList, decltype(&zk_StrList_destroy)>;

// Only a component can drop its cache, which is empty yet.
void requireComponent() {
  if (zk_Ini_resetCache() != 0) return;
  throw Failure(
      "no configuration cache: the component JNApplication2 is neither registered nor beside the "
      "library");
}

void requireFile(const std::string &file) {
  requireComponent();
  if (zk_File_exists(file.c_str()) == 0) throw Failure(file + ": no such file");
}

void listGroups(const std::string &file, Output &out) {
  const Texts names(zk_Ini_findAllGroups(file.c_str()), &zk_StrList_destroy);
  if (names == nullptr) return;
  for (zk_StrList_start(names.get()); zk_StrList_eol(names.get()) == 0;
       zk_StrList_next(names.get())) {
    out.write(std::string(zk_StrList_getCurr(names.get())) + "\n");
  }
}

void listVariables(const IniOptions &options, Output &out) {
  const Fields fields(zk_Ini_getGroupAbsolute(options.file.c_str(), options.group.c_str()),
                      &zk_FldList_destroy);
  if (fields == nullptr) {
    throw Failure(options.file + ": no group [" + options.group + "] with variables");
  }
  for (zk_FldList_start(fields.get()); zk_FldList_eol(fields.get()) == 0;
       zk_FldList_next(fields.get())) {
    const FldNode *field = zk_FldList_curr(fields.get());
    out.write(std::string(field->name) + "=" + field->value.text + "\n");
  }
}

}  // namespace

void runIniGet(const IniOptions &options, Output &out) {
  requireFile(options.file);
  const char *value = zk_Ini_getValue(options.file.c_str(), options.group.c_str(),
                                      options.name.c_str(), 0, kLongestValue);
  if (value == nullptr) {
    throw Failure(options.file + ": no value of " + options.name + " in [" + options.group + "]");
  }
  out.write(std::string(value) + "\n");
  out.flush();
}

void runIniSet(const IniOptions &options) {
  requireComponent();
  const int failed = zk_Ini_set(options.file.c_str(), options.group.c_str(), options.name.c_str(),
                                options.value.c_str());
  if (failed == 0) return;
  const bool there = zk_File_exists(options.file.c_str()) != 0;
  const bool readOnly = there && zk_File_isWriteEnabled(options.file.c_str()) == 0;
  throw Failure(options.file +
                (readOnly ? ": is read-only"
                          : ": " + options.name + " in [" + options.group + "] cannot be stored"));
}

void runIniList(const IniOptions &options, Output &out) {
  requireFile(options.file);
  if (options.group.empty()) {
    listGroups(options.file, out);
  } else {
    listVariables(options, out);
  }
  out.flush();
}

}  // namespace zk::tool
