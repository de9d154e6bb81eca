// The functions of expressions: names, parameters, results.
#pragma once

#include <cstddef>
#include <string_view>

#include "engine/ExpressionProgram.h"

namespace zk::engine {

constexpr std::size_t kMostParameters = 3;

struct Function {
  std::string_view name;
  // A letter each: C, N, D as the types begin; n a numeric constant.
  std::string_view parameters;
  std::size_t required;
  ValueType result;
  Op op;
};

// Any spelling. Null when there is none. (IIF() is the compiler's own.)
const Function *findFunction(std::string_view name) noexcept;

bool parameterFits(char parameter, ValueType type) noexcept;

// The constant parameters of a call, cut to whole numbers; negative ones are 0.
struct Constants {
  std::size_t count = 0;
  std::uint32_t values[kMostParameters] = {};
};

// Sets what the function's instruction needs to know, and gives the greatest length of its text.
// `argumentLength` is that of its first argument.
std::size_t bindFunction(const Function &function, const Constants &constants,
                         std::size_t argumentLength, Instruction &instruction) noexcept;

}  // namespace zk::engine
