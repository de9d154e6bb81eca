// Stops std::bad_alloc at an exported function.
#pragma once

#include <new>
#include <utility>

namespace zk::base {

// The result of `body`, or `failure` when memory was refused inside it.
template <typename Result, typename Body>
Result guarded(Result failure, Body &&body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const std::bad_alloc &) {
    return failure;
  }
}

}  // namespace zk::base
