// What people see: on a real (pseudo) terminal, and where there is none.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "tavctl/Tool.hpp"

namespace {

using tool::DriveOnBus;
using Clock = std::chrono::steady_clock;

/** tavctl on a terminal of its own: what it sends there, and a screen that understands what it draws with. */
class OnTerminal {
 public:
  OnTerminal(const std::vector<std::string>& arguments, unsigned short columns, const char* kind = "xterm")
      : columns_(columns) {
    master_ = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (master_ < 0 || ::grantpt(master_) != 0 || ::unlockpt(master_) != 0) return;
    resize(columns);
    const std::string name = ::ptsname(master_);
    std::vector<std::string> words = arguments;
    words.insert(words.begin(), TAVCTL_PROGRAM);
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    pid_ = ::fork();
    if (pid_ != 0) return;
    ::setsid();
    const int slave = ::open(name.c_str(), O_RDWR);
    ::ioctl(slave, TIOCSCTTY, 0);
    for (const int standard : {0, 1, 2}) ::dup2(slave, standard);
    ::setenv("TERM", kind, 1);
    ::unsetenv("COLUMNS");
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  ~OnTerminal() {
    if (pid_ > 0) ::kill(pid_, SIGKILL);
    if (pid_ > 0) ::waitpid(pid_, nullptr, 0);
    ::close(master_);
  }
  OnTerminal(const OnTerminal&) = delete;
  OnTerminal& operator=(const OnTerminal&) = delete;

  void resize(unsigned short columns) {
    const winsize size = {24, columns, 0, 0};
    ::ioctl(master_, TIOCSWINSZ, &size);
    columns_ = columns;
  }
  void type(const std::string& keys) const {
    ASSERT_EQ(::write(master_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
  }

  /** Reads what comes until that holds; a hundred seconds at most. */
  bool until(const std::function<bool()>& condition) {
    const auto deadline = Clock::now() + std::chrono::seconds(100);
    while (!condition() && Clock::now() < deadline) {
      if (!read_some()) return condition();
    }
    return condition();
  }
  bool until_seen(const std::string& text) {
    return until([&] { return raw_.find(text) != std::string::npos; });
  }
  /** The exit code; minus the signal that ended it. */
  int wait() {
    until([] { return false; });
    int status = 0;
    if (::waitpid(pid_, &status, 0) != pid_) return -1000;
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  [[nodiscard]] const std::string& raw() const { return raw_; }
  void forget() { raw_.clear(); }

  /** What stands on the screen in the end: the lines, as the terminal drew them. */
  [[nodiscard]] std::vector<std::string> screen() const {
    std::vector<std::string> lines(1);
    std::size_t row = 0;
    std::size_t column = 0;
    for (std::size_t i = 0; i < raw_.size(); ++i) {
      const char sign = raw_[i];
      if (sign == '\r') {
        column = 0;
      } else if (sign == '\n') {
        if (++row == lines.size()) lines.emplace_back();
      } else if (sign == '\033' && i + 1 < raw_.size() && raw_[i + 1] == '[') {
        std::size_t end = i + 2;
        while (end < raw_.size() && raw_[end] >= '0' && raw_[end] <= '9') ++end;
        const std::size_t count = end > i + 2 ? std::stoul(raw_.substr(i + 2, end - i - 2)) : 0;
        if (raw_[end] == 'A') row -= std::min(row, count);
        if (raw_[end] == 'K') lines[row].resize(std::min(lines[row].size(), column));
        if (raw_[end] == 'J') {
          lines[row].resize(std::min(lines[row].size(), column));
          lines.resize(row + 1);
        }
        i = end;
      } else {
        lines[row].resize(std::max(lines[row].size(), column + 1), ' ');
        lines[row][column++] = sign;
      }
    }
    return lines;
  }

 private:
  bool read_some() {
    pollfd readable = {master_, POLLIN, 0};
    if (::poll(&readable, 1, 1000) == 0) return true;
    char buffer[4096];
    const ssize_t got = ::read(master_, buffer, sizeof buffer);
    if (got <= 0) return false;
    raw_.append(buffer, static_cast<std::size_t>(got));
    return true;
  }

  int master_ = -1;
  pid_t pid_ = -1;
  unsigned short columns_;
  std::string raw_;
};

std::size_t longest(const std::vector<std::string>& lines) {
  std::size_t most = 0;
  for (const std::string& line : lines) most = std::max(most, line.size());
  return most;
}

bool has_line(const std::vector<std::string>& lines, const std::string& wanted) {
  return std::find(lines.begin(), lines.end(), wanted) != lines.end();
}

std::string text_of(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + '\n';
  return text;
}

class OfWidth : public testing::TestWithParam<unsigned short> {};
INSTANTIATE_TEST_SUITE_P(Columns, OfWidth, testing::Values<unsigned short>(80, 120));

TEST_P(OfWidth, WatchDrawsInPlace) {
  const DriveOnBus drive;
  OnTerminal terminal({"--bus", drive.bus_name(), "watch", "--count", "4", "--interval", "0.1"}, GetParam());
  EXPECT_EQ(terminal.wait(), 0) << terminal.raw();
  // What stands there after four readings is one block, as drawn once.
  EXPECT_EQ(terminal.screen(),
            (std::vector<std::string>{"NMT state               pre-operational",
                                      "State                   SWITCH_ON_DISABLED",
                                      "Target velocity         0 rpm", "Velocity demand         0 rpm",
                                      "Velocity                0 rpm", "Position                0 inc",
                                      "Error register          no error", "Errors                  0", ""}))
      << text_of(terminal.screen());
}

TEST_P(OfWidth, VelocityHasALiveLineThatGoesAway) {
  const DriveOnBus drive;
  OnTerminal terminal({"--bus", drive.bus_name(), "velocity", "60", "--for", "1"}, GetParam());
  EXPECT_TRUE(terminal.until_seen("OPERATION_ENABLED")) << terminal.raw();
  EXPECT_EQ(terminal.wait(), 0) << terminal.raw();
  const auto screen = terminal.screen();
  EXPECT_TRUE(has_line(screen, "Target velocity         60 rpm")) << text_of(screen);
  EXPECT_EQ(text_of(screen).find("OPERATION_ENABLED"), std::string::npos) << text_of(screen);
}

TEST_P(OfWidth, PlotFitsTheTerminal) {
  const DriveOnBus drive;
  OnTerminal terminal({"--bus", drive.bus_name(), "velocity", "60", "--for", "1", "--plot"}, GetParam());
  EXPECT_EQ(terminal.wait(), 0) << terminal.raw();
  const auto screen = terminal.screen();
  EXPECT_LE(longest(screen), GetParam()) << text_of(screen);
  EXPECT_GT(longest(screen), GetParam() - 20U) << text_of(screen);
}

TEST(OnATerminal, WatchFollowsItsSize) {
  const DriveOnBus drive;
  OnTerminal terminal({"--bus", drive.bus_name(), "watch", "--interval", "0.05"}, 80);
  ASSERT_TRUE(terminal.until_seen("SWITCH_ON_DISABLED")) << terminal.raw();
  terminal.resize(30);
  terminal.forget();
  EXPECT_TRUE(terminal.until_seen("SWITC\033[K")) << "cut at 29 columns; " << terminal.raw();
  terminal.resize(80);
  EXPECT_TRUE(terminal.until_seen("SWITCH_ON_DISABLED\033[K")) << terminal.raw();
  terminal.type("\x03");
  EXPECT_EQ(terminal.wait(), 0) << "watch is what ends so";
}

TEST(OnATerminal, CtrlCStopsTheMotor) {
  DriveOnBus drive;
  OnTerminal terminal({"--bus", drive.bus_name(), "velocity", "60"}, 80);
  ASSERT_TRUE(terminal.until_seen("actual     60")) << terminal.raw();
  terminal.type("\x03");
  EXPECT_EQ(terminal.wait(), 130) << terminal.raw();
  EXPECT_NE(drive.tavctl({"state"}).out.find("SWITCH_ON_DISABLED"), std::string::npos);
}

TEST(OnATerminal, CtrlZStopsTheMotorToo) {
  DriveOnBus drive;
  OnTerminal terminal({"--bus", drive.bus_name(), "velocity", "60"}, 80);
  ASSERT_TRUE(terminal.until_seen("actual     60")) << terminal.raw();
  terminal.type("\x1A");
  EXPECT_EQ(terminal.wait(), 130) << terminal.raw();
  EXPECT_NE(drive.tavctl({"state"}).out.find("SWITCH_ON_DISABLED"), std::string::npos);
}

TEST(OnATerminal, RestoreAsks) {
  DriveOnBus drive;
  OnTerminal terminal({"--bus", drive.bus_name(), "restore", "--discard"}, 80);
  ASSERT_TRUE(terminal.until_seen("[y/N]")) << terminal.raw();
  terminal.type("n\n");
  EXPECT_EQ(terminal.wait(), 6) << terminal.raw();
  EXPECT_NE(terminal.raw().find("nothing was restored"), std::string::npos) << terminal.raw();
  EXPECT_EQ(drive.downloads(), 0);
}

TEST(OnATerminal, LongWorkShowsHowFarItIs) {
  const DriveOnBus drive;
  OnTerminal terminal({"--bus", drive.bus_name(), "comm-test", "--count", "100", "--interval", "10"}, 80);
  EXPECT_TRUE(terminal.until_seen(" of 100, ")) << terminal.raw();
  EXPECT_EQ(terminal.wait(), 0);
  EXPECT_EQ(text_of(terminal.screen()).find(" of 100"), std::string::npos) << text_of(terminal.screen());
}

TEST(OnADumbTerminal, NothingIsDrawnInPlace) {
  const DriveOnBus drive;
  OnTerminal terminal({"--bus", drive.bus_name(), "watch", "--count", "2", "--interval", "0.05"}, 80, "dumb");
  EXPECT_EQ(terminal.wait(), 0);
  EXPECT_EQ(terminal.raw().find('\033'), std::string::npos) << terminal.raw();
}

TEST(WithoutATerminal, ALineASampleIsPrinted) {
  const DriveOnBus drive;
  const auto watched = drive.tavctl({"watch", "--count", "3", "--interval", "0.05"});
  EXPECT_EQ(std::count(watched.out.begin(), watched.out.end(), '\n'), 3);
  EXPECT_NE(watched.out.find("0 rpm (demand"), std::string::npos) << watched.out;
  const auto turned = drive.tavctl({"velocity", "60", "--for", "0.6"});
  EXPECT_NE(turned.out.find("OPERATION_ENABLED     target     60  demand"), std::string::npos) << turned.out;
  EXPECT_EQ(turned.out.find('\033'), std::string::npos);
  EXPECT_EQ(turned.err.find('\033'), std::string::npos);
}

TEST(WithoutATerminal, WatchAllShowsMore) {
  const DriveOnBus drive;
  const auto json = drive.tavctl({"watch", "--all", "--count", "1", "--json"}).json();
  for (const char* const key :
       {"battery_under_voltage", "mosfet_over_temperature", "safety_status_word", "bus_state"}) {
    EXPECT_TRUE(json.contains(key)) << key << json;
  }
  EXPECT_EQ(json["format"], 1);
}

}  // namespace
