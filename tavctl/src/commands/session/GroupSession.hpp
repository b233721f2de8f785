#ifndef TAVCTL_COMMANDS_SESSION_GROUPSESSION_HPP
#define TAVCTL_COMMANDS_SESSION_GROUPSESSION_HPP

#include <memory>
#include <nkr/can/Bus.hpp>
#include <optional>
#include <string>
#include <tav/host/Group.hpp>
#include <tav/host/HostConfiguration.hpp>
#include <tav/host/Interrupt.hpp>
#include <tav/host/Unit.hpp>
#include <vector>

#include "cli/Context.hpp"
#include "commands/session/LocalDrive.hpp"
#include "text/host.hpp"

namespace tavctl {

/** Several drives of a configuration file, on one client; inside this program on the bus "virtual". Sends
 * nothing on its own. Failure when any of it cannot be had. */
class GroupSession {
 public:
  /** @param names  units of the file, in this order; none: all of them */
  GroupSession(Context& context, const HostConfiguration& file, const std::vector<std::string>& names,
               const Interrupt& interrupt);
  ~GroupSession();
  GroupSession(const GroupSession&) = delete;
  GroupSession& operator=(const GroupSession&) = delete;

  [[nodiscard]] std::size_t size() const { return units_.size(); }
  [[nodiscard]] const UnitConfiguration& configuration(std::size_t index) const {
    return configurations_.at(index);
  }
  [[nodiscard]] Unit& unit(std::size_t index) { return *units_.at(index); }
  [[nodiscard]] Output& output() { return context_.output; }
  /** A group of them, prepared and started; its cycle says what it found. @param bit_rate  none: the
   * interface's; not known on a bus that has none */
  [[nodiscard]] Group& start(GroupSettings settings, std::optional<unsigned> bit_rate);

 private:
  void tell(const Explanation& warning);

  Context& context_;
  const Interrupt& interrupt_;
  std::vector<UnitConfiguration> configurations_;
  std::shared_ptr<nkr::can::Bus> bus_;
  std::vector<std::unique_ptr<Unit>> units_;
  std::vector<std::unique_ptr<LocalDrive>> drives_;
  std::unique_ptr<Group> group_;
};

/** What the cycles of a group were like. */
void print_statistics(Output& output, const GroupStatistics& statistics);

}  // namespace tavctl

#endif
