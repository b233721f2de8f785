#include <optional>

#include "operations.hpp"

namespace tavtest {

using nkr::tavcore::CANOpenDispatcher;
using nkr::tavcore::ICommunicationService;
using COBID = ICommunicationService::COBID;
using PDOId = ICommunicationService::PDOId;
using PDOParameters = ICommunicationService::PDOCommunicationParameters;
using PDOMapping = ICommunicationService::PDOMappingParameters;
using SDOId = ICommunicationService::SDOId;

namespace {

void append(Values& values, const COBID& id) {
  values.insert(values.end(), {id.id, id.valid, id.bit30});
}

Step converted_cob_id(Step step, std::size_t output, const COBID& id) {
  return std::move(step)
      .converted(output, id.id)
      .converted(output + 1, id.valid)
      .converted(output + 2, id.bit30);
}

std::vector<Operation> sdo_operations() {
  using Parameters = ICommunicationService::SDOCommunicationParameters;
  return {
      getter(
          "getSDOCommunicationParameters", Parameters{{u16(1), true, false}, {u16(2), false, true}},
          [](const auto& d, auto& p) { return d.getSDOCommunicationParameters(SDOId{2}, p); },
          [](const auto& p) {
            Values values;
            append(values, p.cob_id_client_to_server);
            append(values, p.cob_id_server_to_client);
            return values;
          },
          {converted_cob_id(read_at(0x12010100, 0x80000640U), 0, {u16(0x640), false, false}),
           converted_cob_id(read_at(0x12010200, 0x400005C0U), 3, {u16(0x5C0), true, true})}),
      setter("setSDOCommunicationParameters",
             [](auto& d) {
               return d.setSDOCommunicationParameters(SDOId{2},
                                                      {{u16(0x640), false, false}, {u16(0x5C0), true, true}});
             },
             {write_at(0x12010100, 0x80000640U), write_at(0x12010200, 0x400005C0U)}),
  };
}

// PDO communication parameters.

constexpr PDOParameters kUntouched{{1, false, true}, 2, 3, 4};
constexpr PDOParameters kPdo{{0x205, true, true}, 255, 300, 1000};

Values values_of(const PDOParameters& p) {
  Values values;
  append(values, p.cob_id);
  values.insert(values.end(), {p.transmission_type, p.inhibit_time, p.event_timer});
  return values;
}

std::vector<Step> pdo_reads(std::uint32_t base, bool with_times) {
  std::vector<Step> steps{converted_cob_id(read_at(base + 0x120, 0x40000205U), 0, kPdo.cob_id),
                          read_at(base + 0x208, u8(255)).into(3)};
  if (with_times) {
    steps.push_back(read_at(base + 0x310, u16(300)).into(4));
    steps.push_back(read_at(base + 0x510, u16(1000)).into(5));
  }
  return steps;
}

std::vector<Step> pdo_writes(std::uint32_t base, bool with_times) {
  std::vector<Step> steps{write_at(base + 0x120, 0xC0000205U), write_at(base + 0x208, u8(255))};
  if (with_times) steps.push_back(write_at(base + 0x510, u16(1000)));
  steps.push_back(write_at(base + 0x120, 0x40000205U));
  return steps;
}

using PdoGetter = nkr_error_t (CANOpenDispatcher::*)(const PDOId&, PDOParameters&) const;
using PdoSetter = nkr_error_t (CANOpenDispatcher::*)(const PDOId&, const PDOParameters&);

Operation pdo_getter(std::string name, std::int32_t number, PdoGetter operation, std::uint32_t base,
                     bool with_times) {
  return getter(
             std::move(name), kUntouched,
             [=](const auto& d, auto& p) { return (d.*operation)(PDOId{number}, p); },
             [](const auto& p) { return values_of(p); }, {call(pdo_reads(base, with_times))})
      .as("of_pdo_" + std::to_string(number));
}

Operation pdo_setter(std::string name, std::int32_t number, PdoSetter operation, std::uint32_t base,
                     bool with_times) {
  return setter(std::move(name), [=](auto& d) { return (d.*operation)(PDOId{number}, kPdo); },
                {call(pdo_writes(base, with_times))})
      .as("of_pdo_" + std::to_string(number));
}

std::vector<Operation> pdo_communication_operations() {
  using D = CANOpenDispatcher;
  constexpr auto kGetR = &D::getRPDOCommunicationParameters;
  constexpr auto kSetR = &D::setRPDOCommunicationParameters;
  constexpr auto kGetT = &D::getTPDOCommunicationParameters;
  constexpr auto kSetT = &D::setTPDOCommunicationParameters;
  return {
      pdo_getter("getRPDOCommunicationParameters", 1, kGetR, 0x14000000, true),
      pdo_getter("getRPDOCommunicationParameters", 5, kGetR, 0x14040000, true),
      pdo_getter("getRPDOCommunicationParameters", 6, kGetR, 0x14050000, false),
      pdo_setter("setRPDOCommunicationParameters", 1, kSetR, 0x14000000, true),
      pdo_setter("setRPDOCommunicationParameters", 5, kSetR, 0x14040000, true),
      pdo_setter("setRPDOCommunicationParameters", 6, kSetR, 0x14050000, false),
      pdo_getter("getTPDOCommunicationParameters", 1, kGetT, 0x18000000, false),
      pdo_setter("setTPDOCommunicationParameters", 4, kSetT, 0x18030000, false),
      getter(
          "getPDOCommunicationParameters", kUntouched,
          [](const auto& d, auto& p) { return d.getPDOCommunicationParameters(p, 0x18020000, true); },
          [](const auto& p) { return values_of(p); }, pdo_reads(0x18020000, true)),
      setter(
          "setPDOCommunicationParameters",
          [](auto& d) { return d.setPDOCommunicationParameters(kPdo, 0x18020000, true); },
          pdo_writes(0x18020000, true)),
  };
}

// PDO mappings.

constexpr std::uint32_t kFirstEntry = 0x60420010;
constexpr std::uint32_t kSecondEntry = 0x60400010;

using MappingGetter = nkr_error_t (CANOpenDispatcher::*)(const PDOId&, PDOMapping&) const;
using MappingSetter = nkr_error_t (CANOpenDispatcher::*)(const PDOId&, const PDOMapping&);

Operation mapping_getter(std::string name, MappingGetter operation, std::uint32_t mapping) {
  return getter(
      std::move(name), PDOMapping{u8(0xAA), {}},
      [operation](const auto& d, auto& m) { return (d.*operation)(PDOId{2}, m); },
      [](const auto& m) {
        Values values{m.count};
        for (const std::uint32_t entry : m.entries) values.emplace_back(entry);
        return values;
      },
      {read_at(mapping, u8(2)).into(0), read_at(mapping + 0x100, kFirstEntry).appended(),
       read_at(mapping + 0x200, kSecondEntry).appended()});
}

/**
 * A mapping setter works on a zeroed copy of the communication parameters. When the first read succeeded only
 * on its repeat, the reading ended there with nothing converted, and the copy is written back as zeros.
 */
Step write_back_of(Step step, Value when_nothing_was_read) {
  return std::move(step).depending(
      [zero = std::move(when_nothing_was_read)](const std::vector<Access>& accesses) -> std::optional<Value> {
        const bool first_repeated = accesses.size() > 1 && accesses[1].address == accesses[0].address;
        return first_repeated ? std::optional<Value>(zero) : std::nullopt;
      });
}

/** Writes the communication parameters back: not valid, type, and valid or not. */
Step write_back(std::uint32_t communication, bool valid) {
  const std::uint32_t cob_id = communication + 0x120;
  return call({write_back_of(write_at(cob_id, 0xC0000205U), 0x80000000U),
               write_back_of(write_at(communication + 0x208, u8(255)), u8(0)),
               write_back_of(write_at(cob_id, valid ? 0x40000205U : 0xC0000205U),
                             valid ? 0x00000000U : 0x80000000U)});
}

Operation mapping_setter(std::string name, MappingSetter operation, std::uint32_t communication,
                         std::uint32_t mapping) {
  return setter(
      std::move(name),
      [operation](auto& d) {
        return (d.*operation)(PDOId{3}, {u8(2), {kFirstEntry, kSecondEntry, 0xFFFFFFFF}});
      },
      {call({read_at(communication + 0x120, 0x40000205U), read_at(communication + 0x208, u8(255))}),
       write_back(communication, false), write_at(mapping, u8(0)), write_at(mapping + 0x100, kFirstEntry),
       write_at(mapping + 0x200, kSecondEntry), write_at(mapping, u8(2)), write_back(communication, true)});
}

}  // namespace

std::vector<Operation> pdo_operations() {
  using D = CANOpenDispatcher;
  std::vector<Operation> operations = sdo_operations();
  for (Operation& operation : pdo_communication_operations()) operations.push_back(std::move(operation));
  operations.push_back(mapping_getter("getRPDOMappingParameters", &D::getRPDOMappingParameters, 0x16010000));
  operations.push_back(mapping_getter("getTPDOMappingParameters", &D::getTPDOMappingParameters, 0x1A010000));
  operations.push_back(
      mapping_setter("setRPDOMappingParameters", &D::setRPDOMappingParameters, 0x14020000, 0x16020000));
  operations.push_back(
      mapping_setter("setTPDOMappingParameters", &D::setTPDOMappingParameters, 0x18020000, 0x1A020000));
  return operations;
}

}  // namespace tavtest
