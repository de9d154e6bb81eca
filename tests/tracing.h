// The trace lines that a call writes.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "zk_baselib.h"

namespace support {

// "lnklist.cpp: Entering zk_LnkList_start.\n" and so on, without line numbers.
template <typename Body>
std::string trace(uint32_t condition, Body body) {
  zk_Diag_setLevel(3);
  zk_Diag_setCondition(condition);
  testing::internal::CaptureStdout();
  body();
  zk_Diag_disable();
  std::string lines = testing::internal::GetCapturedStdout();
  for (std::size_t at = 0; (at = lines.find(" (", at)) != std::string::npos;) {
    lines.replace(at, lines.find(") ", at) + 2 - at, ": ");
  }
  return lines;
}

// The entry and exit of one traced function, with lines between them.
inline std::string tracePair(const std::string &module, const std::string &function,
                             const std::string &between = "") {
  return module + ".cpp: Entering " + function + ".\n" + between + module + ".cpp: Exiting " +
         function + ".\n";
}

}  // namespace support
