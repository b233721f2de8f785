#include "text/SafetyChecks.hpp"

#include <string>
#include <utility>

#include "cli/Format.hpp"
#include "text/host.hpp"

namespace tavctl {

using nkr::tavcore::SafetyInputDifference;
using nkr::tavcore::SafetySignatureCheck;
using nkr::tavcore::SafetyVerification;

namespace {

constexpr int kSignatureDigits = 4;
constexpr int kInputDigits = 8;

Json json_of(const SafetyInputDifference& difference) {
  return {{"input", difference.input},
          {"expected", hex(difference.expected, kInputDigits)},
          {"actual", hex(difference.actual, kInputDigits)}};
}

std::string line_of(const SafetyInputDifference& difference) {
  return "    " + difference.input + ": expected " + hex(difference.expected, kInputDigits) +
         ", the drive holds " + hex(difference.actual, kInputDigits);
}

Json json_of(const SafetySignatureCheck& check) {
  Json json = {{"name", check.name},
               {"stored", hex(check.stored, kSignatureDigits)},
               {"computed", hex(check.computed, kSignatureDigits)},
               {"agrees", check.agrees()}};
  if (check.expected) json["expected"] = hex(*check.expected, kSignatureDigits);
  json["differences"] = Json::array();
  for (const SafetyInputDifference& difference : check.differences) {
    json["differences"].push_back(json_of(difference));
  }
  return json;
}

std::string line_of(const SafetySignatureCheck& check) {
  std::string line = padded(check.name, 8) + "stored " + hex(check.stored, kSignatureDigits) + ", computed " +
                     hex(check.computed, kSignatureDigits);
  if (!check.agrees()) line += "   <- DIFFERS: the drive gives no torque";
  if (check.expected && *check.expected != check.stored) {
    line += "   <- expected " + hex(*check.expected, kSignatureDigits);
  }
  return line;
}

}  // namespace

void print_checks(Output& output, const SafetyVerification& verification) {
  Json checks = Json::array();
  for (const SafetySignatureCheck& check : verification.checks) {
    output.line(line_of(check));
    for (const SafetyInputDifference& difference : check.differences) output.line(line_of(difference));
    checks.push_back(json_of(check));
  }
  Json others = Json::array();
  for (const SafetyInputDifference& difference : verification.unsigned_differences) {
    output.line("Covered by no signature:");
    output.line(line_of(difference));
    others.push_back(json_of(difference));
  }
  output.put("signatures", std::move(checks));
  output.put("unsigned_differences", std::move(others));
  output.fact("SRDO configuration", verification.srdo_configuration_valid() ? "declared valid" : "not valid",
              "srdo_configuration_valid", verification.srdo_configuration_valid());
}

}  // namespace tavctl
