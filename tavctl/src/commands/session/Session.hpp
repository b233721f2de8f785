#ifndef TAVCTL_COMMANDS_SESSION_SESSION_HPP
#define TAVCTL_COMMANDS_SESSION_SESSION_HPP

#include <atomic>
#include <cstdint>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/canopen/Client.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <string>
#include <tav/host/FailureLog.hpp>
#include <tav/host/HostConfiguration.hpp>
#include <tav/host/Interrupt.hpp>
#include <tav/host/Unit.hpp>
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/Config.hpp>

#include "cli/Context.hpp"
#include "commands/session/BusTrace.hpp"
#include "commands/session/LocalDrive.hpp"
#include "commands/session/RequestEnder.hpp"
#include "text/host.hpp"

namespace tavctl {

/**
 * What the options say, as a unit on its bus: with the drive inside this program on the bus "virtual", and
 * the trace when it is wanted. Sends nothing on its own. Failure when any of it cannot be had.
 */
class Session {
 public:
  /** @param interrupt ends what is under way; null: Ctrl-C ends the requests to the drive, and with them the
   * command */
  explicit Session(Context& context, const Interrupt* interrupt = nullptr);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  [[nodiscard]] Output& output() const { return output_; }
  [[nodiscard]] Unit& unit() const { return *unit_; }
  /** What the configuration says of the drive. */
  [[nodiscard]] const UnitConfiguration& configuration() const { return configuration_; }
  [[nodiscard]] const std::shared_ptr<nkr::tavcore::Config>& config() const { return unit_->config(); }
  [[nodiscard]] const nkr::tools::EDSParser& description() const { return unit_->description(); }
  [[nodiscard]] const std::shared_ptr<nkr::tavcore::CANOpenDispatcher>& dispatcher() const {
    return unit_->dispatcher();
  }
  [[nodiscard]] nkr::canopen::Client& client() const { return unit_->client(); }
  [[nodiscard]] nkr::can::Bus& bus() const { return unit_->bus(); }

  /** Node id of the drive. */
  [[nodiscard]] std::uint8_t node() const { return unit_->node_id(); }
  /** "node 10 on can0". */
  [[nodiscard]] std::string where() const;
  /** Whether a warning said that the drive did not do as told, though nothing failed. */
  [[nodiscard]] bool was_limited() const { return limited_; }

  /** Nothing when the result is NKR_OK; else a Failure: "cannot WHAT: ...", the object that failed, the code
   * and what helps. */
  void check(nkr_error_t result, const std::string& what) const;
  /** The failure that check() throws. */
  [[nodiscard]] Failure failure(nkr_error_t result, const std::string& what) const;

 private:
  void start_local_drive(const std::string& scenario);
  void tell(const Explanation& warning);

  Context& context_;
  Output& output_;
  FailureLog failure_log_;
  UnitConfiguration configuration_;
  std::atomic<bool> limited_{false};
  std::shared_ptr<nkr::can::Bus> bus_;
  std::shared_ptr<const nkr::tools::EDSParser> description_;
  std::unique_ptr<BusTrace> trace_;
  std::unique_ptr<LocalDrive> local_drive_;
  std::unique_ptr<Unit> unit_;
  std::unique_ptr<RequestEnder> request_ender_;
};

}  // namespace tavctl

#endif
