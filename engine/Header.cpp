#include "engine/Header.h"

#include <cstring>

#include "engine/Bytes.h"
#include "platform/System.h"

namespace zk::engine {
namespace {

constexpr std::size_t kNameSize = 11;
constexpr std::uint8_t kAutoIncrementFlag = 0x0C;
constexpr std::uint32_t kSizeLimit = 65535;

// Types are ASCII letters whatever the code page is.
char upperLetter(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

FieldKind kindOf(const Header &header, char type, std::uint32_t width) {
  switch (type) {
    case 'C':
      return FieldKind::kText;
    case 'N':
    case 'F':
      return FieldKind::kNumber;
    case 'D':
      return FieldKind::kDate;
    case 'L':
      return FieldKind::kLogical;
    case 'B':
      if (header.newer() && width == 8) return FieldKind::kDouble;
      [[fallthrough]];
    case 'M':
    case 'G':
      return header.foreignMemo() ? FieldKind::kForeignMemo : FieldKind::kMemo;
    case 'I':
      return header.newer() && width == 4 ? FieldKind::kInteger : FieldKind::kText;
    case 'T':
      return header.newer() && width == 8 ? FieldKind::kDateTime : FieldKind::kText;
    case 'Y':
      return header.newer() && width == 8 ? FieldKind::kCurrency : FieldKind::kText;
    case '0':
      return header.newer() ? FieldKind::kNullFlags : FieldKind::kText;
    default:
      return FieldKind::kText;
  }
}

bool isKnownType(char type, FieldKind kind) { return type == 'C' || kind != FieldKind::kText; }

// The width of most fields is one byte; the byte of the decimals adds to it where there are none.
std::uint32_t widthOf(const Header &header, char type, const unsigned char *descriptor) {
  const std::uint32_t low = descriptor[16];
  const std::uint32_t both = low + 256u * descriptor[17];
  if (header.newer()) return type == 'C' ? both : low;
  switch (type) {
    case 'N':
    case 'F':
    case 'L':
    case 'D':
    case 'M':
    case 'G':
    case 'B':
      return low;
    default:
      return both;
  }
}

std::uint8_t decimalsOf(char type, FieldKind kind, const unsigned char *descriptor) {
  if (kind == FieldKind::kCurrency) return 4;
  return type == 'N' || type == 'F' || kind == FieldKind::kDouble ? descriptor[17] : 0;
}

Field readDescriptor(const Header &header, const unsigned char *descriptor) {
  Field field;
  const unsigned char *upper = platform::upperCaseMap();
  std::size_t length = 0;
  while (length < kNameSize && descriptor[length] != 0) ++length;
  while (length > 0 && descriptor[length - 1] == ' ') --length;  // some writers pad with blanks
  for (std::size_t i = 0; i < length; ++i) {
    field.name[i] = static_cast<char>(upper[descriptor[i]]);
  }
  field.type = upperLetter(static_cast<char>(descriptor[11]));
  field.width = widthOf(header, field.type, descriptor);
  field.kind = kindOf(header, field.type, field.width);
  field.decimals = decimalsOf(field.type, field.kind, descriptor);
  return field;
}

}  // namespace

int readHeader(File &file, Header &header, base::Vector<Field> &fields, FieldFacts &facts) {
  const auto notATable = [&file] {
    return file.context().fail(kErrNotATable, file.path().c_str());
  };
  unsigned char bytes[kHeaderSize];
  std::size_t got = 0;
  int status = file.readUpTo(0, bytes, sizeof bytes, got);
  if (status != kOk) return status;
  if (got < sizeof bytes) return notATable();

  header.version = bytes[0];
  header.year = bytes[1];
  header.month = bytes[2];
  header.day = bytes[3];
  header.recordCount = readLittle32(bytes + 4);
  header.headerLength = readLittle16(bytes + 8);
  header.recordLength = readLittle16(bytes + 10);
  header.indexFlags = bytes[28];
  header.codePage = bytes[29];
  if (header.headerLength <= kHeaderSize || header.recordLength == 0) return notATable();

  base::Vector<unsigned char> area(header.headerLength - kHeaderSize);
  status = file.readUpTo(kHeaderSize, area.data(), area.size(), got);
  if (status != kOk) return status;
  if (got < area.size()) return notATable();

  std::size_t count = 0;
  while (count * kDescriptorSize < area.size() && area[count * kDescriptorSize] != kHeaderEnd) {
    ++count;
  }
  if (count * kDescriptorSize >= area.size()) return notATable();

  fields.reserve(count);
  std::uint32_t offset = 1;
  std::int32_t memos = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const unsigned char *descriptor = area.data() + i * kDescriptorSize;
    Field field = readDescriptor(header, descriptor);
    field.offset = offset;
    offset += field.width;
    if (offset > header.recordLength) return notATable();
    if (field.isMemo()) field.memoNumber = memos++;
    // A field without width has no bytes that rewriting could harm.
    if (field.width > 0 && !isKnownType(field.type, field.kind)) facts.unknownType = true;
    if (header.newer() && (descriptor[18] & kAutoIncrementFlag) == kAutoIncrementFlag) {
      facts.autoIncrement = true;
    }
    fields.push_back(field);
  }
  facts.memo = memos > 0;
  return offset == header.recordLength ? kOk : notATable();
}

namespace {

struct Layout {
  std::uint32_t width;
  std::uint8_t widthByte;
  std::uint8_t decimalsByte;
};

// False for a width or number of decimals that the type cannot have.
bool layoutOf(const FieldDefinition &definition, char type, Layout &layout) {
  const auto fixed = [&layout](std::uint8_t width) {
    layout = {width, width, 0};
    return true;
  };
  const int32_t width = definition.width;
  switch (type) {
    case 'C':
      if (width < 0 || width > static_cast<int32_t>(kSizeLimit)) return false;
      layout = {static_cast<std::uint32_t>(width), static_cast<std::uint8_t>(width & 0xFF),
                static_cast<std::uint8_t>(width >> 8)};
      return true;
    case 'N':
    case 'F':
      if (width < 0 || width > 255) return false;
      if (definition.decimals < 0 || definition.decimals >= width) return false;
      layout = {static_cast<std::uint32_t>(width), static_cast<std::uint8_t>(width),
                static_cast<std::uint8_t>(definition.decimals)};
      return true;
    case 'D':
      return fixed(8);
    case 'L':
      return fixed(1);
    case 'M':
    case 'G':
    case 'B':
      return fixed(10);
    default:
      return fixed(0);
  }
}

// Upper-cased, without trailing blanks, cut so that a NUL stays behind it.
std::size_t fieldName(std::string_view name, char (&out)[kNameSize]) {
  const unsigned char *upper = platform::upperCaseMap();
  std::memset(out, 0, sizeof out);
  std::size_t length = name.size() < kNameSize - 1 ? name.size() : kNameSize - 1;
  while (length > 0 && name[length - 1] == ' ') --length;
  for (std::size_t i = 0; i < length; ++i) {
    out[i] = static_cast<char>(upper[static_cast<unsigned char>(name[i])]);
  }
  return length;
}

bool nameIsTaken(const base::Vector<char> &bytes, std::size_t count,
                 const char (&name)[kNameSize]) {
  for (std::size_t i = 0; i < count; ++i) {
    if (std::memcmp(bytes.data() + kHeaderSize + i * kDescriptorSize, name, kNameSize) == 0) {
      return true;
    }
  }
  return false;
}

}  // namespace

int buildHeader(const FieldDefinition *definitions, std::size_t count, base::Vector<char> &bytes,
                bool &memo, const char *&text) {
  text = nullptr;
  memo = false;
  if (definitions == nullptr) return kErrParameter;
  if (count > kSizeLimit / kDescriptorSize || kDescriptorSize * count + 34 >= kSizeLimit) {
    text = "Too Many Fields";
    return kErrCreating;
  }
  const std::size_t headerLength = kDescriptorSize * (count + 1) + 1;
  bytes.assign(headerLength + 1, '\0');

  std::uint32_t recordLength = 1;
  for (std::size_t i = 0; i < count; ++i) {
    char *descriptor = bytes.data() + kHeaderSize + i * kDescriptorSize;
    const char type = upperLetter(definitions[i].type);
    char name[kNameSize];
    if (fieldName(definitions[i].name, name) == 0 || nameIsTaken(bytes, i, name)) {
      return kErrFieldName;
    }
    Layout layout;
    if (!layoutOf(definitions[i], type, layout)) return kErrParameter;
    std::memcpy(descriptor, name, sizeof name);
    descriptor[11] = type;
    descriptor[16] = static_cast<char>(layout.widthByte);
    descriptor[17] = static_cast<char>(layout.decimalsByte);
    recordLength += layout.width;
    if (recordLength >= kSizeLimit) return kErrRecordLength;
    memo = memo || type == 'M' || type == 'G' || type == 'B';
  }

  const platform::Date date = platform::today();
  auto *header = reinterpret_cast<unsigned char *>(bytes.data());
  header[0] = memo ? 0xF5 : 0x03;
  header[1] = static_cast<unsigned char>(date.year - 1900);
  header[2] = static_cast<unsigned char>(date.month);
  header[3] = static_cast<unsigned char>(date.day);
  writeLittle16(header + 8, static_cast<std::uint16_t>(headerLength));
  writeLittle16(header + 10, static_cast<std::uint16_t>(recordLength));
  header[headerLength - 1] = kHeaderEnd;
  header[headerLength] = kFileEnd;
  return kOk;
}

}  // namespace zk::engine
