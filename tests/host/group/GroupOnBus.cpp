#include "host/group/GroupOnBus.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <nkr/can/open_bus.hpp>
#include <nkr/time/clock.hpp>
#include <stdexcept>
#include <tav/host/text.hpp>

namespace tests::host {

using nkr::can::Frame;

namespace {
constexpr std::uint8_t kFirstNode = 11;
}

DrivesOnBus::DrivesOnBus(std::size_t count, const std::string& bus_name) {
  nkr_error_t result = NKR_OK;
  std::string problem;
  bus_ = nkr::can::open_bus(bus_name, result, problem);
  if (!bus_) throw std::runtime_error(problem);
  witness_ = bus_->open_handler(
      {},
      [this](const Frame& frame) {
        const std::lock_guard<std::mutex> lock(mutex_);
        wire_.push_back({nkr::time::now(), frame});
      },
      result);
  port_ = bus_->open({{0x7FE, 0x7FF}}, result);
  for (std::size_t i = 0; i < count; ++i) {
    tav::drive::Settings settings;
    settings.node_id = static_cast<std::uint8_t>(kFirstNode + i);
    drives_.push_back(tav::drive::VirtualDrive::from_file("share/tav/tav.eds", settings, problem));
    if (!drives_.back()) throw std::runtime_error(problem);
    runners_.push_back(std::make_unique<tav::drive::Runner>(*drives_.back()));
    if (runners_.back()->start(*bus_) != NKR_OK) throw std::runtime_error("no port for a drive");
  }
  somebody_ = std::make_unique<nkr::canopen::Client>(bus_);
}

DrivesOnBus::~DrivesOnBus() = default;

std::int64_t DrivesOnBus::value(std::size_t index, const char* name) const {
  return drives_.at(index)->value(name).value();
}

int DrivesOnBus::velocity(std::size_t index) const {
  return static_cast<int>(value(index, "vl_velocity_actual_value"));
}

bool DrivesOnBus::all_stand() const {
  for (std::size_t i = 0; i < drives_.size(); ++i) {
    if (velocity(i) != 0) return false;
  }
  return true;
}

std::uint32_t DrivesOnBus::read(std::size_t index, std::uint32_t address) {
  std::uint32_t value = 0;
  EXPECT_EQ(somebody_->getValue(static_cast<std::uint8_t>(kFirstNode + index), address, value), NKR_OK);
  return value;
}

void DrivesOnBus::write(std::size_t index, std::uint32_t address, std::uint32_t value) {
  EXPECT_EQ(somebody_->setValue(static_cast<std::uint8_t>(kFirstNode + index), address, value), NKR_OK);
}

void DrivesOnBus::send(const std::string& frame) {
  EXPECT_EQ(port_->send(*nkr::can::parse_frame(frame), std::chrono::seconds(5)), NKR_OK);
}

std::vector<DrivesOnBus::Passed> DrivesOnBus::wire() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return wire_;
}

std::vector<DrivesOnBus::Passed> DrivesOnBus::with_id(std::uint32_t id) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<Passed> found;
  std::copy_if(wire_.begin(), wire_.end(), std::back_inserter(found),
               [id](const Passed& passed) { return passed.frame.id == id; });
  return found;
}

void DrivesOnBus::forget() {
  const std::lock_guard<std::mutex> lock(mutex_);
  wire_.clear();
}

std::vector<std::unique_ptr<tav::host::Unit>> open_units(const std::shared_ptr<nkr::can::Bus>& bus,
                                                         std::size_t count) {
  std::vector<std::unique_ptr<tav::host::Unit>> units;
  tav::host::UnitSettings settings;
  settings.configuration = "share/tav/tav.ini";
  settings.parts.bus = bus;
  for (std::size_t i = 0; i < count; ++i) {
    settings.node_id = static_cast<std::uint8_t>(kFirstNode + i);
    tav::host::Result result;
    units.push_back(tav::host::Unit::open(settings, result));
    if (!units.back()) throw std::runtime_error(text(result));
    settings.parts.client = units.back()->shared_client();
  }
  return units;
}

std::vector<tav::host::Unit*> pointers(const std::vector<std::unique_ptr<tav::host::Unit>>& units) {
  std::vector<tav::host::Unit*> all;
  for (const auto& unit : units) all.push_back(unit.get());
  return all;
}

tav::host::GroupSettings patient_settings() {
  tav::host::GroupSettings settings;
  settings.period = std::chrono::milliseconds(20);
  settings.listening = std::chrono::milliseconds(60);
  settings.setpoint_timeout = std::chrono::seconds(30);
  settings.heartbeat_timeout = std::chrono::seconds(10);
  settings.missing_limit = 250;
  settings.enable_timeout = std::chrono::seconds(60);
  return settings;
}

GroupOnBus::GroupOnBus(std::size_t count, const tav::host::GroupSettings& settings, Lives lives)
    : time_(lives == Lives::IN_VIRTUAL_TIME ? std::make_optional<nkr::time::VirtualTime>() : std::nullopt),
      drives_(count),
      units_(open_units(drives_.bus(), count)) {
  group_ = std::make_unique<tav::host::Group>(pointers(units_), settings);
  group_->on_cycle([this, count](const tav::host::GroupSnapshot& now) {
    if (now.state != tav::host::GroupState::ENABLED || !sets_) return;
    const std::vector<int> velocities(count, wanted_);
    static_cast<void>(group_->set(velocities.data(), velocities.size()));
  });
}

GroupOnBus::~GroupOnBus() = default;

void GroupOnBus::start() {
  const auto prepared = group_->prepare();
  ASSERT_TRUE(prepared.ok()) << text(prepared);
  const auto started = group_->start();
  ASSERT_TRUE(started.ok()) << text(started);
}

void GroupOnBus::enable() {
  start();
  const auto enabled = group_->enable();
  ASSERT_TRUE(enabled.ok()) << text(enabled);
}

}  // namespace tests::host
