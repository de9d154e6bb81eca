#include "FieldPlan.h"

#include <algorithm>
#include <charconv>

#include "Commands.h"
#include "FieldValue.h"
#include "Text.h"

namespace zk::tool {
namespace {

constexpr std::size_t kNameLength = 10;
constexpr std::size_t kMostDigits = 15;       // what a double keeps exactly
constexpr std::size_t kMostNumberWidth = 20;  // what other programs accept
constexpr std::size_t kMostCharacters = 254;

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  while (true) {
    const std::size_t end = text.find(separator);
    parts.emplace_back(withoutBlanks(text.substr(0, end)));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

bool parseInt(const std::string &text, int &value) {
  const char *end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && stop == end;
}

int impliedWidth(char type) { return type == 'D' ? 8 : type == 'L' ? 1 : 10; }

bool isNameByte(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}

Field parseField(const std::string &description) {
  const std::vector<std::string> parts = split(description, ',');
  const auto wrong = [&](const std::string &why) {
    return UsageError("--fields: \"" + description + "\": " + why);
  };
  if (parts.size() < 2 || parts[1].size() != 1)
    throw wrong("expected NAME,TYPE[,WIDTH[,DECIMALS]]");
  Field field;
  field.name = upperCase(parts[0]);
  field.type = upperCase(parts[1])[0];
  const bool numeric = field.type == 'N' || field.type == 'F';
  if (field.name.empty() || field.name.size() > kNameLength ||
      !std::all_of(field.name.begin(), field.name.end(), isNameByte)) {
    throw wrong("a name has 1 to 10 letters, digits and \"_\"");
  }
  if (std::string_view("CNFDLMGB").find(field.type) == std::string_view::npos) {
    throw wrong("the types are C, N, F, D, L, M, G and B");
  }
  if (!numeric && field.type != 'C') {
    field.width = impliedWidth(field.type);
    if (parts.size() > 3 || (parts.size() == 3 && parts[2] != std::to_string(field.width))) {
      throw wrong("the width of this type is " + std::to_string(field.width));
    }
  } else if (parts.size() < 3 || parts.size() > (numeric ? 4U : 3U) ||
             !parseInt(parts[2], field.width) || field.width < 1 ||
             field.width > (numeric ? 255 : 65533)) {
    throw wrong("expected a width");
  }
  if (parts.size() == 4 && (!parseInt(parts[3], field.decimals) || field.decimals < 0 ||
                            field.decimals >= field.width)) {
    throw wrong("the decimals must be fewer than the width");
  }
  field.setKind(false);
  return field;
}

// At most `length` bytes, ending at a character border when the text is UTF-8.
std::string cutName(const std::string &name, std::size_t length) {
  if (name.size() <= length) return name;
  while (length > 0 && (static_cast<unsigned char>(name[length]) & 0xC0) == 0x80) --length;
  return name.substr(0, length);
}

std::string uniqueName(const std::string &wanted, const std::vector<std::string> &taken) {
  std::string name = cutName(wanted, kNameLength);
  for (int n = 2; std::find(taken.begin(), taken.end(), name) != taken.end(); ++n) {
    const std::string suffix = "_" + std::to_string(n);
    name = cutName(wanted, kNameLength - suffix.size()) + suffix;
  }
  return name;
}

}  // namespace

std::vector<Field> parseFieldList(const std::string &text) {
  std::vector<Field> fields;
  for (const std::string &description : split(text, ';')) {
    if (description.empty()) continue;
    Field field = parseField(description);
    for (const Field &other : fields) {
      if (other.name == field.name) throw UsageError("--fields: " + field.name + " comes twice");
    }
    fields.push_back(std::move(field));
  }
  if (fields.empty()) throw UsageError("--fields: no field");
  return fields;
}

std::vector<std::string> headerNames(const CsvReader &header) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < header.count(); ++i) {
    const std::string &text = header[i].text;
    if (text.find('\0') != std::string::npos) {
      throw header.failure(i, "the header is not plain text");
    }
    std::string name = upperCase(withoutBlanks(text));
    if (name.empty()) throw header.failure(i, "the header has no name here");
    std::replace_if(
        name.begin(), name.end(), [](char c) { return !isNameByte(c); }, '_');
    names.push_back(uniqueName(name, names));
  }
  return names;
}

void ColumnGuess::add(std::string_view value) {
  length_ = std::max(length_, withoutTrailingBlanks(value).size());
  value = withoutBlanks(value);
  if (value.empty()) return;
  any_ = true;
  if (dates_) dates_ = !dateDigits(value).empty();
  if (logicals_) logicals_ = logicalLetter(value) != 0;
  if (numbers_) addNumber(value);
}

void ColumnGuess::addNumber(std::string_view value) {
  Decimal number;
  // Numbers with leading zeros are codes: as numbers they would lose them.
  numbers_ = parseDecimal(value, number) &&
             (number.integer.size() < 2 || !number.integer.starts_with('0')) &&
             number.integer.size() + number.fraction.size() <= kMostDigits;
  if (!numbers_) return;
  const std::size_t sign = number.negative ? 1 : 0;
  integer_ = std::max(integer_, sign + std::max<std::size_t>(number.integer.size(), 1));
  decimals_ = std::max(decimals_, number.fraction.size());
}

Field ColumnGuess::field(const std::string &name) const {
  Field field;
  field.name = name;
  const std::size_t numberWidth = integer_ + (decimals_ > 0 ? 1 + decimals_ : 0);
  if (any_ && dates_) {
    field.type = 'D';
  } else if (any_ && logicals_) {
    field.type = 'L';
  } else if (any_ && numbers_ && numberWidth <= kMostNumberWidth) {
    field.type = 'N';
    field.width = static_cast<int>(numberWidth);
    field.decimals = static_cast<int>(decimals_);
  } else if (length_ <= kMostCharacters) {
    field.width = static_cast<int>(std::max<std::size_t>(length_, 1));
  } else {
    field.type = 'M';
  }
  if (field.width == 0) field.width = impliedWidth(field.type);
  field.setKind(false);
  return field;
}

}  // namespace zk::tool
