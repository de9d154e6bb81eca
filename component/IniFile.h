// The text of an INI file, and what stands in it.
//
//   [group]            a line whose first non-blank character is "["; the name goes on to the next
//                      "]" or to the line's end
//   name = value       the name is the text before the first "="; the value begins behind the
//                      blanks and "=" that follow
//   ; comment
//
// Blanks around names and values do not belong to them. A line without "=" is a name without a
// value. A group ends where the next one begins; what stands before the first belongs to none.
// Lines end with "\n" or "\r\n"; the last one may lack its end. Names are compared without regard
// to case; of groups or variables of one name the first counts.
//
// Editing gives a new text in which everything else is what it was, byte for byte. A line that is
// written is "[group]" or "name=value", with the line end that the file begins with; an empty line
// follows a new group.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zk::component {

struct IgnoringCase {
  bool operator()(const std::string &a, const std::string &b) const;
};

class IniFile {
 public:
  struct Variable {
    std::string name;
    std::string value;
    // Its line without the line's end.
    std::size_t begin;
    std::size_t end;
  };
  struct Group {
    std::string name;
    // From its header to the next one.
    std::size_t begin;
    std::size_t end;
    // Behind its last variable, or its header.
    std::size_t place;
    std::vector<Variable> variables;
    std::map<std::string, std::size_t, IgnoringCase> byName;

    const Variable *variable(std::string_view name) const;
  };

  explicit IniFile(std::string text);
  IniFile(IniFile &&) = default;
  IniFile &operator=(IniFile &&) = default;

  const std::string &text() const { return text_; }
  const std::vector<Group> &groups() const { return groups_; }
  const Group *group(std::string_view name) const;

  // Whether the format can hold them: no line ends, no names that are empty or would read as
  // something else.
  static bool isGroupName(std::string_view name);
  static bool isVariable(std::string_view name, std::string_view value);

  // Sets a variable of that group; adds what is missing.
  std::string with(std::string_view group, std::string_view name, std::string_view value) const;
  // Adds an empty group at the end.
  std::string withGroup(std::string_view name) const;
  // Leaves every group of that name out.
  std::string withoutGroup(std::string_view name) const;

 private:
  void readLine(std::size_t begin, std::size_t end, std::size_t next);
  void addGroup(std::string_view name, std::size_t begin, std::size_t next);
  void addVariable(std::string_view line, std::size_t begin, std::size_t end, std::size_t next);
  std::string withNewGroup(std::string_view name, const std::string &lines) const;

  std::string text_;
  std::string_view lineEnd_ = "\n";
  std::vector<Group> groups_;
  std::map<std::string, std::size_t, IgnoringCase> byName_;
};

}  // namespace zk::component
