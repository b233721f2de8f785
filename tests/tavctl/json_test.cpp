#include "cli/Json.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>

namespace {

using tavctl::Json;

std::optional<Json> parsed(const std::string& text) {
  std::istringstream stream(text);
  return Json::parse(stream);
}

TEST(Json, KeepsMembersInTheOrderInWhichTheyWerePut) {
  Json json;
  json["zeta"] = 1;
  json["alpha"] = 2;
  json["zeta"] = 3;
  EXPECT_EQ(json.dump(), R"({"zeta":3,"alpha":2})");
}

TEST(Json, WritesEachKindOfValue) {
  Json list = Json::array();
  list.push_back(Json());
  list.push_back(true);
  list.push_back(-5);
  list.push_back(std::numeric_limits<std::uint64_t>::max());
  list.push_back(0.5);
  list.push_back("text");
  list.push_back({{"a", 1}, {"b", Json::array()}, {"c", Json::object()}});
  EXPECT_EQ(list.dump(), R"([null,true,-5,18446744073709551615,0.5,"text",{"a":1,"b":[],"c":{}}])");
}

TEST(Json, WritesWhatJsonHasNoSignForEscapedOrReplaced) {
  EXPECT_EQ(Json(std::string("\x1B[2J\0\"\\\n", 8)).dump(), R"("\u001b[2J\u0000\"\\\n")");
  EXPECT_EQ(Json("\x7F \xC2\x9B\xC2\xA0").dump(), "\"\\u007f \\u009b\xC2\xA0\"");
  EXPECT_EQ(Json("\xFF!").dump(), "\"\xEF\xBF\xBD!\"") << "U+FFFD stands for what is no UTF-8";
  EXPECT_EQ(Json(std::numeric_limits<double>::infinity()).dump(), "null");
}

TEST(Json, IndentsWhenAsked) {
  EXPECT_EQ(Json({{"a", 1}}).dump(2), "{\n  \"a\": 1\n}");
}

TEST(Json, ReadsWhatItWrites) {
  const std::string text = R"({"z":[1,-2,2.5,"x",null,false],"a":{"b":{}}})";
  const std::optional<Json> json = parsed(text);
  ASSERT_TRUE(json);
  EXPECT_EQ(json->dump(), text);
}

TEST(Json, TakesTheLastOfMembersWithOneName) {
  const std::optional<Json> json = parsed(R"({"a":1,"a":2})");
  ASSERT_TRUE(json);
  EXPECT_EQ(*json, Json({{"a", 2}}));
}

TEST(Json, RefusesWhatIsNoJson) {
  for (const char* const text : {"", "{", "[1,]", "{\"a\":1} x", "nil", "\"\x01\"", "{1:2}"}) {
    EXPECT_FALSE(parsed(text)) << text;
  }
}

TEST(Json, RefusesWhatIsNestedWithoutEnd) {
  EXPECT_FALSE(parsed(std::string(100'000, '[')));
  const std::string deep = std::string(1000, '[') + std::string(1000, ']');
  EXPECT_FALSE(parsed(deep));
}

TEST(Json, ComparesWholeNumbersByValue) {
  EXPECT_EQ(Json(5), Json(5U));
  EXPECT_NE(Json(-1), Json(std::numeric_limits<std::uint64_t>::max()));
  EXPECT_NE(Json(5), Json("5"));
}

}  // namespace
