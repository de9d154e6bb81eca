// Small text helpers that several commands share.
#pragma once

#include <string>
#include <string_view>

namespace zk::tool {

std::string_view withoutTrailingBlanks(std::string_view text);
std::string_view withoutBlanks(std::string_view text);  // at either end

std::string upperCase(std::string_view text);  // ASCII letters only

// The text with bytes that would steer a terminal written as \n, \t, \x1B, ...
std::string escapeControls(std::string_view text);

}  // namespace zk::tool
