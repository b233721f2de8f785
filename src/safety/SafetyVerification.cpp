// Verification: everything is read object by object, so that success says that each value was read.

#include <algorithm>
#include <numeric>
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/SafetyVerification.hpp>
#include <tavcore/SignatureCalculator.hpp>

#include "../objects/Steps.hpp"
#include "SafetyInputs.hpp"

namespace nkr::tavcore {
namespace {

std::string name_of(std::string_view name) {
  return std::string(name);
}

/** "66F0:01" */
std::string name_of(std::uint32_t address) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (int shift = 28; shift >= 16; shift -= 4) text += kDigits[address >> shift & 0xF];
  text += ':';
  for (int shift = 12; shift >= 8; shift -= 4) text += kDigits[address >> shift & 0xF];
  return text;
}

template <class T>
std::string name_of(const Object<T>& object) {
  return name_of(object.name);
}
template <class T>
std::string name_of(const NumberedObject<T>& object) {
  return name_of(object.name);
}
template <class T>
std::string name_of(const ObjectAt<T>& object) {
  return name_of(object.address);
}

/** Reads inputs from the drive until one fails twice. */
class Reader {
 public:
  explicit Reader(Steps& steps) : steps_(steps) {}

  template <class AnyObject, class T>
  void operator()(const AnyObject& object, T& value) {
    if (steps_.completed() && !steps_.insist(object, value)) failed_object_ = name_of(object);
  }

  [[nodiscard]] const std::string& failed_object() const { return failed_object_; }

 private:
  Steps& steps_;
  std::string failed_object_;
};

/** Lists inputs with their values. */
class Inputs {
 public:
  struct Input {
    std::string name;
    std::uint32_t value;
  };

  template <class AnyObject, class T>
  void operator()(const AnyObject& object, const T& value) {
    list_.push_back({name_of(object), static_cast<std::uint32_t>(value)});
  }
  [[nodiscard]] const std::vector<Input>& list() const { return list_; }

 private:
  std::vector<Input> list_;
};

/** Compares input by input; what one list lacks at its end counts as 0. */
void append_differences(const Inputs& expected, const Inputs& actual,
                        std::vector<SafetyInputDifference>& differences) {
  const std::size_t count = std::max(expected.list().size(), actual.list().size());
  for (std::size_t i = 0; i < count; ++i) {
    const bool is_expected = i < expected.list().size();
    const bool is_held = i < actual.list().size();
    const std::uint32_t wanted = is_expected ? expected.list()[i].value : 0;
    const std::uint32_t held = is_held ? actual.list()[i].value : 0;
    if (wanted == held && is_expected == is_held) continue;
    differences.push_back({is_held ? actual.list()[i].name : expected.list()[i].name, wanted, held});
  }
}

void read_configuration(Reader& reader, SafetyConfiguration& configuration) {
  unit_inputs(reader, configuration);
  sto_inputs(reader, configuration);
  int instance = 0;
  for (auto& sls : configuration.sls) sls_inputs(reader, sls, ++instance);
  instance = 0;
  for (auto& sdi : configuration.sdi) sdi_inputs(reader, sdi, ++instance);
  instance = 0;
  for (auto& sbc : configuration.sbc) sbc_inputs(reader, sbc, ++instance);
  unsigned_inputs(reader, configuration);
  mapping_inputs(reader, configuration);
}

SRDOConfiguration read_srdo(Reader& reader, std::int32_t number) {
  SRDOConfiguration srdo;
  srdo.number = number;
  std::uint8_t count = 0;
  srdo_inputs(reader, srdo);
  unsigned_srdo_inputs(reader, srdo);
  reader(SRDOObjects(number).mapping_count(), count);
  srdo.mapping.resize(count);
  srdo_mapping_inputs(reader, srdo);
  return srdo;
}

/** One signature as the drive holds it, beside the one computed over what was read. */
template <class AnyObject>
SafetySignatureCheck read_check(Reader& reader, const char* function, std::int32_t number,
                                const AnyObject& object, std::uint16_t computed) {
  SafetySignatureCheck check;
  check.name = std::string(function) + " " + std::to_string(number);
  check.computed = computed;
  reader(object, check.stored);
  return check;
}

/** The checks of the 14 instances, in the order of SafetyVerification::checks. */
std::vector<SafetySignatureCheck> read_function_checks(Reader& reader, const SafetySignatures& computed) {
  std::vector<SafetySignatureCheck> checks;
  const auto read_all = [&](const char* function, const SignatureObjects& objects, const auto& signatures) {
    std::int32_t instance = 0;
    for (const std::uint16_t signature : signatures) {
      ++instance;
      checks.push_back(read_check(reader, function, instance, objects.readable(instance), signature));
    }
  };
  read_all("STO", kSTOSignatures, std::array{computed.sto});
  read_all("SLS", kSLSSignatures, computed.sls);
  read_all("SDI", kSDISignatures, computed.sdi);
  read_all("SBC", kSBCSignatures, computed.sbc);
  return checks;
}

/** The inputs of each of the 14 signatures, in the same order. */
std::vector<Inputs> inputs_by_signature(const SafetyConfiguration& c) {
  std::vector<Inputs> all;
  const auto add = [&](const auto& own_inputs) {
    Inputs inputs;
    own_inputs(inputs);
    mapping_inputs(inputs, c);
    all.push_back(std::move(inputs));
  };
  add([&](Inputs& inputs) { sto_inputs(inputs, c); });
  for (std::size_t i = 0; i < kSLSCount; ++i) {
    add([&](Inputs& inputs) {
      inputs(kTimeUnit, c.units.time_unit);
      inputs(kVelocityUnit, c.units.velocity_unit);
      inputs(kAccelerationUnit, c.units.acceleration_unit);
      sls_inputs(inputs, c.sls[i], static_cast<int>(i) + 1);
    });
  }
  for (std::size_t i = 0; i < kSDICount; ++i) {
    add([&](Inputs& inputs) {
      inputs(kPositionUnit, c.units.position_unit);
      inputs(kVelocityUnit, c.units.velocity_unit);
      sdi_inputs(inputs, c.sdi[i], static_cast<int>(i) + 1);
    });
  }
  for (std::size_t i = 0; i < kSBCCount; ++i) {
    add([&](Inputs& inputs) {
      inputs(kTimeUnit, c.units.time_unit);
      sbc_inputs(inputs, c.sbc[i], static_cast<int>(i) + 1);
    });
  }
  return all;
}

std::vector<std::uint16_t> in_order(const SafetySignatures& signatures) {
  std::vector<std::uint16_t> all = {signatures.sto};
  all.insert(all.end(), signatures.sls.begin(), signatures.sls.end());
  all.insert(all.end(), signatures.sdi.begin(), signatures.sdi.end());
  all.insert(all.end(), signatures.sbc.begin(), signatures.sbc.end());
  return all;
}

void compare(const SafetyConfiguration& expected, SafetyVerification& verification) {
  const std::vector<std::uint16_t> signatures = in_order(compute_safety_signatures(expected));
  const std::vector<Inputs> wanted = inputs_by_signature(expected);
  const std::vector<Inputs> held = inputs_by_signature(verification.configuration);
  for (std::size_t i = 0; i < signatures.size(); ++i) {
    verification.checks[i].expected = signatures[i];
    append_differences(wanted[i], held[i], verification.checks[i].differences);
  }
  Inputs wanted_unsigned;
  Inputs held_unsigned;
  unsigned_inputs(wanted_unsigned, expected);
  unsigned_inputs(held_unsigned, verification.configuration);
  append_differences(wanted_unsigned, held_unsigned, verification.unsigned_differences);
}

Inputs srdo_signature_inputs(const SRDOConfiguration& srdo) {
  Inputs inputs;
  srdo_inputs(inputs, srdo);
  inputs(SRDOObjects(srdo.number).mapping_count(), srdo.mapping.size());
  srdo_mapping_inputs(inputs, srdo);
  return inputs;
}

void compare(const SRDOConfiguration& expected, const SRDOConfiguration& actual, SafetySignatureCheck& check,
             SafetyVerification& verification) {
  check.expected = compute_srdo_signature(expected);
  append_differences(srdo_signature_inputs(expected), srdo_signature_inputs(actual), check.differences);
  Inputs wanted_unsigned;
  Inputs held_unsigned;
  unsigned_srdo_inputs(wanted_unsigned, expected);
  unsigned_srdo_inputs(held_unsigned, actual);
  append_differences(wanted_unsigned, held_unsigned, verification.unsigned_differences);
}

/** The numbers asked for, and after them those that are only expected. */
std::vector<std::int32_t> with_expected(std::vector<std::int32_t> numbers,
                                        const SafetyExpectation& expected) {
  for (const SRDOConfiguration& srdo : expected.srdos) {
    if (std::find(numbers.begin(), numbers.end(), srdo.number) == numbers.end()) {
      numbers.push_back(srdo.number);
    }
  }
  return numbers;
}

void verify_srdos(Reader& reader, const std::vector<std::int32_t>& numbers, const SafetyExpectation& expected,
                  SafetyVerification& verification) {
  if (!numbers.empty()) reader(kSRDOConfigurationValid, verification.srdo_validity);
  for (const std::int32_t number : numbers) {
    const SRDOConfiguration srdo = read_srdo(reader, number);
    SafetySignatureCheck check =
        read_check(reader, "SRDO", number, SRDOObjects(number).signature(), compute_srdo_signature(srdo));
    for (const SRDOConfiguration& wanted : expected.srdos) {
      if (wanted.number == number) compare(wanted, srdo, check, verification);
    }
    verification.srdos.push_back(srdo);
    verification.checks.push_back(std::move(check));
  }
}

}  // namespace

bool SafetyVerification::passed() const {
  return result == NKR_OK && unsigned_differences.empty() &&
         std::all_of(checks.begin(), checks.end(), [](const auto& check) { return check.passed(); });
}

std::vector<std::int32_t> all_srdos() {
  std::vector<std::int32_t> numbers(kSRDOCount);
  std::iota(numbers.begin(), numbers.end(), 1);
  return numbers;
}

SafetyVerification verify_safety(const CANOpenDispatcher& dispatcher, const std::vector<std::int32_t>& srdos,
                                 const SafetyExpectation& expected) {
  SafetyVerification verification;
  if (!dispatcher.isConfigLoaded()) {
    verification.result = NKR_NOT_AVAILABLE;
    return verification;
  }
  Steps steps(*dispatcher.dictionary_);
  Reader reader(steps);
  read_configuration(reader, verification.configuration);
  verification.checks = read_function_checks(reader, compute_safety_signatures(verification.configuration));
  if (expected.configuration) compare(*expected.configuration, verification);
  verify_srdos(reader, with_expected(srdos, expected), expected, verification);
  verification.result = steps.result();
  verification.failed_object = reader.failed_object();
  return verification;
}

}  // namespace nkr::tavcore
