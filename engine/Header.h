// The header of a table file. All numbers are little-endian.
//
//   0      version: 0x03 no memo, 0xF5 memo in .FPT, 0x83 0x8B 0x8C memo in .DBT (not read),
//          0x30 0x31 0x32 newer FoxPro
//   1..3   date of last update: year less 1900, month, day
//   4..7   record count
//   8..9   header length
//   10..11 record length, the deletion byte included
//   28     bit 0: has a production index; non-zero: record locks lie elsewhere (see File.h)
//   29     code page
//   32..   one descriptor of 32 bytes a field:
//            0..10 name, zero-filled   11 type   16 width   17 decimals
//            18 flags (newer FoxPro: 0x0C autoincrement)
//          then 0x0D; newer FoxPro adds 263 bytes
#pragma once

#include <cstdint>
#include <string_view>

#include "base/Memory.h"
#include "engine/Field.h"
#include "engine/File.h"

namespace zk::engine {

constexpr std::size_t kHeaderSize = 32;
constexpr std::size_t kDescriptorSize = 32;
constexpr unsigned char kHeaderEnd = 0x0D;
constexpr unsigned char kFileEnd = 0x1A;

struct Header {
  std::uint8_t version = 0;
  std::uint8_t year = 0;
  std::uint8_t month = 0;
  std::uint8_t day = 0;
  std::uint32_t recordCount = 0;
  std::uint16_t headerLength = 0;
  std::uint16_t recordLength = 0;
  std::uint8_t indexFlags = 0;
  std::uint8_t codePage = 0;

  bool newer() const { return version >= 0x30 && version <= 0x32; }
  bool foreignMemo() const { return version == 0x83 || version == 0x8B || version == 0x8C; }
  bool hasProductionIndex() const { return (indexFlags & 1) != 0; }
};

// What a table is created from.
struct FieldDefinition {
  std::string_view name;
  char type;
  int32_t width;
  int32_t decimals;
};

// What opening found that restricts the table's use.
struct FieldFacts {
  bool memo = false;         // fields with a reference into a memo file
  bool unknownType = false;  // a type whose bytes the engine must not rewrite
  bool autoIncrement = false;
};

// Reads and checks the header and the descriptors. 0, -70, or -200 for anything that does not add
// up. Throws std::bad_alloc.
int readHeader(File &file, Header &header, base::Vector<Field> &fields, FieldFacts &facts);

// The bytes of a new table's header, its closing 0x0D 0x1A included. 0, or the code of what is
// wrong with the definitions, with its text in `text` when it is not the code's own.
int buildHeader(const FieldDefinition *definitions, std::size_t count, base::Vector<char> &bytes,
                bool &memo, const char *&text);

}  // namespace zk::engine
