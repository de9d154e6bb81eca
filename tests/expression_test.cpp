// The expression language of keys, filters and conditions.
#include "engine/Expression.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <thread>

#include "base/Memory.h"
#include "engine/Calendar.h"
#include "engine/Context.h"
#include "engine/Error.h"
#include "engine/Table.h"
#include "platform/System.h"
#include "tests/support.h"

namespace {

using zk::base::Owned;
using zk::engine::Context;
using zk::engine::Expression;
using zk::engine::FieldDefinition;
using zk::engine::Table;
using zk::engine::Value;
using zk::engine::ValueType;

// A value with its type: "C:text", "N:1.5", "D:20240229", "L:T".
std::string shown(const Value &value) {
  switch (value.type) {
    case ValueType::kCharacter:
      return "C:" + std::string(value.text);
    case ValueType::kNumeric: {
      char digits[64];
      std::snprintf(digits, sizeof digits, "N:%.10g", value.number);
      return digits;
    }
    case ValueType::kDate: {
      if (value.number == 0) return "D:";
      const auto date = zk::engine::civilFromJulian(static_cast<std::int64_t>(value.number));
      return "D:" + std::to_string(date.year * 10000 + date.month * 100 + date.day);
    }
    default:
      return value.logical ? "L:T" : "L:F";
  }
}

// Counts what the allocator slots are asked for, and refuses while told so.
struct Allocations {
  static inline zk::base::AllocatorSlots original;
  static inline int requests;
  static inline bool refuse;

  Allocations() {
    original = zk::base::allocatorSlots;
    requests = 0;
    refuse = false;
    zk::base::allocatorSlots.allocate = [](std::size_t size) {
      ++requests;
      return refuse ? nullptr : original.allocate(size);
    };
    zk::base::allocatorSlots.reallocate = [](void *block, std::size_t size) {
      ++requests;
      return refuse ? nullptr : original.reallocate(block, size);
    };
  }
  ~Allocations() { zk::base::allocatorSlots = original; }
};

class ExpressionTest : public testing::Test {
 protected:
  ExpressionTest() {
    folder_ = support::newFolder("zk_expression_").string();
    context_.settings.showErrorBoxes = false;
  }
  ~ExpressionTest() override {
    context_.closeAll();
    std::error_code ignored;
    support::fs::remove_all(folder_, ignored);
  }

  std::string inFolder(const std::string &name) const { return folder_ + "/" + name; }

  Table *openBytes(const std::string &name, const std::string &bytes) {
    support::writeFile(inFolder(name), bytes);
    return Table::open(context_, inFolder(name).c_str());
  }

  // A record with something in every field, and an empty one that is marked deleted.
  Table &parts() {
    const FieldDefinition fields[] = {
        {"NAME", 'C', 10, 0}, {"CODE", 'C', 5, 0},  {"QTY", 'N', 8, 2}, {"WHEN", 'D', 8, 0},
        {"DONE", 'L', 1, 0},  {"NOTE", 'M', 10, 0}, {"DATE", 'C', 4, 0}};
    Table *table = Table::create(context_, inFolder("parts.dbf").c_str(), fields, 7);
    EXPECT_NE(table, nullptr) << context_.errorText();
    table->appendBlank();
    const char *texts[] = {"Pump A", "p-1", "   12.50", "20240229", "T", "memo text", "d"};
    for (int i = 0; i < 7; ++i) table->fields()[static_cast<std::size_t>(i)].assignText(texts[i]);
    table->appendBlank();
    table->setDeleted(true);
    EXPECT_EQ(table->go(1), 0);
    return *table;
  }

  Owned<Expression> compiled(Table &table, const std::string &source) {
    Owned<Expression> expression;
    EXPECT_EQ(Expression::compile(table, source, expression), 0)
        << source << ": " << context_.errorText();
    return expression;
  }

  std::string valueOf(Table &table, const std::string &source) {
    const Owned<Expression> expression = compiled(table, source);
    if (expression == nullptr) return "(refused)";
    Value value{};
    const int status = expression->evaluate(value);
    if (status != 0) return "(" + std::to_string(status) + ")";
    EXPECT_EQ(value.type, expression->type()) << source;
    if (value.type == ValueType::kCharacter) {
      EXPECT_LE(value.text.size(), expression->length()) << source;
    }
    return shown(value);
  }

  int codeOf(Table &table, const std::string &source) {
    Owned<Expression> expression;
    const int code = Expression::compile(table, source, expression);
    EXPECT_EQ(expression == nullptr, code != 0) << source;
    if (code != 0) {
      EXPECT_EQ(context_.errorCode(), code) << source;
    }
    return code;
  }

  std::string folder_;
  Context context_;
};

struct ValueCase {
  const char *source;
  const char *value;
};

constexpr ValueCase kValues[] = {
    // Literals and fields
    {"12", "N:12"},
    {"  .5 ", "N:0.5"},
    {"3.", "N:3"},
    {"'it is \"x\"'", "C:it is \"x\""},
    {"\"it's\"", "C:it's"},
    {"['\"]", "C:'\""},
    {"''", "C:"},
    {".t.", "L:T"},
    {".False.", "L:F"},
    {"NAME", "C:Pump A    "},
    {"name", "C:Pump A    "},
    {"QTY", "N:12.5"},
    {"WHEN", "D:20240229"},
    {"DONE", "L:T"},
    {"NOTE", "C:memo text"},
    {"FIELD->QTY", "N:12.5"},
    {"parts -> CODE", "C:p-1  "},
    {"DATE", "C:d   "},  // a name without a bracket is a field's

    // Precedence and grouping
    {"1+2*3", "N:7"},
    {"(1+2)*3", "N:9"},
    {"10-4-3", "N:3"},
    {"100/10/5", "N:2"},
    {"2^3^2", "N:64"},
    {"2**3*2", "N:16"},
    {"-2^2", "N:4"},
    {"2^-1", "N:0.5"},
    {"2--+-3", "N:-1"},
    {"7/2", "N:3.5"},
    {"QTY*2-QTY/2", "N:18.75"},
    {"1+1=2", "L:T"},
    {"-1*0", "N:0"},
    {".NOT.1=2", "L:T"},
    {".NOT..F..AND..F.", "L:F"},
    {".T..OR..F..AND..F.", "L:T"},
    {"(.T..OR..F.).AND..F.", "L:F"},
    {"QTY=1.or.QTY=12.5", "L:T"},
    {".NOT..NOT.DONE", "L:T"},
    {"1=1=.T.", "L:T"},

    // Relations of texts go over the right one's length
    {"NAME='Pump'", "L:T"},
    {"'Pump'=NAME", "L:F"},
    {"'Pump A'=NAME", "L:T"},  // blank-padded
    {"NAME=''", "L:T"},
    {"''=' '", "L:T"},
    {"''='a'", "L:F"},
    {"NAME#'Pump'", "L:F"},
    {"NAME<>'Pumq'", "L:T"},
    {"NAME<'Pumq'", "L:T"},
    {"NAME<'Pump'", "L:F"},
    {"NAME<='Pump'", "L:T"},
    {"NAME>='Pump'", "L:T"},
    {"NAME>'Pump'", "L:F"},
    {"'a'<'a!'", "L:T"},
    {"'a'>'a\x09'", "L:T"},  // a blank comes after a tab
    {"'\xE4'>'z'", "L:T"},   // bytes have no sign
    {"'a'<'a\xE4'", "L:T"},
    {"'ump' $ NAME", "L:T"},
    {"'UMP' $ NAME", "L:F"},
    {"NAME $ 'Pump A'", "L:F"},
    {"TRIM(NAME) $ 'a Pump A'", "L:T"},
    {"'' $ CODE", "L:T"},

    // Other relations
    {"QTY>12.AND.QTY<=12.5", "L:T"},
    {"1#1", "L:F"},
    {"2<1", "L:F"},
    {"WHEN>STOD('20240228')", "L:T"},
    {"WHEN=CTOD('2/29/24')", "L:T"},
    {"DONE=.T.", "L:T"},
    {"DONE#.T.", "L:F"},

    // Joining
    {"CODE+NAME", "C:p-1  Pump A    "},
    {"CODE-NAME", "C:p-1Pump A      "},
    {"CODE-'x'-'y'", "C:p-1xy  "},
    {"'   '-'x'", "C:x   "},
    {"'<'+(CODE-(NAME-'!'))+'>'", "C:<p-1Pump A!      >"},
    {"NOTE+'/'+UPPER(NOTE)", "C:memo text/MEMO TEXT"},

    // Dates
    {"WHEN+1", "D:20240301"},
    {"1+WHEN", "D:20240301"},
    {"WHEN-60", "D:20231231"},
    {"WHEN+1.9", "D:20240301"},
    {"WHEN-STOD('20230228')", "N:366"},
    {"STOD('20230229')", "D:"},
    {"STOD('        ')", "D:"},
    {"STOD('2024')", "D:"},
    {"STOD('')+5", "D:"},
    {"WHEN-STOD('')", "N:0"},
    {"STOD('')<WHEN", "L:T"},
    {"CTOD('12/31/29')", "D:20291231"},
    {"CTOD('01/01/30')", "D:19300101"},
    {"CTOD(' 1/2/1999 ')", "D:19990102"},
    {"CTOD('13/01/2000')", "D:"},
    {"CTOD('02/30/2000')", "D:"},
    {"CTOD('01/01/123')", "D:"},
    {"CTOD('010199')", "D:"},
    {"DTOC(WHEN)", "C:02/29/24"},
    {"DTOC(CTOD(''))", "C:  /  /  "},
    {"DTOS(WHEN+1)", "C:20240301"},
    {"DTOS(STOD('x'))", "C:        "},
    {"STR(YEAR(WHEN),4)+STR(MONTH(WHEN),2)+STR(DAY(WHEN),3)", "C:2024 2 29"},
    {"YEAR(STOD(''))+DAY(STOD(''))", "N:0"},

    // Numbers to texts and back
    {"STR(QTY)", "C:        13"},
    {"STR(QTY,6,2)", "C: 12.50"},
    {"STR(2.5,3)", "C:  3"},  // halves go up, whatever the last digit is
    {"STR(-0.125,6,2)", "C: -0.13"},
    {"STR(-0.001,5,1)", "C:  0.0"},
    {"STR(1234.5,5,2)", "C:*****"},
    {"STR(1,2*3,1+1)", "C:  1.00"},
    {"STR(7,0)", "C:"},
    {"STR(0.1,4,300)", "C:****"},
    {"VAL('  -12.5x')", "N:-12.5"},
    {"VAL('x')", "N:0"},
    {"VAL('1234567890123456789012')", "N:1.23456789e+21"},
    {"VAL(STR(QTY,8,2))*2", "N:25"},
    {"CHR(65)+CHR(66.9)", "C:AB"},

    // Pieces of texts
    {"SUBSTR(NAME,3,2)", "C:mp"},
    {"SUBSTR(NAME,6)", "C:A    "},
    {"SUBSTR(NAME,11,3)", "C:"},
    {"SUBSTR(NAME,0,2)", "C:Pu"},
    {"SUBSTR(NAME,2,-1)", "C:"},
    {"SUBSTR(TRIM(NAME),5,5)", "C: A"},
    {"SUBSTR(TRIM(CODE),5,5)", "C:"},
    {"LEFT(NAME,4)", "C:Pump"},
    {"LEFT(CODE,99)", "C:p-1  "},
    {"LEFT(NOTE,4)", "C:memo"},
    {"TRIM(NAME)", "C:Pump A"},
    {"TRIM('  ')+'.'", "C:."},
    {"LTRIM(STR(QTY,8,1))", "C:12.5"},
    {"upper(name)", "C:PUMP A    "},

    // IIF() and what is not evaluated
    {"IIF(DONE,'yes','no ')", "C:yes"},
    {"IIF(QTY>20,1,IIF(QTY>10,2,3))", "N:2"},
    {"IIF(.F.,WHEN,WHEN+1)", "D:20240301"},
    {"IIF(DONE,.F.,.T.)", "L:F"},
    {"IIF(.T.,1,1/0)", "N:1"},
    {".F..AND.1/0=1", "L:F"},
    {".T..OR.1/0=1", "L:T"},
    {"'<'+IIF(.F.,UPPER(CODE),LEFT(NAME,5))+UPPER('>x')", "C:<Pump >X"},

    // The record and the table
    {"DEL()", "C: "},
    {"DELETED()", "L:F"},
    {"RECNO()", "N:1"},
    {"RECCOUNT ( )", "N:2"},
    {"PAGENO()", "N:0"},
};

TEST_F(ExpressionTest, Values) {
  Table &table = parts();
  for (const ValueCase &each : kValues) {
    EXPECT_EQ(valueOf(table, each.source), each.value) << each.source;
  }
}

TEST_F(ExpressionTest, FollowsTheRecordBuffer) {
  Table &table = parts();
  const Owned<Expression> expression =
      compiled(table, "DEL()+NAME+STR(QTY,3)+DTOS(WHEN)+IIF(DONE,'T','F')+STR(RECNO(),2)+NOTE");
  Value value{};
  ASSERT_EQ(expression->evaluate(value), 0);
  EXPECT_EQ(value.text, " Pump A     1320240229T 1memo text");
  ASSERT_EQ(table.go(2), 0);
  ASSERT_EQ(expression->evaluate(value), 0);
  EXPECT_EQ(value.text, "*            0        F 2");
  table.fields()[0].assignText("changed");
  table.fields()[4].assignText("y");
  ASSERT_EQ(expression->evaluate(value), 0);
  EXPECT_EQ(value.text, "*changed     0        T 2");
}

struct CodeCase {
  const char *source;
  int code;
};

constexpr CodeCase kWrongSources[] = {
    {"", -410},
    {"   ", -410},
    {"1+", -410},
    {".NOT.", -410},
    {"(1+)", -410},
    {"()", -410},
    {"LEFT(NAME,)", -410},
    {"FIELD->", -410},
    {"UPPER(NAME NAME)", -400},
    {"IIF(DONE 1,2)", -400},
    {"NOWHERE->NAME", -420},
    {"IIF(DONE,NAME,CODE)", -422},
    {"IIF(DONE,'a','bc')", -422},
    {"IIF(DONE,NOTE,NAME)", -422},
    {"STR(QTY,QTY)", -425},
    {"STR(QTY,5,DAY(WHEN))", -425},
    {"SUBSTR(NAME,QTY,1)", -425},
    {"LEFT(NAME,1/0)", -425},
    {"UPPER()", -430},
    {"DATE(1)", -430},
    {"LEFT(NAME)", -430},
    {"LEFT(NAME,1,2)", -430},
    {"STR(1,2,3,4)", -430},
    {"IIF()", -430},
    {"IIF(DONE,1)", -430},
    {"IIF(DONE,1,2,3)", -430},
    {"(1+2", -450},
    {"((1)", -450},
    {"(1,2)", -450},
    {"UPPER(NAME", -450},
    {"LEFT(NAME,2", -450},
    {"IIF(DONE,1", -450},
    {"NAME+1", -460},
    {"WHEN+WHEN", -460},
    {"1-WHEN", -460},
    {"NAME=1", -460},
    {"WHEN=DTOS(WHEN)", -460},
    {"DONE<.T.", -460},
    {"DONE+DONE", -460},
    {"1 .AND. .T.", -460},
    {".T. .OR. NAME", -460},
    {".NOT. NAME", -460},
    {"-NAME", -460},
    {"1 $ 2", -460},
    {"UPPER(1)", -460},
    {"DTOS(NAME)", -460},
    {"IIF(1,2,3)", -460},
    {"IIF(DONE,1,'1')", -460},
    {"SUBSTR(NAME,'1')", -460},
    {"ALLTRIM(NAME)", -470},
    {"NAME(1)", -470},
    {"NAME NAME", -480},
    {"1 2", -480},
    {"1E5", -480},
    {"(1 2)", -480},
    {"NAME ? 'a'", -480},
    {"UPPER(NAME ! 'a')", -480},
    {".T. AND .T.", -480},
    {".T. .XOR. .T.", -480},
    {"NAME->CODE->NAME", -420},
    {"1)", -480},
    {"NOFIELD", -490},
    {"FIELD->NOFIELD", -490},
    {"A_VERY_LONG_NAME_OF_A_FIELD", -490},
    {"1 => 2", -490},
    {".YES.", -490},
    {"&NAME", -490},
    {"NOT DONE", -490},
    {"'abc", -500},
    {"NAME='abc\"", -500},
    {"NAME 'abc", -500},
    {"UPPER([abc)", -500},
};

TEST_F(ExpressionTest, WrongSources) {
  Table &table = parts();
  for (const CodeCase &each : kWrongSources) {
    EXPECT_EQ(codeOf(table, each.source), each.code) << each.source;
    EXPECT_STREQ(context_.errorText(), zk::engine::errorText(each.code)) << each.source;
    EXPECT_STREQ(context_.errorFile(), each.source);
  }
  EXPECT_EQ(codeOf(table, std::string("NAME\0", 5)), -480);
}

TEST_F(ExpressionTest, NoResult) {
  Table &table = parts();
  for (const char *source :
       {"1/0", "0/0", "QTY/(QTY-12.5)", "10^308*10", "-(10^308)-10^308", "0^-1", "(0-8)^0.5",
        "CHR(256)", "CHR(-1)", "WHEN+10^7", "WHEN-10^7", "WHEN+10^300", "1/0=1.OR..T."}) {
    EXPECT_EQ(valueOf(table, source), "(-440)") << source;
    EXPECT_EQ(context_.errorCode(), -440) << source;
    context_.clearError();
  }
}

TEST_F(ExpressionTest, Conditions) {
  Table &table = parts();
  bool holds = false;
  EXPECT_EQ(compiled(table, "QTY>10")->evaluateCondition(holds), 0);
  EXPECT_TRUE(holds);
  EXPECT_EQ(compiled(table, "QTY>1/0")->evaluateCondition(holds), -440);
  EXPECT_FALSE(holds);
  EXPECT_EQ(compiled(table, "QTY>10")->requireLogical(), 0);
  EXPECT_EQ(compiled(table, "QTY")->requireLogical(), -950);
  EXPECT_STREQ(context_.errorText(), "Expecting logical result.");
}

struct LengthCase {
  const char *source;
  std::size_t length;
};

TEST_F(ExpressionTest, Lengths) {
  constexpr LengthCase kLengths[] = {
      {"NAME", 10},
      {"TRIM(NAME)+CODE", 15},
      {"NAME-CODE+'x'", 16},
      {"SUBSTR(NAME,8,5)", 3},
      {"SUBSTR(NAME,3)", 8},
      {"SUBSTR(NAME,20)", 0},
      {"LEFT(UPPER(NAME),4)+DTOS(WHEN)", 12},
      {"STR(QTY)", 10},
      {"STR(QTY,1000)", 255},
      {"CHR(65)+DEL()", 2},
      {"TIME()+DTOC(WHEN)", 16},
      {"IIF(DONE,LEFT(NOTE,5),CODE)", 5},
      {"NOTE", zk::engine::kUnboundedLength},
      {"NAME+TRIM(NOTE)", zk::engine::kUnboundedLength},
      {"QTY", 0},
      {"NAME=CODE", 0},
  };
  Table &table = parts();
  for (const LengthCase &each : kLengths) {
    const Owned<Expression> expression = compiled(table, each.source);
    EXPECT_EQ(expression->length(), each.length) << each.source;
    EXPECT_EQ(expression->usesMemo(), std::strstr(each.source, "NOTE") != nullptr) << each.source;
  }
}

std::string repeated(const std::string &piece, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += piece;
  return text;
}

TEST_F(ExpressionTest, Limits) {
  Table &table = parts();
  const auto brackets = [](int n) { return repeated("(", n) + "1" + repeated(")", n); };
  EXPECT_EQ(valueOf(table, brackets(100)), "N:1");
  EXPECT_EQ(valueOf(table, repeated(".NOT.", 100) + ".T."), "L:T");
  EXPECT_EQ(valueOf(table, repeated("IIF(.F.,0,", 100) + "7" + repeated(")", 100)), "N:7");
  EXPECT_EQ(valueOf(table, repeated("1+", 30000) + "1"), "N:30001");  // long is not deep
  EXPECT_EQ(valueOf(table, "LEFT(" + repeated("NAME+", 10000) + "NAME,3)"), "C:Pum");

  for (const std::string &source :
       {brackets(101), brackets(20000), repeated("-", 101) + "1", repeated(".NOT.", 10000) + ".T.",
        repeated("UPPER(", 101) + "NAME" + repeated(")", 101), std::string(65536, ' ') + "1"}) {
    EXPECT_EQ(codeOf(table, source), -910) << source.substr(0, 20);
    EXPECT_STREQ(context_.errorText(), "Expression too large");
  }

  const FieldDefinition wide[] = {{"W", 'C', 60000, 0}};
  Table *wideTable = Table::create(context_, inFolder("wide.dbf").c_str(), wide, 1);
  ASSERT_NE(wideTable, nullptr);
  EXPECT_EQ(codeOf(*wideTable, repeated("W+", 10) + "W"), 0);
  EXPECT_EQ(codeOf(*wideTable, repeated("W+", 30000) + "W"), -910);
}

// Builds expressions together with the text that they must give.
class TextMaker {
 public:
  explicit TextMaker(unsigned seed) : random_(seed) {}

  struct Made {
    std::string source;
    std::string text;
  };

  Made make(int depth) {
    switch (depth == 0 ? below(3) : below(10)) {
      case 0:
        return {"NAME", "Pump A    "};
      case 1:
        return {"' b '", " b "};
      case 2:
        return {"CODE", "p-1  "};
      case 3: {
        Made x = make(depth - 1);
        for (char &c : x.text) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
        return {"UPPER(" + x.source + ")", x.text};
      }
      case 4: {
        const Made x = make(depth - 1);
        return {"TRIM(" + x.source + ")", x.text.substr(0, x.text.find_last_not_of(' ') + 1)};
      }
      case 5: {
        const Made x = make(depth - 1);
        return {"LTRIM(" + x.source + ")",
                x.text.substr(std::min(x.text.find_first_not_of(' '), x.text.size()))};
      }
      case 6: {
        const Made x = make(depth - 1);
        const std::size_t from = below(6), length = below(12);
        return {"SUBSTR(" + x.source + "," + std::to_string(from + 1) + "," +
                    std::to_string(length) + ")",
                x.text.substr(std::min(from, x.text.size()), length)};
      }
      case 7: {
        const Made x = make(depth - 1), y = make(depth - 1);
        const std::size_t kept = x.text.find_last_not_of(' ') + 1;
        return {"(" + x.source + "-" + y.source + ")",
                x.text.substr(0, kept) + y.text + std::string(x.text.size() - kept, ' ')};
      }
      default: {
        const Made x = make(depth - 1), y = make(depth - 1);
        const bool grouped = below(2) == 0;
        return {grouped ? "(" + x.source + "+" + y.source + ")"
                        : "IIF(DONE,LEFT(" + x.source + "+" + y.source + "+SPACES,20)," +
                              "LEFT(SPACES+SPACES,20))",
                grouped ? x.text + y.text : (x.text + y.text + std::string(20, ' ')).substr(0, 20)};
      }
    }
  }

 private:
  unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

  std::mt19937 random_;
};

// Texts made inside others must not overwrite each other, nor need memory beyond what was set
// aside.
TEST_F(ExpressionTest, NestedTexts) {
  const FieldDefinition fields[] = {
      {"NAME", 'C', 10, 0}, {"CODE", 'C', 5, 0}, {"DONE", 'L', 1, 0}, {"SPACES", 'C', 20, 0}};
  Table *table = Table::create(context_, inFolder("texts.dbf").c_str(), fields, 4);
  ASSERT_NE(table, nullptr);
  table->appendBlank();
  table->fields()[0].assignText("Pump A");
  table->fields()[1].assignText("p-1");
  table->fields()[2].assignText("T");

  for (unsigned seed = 0; seed < 3000; ++seed) {
    const TextMaker::Made made = TextMaker(seed).make(5);
    const Owned<Expression> expression = compiled(*table, made.source);
    ASSERT_NE(expression, nullptr);
    Value value{};
    const Allocations allocations;
    ASSERT_EQ(expression->evaluate(value), 0);
    ASSERT_EQ(value.text, made.text) << made.source;
    ASSERT_EQ(Allocations::requests, 0) << made.source;
    ASSERT_LE(value.text.size(), expression->length()) << made.source;
  }
}

TEST_F(ExpressionTest, MemosGrowOneBuffer) {
  Table &table = parts();
  const Owned<Expression> expression =
      compiled(table, "UPPER(CODE)+UPPER(NOTE)+(UPPER(NAME)-NOTE)");
  const auto expected = [](const std::string &memo) {
    std::string upper = memo;
    for (char &c : upper) c = static_cast<char>(std::toupper(c));
    return "P-1  " + upper + "PUMP A" + memo + "    ";
  };
  Value value{};
  for (const std::string &memo : {std::string("x"), repeated("long ", 5000), std::string("y")}) {
    table.fields()[5].assignText(memo);
    ASSERT_EQ(expression->evaluate(value), 0);
    EXPECT_EQ(value.text, expected(memo));
  }

  const std::string longest = repeated("longer ", 10000);
  table.fields()[5].assignText(longest);
  {
    const Allocations allocations;
    Allocations::refuse = true;
    EXPECT_EQ(expression->evaluate(value), -920);
    EXPECT_EQ(context_.errorCode(), -920);
  }
  ASSERT_EQ(expression->evaluate(value), 0);
  EXPECT_EQ(value.text, expected(longest));
  const Allocations allocations;
  ASSERT_EQ(expression->evaluate(value), 0);
  EXPECT_EQ(Allocations::requests, 0);
}

TEST_F(ExpressionTest, RefusedMemoryLeavesNothingBehind) {
  Table &table = parts();
  const Allocations allocations;
  Allocations::refuse = true;
  Owned<Expression> expression;
  EXPECT_THROW(Expression::compile(table, "UPPER(NAME)", expression), std::bad_alloc);
  EXPECT_EQ(expression, nullptr);
}

TEST_F(ExpressionTest, OtherTables) {
  Table &table = parts();
  const FieldDefinition fields[] = {{"NAME", 'C', 6, 0}, {"PRICE", 'N', 6, 1}};
  Table *prices = Table::create(context_, inFolder("Prices.dbf").c_str(), fields, 2);
  ASSERT_NE(prices, nullptr);
  prices->appendBlank();
  prices->fields()[0].assignText("Valve");
  prices->fields()[1].assignText("2.5");

  EXPECT_EQ(valueOf(table, "NAME+PRICES->NAME"), "C:Pump A    Valve ");
  EXPECT_EQ(valueOf(table, "qty*prices->price"), "N:31.25");
  EXPECT_EQ(valueOf(*prices, "Parts->Name"), "C:Pump A    ");
  EXPECT_TRUE(compiled(table, "PRICES->PRICE=1")->usesOtherTable());
  EXPECT_FALSE(compiled(table, "PARTS->QTY=FIELD->QTY")->usesOtherTable());
  EXPECT_EQ(codeOf(table, "PRICES->QTY"), -490);
  ASSERT_EQ(prices->close(), 0);
  EXPECT_EQ(codeOf(table, "PRICES->PRICE"), -420);
}

TEST_F(ExpressionTest, FieldsOfNewerTables) {
  double nan = std::nan("");
  std::uint64_t nanBits;
  std::memcpy(&nanBits, &nan, sizeof nanBits);
  const std::string record = " " + support::little(static_cast<std::uint32_t>(-7), 4) +
                             support::little(125000, 8) + support::little(nanBits, 8) +
                             support::little(2460000, 4) + support::little(1000, 4) + "0.00**";
  Table *table = openBytes(
      "newer.dbf",
      support::tableBytes(
          0x30,
          {{"I", 'I', 4}, {"Y", 'Y', 8, 4}, {"B", 'B', 8, 2}, {"T", 'T', 8}, {"BAD", 'N', 6, 2}},
          {record}));
  ASSERT_NE(table, nullptr) << context_.errorText();
  EXPECT_EQ(valueOf(*table, "I"), "N:-7");
  EXPECT_EQ(valueOf(*table, "Y*2"), "N:25");
  EXPECT_EQ(valueOf(*table, "B+1"), "N:1");  // a damaged number counts as 0
  EXPECT_EQ(valueOf(*table, "BAD=0"), "L:T");
  EXPECT_EQ(codeOf(*table, "T"), -460);
}

TEST_F(ExpressionTest, UpperCaseFollowsTheCodePage) {
  struct Case {
    unsigned char page;
    const char *text;
    const char *upper;
  };
  constexpr Case kCases[] = {
      {0x00, "a\xE4z", "A\xE4Z"},
      {0x01, "\x84\x94\x81\xE1", "\x8E\x99\x9A\xE1"},  // sharp s has no capital of one byte
      {0x02, "\x84\xC6\xA0\xE4", "\x8E\xC7\xB5\xE5"},
      {0x03, "\xE4\xFF\xDF\xF7\xB5\x9C", "\xC4\x9F\xDF\xF7\xB5\x8C"},
      {0xC8, "b\xE4", "B\xE4"},
  };
  for (const Case &each : kCases) {
    std::string text = each.text;
    text.resize(6, ' ');
    std::string bytes = support::tableBytes(0x03, {{"NAME", 'C', 6}}, {" " + text});
    bytes[29] = static_cast<char>(each.page);
    Table *table = openBytes("page.dbf", bytes);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(valueOf(*table, "TRIM(UPPER(NAME))"), std::string("C:") + each.upper)
        << int{each.page};
    table->close();
  }
}

TEST_F(ExpressionTest, TheMomentStaysWithinARun) {
  Table &table = parts();
  const Owned<Expression> expression = compiled(table, "DTOS(DATE())+TIME()");
  Value value{};
  ASSERT_EQ(expression->evaluate(value), 0);
  const std::string first(value.text);
  const zk::platform::LocalTime now = zk::platform::localTime();
  EXPECT_EQ(first.substr(0, 4), std::to_string(now.date.year));
  EXPECT_EQ(first[10], ':');
  EXPECT_EQ(first[13], ':');

  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  ASSERT_EQ(expression->evaluate(value), 0);
  EXPECT_EQ(value.text, first);
  expression->beginRun();
  ASSERT_EQ(expression->evaluate(value), 0);
  EXPECT_NE(value.text, first);
}

}  // namespace
