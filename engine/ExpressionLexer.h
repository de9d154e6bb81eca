// The words of an expression's source.
#pragma once

#include <cstdint>
#include <string_view>

namespace zk::engine {

struct Token {
  enum Kind : std::uint8_t {
    kEnd,
    kNumber,
    kText,
    kUnterminatedText,
    kName,
    kTrue,
    kFalse,
    kNot,
    kAnd,
    kOr,
    kPlus,
    kMinus,
    kTimes,
    kDivide,
    kPower,
    kEqual,
    kNotEqual,
    kLess,
    kLessOrEqual,
    kGreater,
    kGreaterOrEqual,
    kContained,
    kOpen,
    kClose,
    kComma,
    kArrow,
    kUnknown,
  };
  Kind kind = kEnd;
  std::string_view text;  // kText: without its quotes
};

class Lexer {
 public:
  explicit Lexer(std::string_view source) noexcept : rest_(source) {}
  Token next() noexcept;

 private:
  Token take(Token::Kind kind, std::size_t length) noexcept;
  Token number() noexcept;
  Token quoted(char closing) noexcept;
  Token dottedWord() noexcept;
  Token symbol() noexcept;

  std::string_view rest_;
};

// Whether two words are the same in any spelling of the letters A to Z.
bool sameWord(std::string_view left, std::string_view right) noexcept;

}  // namespace zk::engine
