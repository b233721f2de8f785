#include <nkr/error.h>

#include <algorithm>
#include <deque>
#include <optional>
#include <tav/drive/BusModel.hpp>
#include <utility>

#include "bus/ErrorConfinement.hpp"
#include "node/Random.hpp"

namespace tav::drive {
namespace {

using nkr::can::BusState;
using nkr::can::Frame;

// Bits (ISO 11898-1).
constexpr unsigned kIntermission = 3;
constexpr unsigned kToAcknowledge =
    10;  // of a frame, from behind the acknowledge slot to its end with intermission
constexpr unsigned kErrorFrame = 20;     // flags that overlap, delimiter and intermission
constexpr unsigned kOwnErrorFrame = 17;  // a flag alone, delimiter and intermission
constexpr unsigned kSuspend = 8;         // a passive sender waits longer
constexpr unsigned kRecovery = 128;      // times 11 recessive bits
constexpr unsigned kRecessive = 11;

// Error frames as SocketCAN has them (linux/can/error.h).
constexpr std::uint32_t kAck = 0x020;
constexpr std::uint32_t kProtocol = 0x008;
constexpr std::uint32_t kController = 0x004;
constexpr std::uint32_t kBusOffClass = 0x040;
constexpr std::uint32_t kBusError = 0x080;
constexpr std::uint32_t kRestarted = 0x100;
constexpr std::uint32_t kCounters = 0x200;

/** The order in which frames win: a data frame before the remote frame of its identifier. */
std::uint32_t rank(const Frame& frame) {
  return frame.id << 1 | (frame.remote ? 1U : 0U);
}

}  // namespace

struct BusModel::Impl {
  struct Waiting {
    Frame frame;
    Time from;  ///< when the adapter has it
  };
  struct Node {
    NodeOptions options;
    Handler handler;
    Random random;
    ErrorConfinement errors;
    BusState told = BusState::ERROR_ACTIVE;
    std::deque<Waiting> queue;
    Time last_in{};                    ///< into the controller
    Time last_out{};                   ///< to the handler
    Time held_until{};                 ///< a passive sender
    Time restart_at = Time::max();     ///< by itself
    std::optional<unsigned> recovers;  ///< recessive sequences that are missing
    Time recovers_since{};             ///< idle time counts from then
    std::uint64_t restarts = 0;
    std::uint64_t unacknowledged = 0;
  };
  struct Delivery {
    Time when;
    std::uint64_t order;
    std::size_t node;
    Frame frame;
  };
  enum class Outcome { SENT, NOT_ACKNOWLEDGED, DISTURBED };
  /** What is on the wire. */
  struct Transmission {
    std::vector<std::size_t> senders;
    Frame frame;
    Outcome outcome = Outcome::SENT;
    Time told;  ///< when the nodes know
    Time idle;  ///< when the next may begin
  };

  explicit Impl(const Options& the_options)
      : options(the_options),
        bit(std::chrono::nanoseconds(1000000000) / the_options.bit_rate),
        random(the_options.seed, "bus") {}

  [[nodiscard]] bool off(const Node& node) const { return node.errors.state() == BusState::BUS_OFF; }
  [[nodiscard]] const Waiting* head(const Node& node) const;
  [[nodiscard]] Time ready_at(const Node& node) const;
  [[nodiscard]] Time next_start() const;
  [[nodiscard]] Time recovered_at(const Node& node) const;
  void start();
  [[nodiscard]] bool acknowledged(const std::vector<std::size_t>& senders) const;
  void tell();
  void succeed();
  void fail();
  void tell_bus_error(std::size_t index);
  void remove_head(Node& node, const Frame& frame);
  void deliver(std::size_t node, const Frame& frame);
  void tell_state(std::size_t index);
  void tell_error(std::size_t index, std::uint32_t id, std::uint8_t byte1, std::uint8_t byte2,
                  std::uint8_t byte3);
  void recover(std::size_t index);
  void count_recessive_end();
  void step();
  [[nodiscard]] Time next_due() const;

  Options options;
  Duration bit;
  Random random;
  std::vector<Node> nodes;
  std::vector<Delivery> deliveries;  // in their order
  std::uint64_t order = 0;
  std::optional<Transmission> wire;
  bool told = false;
  bool stepping = false;  // a handler is being called, perhaps
  Time now{};
  std::uint32_t disturbed = 0;
  std::uint64_t bits = 0;
  std::uint64_t frames = 0;
  std::uint64_t failures = 0;
};

/** The frame that a node would send next, of those that its controller has. */
const BusModel::Impl::Waiting* BusModel::Impl::head(const Node& node) const {
  if (node.queue.empty()) return nullptr;
  if (node.options.fifo) return node.queue.front().from <= now ? &node.queue.front() : nullptr;
  const Waiting* best = nullptr;
  for (const Waiting& waiting : node.queue) {
    if (waiting.from > now) continue;
    if (best == nullptr || rank(waiting.frame) < rank(best->frame)) best = &waiting;
  }
  return best;
}

Time BusModel::Impl::ready_at(const Node& node) const {
  if (node.queue.empty() || off(node)) return Time::max();
  return std::max(node.queue.front().from, node.held_until);
}

Time BusModel::Impl::next_start() const {
  if (wire) return Time::max();
  Time start = Time::max();
  for (const Node& node : nodes) start = std::min(start, ready_at(node));
  return start == Time::max() ? start : std::max(start, now);
}

/** All that are ready begin together; the lowest identifier stays. Equal ones collide unless they are the
 * same. */
void BusModel::Impl::start() {
  std::vector<std::size_t> senders;
  const Frame* winner = nullptr;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (ready_at(nodes[i]) > now) continue;
    const Waiting* const waiting = head(nodes[i]);
    if (waiting == nullptr) continue;
    if (winner == nullptr || rank(waiting->frame) < rank(*winner)) {
      winner = &waiting->frame;
      senders.clear();
    }
    if (rank(waiting->frame) == rank(*winner)) senders.push_back(i);
  }
  if (winner == nullptr) return;
  const bool collides = std::any_of(senders.begin(), senders.end(), [&](std::size_t sender) {
    const Waiting* const waiting = head(nodes[sender]);
    return waiting != nullptr && waiting->frame != *winner;
  });
  Transmission next{senders, *winner, Outcome::SENT, now, now};
  const unsigned length = frame_bits(*winner).bits;
  bool disturbs =
      disturbed > 0 || (options.error_probability > 0 && random.part() < options.error_probability);
  if (disturbed > 0) --disturbed;
  unsigned until = length - kIntermission;
  unsigned all = length;
  if (disturbs || collides) {
    next.outcome = Outcome::DISTURBED;
    until = collides ? length / 2 : 1 + static_cast<unsigned>(random.next() % (length - kToAcknowledge));
    all = until + kErrorFrame;
  } else if (!acknowledged(senders)) {
    next.outcome = Outcome::NOT_ACKNOWLEDGED;
    until = length - kToAcknowledge;
    all = until + kOwnErrorFrame;
  }
  next.told = now + until * bit;
  next.idle = now + all * bit;
  bits += all;
  wire = std::move(next);
  told = false;
}

bool BusModel::Impl::acknowledged(const std::vector<std::size_t>& senders) const {
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (!off(nodes[i]) && std::find(senders.begin(), senders.end(), i) == senders.end()) return true;
  }
  return senders.size() > 1;
}

void BusModel::Impl::tell() {
  told = true;
  if (wire->outcome == Outcome::SENT) {
    succeed();
  } else {
    fail();
  }
}

void BusModel::Impl::succeed() {
  ++frames;
  const Transmission sent = *wire;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    Node& node = nodes[i];
    if (off(node)) continue;
    if (std::find(sent.senders.begin(), sent.senders.end(), i) != sent.senders.end()) {
      node.errors.sent();
      remove_head(node, sent.frame);
    } else {
      node.errors.received();
      deliver(i, sent.frame);
    }
    tell_state(i);
  }
  count_recessive_end();
}

void BusModel::Impl::fail() {
  ++failures;
  const bool disturbed_frame = wire->outcome == Outcome::DISTURBED;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    Node& node = nodes[i];
    if (off(node)) continue;
    const bool sends = std::find(wire->senders.begin(), wire->senders.end(), i) != wire->senders.end();
    const bool passive = node.errors.state() == BusState::ERROR_PASSIVE;
    if (!sends) {
      node.errors.reception_failed();
    } else {
      // A passive sender that nobody acknowledges does not count on: it is alone.
      if (disturbed_frame || !passive) node.errors.transmission_failed();
      if (!disturbed_frame) ++node.unacknowledged;
      if (passive) node.held_until = wire->idle + kSuspend * bit;
      tell_bus_error(i);
    }
    tell_state(i);
    if (sends && off(node)) node.queue.clear();
  }
}

void BusModel::Impl::tell_bus_error(std::size_t index) {
  if (!nodes[index].options.tells_bus_errors) return;
  constexpr std::uint8_t kWhileSending = 0x80;
  constexpr std::uint8_t kAckSlot = 0x19;
  constexpr std::uint8_t kBit = 0x01;
  constexpr std::uint8_t kData = 0x0A;
  if (wire->outcome == Outcome::NOT_ACKNOWLEDGED) {
    tell_error(index, kAck | kProtocol | kBusError, 0, kWhileSending, kAckSlot);
  } else {
    tell_error(index, kProtocol | kBusError, 0, kWhileSending | kBit, kData);
  }
}

void BusModel::Impl::remove_head(Node& node, const Frame& frame) {
  const auto sent = std::find_if(node.queue.begin(), node.queue.end(),
                                 [&](const Waiting& waiting) { return waiting.frame == frame; });
  if (sent != node.queue.end()) node.queue.erase(sent);
}

void BusModel::Impl::deliver(std::size_t index, const Frame& frame) {
  Node& node = nodes[index];
  const AdapterLatency& latency = node.options.latency;
  const Time when = std::max(node.last_out, now + latency.least + node.random.up_to(latency.jitter));
  node.last_out = when;
  const Delivery delivery{when, order++, index, frame};
  const auto later = std::upper_bound(deliveries.begin(), deliveries.end(), when,
                                      [](Time time, const Delivery& other) { return time < other.when; });
  deliveries.insert(later, delivery);
}

void BusModel::Impl::tell_error(std::size_t index, std::uint32_t id, std::uint8_t byte1, std::uint8_t byte2,
                                std::uint8_t byte3) {
  const Node& node = nodes[index];
  Frame frame;
  frame.error = true;
  frame.id = id;
  frame.size = 8;
  frame.data[1] = byte1;
  frame.data[2] = byte2;
  frame.data[3] = byte3;
  if ((id & kCounters) != 0) {
    frame.data[6] = static_cast<std::uint8_t>(std::min(node.errors.transmit_errors(), 255));
    frame.data[7] = static_cast<std::uint8_t>(node.errors.receive_errors());
  }
  deliver(index, frame);
}

/** A controller tells of each change of its state, once. */
void BusModel::Impl::tell_state(std::size_t index) {
  Node& node = nodes[index];
  const BusState state = node.errors.state();
  if (std::exchange(node.told, state) == state) return;
  const bool sending = node.errors.transmit_errors() >= node.errors.receive_errors();
  switch (state) {
    case BusState::ERROR_ACTIVE:
      return tell_error(index, kController | kCounters, 0x40, 0, 0);
    case BusState::ERROR_WARNING:
      return tell_error(index, kController | kCounters, sending ? 0x08 : 0x04, 0, 0);
    case BusState::ERROR_PASSIVE:
      return tell_error(index, kController | kCounters, sending ? 0x20 : 0x10, 0, 0);
    case BusState::BUS_OFF:
    case BusState::INTERFACE_GONE:
      break;
  }
  if (node.options.restart.count() > 0) node.restart_at = now + node.options.restart;
  tell_error(index, kBusOffClass, 0, 0, 0);
}

/** Each frame ends with 11 recessive bits; an idle bus is nothing else. */
void BusModel::Impl::count_recessive_end() {
  for (Node& node : nodes) {
    if (!node.recovers) continue;
    *node.recovers -= *node.recovers > 1 ? 1U : 0U;
    node.recovers_since = wire->idle;
  }
}

Time BusModel::Impl::recovered_at(const Node& node) const {
  if (!node.recovers || wire) return Time::max();
  return std::max(node.recovers_since + *node.recovers * kRecessive * bit, now);
}

void BusModel::Impl::recover(std::size_t index) {
  Node& node = nodes[index];
  node.recovers.reset();
  node.errors.restart();
  node.told = BusState::ERROR_ACTIVE;
  ++node.restarts;
  tell_error(index, kRestarted, 0, 0, 0);
}

Time BusModel::Impl::next_due() const {
  Time due = next_start();
  if (wire) due = std::min(due, told ? wire->idle : wire->told);
  if (!deliveries.empty()) due = std::min(due, deliveries.front().when);
  for (const Node& node : nodes) due = std::min({due, node.restart_at, recovered_at(node)});
  return due;
}

void BusModel::Impl::step() {
  if (wire && !told && wire->told <= now) return tell();
  if (!deliveries.empty() && deliveries.front().when <= now) {
    const Delivery delivery = deliveries.front();
    deliveries.erase(deliveries.begin());
    if (nodes[delivery.node].handler) nodes[delivery.node].handler(delivery.frame, now);
    return;
  }
  if (wire && told && wire->idle <= now) wire.reset();
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    Node& node = nodes[i];
    if (node.restart_at <= now) {
      node.restart_at = Time::max();
      node.recovers = kRecovery;
      node.recovers_since = now;
    }
    if (recovered_at(node) <= now) recover(i);
  }
  if (next_start() > now) return;
  // What was idle until now counts for those that recover.
  for (Node& node : nodes) {
    if (!node.recovers) continue;
    const auto idle =
        static_cast<unsigned>(std::max<std::int64_t>(0, (now - node.recovers_since) / (kRecessive * bit)));
    *node.recovers = idle >= *node.recovers ? 1U : *node.recovers - idle;
    node.recovers_since = now;
  }
  start();
}

BusModel::BusModel(const Options& options) : impl_(std::make_unique<Impl>(options)) {}
BusModel::~BusModel() = default;

std::size_t BusModel::attach(const NodeOptions& options, Handler handler) {
  const std::size_t index = impl_->nodes.size();
  impl_->nodes.push_back({options,
                          std::move(handler),
                          Random(impl_->options.seed, "adapter " + std::to_string(index)),
                          {},
                          BusState::ERROR_ACTIVE,
                          {},
                          {},
                          {},
                          {},
                          Time::max(),
                          std::nullopt,
                          {},
                          0,
                          0});
  return index;
}

nkr_error_t BusModel::send(std::size_t index, const nkr::can::Frame& frame, Time now) {
  Impl::Node& node = impl_->nodes.at(index);
  // What came before is over; what comes in the same instant competes with this frame.
  if (!impl_->stepping) (void)advance(now - Duration(1));
  impl_->now = std::max(impl_->now, now);
  if (impl_->off(node)) return NKR_CAN_BUS_OFF;
  if (node.queue.size() >= node.options.queue_length) return NKR_CAN_TX_OVERFLOW;
  const AdapterLatency& latency = node.options.latency;
  node.last_in = std::max(node.last_in, impl_->now + latency.least + node.random.up_to(latency.jitter));
  node.queue.push_back({frame, node.last_in});
  return NKR_OK;
}

Time BusModel::advance(Time now) {
  for (Time due = impl_->next_due(); due <= now; due = impl_->next_due()) {
    impl_->now = std::max(impl_->now, due);
    impl_->stepping = true;
    impl_->step();
    impl_->stepping = false;
  }
  impl_->now = std::max(impl_->now, now);
  return impl_->next_due();
}

Time BusModel::next_due() const {
  return impl_->next_due();
}

void BusModel::disturb(std::uint32_t frames) {
  impl_->disturbed += frames;
}

void BusModel::restart(std::size_t index, Time now) {
  Impl::Node& node = impl_->nodes.at(index);
  if (impl_->off(node) && !node.recovers) node.restart_at = std::max(now, impl_->now);
}

nkr::can::BusStatus BusModel::status(std::size_t index) const {
  const Impl::Node& node = impl_->nodes.at(index);
  nkr::can::BusStatus status;
  status.state = node.errors.state();
  status.tx_errors = static_cast<std::uint8_t>(std::min(node.errors.transmit_errors(), 255));
  status.rx_errors = static_cast<std::uint8_t>(node.errors.receive_errors());
  status.unacknowledged = node.unacknowledged;
  status.restarts = node.restarts;
  return status;
}

std::uint64_t BusModel::bits() const {
  return impl_->bits;
}

std::uint64_t BusModel::frames() const {
  return impl_->frames;
}

std::uint64_t BusModel::errors() const {
  return impl_->failures;
}

}  // namespace tav::drive
