#include "korvane/store/shape.hpp"

#include <gtest/gtest.h>

#include <string>

#include "korvane/store/error.hpp"

namespace korvane::store {
namespace {

// The oil-and-gas list's command, as the component writes it.
const std::string kParentSql =
    "SELECT * FROM DAT_SSP_PPh22 WHERE (KD_FORM = 'D113202' AND TH_PAJAK = 2013 AND "
    "KD_PEMBETULAN_KE = 0 AND MS_PAJAK = 5 AND DAT_FORM LIKE '%5;2013;0;SOLAR;%')";
const std::string kChildSql = "SELECT * FROM LAMPIRAN_SSP_PPh22 Where COLLNO = ";
const std::string kLike = " AND DAT_FORM LIKE '%5;2013;SOLAR%'";
const std::string kKeys =
    "KD_FORM TO KD_FORM, MS_PAJAK TO MS_PAJAK, TH_PAJAK TO TH_PAJAK, KD_PEMBETULAN_KE TO "
    "KD_PEMBETULAN_KE";
const std::string kOilAndGas = "SHAPE {" + kParentSql + "} AS dD113202Hdr APPEND ({" + kChildSql +
                               "0" + kLike + "} AS d22Details1 RELATE " + kKeys +
                               ") AS d22Details1, ({" + kChildSql + "1" + kLike +
                               "} AS d22Details2 RELATE " + kKeys + ") AS d22Details2";

// One line a part: "parent | alias", then "child | alias | relations | chapter" for each child.
std::vector<std::string> parts(const ShapeCommand& command) {
  std::vector<std::string> out = {command.parentSql + " | " + command.parentAlias};
  for (const auto& child : command.children) {
    std::string relations;
    for (const auto& r : child.relations) {
      relations += (relations.empty() ? "" : ", ") + r.parentColumn + " TO " + r.childColumn;
    }
    out.push_back(child.sql + " | " + child.alias + " | " + relations + " | " + child.name);
  }
  return out;
}

TEST(ParseShapeTest, ReadsParentChildrenAndRelations) {
  const std::pair<std::string, std::vector<std::string>> cases[] = {
      {kOilAndGas,
       {kParentSql + " | dD113202Hdr",
        kChildSql + "0" + kLike + " | d22Details1 | " + kKeys + " | d22Details1",
        kChildSql + "1" + kLike + " | d22Details2 | " + kKeys + " | d22Details2"}},
      // Braces inside quoted text; a child without an alias of its own.
      {"SHAPE {SELECT * FROM P WHERE A = '}'} AS p APPEND ({SELECT * FROM C WHERE B = 'x}''}'} "
       "RELATE A TO B) AS c",
       {"SELECT * FROM P WHERE A = '}' | p", "SELECT * FROM C WHERE B = 'x}''}' |  | A TO B | c"}},
      // Keywords in any case; blanks around the parts and at the ends of command texts dropped.
      {"\t shape{ SELECT 1 }as p\nappend\r\n(  {SELECT 2 }As Inner relate X to Y ,Z To W )aS "
       "kids  \n",
       {"SELECT 1 | p", "SELECT 2 | Inner | X TO Y, Z TO W | kids"}},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_TRUE(isShapeCommand(text)) << text;
    EXPECT_EQ(parts(parseShape(text)), expected);
  }
}

TEST(ParseShapeTest, RaisesSyntaxErrorNamingWhatWasExpectedAndWhere) {
  const std::string p = "SHAPE {SELECT 1} AS p APPEND ";
  const std::string c = p + "({SELECT 2} RELATE A TO B";
  const std::tuple<std::string, const char*, int> cases[] = {
      {"", "SHAPE", 1},
      {"SELECT * FROM DATSSP", "SHAPE", 1},
      {"SHAPEX {SELECT 1} AS p", "SHAPE", 1},
      {"SHAPE SELECT 1", "'{'", 7},
      {"SHAPE {SELECT 1", "'}'", 16},
      {"SHAPE {SELECT '}' AS p", "'}'", 23},
      {"SHAPE {SELECT 'x} AS p APPEND", "'}'", 30},
      {"SHAPE {  } AS p", "command text", 8},
      {"SHAPE {SELECT 1} p", "AS", 18},
      {"SHAPE {SELECT 1} AS", "alias", 20},
      {"SHAPE {SELECT 1} AS 1p", "alias", 21},
      {"SHAPE {SELECT 1} AS p", "APPEND", 22},
      {"SHAPE {SELECT 1} AS p APPEND", "'('", 29},
      {p + "{SELECT 2}", "'('", 30},
      {p + "({} RELATE A TO B) AS c", "command text", 32},
      {p + "({SELECT 2}) AS c", "RELATE", 41},
      {p + "({SELECT 2} AS RELATE A TO B) AS c", "RELATE", 52},
      {p + "({SELECT 2} RELATE) AS c", "parent column", 48},
      {p + "({SELECT 2} RELATE A B) AS c", "TO", 51},
      {p + "({SELECT 2} RELATE A TO) AS c", "child column", 53},
      {c + ",) AS c", "parent column", 56},
      {c + " AS c", "')'", 56},
      {c + ") c", "AS", 57},
      {c + ") AS", "chapter name", 59},
      {c + ") AS c,", "'('", 62},
      {c + ") AS c ORDER BY A", "',' or end of command", 62}};
  for (const auto& [text, expected, position] : cases) {
    try {
      parseShape(text);
      ADD_FAILURE() << "parsed: " << text;
    } catch (const Error& error) {
      EXPECT_EQ(error.number(), errc::kSyntax);
      EXPECT_EQ(error.description(), "SHAPE command syntax error: expected " +
                                         std::string(expected) + " at position " +
                                         std::to_string(position));
    }
  }
}

TEST(IsShapeCommand, RecognisesTheKeywordAfterBlanks) {
  for (const char* text : {"SHAPE {x}", "  \n shape{x}", "Shape"}) {
    EXPECT_TRUE(isShapeCommand(text)) << text;
  }
  for (const char* text : {"SHAPES {x}", "SELECT * FROM SHAPE", "", "SHAP"}) {
    EXPECT_FALSE(isShapeCommand(text)) << text;
  }
}

}  // namespace
}  // namespace korvane::store
