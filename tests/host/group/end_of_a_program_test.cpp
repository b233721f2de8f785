// A program that moves a group, and ends or hangs: the drives stop, and together.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <nkr/can/open_bus.hpp>
#include <thread>

#include "host/DriveBeside.hpp"
#include "host/group/GroupOnBus.hpp"

namespace tests::host {
namespace {

using tav::host::Group;

constexpr int kVelocity = 300;

/** A program of its own that moves two drives on a bus between processes; forked before this process has
 * threads. */
class Program {
 public:
  explicit Program(const std::function<void(Group&)>& body) {
    bus_ =
        "unix:/tmp/tav-group-test-" + std::to_string(::getpid()) + '-' + std::to_string(++count_) + ".sock";
    EXPECT_EQ(::pipe(go_), 0);
    pid_ = ::fork();
    if (pid_ == 0) run(body);
    drives_ = std::make_unique<DrivesOnBus>(2, bus_);  // who opens the bus first carries it
    EXPECT_EQ(::write(go_[1], "!", 1), 1);
  }
  ~Program() {
    if (pid_ > 0) ::kill(pid_, SIGKILL);
    wait();
    ::close(go_[0]);
    ::close(go_[1]);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void send(int signal) const { ::kill(pid_, signal); }
  void wait() {
    if (pid_ > 0) ::waitpid(pid_, nullptr, 0);
    pid_ = -1;
  }
  DrivesOnBus& drives() { return *drives_; }
  [[nodiscard]] bool turns() {
    return becomes([&] { return drives_->velocity(0) == kVelocity && drives_->velocity(1) == kVelocity; });
  }
  [[nodiscard]] bool stands() {
    return becomes([&] { return drives_->all_stand(); });
  }

 private:
  [[noreturn]] void run(const std::function<void(Group&)>& body) {
    char byte = 0;
    if (::read(go_[0], &byte, 1) != 1) ::_exit(3);
    nkr_error_t result = NKR_OK;
    std::string problem;
    const std::shared_ptr<nkr::can::Bus> bus = nkr::can::open_bus(bus_, result, problem);
    const auto units = open_units(bus, 2);
    tav::host::GroupSettings settings = patient_settings();
    settings.heartbeat_timeout = std::chrono::seconds(3);
    Group group(pointers(units), settings);
    if (!group.prepare().ok() || !group.start().ok() || !group.enable().ok()) ::_exit(2);
    if (!group.set({kVelocity, kVelocity}).ok()) ::_exit(2);
    body(group);
    ::_exit(0);
  }

  static inline int count_ = 0;
  std::string bus_;
  int go_[2] = {-1, -1};
  pid_t pid_ = -1;
  std::unique_ptr<DrivesOnBus> drives_;
};

void keep_setting(Group& group) {
  while (group.set({kVelocity, kVelocity}).ok()) std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

/** When a drive told last that its state was another one: by its process data or its emergency. */
std::chrono::steady_clock::time_point emergency_of(const DrivesOnBus& drives, std::uint32_t node) {
  const auto told = drives.with_id(0x080 + node);
  return told.empty() ? std::chrono::steady_clock::time_point{} : told.front().at;
}

TEST(AProgramThatIsKilled, IsMissedByAllDrives) {
  Program program(keep_setting);
  ASSERT_TRUE(program.turns());
  program.drives().forget();
  program.send(SIGKILL);
  program.wait();
  EXPECT_TRUE(program.stands());
  for (const std::uint32_t node : {11U, 12U}) {
    const auto told = program.drives().with_id(0x080 + node);
    ASSERT_FALSE(told.empty()) << "node " << node;
    EXPECT_EQ(told.front().frame.data[0], 0x30) << "8130h: heartbeat";
    EXPECT_EQ(told.front().frame.data[1], 0x81);
  }
  // One heartbeat was the last one for both.
  const auto apart = emergency_of(program.drives(), 12) - emergency_of(program.drives(), 11);
  EXPECT_LT(std::chrono::abs(apart), std::chrono::seconds(2));
}

TEST(AProgramThatHangs, IsMissedByAllDrivesAndMovesNothingWhenItGoesOn) {
  Program program([](Group& group) {
    while (true) {
      static_cast<void>(group.set({kVelocity, kVelocity}));
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  });
  ASSERT_TRUE(program.turns());
  program.send(SIGSTOP);
  EXPECT_TRUE(program.stands());
  program.drives().forget();
  program.send(SIGCONT);
  ASSERT_TRUE(becomes([&] { return program.drives().with_id(0x080).size() > 50; })) << "its cycle goes on";
  EXPECT_TRUE(program.drives().all_stand());
  for (std::size_t i = 0; i < 2; ++i) EXPECT_EQ(program.drives().value(i, "statusword") & 0x04, 0);
}

TEST(AProgramThatCallsExit, StopsItsGroupInOrder) {
  Program program([](Group& group) {
    static_cast<void>(becomes([&] {
      static_cast<void>(group.set({kVelocity, kVelocity}));
      return group.snapshot().units.at(0).last->velocity == kVelocity;
    }));
    std::exit(7);  // the group is not destroyed
  });
  program.wait();
  EXPECT_TRUE(program.drives().all_stand());
  EXPECT_EQ(program.drives().read(0, 0x10160120), 0U) << "in order: no drive misses the host";
  EXPECT_TRUE(program.drives().with_id(0x08B).empty());
}

}  // namespace
}  // namespace tests::host
