// What the tests of tables share: a folder of their own, tables from a short description, and the
// bytes of files.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "zk_baselib.h"

namespace support {

namespace fs = std::filesystem;

struct ListDestroyer {
  void operator()(DbFldList *list) const { zk_DbFldList_destroy(list); }
};
using List = std::unique_ptr<DbFldList, ListDestroyer>;

struct CursorDestroyer {
  void operator()(DbCursor *cursor) const { zk_DbCursor_destroy(cursor); }
};
using Cursor = std::unique_ptr<DbCursor, CursorDestroyer>;

// ---- Files as bytes

inline std::string readFile(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  return in ? std::string(std::istreambuf_iterator<char>(in), {}) : "(missing)";
}

// A text file, whatever the system ends its lines with.
inline std::string readText(const std::string &path) {
  std::string text = readFile(path);
  text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
  return text;
}

inline void writeFile(const std::string &path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<long>(bytes.size()));
}

// Overwrites bytes of an existing file in place.
inline void patchFile(const std::string &path, std::uint64_t offset, std::string_view bytes) {
  std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
  file.seekp(static_cast<std::streamoff>(offset));
  file.write(bytes.data(), static_cast<long>(bytes.size()));
  ASSERT_TRUE(file.good()) << path;
}

// The low `size` bytes of a number, lowest first or highest first.
inline std::string little(std::uint64_t value, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
  return bytes;
}

inline std::string big(std::uint64_t value, std::size_t size) {
  std::string bytes = little(value, size);
  std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

inline std::uint64_t littleAt(std::string_view bytes, std::size_t offset, std::size_t size) {
  std::uint64_t value = 0;
  for (std::size_t i = size; i-- > 0;) {
    value = value << 8 | static_cast<unsigned char>(bytes.at(offset + i));
  }
  return value;
}

inline std::uint64_t bigAt(std::string_view bytes, std::size_t offset, std::size_t size) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < size; ++i) {
    value = value << 8 | static_cast<unsigned char>(bytes.at(offset + i));
  }
  return value;
}

// ---- Tables

// Field definitions from "PART C 10, QTY N 7 2, WHEN D": name, type letter, width, decimals.
inline List fieldList(const std::string &layout) {
  List list(zk_DbFldList_create(static_cast<const char *>(nullptr)));
  std::istringstream fields(layout);
  for (std::string field; std::getline(fields, field, ',');) {
    std::istringstream words(field);
    std::string name;
    char type = 'C';
    int32_t width = 0;
    int32_t decimals = 0;
    words >> name >> type >> width >> decimals;
    zk_DbFldList_insEnd(list.get(), name.c_str(), nullptr, width, decimals, type);
  }
  return list;
}

inline int32_t createTable(const std::string &path, const std::string &layout) {
  return zk_Db_createDb(path.c_str(), fieldList(layout).get());
}

inline int32_t openTable(const std::string &path, int mode = 0) {
  return zk_Db_openDbEx(path.c_str(), mode);
}

struct NamedText {
  const char *field;
  std::string text;
};

inline void assign(int32_t table, const std::vector<NamedText> &values) {
  for (const NamedText &value : values) {
    EXPECT_EQ(zk_Db_assignFldStrN(table, value.field, value.text.data(),
                                  static_cast<int32_t>(value.text.size())),
              0)
        << value.field;
  }
}

// Appends a record with these texts and blanks elsewhere.
inline void appendRecord(int32_t table, const std::vector<NamedText> &values) {
  ASSERT_EQ(zk_Db_appRec(table), 0);
  assign(table, values);
  zk_Db_writeRec(table);
  ASSERT_EQ(zk_DbError_code(), 0) << zk_DbError_text();
}

// The whole text of a field, blanks, NULs and all.
inline std::string fieldText(int32_t table, const char *field) {
  const int32_t length = zk_Db_getFldLength(table, field);
  if (length < 0) return "(failed)";
  std::string text(static_cast<std::size_t>(length) + 1, '?');
  const int32_t copied = zk_Db_cpyFldN(table, field, text.data(), length);
  EXPECT_EQ(copied, length);
  EXPECT_EQ(text[static_cast<std::size_t>(length)], '\0');
  text.resize(static_cast<std::size_t>(length));
  return text;
}

inline std::string trimmed(int32_t table, const char *field) {
  return zk_Db_getFldStr(table, field);
}

// A field of a table file that is put together by hand.
struct FileField {
  const char *name;
  char type;
  unsigned width;
  unsigned decimals = 0;
  unsigned flags = 0;
};

inline bool isNewerVersion(unsigned version) { return version >= 0x30 && version <= 0x32; }

inline std::size_t headerLength(unsigned version, std::size_t fields) {
  return 32 * (fields + 1) + 1 + (isNewerVersion(version) ? 263 : 0);
}

// The bytes of a table: header, records (each with its deletion byte), end mark.
inline std::string tableBytes(unsigned version, const std::vector<FileField> &fields,
                              const std::vector<std::string> &records) {
  std::size_t recordLength = 1;
  for (const FileField &field : fields) recordLength += field.width;
  std::string bytes = little(version, 1) + little(0x1F0178, 3) + little(records.size(), 4) +
                      little(headerLength(version, fields.size()), 2) + little(recordLength, 2) +
                      std::string(20, '\0');
  std::uint64_t offset = 1;
  for (const FileField &field : fields) {
    std::string name(field.name);
    name.resize(11, '\0');
    const unsigned high = field.type == 'C' ? field.width >> 8 : field.decimals;
    bytes += name + field.type + little(isNewerVersion(version) ? offset : 0, 4) +
             little(field.width, 1) + little(high, 1) + little(field.flags, 1) +
             std::string(13, '\0');
    offset += field.width;
  }
  bytes += '\x0D';
  if (isNewerVersion(version)) bytes += std::string(263, '\0');
  for (const std::string &record : records) {
    EXPECT_EQ(record.size(), recordLength) << "a record of the test does not fit its fields";
    bytes += record;
  }
  return bytes + '\x1A';
}

// A new folder whose name begins so, in the tests' temporary directory.
inline fs::path newFolder(const std::string &start) {
  for (int i = 0;; ++i) {
    const fs::path folder = testing::TempDir() + "/" + start + std::to_string(i);
    if (fs::create_directory(folder)) return folder;
  }
}

// ---- Fixture

// Each test has an empty folder of its own; at its end every table is closed.
class TableTest : public testing::Test {
 protected:
  TableTest() {
    const testing::TestInfo *info = testing::UnitTest::GetInstance()->current_test_info();
    folder_ = newFolder(std::string("zk_") + info->test_suite_name() + "_" + info->name() + "_");
    zk_Db_init();
  }
  ~TableTest() override {
    zk_Db_closeAll();
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  std::string path(const std::string &name) const { return (folder_ / name).string(); }
  std::string bytesOf(const std::string &name) const { return readFile(path(name)); }
  std::uintmax_t sizeOf(const std::string &name) const { return fs::file_size(folder_ / name); }

  // What lies in the folder, in the order of the names.
  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto &entry : fs::directory_iterator(folder_)) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  fs::path folder_;
};

}  // namespace support
