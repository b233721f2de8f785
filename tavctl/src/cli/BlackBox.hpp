#ifndef TAVCTL_CLI_BLACKBOX_HPP
#define TAVCTL_CLI_BLACKBOX_HPP

#include <string>
#include <utility>

#include "cli/Output.hpp"

namespace nkr::canopen {
class Client;
}

namespace tavctl {

/** The last frames of a command, for the file that --black-box names: written when the command failed. */
class BlackBox {
 public:
  /** An empty path: nothing is kept. */
  explicit BlackBox(std::string path) : path_(std::move(path)) {}

  /** Keeps the frames that the client sent and received last. */
  void keep(const nkr::canopen::Client& client);
  /** Writes what was kept as a candump log, and says so; a file that cannot be written is a warning. */
  void write(Output& output) const;

 private:
  std::string path_;
  std::string log_;
};

}  // namespace tavctl

#endif
