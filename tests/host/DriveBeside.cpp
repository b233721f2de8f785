#include "DriveBeside.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <nkr/can/open_bus.hpp>
#include <nkr/time/clock.hpp>
#include <stdexcept>

namespace tests::host {

namespace {

constexpr std::uint32_t kControlWord = 0x60400000;
constexpr std::uint32_t kStatusWord = 0x60410000;
constexpr std::uint32_t kTarget = 0x60420000;
constexpr std::uint32_t kVelocity = 0x606C0000;
constexpr std::uint32_t kConsumerHeartbeat = 0x10160100;

}  // namespace

bool becomes(const std::function<bool()>& condition) {
  const auto deadline = nkr::time::now() + std::chrono::seconds(100);
  while (!condition()) {
    if (nkr::time::now() >= deadline) return false;
    nkr::time::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

DriveBeside::DriveBeside(const std::string& bus_name) {
  nkr_error_t result = NKR_OK;
  std::string problem;
  bus_ = nkr::can::open_bus(bus_name.empty() ? "virtual" : bus_name, result, problem);
  if (!bus_) throw std::runtime_error(problem);
  tav::drive::Settings settings;
  settings.node_id = kNode;
  drive_ = tav::drive::VirtualDrive::from_file("share/tav/tav.eds", settings, problem);
  if (!drive_) throw std::runtime_error(problem);
  runner_ = std::make_unique<tav::drive::Runner>(*drive_);
  if (runner_->start(*bus_) != NKR_OK) throw std::runtime_error("no port for the drive");
  port_ = bus_->open({{0x7FE, 0x7FF}}, result);
}

DriveBeside::~DriveBeside() = default;

tav::host::UnitSettings DriveBeside::settings() const {
  tav::host::UnitSettings settings;
  settings.configuration = "share/tav/tav.ini";
  settings.parts.bus = bus_;
  return settings;
}

void DriveBeside::send(std::uint32_t id, const std::vector<std::uint8_t>& data) {
  nkr::can::Frame frame;
  frame.id = id;
  frame.size = static_cast<std::uint8_t>(data.size());
  std::copy(data.begin(), data.end(), frame.data.begin());
  ASSERT_EQ(port_->send(frame, nkr::can::Clock::now() + std::chrono::seconds(5)), NKR_OK);
}

nkr::canopen::Client& DriveBeside::somebody() {
  if (!somebody_) somebody_ = std::make_unique<nkr::canopen::Client>(bus_);
  return *somebody_;
}

int DriveBeside::velocity() {
  std::int32_t velocity = 0;
  EXPECT_EQ(somebody().getValue(kNode, kVelocity, velocity), NKR_OK);
  return velocity;
}

unsigned DriveBeside::state_bits() {
  std::uint16_t word = 0;
  EXPECT_EQ(somebody().getValue(kNode, kStatusWord, word), NKR_OK);
  return word & 0x6FU;
}

std::uint32_t DriveBeside::consumer_heartbeat() {
  std::uint32_t entry = 0;
  EXPECT_EQ(somebody().getValue(kNode, kConsumerHeartbeat, entry), NKR_OK);
  return entry;
}

void DriveBeside::write_target(std::int16_t target) {
  EXPECT_EQ(somebody().setValue(kNode, kTarget, target), NKR_OK);
}

void DriveBeside::write_control_word(std::uint16_t word) {
  EXPECT_EQ(somebody().setValue(kNode, kControlWord, word), NKR_OK);
}

void DriveBeside::unplug() {
  runner_->stop();
}

}  // namespace tests::host
