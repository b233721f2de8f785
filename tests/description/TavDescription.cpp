#include "description/TavDescription.hpp"

#include <gtest/gtest.h>

#include <fstream>

namespace description {

using nkr::tools::EDSParser;
using nkr::tools::ObjectEntry;

const EDSParser& tav() {
  static const EDSParser parser = [] {
    EDSParser result;
    std::ifstream file("share/tav/tav.eds");
    EXPECT_TRUE(result.parse(file, false));
    return result;
  }();
  return parser;
}

namespace {

std::int64_t number_in(const ObjectEntry* object, const std::string& what) {
  if (object == nullptr) {
    ADD_FAILURE() << "no object " << what;
    return -1;
  }
  const auto number = nkr::tools::number_of(object->getDefaultValue());
  if (!number) ADD_FAILURE() << "no default number: " << what;
  return number.value_or(-1);
}

}  // namespace

std::int64_t default_number(const std::string& name) {
  return number_in(tav().find(std::string_view(name)), name);
}

std::int64_t default_number(std::uint16_t index, std::uint8_t subindex) {
  return number_in(tav().find(nkr::tools::ObjectID(index, subindex)),
                   std::to_string(index) + ":" + std::to_string(subindex));
}

}  // namespace description
