#include <algorithm>
#include <atomic>
#include <deque>
#include <tav/drive/Fleet.hpp>
#include <utility>

namespace tav::drive {

struct Fleet::Impl {
  struct Member {
    std::unique_ptr<VirtualDrive> drive;
    Time due = Time::max();
  };
  /** A frame on its way to the others. */
  struct Sent {
    nkr::can::Frame frame;
    std::size_t by;
  };

  void send(const nkr::can::Frame& frame, std::size_t by) {
    if (bus) {
      // A queue that is full loses the frame, as a controller's does.
      (void)bus->send(node_of(by), frame, now);
      return;
    }
    if (output) output(frame, now, by);
    on_the_way.push_back({frame, by});
  }
  /** Hands over what was sent, and what that brings about, until nothing more comes. */
  void deliver() {
    while (!on_the_way.empty()) {
      const Sent sent = on_the_way.front();
      on_the_way.pop_front();
      for (std::size_t i = 0; i < members.size(); ++i) {
        if (i != sent.by) members[i].due = members[i].drive->receive(sent.frame, now);
      }
    }
  }
  /** The node outside is the first of the bus. */
  [[nodiscard]] static std::size_t node_of(std::size_t place) { return place + 1; }
  void come_from_bus(std::size_t place, const nkr::can::Frame& frame, Time when) {
    now = std::max(now, when);
    if (!frame.error) members[place].due = members[place].drive->receive(frame, now);
  }

  [[nodiscard]] Time next_due() const {
    Time due = bus ? bus->next_due() : Time::max();
    for (const Member& member : members) due = std::min(due, member.due);
    return due;
  }
  void look_at_woken() {
    if (!woken.exchange(false)) return;
    for (Member& member : members) member.due = std::min(member.due, now);
  }

  std::unique_ptr<BusModel> bus;
  BusModel::NodeOptions bus_options;
  std::vector<Member> members;
  Output output;
  std::function<void()> wake;
  std::deque<Sent> on_the_way;
  std::atomic<bool> woken{false};
  bool advancing = false;  // the bus calls an output, perhaps
  Time now{};
};

Fleet::Fleet() : impl_(std::make_unique<Impl>()) {}

Fleet::~Fleet() {
  for (Impl::Member& member : impl_->members) member.drive->connect({});
}

void Fleet::add(std::unique_ptr<VirtualDrive> drive) {
  const std::size_t place = impl_->members.size();
  VirtualDrive::Events events;
  events.wake = [impl = impl_.get()] {
    impl->woken = true;
    if (impl->wake) impl->wake();
  };
  drive->connect([impl = impl_.get(), place](const nkr::can::Frame& frame) { impl->send(frame, place); },
                 std::move(events));
  impl_->members.push_back({std::move(drive), Time::max()});
  if (!impl_->bus) return;
  (void)impl_->bus->attach(impl_->bus_options,
                           [impl = impl_.get(), place](const nkr::can::Frame& frame, Time when) {
                             impl->come_from_bus(place, frame, when);
                           });
}

void Fleet::use_bus(const BusModel::Options& options, const BusModel::NodeOptions& drives,
                    const BusModel::NodeOptions& outside) {
  impl_->bus = std::make_unique<BusModel>(options);
  impl_->bus_options = drives;
  (void)impl_->bus->attach(outside, [impl = impl_.get()](const nkr::can::Frame& frame, Time when) {
    impl->now = std::max(impl->now, when);
    if (impl->output) impl->output(frame, when, impl->members.size());
  });
}

const BusModel* Fleet::bus() const {
  return impl_->bus.get();
}

std::size_t Fleet::size() const {
  return impl_->members.size();
}

VirtualDrive& Fleet::drive(std::size_t place) {
  return *impl_->members.at(place).drive;
}

void Fleet::connect(Output output) {
  impl_->output = std::move(output);
}

void Fleet::when_woken(std::function<void()> wake) {
  impl_->wake = std::move(wake);
}

Time Fleet::power_on(Time now) {
  impl_->now = now;
  for (Impl::Member& member : impl_->members) {
    member.drive->power_on(now);
    member.due = member.drive->advance(now);
  }
  impl_->deliver();
  return impl_->next_due();
}

Time Fleet::receive(const nkr::can::Frame& frame, Time now) {
  if (impl_->bus) {
    if (!impl_->advancing) (void)advance(now);
    (void)impl_->bus->send(0, frame, impl_->now);
    return impl_->next_due();
  }
  (void)advance(now);
  for (Impl::Member& member : impl_->members) {
    member.due = member.drive->receive(frame, impl_->now);
    impl_->deliver();
  }
  return impl_->next_due();
}

Time Fleet::advance(Time now) {
  impl_->look_at_woken();
  for (Time due = impl_->next_due(); due <= now; due = impl_->next_due()) {
    impl_->now = std::max(impl_->now, due);
    impl_->advancing = true;
    if (impl_->bus) (void)impl_->bus->advance(impl_->now);
    impl_->advancing = false;
    for (Impl::Member& member : impl_->members) {
      if (member.due > impl_->now) continue;
      member.due = member.drive->advance(impl_->now);
      impl_->deliver();
    }
  }
  impl_->now = std::max(impl_->now, now);
  return impl_->next_due();
}

}  // namespace tav::drive
