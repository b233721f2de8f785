#include "host/group/SteppedGroup.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <tav/host/group_process_data.hpp>

namespace tests::host {

using nkr::can::Frame;

namespace {

constexpr std::uint8_t kFirstNode = 11;
constexpr std::uint8_t kHost = 0;
constexpr std::uint8_t kSomebody = 255;
constexpr std::uint8_t kHostNode = 127;

/** An expedited SDO download (CiA 301, 7.2.4.3.3). */
Frame download(std::uint8_t node, const nkr::canopen::ObjectValue& value) {
  Frame frame;
  frame.id = 0x600U + node;
  frame.size = 8;
  frame.data[0] = static_cast<std::uint8_t>(0x23U | (4 - value.bytes.size()) << 2);
  frame.data[1] = static_cast<std::uint8_t>(value.address.index);
  frame.data[2] = static_cast<std::uint8_t>(value.address.index >> 8);
  frame.data[3] = value.address.subindex;
  std::copy(value.bytes.begin(), value.bytes.end(), frame.data.begin() + 4);
  return frame;
}

}  // namespace

unsigned word_of(const Frame& order) {
  return order.data[0] | static_cast<unsigned>(order.data[1]) << 8;
}

int velocity_of(const Frame& order) {
  return static_cast<std::int16_t>(order.data[2] | static_cast<unsigned>(order.data[3]) << 8);
}

SteppedGroup::SteppedGroup(std::size_t drives, CycleSettings settings) : settings_(std::move(settings)) {
  now_ = Time{} + std::chrono::hours(1);
  settings_.host_node = kHostNode;
  for (std::size_t i = 0; i < drives; ++i) {
    tav::drive::Settings of_drive;
    of_drive.node_id = static_cast<std::uint8_t>(kFirstNode + i);
    std::string problem;
    drives_.push_back(tav::drive::VirtualDrive::from_file("share/tav/tav.eds", of_drive, problem));
    if (!drives_.back()) throw std::runtime_error(problem);
    settings_.members.push_back({of_drive.node_id, 1000, 3000});
    drives_.back()->power_on(now_);
    prepare(*drives_.back());
    drives_.back()->connect([this, node = of_drive.node_id](const Frame& frame) { put(frame, node); });
  }
  drive_due_.assign(drives, now_);
  cycle_ = std::make_unique<GroupCycle>(settings_, [this](const Frame& frame) {
    if (bus_ == NKR_OK) put(frame, kHost);
    return bus_;
  });
}

SteppedGroup::~SteppedGroup() = default;

void SteppedGroup::prepare(tav::drive::VirtualDrive& drive) {
  const std::uint8_t node = drive.node_id();
  drive.connect(
      [](const Frame& frame) { ASSERT_NE(frame.data[0], 0x80) << "aborted: " << to_string(frame); });
  for (const auto& value : tav::host::group_process_data(node)) drive.receive(download(node, value));
  using nkr::canopen::object_value;
  drive.receive(download(node, object_value({0x1016, 1}, std::uint32_t{kHostNode << 16 | 250})));
  drive.receive({0x000, {0x01, node}});
}

void SteppedGroup::put(const Frame& frame, std::uint8_t sender) {
  wire_.push_back({now_, frame, sender});
  const Fate fate = script_ ? script_(frame, sender) : Fate{};
  if (fate.is_lost) return;
  on_the_way_.emplace(now_ + fate.delay, OnTheWay{frame, sender});
  if (fate.is_doubled) on_the_way_.emplace(now_ + fate.delay, OnTheWay{frame, sender});
}

void SteppedGroup::somebody_sends(const std::string& frame) {
  put(*nkr::can::parse_frame(frame), kSomebody);
}

void SteppedGroup::play(std::size_t index, const std::string& line) {
  tav::drive::Scenario scenario;
  std::string problem;
  ASSERT_TRUE(tav::drive::read_scenario_line(line, scenario, problem)) << problem;
  ASSERT_TRUE(drives_.at(index)->play(scenario, problem)) << problem;
  drive_due_.at(index) = now_;
}

void SteppedGroup::deliver(const OnTheWay& item) {
  if (item.sender != kHost) {
    if (now_ < awake_at_) {
      heard_.push_back(item.frame);
    } else {
      cycle_->receive(item.frame, now_);
      host_due_ = now_;
    }
  }
  for (std::size_t i = 0; i < drives_.size(); ++i) {
    if (drives_[i]->node_id() == item.sender) continue;
    drive_due_[i] = std::min(drive_due_[i], drives_[i]->receive(item.frame, now_));
  }
}

void SteppedGroup::begin() {
  beginning_ = now_;
  cycle_->begin(now_);
  host_due_ = now_;
}

void SteppedGroup::run_host() {
  for (const Frame& frame : heard_) cycle_->receive(frame, now_);
  heard_.clear();
  host_due_ = cycle_->step(now_);
}

void SteppedGroup::run(Duration duration) {
  const Time end = now_ + duration;
  while (true) {
    const Time host = std::max(host_due_, awake_at_);
    const auto drive = std::min_element(drive_due_.begin(), drive_due_.end());
    const Time wire = on_the_way_.empty() ? Time::max() : on_the_way_.begin()->first;
    const Time next = std::min({host, *drive, wire});
    if (next >= end) break;
    now_ = std::max(now_, next);
    if (wire <= now_) {
      const OnTheWay item = on_the_way_.begin()->second;
      on_the_way_.erase(on_the_way_.begin());
      deliver(item);
    } else if (*drive <= now_) {
      const auto index = static_cast<std::size_t>(drive - drive_due_.begin());
      *drive = drives_[index]->advance(now_);
    } else {
      run_host();
    }
  }
  now_ = end;
}

void SteppedGroup::run_paced(Duration duration) {
  stall(duration);
  run(duration);
  for (const Frame& frame : heard_) cycle_->receive(frame, now_);
  heard_.clear();
  host_due_ = Time::max();
}

bool SteppedGroup::reaches(GroupState state) {
  const Time end = now_ + std::chrono::seconds(10);
  while (snapshot().state != state && now_ < end) run_cycles(1);
  return snapshot().state == state;
}

void SteppedGroup::enable() {
  begin();
  run_cycles(3);
  cycle_->ask(GroupCycle::Request::ENABLE);
  ASSERT_TRUE(reaches(GroupState::ENABLED)) << static_cast<int>(snapshot().reason.kind);
}

void SteppedGroup::drive_at(const std::vector<int>& velocities, Duration duration) {
  const Time end = now_ + duration;
  while (now_ < end) {
    ASSERT_EQ(cycle_->set(velocities, now_), NKR_OK);
    run(std::min<Duration>(settings_.period, end - now_));
  }
}

int SteppedGroup::velocity(std::size_t index) const {
  return static_cast<int>(*drives_.at(index)->value("vl_velocity_actual_value"));
}

bool SteppedGroup::all_stand() const {
  for (std::size_t i = 0; i < size(); ++i) {
    if (velocity(i) != 0) return false;
  }
  return true;
}

unsigned SteppedGroup::status_bits(std::size_t index) const {
  return static_cast<unsigned>(*drives_.at(index)->value("statusword")) & 0x6FU;
}

std::vector<SteppedGroup::Passed> SteppedGroup::with_id(std::uint32_t id) const {
  std::vector<Passed> found;
  std::copy_if(wire_.begin(), wire_.end(), std::back_inserter(found),
               [id](const Passed& passed) { return passed.frame.id == id; });
  return found;
}

std::vector<std::map<std::uint8_t, std::vector<Frame>>> SteppedGroup::orders() const {
  std::vector<std::map<std::uint8_t, std::vector<Frame>>> all(1);
  for (const Passed& passed : wire_) {
    if (passed.sender != kHost) continue;
    if (passed.frame.id == 0x080) all.emplace_back();
    const bool is_order = (passed.frame.id & ~0x7FU) == 0x200;
    if (is_order) all.back()[static_cast<std::uint8_t>(passed.frame.id & 0x7FU)].push_back(passed.frame);
  }
  return all;
}

}  // namespace tests::host
