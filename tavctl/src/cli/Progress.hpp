#ifndef TAVCTL_CLI_PROGRESS_HPP
#define TAVCTL_CLI_PROGRESS_HPP

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "cli/Output.hpp"

namespace tavctl {

/** Shows on a terminal that long work goes on, from construction to destruction: "reading objects: 120 of
 * 640". Nothing elsewhere. */
class Progress {
 public:
  Progress(Output& output, std::string what);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void count(std::size_t done, std::size_t of_all);
  /** count(), for who is to call it. */
  [[nodiscard]] std::function<void(std::size_t, std::size_t)> counter() {
    return [this](std::size_t done, std::size_t of_all) { count(done, of_all); };
  }

 private:
  void run();

  Output& output_;
  std::string what_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::atomic<std::size_t> done_{0};
  std::atomic<std::size_t> all_{0};
  std::mutex mutex_;
  std::condition_variable ended_;
  bool ends_ = false;
  std::thread thread_;
};

}  // namespace tavctl

#endif
