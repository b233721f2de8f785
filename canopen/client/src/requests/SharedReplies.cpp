#include "requests/SharedReplies.hpp"

#include <algorithm>
#include <deque>
#include <nkr/time/Condition.hpp>
#include <utility>

#include "sdo/Frames.hpp"

namespace nkr::canopen {
namespace {

using can::Clock;

/** Whoever wants to drain the port, or to end, waits for its reader no longer. */
constexpr std::chrono::milliseconds kSlice{5};
/** A block of a fast server, and more. */
constexpr std::size_t kMostFrames = 1024;
constexpr std::uint32_t kService = 0x780;
constexpr std::uint32_t kNode = 0x07F;

}  // namespace

/** A node's share of the port. */
class SharedReplies::Member final : public can::Port {
 public:
  enum class Wait { NONE, TO_READ, TO_DRAIN };

  Member(SharedReplies& all, std::uint8_t node) : all_(all), node_(node), port_(all.port_) {}
  ~Member() override { all_.leave(node_); }

  nkr_error_t send(const can::Frame& frame, const can::Deadline& deadline) override {
    {
      const Lock lock(all_.mutex_);
      if (closed_) return NKR_CAN_CLOSED;
    }
    return port_->send(frame, deadline);
  }
  nkr_error_t receive(can::Frame& frame, const can::Deadline& deadline,
                      std::chrono::system_clock::time_point* when) override {
    Lock lock(all_.mutex_);
    const nkr_error_t result = next(lock, frame, deadline);
    if (result == NKR_OK && when != nullptr) *when = time::calendar_now();
    all_.pass_on();
    return result;
  }
  nkr_error_t drain(const can::FrameHandler& taken, const can::Deadline& deadline) override {
    Lock lock(all_.mutex_);
    ++all_.draining_;
    bool in_time = true;
    while (all_.is_reading_ && !closed_ && in_time) {
      in_time = !deadline.only_looks() && time::now() < deadline.time();
      if (in_time) await(lock, Wait::TO_DRAIN, deadline.time());
    }
    --all_.draining_;
    if (!closed_ && all_.is_reading_) return NKR_CAN_TIMED_OUT;  // he passes on
    const nkr_error_t result = closed_ ? NKR_CAN_CLOSED : all_.drain(lock, deadline);
    std::deque<can::Frame> drained;
    drained.swap(frames_);
    event_ = NKR_OK;
    all_.pass_on();
    lock.unlock();
    for (const can::Frame& frame : drained) taken(frame);
    return result;
  }
  [[nodiscard]] can::BusStatus status() const override { return port_->status(); }
  void close() override {
    const Lock lock(all_.mutex_);
    closed_ = true;
    woken_.notify_all();
  }

  // With the mutex held:
  void take(const can::Frame& frame) {
    if (frames_.size() < kMostFrames) frames_.push_back(frame);
    woken_.notify_all();
  }
  void tell(nkr_error_t event) {
    event_ = event;
    woken_.notify_all();
  }
  [[nodiscard]] Wait wait() const { return wait_; }
  void wake() { woken_.notify_all(); }

 private:
  nkr_error_t next(Lock& lock, can::Frame& frame, const can::Deadline& deadline) {
    for (bool looked = false;; looked = true) {
      if (closed_) return NKR_CAN_CLOSED;
      if (!frames_.empty()) {
        frame = frames_.front();
        frames_.pop_front();
        return NKR_OK;
      }
      if (event_ != NKR_OK) return std::exchange(event_, NKR_OK);
      if (looked && (deadline.only_looks() || time::now() >= deadline.time())) return NKR_CAN_TIMED_OUT;
      if (all_.is_reading_ || all_.draining_ > 0) {
        await(lock, Wait::TO_READ, deadline.time());
      } else {
        all_.read(lock, deadline.time());
      }
    }
  }
  void await(Lock& lock, Wait what, Clock::time_point until) {
    wait_ = what;
    woken_.wait_until(lock, until);
    wait_ = Wait::NONE;
  }

  SharedReplies& all_;
  const std::uint8_t node_;
  const std::shared_ptr<can::Port> port_;
  time::Condition woken_;
  std::deque<can::Frame> frames_;
  nkr_error_t event_ = NKR_OK;
  bool closed_ = false;
  Wait wait_ = Wait::NONE;
};

std::unique_ptr<can::Port> SharedReplies::open(const std::vector<can::Filter>& filters, nkr_error_t& result) {
  const auto node = static_cast<std::uint8_t>(filters.front().id & kNode);
  const Lock lock(mutex_);
  result = NKR_OK;
  if (!port_) port_ = bus_->open({{sdo::kReplyId, kService}}, result);
  if (!port_) return nullptr;
  auto member = std::make_unique<Member>(*this, node);
  members_.at(node) = member.get();
  return member;
}

void SharedReplies::leave(std::uint8_t node) {
  std::shared_ptr<can::Port> last;  // ends without the lock
  const Lock lock(mutex_);
  members_.at(node) = nullptr;
  const bool is_alone =
      std::all_of(members_.begin(), members_.end(), [](const Member* one) { return one == nullptr; });
  if (is_alone) last = std::move(port_);
}

void SharedReplies::read(Lock& lock, Clock::time_point until) {
  const std::shared_ptr<can::Port> port = port_;
  can::Frame frame;
  is_reading_ = true;
  lock.unlock();
  const nkr_error_t result = port->receive(frame, std::min(until, time::now() + kSlice));
  lock.lock();
  is_reading_ = false;
  if (result == NKR_OK) {
    take(frame);
  } else if (result != NKR_CAN_TIMED_OUT) {
    tell(result);
  }
  pass_on();
}

/** Nobody reads. */
nkr_error_t SharedReplies::drain(Lock& lock, const can::Deadline& deadline) {
  const std::shared_ptr<can::Port> port = port_;
  is_reading_ = true;
  lock.unlock();
  const nkr_error_t result = port->drain(
      [this](const can::Frame& frame) {
        const Lock taking(mutex_);
        take(frame);
      },
      deadline);
  lock.lock();
  is_reading_ = false;
  return result;
}

void SharedReplies::take(const can::Frame& frame) {
  if (frame.extended || frame.remote || frame.error) return;
  Member* const member = members_.at(frame.id & kNode);
  if (member != nullptr) member->take(frame);
}

void SharedReplies::tell(nkr_error_t event) {
  for (Member* const member : members_) {
    if (member != nullptr) member->tell(event);
  }
}

/** Somebody else reads on, unless somebody waits to drain: he has been kept waiting by a reader. */
void SharedReplies::pass_on() {
  if (is_reading_) return;
  for (const Member::Wait what : {Member::Wait::TO_DRAIN, Member::Wait::TO_READ}) {
    for (Member* const member : members_) {
      if (member == nullptr || member->wait() != what) continue;
      member->wake();
      return;
    }
  }
}

}  // namespace nkr::canopen
