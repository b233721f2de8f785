#include <nkr/time/VirtualTime.hpp>
#include <utility>

#include "World.hpp"

namespace nkr::time {
namespace {

VirtualTime::Settings seeded(std::uint64_t seed) {
  VirtualTime::Settings settings;
  settings.seed = seed;
  return settings;
}

}  // namespace

VirtualTime::VirtualTime(std::uint64_t seed) : VirtualTime(seeded(seed)) {}

VirtualTime::VirtualTime(Settings settings)
    : world_(std::make_shared<World>(std::move(settings))), around_(World::current()) {
  World::set_current(world_.get());
}

VirtualTime::~VirtualTime() {
  world_->leave_alone();
  World::set_current(around_);
}

Clock::duration VirtualTime::elapsed() const {
  return world_->now() - World::beginning();
}

std::uint64_t VirtualTime::switches() const {
  return world_->switches();
}

bool VirtualTime::is_here() {
  return World::current() != nullptr;
}

}  // namespace nkr::time
