#ifndef EXAMPLES_CONNECTION_HPP
#define EXAMPLES_CONNECTION_HPP

#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/canopen/Client.hpp>
#include <string>
#include <tav/drive/Runner.hpp>
#include <tav/drive/VirtualDrive.hpp>
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/Config.hpp>
#include <tavcore/Controller.hpp>

/**
 * All that stands between a program and a drive, made in the order in which it has to be: configuration, bus,
 * client, dispatcher, controller. On the bus "virtual" the drive itself is made too. Throws
 * std::runtime_error when one of them cannot be had.
 *
 * The drive watches this program's heartbeat and stops by itself when the program dies; when that cannot be
 * arranged a warning says so. An orderly end commands velocity 0, disables the drive and ends the watching.
 */
class Connection {
 public:
  Connection(const std::string& bus, const std::string& config);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  nkr::tavcore::Controller& controller() { return *controller_; }

  /** Nothing for NKR_OK; else std::runtime_error with what failed and why. */
  void check(nkr_error_t result, const std::string& what) const;

 private:
  void start_virtual_drive();
  void protect();

  std::shared_ptr<nkr::tavcore::Config> config_;
  std::shared_ptr<nkr::can::Bus> bus_;
  std::shared_ptr<nkr::canopen::Client> client_;
  std::unique_ptr<tav::drive::VirtualDrive> drive_;
  std::unique_ptr<tav::drive::Runner> runner_;
  std::shared_ptr<nkr::tavcore::CANOpenDispatcher> dispatcher_;
  std::unique_ptr<nkr::tavcore::Controller> controller_;
};

#endif
