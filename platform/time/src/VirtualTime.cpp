#include <nkr/time/VirtualTime.hpp>

#include "World.hpp"

namespace nkr::time {

VirtualTime::VirtualTime(std::uint64_t seed) : world_(std::make_unique<World>(seed)) {
  World::set_current(world_.get());
}

VirtualTime::~VirtualTime() {
  World::set_current(nullptr);
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
