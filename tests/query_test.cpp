// Queries with tags give what a walk through the records gives.
#include "engine/Query.h"

#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "base/Memory.h"
#include "engine/Calendar.h"
#include "engine/Context.h"
#include "engine/Error.h"
#include "engine/IndexBuilder.h"
#include "engine/Table.h"
#include "tests/support.h"

namespace {

using namespace support;
using zk::base::Owned;
using zk::engine::Context;
using zk::engine::Expression;
using zk::engine::IndexBuilder;
using zk::engine::Query;
using zk::engine::Table;
using zk::engine::Tag;
using zk::engine::TagDefinition;
using zk::engine::Value;
using zk::engine::ValueType;

const TagDefinition kTags[] = {
    {"NAME", "NAME", "", false, false},
    {"UP", "UPPER(NAME)", "", false, true},
    {"TRIMMED", "TRIM(NAME)", "", false, false},
    {"BOTH", "NAME + CODE", "", false, false},
    {"CODE", "code", "", false, true},
    {"QTY", "QTY", "", false, false},
    {"NEGATIVE", "-QTY", "", false, true},
    {"SHOWN", "STR(QTY, 8, 2)", "", false, false},
    {"DAY", "DAY", "", false, true},
    {"DAYTEXT", "DTOS(DAY)", "", false, false},
    {"NUM", "NUM", "", false, false},
    {"SUM", "NUM + QTY", "", false, false},
    {"CHOSEN", "IIF(QTY < 0, NAME, UPPER(NAME))", "", false, false},
    {"SOME", "LEFT(NAME, 2)", "QTY > 0", false, false},
};

// What random conditions compare with constants: all keys, and a few that no tag has.
const char *const kSubjects[] = {
    "NAME",      "FIELD->NAME",   "upper(name)", "TRIM(NAME)",
    "NAME+CODE", "CODE",          "QTY",         "-QTY",
    "(DAY)",     "STR(QTY,8,2)",  "DAY",         "DTOS(DAY)",
    "NUM",       "NUM+QTY",       "CODE+NAME",   "iif(qty<0,name,upper(name))",
    "QTY * 2",   "LEFT(NAME, 2)", "RECNO()",     "SUBSTR(NAME, 2)",
};

std::string filled(std::string text, std::size_t width) {
  text.resize(width, ' ');
  return text;
}

class QueryTest : public TableTest {
 protected:
  QueryTest() {
    context_.settings.showErrorBoxes = false;
    context_.settings.lockAttempts = 1;
  }
  ~QueryTest() override { context_.closeAll(); }

  int number(int least, int most) {
    return least + static_cast<int>(random_() % static_cast<unsigned>(most - least + 1));
  }
  std::string randomText(int longest) {
    std::string text;
    for (int i = number(0, longest); i > 0; --i) text += "AABBab \xE9"[random_() % 8];
    return text;
  }

  std::string randomRecord() {
    char text[32] = "        ";
    if (number(0, 9) != 0) {
      std::snprintf(text, sizeof text, "%8.2f", number(-40, 40) / (number(0, 1) == 0 ? 1.0 : 8.0));
    }
    std::string day(8, ' ');
    if (number(0, 5) != 0) day = "202402" + std::to_string(number(10, 29));
    int num = number(-30, 30);
    if (number(0, 30) == 0) num = num < 0 ? INT32_MIN : INT32_MAX;
    const std::string code = number(0, 2) == 0 ? "AB" : randomText(3);
    return (number(0, 7) == 0 ? "*" : " ") + filled(randomText(8), 8) + filled(code, 3) +
           std::string(text, 8) + day + little(static_cast<std::uint32_t>(num), 4);
  }

  void writeTable(int count) {
    std::vector<std::string> records;
    for (int i = 0; i < count; ++i) records.push_back(randomRecord());
    writeFile(path("T.DBF"), tableBytes(0x30,
                                        {{"NAME", 'C', 8},
                                         {"CODE", 'C', 3},
                                         {"QTY", 'N', 8, 2},
                                         {"DAY", 'D', 8},
                                         {"NUM", 'I', 4}},
                                        records));
  }

  void buildIndex(const TagDefinition *tags, std::size_t count) {
    Table *const table = open();
    ASSERT_NE(table, nullptr) << context_.errorText();
    ASSERT_EQ(IndexBuilder(*table).build(path("T.CDX").c_str(), tags, count), 0)
        << context_.errorText();
    table->close();
    patchFile(path("T.DBF"), 28, std::string(1, '\1'));
  }

  Table *open() { return Table::open(context_, path("T.DBF").c_str()); }

  Table &openWithTags(int count) {
    writeTable(count);
    buildIndex(kTags, std::size(kTags));
    Table *const table = open();
    EXPECT_EQ(table->indexes().size(), 1u);
    return *table;
  }

  // ---- What a query finds, and where the table stands in the end

  struct Result {
    std::vector<std::uint32_t> records;
    int status = 0;
    std::uint32_t at = 0;
    bool atEnd = false;
    bool atBeginning = false;
    bool operator==(const Result &) const = default;
  };

  static Result finished(std::vector<std::uint32_t> records, int status, const Table &table) {
    return {std::move(records), status, table.recordNumber(), table.atEnd(), table.atBeginning()};
  }

  Result walked(Table &table, const std::string &condition) {
    Owned<Expression> expression;
    EXPECT_EQ(Expression::compile(table, condition, expression), 0) << context_.errorText();
    std::vector<std::uint32_t> records;
    int status = table.top();
    for (bool holds = false; status == 0; status = table.skip(1)) {
      status = expression->evaluateCondition(holds);
      if (status != 0) break;
      if (holds) records.push_back(table.recordNumber());
    }
    return finished(std::move(records), status, table);
  }

  struct Queried {
    Result result;
    bool planned = false;
    std::uint32_t candidates = 0;
  };

  Queried queried(Table &table, const std::string &condition) {
    Query query(table);
    EXPECT_EQ(query.setCondition(condition), 0) << context_.errorText();
    EXPECT_EQ(query.begin(), 0);
    EXPECT_EQ(context_.errorCode(), 0) << "an index's problem is not reported";
    Queried queried;
    queried.planned = query.candidates() != nullptr;
    if (queried.planned) queried.candidates = query.candidates()->size();
    std::vector<std::uint32_t> records;
    int status = query.first();
    for (; status == 0 && records.size() < 100000; status = query.next()) {
      records.push_back(table.recordNumber());
    }
    queried.result = finished(std::move(records), status, table);
    return queried;
  }

  // ---- Random conditions

  // A constant that lies near the subject's value in some record.
  std::string constantFor(Table &table, const std::string &subject) {
    Owned<Expression> expression;
    EXPECT_EQ(Expression::compile(table, subject, expression), 0) << subject;
    EXPECT_EQ(table.go(number(1, static_cast<int>(table.recordCount()))), 0);
    Value value{};
    EXPECT_EQ(expression->evaluate(value), 0);
    if (value.type == ValueType::kCharacter) return textConstant(std::string(value.text));
    return value.type == ValueType::kDate ? dateConstant(value.number)
                                          : numberConstant(value.number);
  }

  std::string textConstant(std::string text) {
    if (number(0, 2) != 0) text.resize(std::min<std::size_t>(text.size(), random_() % 12));
    if (number(0, 2) == 0) text += randomText(3);
    if (number(0, 3) == 0) text += std::string(random_() % 10, ' ');
    if (number(0, 3) == 0) return "'" + text.substr(0, 1) + "' + '" + text.substr(0, 3) + "'";
    return "'" + text + "'";
  }

  std::string numberConstant(double value) {
    const double moves[] = {0, 0, 0, 0, 1, -1, 0.5, 0.01, -0.01, 1e12, -1e12, 3000000000.0};
    char text[64];
    std::snprintf(text, sizeof text, "%.3f", value + moves[random_() % std::size(moves)]);
    return number(0, 4) == 0 ? std::string("(") + text + " + 0.001 - 0.001)" : text;
  }

  std::string dateConstant(double julian) {
    if (julian == 0) return number(0, 1) == 0 ? "STOD('')" : "CTOD('  /  /  ')";
    if (number(0, 9) == 0) return "(DATE() - 3)";
    const auto date =
        zk::engine::civilFromJulian(static_cast<std::int64_t>(julian) + number(-1, 1));
    const int year = static_cast<int>(date.year);
    const int month = static_cast<int>(date.month);
    const int day = static_cast<int>(date.day);
    char text[64];
    if (number(0, 1) == 0) {
      std::snprintf(text, sizeof text, "STOD('%04d%02d%02d')", year, month, day);
    } else {
      std::snprintf(text, sizeof text, "CTOD('%d/%d/%d')", month, day, year);
    }
    return text;
  }

  std::string randomRelation(Table &table) {
    static const char *const kRelations[] = {" = ", " = ", "<", " <= ", ">", " >= ", "#", "<>"};
    const std::string subject = kSubjects[random_() % std::size(kSubjects)];
    const std::string constant = constantFor(table, subject);
    const std::string relation = kRelations[random_() % std::size(kRelations)];
    return number(0, 2) == 0 ? constant + relation + subject : subject + relation + constant;
  }

  std::string randomCondition(Table &table, int depth) {
    const int kind = depth > 0 ? number(0, 12) : 0;
    if (kind < 4) return randomRelation(table);
    const std::string a = randomCondition(table, depth - 1);
    if (kind == 4) return ".NOT. (" + a + ")";
    const std::string b = randomCondition(table, depth - 1);
    if (kind == 5) return "IIF(" + randomRelation(table) + ", " + a + ", " + b + ")";
    const std::string both = a + (kind < 9 ? " .OR. " : " .AND. ") + b;
    return number(0, 1) == 0 ? both : "(" + both + ")";
  }

  std::mt19937 random_;
  Context context_;
};

TEST_F(QueryTest, TagsFindWhatAWalkFinds) {
  constexpr int kRounds = 12;
  constexpr int kConditions = 250;
  int planned = 0;
  int few = 0;
  for (int round = 0; round < kRounds; ++round) {
    random_.seed(static_cast<unsigned>(round));
    const int count = round < 3 ? round + 1 : round % 2 == 0 ? 220 : 350;
    Table &table = openWithTags(count);
    std::vector<Tag *> orders = {nullptr};
    for (const auto &tag : table.indexes()[0]->tags()) orders.push_back(tag.get());
    for (int i = 0; i < kConditions; ++i) {
      const std::string condition = randomCondition(table, 3);
      SCOPED_TRACE(std::to_string(round) + ": " + condition);
      Tag *const order = i % 2 == 0 ? orders[random_() % orders.size()] : nullptr;
      table.selectTag(nullptr);
      table.go(1);
      table.selectTag(order);
      const Queried found = queried(table, condition);
      const Result expected = walked(table, condition);
      ASSERT_EQ(found.result.records, expected.records);
      ASSERT_EQ(found.result, expected) << (order != nullptr ? order->name() : "record order");
      planned += found.planned ? 1 : 0;
      few += found.planned && found.candidates < 100 ? 1 : 0;
    }
    table.close();
  }
  EXPECT_GT(planned, kRounds * kConditions / 3);
  EXPECT_GT(few, kRounds * kConditions / 4);
}

TEST_F(QueryTest, TagsRuleOutAllTheyCan) {
  random_.seed(1);
  Table &table = openWithTags(2000);  // a set may have 500
  enum Use { kNone, kSome, kExactly };
  const struct {
    const char *condition;
    Use use;
  } kCases[] = {
      {"NAME = 'AB'", kExactly},
      {"name='AB      ' .or. Name = \"BA\"", kExactly},
      {"NAME > 'bb'", kExactly},
      {"'bb' < NAME", kExactly},
      {"NAME > 'BA' .AND. NAME <= 'BB' .AND. NAME >= 'AB'", kExactly},
      {"NUM >= -3 .AND. QTY >= -3 .AND. NUM < 0 .AND. QTY < 0", kSome},
      {"NUM > -5 .AND. .NOT. DELETED() .AND. 5 > NUM .AND. NAME = 'AB'", kSome},
      {"NUM > 5 .AND. NUM < 5", kExactly},
      {"'AA      ' = NAME", kExactly},
      {"UPPER(NAME) = 'AB'", kExactly},
      {"TRIM(NAME) = 'AB'", kExactly},
      {"NAME = 'AB' + 'A'", kExactly},
      {"NAME = IIF(1 > 2, 'AA', 'BB')", kExactly},
      {"QTY > 39", kExactly},
      {"QTY < -39 .OR. QTY > 39", kExactly},
      {"QTY = 3.25", kExactly},
      {"-QTY > 39", kSome},
      {"NUM = 7", kExactly},
      {"NUM >= 28 .OR. NUM < -28", kExactly},
      {"NUM = 7.5", kExactly},
      {"NUM > 3000000000", kExactly},
      {"DAY = STOD('20240215')", kExactly},
      {"CTOD('02/27/2024') < DAY", kExactly},
      {"DAY > DATE()", kExactly},
      {"DTOS(DAY) = '2024021'", kNone},  // true of too many
      {"DTOS(DAY) = '20240215'", kExactly},
      {"STR(QTY,8,2) = '    3.25'", kExactly},
      {"NUM = 7 .AND. NAME # 'A'", kSome},
      {"NAME # 'A' .AND. NUM = 7", kSome},
      {"NUM = 7 .AND. (NAME = 'A' .OR. CODE # 'B')", kSome},
      {"DELETED() .AND. (NUM = 7 .OR. QTY = 3)", kSome},
      {"IIF(QTY < 0, NAME, UPPER(NAME)) = 'AB'", kExactly},
      {"'AB      ' = IIF(QTY < 0, NAME, UPPER(NAME))", kExactly},
      {"IIF(QTY > 0, NAME, UPPER(NAME)) = 'AB'", kNone},
      {"NUM < -18 .AND. QTY < -25", kExactly},
      {"NUM = 1 .OR. NUM = 2 .OR. NUM = 3 .OR. NAME # 'A'", kNone},
      {"NUM > -20", kNone},
      {"NUM < 0 .OR. NUM >= 0", kNone},
      {"NAME # 'AB'", kNone},
      {".NOT. NAME = 'AB'", kNone},
      {"(NAME = 'AB') = .F.", kNone},
      {"IIF(QTY > 0, NUM = 7, NUM = 8)", kNone},
      {"'AB' = TRIM(NAME)", kNone},
      {"LEFT(NAME, 2) = 'AB'", kNone},  // the tag has a filter
      {"NAME = CODE", kNone},
      {"NAME $ 'AB'", kNone},
      {"QTY * 2 = 6", kNone},
      {"NUM = RECNO()", kNone},
      {"NUM = RECCOUNT()", kNone},
      {"NAME = DEL()", kNone},
      {".T.", kNone},
  };
  for (const auto &c : kCases) {
    SCOPED_TRACE(c.condition);
    const Queried found = queried(table, c.condition);
    EXPECT_EQ(found.planned, c.use != kNone);
    const auto matches = static_cast<std::uint32_t>(found.result.records.size());
    EXPECT_LE(found.candidates, c.use == kExactly ? matches : 500);
    EXPECT_EQ(found.result, walked(table, c.condition));
  }
}

// Where the tags have ruled a record out, what is wrong with it does not matter.
TEST_F(QueryTest, ErrorsOfRecordsThatAreRuledOut) {
  random_.seed(2);
  Table &table = openWithTags(500);
  const std::string condition = "1 / (NUM - 3) > 0 .AND. NUM = 7";
  EXPECT_EQ(walked(table, condition).status, -440);
  context_.clearError();
  const Result found = queried(table, condition).result;
  EXPECT_EQ(found.status, zk::engine::kEndOfFile);
  EXPECT_EQ(found, walked(table, "NUM = 7"));
  EXPECT_EQ(queried(table, "NUM = 3 .AND. 1 / (NUM - 3) > 0").result.status, -440);
  context_.clearError();
  EXPECT_FALSE(queried(table, "NUM = 1 / 0").planned);
}

// Where the header of the tag with that key text lies.
std::size_t headerOf(const std::string &index, const std::string &key) {
  std::size_t header = 0;
  while (index.compare(header + 512, key.size() + 1, key.c_str(), key.size() + 1) != 0) {
    header += 512;
  }
  return header;
}

TEST_F(QueryTest, TagsThatCannotBeUsed) {
  random_.seed(3);
  writeTable(200);
  const TagDefinition kPlain[] = {{"NUM", "NUM", "", false, false},
                                  {"PASSED", "DAY - DATE()", "", false, false},
                                  {"COUNTED", "RECCOUNT() - NUM", "", false, false}};
  buildIndex(kPlain, std::size(kPlain));
  const std::string index = bytesOf("T.CDX");
  const std::size_t header = headerOf(index, "NUM");
  const std::size_t root = littleAt(index, header, 4);
  const auto options = static_cast<unsigned char>(index[header + 14]);
  // The first entry of the root leads to the leaf with the smallest keys.
  const std::size_t firstLeaf = bigAt(index, root + 12 + 4 + 4, 4);
  const std::string condition = "NUM < -29 .OR. NUM = 7";
  // A change that its writer never finished.
  const std::string mark = "ZKST" + big(1, 4) + index.substr(8, 4) + big(200, 4);
  const struct {
    const char *name;
    std::size_t at;
    std::string bytes;
    bool planned;
  } kCases[] = {
      {"as it is", 0, "", true},
      {"unique: equal keys may be missing", header + 14, little(options | 1u, 1), false},
      {"candidate", header + 14, little(options | 4u, 1), true},
      {"damaged root", root, std::string(512, '\xFF'), false},
      {"no such root", header, little(0x7FFFFE00, 4), false},
      {"a record beyond the table", firstLeaf + 24, std::string(1, '\xFF') + index[firstLeaf + 25],
       false},
      {"behind its table", 64, mark, false},
  };
  for (const auto &c : kCases) {
    SCOPED_TRACE(c.name);
    writeFile(path("T.CDX"), index);
    patchFile(path("T.CDX"), c.at, c.bytes);
    Table *const table = open();
    ASSERT_NE(table, nullptr);
    const Queried found = queried(*table, condition);
    EXPECT_EQ(found.planned, c.planned);
    EXPECT_EQ(found.result, walked(*table, condition));
    EXPECT_FALSE(queried(*table, "DAY - DATE() = 0").planned) << "keys of another day";
    EXPECT_FALSE(queried(*table, "RECCOUNT() - NUM = 199").planned);
    table->close();
    context_.clearError();
  }
}

// Another program's arithmetic may give keys that differ in their last bits.
TEST_F(QueryTest, KeysThatAreNotQuiteTheNumber) {
  writeFile(path("T.DBF"), tableBytes(0x03, {{"QTY", 'N', 4, 1}}, {"  0.1", "  0.2"}));
  const TagDefinition kPlain[] = {{"QTY", "QTY", "", false, false}};
  buildIndex(kPlain, 1);
  const std::string key = big(0xBFB999999999999A, 8);
  const std::size_t place = bytesOf("T.CDX").find(key);
  for (const char last : {'\x99', '\x9A', '\x9B'}) {
    patchFile(path("T.CDX"), place + 7, std::string(1, last));
    Table *const table = open();
    for (const char *condition : {"QTY = 0.1", "0.1 >= QTY", "QTY < 0.2", "QTY >= 0.1"}) {
      SCOPED_TRACE(condition);
      const Queried found = queried(*table, condition);
      EXPECT_TRUE(found.planned);
      EXPECT_EQ(found.result, walked(*table, condition));
    }
    table->close();
  }
}

TEST_F(QueryTest, ScansWhenMemoryIsRefused) {
  random_.seed(4);
  Table &table = openWithTags(300);
  Query query(table);
  ASSERT_EQ(query.setCondition("NUM = 7"), 0);
  const zk::base::AllocatorSlots slots = zk::base::allocatorSlots;
  zk::base::allocatorSlots.allocate = [](std::size_t) -> void * { return nullptr; };
  const int status = query.begin();
  zk::base::allocatorSlots = slots;
  ASSERT_EQ(status, 0);
  EXPECT_EQ(query.candidates(), nullptr);
  EXPECT_EQ(query.first(), 0);
  const std::uint32_t found = table.recordNumber();
  EXPECT_EQ(found, walked(table, "NUM = 7").records.at(0));
}

// What another handle has appended is there, with tags and without.
TEST_F(QueryTest, NewRecordsAreFound) {
  random_.seed(5);
  writeTable(20);
  Table *const reader = open();
  Table *const writer = open();
  ASSERT_NE(writer, nullptr);
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(writer->appendBlank(), 0);
    EXPECT_EQ(queried(*reader, ".T.").result.records.size(), 21u + static_cast<unsigned>(i));
  }
}

}  // namespace
