// Every command's JSON against the tables of docs/json.md.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/TemporaryFile.hpp"
#include "tavctl/Tool.hpp"

namespace {

using nlohmann::json;
using tool::DriveOnBus;

/** A member of a command's document. */
struct Member {
  std::string type;
  bool is_optional = false;
};
using Schema = std::map<std::string, Member>;

/** The rows "| `command` | `member` type, `member`? type |" by command. */
std::map<std::string, Schema> documented() {
  std::ifstream file("docs/json.md");
  std::map<std::string, Schema> schemas;
  for (std::string line; std::getline(file, line);) {
    if (line.rfind("| `", 0) != 0) continue;
    const std::size_t end = line.find('`', 3);
    Schema& schema = schemas[line.substr(3, end - 3)];
    for (std::size_t at = line.find('`', end + 1); at != std::string::npos; at = line.find('`', at + 1)) {
      const std::size_t close = line.find('`', at + 1);
      const std::string name = line.substr(at + 1, close - at - 1);
      const bool is_optional = line[close + 1] == '?';
      const std::size_t type = line.find_first_not_of("? ", close + 1);
      schema[name] = {line.substr(type, line.find_first_of(" ,|", type) - type), is_optional};
      at = close;
    }
  }
  return schemas;
}

std::string type_of(const json& value) {
  if (value.is_null()) return "null";
  if (value.is_boolean()) return "flag";
  if (value.is_number()) return "number";
  if (value.is_string()) return "text";
  return value.is_array() ? "list" : "object";
}

void expect_schema(const std::string& command, const Schema& schema, const json& document) {
  ASSERT_TRUE(document.is_object()) << command;
  EXPECT_EQ(document.value("format", 0), 1) << command;
  for (const auto& [name, value] : document.items()) {
    if (name == "format") continue;
    const auto member = schema.find(name);
    if (member == schema.end()) {
      ADD_FAILURE() << command << ": " << name << ' ' << type_of(value) << " is not documented";
      continue;
    }
    const bool fits = value.is_null() || type_of(value) == member->second.type;
    EXPECT_TRUE(fits) << command << ": " << name << " is " << type_of(value);
  }
  for (const auto& [name, member] : schema) {
    EXPECT_TRUE(member.is_optional || document.contains(name)) << command << ": " << name << " is missing";
  }
}

/** The command's words without its arguments: "safety word show". */
std::string name_of(const std::vector<std::string>& words, const std::map<std::string, Schema>& schemas) {
  std::string name;
  std::string known;
  for (const std::string& word : words) {
    name += (name.empty() ? "" : " ") + word;
    if (schemas.count(name) != 0) known = name;
  }
  return known;
}

TEST(Json, OfEveryCommandIsAsDocumented) {
  const tavtest::TemporaryFile file("");
  const std::vector<std::vector<std::string>> commands = {
      {"doctor"},
      {"setup", "can0", "--bit-rate", "500000"},
      {"scan", "--from", "10", "--to", "10", "--listen", "0"},
      {"info"},
      {"state"},
      {"drive-info"},
      {"read", "statusword"},
      {"write", "vl_target_velocity", "1"},
      {"list", "velocity"},
      {"eds", "lint", "share/tav/tav.eds"},
      {"eds", "show", "share/tav/tav.eds"},
      {"eds", "diff", "share/tav/tav.eds", "share/tav/tav.eds"},
      {"enable"},
      {"disable"},
      {"fault-reset"},
      {"quick-stop"},
      {"velocity", "10", "--for", "0.1"},
      {"move", "10", "forward", "--for", "0.1"},
      {"errors"},
      {"emcy", "--history"},
      {"nmt", "start"},
      {"units"},
      {"polarity"},
      {"option-codes"},
      {"comm", "show"},
      {"comm", "set", "producer_heartbeat_time=100"},
      {"network", "show"},
      {"pdo", "show"},
      {"pdo", "set", "tpdo", "1", "transmission_type=1"},
      {"pdo", "map", "tpdo", "1", "statusword"},
      {"manufacturer", "show"},
      {"selftest"},
      {"calibration"},
      {"system-errors", "show"},
      {"system-errors", "states"},
      {"store"},
      {"restore", "--discard"},
      {"network", "set", "--termination", "true", "--discard"},
      {"safety", "show"},
      {"safety", "verify"},
      {"safety", "mapping", "show"},
      {"safety", "word", "show"},
      {"safety", "srdo", "show"},
      {"safety", "srdo", "validate"},
      {"safety", "report"},
      {"config", "save", file.path()},
      {"config", "load", file.path()},
      {"config", "diff", file.path()},
      {"config", "verify", file.path()},
      {"watch", "--count", "1"},
      {"watch", "--count", "1", "--all"},
      {"comm-test", "--count", "3"}};
  const DriveOnBus drive;
  const auto schemas = documented();
  for (auto command : commands) {
    const std::string name = name_of(command, schemas);
    command.insert(command.begin(), "--json");
    const auto result = drive.tavctl(command);
    EXPECT_EQ(result.code, 0) << command[1] << '\n' << result.err;
    ASSERT_NE(name, "") << command[1] << " is not in docs/json.md: " << result.out;
    const bool is_live = schemas.count(name + " (line)") != 0;
    auto documents = is_live ? result.json_lines() : std::vector<json>{result.json()};
    expect_schema(name, schemas.at(name), documents.back());
    documents.pop_back();
    for (const json& line : documents) expect_schema(name, schemas.at(name + " (line)"), line);
  }
}

TEST(Json, OfAFailureIsAnObjectWithCodeNameAndObject) {
  const DriveOnBus drive;
  const auto schemas = documented();
  const auto document = drive.tavctl({"--json", "read", "0x2999:7"}).json();
  ASSERT_TRUE(document.contains("error"));
  json error = document["error"];
  EXPECT_EQ(error["code"], 0x06020000);
  EXPECT_EQ(error["name"], "NKR_SDO_NO_OBJECT");
  EXPECT_TRUE(error.contains("object"));
  error["format"] = 1;
  expect_schema("error", schemas.at("error"), error);
}

}  // namespace
