#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <ctime>
#include <limits>
#include <string>
#include <vector>

#include "tests/support.h"
#include "zk_baselib.h"

namespace {

using namespace support;
using std::string_literals::operator""s;

class DbTypesTest : public TableTest {
 protected:
  // The last record of a table file, without its deletion byte.
  std::string lastRecord(const std::string &name) const {
    const std::string bytes = bytesOf(name);
    const auto count = littleAt(bytes, 4, 4);
    const auto length = littleAt(bytes, 10, 2);
    return bytes.substr(littleAt(bytes, 8, 2) + (count - 1) * length + 1, length - 1);
  }
};

// Year less 1900, month, day.
std::string todayBytes() {
  const std::time_t now = std::time(nullptr);
  const std::tm *day = std::localtime(&now);
  return little(static_cast<unsigned>(day->tm_year), 1) +
         little(static_cast<unsigned>(day->tm_mon + 1), 1) +
         little(static_cast<unsigned>(day->tm_mday), 1);
}

std::string doubleBytes(double value) { return little(std::bit_cast<std::uint64_t>(value), 8); }

// ---- Tables as this library writes them

TEST_F(DbTypesTest, CreatedTableByteForByte) {
  std::string expected =
      "\x03???"
      "\0\0\0\0"
      "\xE1\x00"
      "\x4D\x01"s +
      std::string(20, '\0') +
      "PART\0\0\0\0\0\0\0"
      "C"
      "\0\0\0\0"
      "\x0A\x00"s +
      std::string(14, '\0') +
      "LONGNAMEXY\0"
      "C"
      "\0\0\0\0"
      "\x2C\x01"s +
      std::string(14, '\0') +
      "QTY\0\0\0\0\0\0\0\0"
      "N"
      "\0\0\0\0"
      "\x07\x02"s +
      std::string(14, '\0') +
      "RATE\0\0\0\0\0\0\0"
      "F"
      "\0\0\0\0"
      "\x06\x01"s +
      std::string(14, '\0') +
      "WHEN\0\0\0\0\0\0\0"
      "D"
      "\0\0\0\0"
      "\x08\x00"s +
      std::string(14, '\0') +
      "OK\0\0\0\0\0\0\0\0\0"
      "L"
      "\0\0\0\0"
      "\x01\x00"s +
      std::string(14, '\0') + "\x0D\x1A"s;
  const std::string before = todayBytes();
  const int32_t table = createTable(
      path("t"), "Part C 10, longnamexyz C 300, qty n 7 2, rate F 6 1, WHEN D 3 3, OK L 9");
  const std::string after = todayBytes();
  ASSERT_GE(table, 0);
  std::string found = bytesOf("t.DBF");
  ASSERT_EQ(found.size(), expected.size());
  EXPECT_TRUE(found.substr(1, 3) == before || found.substr(1, 3) == after);
  expected.replace(1, 3, found, 1, 3);
  EXPECT_EQ(found, expected);

  appendRecord(table, {{"PART", "A"}, {"LONGNAMEXY", std::string(300, 'b')}, {"OK", "T"}});
  zk_Db_closeDb(table);
  expected.pop_back();
  expected[4] = 1;
  EXPECT_EQ(bytesOf("t.DBF"), expected + ' ' + "A         " + std::string(300, 'b') + "       " +
                                  "      " + "        " + "T\x1A");
}

TEST_F(DbTypesTest, CreatedTableWithMemosByteForByte) {
  ASSERT_GE(createTable(path("t.dbf"), "N M, P G, B B, X Q 5"), 0);
  const std::string bytes = bytesOf("t.dbf");
  EXPECT_EQ(bytes[0], '\xF5');
  EXPECT_EQ(littleAt(bytes, 8, 2), 161u);
  EXPECT_EQ(littleAt(bytes, 10, 2), 31u);
  for (std::size_t field = 1; field <= 4; ++field) {
    EXPECT_EQ(littleAt(bytes, 32 * field + 16, 2), field < 4 ? 10u : 0u);
  }
  EXPECT_EQ(bytesOf("t.fpt"), "\0\0\0\x08\0\0\0\x40"s + std::string(504, '\0'));
}

TEST_F(DbTypesTest, LimitsOfCreation) {
  const auto many = [](int count) {
    std::string layout;
    for (int i = 0; i < count; ++i) layout += "F" + std::to_string(i) + " L,";
    return layout;
  };
  const std::string wide = "A C 65533";
  const struct {
    const char *name;
    std::string layout;
    int code;
    const char *text;
  } kCases[] = {
      {"widest record", wide, 0, ""},
      {"record too long", "A C 65534", -230, "Record Length is too Large"},
      {"record too long in sum", "A C 40000, B C 25534", -230, "Record Length is too Large"},
      {"most fields", many(2046), 0, ""},
      {"too many fields", many(2047), -20, "Too Many Fields"},
      {"equal names", "A C 1, a N 3", -210, "Unrecognized Field Name"},
      {"equal when cut", "ABCDEFGHIJK C 1, ABCDEFGHIJL C 1", -210, "Unrecognized Field Name"},
      {"negative width", "A C -1", -930, "Unexpected Parameter"},
      {"C too wide for its bytes", "A C 65536", -930, "Unexpected Parameter"},
      {"widest number", "A N 255 254", 0, ""},
      {"number too wide", "A N 256", -930, "Unexpected Parameter"},
      {"number without width", "A N 0", -930, "Unexpected Parameter"},
      {"only decimals", "A F 3 3", -930, "Unexpected Parameter"},
      {"negative decimals", "A N 3 -1", -930, "Unexpected Parameter"},
      {"no fields at all", "", 0, ""},
  };
  for (const auto &c : kCases) {
    SCOPED_TRACE(c.name);
    const int32_t table = createTable(path("t"), c.layout);
    EXPECT_EQ(zk_DbError_code(), c.code);
    EXPECT_STREQ(zk_DbError_text(), c.text);
    EXPECT_EQ(table >= 0, c.code == 0);
    if (table >= 0) {
      EXPECT_EQ(zk_Db_appRec(table), 0);
      EXPECT_EQ(zk_Db_goRec(table, 1), 0);
      zk_Db_closeDb(table);
      fs::remove(path("t.DBF"));
    }
    EXPECT_TRUE(files().empty()) << "a refused table leaves nothing behind";
  }
  const List blankName(zk_DbFldList_create(static_cast<const char *>(nullptr)));
  zk_DbFldList_insEnd(blankName.get(), "  ", nullptr, 1, 0, 'C');
  EXPECT_EQ(zk_Db_createDb(path("t").c_str(), blankName.get()), -1);
  EXPECT_EQ(zk_DbError_code(), -210);
}

// A letter that this library does not know makes a field without width, and the table works.
TEST_F(DbTypesTest, FieldsWithoutWidth) {
  int32_t table = createTable(path("t"), "A C 3, X Q 5, B C 2");
  ASSERT_GE(table, 0);
  EXPECT_STREQ(zk_Db_readOnlyReason(table), "");
  appendRecord(table, {{"A", "one"}, {"X", "lost"}, {"B", "22"}});
  EXPECT_EQ(fieldText(table, "X"), "");
  EXPECT_EQ(zk_Db_assignFldDouble(table, "X", 1.5), 0);
  EXPECT_EQ(zk_Db_getFldDouble(table, "X"), 0.0);
  const List node = fieldList("X L");
  zk_DbFldList_start(node.get());
  zk_DbFldList_modCurrVal(node.get(), "84");
  EXPECT_EQ(zk_Db_modRec(table, node.get()), 0);
  zk_Db_closeDb(table);
  EXPECT_EQ(lastRecord("t.DBF"), "one22");
}

// ---- Tables of newer versions

const std::vector<FileField> kNewerFields = {
    {"ID", 'I', 4},   {"AT", 'T', 8},     {"PRICE", 'Y', 8, 4},
    {"D", 'B', 8, 2}, {"WIDE", 'C', 300}, {"_NullFlags", '0', 1, 0, 5},
};

std::string newerRecord(const std::string &id, const std::string &at, const std::string &price,
                        const std::string &real) {
  return ' ' + id + at + price + real + "wide" + std::string(296, ' ') + '\x05';
}

TEST_F(DbTypesTest, NewerTypesReadAsText) {
  struct Case {
    std::string id, at, price, real;  // the fields' bytes
    const char *idText, *atText, *priceText, *realText;
  };
  const std::uint64_t kMin = std::uint64_t{1} << 63;
  // Times are given to the nearest second: writers keep 17:13:05 as 61984999 milliseconds.
  const Case kCases[] = {
      {little(0, 4), little(0, 8), little(0, 8), doubleBytes(0), "0", "", "0.0000", "0"},
      {little(0xFFFFFFFF, 4), little(2451545, 4) + little(43200000, 4), little(12345, 8),
       doubleBytes(1.5), "-1", "2000-01-01 12:00:00", "1.2345", "1.5"},
      {little(0x7FFFFFFF, 4), little(2460370, 4) + little(61984999, 4), little(~0ull, 8),
       doubleBytes(-0.1), "2147483647", "2024-02-29 17:13:05", "-0.0001", "-0.1"},
      {little(0x80000000, 4), little(1721426, 4) + little(0, 4), little(kMin, 8),
       doubleBytes(1.0 / 3), "-2147483648", "0001-01-01 00:00:00", "-922337203685477.5808",
       "0.3333333333333333"},
      {little(1, 4), little(5373483, 4) + little(86399999, 4), little(kMin - 1, 8),
       doubleBytes(1e100), "1", "9999-12-31 00:00:00", "922337203685477.5807", "1e+100"},
      // What no calendar has shows as nothing.
      {little(1, 4), little(0xFFFFFFFF, 4) + little(0, 4), little(1, 8),
       doubleBytes(std::numeric_limits<double>::quiet_NaN()), "1", "", "0.0001", ""},
      {little(1, 4), little(2451545, 4) + little(86400000, 4), little(1, 8),
       doubleBytes(std::numeric_limits<double>::infinity()), "1", "", "0.0001", ""},
  };
  std::vector<std::string> records;
  for (const Case &c : kCases) records.push_back(newerRecord(c.id, c.at, c.price, c.real));
  for (const unsigned version : {0x30u, 0x31u, 0x32u}) {
    writeFile(path("t.dbf"), tableBytes(version, kNewerFields, records));
    const int32_t table = openTable(path("t.dbf"));
    ASSERT_GE(table, 0);
    EXPECT_STREQ(zk_Db_readOnlyReason(table), "");
    int record = 0;
    for (const Case &c : kCases) {
      SCOPED_TRACE(++record);
      ASSERT_EQ(zk_Db_goRec(table, record), 0);
      EXPECT_EQ(fieldText(table, "ID"), c.idText);
      EXPECT_EQ(fieldText(table, "AT"), c.atText);
      EXPECT_EQ(fieldText(table, "PRICE"), c.priceText);
      EXPECT_EQ(fieldText(table, "D"), c.realText);
      EXPECT_EQ(fieldText(table, "_NullFlags"), "05");
      EXPECT_EQ(zk_Db_getFldLength(table, "WIDE"), 300);
      EXPECT_EQ(zk_Db_getFldInt(table, "ID"), zk_c4atoi(c.idText, 20));

      // Assigned back, and through a record field list, each keeps its very bytes.
      for (const char *field : {"ID", "AT", "PRICE", "D", "WIDE", "_NullFlags"}) {
        EXPECT_EQ(zk_Db_assignFldStr(table, field, zk_Db_getFldStr(table, field)), 0);
      }
      const List all(zk_Db_readRec(table, nullptr));
      EXPECT_EQ(zk_Db_modRec(table, all.get()), 0);
    }
    zk_Db_closeDb(table);
    EXPECT_EQ(bytesOf("t.dbf").substr(32), tableBytes(version, kNewerFields, records).substr(32));
  }
}

TEST_F(DbTypesTest, NewerTypesWrittenInTheirOwnForm) {
  const struct {
    const char *field;
    const char *given;
    std::string bytes;
    const char *text;
  } kCases[] = {
      {"ID", "42", little(42, 4), "42"},
      {"ID", " -7 ", little(static_cast<std::uint32_t>(-7), 4), "-7"},
      {"ID", "99999999999", little(0x7FFFFFFF, 4), "2147483647"},
      {"ID", "3.9", little(3, 4), "3"},
      {"ID", "", little(0, 4), "0"},
      {"AT", "2000-01-01 12:00:00", little(2451545, 4) + little(43200000, 4),
       "2000-01-01 12:00:00"},
      {"AT", "1970-01-01 00:00:01", little(2440588, 4) + little(1000, 4), "1970-01-01 00:00:01"},
      {"AT", "2023-02-29 00:00:00", little(0, 8), ""},
      {"AT", "2024-01-01 24:00:00", little(0, 8), ""},
      {"AT", "noon", little(0, 8), ""},
      {"AT", "", little(0, 8), ""},
      {"PRICE", "1.2345", little(12345, 8), "1.2345"},
      {"PRICE", "-0.5", little(static_cast<std::uint64_t>(-5000), 8), "-0.5000"},
      {"PRICE", "7", little(70000, 8), "7.0000"},
      {"PRICE", "0.00005", little(1, 8), "0.0001"},
      {"PRICE", "900000000000000.0001", little(9000000000000000001u, 8), "900000000000000.0001"},
      {"PRICE", "1e9", little(10000, 8), "1.0000"},
      {"PRICE", "99999999999999999999", little(INT64_MAX, 8), "922337203685477.5807"},
      {"PRICE", "", little(0, 8), "0.0000"},
      {"D", "0.1", doubleBytes(0.1), "0.1"},
      {"D", "-2.5e-3", doubleBytes(-0.0025), "-0.0025"},
      {"D", "", doubleBytes(0), "0"},
      {"_NullFlags", "ff", "\xFF", "FF"},
      {"_NullFlags", "", "\0"s, "00"},
  };
  writeFile(path("t.dbf"),
            tableBytes(0x30, kNewerFields,
                       {newerRecord(little(5, 4), little(2451545, 4) + little(1234, 4),
                                    little(77, 8), doubleBytes(9))}));
  const int32_t table = openTable(path("t.dbf"));
  const auto bytesOfField = [this](const std::string &field) {
    std::size_t offset = 0;
    for (const FileField &candidate : kNewerFields) {
      if (candidate.name == field) return lastRecord("t.dbf").substr(offset, candidate.width);
      offset += candidate.width;
    }
    return "(unknown)"s;
  };
  for (const auto &c : kCases) {
    SCOPED_TRACE(std::string(c.field) + " = " + c.given);
    EXPECT_EQ(zk_Db_assignFldStr(table, c.field, c.given), 0);
    EXPECT_EQ(fieldText(table, c.field), c.text);
    EXPECT_EQ(zk_Db_flush(table), 0);
    EXPECT_EQ(bytesOfField(c.field), c.bytes);
  }

  const struct {
    const char *field;
    double value;
    std::string bytes;
  } kNumbers[] = {
      {"ID", -12.9, little(static_cast<std::uint32_t>(-12), 4)},
      {"PRICE", 1234.5678, little(12345678, 8)},
      {"PRICE", -0.00004, little(0, 8)},
      {"D", 1e-300, doubleBytes(1e-300)},
  };
  for (const auto &c : kNumbers) {
    SCOPED_TRACE(c.field);
    EXPECT_EQ(zk_Db_assignFldDouble(table, c.field, c.value), 0);
    EXPECT_EQ(zk_Db_flush(table), 0);
    EXPECT_EQ(bytesOfField(c.field), c.bytes);
  }
  EXPECT_EQ(zk_Db_getFldDouble(table, "D"), 1e-300);
  zk_Db_assignFldStr(table, "PRICE", "-1.25");
  EXPECT_EQ(zk_Db_getFldDouble(table, "PRICE"), -1.25);
  EXPECT_EQ(zk_Db_getFldInt(table, "PRICE"), -1);

  // A blank record is zeros where the bytes are no text.
  EXPECT_EQ(zk_Db_appRec(table), 0);
  zk_Db_closeDb(table);
  EXPECT_EQ(lastRecord("t.dbf"), std::string(28, '\0') + std::string(300, ' ') + '\0');
}

TEST_F(DbTypesTest, EachVersionHasItsOwnRestrictions) {
  const struct {
    const char *name;
    unsigned version;
    FileField field;
    std::string bytes;
    std::string text;
    bool readOnly;
  } kCases[] = {
      {"autoincrement", 0x31, {"F", 'I', 4, 0, 0x0C}, little(7, 4), "7", true},
      {"only its flag's low bit", 0x31, {"F", 'I', 4, 0, 0x04}, little(7, 4), "7", false},
      {"flags of an old version", 0x03, {"F", 'C', 4, 0, 0x0C}, "text", "text", false},
      {"V", 0x32, {"F", 'V', 5}, "abc \x03", "abc \x03", true},
      {"Q", 0x32, {"F", 'Q', 3}, "\x01\x00z"s, "\x01\x00z"s, true},
      {"W", 0x30, {"F", 'W', 4}, "abcd", "abcd", true},
      {"I of another width", 0x30, {"F", 'I', 5}, "12345", "12345", true},
      {"I of an old version", 0x03, {"F", 'I', 4}, "\x01\x02\x03\x04", "\x01\x02\x03\x04", true},
      {"lower-case letter", 0x30, {"F", 'i', 4}, little(9, 4), "9", false},
      {"wide C of an old version",
       0x03,
       {"F", 'C', 256},
       std::string(256, 'c'),
       std::string(256, 'c'),
       false},
  };
  for (const auto &c : kCases) {
    SCOPED_TRACE(c.name);
    const std::string before =
        tableBytes(c.version, {{"A", 'C', 1}, c.field, {"Z", 'C', 1}}, {" a" + c.bytes + 'z'});
    writeFile(path("t.dbf"), before);
    const int32_t table = openTable(path("t.dbf"));
    ASSERT_GE(table, 0);
    EXPECT_EQ(fieldText(table, "F"), c.text);
    EXPECT_EQ(trimmed(table, "Z"), "z");
    EXPECT_EQ(*zk_Db_readOnlyReason(table) != '\0', c.readOnly);
    EXPECT_EQ(zk_Db_appRec(table), c.readOnly ? -120 : 0);
    zk_Db_closeDb(table);
    EXPECT_EQ(bytesOf("t.dbf") == before, c.readOnly);
  }
}

// ---- Tables with companions

TEST_F(DbTypesTest, MemosOfForeignFilesReadAsEmpty) {
  for (const unsigned version : {0x83u, 0x8Bu, 0x8Cu}) {
    SCOPED_TRACE(version);
    writeFile(path("t.dbf"), tableBytes(version, {{"A", 'C', 3}, {"M", 'M', 10}},
                                        {" abc         5", " def          "}));
    const int32_t table = openTable(path("t.dbf"));
    ASSERT_GE(table, 0) << "needs no memo file";
    EXPECT_EQ(fieldText(table, "M"), "");
    EXPECT_EQ(zk_Db_assignFldStr(table, "M", "text"), 0);
    EXPECT_EQ(zk_Db_assignFldDouble(table, "M", 1), 0);
    EXPECT_EQ(zk_Db_assignFldStr(table, "A", "new"), 0);
    EXPECT_EQ(zk_Db_nextRec(table, -1), 0);
    EXPECT_EQ(zk_Db_appRec(table), 0);
    EXPECT_EQ(lastRecord("t.dbf"), "             ");
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    EXPECT_EQ(bytesOf("t.dbf").substr(headerLength(version, 2), 14), " new         5");
  }
}

TEST_F(DbTypesTest, ProductionIndex) {
  const struct {
    const char *name;
    char flags;
    const char *index;
    bool readOnly;
  } kCases[] = {
      {"no flag, no file", 0, nullptr, false},         {"no flag, but a file", 0, "t.cdx", false},
      {"flag without a file", 1, nullptr, false},      {"flag and file", 1, "t.cdx", true},
      {"flag and file of any case", 3, "T.CdX", true}, {"another flag", 2, "t.cdx", false},
  };
  for (const auto &c : kCases) {
    SCOPED_TRACE(c.name);
    writeFile(path("t.dbf"), tableBytes(0x03, {{"A", 'C', 1}}, {" a"}));
    patchFile(path("t.dbf"), 28, std::string(1, c.flags));
    if (c.index != nullptr) writeFile(path(c.index), "anything");
    const int32_t table = openTable(path("t.dbf"));
    ASSERT_GE(table, 0);
    EXPECT_EQ(*zk_Db_readOnlyReason(table) != '\0', c.readOnly);
    EXPECT_EQ(zk_Db_appRec(table), c.readOnly ? -120 : 0);
    zk_Db_closeDb(table);
    if (c.index != nullptr) fs::remove(path(c.index));
  }
}

// ---- Counts, lengths and end marks

TEST_F(DbTypesTest, TheSmallerOfCountAndLengthCounts) {
  const std::vector<FileField> kFields = {{"A", 'C', 4}};
  const std::vector<std::string> kRecords = {" one ", " two ", " thre", " four"};
  const std::string whole = tableBytes(0x03, kFields, kRecords);
  const std::size_t start = headerLength(0x03, 1);
  const struct {
    const char *name;
    std::uint32_t count;
    std::size_t length;  // of the file
    int records;
  } kCases[] = {
      {"right", 4, start + 21, 4},           {"no end mark", 4, start + 20, 4},
      {"count too large", 9, start + 21, 4}, {"absurd count", 0xFFFFFFFF, start + 21, 4},
      {"count too small", 2, start + 21, 2}, {"cut inside a record", 4, start + 13, 2},
      {"cut at the header", 4, start, 0},    {"no count", 0, start + 21, 0},
  };
  for (const auto &c : kCases) {
    for (const int mode : {0, 2}) {
      SCOPED_TRACE(std::string(c.name) + " in mode " + std::to_string(mode));
      std::string bytes = whole;
      bytes.replace(4, 4, little(c.count, 4));
      writeFile(path("t.dbf"), bytes.substr(0, c.length));
      int32_t table = openTable(path("t.dbf"), mode);
      ASSERT_GE(table, 0);
      EXPECT_EQ(zk_Db_getRecordCount(table), c.records);
      if (c.records > 0) {
        EXPECT_EQ(zk_Db_botRec(table, -1), 0);
        EXPECT_EQ(' ' + fieldText(table, "A"), kRecords[static_cast<std::size_t>(c.records) - 1]);
      }
      EXPECT_EQ(zk_Db_goRec(table, c.records + 1), -930);
      zk_Db_closeDb(table);
      EXPECT_EQ(bytesOf("t.dbf"), bytes.substr(0, c.length)) << "reading mends nothing";

      // The next append mends the count, and every earlier record stays.
      table = openTable(path("t.dbf"), mode);
      appendRecord(table, {{"A", "new"}});
      EXPECT_EQ(zk_Db_getRecordNo(table), c.records + 1);
      zk_Db_closeDb(table);
      bytes = bytesOf("t.dbf");
      const auto count = static_cast<std::size_t>(c.records);
      EXPECT_EQ(littleAt(bytes, 4, 4), count + 1);
      EXPECT_EQ(bytes.substr(start, 5 * count), whole.substr(start, 5 * count));
      EXPECT_EQ(bytes.substr(start + 5 * count, 6), " new \x1A");
    }
  }
}

TEST_F(DbTypesTest, EndMarkInTheDataIsData) {
  writeFile(path("t.dbf"), tableBytes(0x03, {{"A", 'C', 2}},
                                      {" \x1A\x1A",
                                       "\x1A"
                                       "bb",
                                       " cc"}));
  const int32_t table = openTable(path("t.dbf"));
  const Cursor all(zk_Db_readTable(table, "T", nullptr));
  EXPECT_EQ(zk_DbCursor_length(all.get()), 3u);
  EXPECT_EQ(zk_Db_goRec(table, 1), 0);
  EXPECT_EQ(fieldText(table, "A"), "\x1A\x1A");
  EXPECT_EQ(zk_Db_goRec(table, 2), 0);
  EXPECT_NE(zk_Db_deleted(table), 0) << "anything but a blank is a mark";
  EXPECT_EQ(zk_Db_packDb(table), 0);
  EXPECT_EQ(zk_Db_getRecordCount(table), 2);
}

TEST_F(DbTypesTest, HeaderBytesThatAreNotOursStay) {
  std::string bytes = tableBytes(0x30, {{"a b", 'C', 2, 0, 0x04}}, {" aa", "*bb"});
  for (const std::size_t at : {12u, 16u, 27u, 29u, 30u, 31u, 63u, 70u, 100u, 327u}) {
    bytes[at] = '\x77';
  }
  writeFile(path("t.dbf"), bytes);
  const int32_t table = openTable(path("t.dbf"));
  ASSERT_GE(table, 0);
  EXPECT_EQ(fieldText(table, "A B"), "aa") << "names of any case are found";
  appendRecord(table, {{"A B", "cc"}});
  EXPECT_EQ(bytesOf("t.dbf").substr(8, 320), bytes.substr(8, 320));
  EXPECT_EQ(zk_Db_packDb(table), 0);
  EXPECT_EQ(bytesOf("t.dbf").substr(8, 320), bytes.substr(8, 320));
  EXPECT_EQ(bytesOf("t.dbf").substr(328), " aa cc\x1A");
}

TEST_F(DbTypesTest, OfEqualNamesTheFirstIsFound) {
  writeFile(path("t.dbf"),
            tableBytes(0x03, {{"A", 'C', 1}, {"ELEVENCHARS", 'C', 1}, {"a", 'C', 1}}, {" 123"}));
  const int32_t table = openTable(path("t.dbf"));
  EXPECT_EQ(fieldText(table, "a"), "1");
  EXPECT_EQ(fieldText(table, "elevenchars"), "2") << "a name may fill its eleven bytes";
}

TEST_F(DbTypesTest, BeyondFourGigabytes) {
  constexpr std::uint64_t kRecordLength = 65001;
  constexpr std::uint64_t kCount = 70000;
  const std::uint64_t start = headerLength(0x03, 2);
  const std::uint64_t end = start + kCount * kRecordLength;
  ASSERT_GT(end, std::uint64_t{1} << 32);
  std::string bytes = tableBytes(0x03, {{"ID", 'N', 10}, {"PAD", 'C', 64990}}, {});
  bytes.replace(4, 4, little(kCount, 4));
  writeFile(path("big.dbf"), bytes);
  std::error_code refused;
  fs::resize_file(path("big.dbf"), end, refused);
  if (refused) GTEST_SKIP() << "no file of this size here: " << refused.message();
  patchFile(path("big.dbf"), end - kRecordLength, "      last!");

  for (const int mode : {0, 2}) {
    SCOPED_TRACE(mode);
    const int32_t table = openTable(path("big.dbf"), mode);
    ASSERT_GE(table, 0);
    const int32_t count = zk_Db_getRecordCount(table);
    EXPECT_EQ(count, static_cast<int32_t>(kCount) + (mode == 2 ? 1 : 0));
    EXPECT_EQ(zk_Db_goRec(table, static_cast<int32_t>(kCount)), 0);
    EXPECT_EQ(fieldText(table, "ID"), mode == 0 ? "     last!" : "   changed");
    EXPECT_EQ(zk_Db_assignFldStr(table, "ID", "   changed"), 0);
    EXPECT_EQ(zk_Db_appRec(table), 0);
    EXPECT_EQ(zk_Db_getRecordNo(table), count + 1);
    EXPECT_EQ(zk_Db_assignFldStr(table, "ID", "appended"), 0);
    EXPECT_EQ(zk_Db_prevRec(table, -1), 0);
    EXPECT_EQ(zk_Db_botRec(table, -1), 0);
    EXPECT_EQ(trimmed(table, "ID"), "appended");
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    EXPECT_EQ(sizeOf("big.dbf"), end + (mode == 0 ? 1 : 2) * kRecordLength + 1);
  }
}

}  // namespace
