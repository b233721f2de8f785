// The program tav-drive, as people start it.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <nkr/can/open_bus.hpp>
#include <string>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

struct Outcome {
  int exit_status;
  std::string output;
};

/** Runs it with these words to its end; both its outputs as one text. */
Outcome run(const std::string& words) {
  const std::string command = std::string(TAV_DRIVE_PROGRAM) + ' ' + words + " 2>&1";
  FILE* const pipe = popen(command.c_str(), "r");
  std::array<char, 256> piece{};
  std::string output;
  while (std::fgets(piece.data(), static_cast<int>(piece.size()), pipe) != nullptr) output += piece.data();
  const int status = pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

/** The program in the background; killed at the end of the test when it still runs. What is typed reaches its
 * standard input. */
class Background {
 public:
  explicit Background(std::vector<std::string> words) {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    input_ = ends[1];
    std::array<int, 2> complaints{};
    EXPECT_EQ(pipe(complaints.data()), 0);
    complaints_ = complaints[0];
    process_ = fork();
    if (process_ != 0) {
      close(ends[0]);
      close(complaints[1]);
      return;
    }
    dup2(ends[0], STDIN_FILENO);
    dup2(complaints[1], STDERR_FILENO);
    close(ends[0]);
    close(ends[1]);
    std::vector<char*> arguments;
    words.insert(words.begin(), TAV_DRIVE_PROGRAM);
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    execv(TAV_DRIVE_PROGRAM, arguments.data());
    _exit(127);
  }
  ~Background() {
    if (process_ > 0) end(SIGKILL);
    close(input_);
    close(complaints_);
  }
  Background(const Background&) = delete;
  Background& operator=(const Background&) = delete;

  void type(const std::string& text) const {
    EXPECT_EQ(write(input_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }

  /** The next line of its standard error, waited for; what there is when the program ends before. */
  [[nodiscard]] std::string next_complaint() const {
    std::string line;
    for (char character = 0; ::read(complaints_, &character, 1) == 1 && character != '\n';) line += character;
    return line;
  }

  /** Sends it a signal and waits for its end. @return its exit status, -1 when the signal killed it */
  int end(int signal) {
    kill(process_, signal);
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t process_ = -1;
  int input_ = -1;
  int complaints_ = -1;
};

/** A bus between programs, for the time of one test, and a port on it. */
class TestBus {
 public:
  TestBus() : path_("/tmp/tav-drive-test-" + std::to_string(getpid())) {
    nkr_error_t result = NKR_OK;
    std::string explanation;
    bus_ = nkr::can::open_bus(name(), result, explanation);
    if (bus_) port_ = bus_->open({}, result);
    EXPECT_NE(port_, nullptr) << explanation;
  }
  ~TestBus() { unlink(path_.c_str()); }
  TestBus(const TestBus&) = delete;
  TestBus& operator=(const TestBus&) = delete;

  [[nodiscard]] std::string name() const { return "unix:" + path_; }
  void send(const std::string& frame) { port_->send(frame_of(frame), deadline()); }
  /** The next frame with that identifier; an empty text when none comes. */
  std::string next(std::uint32_t id) {
    const auto until = deadline();
    nkr::can::Frame frame;
    while (port_->receive(frame, until) == NKR_OK) {
      if (frame.id == id) return nkr::can::to_string(frame);
    }
    return "";
  }

 private:
  static nkr::can::Clock::time_point deadline() { return nkr::can::Clock::now() + std::chrono::seconds(20); }

  std::string path_;
  std::shared_ptr<nkr::can::Bus> bus_;
  std::unique_ptr<nkr::can::Port> port_;
};

TEST(Program, ExplainsItself) {
  const Outcome help = run("--help");
  EXPECT_EQ(help.exit_status, 0);
  EXPECT_NE(help.output.find("Usage: tav-drive --bus BUS"), std::string::npos);
  EXPECT_EQ(run("--version").exit_status, 0);
}

TEST(Program, SaysWhatIsWrongWithItsWords) {
  const struct {
    const char* words;
    const char* explanation;
  } kMistakes[] = {{"", "--bus is missing"},
                   {"--bus", "--bus needs a value"},
                   {"--speed 9", "unknown option --speed"},
                   {"--bus unix:/tmp/x --node 128", "--node 128"},
                   {"--bus unix:/tmp/x --node 0", "--node 0"},
                   {"--bus unix:/tmp/x --node 1x", "--node 1x"},
                   {"--bus virtual", "use unix:PATH"}};
  for (const auto& mistake : kMistakes) {
    const Outcome outcome = run(mistake.words);
    EXPECT_EQ(outcome.exit_status, 2) << mistake.words;
    EXPECT_NE(outcome.output.find(mistake.explanation), std::string::npos) << outcome.output;
  }
}

TEST(Program, SaysWhatCannotBeUsed) {
  const Outcome no_description = run("--bus unix:/tmp/x --eds /nowhere.eds");
  EXPECT_EQ(no_description.exit_status, 1);
  EXPECT_NE(no_description.output.find("cannot open /nowhere.eds"), std::string::npos);
  const Outcome no_config = run("--bus unix:/tmp/x --config /nowhere.ini");
  EXPECT_EQ(no_config.exit_status, 1);
  EXPECT_NE(no_config.output.find("/nowhere.ini"), std::string::npos);
}

TEST(Program, NamesEachMistakeOfTheMotorsParameters) {
  const std::string file = "/tmp/tav-drive-motor-" + std::to_string(getpid());
  std::ofstream(file) << "mass = 60\nmas = 60\nslope = steep\n";
  const Outcome outcome = run("--bus unix:/tmp/x --node 1 --motor " + file);
  EXPECT_EQ(outcome.exit_status, 1);
  EXPECT_NE(outcome.output.find(file + ": line 2: no parameter is called \"mas\"\nline 3: slope is a number"),
            std::string::npos)
      << outcome.output;
  unlink(file.c_str());
  EXPECT_NE(run("--bus unix:/tmp/x --motor agv").output.find("cannot open agv"), std::string::npos);
}

TEST(Program, IsADriveOnTheBusUntilItIsStopped) {
  TestBus bus;
  Background program({"--bus", bus.name(), "--node=0x21", "--config", "share/tav/tav.ini"});
  EXPECT_NE(bus.next(0x721), "") << "boot-up or heartbeat of node 33";
  bus.send("621#4018100100000000");
  EXPECT_EQ(bus.next(0x5A1), "5A1#43181001270A0000");
  EXPECT_EQ(program.end(SIGTERM), 0);
}

TEST(Program, PlaysAScenarioAndObeysItsConsole) {
  TestBus bus;
  const std::string file = "/tmp/tav-drive-scenario-" + std::to_string(getpid());
  std::ofstream(file) << "access 1 read 0x1018:1 reply abort 0x08000024\n";
  Background program({"--bus", bus.name(), "--node=1", "--scenario", file, "--console"});
  EXPECT_NE(bus.next(0x701), "");
  bus.send("601#4018100100000000");
  EXPECT_EQ(bus.next(0x581), "581#8018100124000008");
  program.type("help\nfoult\nfau");
  program.type("lt 0x2310\n");
  EXPECT_EQ(bus.next(0x081), "081#1023030000000000");
  EXPECT_EQ(program.end(SIGTERM), 0);
  unlink(file.c_str());
}

TEST(Program, SaysWhatTheDriveRefusesOfAScenario) {
  TestBus bus;
  const std::string file = "/tmp/tav-drive-scenario-" + std::to_string(getpid());
  std::ofstream(file) << "set 0x605A 9\n";
  Background program({"--bus", bus.name(), "--node=1", "--scenario", file});
  EXPECT_EQ(program.next_complaint().find("tav-drive: the drive refuses \"9\" for quick_stop_option_code"),
            0U);
  EXPECT_EQ(program.end(SIGTERM), 0);
  unlink(file.c_str());
}

TEST(Program, NamesFileLineAndMistakeOfAScenario) {
  const std::string file = "/tmp/tav-drive-scenario-" + std::to_string(getpid());
  std::ofstream(file) << "\nfoult 0x2310\n";
  const Outcome outcome = run("--bus unix:/tmp/x --node 1 --scenario " + file);
  EXPECT_EQ(outcome.exit_status, 1);
  EXPECT_NE(outcome.output.find(file + ": line 2: \"foult\" is not known"), std::string::npos)
      << outcome.output;
  unlink(file.c_str());
}

}  // namespace
}  // namespace tav::drive::test
