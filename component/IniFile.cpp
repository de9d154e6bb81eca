#include "component/IniFile.h"

#include <algorithm>
#include <utility>

#include "zk/str.h"

namespace zk::component {
namespace {

constexpr std::string_view kBlanks = " \t\v\f\r";
constexpr std::string_view kAssignment = " \t\v\f\r=";
constexpr std::string_view kLineEnds("\r\n\0", 3);
constexpr char kWindowsLineEnd[] = "\r\n";

std::string_view trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

bool hasLineEnd(std::string_view text) {
  return text.find_first_of(kLineEnds) != std::string_view::npos;
}

std::string assignment(std::string_view name, std::string_view value) {
  return std::string(name).append("=").append(value);
}

}  // namespace

bool IgnoringCase::operator()(const std::string &a, const std::string &b) const {
  return zk_Str_cmpi(a.c_str(), b.c_str()) < 0;
}

IniFile::IniFile(std::string text) : text_(std::move(text)) {
  for (std::size_t begin = 0, next; begin < text_.size(); begin = next) {
    std::size_t end = text_.find('\n', begin);
    next = end == std::string::npos ? text_.size() : end + 1;
    if (end == std::string::npos) end = text_.size();
    if (next > end && end > begin && text_[end - 1] == '\r') {
      --end;
      if (begin == 0) lineEnd_ = kWindowsLineEnd;
    }
    readLine(begin, end, next);
  }
  if (!groups_.empty()) groups_.back().end = text_.size();
}

void IniFile::readLine(std::size_t begin, std::size_t end, std::size_t next) {
  const std::string_view line = trim(std::string_view(text_).substr(begin, end - begin));
  if (line.empty() || line.front() == ';') return;
  if (line.front() == '[') {
    addGroup(trim(line.substr(1, line.find(']') - 1)), begin, next);
  } else if (!groups_.empty()) {
    addVariable(line, begin, end, next);
  }
}

void IniFile::addGroup(std::string_view name, std::size_t begin, std::size_t next) {
  if (!groups_.empty()) groups_.back().end = begin;
  groups_.push_back({std::string(name), begin, next, next, {}, {}});
  byName_.emplace(name, groups_.size() - 1);
}

void IniFile::addVariable(std::string_view line, std::size_t begin, std::size_t end,
                          std::size_t next) {
  const std::size_t equals = std::min(line.find('='), line.size());
  const std::string_view name = trim(line.substr(0, equals));
  if (name.empty()) return;
  std::string_view value = line.substr(equals);
  value.remove_prefix(std::min(value.find_first_not_of(kAssignment), value.size()));
  Group &group = groups_.back();
  group.variables.push_back({std::string(name), std::string(value), begin, end});
  group.byName.emplace(name, group.variables.size() - 1);
  group.place = next;
}

const IniFile::Variable *IniFile::Group::variable(std::string_view wanted) const {
  const auto found = byName.find(std::string(trim(wanted)));
  return found == byName.end() ? nullptr : &variables[found->second];
}

const IniFile::Group *IniFile::group(std::string_view name) const {
  const auto found = byName_.find(std::string(trim(name)));
  return found == byName_.end() ? nullptr : &groups_[found->second];
}

bool IniFile::isGroupName(std::string_view name) {
  name = trim(name);
  return !name.empty() && !hasLineEnd(name) && name.find(']') == std::string_view::npos;
}

bool IniFile::isVariable(std::string_view name, std::string_view value) {
  name = trim(name);
  return !name.empty() && !hasLineEnd(name) && name.find('=') == std::string_view::npos &&
         name.front() != '[' && name.front() != ';' && !hasLineEnd(value);
}

std::string IniFile::with(std::string_view groupName, std::string_view name,
                          std::string_view value) const {
  const Group *found = group(groupName);
  if (found == nullptr) {
    return withNewGroup(groupName, assignment(trim(name), value).append(lineEnd_));
  }
  std::string text = text_;
  if (const Variable *old = found->variable(name)) {
    return text.replace(old->begin, old->end - old->begin, assignment(old->name, value));
  }
  std::string line = assignment(trim(name), value);
  const bool afterLineEnd = found->place > 0 && text[found->place - 1] == '\n';
  // A file whose last line lacks its end goes on doing so.
  line.insert(afterLineEnd ? line.size() : 0, lineEnd_);
  return text.insert(found->place, line);
}

std::string IniFile::withGroup(std::string_view name) const { return withNewGroup(name, {}); }

std::string IniFile::withNewGroup(std::string_view name, const std::string &lines) const {
  std::string text = text_;
  if (!text.empty()) {
    if (text.back() != '\n') text += lineEnd_;
    const std::string_view ended = std::string_view(text).substr(0, text.rfind('\n'));
    const std::size_t lastLine = ended.rfind('\n') + 1;
    if (!trim(ended.substr(lastLine)).empty()) text += lineEnd_;
  }
  text.append("[").append(trim(name)).append("]").append(lineEnd_);
  return text.append(lines).append(lineEnd_);
}

std::string IniFile::withoutGroup(std::string_view name) const {
  const std::string wanted(trim(name));
  const IgnoringCase less;
  std::string text;
  std::size_t kept = 0;
  for (const Group &candidate : groups_) {
    if (less(candidate.name, wanted) || less(wanted, candidate.name)) continue;
    text.append(text_, kept, candidate.begin - kept);
    kept = candidate.end;
  }
  return text.append(text_, kept);
}

}  // namespace zk::component
