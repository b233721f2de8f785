// What moves, stops: whatever way the program that moves it ends.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <tav/host/Interrupt.hpp>
#include <tav/host/Unit.hpp>
#include <tav/host/text.hpp>
#include <thread>

#include "host/DriveBeside.hpp"

namespace tests::host {
namespace {

using tav::host::Result;
using tav::host::Unit;

constexpr unsigned kOperationEnabled = 0x27;

void turn(Unit& unit) {
  ASSERT_TRUE(unit.enable().ok());
  ASSERT_TRUE(unit.set_velocity(300).ok());
}

TEST(TheEndOfAUnit, StopsTheDriveByItsDestructor) {
  DriveBeside beside;
  Result result;
  auto unit = Unit::open(beside.settings(), result);
  turn(*unit);
  ASSERT_TRUE(becomes([&] { return beside.velocity() > 50; }));
  unit.reset();
  EXPECT_EQ(beside.velocity(), 0);
  EXPECT_NE(beside.state_bits(), kOperationEnabled);
}

TEST(TheEndOfAUnit, StopsTheDriveWhenAnExceptionUnwinds) {
  DriveBeside beside;
  try {
    Result result;
    const auto unit = Unit::open(beside.settings(), result);
    turn(*unit);
    throw std::runtime_error("of the program");
  } catch (const std::runtime_error&) {
    EXPECT_EQ(beside.velocity(), 0);
    EXPECT_NE(beside.state_bits(), kOperationEnabled);
  }
}

/** A program of its own that turns the drive on a unix: bus; forked before this process has threads. */
class Program {
 public:
  explicit Program(const std::function<void(Unit&, tav::host::Interrupt&)>& body) {
    bus_ = "unix:/tmp/tav-host-test-" + std::to_string(::getpid()) + '-' + std::to_string(++count_) + ".sock";
    EXPECT_EQ(::pipe(go_), 0);
    pid_ = ::fork();
    if (pid_ == 0) run(body);
    beside_ = std::make_unique<DriveBeside>(bus_);
    EXPECT_EQ(::write(go_[1], "!", 1), 1);
  }
  ~Program() {
    if (pid_ > 0) ::kill(pid_, SIGKILL);
    wait();
    ::close(go_[0]);
    ::close(go_[1]);
  }
  void send(int signal) const { ::kill(pid_, signal); }
  int wait() {
    int status = -1;
    if (pid_ > 0) ::waitpid(pid_, &status, 0);
    pid_ = -1;
    return status;
  }
  DriveBeside& beside() { return *beside_; }

 private:
  [[noreturn]] void run(const std::function<void(Unit&, tav::host::Interrupt&)>& body) {
    char byte = 0;
    if (::read(go_[0], &byte, 1) != 1) ::_exit(3);
    tav::host::SignalInterrupt interrupt;
    tav::host::UnitSettings settings;
    settings.configuration = "share/tav/tav.ini";
    settings.bus = bus_;
    settings.interrupt = &interrupt;
    Result result;
    const auto unit = Unit::open(settings, result);
    if (result.ok()) result = unit->enable();
    if (result.ok()) result = unit->set_velocity(300);
    if (!result.ok()) ::_exit(2);
    body(*unit, interrupt);
    ::_exit(0);
  }

  static inline int count_ = 0;
  std::string bus_;
  int go_[2] = {-1, -1};
  pid_t pid_ = -1;
  std::unique_ptr<DriveBeside> beside_;
};

bool turns(DriveBeside& beside) {
  return becomes([&] { return beside.velocity() > 100; });
}

TEST(TheEndOfAProgram, StopsTheDriveByExit) {
  Program program([](Unit& unit, tav::host::Interrupt&) {
    static_cast<void>(unit.follow(std::chrono::milliseconds(300)));
    std::exit(7);  // the unit is not destroyed
  });
  const int status = program.wait();
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 7);
  EXPECT_EQ(program.beside().velocity(), 0);
  EXPECT_NE(program.beside().state_bits(), kOperationEnabled);
  EXPECT_EQ(program.beside().consumer_heartbeat(), 0U) << "in order: no fault is left";
}

TEST(TheEndOfAProgram, StopsTheDriveByExitOnAnotherThread) {
  Program program([](Unit& unit, tav::host::Interrupt&) {
    std::thread ending([] {
      std::this_thread::sleep_for(std::chrono::milliseconds(300));
      std::exit(7);
    });
    const Result followed = unit.follow(std::chrono::hours(1));
    // Not before the drive stands: this ends the process at once.
    if (followed.code() == NKR_INTERRUPTED) ::_exit(7);
    ::_exit(1);
  });
  const int status = program.wait();
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 7);
  EXPECT_EQ(program.beside().velocity(), 0);
  EXPECT_NE(program.beside().state_bits(), kOperationEnabled);
  EXPECT_EQ(program.beside().consumer_heartbeat(), 0U) << "in order: no fault is left";
}

TEST(TheEndOfAProgram, StopsTheDriveByExitOnAnotherThreadWhateverThisOneIsAt) {
  Program program([](Unit& unit, tav::host::Interrupt&) {
    std::thread ending([] { std::exit(7); });
    for (int i = 0; i < 1000; ++i) {
      if (!unit.disable().ok() || !unit.enable().ok() || !unit.set_velocity(300).ok()) break;
    }
    ending.join();
  });
  const int status = program.wait();
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 7);
  EXPECT_EQ(program.beside().velocity(), 0);
  EXPECT_NE(program.beside().state_bits(), kOperationEnabled);
}

TEST(TheEndOfAProgram, StopsTheDriveByASignalThatItHandles) {
  Program program([](Unit& unit, tav::host::Interrupt&) {
    const Result followed = unit.follow(std::chrono::hours(1));
    ::_exit(followed.code() == NKR_INTERRUPTED && unit.disable().ok() ? 8 : 1);
  });
  ASSERT_TRUE(turns(program.beside()));
  program.send(SIGTERM);
  const int status = program.wait();
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 8);
  EXPECT_EQ(program.beside().velocity(), 0);
}

TEST(TheEndOfAProgram, IsNoticedByTheDriveWhenItWasKilled) {
  Program program(
      [](Unit& unit, tav::host::Interrupt&) { static_cast<void>(unit.follow(std::chrono::hours(1))); });
  ASSERT_TRUE(turns(program.beside()));
  program.send(SIGKILL);
  program.wait();
  EXPECT_TRUE(becomes([&] { return program.beside().velocity() == 0; }));
  EXPECT_NE(program.beside().state_bits(), kOperationEnabled);
}

TEST(TheEndOfAProgram, IsNoticedByTheDriveWhenItHangs) {
  Program program(
      [](Unit& unit, tav::host::Interrupt&) { static_cast<void>(unit.follow(std::chrono::hours(1))); });
  ASSERT_TRUE(turns(program.beside()));
  program.send(SIGSTOP);
  EXPECT_TRUE(becomes([&] { return program.beside().velocity() == 0; }));
}

TEST(TheEndOfAProgram, OfAForkedChildStopsNothing) {
  Program program([](Unit& unit, tav::host::Interrupt&) {
    const pid_t child = ::fork();
    if (child == 0) std::exit(0);
    int status = 0;
    ::waitpid(child, &status, 0);
    static_cast<void>(unit.follow(std::chrono::hours(1)));
  });
  EXPECT_TRUE(becomes([&] { return program.beside().velocity() > 250; }));
}

}  // namespace
}  // namespace tests::host
