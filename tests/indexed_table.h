// A small table with tags, for the tests of indexes under stress: its records as values, and the
// judges of what its tags say.
#pragma once

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support.h"

namespace indexed {

constexpr int kBehind = -310;

struct Record {
  std::string code;
  int quantity = 0;
  std::string text;
  std::string note;
  bool deleted = false;
  bool operator==(const Record &) const = default;
};
using Records = std::vector<Record>;

// Texts without much in common.
inline std::string longText(int seed) {
  std::string text;
  unsigned state = static_cast<unsigned>(seed) * 2654435761u + 12345u;
  while (text.size() < 170) {
    state = state * 1664525u + 1013904223u;
    text += static_cast<char>('A' + (state >> 24) % 26);
  }
  return text;
}

// A page takes two or three such keys of TEXT, so that few records make a deep tree.
constexpr char kFields[] = "CODE C 12, QTY N 8 0, TEXT C 200, NOTE M";

inline std::string padded(std::string text, std::size_t width) {
  text.resize(width, ' ');
  return text;
}

// ---- Tags

struct TagCase {
  const char *name;
  const char *expression;
  const char *filter;
  bool (*included)(const Record &);
  std::string (*key)(const Record &);  // as a text that sorts as it must
};

inline bool always(const Record &) { return true; }

inline const TagCase kTags[] = {
    {"TEXT", "TEXT", nullptr, always, [](const Record &r) { return padded(r.text, 200); }},
    {"QTY", "QTY", nullptr, always,
     [](const Record &r) { return std::to_string(50'000'000 + r.quantity); }},
    {"LIVE", "CODE", ".NOT. DELETED()", [](const Record &r) { return !r.deleted; },
     [](const Record &r) { return padded(r.code, 12); }},
    {"CODE", "CODE", nullptr, always, [](const Record &r) { return padded(r.code, 12); }},
};

inline const TagCase &tagCase(const std::string &name) {
  for (const TagCase &tag : kTags) {
    if (tag.name == name) return tag;
  }
  throw std::out_of_range(name);
}

inline int createTags(int32_t table, const char *file, const std::vector<std::string> &names) {
  std::vector<ZkTagInfo> tags;
  for (const std::string &name : names) {
    const TagCase &tag = tagCase(name);
    tags.push_back({const_cast<char *>(tag.name), const_cast<char *>(tag.expression),
                    const_cast<char *>(tag.filter), 0, 0});
  }
  return zk_Tag_create(table, file, tags.data(), static_cast<int32_t>(tags.size()));
}

// ---- Records

inline void assign(int32_t table, const Record &record) {
  zk_Db_assignFldStr(table, "CODE", record.code.c_str());
  zk_Db_assignFldInt(table, "QTY", record.quantity);
  zk_Db_assignFldStr(table, "TEXT", record.text.c_str());
  zk_Db_assignFldStr(table, "NOTE", record.note.c_str());
}

inline int append(int32_t table, const Record &record) {
  const int status = zk_Db_appendStart(table);
  if (status != 0) return status;
  assign(table, record);
  return zk_Db_append(table);
}

inline int change(int32_t table, int32_t number, const Record &record) {
  const int status = zk_Db_goRec(table, number);
  if (status != 0) return status;
  assign(table, record);
  return zk_Db_flush(table);
}

inline int setDeleted(int32_t table, int32_t number, bool deleted) {
  const int status = zk_Db_goRec(table, number);
  if (status != 0) return status;
  (deleted ? zk_Db_delRec : zk_Db_undelRec)(table);
  return zk_Db_flush(table);
}

inline Record current(int32_t table) {
  return {support::trimmed(table, "CODE"), zk_Db_getFldInt(table, "QTY"),
          support::trimmed(table, "TEXT"), support::fieldText(table, "NOTE"),
          zk_Db_deleted(table) != 0};
}

// All of them, in record order; gives the status that ended the walk, 3 when all is well.
inline int readAll(int32_t table, Records &records) {
  records.clear();
  int status = zk_Db_topRec(table, -1);
  for (; status == 0; status = zk_Db_nextRec(table, -1)) records.push_back(current(table));
  return status;
}

// ---- Judges

// The record numbers that a tag has to give.
inline std::vector<int32_t> orderOf(const TagCase &tag, const Records &records) {
  std::vector<std::pair<std::string, int32_t>> entries;
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (tag.included(records[i])) {
      entries.emplace_back(tag.key(records[i]), static_cast<int32_t>(i + 1));
    }
  }
  std::sort(entries.begin(), entries.end(), [](const auto &a, const auto &b) {
    const int order = a.first.compare(b.first);  // bytes as unsigned
    return order != 0 ? order < 0 : a.second < b.second;
  });
  std::vector<int32_t> numbers;
  for (const auto &entry : entries) numbers.push_back(entry.second);
  return numbers;
}

// "right", "behind" (every use was refused so), or what is wrong.
inline std::string judge(int32_t table, const std::string &tagName, const Records &records) {
  const TagCase &tag = tagCase(tagName);
  const int32_t number = zk_Tag_find(table, tag.name);
  if (number < 0) return tagName + " is not there";
  const auto said = [&](const char *what, int status) {
    return tagName + ": " + what + " gives " + std::to_string(status);
  };
  const auto seek = [&](const Record &record) {
    return tagName == "QTY" ? zk_Db_seekDouble(record.quantity, table, number)
                            : zk_Db_seekStr(tag.key(record).c_str(), table, number);
  };
  int status = zk_Db_topRec(table, number);
  if (status == kBehind) {
    if ((status = seek(Record())) != kBehind) return said("seek, after a refusal,", status);
    if ((status = zk_Db_botRec(table, number)) != kBehind) return said("bottom", status);
    return "behind";
  }
  const std::vector<int32_t> expected = orderOf(tag, records);
  std::vector<int32_t> found;
  for (; status == 0 && found.size() <= records.size(); status = zk_Db_nextRec(table, number)) {
    found.push_back(zk_Db_getRecordNo(table));
  }
  if (status != 3) return said("walking", status);
  if (found != expected) return tagName + ": the order is wrong";
  found.clear();
  status = zk_Db_botRec(table, number);
  for (; status == 0 && found.size() <= records.size(); status = zk_Db_prevRec(table, number)) {
    found.insert(found.begin(), zk_Db_getRecordNo(table));
  }
  if (status != (expected.empty() ? 3 : 4)) return said("walking back", status);
  if (found != expected) return tagName + ": the order backwards is wrong";
  for (std::size_t i = 0; i < expected.size(); i += 1 + expected.size() / 5) {
    const Record &wanted = records[static_cast<std::size_t>(expected[i] - 1)];
    if ((status = seek(wanted)) != 0) return said("seek", status);
    const Record &first = records[static_cast<std::size_t>(zk_Db_getRecordNo(table) - 1)];
    if (tag.key(first) != tag.key(wanted)) return tagName + ": seek gives another record";
  }
  return "right";
}

// What zk_Db_check finds, after repair if that is wanted: a line each, "" when all is well. Index
// files that are not there are left out.
inline std::string findings(const std::string &table, const std::vector<std::string> &indexFiles,
                            bool repair = false) {
  std::vector<const char *> names;
  for (const std::string &name : indexFiles) {
    if (support::fs::exists(name)) names.push_back(name.c_str());
  }
  names.push_back(nullptr);
  if (repair) zk_Db_check(table.c_str(), names.data(), 1, nullptr, nullptr);
  std::string text;
  const auto report = [](const char *file, const char *finding, void *user) {
    // What an append leaves behind that was not counted yet is the next one's place.
    if (std::strstr(finding, "but the file holds") != nullptr) return;
    *static_cast<std::string *>(user) += std::string(file) + ": " + finding + "\n";
  };
  const int result = zk_Db_check(table.c_str(), names.data(), 0, report, &text);
  return result < 0 ? "check gives " + std::to_string(result) : text;
}

// What all tags of an open table say, a verdict each.
inline std::string judgeAll(int32_t table, const Records &records) {
  std::string verdicts;
  ZkTagFacts facts;
  for (int32_t i = 1; zk_Tag_getInfo(table, i, &facts) != 0; ++i) {
    const std::string verdict = judge(table, facts.name, records);
    EXPECT_TRUE(verdict == "right" || verdict == "behind") << verdict;
    verdicts += verdict + " ";
  }
  return verdicts;
}

// What has to hold however its last writer ended, of a table that nobody has open: each index is
// right, or refused until it is repaired; then everything works. Gives the records.
inline Records expectRightOrRefused(const std::string &file,
                                    const std::vector<std::string> &indexFiles) {
  const auto open = [&](Records &records) {
    const int32_t table = support::openTable(file);
    EXPECT_GE(table, 0) << zk_DbError_text() << zk_DbError_file();
    EXPECT_STREQ(zk_Db_readOnlyReason(table), "");
    for (const std::string &name : indexFiles) {
      if (!support::fs::exists(name)) continue;
      EXPECT_GE(zk_Db_openNdx(table, name.c_str()), 100) << zk_DbError_text();
    }
    EXPECT_EQ(readAll(table, records), 3);
    return table;
  };
  const Record added = {"added", 77, "a text", "a note", false};

  Records before;
  int32_t table = open(before);
  const std::string verdicts = judgeAll(table, before);
  if (verdicts.find("behind") != std::string::npos) {
    EXPECT_EQ(append(table, added), kBehind);
    zk_Db_closeDb(table);
    EXPECT_EQ(findings(file, indexFiles, true), "");
    Records repaired;
    table = open(repaired);
    EXPECT_TRUE(repaired == before);
  }
  EXPECT_EQ(append(table, added), 0) << zk_DbError_text();
  EXPECT_EQ(zk_Db_closeDb(table), 0);
  EXPECT_EQ(findings(file, indexFiles), "") << verdicts;
  return before;
}

}  // namespace indexed
