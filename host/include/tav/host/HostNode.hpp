#ifndef TAV_HOST_HOSTNODE_HPP
#define TAV_HOST_HOSTNODE_HPP

#include <nkr/export.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <tav/host/Result.hpp>
#include <vector>

namespace nkr::canopen {
class Client;
}

namespace tav::host {

class Interrupt;

/**
 * This host as a node of the bus: the id under which it sends its heartbeat, by which drives notice that it
 * died. One for each client; the units on a client share it. Any thread.
 *
 * The id is the one asked for, or the first silent one from 127 down. Somebody else's heartbeat under the
 * same id would keep a drive turning after this host's death: an id that is heard is not taken, and one that
 * is heard later is told to those who use it.
 */
class NKR_EXPORT HostNode {
 public:
  /** Listens from now on. @param wanted 1 to 127; 0: the first silent one */
  explicit HostNode(std::shared_ptr<nkr::canopen::Client> client, std::uint8_t wanted = 0);
  ~HostNode();
  HostNode(const HostNode&) = delete;
  HostNode& operator=(const HostNode&) = delete;

  /** How long the bus is listened to before an id counts as silent: whoever could keep a drive turning beats
   * more often. */
  static constexpr std::chrono::milliseconds kListening{550};
  static constexpr std::chrono::milliseconds kHeartbeatPeriod{100};

  using Lost = std::function<void()>;
  /**
   * Sends the heartbeat from now on, until as many end() calls came as begin() calls. Waits for what is left
   * of kListening before it takes an id, and chooses none that is in use by `drive`.
   * @param lost  called, on a thread of the client's events, when somebody else is heard under the id
   * @param user  a number for end()
   * @return with Cause::HOST_NODE_TAKEN, NO_HOST_NODE, INTERRUPTED, or what the client said
   */
  Result begin(std::uint8_t drive, const Interrupt* interrupt, Lost lost, int& user);
  /** When it returns `lost` is not called any more, unless it is called from inside. */
  void end(int user);

  /** The id in use; 0 before the first begin(). */
  [[nodiscard]] std::uint8_t id() const;
  /** Whether somebody else was heard under this host's id since the heartbeat began. */
  [[nodiscard]] bool is_contested() const;
  /** Waits for what is left of kListening; false, at once, when the end was requested. */
  [[nodiscard]] bool listen(const Interrupt* interrupt = nullptr) const;
  /** Ids that nobody was heard to use and that are not the drive's, highest first; `most` of them. */
  [[nodiscard]] std::vector<std::uint8_t> free_nodes(std::uint8_t drive, std::size_t most) const;
  /** The nodes that were heard in the last seconds, lowest first. */
  [[nodiscard]] std::vector<std::uint8_t> heard() const;

 private:
  struct Impl;
  std::shared_ptr<Impl> impl_;
};

}  // namespace tav::host

#endif
