#include <ctime>
#include <nkr/time/Condition.hpp>
#include <nkr/time/clock.hpp>
#include <thread>

#include "World.hpp"

namespace nkr::time {
namespace {

/** 2000-01-01, 00:00 UTC. */
constexpr std::chrono::seconds kCalendarBeginning{946684800};

}  // namespace

Clock::time_point now() {
  World* const world = World::current();
  return world == nullptr ? Clock::now() : world->ask();
}

/** The system's: the time of the kernel's last tick. */
Clock::time_point coarse_now() {
  World* const world = World::current();
  if (world != nullptr) return world->ask();
  timespec tick{};
  ::clock_gettime(CLOCK_MONOTONIC_COARSE, &tick);
  return Clock::time_point(std::chrono::seconds(tick.tv_sec) + std::chrono::nanoseconds(tick.tv_nsec));
}

std::chrono::system_clock::time_point calendar_now() {
  using std::chrono::system_clock;
  const World* const world = World::current();
  if (world == nullptr) return system_clock::now();
  return system_clock::time_point(std::chrono::duration_cast<system_clock::duration>(
      kCalendarBeginning + (world->now() - World::beginning())));
}

void sleep_until(Clock::time_point time) {
  World* const world = World::current();
  if (world == nullptr) return std::this_thread::sleep_until(time);
  Parked self(*world);
  if (time <= world->now()) return world->yield(self);
  world->park(self, time);
}

}  // namespace nkr::time
