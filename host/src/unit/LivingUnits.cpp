#include "LivingUnits.hpp"

#include <unistd.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>

namespace tav::host {

namespace {

struct Entry {
  pid_t process;
  std::function<void()> stop;
};

/** Never destroyed: exit() comes when other statics are gone. */
struct Registry {
  std::mutex mutex;
  std::map<int, Entry> entries;
  int last = 0;
};

Registry& registry() {
  static Registry* const kept = std::make_unique<Registry>().release();
  return *kept;
}

/** Without the lock: another thread that is at work on a unit may take it off meanwhile. */
void stop_all() {
  Registry& all = registry();
  std::map<int, Entry> entries;
  {
    const std::lock_guard<std::mutex> lock(all.mutex);
    entries.swap(all.entries);
  }
  for (const auto& [number, entry] : entries) {
    if (entry.process == ::getpid()) entry.stop();
  }
}

}  // namespace

int LivingUnits::add(std::function<void()> stop) {
  Registry& all = registry();
  const std::lock_guard<std::mutex> lock(all.mutex);
  static const bool registered = std::atexit(stop_all) == 0;
  static_cast<void>(registered);
  all.entries.emplace(++all.last, Entry{::getpid(), std::move(stop)});
  return all.last;
}

void LivingUnits::remove(int number) {
  Registry& all = registry();
  const std::lock_guard<std::mutex> lock(all.mutex);
  all.entries.erase(number);
}

}  // namespace tav::host
