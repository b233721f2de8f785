#ifndef TAV_HOST_SRC_GROUP_CYCLERECORD_HPP
#define TAV_HOST_SRC_GROUP_CYCLERECORD_HPP

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <nkr/can/Frame.hpp>
#include <string>
#include <tav/host/GroupSnapshot.hpp>
#include <vector>

#include "SharedRing.hpp"

namespace tav::host {

/** A snapshot as it lies in a ring: its fixed part, and behind it the units. */
class SnapshotRing {
 public:
  SnapshotRing(std::size_t units, std::size_t entries);

  void push(const GroupSnapshot& snapshot);
  [[nodiscard]] bool read(std::uint64_t number, GroupSnapshot& snapshot) const;
  [[nodiscard]] bool read_newest(GroupSnapshot& snapshot) const;
  [[nodiscard]] std::uint64_t pushed() const { return ring_.pushed(); }
  [[nodiscard]] std::size_t size() const { return ring_.size(); }

 private:
  struct Fixed;
  struct Entry;
  [[nodiscard]] std::size_t entry_bytes() const;
  void unpack(const unsigned char* entry, GroupSnapshot& snapshot) const;

  std::size_t units_;
  std::vector<unsigned char> scratch_;  ///< of the one thread that pushes
  SharedRing ring_;
};

/** The last cycles: what every unit said and was told, and every frame. */
class CycleRecord {
 public:
  using Time = nkr::can::Clock::time_point;

  CycleRecord(std::size_t units, std::size_t cycles);

  // By the thread that runs the cycle.
  void add(const GroupSnapshot& snapshot);
  void add(const nkr::can::Frame& frame, Time at, bool sent);
  /** Keeps what there is, and half as many cycles more. */
  void keep();
  void go_on() { is_kept_ = false; }

  // By any thread.
  void write_cycles(std::ostream& csv) const;
  void write_frames(std::ostream& log, const std::string& bus_name,
                    std::chrono::system_clock::time_point wall, Time steady) const;

 private:
  struct Passed {
    Time at;
    nkr::can::Frame frame;
    bool sent = false;
  };
  [[nodiscard]] bool is_closed() const { return is_kept_ && left_ == 0; }

  std::size_t units_;
  SnapshotRing cycles_;
  SharedRing frames_;
  bool is_kept_ = false;
  std::size_t left_ = 0;
};

}  // namespace tav::host

#endif
