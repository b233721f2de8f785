// Those beside whom a unix bus lives on a machine: other users, other programs, people who delete files.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <fstream>
#include <future>
#include <thread>
#include <unix/SocketFile.hpp>

#include "can/unix/UnixBusFixture.hpp"

namespace nkr::can::test {
namespace {

using namespace std::chrono_literals;

class UnixNeighboursTest : public UnixBusFixture {
 protected:
  static mode_t mode_of(const std::string& file) {
    struct stat found {};
    EXPECT_EQ(::lstat(file.c_str(), &found), 0) << file;
    return found.st_mode & 0777U;
  }
  /** Somebody who has the lock file open and locked. */
  int take_lock() const {
    const int file = ::open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_EQ(::flock(file, LOCK_EX), 0);
    return file;
  }
  static bool hears(Port& port, Port& sender, std::uint32_t id) {
    Frame frame;
    if (sender.send({id, {}}, Clock::now() + 1s) != NKR_OK) return false;
    while (port.receive(frame, Clock::now() + 100ms) == NKR_OK) {
      if (frame.id == id) return true;
    }
    return false;
  }
  static bool comes_to_hear(Port& port, Port& sender, std::uint32_t id) {
    const auto deadline = soon();
    while (Clock::now() < deadline) {
      if (hears(port, sender, id)) return true;
    }
    return false;
  }

  Frame frame;
};

TEST_F(UnixNeighboursTest, ALockThatSomebodyHoldsDoesNotStopTheBus) {
  const auto listening = open_bus();
  const auto a = open_port(*listening);
  const int lock = take_lock();
  const auto other = open_bus();
  const auto b = open_port(*other);
  EXPECT_TRUE(comes_to_hear(*b, *a, 1));
  ::close(lock);
}

TEST_F(UnixNeighboursTest, ALockThatSomebodyHoldsEndsOpeningInTime) {
  const int lock = take_lock();
  auto opening = std::async(std::launch::async, [this] {
    nkr_error_t result = NKR_OK;
    std::string explanation;
    EXPECT_EQ(nkr::can::open_bus(name, result, explanation), nullptr);
    EXPECT_NE(explanation.find(path + ".lock"), std::string::npos) << explanation;
    return result;
  });
  ASSERT_EQ(opening.wait_for(20s), std::future_status::ready);
  EXPECT_EQ(opening.get(), NKR_CAN_INTERFACE_GONE);
  ::close(lock);
}

TEST_F(UnixNeighboursTest, ALockThatSomebodyHoldsLeavesSendAndReceiveTheirDeadlines) {
  auto listening = open_bus();
  const auto other = open_bus();
  const auto port = open_port(*other);
  const int lock = take_lock();
  listening.reset();
  EXPECT_EQ(port->receive(frame, soon()), NKR_CAN_INTERFACE_GONE);
  auto calling = std::async(std::launch::async, [&] {
    EXPECT_EQ(port->receive(frame, Clock::now() + 50ms), NKR_CAN_TIMED_OUT);
    EXPECT_EQ(port->send({1, {}}, Clock::now() + 50ms), NKR_CAN_INTERFACE_GONE);
    EXPECT_EQ(port->receive(frame, kNow), NKR_CAN_TIMED_OUT);
    EXPECT_EQ(port->send({1, {}}, kNow), NKR_CAN_INTERFACE_GONE);
  });
  EXPECT_EQ(calling.wait_for(20s), std::future_status::ready);
  ::close(lock);
  EXPECT_EQ(port->send({1, {}}, soon()), NKR_OK) << "free again, it becomes the listener";
}

TEST_F(UnixNeighboursTest, AForkedChildDoesNotKeepTheLock) {
  const SocketFile file(path);
  std::unique_ptr<Process> child;
  {
    const SocketFile::Lock lock(file);
    ASSERT_EQ(lock.error(), 0);
    child = std::make_unique<Process>([] { ::pause(); });
  }
  const SocketFile::Lock again(file);
  EXPECT_EQ(again.error(), 0);
}

TEST_F(UnixNeighboursTest, AForkedChildOfAKilledListenerKeepsNobodyFromTheBus) {
  int told[2] = {-1, -1};
  ASSERT_EQ(::pipe(told), 0);
  Process listening([&] {
    const auto bus = open_bus();
    const auto port = open_port(*bus);
    const pid_t child = ::fork();
    if (child == 0) {
      const auto alone = ::alarm(300);  // without anybody who ends it
      static_cast<void>(alone);
      ::pause();
      ::_exit(0);
    }
    static_cast<void>(!::write(told[1], &child, sizeof child));
    ::pause();
  });
  pid_t child = -1;
  ASSERT_EQ(::read(told[0], &child, sizeof child), static_cast<ssize_t>(sizeof child));
  const auto before = open_bus();
  const auto member = open_port(*before);
  listening.kill();
  EXPECT_EQ(member->receive(frame, soon()), NKR_CAN_INTERFACE_GONE);
  const auto after = open_bus();
  const auto newcomer = open_port(*after);
  EXPECT_TRUE(comes_to_hear(*newcomer, *member, 1));
  ::kill(child, SIGKILL);
  ::close(told[0]);
  ::close(told[1]);
}

TEST_F(UnixNeighboursTest, AForkedChildThatUsesAPortHasAConnectionOfItsOwn) {
  const auto bus = open_bus();
  const auto a = open_port(*bus);
  const auto b = open_port(*bus);
  const Process child([&] {
    Frame got;
    while (b->send({0x123, {}}, soon()) != NKR_OK) {
    }
    while (b->receive(got, soon()) != NKR_OK) {
    }
    ::_exit(0);
  });
  expect_receives(*a, {0x123, {}});
  expect_receives(*b, {0x123, {}});
  EXPECT_EQ(a->send({0x124, {}}, soon()), NKR_OK);
  expect_receives(*b, {0x124, {}});
}

TEST_F(UnixNeighboursTest, AListenerThatDoesNotAnswerIsLeftForOneThatDoes) {
  auto listening = open_bus();
  const auto bus = open_bus();
  const auto member = open_port(*bus);
  listening.reset();
  const int deaf = ::socket(AF_UNIX, SOCK_SEQPACKET, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::copy(path.begin(), path.end(), address.sun_path);
  ASSERT_EQ(::bind(deaf, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(::listen(deaf, 8), 0);
  EXPECT_EQ(member->receive(frame, soon()), NKR_CAN_INTERFACE_GONE);
  EXPECT_EQ(member->receive(frame, Clock::now() + 50ms), NKR_CAN_TIMED_OUT) << "it waits for its welcome";
  ASSERT_EQ(::unlink(path.c_str()), 0);
  const auto other = open_bus();
  const auto newcomer = open_port(*other);
  EXPECT_TRUE(comes_to_hear(*newcomer, *member, 1));
  ::close(deaf);
}

TEST_F(UnixNeighboursTest, SocketAndLockAreForTheOwnerAlone) {
  const mode_t mask = ::umask(0);
  const auto bus = open_bus();
  ::umask(mask);
  EXPECT_EQ(mode_of(path), 0600U);
  EXPECT_EQ(mode_of(path + ".lock"), 0600U);
}

TEST_F(UnixNeighboursTest, AModeInTheNameSharesBoth) {
  const mode_t mask = ::umask(0077);
  const auto bus = open_bus(name + "?mode=0660");
  ::umask(mask);
  ASSERT_NE(bus, nullptr);
  EXPECT_EQ(bus->name(), name + "?mode=0660");
  EXPECT_EQ(mode_of(path), 0660U);
  EXPECT_EQ(mode_of(path + ".lock"), 0660U);
  const auto without = open_bus();
  EXPECT_TRUE(comes_to_hear(*open_port(*without), *open_port(*bus), 5)) << "the mode is the listener's";
}

TEST_F(UnixNeighboursTest, WhatIsNoModeIsSaid) {
  for (const char* mode : {"", "rw", "888", "06600", "1777"}) {
    nkr_error_t result = NKR_OK;
    std::string explanation;
    EXPECT_EQ(nkr::can::open_bus(name + "?mode=" + mode, result, explanation), nullptr) << mode;
    EXPECT_EQ(result, NKR_CAN_NO_INTERFACE);
    EXPECT_NE(explanation.find("octal"), std::string::npos) << explanation;
  }
}

/** What another user's process says; only root can be another user. */
class OtherUserTest : public UnixNeighboursTest {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "needs the right to become another user";
    UnixNeighboursTest::SetUp();
    ::chmod(path.substr(0, path.rfind('/')).c_str(), 0777);
  }
  static int as_nobody(const std::function<int()>& body) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(::setuid(65534) == 0 ? body() : 99);
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 98;
  }
};

TEST_F(OtherUserTest, IsRefused) {
  const auto bus = open_bus();
  EXPECT_EQ(as_nobody([this] {
              nkr_error_t result = NKR_OK;
              std::string explanation;
              const auto theirs = nkr::can::open_bus(name, result, explanation);
              return theirs == nullptr && result == NKR_CAN_PERMISSION &&
                             explanation.find("?mode=0660") != std::string::npos
                         ? 0
                         : 1;
            }),
            0);
}

TEST_F(OtherUserTest, IsRefusedAlsoWhereTheFileLetsItIn) {
  const auto bus = open_bus();
  ASSERT_EQ(::chmod(path.c_str(), 0777), 0);
  EXPECT_EQ(as_nobody([this] {
              const int stranger = ::socket(AF_UNIX, SOCK_SEQPACKET, 0);
              sockaddr_un address{};
              address.sun_family = AF_UNIX;
              std::copy(path.begin(), path.end(), address.sun_path);
              if (::connect(stranger, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
                return 1;
              char bytes[64] = {};
              return ::recv(stranger, bytes, sizeof bytes, 0) == 0 ? 0 : 2;
            }),
            0);
}

TEST_F(OtherUserTest, IsLetInByTheMode) {
  const auto bus = open_bus(name + "?mode=0666");
  EXPECT_EQ(as_nobody([this] {
              nkr_error_t result = NKR_OK;
              std::string explanation;
              return nkr::can::open_bus(name + "?mode=0666", result, explanation) != nullptr ? 0 : 1;
            }),
            0);
}

TEST_F(UnixNeighboursTest, ADeletedSocketFileIsMadeAnew) {
  const auto bus = open_bus();
  const auto a = open_port(*bus);
  ASSERT_EQ(::unlink(path.c_str()), 0);
  const auto deadline = soon();
  while (::access(path.c_str(), F_OK) != 0 && Clock::now() < deadline) std::this_thread::sleep_for(10ms);
  const auto other = open_bus();
  const auto b = open_port(*other);
  EXPECT_TRUE(comes_to_hear(*b, *a, 1));
  EXPECT_EQ(a->receive(frame, kNow), NKR_CAN_TIMED_OUT) << "nothing was lost";
}

TEST_F(UnixNeighboursTest, WhoOpensBesideADeletedSocketFileMeetsTheOthers) {
  const auto bus = open_bus();
  const auto a = open_port(*bus);
  ASSERT_EQ(::unlink(path.c_str()), 0);
  const auto other = open_bus();
  const auto b = open_port(*other);
  EXPECT_TRUE(comes_to_hear(*b, *a, 1));
  EXPECT_TRUE(comes_to_hear(*a, *b, 2));
}

TEST_F(UnixNeighboursTest, AListenerWhoseFileIsNoSocketAnyMoreEndsAndSaysSo) {
  const auto bus = open_bus();
  const auto a = open_port(*bus);
  ASSERT_EQ(::unlink(path.c_str()), 0);
  std::ofstream(path) << "somebody's notes";
  EXPECT_EQ(a->receive(frame, soon()), NKR_CAN_INTERFACE_GONE);
}

}  // namespace
}  // namespace nkr::can::test
