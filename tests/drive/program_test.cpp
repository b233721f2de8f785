// The program tav-drive, as people start it.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <nkr/can/open_bus.hpp>
#include <sstream>
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
  void send(const std::string& frame) { static_cast<void>(port_->send(frame_of(frame), deadline())); }
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
                   {"--bus unix:/tmp/x --node 5..3", "--node 5..3"},
                   {"--bus unix:/tmp/x --node 3,3", "--node 3,3"},
                   {"--bus unix:/tmp/x --for 0", "--for 0"},
                   {"--bus unix:/tmp/x --timing fast", "--timing fast"},
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

std::string content(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

/** Files of one test, which are gone afterwards. */
class Folder {
 public:
  Folder() {
    std::string name = "/tmp/tav-drive-XXXXXX";
    path_ = mkdtemp(name.data());
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  [[nodiscard]] std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  [[nodiscard]] std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(*this / name) << text;
    return *this / name;
  }

 private:
  std::string path_;
};

constexpr const char* kMachine = R"(
at 600ms set 0x6040 6
at 610ms set 0x6040 7
at 620ms set 0x6040 0x7F
at 620ms set 0x6042 200
case "it turns" {
  at 700ms expect velocity > 190 within 2s
  at 4s never velocity < 150 until 5s
}
at 5s fault 0x2310
at 5s expect state FAULT within 1s
frame each heartbeat lose with 10%
)";

TEST(Program, HoldsADriveAgainstAScenarioInVirtualTime) {
  const Folder folder;
  const std::string scenario = folder.write("machine.scenario", kMachine);
  const auto run_once = [&](const std::string& name) {
    return run("--virtual-time --node 3 --for 60 --scenario " + scenario + " --junit " +
               (folder / (name + ".xml")) + " --log " + (folder / (name + ".log")) + " --events " +
               (folder / (name + ".json")));
  };
  const Outcome outcome = run_once("a");
  EXPECT_EQ(outcome.exit_status, 0) << outcome.output;
  EXPECT_EQ(outcome.output, "3 passed, 0 failed, 0 open\n");
  EXPECT_NE(content(folder / "a.xml")
                .find("tests=\"3\" failures=\"0\" errors=\"0\" skipped=\"0\" time=\"60.000000\""),
            std::string::npos)
      << content(folder / "a.xml");
  EXPECT_EQ(content(folder / "a.log").substr(0, 32), "(0000000000.500000) can0 703#00\n");
  EXPECT_NE(
      content(folder / "a.json").find("\"text\":\"OPERATION_ENABLED\",\"cause\":\"control word 0x007F\"}"),
      std::string::npos);
  (void)run_once("b");
  for (const char* const end : {".xml", ".log", ".json"}) {
    EXPECT_EQ(content(folder / (std::string("a") + end)), content(folder / (std::string("b") + end))) << end;
  }
}

TEST(Program, AFailedCheckAnOpenOneAndAMistakeHaveTheirExitStatus) {
  const Folder folder;
  const std::string failing = folder.write("f", "at 1s check velocity > 5\nat 2s reset\n");
  const Outcome failed =
      run("--virtual-time --node 1 --for 5 --scenario " + failing + " --junit " + (folder / "x"));
  EXPECT_EQ(failed.exit_status, 1);
  EXPECT_EQ(failed.output,
            failing + ":1: failed: at 1s check velocity > 5 (velocity is 0) at 1.000000 s, drive 1\n" +
                "0 passed, 1 failed, 0 open\n");
  EXPECT_NE(content(folder / "x").find("<failure message=\"velocity is 0\" type=\"failed\">"),
            std::string::npos);
  const std::string open = folder.write("o", "access 1 read 0x1000 reset\n");
  const Outcome opened = run("--virtual-time --node 1 --for 5 --scenario " + open);
  EXPECT_EQ(opened.exit_status, 3);
  EXPECT_NE(opened.output.find("open: access 1 read 0x1000 reset (it did not happen)"), std::string::npos);
  const std::string wrong = folder.write("w", "at 1s check velocity\nfoo\n");
  const Outcome mistaken = run("--virtual-time --node 1 --for 5 --scenario " + wrong);
  EXPECT_EQ(mistaken.exit_status, 2);
  EXPECT_NE(mistaken.output.find(wrong +
                                 ": line 1: a relation (<, <=, >, >=, = or !=) is missing\nline 2: \"foo\""),
            std::string::npos)
      << mistaken.output;
  EXPECT_EQ(run("--virtual-time --node 1").exit_status, 2);
  EXPECT_EQ(run("--virtual-time --bus unix:/tmp/x --for 3").exit_status, 2);
}

TEST(Program, DrivesAreOnABusWithABitRate) {
  const Folder folder;
  const Outcome outcome =
      run("--virtual-time --for 2 --node 1..20 --bitrate 125000 --bus-errors 5 --log " + (folder / "l"));
  EXPECT_EQ(outcome.exit_status, 0) << outcome.output;
  const std::string log = content(folder / "l");
  EXPECT_EQ(log.substr(0, 18), "(0000000000.500448") << "56 bits of 8 us behind the boot of node 1";
  EXPECT_NE(log.find("can0 714#00\n"), std::string::npos);
  EXPECT_EQ(run("--bus unix:/tmp/x --bitrate 125000").exit_status, 2);
  EXPECT_EQ(run("--virtual-time --for 1 --bitrate 5").exit_status, 2);
  EXPECT_EQ(run("--virtual-time --for 1 --bus-errors 5").exit_status, 2);
}

TEST(Program, AScenarioStopsItself) {
  const Folder folder;
  const std::string scenario = folder.write("s", "at 2s stop\nnever state FAULT\n");
  const Outcome outcome =
      run("--virtual-time --for 3600 --scenario " + scenario + " --junit " + (folder / "x") + " --node 1");
  EXPECT_EQ(outcome.exit_status, 0);
  EXPECT_NE(content(folder / "x").find("time=\"2.000000\""), std::string::npos) << content(folder / "x");
}

TEST(Program, RunsManyDrivesOfTheirOwnParametersInOneProcess) {
  const Folder folder;
  const std::string mass = folder.write("heavy", "mass = 400\n");
  const std::string fleet =
      folder.write("fleet", "# two wheels\nnode 3\n\nnode 0x10 motor " + mass + " timing slow store " +
                                (folder / "memory") + " seed 4 # right\n");
  const std::string scenario =
      folder.write("s",
                   "on 3: at 1s fault 0x2310\non 3: at 1s expect state FAULT within 1s\n"
                   "on 16: never state FAULT\n");
  const Outcome outcome =
      run("--virtual-time --for 5 --fleet " + fleet + " --scenario " + scenario + " --log " + (folder / "l"));
  EXPECT_EQ(outcome.exit_status, 0) << outcome.output;
  EXPECT_NE(content(folder / "l").find("(0000000000.500000) can0 703#00\n"), std::string::npos);
  EXPECT_NE(content(folder / "l").find("(0000000003.000000) can0 710#00\n"), std::string::npos);
  const std::string wrong = folder.write("w", "node 3\nnode 3\nnode 200\nnode 4 colour red\nmotor ideal\n");
  const Outcome mistaken = run("--virtual-time --for 5 --fleet " + wrong);
  EXPECT_EQ(mistaken.exit_status, 1);
  EXPECT_EQ(mistaken.output, "tav-drive: " + wrong +
                                 ": line 2: this node stands twice\nline 3: \"200\" is not a node id, 1 to "
                                 "127\nline 4: \"colour\" is not known: node, motor, timing, seed or store\n"
                                 "line 5: which node? \"node 3 ...\"\n");
}

TEST(Program, ManyDrivesAnswerOnOneBus) {
  TestBus bus;
  Background program({"--bus", bus.name(), "--node", "1..20", "--timing=ideal"});
  EXPECT_NE(bus.next(0x714), "");
  for (const char* const node : {"01", "0A", "14"}) {
    const std::string id = std::string("6") + node;
    bus.send(id + "#4018100100000000");
    EXPECT_NE(bus.next(static_cast<std::uint32_t>(std::stoul("5" + std::string(node), nullptr, 16) + 0x80)),
              "")
        << node;
  }
  EXPECT_EQ(program.end(SIGTERM), 0);
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
