#ifndef TAVCTL_COMMANDS_SESSION_BUSTRACE_HPP
#define TAVCTL_COMMANDS_SESSION_BUSTRACE_HPP

#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <tav/host/FrameDecoder.hpp>
#include <thread>

#include "cli/Output.hpp"
#include "text/host.hpp"

namespace tavctl {

/**
 * Shows every frame of a bus with its meaning, from construction to destruction, by a port of its own: also
 * what other members send. The destructor waits until what was sent before it has been shown.
 */
class BusTrace {
 public:
  /** Failure(CONNECTION) when the bus gives no port. */
  BusTrace(nkr::can::Bus& bus, const nkr::tools::EDSParser& description, std::uint8_t node, Output& output);
  ~BusTrace();
  BusTrace(const BusTrace&) = delete;
  BusTrace& operator=(const BusTrace&) = delete;

 private:
  void run();

  FrameDecoder decoder_;
  Output& output_;
  std::unique_ptr<nkr::can::Port> port_;
  std::thread thread_;
};

}  // namespace tavctl

#endif
