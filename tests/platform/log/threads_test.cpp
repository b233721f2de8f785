#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "LogFixture.hpp"

namespace nkr::log::test {
namespace {

class LogThreads : public LogTest {};

TEST_F(LogThreads, MayLogAtOnceAndEveryMessageArrivesWhole) {
  constexpr int kThreads = 4;
  constexpr int kMessages = 500;
  std::vector<Seen> seen;  // no lock: calls of one callback never overlap
  nkr_log_sink_t sink = 0;
  nkr_log_add_callback(collect, &seen, NKR_LOG_TRACE, &sink);
  nkr_log_set_enabled(1);
  const std::uint64_t before = nkr_log_dropped();
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([thread] {
      for (int i = 0; i < kMessages; ++i)
        send_text(NKR_LOG_TRACE, "text", static_cast<std::uint32_t>(thread));
    });
  }
  for (std::thread& thread : threads) thread.join();
  nkr_log_remove_sink(sink);  // what waits for it has arrived
  EXPECT_EQ(seen.size() + (nkr_log_dropped() - before), std::size_t{kThreads} * kMessages);
  for (const Seen& message : seen) EXPECT_EQ(message.text, "function:42 Class: text");
}

TEST_F(LogThreads, MayLogWhileSinksComeAndGo) {
  std::atomic<bool> stop{false};
  std::thread logger([&] {
    while (!stop) send_text(NKR_LOG_TRACE, "text");
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
    ++gate.calls;
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
  int calls = 0;
};

TEST_F(LogThreads, AreNotHeldUpByASinkThatHoldsAnother) {
  Gate gate;
  std::vector<Seen> seen;
  nkr_log_sink_t holding = 0;
  nkr_log_sink_t other = 0;
  nkr_log_add_callback(Gate::hold, &gate, NKR_LOG_TRACE, &holding);
  nkr_log_add_callback(collect, &seen, NKR_LOG_FAILURE, &other);
  nkr_log_set_enabled(1);
  std::thread held([] { send_text(NKR_LOG_TRACE, "held"); });
  gate.await_entry();

  const std::uint64_t before = nkr_log_dropped();
  for (int i = 0; i < 20; ++i) send_text(NKR_LOG_FAILURE, "passes");  // returns at all
  EXPECT_EQ(nkr_log_dropped(), before);
  nkr_log_remove_sink(other);
  EXPECT_EQ(seen.size(), 20u) << "the other sink takes every message";
  gate.let_go();
  held.join();
  nkr_log_remove_sink(holding);
  EXPECT_EQ(gate.calls, 21) << "it gets what waited for it";
  EXPECT_EQ(nkr_log_dropped(), before);
}

TEST_F(LogThreads, LoseAndCountWhatWaitsTooLongForASink) {
  Gate gate;
  nkr_log_sink_t sink = 0;
  nkr_log_add_callback(Gate::hold, &gate, NKR_LOG_TRACE, &sink);
  nkr_log_set_enabled(1);
  std::thread held([] { send_text(NKR_LOG_TRACE, "held"); });
  gate.await_entry();
  const std::uint64_t before = nkr_log_dropped();
  for (int i = 0; i < 1100; ++i) send_text(NKR_LOG_TRACE, "waits");
  EXPECT_EQ(nkr_log_dropped() - before, 1100u - 1024u);
  gate.let_go();
  held.join();
  nkr_log_remove_sink(sink);
  EXPECT_EQ(gate.calls + static_cast<int>(nkr_log_dropped() - before), 1101);
}

TEST_F(LogThreads, FlushWaitsForWhatWaits) {
  Gate gate;
  nkr_log_add_callback(Gate::hold, &gate, NKR_LOG_TRACE, nullptr);
  nkr_log_set_enabled(1);
  std::thread held([] { send_text(NKR_LOG_TRACE, "held"); });
  gate.await_entry();
  send_text(NKR_LOG_TRACE, "waits");
  EXPECT_EQ(nkr_log_flush(1), NKR_NOT_AVAILABLE) << "the time is over";
  gate.let_go();
  held.join();
  EXPECT_EQ(nkr_log_flush(20000), NKR_OK);
  EXPECT_EQ(gate.calls, 2);
}

/** Which threads called it; takes its time. */
struct SlowSink {
  static void call(void* user, const nkr_log_record_t* record) {
    SlowSink& sink = *static_cast<SlowSink*>(user);
    std::this_thread::sleep_for(std::chrono::milliseconds(15));
    const std::lock_guard<std::mutex> lock(sink.mutex);
    sink.threads.push_back(std::this_thread::get_id());
    sink.texts.emplace_back(record->text);
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    sink.takes_signals = sigismember(&blocked, SIGINT) == 0;
  }
  std::mutex mutex;
  std::vector<std::thread::id> threads;
  std::vector<std::string> texts;
  bool takes_signals = false;
};

TEST_F(LogThreads, AreDelayedByASlowSinkOnceAtMost) {
  SlowSink slow;
  nkr_log_sink_t sink = 0;
  nkr_log_add_callback(SlowSink::call, &slow, NKR_LOG_TRACE, &sink);
  nkr_log_set_enabled(1);
  for (const char* text : {"1", "2", "3", "4", "5"}) send_text(NKR_LOG_TRACE, text);
  nkr_log_remove_sink(sink);
  ASSERT_EQ(slow.threads.size(), 5u);
  EXPECT_EQ(slow.threads[0], std::this_thread::get_id());
  for (std::size_t i = 1; i < 5; ++i) EXPECT_NE(slow.threads[i], std::this_thread::get_id()) << i;
  for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(slow.texts[i].back(), static_cast<char>('1' + i));
  EXPECT_FALSE(slow.takes_signals) << "the program's signals are not for the log's thread";
}

TEST_F(LogThreads, RemoveASinkOnlyWhenItsCallHasReturned) {
  Gate gate;
  std::atomic<bool> returned{false};
  nkr_log_sink_t sink = 0;
  nkr_log_add_callback(Gate::hold, &gate, NKR_LOG_TRACE, &sink);
  nkr_log_set_enabled(1);
  std::thread held([&] {
    send_text(NKR_LOG_TRACE, "held");
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
}  // namespace nkr::log::test
