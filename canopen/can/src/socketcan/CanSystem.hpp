#ifndef NKR_CAN_SOCKETCAN_CANSYSTEM_HPP
#define NKR_CAN_SOCKETCAN_CANSYSTEM_HPP

#include <chrono>
#include <cstdint>
#include <nkr/can/Bus.hpp>
#include <string>
#include <vector>

namespace nkr::can {

/** What the system knows of a network interface; UNKNOWN: it has no descriptor left to ask with. */
enum class LinkState { UP, DOWN, ABSENT, NOT_CAN, UNKNOWN };

struct ReceivedFrame {
  Frame frame;
  std::chrono::system_clock::time_point when;  ///< the kernel's time of reception
  std::uint64_t dropped = 0;                   ///< frames that the socket lost since it was opened
};

/**
 * The system calls of a SocketCAN port, so that tests can produce what a virtual interface never does: error
 * frames, full queues, vanished adapters. Results are 0 or an errno value unless said otherwise.
 */
class CanSystem {
 public:
  virtual ~CanSystem() = default;
  CanSystem() = default;
  CanSystem(const CanSystem&) = delete;
  CanSystem& operator=(const CanSystem&) = delete;

  /** A raw CAN socket that never blocks, not bound yet; below 0: the negative errno. */
  virtual int open() = 0;
  /** Sets the filters and binds to the interface; also after the interface has vanished and come back. */
  virtual int bind(int socket, const std::string& interface, const std::vector<Filter>& filters) = 0;
  virtual int read(int socket, ReceivedFrame& received) = 0;
  virtual int write(int socket, const Frame& frame) = 0;

  virtual LinkState link(const std::string& interface) = 0;

  virtual void close(int descriptor) = 0;
};

/** The kernel's own. */
class LinuxCanSystem : public CanSystem {
 public:
  int open() override;
  int bind(int socket, const std::string& interface, const std::vector<Filter>& filters) override;
  int read(int socket, ReceivedFrame& received) override;
  int write(int socket, const Frame& frame) override;
  LinkState link(const std::string& interface) override;
  void close(int descriptor) override;
};

}  // namespace nkr::can

#endif
