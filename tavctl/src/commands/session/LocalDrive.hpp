#ifndef TAVCTL_COMMANDS_SESSION_LOCALDRIVE_HPP
#define TAVCTL_COMMANDS_SESSION_LOCALDRIVE_HPP

#include <memory>
#include <nkr/can/Bus.hpp>
#include <string>
#include <tavcore/Config.hpp>

namespace tav::drive {
class Runner;
class VirtualDrive;
}  // namespace tav::drive

namespace tavctl {

/** The drive inside this program, for the bus "virtual": on the bus, booted, from construction to
 * destruction.
 */
class LocalDrive {
 public:
  /** Failure(CONFIGURATION) when the configuration's description makes no drive, or the file (none: empty) no
   * scenario of it. */
  LocalDrive(nkr::can::Bus& bus, const nkr::tavcore::Config& config, std::uint8_t node,
             const std::string& scenario_path);
  ~LocalDrive();
  LocalDrive(const LocalDrive&) = delete;
  LocalDrive& operator=(const LocalDrive&) = delete;

 private:
  std::unique_ptr<tav::drive::VirtualDrive> drive_;
  std::unique_ptr<tav::drive::Runner> runner_;
};

}  // namespace tavctl

#endif
