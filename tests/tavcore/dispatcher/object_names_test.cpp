// The names that the library uses, against the drive's own description.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <nkr/tools/EDSParser.hpp>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "operations.hpp"

namespace tavtest {
namespace {

using Type = EdsFixture::DataType;
using Names = std::set<std::string>;

std::string content_of(const std::filesystem::path& path) {
  std::ifstream file(path);
  EXPECT_TRUE(file.is_open()) << path;
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

/** Every text literal of the dispatcher's sources, as often as it stands there. */
std::map<std::string, int> literals_of_sources() {
  std::map<std::string, int> literals;
  const std::regex adjacent("\"\\s*\n\\s*\"");
  const std::regex literal("\"([^\"\\\\\n]*)\"");
  for (const auto& entry : std::filesystem::recursive_directory_iterator("src")) {
    if (!entry.is_regular_file()) continue;
    const std::string text = std::regex_replace(content_of(entry.path()), adjacent, "");
    for (std::sregex_iterator at(text.begin(), text.end(), literal), end; at != end; ++at) {
      ++literals[(*at)[1]];
    }
  }
  return literals;
}

/** The names in the places of the dispatcher's sources where an object's name stands. */
Names names_in_sources() {
  const std::regex places(
      "Object<[^>]+>\\s*\\w*\\{\\s*\"([^\"]+)\"|\"((?:Store|Restore Default) Parameters [^\"]+)\"");
  Names names;
  for (const char* const room : {"src/dispatcher", "src/objects"}) {
    for (const auto& entry : std::filesystem::directory_iterator(room)) {
      const std::string text = content_of(entry.path());
      for (std::sregex_iterator at(text.begin(), text.end(), places), end; at != end; ++at) {
        for (std::size_t group = 1; group < at->size(); ++group) {
          if ((*at)[group].matched) names.insert((*at)[group]);
        }
      }
    }
  }
  return names;
}

std::map<std::string, Type> objects_of_operations() {
  std::map<std::string, Type> objects;
  for (const Operation& operation : all_operations()) {
    for (const auto& [name, type] : objects_of(operation)) {
      const auto [at, added] = objects.emplace(name, type);
      EXPECT_EQ(at->second, type) << name << " is accessed with two types";
    }
  }
  return objects;
}

/** The objects that take a signature are UNSIGNED32 (CiA 301) and written as a signed number: the same bytes.
 */
bool takes_signature(const std::string& name) {
  return name.rfind("Store Parameters ", 0) == 0 || name.rfind("Restore Default Parameters ", 0) == 0;
}

class ObjectNamesTest : public testing::Test {
 protected:
  ObjectNamesTest() {
    std::ifstream file("share/tav/tav.eds");
    EXPECT_TRUE(parser_.parse(file, false));
  }

  nkr::tools::EDSParser parser_;
};

TEST_F(ObjectNamesTest, EveryObjectThatAnOperationAccessesIsInTheDescriptionWithItsType) {
  for (const auto& [name, type] : objects_of_operations()) {
    const nkr::tools::ObjectEntry* const entry = parser_.find(name);
    ASSERT_NE(entry, nullptr) << name;
    EXPECT_EQ(entry->getDataType(), takes_signature(name) ? Type::UNSIGNED32 : type) << name;
  }
}

TEST_F(ObjectNamesTest, EveryNameStandsOnceInTheDescription) {
  for (const auto& [name, type] : objects_of_operations()) {
    const auto is_it = [&name = name](const auto& entry) { return entry->getName() == name; };
    EXPECT_EQ(std::count_if(parser_.objects().begin(), parser_.objects().end(), is_it), 1) << name;
  }
}

TEST_F(ObjectNamesTest, EveryNameIsSpeltOnceInTheLibrary) {
  const std::map<std::string, int> literals = literals_of_sources();
  for (const auto& [name, type] : objects_of_operations()) {
    const auto found = literals.find(name);
    ASSERT_NE(found, literals.end()) << name << " is accessed but spelt nowhere";
    EXPECT_EQ(found->second, 1) << name;
  }
}

TEST_F(ObjectNamesTest, EveryNameInTheSourcesIsTestedAndDescribed) {
  const std::map<std::string, Type> tested = objects_of_operations();
  const Names names = names_in_sources();
  EXPECT_GE(names.size(), tested.size());
  for (const std::string& name : names) {
    EXPECT_EQ(tested.count(name), 1U) << name << " is in the sources but in no tested operation";
    EXPECT_NE(parser_.find(name), nullptr) << name;
  }
}

TEST_F(ObjectNamesTest, ObjectsAddressedByNumberAreDescribedWithTheirTypes) {
  using Id = nkr::tools::ObjectID;
  const std::pair<Id, Type> table[] = {{Id(0x1001, 0), Type::UNSIGNED8},  {Id(0x1003, 0), Type::UNSIGNED8},
                                       {Id(0x1003, 1), Type::UNSIGNED32}, {Id(0x1029, 1), Type::UNSIGNED8},
                                       {Id(0x1029, 2), Type::UNSIGNED8},  {Id(0x1029, 3), Type::UNSIGNED8},
                                       {Id(0x1200, 1), Type::UNSIGNED32}, {Id(0x1200, 2), Type::UNSIGNED32},
                                       {Id(0x1400, 1), Type::UNSIGNED32}, {Id(0x1400, 2), Type::UNSIGNED8},
                                       {Id(0x1400, 3), Type::UNSIGNED16}, {Id(0x1400, 5), Type::UNSIGNED16},
                                       {Id(0x1600, 0), Type::UNSIGNED8},  {Id(0x1600, 1), Type::UNSIGNED32},
                                       {Id(0x1800, 1), Type::UNSIGNED32}, {Id(0x1800, 2), Type::UNSIGNED8},
                                       {Id(0x1A00, 0), Type::UNSIGNED8},  {Id(0x1A00, 1), Type::UNSIGNED32}};
  for (const auto& [id, type] : table) {
    const nkr::tools::ObjectEntry* const entry = parser_.find(id);
    ASSERT_NE(entry, nullptr) << std::hex << id.get();
    EXPECT_EQ(entry->getDataType(), type) << std::hex << id.get();
  }
}

}  // namespace
}  // namespace tavtest
