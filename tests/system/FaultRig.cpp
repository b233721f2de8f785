#include "FaultRig.hpp"

#include <gtest/gtest.h>

#include <map>
#include <mutex>
#include <nkr/time/clock.hpp>
#include <sstream>
#include <support/ConfigText.hpp>
#include <support/DispatcherBench.hpp>
#include <support/TemporaryFile.hpp>

namespace tavtest {
namespace {

using nkr::tools::DataType;

struct DriveObject {
  DataType type;
  std::string value;
};
/** Objects by index and sub-index. */
using DriveObjects = std::map<std::uint32_t, std::map<std::uint32_t, DriveObject>>;

/** Where an exchange of process data sends the order (CiA 402-2, 6042h). */
constexpr std::uint32_t kTargetVelocity = 0x6042;

bool has_address(const Step& step) {
  return step.kind == Step::Kind::READ_AT || step.kind == Step::Kind::WRITE_AT;
}

bool is_read(const Step& step) {
  return step.kind == Step::Kind::READ || step.kind == Step::Kind::READ_AT;
}

void collect(const std::vector<Step>& steps, const EdsFixture& description, DriveObjects& objects) {
  for (const Step& step : steps) {
    collect(step.steps, description, objects);
    if (step.kind == Step::Kind::SYNC) objects[kTargetVelocity][0].type = DataType::INTEGER16;
    if (step.name.empty() && !has_address(step)) continue;
    const std::uint32_t address =
        has_address(step) ? WatchedClient::moved(step.address) : description.address(step.name);
    DriveObject& object = objects[address >> 16][address >> 8 & 0xFFU];
    object.type = type_of(step.value);
    if (is_read(step)) object.value = record_text(step.value);
  }
}

/** One VAR, or an entry of a record (CiA 306). */
std::string section(const std::string& title, const DriveObject& object) {
  std::ostringstream text;
  text << '[' << title << "]\nParameterName=object " << title << "\nObjectType=0x7\nDataType=0x" << std::hex
       << static_cast<unsigned>(object.type) << "\nAccessType=rw\nDefaultValue=" << object.value
       << "\nPDOMapping=0\n\n";
  return text.str();
}

std::string hexadecimal(std::uint32_t number) {
  std::ostringstream text;
  text << std::hex << number;
  return text.str();
}

std::string drive_description_of(const DriveObjects& objects) {
  std::ostringstream list;
  std::string sections;
  std::size_t count = 0;
  for (const auto& [index, entries] : objects) {
    const std::string title = hexadecimal(index);
    list << ++count << "=0x" << title << '\n';
    const bool variable = entries.size() == 1 && entries.begin()->first == 0;
    if (!variable) {
      sections += '[' + title + "]\nParameterName=record " + title +
                  "\nObjectType=0x9\nSubNumber=" + std::to_string(entries.size()) + "\n\n";
    }
    for (const auto& [subindex, object] : entries) {
      sections += section(variable ? title : title + "sub" + hexadecimal(subindex), object);
    }
  }
  return "[DeviceInfo]\nVendorName=test\n\n[MandatoryObjects]\nSupportedObjects=1\n1=0x1000\n\n"
         "[1000]\nParameterName=Device type\nObjectType=0x7\nDataType=0x0007\nAccessType=ro\n\n"
         "[ManufacturerObjects]\nSupportedObjects=" +
         std::to_string(count) + '\n' + list.str() + '\n' + sections;
}

std::string values_of(const DriveObjects& objects) {
  std::string text;
  for (const auto& [index, entries] : objects) {
    for (const auto& [subindex, object] : entries) {
      if (object.value.empty()) continue;
      text += "set 0x" + hexadecimal(index) + ":0x" + hexadecimal(subindex) + " \"" + object.value + "\"\n";
    }
  }
  return text;
}

nkr::canopen::ClientOptions options_with(std::chrono::milliseconds grace) {
  nkr::canopen::ClientOptions options;
  options.sdo_timeout = options.store_timeout = FaultRig::kTimeout;
  options.late_reply_grace = grace;
  options.frame_history = 0;
  return options;
}

/** Configurations are read by one reader that all of the process share: one after the other. */
std::shared_ptr<nkr::tavcore::Config> load(const std::string& path) {
  static std::mutex one_at_a_time;
  const std::lock_guard<std::mutex> lock(one_at_a_time);
  auto config = std::make_shared<nkr::tavcore::Config>();
  EXPECT_EQ(config->load(path), NKR_OK);
  return config;
}

}  // namespace

RigFiles files_of(const Operation& operation) {
  const EdsFixture description = description_of(operation);
  DriveObjects objects;
  collect(operation.steps, description, objects);
  return {drive_description_of(objects), description.text(), values_of(objects)};
}

FaultRig::FaultRig(const RigFiles& files, std::uint32_t context, std::chrono::milliseconds grace)
    : context_(context) {
  tav::drive::Settings settings;
  settings.node_id = DispatcherBench::kNode;
  std::string problem;
  std::istringstream drive_description(files.drive_description);
  drive_ = tav::drive::VirtualDrive::create(drive_description, settings, problem);
  if (!drive_) throw std::runtime_error("no drive: " + problem);
  runner_ = std::make_unique<tav::drive::Runner>(*drive_);
  client_ = std::make_unique<nkr::canopen::Client>(bus_, options_with(grace));
  EXPECT_EQ(runner_->start(*bus_), NKR_OK);
  await_boot_up();
  watched_ = std::make_shared<WatchedClient>(*client_);
  const TemporaryFile host_description(files.host_description);
  const TemporaryFile file(config_text({{"contextId", std::to_string(context)},
                                        {"nodeId", std::to_string(DispatcherBench::kNode)},
                                        {"CANOpenEDSFile", host_description.path()}}));
  const auto config = load(file.path());
  dispatcher_ = std::make_unique<nkr::tavcore::CANOpenDispatcher>(config, watched_);
  EXPECT_EQ(dispatcher_->init(), NKR_OK);
}

void FaultRig::await_boot_up() {
  nkr::canopencore::NMTState state{};
  while (time_.elapsed() < std::chrono::seconds(20)) {
    static_cast<void>(client_->getNMTState(DispatcherBench::kNode, state));
    if (state == nkr::canopencore::NMTState::PRE_OPERATIONAL) return;
    nkr::time::sleep_for(std::chrono::milliseconds(1));
  }
  ADD_FAILURE() << "the drive does not boot";
}

void FaultRig::play(const std::string& text) {
  std::istringstream lines(text);
  tav::drive::Scenario scenario;
  std::string problem;
  if (!tav::drive::read_scenario(lines, scenario, problem) || !drive_->play(scenario, problem)) {
    throw std::runtime_error("no scenario: " + problem);
  }
}

Outcome FaultRig::run(const Operation& operation, const RecordingLog& log) {
  // An operation that gives the drive another node id makes the dispatcher follow it at once.
  EXPECT_EQ(dispatcher_->_setNodeId(DispatcherBench::kNode), NKR_OK);
  watched_->accesses.clear();
  const std::size_t before = log.records().size();
  Outcome outcome;
  outcome.result = operation.call(*dispatcher_, outcome.outputs);
  outcome.accesses = watched_->accesses;
  const std::vector<LogEntry> records = log.records();
  for (std::size_t i = before; i < records.size(); ++i) {
    if (records[i].context != context_) continue;
    outcome.records.push_back(records[i]);
    outcome.records.back().context = DispatcherBench::kContext;
  }
  return outcome;
}

}  // namespace tavtest
