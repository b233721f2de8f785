#ifndef TESTS_CAN_SOCKETCAN_FAKE_CAN_SYSTEM_HPP
#define TESTS_CAN_SOCKETCAN_FAKE_CAN_SYSTEM_HPP

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <deque>
#include <mutex>
#include <socketcan/CanSystem.hpp>
#include <utility>

namespace nkr::can::test {

/** One socket whose frames, errors and interface the test decides. */
class FakeCanSystem : public nkr::can::CanSystem {
 public:
  using Frame = nkr::can::Frame;
  using LinkState = nkr::can::LinkState;

  // What the test does:
  void arrive(const Frame& frame, std::uint64_t dropped = 0) {
    nkr::can::ReceivedFrame received;
    received.frame = frame;
    received.when = kArrival;
    received.dropped = dropped;
    const std::lock_guard<std::mutex> lock(mutex_);
    readings_.push_back({0, received});
    ::eventfd_write(socket_, 1);
  }
  void fail_read(int error) {
    const std::lock_guard<std::mutex> lock(mutex_);
    readings_.push_back({error, {}});
    ::eventfd_write(socket_, 1);
  }
  void fail_writes(std::initializer_list<int> errors) {
    const std::lock_guard<std::mutex> lock(mutex_);
    write_errors_.insert(write_errors_.end(), errors);
  }
  void fail_all_writes(int error) {
    const std::lock_guard<std::mutex> lock(mutex_);
    every_write_error_ = error;
  }
  void set_link(LinkState link) {
    const std::lock_guard<std::mutex> lock(mutex_);
    link_ = link;
  }
  void fail_open(int error) { open_error_ = error; }

  // What the test asks:
  std::vector<Frame> written() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return written_;
  }
  int reads() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return reads_;
  }
  int writes() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return writes_;
  }
  int binds() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return binds_;
  }

  static constexpr std::chrono::system_clock::time_point kArrival{std::chrono::seconds(1436509052)};

  // What the port calls:
  int open() override {
    if (open_error_ != 0) return -open_error_;
    const std::lock_guard<std::mutex> lock(mutex_);
    return socket_ = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC | EFD_SEMAPHORE);
  }
  int bind(int, const std::string&, const std::vector<nkr::can::Filter>&) override {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++binds_;
    return 0;
  }
  int read(int socket, nkr::can::ReceivedFrame& received) override {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++reads_;
    if (readings_.empty()) return EAGAIN;
    eventfd_t one = 0;
    ::eventfd_read(socket, &one);
    const auto reading = readings_.front();
    readings_.pop_front();
    if (reading.first == 0) received = reading.second;
    return reading.first;
  }
  int write(int, const Frame& frame) override {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++writes_;
    if (every_write_error_ != 0) return every_write_error_;
    if (!write_errors_.empty()) {
      const int error = write_errors_.front();
      write_errors_.pop_front();
      if (error != 0) return error;
    }
    written_.push_back(frame);
    return 0;
  }
  LinkState link(const std::string&) override {
    const std::lock_guard<std::mutex> lock(mutex_);
    return link_;
  }
  void close(int descriptor) override {
    if (descriptor >= 0) ::close(descriptor);
  }

 private:
  std::mutex mutex_;
  std::deque<std::pair<int, nkr::can::ReceivedFrame>> readings_;
  std::deque<int> write_errors_;
  std::vector<Frame> written_;
  LinkState link_ = LinkState::UP;
  int socket_ = -1;
  int open_error_ = 0;
  int every_write_error_ = 0;
  int reads_ = 0;
  int writes_ = 0;
  int binds_ = 0;
};

}  // namespace nkr::can::test

#endif
