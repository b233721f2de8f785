#ifndef TAV_HOST_REAL_TIME_HPP
#define TAV_HOST_REAL_TIME_HPP

#include <nkr/export.h>

#include <string>
#include <vector>

namespace tav::host {

/** What a thread with real-time duties asks of the system; set by name what differs. */
struct RealTimeSettings {
  int priority = 60;        ///< of the class SCHED_FIFO, 1 to 99; 0: the class is left as it is
  bool lock_memory = true;  ///< all of the program's memory, now and later: no page faults
  int cpu = -1;             ///< the thread runs on this one alone; -1: on any
};

/** What it got of it. */
struct RealTimeReport {
  struct Item {
    std::string name;  ///< "scheduling class SCHED_FIFO 60"
    bool is_granted = false;
    std::string remedy;  ///< what helps when it is not; for people
  };
  std::vector<Item> items;
  bool is_real_time_kernel = false;  ///< fully preemptible (PREEMPT_RT)

  [[nodiscard]] bool is_complete() const {
    for (const Item& item : items) {
      if (!item.is_granted) return false;
    }
    return true;
  }
};

/** Asks it for the calling thread (memory: for the program), and tells what was granted. What is refused
 * changes nothing: the thread goes on as it was. */
[[nodiscard]] NKR_EXPORT RealTimeReport real_time(const RealTimeSettings& settings = {});

/** One line for each item, and the kernel's kind. */
[[nodiscard]] NKR_EXPORT std::string text(const RealTimeReport& report);

}  // namespace tav::host

#endif
