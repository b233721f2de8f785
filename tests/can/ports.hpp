#ifndef TESTS_CAN_PORTS_HPP
#define TESTS_CAN_PORTS_HPP

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <thread>
#include <vector>

namespace nkr::can::test {

constexpr nkr::can::Clock::time_point kNow{};
constexpr nkr::can::Clock::time_point kForever = nkr::can::Clock::time_point::max();

/** A deadline for what will happen, however busy the machine is. */
inline nkr::can::Clock::time_point soon() {
  return nkr::can::Clock::now() + std::chrono::seconds(20);
}

inline std::unique_ptr<nkr::can::Port> open_port(nkr::can::Bus& bus,
                                                 const std::vector<nkr::can::Filter>& filters = {}) {
  nkr_error_t result = NKR_ERROR;
  auto port = bus.open(filters, result);
  EXPECT_EQ(result, NKR_OK);
  return port;
}

/** Waits with two threads in receive, closes, and expects that both are told. */
inline void expect_close_wakes_every_receiver(nkr::can::Port& port) {
  std::atomic<int> closed{0};
  const auto wait = [&] {
    nkr::can::Frame frame;
    if (port.receive(frame, kForever) == NKR_CAN_CLOSED) ++closed;
  };
  std::thread first(wait);
  std::thread second(wait);
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  port.close();
  first.join();
  second.join();
  EXPECT_EQ(closed, 2);
  nkr::can::Frame frame;
  EXPECT_EQ(port.receive(frame, kNow), NKR_CAN_CLOSED);
  EXPECT_EQ(port.send(frame, kNow), NKR_CAN_CLOSED);
}

}  // namespace nkr::can::test

#endif
