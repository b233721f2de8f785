#ifndef TAV_HOST_SRC_UNIT_NODEEVENTS_HPP
#define TAV_HOST_SRC_UNIT_NODEEVENTS_HPP

#include <cstdint>
#include <memory>
#include <mutex>
#include <nkr/canopen/Client.hpp>
#include <tav/host/Explanation.hpp>
#include <vector>

namespace tav::host {

/** Notes what a client hears of one node, from construction to destruction. */
class NodeEvents {
 public:
  NodeEvents(std::shared_ptr<nkr::canopen::Client> client, std::uint8_t node);
  ~NodeEvents();
  NodeEvents(const NodeEvents&) = delete;
  NodeEvents& operator=(const NodeEvents&) = delete;

  /** What is noted from now on is of a new operation. */
  void begin_operation();
  /** The node is at work from now on: whatever boot-up comes is a restart. */
  void begin_work();
  /** What was heard since the operation began, and what the client knows at this moment. */
  [[nodiscard]] Heard heard() const;

 private:
  void note(const nkr::canopen::Event& event);

  std::shared_ptr<nkr::canopen::Client> client_;
  std::uint8_t node_;
  int subscription_ = 0;
  mutable std::mutex mutex_;
  bool is_working_ = false;
  bool boot_up_ = false;
  bool heartbeat_lost_ = false;
  std::vector<std::uint16_t> emergencies_;
};

}  // namespace tav::host

#endif
