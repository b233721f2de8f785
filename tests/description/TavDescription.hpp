#ifndef TESTS_DESCRIPTION_TAVDESCRIPTION_HPP
#define TESTS_DESCRIPTION_TAVDESCRIPTION_HPP

#include <cstdint>
#include <nkr/tools/EDSParser.hpp>
#include <string>

namespace description {

/** share/tav/tav.eds, read once. */
const nkr::tools::EDSParser& tav();

/** Default value of an object as a number; fails the test when there is none. */
std::int64_t default_number(const std::string& name);
std::int64_t default_number(std::uint16_t index, std::uint8_t subindex);

}  // namespace description

#endif
