#ifndef TESTS_HOST_DRIVEBESIDE_HPP
#define TESTS_HOST_DRIVEBESIDE_HPP

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/canopen/Client.hpp>
#include <string>
#include <tav/drive/Runner.hpp>
#include <tav/drive/VirtualDrive.hpp>
#include <tav/host/Unit.hpp>
#include <tav/host/UnitSettings.hpp>
#include <vector>

namespace tests::host {

constexpr std::uint8_t kNode = 10;

/** Waits until the condition holds; false after a hundred seconds. */
bool becomes(const std::function<bool()>& condition);

/** A virtual drive (node 10) on a bus, and somebody else on the same bus who looks at it and meddles with it.
 */
class DriveBeside {
 public:
  /** On an in-process bus, unless a bus is named. */
  explicit DriveBeside(const std::string& bus_name = {});
  ~DriveBeside();

  /** How a unit is opened that works on it. */
  [[nodiscard]] tav::host::UnitSettings settings() const;

  /** Sends "77F#05" from a port of its own. */
  void send(std::uint32_t id, const std::vector<std::uint8_t>& data);
  /** Reads and writes the drive by a client of its own. */
  [[nodiscard]] int velocity();
  [[nodiscard]] unsigned state_bits();
  [[nodiscard]] std::uint32_t consumer_heartbeat();
  void write_target(std::int16_t target);
  void write_control_word(std::uint16_t word);
  [[nodiscard]] nkr::canopen::Client& somebody();
  [[nodiscard]] tav::drive::VirtualDrive& drive() { return *drive_; }
  [[nodiscard]] nkr::can::Bus& bus() { return *bus_; }
  /** Takes the drive off the bus: it falls silent. */
  void unplug();

 private:
  std::shared_ptr<nkr::can::Bus> bus_;
  std::unique_ptr<tav::drive::VirtualDrive> drive_;
  std::unique_ptr<tav::drive::Runner> runner_;
  std::unique_ptr<nkr::can::Port> port_;
  std::unique_ptr<nkr::canopen::Client> somebody_;
};

}  // namespace tests::host

#endif
