// The expression language of tag keys, tag filters and query conditions.
//
//   values      character, numeric, date, logical; nothing converts by itself
//   literals    12.5   'text' "text" [text]   .TRUE. .T. .FALSE. .F.
//   fields      NAME, FIELD->NAME, ALIAS->NAME: the alias of an open table is its file's base name
//   operators   from the weakest: .OR., .AND., .NOT., = # <> < > <= >= $, + -, * /, ^ **, sign;
//               equal ones group from the left
//   functions   CHR CTOD DATE DAY DEL DELETED DTOC DTOS IIF LEFT LTRIM MONTH PAGENO RECCOUNT RECNO
//               STOD STR SUBSTR TIME TRIM UPPER VAL YEAR
//
// Words are taken in any case. A character field has its full width, blanks included. Relations of
// texts compare as many bytes as the right one has, the left one blank-padded. `$` is "contained
// in"; text - text moves the left one's trailing blanks to the end. A date takes and gives whole
// days; an empty one stays empty, and its distance to any date is 0. .AND., .OR. and IIF() evaluate
// only what they need.
//
// SUBSTR(text, from [, length]), LEFT(text, length), STR(number [, length [, decimals]]): a
// position below 1 counts as 1, a length below 0 as 0; STR() gives 10 characters without decimals
// when not told otherwise, at most 255, and asterisks when they are too few. CHR() takes 0 to 255.
// CTOD() reads MM/DD/YY (1930 to 2029) and MM/DD/CCYY; what is no date is the empty date.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/Memory.h"
#include "engine/ExpressionEvaluator.h"
#include "engine/ExpressionProgram.h"

namespace zk::engine {

class Table;

struct Value {
  ValueType type;
  bool logical;
  double number;  // numeric; of a date its Julian day number, 0 when empty
  std::string_view text;
};

class Expression {
 public:
  // Compiles `source` for the records of `table`. 0, or the code of what is wrong, which is
  // reported with the source. Throws std::bad_alloc.
  static int compile(Table &table, std::string_view source, base::Owned<Expression> &out);

  // Use compile; this is for its machinery. Throws std::bad_alloc.
  Expression(Table &table, std::string_view source);
  Expression(const Expression &) = delete;
  Expression &operator=(const Expression &) = delete;

  const base::String &source() const noexcept { return source_; }
  ValueType type() const noexcept { return program_.type; }
  // Of a character result the longest it can be, kUnboundedLength when it can be a whole memo; of
  // any other 0.
  std::size_t length() const noexcept { return program_.length; }
  const Program &program() const noexcept { return program_; }
  bool usesMemo() const noexcept { return program_.usesMemo; }
  // The kind of numbers of a field that is the whole expression; kNumber for everything else.
  FieldKind numberKind() const noexcept;
  // Such an expression must not outlive the other table.
  bool usesOtherTable() const noexcept { return program_.usesOtherTable; }

  // 0; or, reported, "Expecting logical result.".
  int requireLogical() noexcept;

  // DATE() and TIME() give the moment of this call, or else of the compilation.
  void beginRun() noexcept;

  // The value for the record as it stands in the table's buffer. A text holds until the record
  // changes or the next evaluation. Allocates nothing, except that texts made from memos use a
  // buffer that grows. 0; -440, or the code of a memo that cannot be read: these are reported.
  int evaluate(Value &out) noexcept;
  // The same for the instructions of the program from `begin` to `end`, which leave one value, of
  // that type.
  int evaluatePart(std::size_t begin, std::size_t end, ValueType type, Value &out) noexcept;
  // The value of a logical expression.
  int evaluateCondition(bool &holds) noexcept;

 private:
  int fail(int code, const char *text = nullptr) noexcept;

  Table &table_;
  base::String source_;
  Program program_;
  Evaluator evaluator_;
};

}  // namespace zk::engine
