#include <tav/drive/Timing.hpp>

namespace tav::drive {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

Timing typical() {
  Timing timing;
  timing.boot = milliseconds(500);
  timing.communication_reset = milliseconds(20);
  timing.transition = milliseconds(2);
  timing.turnaround = microseconds(300);
  timing.turnaround_jitter = microseconds(100);
  timing.store = milliseconds(200);
  timing.silent_while_storing = true;
  timing.heartbeat_jitter = milliseconds(1);
  return timing;
}

Timing slow() {
  Timing timing;
  timing.boot = milliseconds(3000);
  timing.communication_reset = milliseconds(200);
  timing.transition = milliseconds(50);
  timing.commutation = milliseconds(300);
  timing.turnaround = milliseconds(30);
  timing.turnaround_jitter = milliseconds(20);
  timing.store = milliseconds(2000);
  timing.silent_while_storing = true;
  timing.heartbeat_jitter = milliseconds(10);
  timing.brake = milliseconds(250);
  return timing;
}

}  // namespace

std::vector<std::string> timing_profiles() {
  return {"ideal", "typical", "slow"};
}

bool timing_profile(std::string_view name, Timing& timing) {
  const std::uint64_t seed = timing.seed;
  if (name == "ideal") {
    timing = Timing{};
  } else if (name == "typical") {
    timing = typical();
  } else if (name == "slow") {
    timing = slow();
  } else {
    return false;
  }
  timing.seed = seed;
  return true;
}

}  // namespace tav::drive
