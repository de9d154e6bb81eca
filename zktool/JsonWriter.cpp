#include <algorithm>
#include <nlohmann/json.hpp>

#include "RecordWriter.h"

namespace zk::tool {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::size_t digitsAt(std::string_view text, std::size_t from) {
  std::size_t end = from;
  while (end < text.size() && isDigit(text[end])) ++end;
  return end - from;
}

// The stored digits as a JSON number. What other writers store but JSON lacks is completed (".5",
// "+5", "007", "5."); "" when the text is no number at all.
std::string jsonNumber(std::string_view text) {
  std::string number;
  std::size_t at = 0;
  if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
    if (text[0] == '-') number = "-";
    at = 1;
  }
  const std::size_t whole = digitsAt(text, at);
  std::string_view integer = text.substr(at, whole);
  integer.remove_prefix(std::min(integer.find_first_not_of('0'), integer.size()));
  number += integer.empty() ? "0" : std::string(integer);
  at += whole;
  std::size_t decimals = 0;
  if (at < text.size() && text[at] == '.') {
    decimals = digitsAt(text, at + 1);
    if (decimals > 0) number += text.substr(at, 1 + decimals);
    at += 1 + decimals;
  }
  if (whole + decimals == 0) return "";
  if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
    const std::size_t sign =
        at + 1 < text.size() && (text[at + 1] == '-' || text[at + 1] == '+') ? 1 : 0;
    const std::size_t exponent = digitsAt(text, at + 1 + sign);
    if (exponent == 0) return "";
    number += text.substr(at, 1 + sign + exponent);
    at += 1 + sign + exponent;
  }
  return at == text.size() ? number : "";
}

class JsonWriter : public RecordWriter {
 public:
  JsonWriter(Output &out, const std::vector<Field> &fields, const CodePage &page)
      : out_(out), fields_(fields), page_(page) {
    for (const Field &field : fields) keys_.push_back(quoted(field.name) + ":");
  }

  void begin() override { out_.write("["); }

  void record(const Values &values, bool) override {
    line_ = first_ ? "\n{" : ",\n{";
    first_ = false;
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      if (i > 0) line_ += ',';
      line_ += keys_[i];
      line_ += value(fields_[i], readable(fields_[i], values[i]));
    }
    line_ += '}';
    out_.write(line_);
  }

  void end() override { out_.write(first_ ? "]\n" : "\n]\n"); }

 private:
  std::string quoted(std::string_view text) const {
    return nlohmann::json(page_.toUtf8(text)).dump();
  }

  std::string value(const Field &field, std::string_view text) const {
    switch (field.kind) {
      case Kind::kNumber: {
        if (text.empty()) return "null";
        const std::string number = jsonNumber(text);
        return number.empty() ? quoted(text) : number;  // such as "****": too wide for its field
      }
      case Kind::kDate:
        return date(text);
      case Kind::kDateTime:
        return text.empty() ? "null" : quoted(text);
      case Kind::kLogical:
        if (text.size() != 1) return "null";
        if (std::string_view("TtYy").find(text[0]) != std::string_view::npos) return "true";
        if (std::string_view("FfNn").find(text[0]) != std::string_view::npos) return "false";
        return "null";
      default:
        return quoted(text);
    }
  }

  std::string date(std::string_view text) const {
    if (text.empty()) return "null";
    if (text.size() != 8 || !std::all_of(text.begin(), text.end(), isDigit)) return quoted(text);
    return "\"" + std::string(text.substr(0, 4)) + "-" + std::string(text.substr(4, 2)) + "-" +
           std::string(text.substr(6)) + "\"";
  }

  Output &out_;
  const std::vector<Field> &fields_;
  const CodePage &page_;
  std::vector<std::string> keys_;
  std::string line_;
  bool first_ = true;
};

}  // namespace

std::unique_ptr<RecordWriter> makeJsonWriter(Output &out, const std::vector<Field> &fields,
                                             const CodePage &page) {
  return std::make_unique<JsonWriter>(out, fields, page);
}

}  // namespace zk::tool
