#ifndef TESTS_CAN_UNIX_UNIXBUSFIXTURE_HPP
#define TESTS_CAN_UNIX_UNIXBUSFIXTURE_HPP

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <nkr/can/open_bus.hpp>
#include <string>

#include "can/ports.hpp"

namespace nkr::can::test {

/** A process of its own that runs `body` and is killed at the latest when the test ends. */
class Process {
 public:
  explicit Process(const std::function<void()>& body) : id_(::fork()) {
    if (id_ != 0) return;
    body();
    ::_exit(0);
  }
  ~Process() { kill(); }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  void stop() { ::kill(id_, SIGSTOP); }
  void kill() {
    if (id_ <= 0) return;
    ::kill(id_, SIGKILL);
    ::waitpid(id_, nullptr, 0);
    id_ = -1;
  }

 private:
  pid_t id_;
};

/** A folder of its own with the path of a bus in it. */
class UnixBusFixture : public testing::Test {
 protected:
  void SetUp() override {
    char folder[] = "/tmp/tav-bus-XXXXXX";
    ASSERT_NE(::mkdtemp(folder), nullptr);
    folder_ = folder;
    path = folder_ + "/bus";
    name = "unix:" + path;
  }
  void TearDown() override {
    std::remove(path.c_str());
    std::remove((path + ".lock").c_str());
    std::remove(folder_.c_str());
  }

  [[nodiscard]] std::shared_ptr<Bus> open_bus() const { return open_bus(name); }
  static std::shared_ptr<Bus> open_bus(const std::string& bus_name) {
    nkr_error_t result = NKR_ERROR;
    std::string explanation;
    auto bus = nkr::can::open_bus(bus_name, result, explanation);
    EXPECT_EQ(result, NKR_OK) << explanation;
    return bus;
  }
  static void expect_receives(Port& port, const Frame& expected) {
    Frame frame;
    ASSERT_EQ(port.receive(frame, soon()), NKR_OK);
    EXPECT_EQ(frame, expected);
  }
  std::string path;
  std::string name;

 private:
  std::string folder_;
};

}  // namespace nkr::can::test

#endif
