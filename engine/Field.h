// One field of a table: where its bytes lie in the record, and their translation to text and
// numbers and back.
#pragma once

#include <cstdint>
#include <string_view>

namespace zk::engine {

class Table;

enum class FieldKind : std::uint8_t {
  kText,         // C, and every type that is not listed here
  kNumber,       // N, F: text
  kDate,         // D: CCYYMMDD
  kLogical,      // L: a letter
  kMemo,         // M, G, B: a reference into the memo file
  kForeignMemo,  // the same in a table whose memo file is not read
  kInteger,      // I: 4 bytes, little-endian
  kDateTime,     // T: day number and milliseconds, 4 bytes each
  kCurrency,     // Y: 8-byte integer of ten-thousandths
  kDouble,       // B of 8 bytes: IEEE double
  kNullFlags,    // 0: a bit per field, shown as hex digits
};

struct Field {
  char name[12] = "";  // upper case
  char type = 'C';
  FieldKind kind = FieldKind::kText;
  std::uint8_t decimals = 0;
  std::uint32_t width = 0;
  std::uint32_t offset = 0;      // in the record
  std::int32_t memoNumber = -1;  // index among the table's memo fields
  Table *table = nullptr;

  bool isMemo() const { return kind == FieldKind::kMemo; }
  // Whether a blank of the field is zero bytes.
  bool isBinary() const { return kind >= FieldKind::kInteger; }

  // The field's text in the record buffer: of most kinds the bytes themselves, of the others their
  // readable form in a buffer of the table. Valid until the record changes or the next such call.
  // 0, or the code of a memo that cannot be read (then "").
  int text(std::string_view &out) const noexcept;
  double toDouble() const noexcept;
  int32_t toInt() const noexcept;

  // 0; -920 when memory for a memo is refused. (Tables that refuse changes refuse them on writing.)
  int assignText(std::string_view text) const noexcept;
  int assignDouble(double value) const noexcept;
  // The first byte as it stands, the rest blank.
  int assignByte(char byte) const noexcept;
};

// The bytes of a blank field.
void blankField(const Field &field, char *bytes) noexcept;

}  // namespace zk::engine
