#ifndef TESTS_HOST_GROUP_GROUPONBUS_HPP
#define TESTS_HOST_GROUP_GROUPONBUS_HPP

#include <atomic>
#include <memory>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <nkr/canopen/Client.hpp>
#include <nkr/time/VirtualTime.hpp>
#include <optional>
#include <string>
#include <tav/drive/Runner.hpp>
#include <tav/drive/VirtualDrive.hpp>
#include <tav/host/Group.hpp>
#include <tav/host/Unit.hpp>
#include <vector>

namespace tests::host {

/** Virtual drives as nodes 11, 12 ... on a bus, and somebody who watches the bus. */
class DrivesOnBus {
 public:
  struct Passed {
    std::chrono::steady_clock::time_point at;
    nkr::can::Frame frame;
  };

  explicit DrivesOnBus(std::size_t count = 2, const std::string& bus_name = "virtual");
  ~DrivesOnBus();

  [[nodiscard]] const std::shared_ptr<nkr::can::Bus>& bus() const { return bus_; }
  [[nodiscard]] tav::drive::VirtualDrive& drive(std::size_t index) { return *drives_.at(index); }
  [[nodiscard]] int velocity(std::size_t index) const;
  [[nodiscard]] bool all_stand() const;
  [[nodiscard]] std::int64_t value(std::size_t index, const char* name) const;
  /** An object of a drive, read as somebody else. */
  [[nodiscard]] std::uint32_t read(std::size_t index, std::uint32_t address);
  void write(std::size_t index, std::uint32_t address, std::uint32_t value);
  /** Somebody else sends "080#". */
  void send(const std::string& frame);
  /** Takes a drive off the bus: it falls silent. */
  void unplug(std::size_t index) { runners_.at(index)->stop(); }

  /** What was on the bus so far. */
  [[nodiscard]] std::vector<Passed> wire() const;
  [[nodiscard]] std::vector<Passed> with_id(std::uint32_t id) const;
  void forget();

 private:
  std::shared_ptr<nkr::can::Bus> bus_;
  std::vector<std::unique_ptr<tav::drive::VirtualDrive>> drives_;
  std::vector<std::unique_ptr<tav::drive::Runner>> runners_;
  mutable std::mutex mutex_;
  std::vector<Passed> wire_;
  std::unique_ptr<nkr::can::Port> witness_;
  std::unique_ptr<nkr::can::Port> port_;
  std::unique_ptr<nkr::canopen::Client> somebody_;
};

/** Units for nodes 11, 12 ... on one client. */
std::vector<std::unique_ptr<tav::host::Unit>> open_units(const std::shared_ptr<nkr::can::Bus>& bus,
                                                         std::size_t count);
std::vector<tav::host::Unit*> pointers(const std::vector<std::unique_ptr<tav::host::Unit>>& units);

/** What tests run with: a machine that is busy must not decide. */
tav::host::GroupSettings patient_settings();

/** The machine's time decides nothing in a virtual one; threads of the test itself need the machine's. */
enum class Lives { IN_VIRTUAL_TIME, IN_THE_MACHINES_TIME };

/** A group, its units and its drives; velocities are set in every cycle. */
class GroupOnBus {
 public:
  explicit GroupOnBus(std::size_t count = 2, const tav::host::GroupSettings& settings = patient_settings(),
                      Lives lives = Lives::IN_VIRTUAL_TIME);
  ~GroupOnBus();

  [[nodiscard]] DrivesOnBus& drives() { return drives_; }
  [[nodiscard]] tav::host::Unit& unit(std::size_t index) { return *units_.at(index); }
  [[nodiscard]] tav::host::Group& group() { return *group_; }
  /** prepare() and start() must succeed; and enable(), too. */
  void start();
  void enable();
  /** From now on, in every cycle. */
  void drive_at(int velocity) { wanted_ = velocity; }
  void set_no_more() { sets_ = false; }
  void end() { group_.reset(); }

 private:
  std::optional<nkr::time::VirtualTime> time_;
  DrivesOnBus drives_;
  std::vector<std::unique_ptr<tav::host::Unit>> units_;
  std::atomic<int> wanted_{0};
  std::atomic<bool> sets_{true};
  std::unique_ptr<tav::host::Group> group_;
};

}  // namespace tests::host

#endif
