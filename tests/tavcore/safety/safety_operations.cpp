#include "safety_operations.hpp"

#include <tavcore/CANOpenDispatcher.hpp>

namespace tavtest {
namespace {

using nkr::tavcore::CANOpenDispatcher;
using Safe = nkr::tavcore::ISafeMotionService;
using Srdo = nkr::tavcore::ISRDOService;

template <class Parameters>
struct Signed {
  Parameters parameters;
  std::uint16_t signature;
};

std::string signature_name(const std::string& function, int n) {
  const std::string text = function + " safety application configuration signature ";
  return text + text + std::to_string(n);
}

std::vector<Operation> parameter_getters() {
  return {plain_getter(
              "getSTOParameters", Signed<Safe::STOParameters>{{false, 9}, 9},
              [](CANOpenDispatcher& d, auto& r) {
                return d.getSTOParameters(Safe::STOId{1}, r.parameters, r.signature);
              },
              [](const auto& r) {
                return Values{r.parameters.restartAcknowledgeBehavior, r.parameters.activateSBC, r.signature};
              },
              {read("STO restart acknowledge behavior", true),
               read("STO activate SBC", std::uint32_t{0x12345678}),
               read(signature_name("STO", 1), std::uint16_t{0x4711})}),
          getter(
              "getSLSParameters", Signed<Safe::SLSParameters>{{9, 9, 9, false}, 9},
              [](CANOpenDispatcher& d, auto& r) {
                return d.getSLSParameters(Safe::SLSId{3}, r.parameters, r.signature);
              },
              [](const auto& r) {
                return Values{r.parameters.timeToVelocityMonitoring, r.parameters.velocityLimit,
                              r.parameters.timeForVelocityInLimits, r.parameters.errorReaction, r.signature};
              },
              {read("SLS time to velocity monitoring SLS time to velocity monitoring 3", std::uint16_t{500})
                   .into(0),
               read("SLS velocity limit u32 SLS velocity limit u32 3", std::uint32_t{70000}).into(1),
               read("SLS time for velocity in limits SLS time for velocity in limits 3", std::uint16_t{100})
                   .into(2),
               read("SLS error reactions SLS error reaction 3", std::uint32_t{0x66400000}).converted(3, true),
               read(signature_name("SLS", 3), std::uint16_t{0x4711}).into(4)}),
          plain_getter(
              "getSDIParameters", Signed<Safe::SDIParameters>{{9}, 9},
              [](CANOpenDispatcher& d, auto& r) {
                return d.getSDIParameters(Safe::SDIId{2}, r.parameters, r.signature);
              },
              [](const auto& r) {
                return Values{r.parameters.velocityZeroWindow, r.signature};
              },
              {read("SDI velocity zero window u32 SDI velocity zero window u32 2", std::uint32_t{70000}),
               read(signature_name("SDI", 2), std::uint16_t{0x4711})}),
          plain_getter(
              "getSBCParameters", Signed<Safe::SBCParameters>{{9}, 9},
              [](CANOpenDispatcher& d, auto& r) {
                return d.getSBCParameters(Safe::SBCId{3}, r.parameters, r.signature);
              },
              [](const auto& r) {
                return Values{r.parameters.brakeTimeDelay, r.signature};
              },
              {read("SBC brake time delay SBC brake time delay 3", std::uint16_t{250}),
               read(signature_name("SBC", 3), std::uint16_t{0x4711})})};
}

Values bits_of(const Safe::SafetyWordType& w) {
  return {w.bit0, w.bit1, w.bit2, w.bit3, w.bit4, w.bit5, w.bit6, w.bit7};
}

/** A read of a word that holds 0xA5: all fields are converted from it. */
Step read_word(const std::string& name) {
  Step step = read(name, std::uint8_t{0xA5});
  for (std::size_t bit = 0; bit < 8; ++bit) {
    step = std::move(step).converted(bit, bool{(0xA5U >> bit & 1U) != 0});
  }
  return step;
}

const Safe::SafetyWordType kInverted{false, true, false, true, true, false, true, false};

std::vector<Operation> words_and_functions() {
  return {getter("getSafetyControlWord", kInverted,
                 [](CANOpenDispatcher& d, auto& w) {
                   return d.getSafetyControlWord(Safe::SafetyControlWordId::CAN_8, w);
                 },
                 bits_of, {read_word("Safety controlwords safety_controlword_can8")}),
          getter("getSafetyStatusWord", kInverted,
                 [](CANOpenDispatcher& d, auto& w) {
                   return d.getSafetyStatusWord(Safe::SafetyStatusWordId::SAFE_OUTPUT, w);
                 },
                 bits_of, {read_word("Safety statuswords manufacturer safety_statusword_safeout")}),
          setter("setSafetyControlWord",
                 [](CANOpenDispatcher& d) {
                   return d.setSafetyControlWord(Safe::SafetyControlWordId::SAFE_INPUT, kInverted);
                 },
                 {write("Safety controlwords manufacturer safety_controlword_safein", std::uint8_t{0x5A})}),
          plain_getter(
              "getSafetyFunctionCommand", false,
              [](CANOpenDispatcher& d, bool& active) {
                return d.getSafetyFunctionCommand(Safe::SafetyFunctionId::SDIN_2, active);
              },
              [](bool active) { return Values{active}; }, {read("SDIn commands SDIn command 2", true)}),
          plain_getter(
              "getSafetyFunctionStatus", false,
              [](CANOpenDispatcher& d, bool& active) {
                return d.getSafetyFunctionStatus(Safe::SafetyFunctionId::SDIP_1, active);
              },
              [](bool active) { return Values{active}; }, {read("SDIp statuses SDIp status 1", true)})};
}

Values functions_of(const Safe::SafetyWordMapping& m) {
  Values values;
  for (const auto f : {m.bit0, m.bit1, m.bit2, m.bit3, m.bit4, m.bit5, m.bit6, m.bit7}) {
    values.emplace_back(static_cast<std::int32_t>(f));
  }
  return values;
}

std::vector<Operation> mapping_getters() {
  using Function = Safe::SafetyFunctionId;
  const Safe::SafetyWordMapping before{Function::SLS_7, Function::SLS_7, Function::SLS_7, Function::SLS_7,
                                       Function::SLS_7, Function::SLS_7, Function::SLS_7, Function::SLS_7};
  const std::string output = "nkr_safety_word_ssw_mapping_safeout scw_sw_safeout_bit";
  const std::string input = "nkr_safety_word_scw_mapping_safein scw_cw_safein_bit";
  return {getter("getSafetyStatusWordMapping", before,
                 [](CANOpenDispatcher& d, auto& m) {
                   return d.getSafetyStatusWordMapping(Safe::SafetyStatusWordId::SAFE_OUTPUT, m);
                 },
                 functions_of,
                 {read(output + "0", std::uint32_t{0x26400000}).converted(0, std::int32_t{0}),
                  read(output + "1", std::uint32_t{0}).converted(1, std::int32_t{-1}),
                  read(output + "2", std::uint32_t{0x26600200}).converted(2, std::int32_t{2}),
                  read(output + "3", std::uint32_t{0x26310000}).converted(3, std::int32_t{17})}),
          getter("getSafetyControlWordMapping", before,
                 [](CANOpenDispatcher& d, auto& m) {
                   return d.getSafetyControlWordMapping(Safe::SafetyControlWordId::SAFE_INPUT, m);
                 },
                 functions_of,
                 {read(input + "0", std::uint32_t{0x66400000}).converted(0, std::int32_t{0}),
                  read(input + "1", std::uint32_t{0}).converted(1, std::int32_t{-1}),
                  read(input + "2", std::uint32_t{0x66900100}).converted(2, std::int32_t{4}),
                  read(input + "3", std::uint32_t{0x66D10200}).converted(3, std::int32_t{15}),
                  read(input + "4", std::uint32_t{0x66320000}).converted(4, std::int32_t{16}),
                  read(input + "5", std::uint32_t{0x26300000}).converted(5, std::int32_t{17})})};
}

struct SrdoOutputs {
  Srdo::SRDODirection direction;
  Srdo::SRDOParameters parameters;
  std::uint16_t signature;
};

std::vector<Operation> srdo_operations() {
  return {getter(
              "getSRDOParameters", SrdoOutputs{Srdo::SRDODirection{0}, {false, 9, 9, 9, 9, 9}, 9},
              [](CANOpenDispatcher& d, auto& o) {
                return d.getSRDOParameters(Srdo::SRDOId{16}, o.direction, o.parameters, o.signature);
              },
              [](const auto& o) {
                return Values{o.parameters.enabled,          static_cast<std::int32_t>(o.direction),
                              o.parameters.refreshTime,      o.parameters.validationTime,
                              o.parameters.transmissionType, o.parameters.cobId1,
                              o.parameters.cobId2,           o.signature};
              },
              {read_at(0x13100100, std::uint8_t{2}).converted(0, true).converted(1, std::int32_t{1}),
               read_at(0x13100200, std::uint16_t{25}).into(2), read_at(0x13100300, std::uint8_t{20}).into(3),
               read_at(0x13100400, std::uint8_t{254}).into(4),
               read_at(0x13100500, std::uint32_t{0x101}).converted(5, std::uint16_t{0x101}),
               read_at(0x13100600, std::uint32_t{0x102}).converted(6, std::uint16_t{0x102}),
               read_at(0x13FF1000, std::uint16_t{0x4711}).into(7)}),
          plain_getter(
              "getSRDOMapping", Srdo::SRDOMapping{9, {8, 7}},
              [](CANOpenDispatcher& d, auto& mapping) { return d.getSRDOMapping(Srdo::SRDOId{2}, mapping); },
              [](const auto& mapping) {
                return Values{mapping.count, mapping.entries.at(0), mapping.entries.at(1)};
              },
              {read_at(0x13820000, std::uint8_t{2}), read_at(0x13820100, std::uint32_t{0x62100108}),
               read_at(0x13820200, std::uint32_t{0x62110108})}),
          getter(
              "getSRDOConfigurationValidity", false,
              [](CANOpenDispatcher& d, bool& valid) { return d.getSRDOConfigurationValidity(valid); },
              [](bool valid) { return Values{valid}; },
              {read("Configuration valid", std::uint8_t{0xA5}).converted(0, true)}),
          setter("setSRDOConfigurationValidity",
                 [](CANOpenDispatcher& d) { return d.setSRDOConfigurationValidity(); },
                 {write("Configuration valid", std::uint8_t{0xA5})})};
}

}  // namespace

std::vector<Operation> safety_operations() {
  std::vector<Operation> all;
  for (const auto& list :
       {parameter_getters(), words_and_functions(), mapping_getters(), srdo_operations()}) {
    all.insert(all.end(), list.begin(), list.end());
  }
  return all;
}

}  // namespace tavtest
