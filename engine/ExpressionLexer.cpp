#include "engine/ExpressionLexer.h"

namespace zk::engine {
namespace {

bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
// Field names may have letters of any code page.
bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

struct Word {
  std::string_view text;
  Token::Kind kind;
};

constexpr Word kDottedWords[] = {
    {".TRUE.", Token::kTrue}, {".T.", Token::kTrue},  {".FALSE.", Token::kFalse},
    {".F.", Token::kFalse},   {".NOT.", Token::kNot}, {".AND.", Token::kAnd},
    {".OR.", Token::kOr},
};

// Longer ones before those that they begin with.
constexpr Word kSymbols[] = {
    {"->", Token::kArrow},       {"<>", Token::kNotEqual},
    {"<=", Token::kLessOrEqual}, {">=", Token::kGreaterOrEqual},
    {"**", Token::kPower},       {"+", Token::kPlus},
    {"-", Token::kMinus},        {"*", Token::kTimes},
    {"/", Token::kDivide},       {"^", Token::kPower},
    {"=", Token::kEqual},        {"#", Token::kNotEqual},
    {"<", Token::kLess},         {">", Token::kGreater},
    {"$", Token::kContained},    {"(", Token::kOpen},
    {")", Token::kClose},        {",", Token::kComma},
};

}  // namespace

bool sameWord(std::string_view left, std::string_view right) noexcept {
  if (left.size() != right.size()) return false;
  for (std::size_t i = 0; i < left.size(); ++i) {
    if (upper(left[i]) != upper(right[i])) return false;
  }
  return true;
}

Token Lexer::take(Token::Kind kind, std::size_t length) noexcept {
  const Token token = {kind, rest_.substr(0, length)};
  rest_.remove_prefix(length);
  return token;
}

Token Lexer::next() noexcept {
  while (!rest_.empty() && isBlank(rest_[0])) rest_.remove_prefix(1);
  if (rest_.empty()) return {};
  const char first = rest_[0];
  const char second = rest_.size() > 1 ? rest_[1] : '\0';
  if (isDigit(first) || (first == '.' && isDigit(second))) return number();
  if (isLetter(first)) {
    std::size_t length = 1;
    while (length < rest_.size() && (isLetter(rest_[length]) || isDigit(rest_[length]))) ++length;
    return take(Token::kName, length);
  }
  switch (first) {
    case '\'':
    case '"':
      return quoted(first);
    case '[':
      return quoted(']');
    case '.':
      return dottedWord();
    default:
      return symbol();
  }
}

// A point before a letter begins a word: `QTY=1.AND.DONE`.
Token Lexer::number() noexcept {
  std::size_t length = 0;
  while (length < rest_.size() && isDigit(rest_[length])) ++length;
  const bool point = length < rest_.size() && rest_[length] == '.';
  if (point && (length + 1 == rest_.size() || !isLetter(rest_[length + 1]))) {
    ++length;
    while (length < rest_.size() && isDigit(rest_[length])) ++length;
  }
  return take(Token::kNumber, length);
}

Token Lexer::quoted(char closing) noexcept {
  const std::size_t end = rest_.find(closing, 1);
  if (end == std::string_view::npos) return take(Token::kUnterminatedText, rest_.size());
  Token token = take(Token::kText, end + 1);
  token.text = token.text.substr(1, end - 1);
  return token;
}

Token Lexer::dottedWord() noexcept {
  for (const Word &word : kDottedWords) {
    if (sameWord(rest_.substr(0, word.text.size()), word.text)) {
      return take(word.kind, word.text.size());
    }
  }
  return take(Token::kUnknown, 1);
}

Token Lexer::symbol() noexcept {
  for (const Word &symbol : kSymbols) {
    if (rest_.starts_with(symbol.text)) return take(symbol.kind, symbol.text.size());
  }
  return take(Token::kUnknown, 1);
}

}  // namespace zk::engine
