#ifndef NKR_CANOPEN_NMT_RECOVERY_HPP
#define NKR_CANOPEN_NMT_RECOVERY_HPP

#include <nkr/error.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <nkr/can/Thread.hpp>
#include <nkr/canopen/Event.hpp>
#include <nkr/canopen/NodeConfiguration.hpp>
#include <nkr/time/Condition.hpp>
#include <vector>

#include "runtime/EventQueue.hpp"

namespace nkr::canopen {

/**
 * Whether an object commands motion: control word, modes and set-points of CiA 402, of each of its eight
 * axes. Only the application sets these.
 */
[[nodiscard]] bool commands_motion(canopencore::ObjectAddress address);

/**
 * The one owner of recovery: keeps each node's configuration in the node. It is written and read back when
 * the application asks for it and whenever the node or the bus returns; that is told only then. Never are two
 * at work on one node; several nodes are served at once, on a few threads, so that those that fail hold up no
 * other.
 */
class Recovery {
 public:
  /** How the nodes are reached. */
  class Access {
   public:
    virtual ~Access() = default;
    Access() = default;
    Access(const Access&) = delete;
    Access& operator=(const Access&) = delete;
    virtual nkr_error_t write(std::uint8_t node, const ObjectValue& value) = 0;
    /** NKR_OK when the object holds the value; NKR_ERROR when it holds another one. */
    virtual nkr_error_t compare(std::uint8_t node, const ObjectValue& value) = 0;
    /** Whether the bus takes frames. */
    [[nodiscard]] virtual bool bus_is_there() const = 0;
  };

  Recovery(Access& access, EventQueue& events) : access_(access), events_(events) {}
  ~Recovery();
  Recovery(const Recovery&) = delete;
  Recovery& operator=(const Recovery&) = delete;

  /** Brings the configuration into the node, now and from now on; an empty one ends that. NKR_OK;
   * NKR_CAN_CLOSED; NKR_CAN_NO_RESOURCES, and nothing is kept, without a thread. */
  nkr_error_t keep(std::uint8_t node, NodeConfiguration configuration);
  /** Something happened: the application is told, in order with what is told here. */
  void tell(const Event& event);
  /** Ends the work; its requests must be ended, too. Does not wait. */
  void close();

 private:
  using TimePoint = can::Clock::time_point;
  using Shared = std::shared_ptr<const NodeConfiguration>;

  struct Node {
    Shared configuration;  ///< null: none
    TimePoint due = TimePoint::max();
    unsigned generation = 0;   ///< counts what makes work under way worthless
    int failures = 0;          ///< in a row
    bool settled = false;      ///< the configuration is known to be in the node
    bool was_settled = false;  ///< it was so once
    bool restarted = false;    ///< since then: what is in it is as after power-on
    bool served = false;       ///< somebody is at work on it
  };
  struct Outcome {
    nkr_error_t result = NKR_OK;
    canopencore::ObjectAddress address;  ///< of what failed
  };

  void saw(const Event& event);
  void bus_failed();
  void disturb(Node& node, TimePoint due);
  void run();
  void serve(std::size_t index, std::unique_lock<std::mutex>& lock);
  [[nodiscard]] Outcome apply(std::uint8_t id, const NodeConfiguration& configuration, bool may_be_there);
  [[nodiscard]] Outcome verify(std::uint8_t id, const NodeConfiguration& configuration);
  void succeeded(std::uint8_t id, Node& node);
  void failed(std::uint8_t id, Node& node, const Outcome& outcome);
  [[nodiscard]] std::size_t earliest() const;
  bool has_thread_for(const Node& node);

  Access& access_;
  EventQueue& events_;
  std::mutex mutex_;
  time::Condition changed_;
  std::array<Node, 128> nodes_;
  bool closed_ = false;
  std::vector<can::Thread> threads_;
};

}  // namespace nkr::canopen

#endif
