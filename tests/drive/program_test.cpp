// The program tav-drive, as people start it.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <memory>
#include <nkr/can/open_bus.hpp>
#include <string>

#include "DriveBench.hpp"

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

/** The program in the background; killed at the end of the test when it still runs. */
class Background {
 public:
  explicit Background(std::vector<std::string> words) : process_(fork()) {
    if (process_ != 0) return;
    std::vector<char*> arguments;
    words.insert(words.begin(), TAV_DRIVE_PROGRAM);
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    execv(TAV_DRIVE_PROGRAM, arguments.data());
    _exit(127);
  }
  ~Background() {
    if (process_ > 0) end(SIGKILL);
  }
  Background(const Background&) = delete;
  Background& operator=(const Background&) = delete;

  /** Sends it a signal and waits for its end. @return its exit status, -1 when the signal killed it */
  int end(int signal) {
    kill(process_, signal);
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t process_;
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

TEST(Program, IsADriveOnTheBusUntilItIsStopped) {
  const std::string path = "/tmp/tav-drive-test-" + std::to_string(getpid());
  nkr_error_t result = NKR_OK;
  std::string explanation;
  const auto bus = nkr::can::open_bus("unix:" + path, result, explanation);
  ASSERT_NE(bus, nullptr) << explanation;
  const auto port = bus->open({}, result);
  ASSERT_NE(port, nullptr);
  Background program({"--bus", "unix:" + path, "--node=0x21", "--config", "share/tav/tav.ini"});
  const auto deadline = nkr::can::Clock::now() + std::chrono::seconds(20);
  nkr::can::Frame frame;
  while (port->receive(frame, deadline) == NKR_OK && frame.id != 0x721) {
  }
  EXPECT_EQ(frame.id, 0x721U) << "boot-up or heartbeat of node 33";
  port->send(frame_of("621#4018100100000000"), deadline);
  while (port->receive(frame, deadline) == NKR_OK && frame.id != 0x5A1) {
  }
  EXPECT_EQ(nkr::can::to_string(frame), "5A1#43181001270A0000");
  EXPECT_EQ(program.end(SIGTERM), 0);
  unlink(path.c_str());
}

}  // namespace
}  // namespace tav::drive::test
