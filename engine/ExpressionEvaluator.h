// Runs an expression's program.
//
// Texts are views: of the source, of a record buffer, of a memo, or of the text pool. The pool is a
// stack beside the value stack, each value owning the piece between its
// `poolStart` and `poolEnd`, empty when its text lies elsewhere. An
// operation that makes a text puts it where its first operand's piece began, so that `A + B + C`
// copies each part once and the pool never needs more than the lengths of the texts in use.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/Memory.h"
#include "engine/ExpressionProgram.h"

namespace zk::engine {

class Evaluator {
 public:
  struct Slot {
    double number = 0;  // a date is its Julian day number, 0 when empty
    std::string_view text;
    std::size_t poolStart = 0;
    std::size_t poolEnd = 0;
    bool logical = false;
  };

  // Makes room for a program. Throws std::bad_alloc.
  void prepare(const Program &program);
  // Takes the date and time of now.
  void beginRun() noexcept;

  // Runs the instructions from `begin` to `end`, which leave one value. 0; -440, -920 (not reported
  // yet), or the code of a memo that cannot be read (reported).
  int run(const Program &program, std::size_t begin, std::size_t end, Table &table) noexcept;
  const Slot &result() const noexcept { return *top_; }

 private:
  int perform(const Instruction &instruction, Table &table) noexcept;
  int performOnNumbers(const Instruction &instruction) noexcept;
  int call(const Instruction &instruction, Table &table) noexcept;
  int callOnDate(Op op) noexcept;
  double readText(Op op) noexcept;

  Slot &push() noexcept;
  // The two topmost values become one.
  Slot &reduce() noexcept;
  int addDays(Slot &date, double days) noexcept;
  int join(bool trimmed) noexcept;
  void cut(const Instruction &instruction) noexcept;
  int makeUpper(std::uint8_t codePage) noexcept;
  // Room for a text where the topmost value's piece of the pool begins; null when refused.
  char *makeText(std::size_t length) noexcept;
  bool makeRoom(std::size_t size) noexcept;

  base::Vector<Slot> stack_;  // the first lies below all values
  Slot *top_ = nullptr;
  base::OwnedBlock<char> pool_;
  std::size_t poolSize_ = 0;
  std::int64_t today_ = 0;
  char timeOfDay_[8] = {};  // HH:MM:SS
};

}  // namespace zk::engine
