#include "korvane/store/shape.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "korvane/store/error.hpp"

namespace korvane::store {
namespace {

const std::vector<ShapeRelation> kFourKeys = {{"KD_FORM", "KD_FORM"},
                                              {"MS_PAJAK", "MS_PAJAK"},
                                              {"TH_PAJAK", "TH_PAJAK"},
                                              {"KD_PEMBETULAN_KE", "KD_PEMBETULAN_KE"}};
const std::vector<ShapeRelation> kThreeKeys = {
    {"KD_FORM", "KD_FORM"}, {"MS_PAJAK", "MS_PAJAK"}, {"TH_PAJAK", "TH_PAJAK"}};

struct ParseCase {
  const char* name;
  std::string text;
  ShapeCommand expected;
};

const ParseCase kParseCases[] = {
    {"OilAndGasList",
     "SHAPE {SELECT * FROM DAT_SSP_PPh22 WHERE (KD_FORM = 'D113202' AND TH_PAJAK = 2013 AND "
     "KD_PEMBETULAN_KE = 0 AND MS_PAJAK = 5 AND DAT_FORM LIKE '%5;2013;0;SOLAR;%')} AS "
     "dD113202Hdr APPEND ({SELECT * FROM LAMPIRAN_SSP_PPh22 Where COLLNO = 0 AND DAT_FORM LIKE "
     "'%5;2013;SOLAR%'} AS d22Details1 RELATE KD_FORM TO KD_FORM, MS_PAJAK TO MS_PAJAK, TH_PAJAK "
     "TO TH_PAJAK, KD_PEMBETULAN_KE TO KD_PEMBETULAN_KE) AS d22Details1, ({SELECT * FROM "
     "LAMPIRAN_SSP_PPh22 Where COLLNO = 1 AND DAT_FORM LIKE '%5;2013;SOLAR%'} AS d22Details2 "
     "RELATE KD_FORM TO KD_FORM, MS_PAJAK TO MS_PAJAK, TH_PAJAK TO TH_PAJAK, KD_PEMBETULAN_KE TO "
     "KD_PEMBETULAN_KE) AS d22Details2",
     {"SELECT * FROM DAT_SSP_PPh22 WHERE (KD_FORM = 'D113202' AND TH_PAJAK = 2013 AND "
      "KD_PEMBETULAN_KE = 0 AND MS_PAJAK = 5 AND DAT_FORM LIKE '%5;2013;0;SOLAR;%')",
      "dD113202Hdr",
      {{"SELECT * FROM LAMPIRAN_SSP_PPh22 Where COLLNO = 0 AND DAT_FORM LIKE '%5;2013;SOLAR%'",
        "d22Details1", kFourKeys, "d22Details1"},
       {"SELECT * FROM LAMPIRAN_SSP_PPh22 Where COLLNO = 1 AND DAT_FORM LIKE '%5;2013;SOLAR%'",
        "d22Details2", kFourKeys, "d22Details2"}}}},
    {"ImportList",
     "SHAPE {SELECT * FROM DAT_SSP_PPh22 WHERE (KD_FORM ='D113203' AND TH_PAJAK = 2013 AND "
     "KD_PEMBETULAN_KE = 0 AND MS_PAJAK = 5)} AS dD113202Hdr APPEND ({SELECT * FROM "
     "LAMPIRAN_SSP_PPh22 WHERE COLLNO = 0 } AS d22Details1 RELATE KD_FORM TO KD_FORM, MS_PAJAK TO "
     "MS_PAJAK, TH_PAJAK TO TH_PAJAK, KD_PEMBETULAN_KE TO KD_PEMBETULAN_KE) AS d22Details1 ",
     {"SELECT * FROM DAT_SSP_PPh22 WHERE (KD_FORM ='D113203' AND TH_PAJAK = 2013 AND "
      "KD_PEMBETULAN_KE = 0 AND MS_PAJAK = 5)",
      "dD113202Hdr",
      {{"SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE COLLNO = 0", "d22Details1", kFourKeys,
        "d22Details1"}}}},
    {"SlipList",
     "SHAPE {SELECT * FROM DS_FORM_INDUK WHERE (KD_FORM = 'D113204' AND TH_PAJAK = 2013 AND "
     "KD_PEMBETULAN_KE = 0 AND MS_PAJAK = 5)} AS dD113204Hdr APPEND ({SELECT * FROM "
     "DS_FORM_LAMPIRAN WHERE COLLNO = 0 AND MS_PAJAK = 5 AND TH_PAJAK = 2013 AND KD_PEMBETULAN_KE "
     "= 0} AS d22Details1 RELATE KD_FORM TO KD_FORM, MS_PAJAK TO MS_PAJAK, TH_PAJAK TO TH_PAJAK) "
     "AS d22Details1",
     {"SELECT * FROM DS_FORM_INDUK WHERE (KD_FORM = 'D113204' AND TH_PAJAK = 2013 AND "
      "KD_PEMBETULAN_KE = 0 AND MS_PAJAK = 5)",
      "dD113204Hdr",
      {{"SELECT * FROM DS_FORM_LAMPIRAN WHERE COLLNO = 0 AND MS_PAJAK = 5 AND TH_PAJAK = 2013 AND "
        "KD_PEMBETULAN_KE = 0",
        "d22Details1", kThreeKeys, "d22Details1"}}}},
    {"BraceInsideQuotedText",
     "SHAPE {SELECT * FROM P WHERE A = '}'} AS p APPEND ({SELECT * FROM C WHERE B = 'x}''}'} "
     "RELATE A TO B) AS c",
     {"SELECT * FROM P WHERE A = '}'",
      "p",
      {{"SELECT * FROM C WHERE B = 'x}''}'", "", {{"A", "B"}}, "c"}}}},
    {"KeywordsInAnyCaseAndBlanks",
     "\t shape{ SELECT 1 }as p\nappend\r\n(  {SELECT 2}As Inner relate X to Y ,Z To W )aS "
     "kids  \n",
     {"SELECT 1", "p", {{"SELECT 2", "Inner", {{"X", "Y"}, {"Z", "W"}}, "kids"}}}},
    {"ChildWithoutInnerAlias",
     "SHAPE {SELECT 1} AS p APPEND ({SELECT 2} RELATE X TO Y) AS c",
     {"SELECT 1", "p", {{"SELECT 2", "", {{"X", "Y"}}, "c"}}}},
};

class ParseShapeTest : public testing::TestWithParam<ParseCase> {};

TEST_P(ParseShapeTest, ReadsParentChildrenAndRelations) {
  const ParseCase& c = GetParam();
  ASSERT_TRUE(isShapeCommand(c.text));
  const ShapeCommand command = parseShape(c.text);
  EXPECT_EQ(command.parentSql, c.expected.parentSql);
  EXPECT_EQ(command.parentAlias, c.expected.parentAlias);
  ASSERT_EQ(command.children.size(), c.expected.children.size());
  for (std::size_t i = 0; i < command.children.size(); ++i) {
    const ShapeChild& child = command.children[i];
    const ShapeChild& want = c.expected.children[i];
    SCOPED_TRACE("child " + std::to_string(i));
    EXPECT_EQ(child.sql, want.sql);
    EXPECT_EQ(child.alias, want.alias);
    EXPECT_EQ(child.name, want.name);
    ASSERT_EQ(child.relations.size(), want.relations.size());
    for (std::size_t r = 0; r < child.relations.size(); ++r) {
      EXPECT_EQ(child.relations[r].parentColumn, want.relations[r].parentColumn);
      EXPECT_EQ(child.relations[r].childColumn, want.relations[r].childColumn);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Commands, ParseShapeTest, testing::ValuesIn(kParseCases),
                         [](const testing::TestParamInfo<ParseCase>& row) {
                           return std::string(row.param.name);
                         });

struct MalformedCase {
  const char* name;
  const char* text;
  const char* message;
};

const MalformedCase kMalformedCases[] = {
    {"Empty", "", "expected SHAPE at position 1"},
    {"PlainSelect", "SELECT * FROM DATSSP", "expected SHAPE at position 1"},
    {"KeywordRunOn", "SHAPEX {SELECT 1} AS p", "expected SHAPE at position 1"},
    {"NoBrace", "SHAPE SELECT 1", "expected '{' at position 7"},
    {"UnclosedBrace", "SHAPE {SELECT 1", "expected '}' at position 16"},
    {"BraceOnlyInQuotes", "SHAPE {SELECT '}' AS p", "expected '}' at position 23"},
    {"UnclosedQuote", "SHAPE {SELECT 'x} AS p APPEND", "expected '}' at position 30"},
    {"EmptyParentCommand", "SHAPE {  } AS p", "expected command text at position 8"},
    {"NoParentAs", "SHAPE {SELECT 1} p", "expected AS at position 18"},
    {"NoParentAlias", "SHAPE {SELECT 1} AS", "expected alias at position 20"},
    {"AliasStartsWithDigit", "SHAPE {SELECT 1} AS 1p", "expected alias at position 21"},
    {"NoAppend", "SHAPE {SELECT 1} AS p", "expected APPEND at position 22"},
    {"NoChild", "SHAPE {SELECT 1} AS p APPEND", "expected '(' at position 29"},
    {"ChildWithoutParenthesis", "SHAPE {SELECT 1} AS p APPEND {SELECT 2}",
     "expected '(' at position 30"},
    {"EmptyChildCommand", "SHAPE {SELECT 1} AS p APPEND ({} RELATE A TO B) AS c",
     "expected command text at position 32"},
    {"NoRelate", "SHAPE {SELECT 1} AS p APPEND ({SELECT 2}) AS c",
     "expected RELATE at position 41"},
    {"InnerAsWithoutAlias", "SHAPE {SELECT 1} AS p APPEND ({SELECT 2} AS RELATE A TO B) AS c",
     "expected RELATE at position 52"},
    {"NoRelations", "SHAPE {SELECT 1} AS p APPEND ({SELECT 2} RELATE) AS c",
     "expected parent column at position 48"},
    {"NoTo", "SHAPE {SELECT 1} AS p APPEND ({SELECT 2} RELATE A B) AS c",
     "expected TO at position 51"},
    {"NoChildColumn", "SHAPE {SELECT 1} AS p APPEND ({SELECT 2} RELATE A TO) AS c",
     "expected child column at position 53"},
    {"DanglingRelationComma", "SHAPE {SELECT 1} AS p APPEND ({SELECT 2} RELATE A TO B,) AS c",
     "expected parent column at position 56"},
    {"UnclosedChild", "SHAPE {SELECT 1} AS p APPEND ({SELECT 2} RELATE A TO B AS c",
     "expected ')' at position 56"},
    {"NoChapterAs", "SHAPE {SELECT 1} AS p APPEND ({SELECT 2} RELATE A TO B) c",
     "expected AS at position 57"},
    {"NoChapterName", "SHAPE {SELECT 1} AS p APPEND ({SELECT 2} RELATE A TO B) AS",
     "expected chapter name at position 59"},
    {"DanglingChildComma", "SHAPE {SELECT 1} AS p APPEND ({SELECT 2} RELATE A TO B) AS c,",
     "expected '(' at position 62"},
    {"TrailingText", "SHAPE {SELECT 1} AS p APPEND ({SELECT 2} RELATE A TO B) AS c ORDER BY A",
     "expected ',' or end of command at position 62"},
};

class MalformedShapeTest : public testing::TestWithParam<MalformedCase> {};

TEST_P(MalformedShapeTest, RaisesSyntaxErrorNamingWhatWasExpected) {
  const MalformedCase& c = GetParam();
  try {
    parseShape(c.text);
    FAIL() << "parsed: " << c.text;
  } catch (const Error& error) {
    EXPECT_EQ(error.number(), errc::kSyntax);
    EXPECT_EQ(error.description(), std::string("SHAPE command syntax error: ") + c.message);
  }
}

INSTANTIATE_TEST_SUITE_P(Commands, MalformedShapeTest, testing::ValuesIn(kMalformedCases),
                         [](const testing::TestParamInfo<MalformedCase>& row) {
                           return std::string(row.param.name);
                         });

// Whatever the text, the answer is a command or a syntax error.
void expectParsedOrSyntaxError(const std::string& text) {
  try {
    parseShape(text);
  } catch (const Error& error) {
    EXPECT_EQ(error.number(), errc::kSyntax) << text;
  }
}

TEST(ParseShapeRobustness, EveryPrefixOfARealCommandParsesOrFailsCleanly) {
  const std::string& text = kParseCases[0].text;
  for (std::size_t length = 0; length <= text.size(); ++length) {
    expectParsedOrSyntaxError(text.substr(0, length));
  }
}

TEST(ParseShapeRobustness, ScrambledCommandsParseOrFailCleanly) {
  const std::string& base = kParseCases[0].text;
  std::uint32_t state = 12345;
  auto next = [&state] {
    state = state * 1664525u + 1013904223u;
    return state >> 8;
  };
  for (int round = 0; round < 2000; ++round) {
    std::string text = base;
    const int changes = 1 + static_cast<int>(next() % 8);
    for (int k = 0; k < changes; ++k) {
      const std::size_t at = next() % text.size();
      switch (next() % 3) {
        case 0:
          text[at] = static_cast<char>(next() % 256);
          break;
        case 1:
          text.erase(at, 1 + next() % 20);
          break;
        default:
          text.insert(at, 1, "{}()',' "[next() % 8]);
          break;
      }
      if (text.empty()) text = "S";
    }
    expectParsedOrSyntaxError(text);
  }
}

TEST(IsShapeCommand, RecognisesTheKeywordAfterBlanks) {
  EXPECT_TRUE(isShapeCommand("SHAPE {x}"));
  EXPECT_TRUE(isShapeCommand("  \n shape{x}"));
  EXPECT_TRUE(isShapeCommand("Shape"));
  EXPECT_FALSE(isShapeCommand("SHAPES {x}"));
  EXPECT_FALSE(isShapeCommand("SELECT * FROM SHAPE"));
  EXPECT_FALSE(isShapeCommand(""));
  EXPECT_FALSE(isShapeCommand("SHAP"));
}

}  // namespace
}  // namespace korvane::store
