// An application component for tests, registered with the library as long as it lives: files and
// directories, a configuration directory, INI files in memory, translations. Tests set what it
// knows and see what it was asked; that every reference has been released is checked at its end.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/fake_com.h"
#include "zk_baselib.h"
#include "zk_component.h"

namespace fake {

using Wide = std::basic_string<OLECHAR>;

// From and to UTF-8; what is no UTF-16 becomes "?".
Wide wide(const std::string &text);
std::string narrow(const Wide &text);

struct Variable {
  Wide name;
  Wide value;
};
struct Group {
  Wide name;
  std::vector<Variable> variables;
};

// Which of its interfaces the component answers.
struct Interfaces {
  bool application = true;
  bool cache = true;
  bool translator = true;
  bool directory = true;
};

// One at a time. Its end has the library let go of it.
class Component {
 public:
  Component();
  ~Component();
  Component(const Component &) = delete;
  Component &operator=(const Component &) = delete;

  // ---- What it answers

  Interfaces interfaces;
  // What every call answers instead of doing anything; S_OK: it does.
  HRESULT failure = S_OK;
  // False: the class cannot be created.
  bool available = true;

  std::set<std::string> files;        // names as they are asked for
  std::set<std::string> directories;  // likewise
  std::string configurationDirectory = "C:\\Config";
  std::string language;
  // Text and message id give the translation; an id of "" serves every id.
  std::map<std::pair<std::string, std::string>, std::string> translations;

  // Whether values are stored: 0 answers "not stored".
  int16_t storing = 1;

  // Sets a variable of a file in memory, as the cache's SetValue does; file and group in any case.
  void set(const std::string &file, const std::string &group, const std::string &name,
           const std::string &value);
  void addGroup(const std::string &file, const std::string &group);
  // Every group of the file, one line for a group and one for each variable: "[G]", "A=1".
  std::vector<std::string> lines(const std::string &file) const;

  // ---- What it was asked

  // "Revalidate(C:\\a)", "GetValue(file, group, name)", ... in their order.
  std::vector<std::string> calls;
  int created = 0;  // how often the library made the object
  // Errors that the library told of.
  std::vector<HRESULT> errors;

  // ---- The cache's contents, by file name in lower case

  std::map<Wide, std::vector<Group>> ini;
  Group *find(const Wide &file, const Wide &group);
  Group &findOrAdd(const Wide &file, const Wide &group);

 private:
  long objectsBefore_;
  support::RegisteredClass registered_;
};

// A list of variables as a component hands it out, with one reference.
IZkVariablesList *newVariablesList(const std::vector<Variable> &variables);

}  // namespace fake
