#include <algorithm>
#include <map>
#include <mutex>
#include <nkr/canopen/Client.hpp>
#include <nkr/time/RecursiveMutex.hpp>
#include <nkr/time/clock.hpp>
#include <tav/host/HostNode.hpp>
#include <tav/host/Interrupt.hpp>
#include <thread>
#include <utility>

namespace tav::host {

using nkr::canopen::Client;
using nkr::canopen::Event;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr std::uint8_t kLastNode = 127;
/** A node that was silent for so long has left its id. */
constexpr milliseconds kGone{5000};
/** So many free ids are named. */
constexpr std::size_t kNamed = 3;

bool is_heard(Client& client, std::uint8_t node) {
  std::uint32_t age = 0;
  return client.getTimeSinceHeard(node, age) == NKR_OK && milliseconds(age) < kGone;
}

bool tells_of_a_node(Event::Kind kind) {
  switch (kind) {
    case Event::Kind::BOOT_UP:
    case Event::Kind::UNEXPECTED_BOOT_UP:
    case Event::Kind::STATE_CHANGED:
    case Event::Kind::HEARTBEAT_RETURNED:
    case Event::Kind::EMERGENCY:
      return true;
    default:
      return false;
  }
}

bool wait_until(steady_clock::time_point time, const Interrupt* interrupt) {
  if (interrupt != nullptr) return interrupt->wait_until(time);
  nkr::time::sleep_until(time);
  return true;
}

}  // namespace

struct HostNode::Impl {
  Impl(std::shared_ptr<Client> the_client, std::uint8_t the_wanted)
      : client(std::move(the_client)), wanted(the_wanted) {}

  [[nodiscard]] std::vector<std::uint8_t> free_nodes(std::uint8_t drive, std::size_t most) const;
  [[nodiscard]] Result choose(std::uint8_t drive);
  [[nodiscard]] Result refusal(Cause cause, std::uint8_t drive) const;
  void heard(const Event& event);

  const std::shared_ptr<Client> client;
  const std::uint8_t wanted;
  const steady_clock::time_point listening_since = nkr::time::now();
  int subscription = 0;

  // Held while an id is chosen: the second user waits for the first one's choice.
  nkr::time::RecursiveMutex beginning;

  nkr::time::RecursiveMutex telling;  // held while users are told: end() waits for it, but not from inside

  mutable std::mutex mutex;
  std::uint8_t id = 0;
  steady_clock::time_point begun;
  bool contested = false;
  int last_user = 0;
  std::map<int, std::shared_ptr<const Lost>> users;
};

std::vector<std::uint8_t> HostNode::Impl::free_nodes(std::uint8_t drive, std::size_t most) const {
  std::vector<std::uint8_t> free;
  for (std::uint8_t node = kLastNode; node > 0 && free.size() < most; --node) {
    if (node != drive && !is_heard(*client, node)) free.push_back(node);
  }
  return free;
}

Result HostNode::Impl::refusal(Cause cause, std::uint8_t drive) const {
  Explanation explanation;
  explanation.cause = cause;
  explanation.code = NKR_ERROR;
  explanation.action = "take a node id for this host";
  explanation.node = drive;
  explanation.host_node = wanted;
  explanation.free_nodes = free_nodes(drive, kNamed);
  return Result(std::move(explanation));
}

/** The id for the first user's heartbeat. */
Result HostNode::Impl::choose(std::uint8_t drive) {
  std::uint8_t chosen = wanted;
  if (chosen == 0) {
    const std::vector<std::uint8_t> free = free_nodes(drive, 1);
    if (free.empty()) return refusal(Cause::NO_HOST_NODE, drive);
    chosen = free.front();
  } else if (chosen == drive || is_heard(*client, chosen)) {
    return refusal(Cause::HOST_NODE_TAKEN, drive);
  }
  const nkr_error_t started = client->startHeartbeat(chosen, kHeartbeatPeriod);
  if (started != NKR_OK) {
    Explanation explanation;
    explanation.cause = Cause::REQUEST;
    explanation.code = started;
    explanation.action = "send the host's heartbeat";
    return Result(std::move(explanation));
  }
  const std::lock_guard<std::mutex> lock(mutex);
  id = chosen;
  begun = nkr::time::now();
  contested = false;
  return {};
}

/** On the client's thread of events. Its own frames do not reach the client: whoever is heard is another. */
void HostNode::Impl::heard(const Event& event) {
  if (!tells_of_a_node(event.kind)) return;
  std::vector<std::shared_ptr<const Lost>> told;
  const std::lock_guard<nkr::time::RecursiveMutex> told_now(telling);
  {
    const std::lock_guard<std::mutex> lock(mutex);
    if (users.empty() || event.node != id || std::exchange(contested, true)) return;
    for (const auto& [user, lost] : users) told.push_back(lost);
  }
  for (const auto& lost : told) {
    if (*lost) (*lost)();
  }
}

HostNode::HostNode(std::shared_ptr<Client> client, std::uint8_t wanted)
    : impl_(std::make_shared<Impl>(std::move(client), wanted)) {
  impl_->subscription =
      impl_->client->subscribe([impl = impl_.get()](const Event& event) { impl->heard(event); });
}

HostNode::~HostNode() {
  impl_->client->unsubscribe(impl_->subscription);
  if (!impl_->users.empty()) impl_->client->stopHeartbeat();
}

Result HostNode::begin(std::uint8_t drive, const Interrupt* interrupt, Lost lost, int& user) {
  const std::lock_guard<nkr::time::RecursiveMutex> one_at_a_time(impl_->beginning);
  const bool first = [this] {
    const std::lock_guard<std::mutex> lock(impl_->mutex);
    return impl_->users.empty();
  }();
  if (first) {
    if (!listen(interrupt)) {
      Explanation explanation;
      explanation.cause = Cause::INTERRUPTED;
      explanation.code = NKR_INTERRUPTED;
      return Result(std::move(explanation));
    }
    Result chosen = impl_->choose(drive);
    if (!chosen.ok()) return chosen;
  }
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  user = ++impl_->last_user;
  impl_->users.emplace(user, std::make_shared<const Lost>(std::move(lost)));
  return {};
}

void HostNode::end(int user) {
  const std::lock_guard<nkr::time::RecursiveMutex> one_at_a_time(impl_->beginning);
  bool last = false;
  {
    const std::lock_guard<std::mutex> lock(impl_->mutex);
    if (impl_->users.erase(user) == 0) return;
    last = impl_->users.empty();
  }
  if (last) impl_->client->stopHeartbeat();
  const std::lock_guard<nkr::time::RecursiveMutex> told(impl_->telling);
}

std::uint8_t HostNode::id() const {
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  return impl_->id;
}

/** Events tell of changes alone: a node that booted long ago and begins to beat now changes nothing. */
bool HostNode::is_contested() const {
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  if (impl_->contested || impl_->users.empty()) return impl_->contested;
  std::uint32_t age = 0;
  return impl_->client->getTimeSinceHeard(impl_->id, age) == NKR_OK &&
         milliseconds(age) < nkr::time::now() - impl_->begun;
}

bool HostNode::listen(const Interrupt* interrupt) const {
  return wait_until(impl_->listening_since + kListening, interrupt);
}

std::vector<std::uint8_t> HostNode::free_nodes(std::uint8_t drive, std::size_t most) const {
  return impl_->free_nodes(drive, most);
}

std::vector<std::uint8_t> HostNode::heard() const {
  std::vector<std::uint8_t> nodes;
  for (std::uint8_t node = 1; node <= kLastNode; ++node) {
    if (is_heard(*impl_->client, node)) nodes.push_back(node);
  }
  return nodes;
}

}  // namespace tav::host
