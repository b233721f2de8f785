#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "LogFixture.hpp"

namespace {

class LogThreads : public LogTest {};

TEST_F(LogThreads, MayLogAtOnceAndEveryMessageArrivesWhole) {
  constexpr int kThreads = 4;
  constexpr int kMessages = 500;
  std::vector<Seen> seen;  // no lock: calls of one callback never overlap
  nkr_log_add_callback(collect, &seen, NKR_LOG_TRACE, nullptr);
  nkr_log_set_enabled(1);
  const std::uint64_t before = nkr_log_dropped();
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([thread] {
      for (int i = 0; i < kMessages; ++i) log_text(NKR_LOG_TRACE, "text", static_cast<std::uint32_t>(thread));
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(seen.size() + (nkr_log_dropped() - before), std::size_t{kThreads} * kMessages);
  for (const Seen& message : seen) EXPECT_EQ(message.text, "function:42 Class: text");
}

TEST_F(LogThreads, MayLogWhileSinksComeAndGo) {
  std::atomic<bool> stop{false};
  std::thread logger([&] {
    while (!stop) log_text(NKR_LOG_TRACE, "text");
  });
  for (int i = 0; i < 200; ++i) {
    std::vector<Seen> seen;  // gone when the sink is removed: it is not called afterwards
    nkr_log_sink_t sink = 0;
    nkr_log_add_callback(collect, &seen, NKR_LOG_TRACE, &sink);
    nkr_log_set_enabled(i % 2);
    nkr_log_set_level(i % 3 == 0 ? NKR_LOG_NOTICE : NKR_LOG_TRACE);
    EXPECT_EQ(nkr_log_remove_sink(sink), NKR_OK);
  }
  stop = true;
  logger.join();
}

/** A callback that holds its first caller until it is let go. */
struct Gate {
  static void hold(void* user, const nkr_log_record_t*) {
    Gate& gate = *static_cast<Gate*>(user);
    std::unique_lock<std::mutex> lock(gate.mutex);
    gate.entered = true;
    gate.changed.notify_all();
    gate.changed.wait(lock, [&] { return gate.open; });
  }
  void await_entry() {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [this] { return entered; });
  }
  void let_go() {
    const std::lock_guard<std::mutex> lock(mutex);
    open = true;
    changed.notify_all();
  }

  std::mutex mutex;
  std::condition_variable changed;
  bool entered = false;
  bool open = false;
};

TEST_F(LogThreads, AreNotHeldUpByASinkThatHoldsAnother) {
  Gate gate;
  std::vector<Seen> seen;
  nkr_log_add_callback(Gate::hold, &gate, NKR_LOG_TRACE, nullptr);
  nkr_log_add_callback(collect, &seen, NKR_LOG_FAILURE, nullptr);
  nkr_log_set_enabled(1);
  std::thread held([] { log_text(NKR_LOG_TRACE, "held"); });
  gate.await_entry();

  const std::uint64_t before = nkr_log_dropped();
  for (int i = 0; i < 20; ++i) log_text(NKR_LOG_FAILURE, "passes");  // returns at all
  EXPECT_EQ(nkr_log_dropped() - before, 20u);
  EXPECT_EQ(seen.size(), 20u) << "the other sink takes every message";
  gate.let_go();
  held.join();

  const std::uint64_t after = nkr_log_dropped();
  log_text(NKR_LOG_FAILURE, "works again");
  EXPECT_EQ(nkr_log_dropped(), after);
}

TEST_F(LogThreads, RemoveASinkOnlyWhenItsCallHasReturned) {
  Gate gate;
  std::atomic<bool> returned{false};
  nkr_log_sink_t sink = 0;
  nkr_log_add_callback(Gate::hold, &gate, NKR_LOG_TRACE, &sink);
  nkr_log_set_enabled(1);
  std::thread held([&] {
    log_text(NKR_LOG_TRACE, "held");
    returned = true;
  });
  gate.await_entry();
  std::thread opener([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(returned);
    gate.let_go();
  });
  EXPECT_EQ(nkr_log_remove_sink(sink), NKR_OK);
  EXPECT_TRUE(gate.open);
  held.join();
  opener.join();
}

}  // namespace
