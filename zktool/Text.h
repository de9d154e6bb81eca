// Small text helpers that several commands share.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zk::tool {

std::string_view withoutTrailingBlanks(std::string_view text);
std::string_view withoutBlanks(std::string_view text);  // at either end

std::string upperCase(std::string_view text);  // ASCII letters only

// Without the line ends (LF or CRLF); an empty text is one empty line.
std::vector<std::string_view> linesOf(std::string_view text);

std::size_t characters(std::string_view utf8);

// The text with bytes that would steer a terminal written as \n, \t, \x1B, ...
std::string escapeControls(std::string_view text);

}  // namespace zk::tool
