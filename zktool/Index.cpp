#include <algorithm>

#include "Commands.h"
#include "Progress.h"
#include "Table.h"
#include "Text.h"

namespace zk::tool {
namespace {

struct NewTag {
  std::string name;
  std::string expression;
};

// Finds the commas that separate expressions: those outside of brackets and texts.
class CommaFinder {
 public:
  bool separates(char c) {
    if (textEnd_ != 0) {
      if (c == textEnd_) textEnd_ = 0;
      return false;
    }
    if (c == '\'' || c == '"') textEnd_ = c;
    if (c == '[') textEnd_ = ']';
    if (c == '(') ++depth_;
    if (c == ')') --depth_;
    return c == ',' && depth_ <= 0;
  }

 private:
  char textEnd_ = 0;  // of the text that is open
  int depth_ = 0;
};

std::vector<std::string> splitExpressions(const std::string &list) {
  std::vector<std::string> expressions(1);
  CommaFinder commas;
  for (const char c : list) {
    if (commas.separates(c)) {
      expressions.emplace_back();
    } else {
      expressions.back() += c;
    }
  }
  for (std::string &expression : expressions) {
    expression = std::string(withoutBlanks(expression));
    if (expression.empty()) throw UsageError("EXPRESSIONS: an expression is empty");
  }
  return expressions;
}

std::vector<NewTag> newTags(const IndexOptions &options) {
  const std::vector<std::string> expressions = splitExpressions(options.expressions);
  if (options.tag && expressions.size() > 1) throw UsageError("--tag: names one expression only");
  std::vector<NewTag> tags;
  for (const std::string &expression : expressions) {
    char name[24];
    std::snprintf(name, sizeof name, "TAG%03zu", tags.size());
    tags.push_back({options.tag.value_or(name), expression});
  }
  return tags;
}

// Creating changes the table's header. A tag that cannot be maintained may be what is replaced.
void requireWritableOrWrongTag(const Table &table) {
  const std::vector<Tag> tags = table.tags();
  const auto wrong = [](const Tag &tag) { return tag.problem != 0; };
  if (std::none_of(tags.begin(), tags.end(), wrong)) table.requireWritable();
}

// The library names the tag where the expression itself is not at fault.
Failure failureOf(const Table &table, const IndexOptions &options, const std::vector<NewTag> &tags,
                  int status) {
  const std::string named = zk_DbError_code() != 0 ? zk_DbError_file() : "";
  const std::string why = ": " + errorText(status);
  for (const NewTag &tag : tags) {
    if (named == tag.expression || zk_Str_cmpi(named.c_str(), tag.name.c_str()) == 0) {
      return Failure(table.name() + ": " + tag.expression + why);
    }
  }
  if (named == options.filter) return Failure(table.name() + ": " + named + why);
  return libraryFailure(table.name(), status);
}

void createTags(const Table &table, const IndexOptions &options, std::vector<NewTag> tags) {
  std::string filter = options.filter.value_or("");
  std::vector<ZkTagInfo> infos;
  for (NewTag &tag : tags) {
    infos.push_back({tag.name.data(), tag.expression.data(), filter.data(), options.unique,
                     options.descending});
  }
  int status = 0;
  {
    const LibraryProgress shown;
    status = zk_Tag_create(table.id(), options.name.value_or("").c_str(), infos.data(),
                           static_cast<int32_t>(infos.size()));
  }
  if (status != 0) throw failureOf(table, options, tags, status);
}

}  // namespace

void runIndex(const IndexOptions &options, Output &out) {
  const std::vector<NewTag> tags = newTags(options);
  Table table(options.table, options.name ? 0 : 2);
  if (!options.name) requireWritableOrWrongTag(table);
  createTags(table, options, tags);
  const std::vector<Tag> all = table.tags();
  for (const NewTag &made : tags) {
    // A further file is behind the production index, which may have a tag of the same name.
    const auto tag = std::find_if(all.rbegin(), all.rend(),
                                  [&](const Tag &one) { return one.isNamed(made.name); });
    if (tag == all.rend()) continue;
    const int32_t keys = table.keyCount(*tag);
    if (keys < 0) throw libraryFailure(tag->file, keys);
    out.write(tag->file + ": tag " + tag->name + ", " + std::to_string(keys) +
              " keys: " + made.expression + "\n");
  }
  table.close();
  out.flush();
}

}  // namespace zk::tool
