#include "CycleRecord.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <nkr/can/candump.hpp>
#include <ostream>
#include <tav/host/words.hpp>
#include <type_traits>

namespace tav::host {

using std::chrono::duration_cast;
using std::chrono::microseconds;

namespace {

static_assert(std::is_trivially_copyable_v<Feedback> && std::is_trivially_copyable_v<StopReason>,
              "they are copied as bytes");

/** Node ids of a bus (CiA 301). */
constexpr std::size_t kMostUnits = 127;

/** SYNC, heartbeats of host and units, and the two of each unit's process data. */
std::size_t frames_of(std::size_t units, std::size_t cycles) {
  return cycles * (2 * units + 2);
}

void write_unit(std::ostream& csv, const Feedback& unit) {
  csv << ',' << unit.is_fresh << ',' << unit.is_lost << ',' << hex(unit.control_word, 4) << ',' << unit.order
      << ',';
  if (unit.last) {
    csv << hex(unit.last->status_word, 4) << ',' << unit.last->velocity << ',' << unit.last->position;
  } else {
    csv << ",,";
  }
  csv << ',' << hex(unit.emergency, 4);
}

}  // namespace

struct SnapshotRing::Fixed {
  std::uint64_t cycle;
  std::uint64_t requests;
  nkr::can::Clock::time_point at;
  StopReason reason;
  unsigned answered;
  GroupState state;
};

/** On the stack: who reads may be at the end of the program, where the thread's own variables are gone. */
struct SnapshotRing::Entry : std::array<unsigned char, sizeof(Fixed) + kMostUnits * sizeof(Feedback)> {};

std::size_t SnapshotRing::entry_bytes() const {
  return sizeof(Fixed) + units_ * sizeof(Feedback);
}

SnapshotRing::SnapshotRing(std::size_t units, std::size_t entries)
    : units_(units), scratch_(entry_bytes()), ring_(entry_bytes(), entries) {}

void SnapshotRing::push(const GroupSnapshot& snapshot) {
  const Fixed fixed{snapshot.cycle,  snapshot.requests, snapshot.at,
                    snapshot.reason, snapshot.answered, snapshot.state};
  std::memcpy(scratch_.data(), &fixed, sizeof(fixed));
  std::memcpy(scratch_.data() + sizeof(fixed), snapshot.units.data(), units_ * sizeof(Feedback));
  ring_.push(scratch_.data());
}

void SnapshotRing::unpack(const unsigned char* entry, GroupSnapshot& snapshot) const {
  Fixed fixed{};
  std::memcpy(&fixed, entry, sizeof(fixed));
  snapshot.cycle = fixed.cycle;
  snapshot.requests = fixed.requests;
  snapshot.at = fixed.at;
  snapshot.reason = fixed.reason;
  snapshot.answered = fixed.answered;
  snapshot.state = fixed.state;
  snapshot.units.resize(units_);
  for (std::size_t i = 0; i < units_; ++i) {
    std::memcpy(static_cast<void*>(&snapshot.units[i]), entry + sizeof(fixed) + i * sizeof(Feedback),
                sizeof(Feedback));
  }
}

bool SnapshotRing::read(std::uint64_t number, GroupSnapshot& snapshot) const {
  Entry entry;
  if (!ring_.read(number, entry.data())) return false;
  unpack(entry.data(), snapshot);
  return true;
}

bool SnapshotRing::read_newest(GroupSnapshot& snapshot) const {
  Entry entry;
  if (!ring_.read_newest(entry.data())) return false;
  unpack(entry.data(), snapshot);
  return true;
}

CycleRecord::CycleRecord(std::size_t units, std::size_t cycles)
    : units_(units), cycles_(units, cycles), frames_(sizeof(Passed), frames_of(units, cycles)) {}

void CycleRecord::add(const GroupSnapshot& snapshot) {
  if (is_closed()) return;
  if (is_kept_) --left_;
  cycles_.push(snapshot);
}

void CycleRecord::add(const nkr::can::Frame& frame, Time at, bool sent) {
  if (is_closed()) return;
  const Passed passed{at, frame, sent};
  frames_.push(&passed);
}

void CycleRecord::keep() {
  if (is_kept_) return;
  is_kept_ = true;
  left_ = cycles_.size() / 2;
}

void CycleRecord::write_cycles(std::ostream& csv) const {
  const std::uint64_t end = cycles_.pushed();
  const std::uint64_t begin = end > cycles_.size() ? end - cycles_.size() : 0;
  GroupSnapshot snapshot;
  bool has_head = false;
  for (std::uint64_t number = begin; number < end; ++number) {
    if (!cycles_.read(number, snapshot)) continue;
    if (!has_head) {
      csv << "cycle,microseconds,state,answered";
      for (const Feedback& unit : snapshot.units) {
        for (const char* const column :
             {"fresh", "lost", "control_word", "order", "status_word", "velocity", "position", "emergency"}) {
          csv << ",node" << int{unit.node} << '_' << column;
        }
      }
      csv << '\n';
      has_head = true;
    }
    csv << snapshot.cycle << ',' << duration_cast<microseconds>(snapshot.at.time_since_epoch()).count() << ','
        << name_of(snapshot.state) << ',' << snapshot.answered;
    for (const Feedback& unit : snapshot.units) write_unit(csv, unit);
    csv << '\n';
  }
}

void CycleRecord::write_frames(std::ostream& log, const std::string& bus_name,
                               std::chrono::system_clock::time_point wall, Time steady) const {
  const std::uint64_t end = frames_.pushed();
  const std::uint64_t begin = end > frames_.size() ? end - frames_.size() : 0;
  for (std::uint64_t number = begin; number < end; ++number) {
    Passed passed;
    if (!frames_.read(number, &passed)) continue;
    const auto since = duration_cast<std::chrono::system_clock::duration>(passed.at - steady);
    log << to_string(nkr::can::LogLine{wall + since, bus_name, passed.frame}) << (passed.sent ? " T" : " R")
        << '\n';
  }
}

}  // namespace tav::host
