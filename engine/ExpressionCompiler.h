// From an expression's source to its program.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "engine/ExpressionFunctions.h"
#include "engine/ExpressionLexer.h"
#include "engine/ExpressionProgram.h"

namespace zk::engine {

class Compiler {
 public:
  // The program refers to the source's bytes and to the table's fields.
  Compiler(Table &table, std::string_view source, Program &program) noexcept
      : table_(table), source_(source), lexer_(source), program_(program) {}

  // 0, or the code of what is wrong (not reported yet). Throws std::bad_alloc.
  int compile();
  // The text of that code when it is not the code's own, else null.
  const char *errorText() const noexcept { return errorText_; }

 private:
  // How strongly operators bind; what is no operator binds less than any.
  enum Strength { kNone, kOr, kAnd, kNot, kRelation, kSum, kProduct, kPower };

  // A value that the code so far leaves on the stack.
  struct Operand {
    ValueType type = ValueType::kLogical;
    std::size_t length = 0;     // of a text
    std::size_t begin = 0;      // its first instruction
    std::size_t poolStart = 0;  // where its texts begin in the pool
  };
  struct Arguments {
    Operand operands[kMostParameters];
    std::size_t count = 0;
  };

  bool fail(int code, const char *text = nullptr) noexcept;
  bool tooLarge() noexcept;
  bool unexpected(int code) noexcept;
  void advance() noexcept { token_ = lexer_.next(); }

  static int strengthOf(Token::Kind kind) noexcept;

  // Each parses what its name says, emits its code and describes its value; false after an error.
  bool parseBinary(int weakest, Operand &out);
  bool parseRight(Token::Kind kind, int strength, Operand &left);
  bool parseLogic(Token::Kind kind, Operand &left);
  bool parseOperand(Operand &out);
  bool parsePrefix(Token::Kind kind, Operand &out);
  bool parseBrackets(Operand &out);
  bool parseNumber(Operand &out);
  bool parseText(Operand &out);
  bool parseName(Operand &out);
  bool parseField(Table *table, std::string_view name, Operand &out);
  bool parseAlias(std::string_view alias, Operand &out);
  bool parseIif(Operand &out);
  bool parseArguments(std::size_t most, Arguments &arguments);
  bool parseFunction(const Function &function, Operand &out);
  bool expectComma();
  bool expectClose();

  bool compileField(const Field &field, Operand &out);
  bool combine(Token::Kind kind, Operand &left, const Operand &right);
  bool compare(Token::Kind kind, Operand &left, const Operand &right);
  bool fold(Op op, const Operand &left, const Operand &right);
  bool takeConstants(const Function &function, const Arguments &arguments, Constants &constants);
  bool isConstant(const Operand &operand, std::size_t end) const noexcept;

  Instruction &emit(Op op);
  bool push(Instruction instruction, ValueType type, std::size_t length, Operand &out);
  bool setResult(ValueType type, std::size_t length, Operand &out) noexcept;
  void setTarget(std::size_t jump) noexcept;
  Table *findAlias(std::string_view alias) noexcept;

  Table &table_;
  std::string_view source_;
  Lexer lexer_;
  Program &program_;
  Token token_;
  int error_ = 0;
  const char *errorText_ = nullptr;
  int nesting_ = 0;
  std::size_t depth_ = 0;    // values on the stack here
  std::size_t poolTop_ = 0;  // bytes in the pool here, at most
};

}  // namespace zk::engine
