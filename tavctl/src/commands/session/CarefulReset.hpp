#ifndef TAVCTL_COMMANDS_SESSION_CAREFULRESET_HPP
#define TAVCTL_COMMANDS_SESSION_CAREFULRESET_HPP

#include <cstdint>
#include <nkr/canopencore/NMT.hpp>
#include <tav/host/configuration.hpp>
#include <vector>

#include "cli/Command.hpp"
#include "commands/session/Session.hpp"

namespace tavctl {

/** What becomes of settings that are not stored when a command resets the drive. */
struct ResetOptions {
  bool store_all = false;
  bool discard = false;
  bool write_back = false;
};
void add_reset_options(Command& command, ResetOptions& options);

/**
 * A reset that lets no setting vanish unseen: what is stored cannot be read from a drive, so the user says
 * whether everything is to be stored first or may be forgotten. All settings are read before and after, what
 * reverted is listed, and written back when that is wanted.
 */
class CarefulReset {
 public:
  /** Failure(USAGE) unless the user said what is to become of what is not stored. */
  CarefulReset(Session& session, const ResetOptions& options);

  /** Whether everything is to be stored first. */
  [[nodiscard]] bool stores_all() const { return options_.store_all; }
  /** Stores all when that is wanted, resets the drive, and follows it to that node id (0: its own). */
  void reset(std::uint8_t after,
             nkr::canopencore::NMTCommand command = nkr::canopencore::NMTCommand::RESET_NODE);
  /** What reset() does before the reset, for a command that has a last word to the drive behind it. */
  void prepare();
  /** Lists what reverted. */
  void tell_reverted();

 private:
  void write_back(const std::vector<ConfiguredValue>& reverted);

  Session& session_;
  ResetOptions options_;
  std::vector<ConfiguredValue> before_;
};

}  // namespace tavctl

#endif
