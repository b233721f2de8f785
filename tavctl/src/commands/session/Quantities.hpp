#ifndef TAVCTL_COMMANDS_SESSION_QUANTITIES_HPP
#define TAVCTL_COMMANDS_SESSION_QUANTITIES_HPP

#include <string>
#include <tav/host/Quantity.hpp>

#include "commands/session/Session.hpp"
#include "text/Record.hpp"

namespace tavctl {

/** The units of the session's drive, read from it when they are first asked for. */
class Quantities {
 public:
  explicit Quantities(Session& session) : session_(session) {}

  /** Failure when the drive does not tell them. */
  [[nodiscard]] const DriveUnits& units();

  /**
   * Takes "300" or "1.2m/s" for that scale of units(), between the limits; what is sent in place of a number
   * with a unit is told.
   * @param what  "target velocity"
   * @throws Failure(USAGE) for what is no number, Failure(REFUSED) for what cannot be taken or is out of
   * range
   */
  [[nodiscard]] std::int64_t take(const std::string& text, const Scale& scale, const std::string& what,
                                  std::int64_t low, std::int64_t high);

  /** How fields of safety records are shown and taken. */
  [[nodiscard]] FieldWords safety_words();

 private:
  [[nodiscard]] const Scale* safety_scale(const std::string& key);

  Session& session_;
  bool is_read_ = false;
  DriveUnits units_;
};

/** Whether a number is written with a unit behind it. */
[[nodiscard]] bool has_unit(const std::string& text);

}  // namespace tavctl

#endif
