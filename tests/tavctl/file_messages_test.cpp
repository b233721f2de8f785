// What is said of files that cannot be used, read as by somebody who sees it for the first time.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "support/TemporaryFile.hpp"
#include "tavctl/Tool.hpp"

namespace {

using tavtest::TemporaryFile;
using tool::tavctl;

/** The commands that read a file that the user names. */
std::vector<std::vector<std::string>> reading(const std::string& path) {
  return {{"eds", "lint", path},
          {"eds", "show", path},
          {"list", "--eds", path},
          {"trace", "decode", path},
          {"safety", "signatures", "--from", path},
          {"--bus", "virtual", "--config", path, "info"},
          {"--bus", "virtual", "--scenario", path, "info"},
          {"--bus", "virtual", "config", "load", path}};
}

void expect_refused(const std::string& path, const std::string& because) {
  for (const auto& command : reading(path)) {
    const auto result = tavctl(command);
    const std::string what = command[command.size() > 2 ? command.size() - 2 : 0] + " " + command.back();
    EXPECT_EQ(result.code, 3) << what << result.err;
    EXPECT_NE(result.err.find(path), std::string::npos) << what << ": " << result.err;
    EXPECT_NE(result.err.find(because), std::string::npos) << what << ": " << result.err;
  }
}

TEST(FileMessages, SayThatAFileIsNotThere) {
  expect_refused("/nowhere/at-all", "there is no such file");
}

TEST(FileMessages, SayFromWhereARelativePathCounts) {
  const auto result = tavctl({"trace", "decode", "no-such.log"});
  EXPECT_NE(result.err.find(std::string("no such file in ") + ::get_current_dir_name()), std::string::npos)
      << result.err;
}

TEST(FileMessages, SayThatAFolderIsNoFile) {
  expect_refused("/tmp", "it is a folder, not a file");
}

TEST(FileMessages, SayThatAnotherProgramLeftAFileWithoutRights) {
  const TemporaryFile file("contextId=1");
  ASSERT_EQ(::chmod(file.path().c_str(), 0), 0);
  if (::access(file.path().c_str(), R_OK) == 0) GTEST_SKIP() << "root may read everything";
  expect_refused(file.path(), "Permission denied");
}

TEST(FileMessages, SayThatTheDiskIsFull) {
  for (const auto& command : {std::vector<std::string>{"config", "save", "/dev/full"},
                              {"safety", "report", "--text", "/dev/full"}}) {
    std::vector<std::string> arguments{"--bus", "virtual"};
    arguments.insert(arguments.end(), command.begin(), command.end());
    const auto result = tavctl(arguments);
    EXPECT_EQ(result.code, 3) << result.out;
    EXPECT_NE(result.err.find("No space left on device"), std::string::npos) << result.err;
  }
}

TEST(FileMessages, SayThatTheOutputIsLost) {
  const int code = std::system((std::string(TAVCTL_PROGRAM) + " list >/dev/full 2>&1").c_str());
  EXPECT_EQ(WEXITSTATUS(code), 1);
}

TEST(FileMessages, SayWhichKeyNamesTheDescription) {
  const TemporaryFile configuration(
      "[default]\ncontextId = 1\nnodeId = 10\nHWConfigurationEntry = unit\nCANOpenEDSFile =\n"
      "targetVelocityTimeoutMs = 100\nmaxMaintenanceSpeedValue = 300\n"
      "[unit]\nnbStepRevolutionElec = 360\nnbPolePair = 7\nreduction = 10.0\ndiameter = 200.0\ndevice = x\n");
  const auto result = tavctl({"--bus", "virtual", "--config", configuration.path(), "info"});
  EXPECT_EQ(result.code, 3);
  EXPECT_NE(result.err.find("CANOpenEDSFile"), std::string::npos) << result.err;
}

TEST(ConfigurationOfTheTool, IsToldWithAllItsMistakes) {
  const TemporaryFile configuration(
      "[default]\ncontextId = 1\nnodeId = ten\nHWConfigurationEntry = unit\nCANOpenEDSFile = nothing.eds\n"
      "targetVelocityTimeoutMs = 100\nmaxMaintenanceSpeedValue = 300\n"
      "[unit]\nnbStepRevolutionElec = 360\nnbPolePairs = 7\nreduction = 10,0\ndiameter = 200.0\ndevice = "
      "x\n");
  const auto result = tavctl({"--bus", "virtual", "--config", configuration.path(), "info"});
  EXPECT_EQ(result.code, 3);
  const auto says = [&](const std::string& text) {
    EXPECT_NE(result.err.find(text), std::string::npos) << text << "\n---\n" << result.err;
  };
  says("cannot use the configuration " + configuration.path());
  says("line 3:       [default] nodeId = ten: expected a node id, 1 to 127, such as 10\n");
  says("line 5:       [default] CANOpenEDSFile = nothing.eds: there is no such file; looked for: ");
  says("line 8:       [unit] nbPolePair is missing: ");
  says(
      "line 11:      [unit] reduction = 10,0: expected a number above 0 with a decimal point, such as "
      "10.0\n");
  says("warning: " + configuration.path() +
       ":10: [unit] nbPolePairs is a key that nothing uses: did you mean \"nbPolePair\"?");
}

TEST(ConfigurationOfTheTool, DescribesSeveralDrives) {
  const TemporaryFile configuration(
      "[default]\nCANOpenEDSFile = share/tav/tav.eds\nmaxMaintenanceSpeedValue = 300\n"
      "nbStepRevolutionElec = 360\n[unit left]\nnodeId = 11\nnbStepRevolutionElec = 360\nnbPolePair = 7\n"
      "reduction = 10.0\ndiameter = 200.0\n[unit right]\nnodeId = 12\nnbStepRevolutionElec = 360\n"
      "nbPolePair = 7\nreduction = 10.0\ndiameter = 200.0\n");
  std::vector<std::string> command{"--bus", "virtual", "--config", configuration.path(), "info"};
  auto result = tavctl(command);
  EXPECT_EQ(result.code, 3);
  EXPECT_NE(result.err.find("it describes several drives, choose one: left, right"), std::string::npos)
      << result.err;
  command.insert(command.begin(), {"--unit", "right"});
  result = tavctl(command);
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_NE(result.out.find("12"), std::string::npos) << result.out;
}

}  // namespace
