#include <algorithm>
#include <cstdio>

#include "CodePage.h"
#include "Commands.h"
#include "Table.h"
#include "Text.h"

namespace zk::tool {
namespace {

constexpr int32_t kDamagedIndex = -310;  // or one that is behind its table

const char *versionText(int32_t version) {
  switch (version) {
    case 0x03:
      return "dBASE III or FoxPro";
    case 0x30:
    case 0x31:
    case 0x32:
      return "newer FoxPro";
    case 0x83:
      return "dBASE III with memo";
    case 0x8B:
    case 0x8C:
      return "dBASE IV with memo";
    case 0xF5:
      return "FoxPro with memo";
    default:
      return "unknown";
  }
}

std::string hexByte(int32_t value) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%02X", static_cast<unsigned>(value));
  return text;
}

std::string lastUpdate(const ZkDbInfo &info) {
  if (info.updateMonth == 0) return "not a date";
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d", info.updateYear, info.updateMonth,
                info.updateDay);
  return text;
}

std::string padded(std::string text, std::size_t width) {
  text.resize(std::max(text.size(), width), ' ');
  return text;
}

std::string rightAligned(const std::string &text, std::size_t width) {
  return std::string(width > text.size() ? width - text.size() : 0, ' ') + text;
}

void printFact(Output &out, const char *name, const std::string &value) {
  out.write(padded(name, 15) + value + "\n");
}

void printFacts(const Table &table, Output &out) {
  const ZkDbInfo &info = table.info();
  printFact(out, "table", zk_Db_getFileName(table.id()));
  printFact(out, "version", hexByte(info.version) + " (" + versionText(info.version) + ")");
  printFact(out, "records", std::to_string(info.recordCount));
  printFact(out, "record length", std::to_string(info.recordLength));
  printFact(out, "last update", lastUpdate(info));
  if (info.memoBlockSize > 0)
    printFact(out, "memo blocks", std::to_string(info.memoBlockSize) + " bytes");
  if (info.codePage != 0) {
    const std::string name = CodePage(info.codePage).name();
    printFact(out, "code page", hexByte(info.codePage) + (name.empty() ? "" : " (" + name + ")"));
  }
  if (info.readOnly != 0) printFact(out, "read-only", zk_Db_readOnlyReason(table.id()));
}

void printField(Output &out, const std::string &name, const std::string &type,
                const std::string &width, const std::string &decimals, std::size_t nameWidth) {
  out.write(padded(name, nameWidth) + "  " + padded(type, 4) + rightAligned(width, 7) +
            rightAligned(decimals, 10) + "\n");
}

std::string flagsOf(const Tag &tag) {
  std::string flags = tag.candidate ? "candidate" : tag.unique ? "unique" : "";
  if (tag.descending) flags += flags.empty() ? "descending" : ", descending";
  return flags;
}

struct TagLine {
  std::string name, length, keys, flags, expression, filter;
  std::string file;
  std::string problem;     // why its keys cannot be evaluated
  std::string unreadable;  // why they cannot be counted
};

// Expressions may hold any bytes.
TagLine lineOf(const Table &table, const Tag &tag, const CodePage &page) {
  const auto shown = [&page](const std::string &text) { return escapeControls(page.toUtf8(text)); };
  TagLine line = {shown(tag.name),
                  std::to_string(tag.keyLength),
                  "?",
                  flagsOf(tag),
                  shown(tag.expression),
                  shown(tag.filter),
                  tag.file,
                  "",
                  ""};
  if (tag.problem != 0) line.problem = codeText(tag.problem);
  const int32_t keys = table.keyCount(tag);
  if (keys < 0) {
    line.unreadable = errorText(keys);
    if (keys == kDamagedIndex) line.unreadable += ": zktool check --repair " + table.name();
  } else {
    line.keys = std::to_string(keys);
  }
  return line;
}

void printTagLine(Output &out, const TagLine &tag, std::size_t flagsWidth,
                  std::size_t expressionWidth) {
  std::string line = padded(tag.name, 10) + rightAligned(tag.length, 12) +
                     rightAligned(tag.keys, 10) + "  " + padded(tag.flags, flagsWidth) + "  " +
                     tag.expression;
  if (!tag.filter.empty()) {
    line += std::string(expressionWidth - characters(tag.expression) + 2, ' ') + tag.filter;
  }
  out.write(line + "\n");
}

// The file's name, and what is wrong with it.
void printIndex(Output &out, const std::vector<TagLine> &tags, const std::string &file) {
  out.write("\n");
  printFact(out, "index", file);
  const auto wrong = std::find_if(tags.begin(), tags.end(), [&file](const TagLine &tag) {
    return tag.file == file && !tag.unreadable.empty();
  });
  if (wrong == tags.end()) return;
  printFact(out, "", wrong->unreadable);
}

void printTags(const Table &table, const CodePage &page, Output &out) {
  TagLine heading = {"tag", "key length", "keys", "flags", "expression", "", "", "", ""};
  std::vector<TagLine> lines;
  std::size_t flagsWidth = heading.flags.size();
  std::size_t expressionWidth = heading.expression.size();
  for (const Tag &tag : table.tags()) {
    const TagLine line = lineOf(table, tag, page);
    flagsWidth = std::max(flagsWidth, line.flags.size());
    expressionWidth = std::max(expressionWidth, characters(line.expression));
    if (!line.filter.empty()) heading.filter = "filter";
    lines.push_back(line);
  }
  std::string file;
  for (const TagLine &line : lines) {
    if (line.file != file) {
      file = line.file;
      printIndex(out, lines, file);
      printTagLine(out, heading, flagsWidth, expressionWidth);
    }
    printTagLine(out, line, flagsWidth, expressionWidth);
    if (!line.problem.empty()) {
      out.write("  no seeks, as its keys cannot be evaluated: " + line.problem + "\n");
    }
  }
}

}  // namespace

void runInfo(const std::string &name, Output &out) {
  const Table table(name, 0);
  const CodePage page(table.info().codePage);
  printFacts(table, out);
  std::size_t nameWidth = 10;
  for (const Field &field : table.fields()) nameWidth = std::max(nameWidth, field.name.size());
  out.write("\n");
  printField(out, "field", "type", "width", "decimals", nameWidth);
  for (const Field &field : table.fields()) {
    printField(out, page.toUtf8(field.name), std::string(1, field.type),
               std::to_string(field.width), std::to_string(field.decimals), nameWidth);
  }
  printTags(table, page, out);
  out.flush();
}

}  // namespace zk::tool
