#include "cli/Progress.hpp"

#include <utility>

namespace tavctl {

Progress::Progress(Output& output, std::string what) : output_(output), what_(std::move(what)) {
  if (output_.shows_progress()) thread_ = std::thread([this] { run(); });
}

Progress::~Progress() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    ends_ = true;
  }
  ended_.notify_all();
  thread_.join();
  output_.progress({});
}

void Progress::count(std::size_t done, std::size_t of_all) {
  done_ = done;
  all_ = of_all;
}

void Progress::run() {
  constexpr std::chrono::milliseconds kTick{100};
  std::unique_lock<std::mutex> lock(mutex_);
  while (!ended_.wait_for(lock, kTick, [this] { return ends_; })) {
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start_).count();
    const std::size_t all = all_;
    std::string text = what_;
    if (all > 0) text += ": " + std::to_string(done_) + " of " + std::to_string(all);
    output_.progress(text + ", " + std::to_string(seconds) + " s");
  }
}

}  // namespace tavctl
