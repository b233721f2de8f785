#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <nkr/can/InProcessBus.hpp>
#include <nkr/time/Condition.hpp>
#include <nkr/time/clock.hpp>
#include <utility>

#include "FrameQueue.hpp"
#include "system/without_exceptions.hpp"

namespace nkr::can {
namespace {

class Member;

/** A handler that runs on this thread, innermost first, with the frames that came back to it meanwhile. */
struct Activation {
  Activation(Member* running, Activation*& innermost)
      : member(running), outer(innermost), innermost_(innermost) {
    innermost_ = this;
  }
  ~Activation() { innermost_ = outer; }
  Activation(const Activation&) = delete;
  Activation& operator=(const Activation&) = delete;

  void keep(const Frame& frame) {
    try {
      returned.push_back(frame);
    } catch (const std::exception&) {
      // Without memory a frame is lost, as in a full queue.
    }
  }

  Member* member;
  Activation* outer;
  std::vector<Frame> returned;

 private:
  Activation*& innermost_;
};

thread_local Activation* innermost_activation = nullptr;

Activation* activation_of(const Member* member) {
  Activation* activation = innermost_activation;
  while (activation != nullptr && activation->member != member) activation = activation->outer;
  return activation;
}

/** The bus's side of a port. */
class Member {
 public:
  Member(std::vector<Filter> filters, FrameHandler handler)
      : filters_(std::move(filters)), handler_(std::move(handler)) {}

  [[nodiscard]] const std::vector<Filter>& filters() const { return filters_; }
  [[nodiscard]] bool has_handler() const { return static_cast<bool>(handler_); }
  [[nodiscard]] bool closed() const { return closed_.load(); }
  FrameQueue& queue() { return queue_; }

  void deliver(const Frame& frame) {
    if (!handler_) {
      queue_.push(frame);
    } else if (Activation* const activation = activation_of(this)) {
      activation->keep(frame);
    } else {
      run(frame);
    }
  }

  void close() {
    closed_ = true;
    queue_.close();
    if (activation_of(this) != nullptr) return;
    std::unique_lock<std::mutex> lock(idle_mutex_);
    idle_.wait(lock, [this] { return running_.load() == 0; });
  }

 private:
  /** Counts a running handler, so that close() can wait for it. */
  struct Run {
    explicit Run(Member& running) : member(running) { ++member.running_; }
    ~Run() {
      if (--member.running_ > 0 || !member.closed()) return;
      const std::lock_guard<std::mutex> lock(member.idle_mutex_);
      member.idle_.notify_all();
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    Member& member;
  };

  void run(const Frame& frame) {
    const Run counted(*this);
    Activation activation(this, innermost_activation);
    if (!closed()) hand_over(frame);
    for (std::size_t i = 0; i < activation.returned.size() && !closed(); ++i) {
      const Frame returned = activation.returned[i];
      hand_over(returned);
    }
  }

  void hand_over(const Frame& frame) {
    try {
      handler_(frame);
    } catch (...) {
      // A handler's failure is not the sender's.
    }
  }

  const std::vector<Filter> filters_;
  const FrameHandler handler_;
  FrameQueue queue_;
  std::atomic<bool> closed_{false};
  std::atomic<int> running_{0};
  std::mutex idle_mutex_;
  time::Condition idle_;
};

constexpr std::uint32_t kExtended = 1U << 31;
constexpr std::uint32_t kError = 1U << 30;

/** A frame as filters see it: an 11-bit filter matches neither of the two flags. */
std::uint32_t key_of(const Frame& frame) {
  return frame.id | (frame.extended ? kExtended : 0) | (frame.error ? kError : 0);
}

/** One filter of one member. */
struct Route {
  std::uint32_t key;
  std::uint32_t mask;
  Member* member;
};

/**
 * The members of the bus, and their filters in one flat list: among 127 nodes a frame finds its way in one
 * pass. Queues stand first: whoever listens sees a request before the answer that a handler gives to it.
 */
class Roster {
 public:
  void add(const std::shared_ptr<Member>& member) {
    forget_closed();
    members_.insert(member->has_handler() ? members_.end() : members_.begin(), member);
    lay_out_routes();
  }

  void remove(const std::shared_ptr<Member>& member) {
    members_.erase(std::remove(members_.begin(), members_.end(), member), members_.end());
    forget_closed();
    lay_out_routes();
  }

  void deliver(const Frame& frame, const Member* sender) const {
    const std::uint32_t key = key_of(frame);
    const Member* served = sender;
    for (const Route& route : routes_) {
      if (((key ^ route.key) & route.mask) != 0 || route.member == served || route.member == sender) continue;
      served = route.member;
      route.member->deliver(frame);
    }
  }

  [[nodiscard]] const std::vector<std::shared_ptr<Member>>& members() const { return members_; }

 private:
  void forget_closed() {
    const auto closed = [](const std::shared_ptr<Member>& member) { return member->closed(); };
    members_.erase(std::remove_if(members_.begin(), members_.end(), closed), members_.end());
  }
  void lay_out_routes() {
    routes_.clear();
    for (const auto& member : members_) {
      if (member->filters().empty()) routes_.push_back({0, 0, member.get()});
      for (const Filter& filter : member->filters())
        routes_.push_back({filter.id, filter.mask | kExtended | kError, member.get()});
    }
  }

  std::vector<std::shared_ptr<Member>> members_;
  std::vector<Route> routes_;
};

nkr_error_t refusal(BusState state) {
  if (state == BusState::BUS_OFF) return NKR_CAN_BUS_OFF;
  return state == BusState::INTERFACE_GONE ? NKR_CAN_INTERFACE_GONE : NKR_OK;
}

}  // namespace

struct InProcessBus::State {
  std::mutex mutex;
  std::shared_ptr<const Roster> roster = std::make_shared<Roster>();  ///< replaced, never changed
  std::atomic<BusState> state{BusState::ERROR_ACTIVE};

  std::shared_ptr<const Roster> snapshot() {
    const std::lock_guard<std::mutex> lock(mutex);
    return roster;
  }

  void add(const std::shared_ptr<Member>& member) {
    std::shared_ptr<const Roster> old;  // outlives the lock: its end may destroy what a handler captured
    const std::lock_guard<std::mutex> lock(mutex);
    auto changed = std::make_shared<Roster>(*roster);
    changed->add(member);
    old = std::exchange(roster, std::move(changed));
  }

  void remove(const std::shared_ptr<Member>& member) {
    std::shared_ptr<const Roster> old;  // outlives the lock, too
    const std::lock_guard<std::mutex> lock(mutex);
    auto changed = std::make_shared<Roster>(*roster);
    changed->remove(member);
    old = std::exchange(roster, std::move(changed));
  }
};

class InProcessBus::MemberPort : public Port {
 public:
  MemberPort(std::shared_ptr<State> bus, std::shared_ptr<Member> member)
      : bus_(std::move(bus)), member_(std::move(member)) {}
  ~MemberPort() override { leave(); }

  static std::unique_ptr<Port> join(const std::shared_ptr<State>& bus, const std::vector<Filter>& filters,
                                    FrameHandler handler) {
    auto member = std::make_shared<Member>(filters, std::move(handler));
    auto port = std::make_unique<MemberPort>(bus, member);
    bus->add(member);
    return port;
  }

  nkr_error_t send(const Frame& frame, const Deadline& /*deadline*/) override {
    if (member_->closed()) return NKR_CAN_CLOSED;
    const nkr_error_t refused = refusal(bus_->state.load());
    if (refused != NKR_OK) return refused;
    // A handler may destroy this port: from here on nothing of it is touched.
    const Member* const self = member_.get();
    bus_->snapshot()->deliver(frame, self);
    return NKR_OK;
  }

  nkr_error_t receive(Frame& frame, const Deadline& deadline,
                      std::chrono::system_clock::time_point* when) override {
    const nkr_error_t result = member_->queue().pop(frame, deadline);
    if (when != nullptr && result == NKR_OK) *when = time::calendar_now();
    return result;
  }

  [[nodiscard]] BusStatus status() const override {
    BusStatus status;
    status.state = bus_->state.load();
    status.dropped = member_->queue().dropped();
    return status;
  }

  void close() override { leave(); }

 private:
  void leave() {
    try {
      bus_->remove(member_);
    } catch (const std::exception&) {
      // Without memory the closed member stays, and hears nothing, until the next comes or goes.
    }
    member_->close();
  }

  const std::shared_ptr<State> bus_;
  const std::shared_ptr<Member> member_;
};

InProcessBus::InProcessBus() : state_(std::make_shared<State>()) {}
InProcessBus::~InProcessBus() = default;

std::unique_ptr<Port> InProcessBus::open(const std::vector<Filter>& filters, nkr_error_t& result) {
  result = NKR_OK;
  return without_exceptions(result, [&] { return MemberPort::join(state_, filters, nullptr); });
}

std::unique_ptr<Port> InProcessBus::open_handler(const std::vector<Filter>& filters, FrameHandler handler,
                                                 nkr_error_t& result) {
  result = handler ? NKR_OK : NKR_ERROR;
  if (!handler) return nullptr;
  return without_exceptions(result, [&] { return MemberPort::join(state_, filters, std::move(handler)); });
}

bool InProcessBus::set_state(BusState state) {
  state_->state = state;
  const std::shared_ptr<const Roster> roster = state_->snapshot();
  for (const auto& member : roster->members()) member->queue().tell(refusal(state));
  return true;
}

}  // namespace nkr::can
