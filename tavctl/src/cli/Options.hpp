#ifndef TAVCTL_CLI_OPTIONS_HPP
#define TAVCTL_CLI_OPTIONS_HPP

#include <optional>
#include <string>

namespace tavctl {

/** The options that every command knows. */
struct Options {
  std::string bus;                ///< "virtual", "can0", "unix:PATH"; empty: none given
  std::string scenario;           ///< what happens to the drive on the bus "virtual"; empty: nothing
  std::string config;             ///< configuration file; empty: the usual places
  std::string unit;               ///< "[unit NAME]" of that file; empty: its only drive
  std::optional<int> node;        ///< node id instead of the configuration's
  std::optional<int> host_node;   ///< this host's own node id; none: the first silent one
  std::optional<unsigned> log;    ///< show the library's log up to this level
  bool trace = false;             ///< show every frame with its meaning
  std::optional<int> timeout_ms;  ///< of one SDO request; none: the client's own
  std::string black_box;          ///< file for the last frames when something failed; empty: none
  bool json = false;              ///< answer as JSON
};

}  // namespace tavctl

#endif
