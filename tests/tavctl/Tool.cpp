#include "tavctl/Tool.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <nkr/can/open_bus.hpp>
#include <sstream>
#include <utility>

#include "cli/Run.hpp"
#include "commands/AllCommands.hpp"

namespace tool {

namespace {

constexpr std::uint32_t kSdoRequest = 0x60A;
/** An identifier that nobody on a test's bus uses. */
constexpr std::uint32_t kMarker = 0x7E0;

/** TAV_TEST_BUS names another bus, an interface of the kernel say. */
std::string own_bus_name() {
  if (const char* const named = std::getenv("TAV_TEST_BUS")) return named;
  static std::atomic<int> count{0};
  return "unix:/tmp/tavctl-test-" + std::to_string(::getpid()) + '-' + std::to_string(++count) + ".sock";
}

}  // namespace

nlohmann::json Result::json() const {
  nlohmann::json value = nlohmann::json::parse(out, nullptr, false);
  EXPECT_FALSE(value.is_discarded()) << out;
  return value;
}

std::vector<nlohmann::json> Result::json_lines() const {
  std::vector<nlohmann::json> lines;
  std::istringstream stream(out);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(nlohmann::json::parse(line, nullptr, false));
    EXPECT_FALSE(lines.back().is_discarded()) << line;
  }
  return lines;
}

Result tavctl(const std::vector<std::string>& arguments) {
  std::ostringstream out;
  std::ostringstream err;
  const int code = tavctl::run(tavctl::add_all, arguments, out, err);
  return {code, out.str(), err.str()};
}

DriveOnBus::DriveOnBus() : name_(own_bus_name()) {
  nkr_error_t result = NKR_OK;
  std::string text;
  bus_ = nkr::can::open_bus(name_, result, text);
  if (!bus_) throw std::runtime_error(text);
  port_ = bus_->open({}, result);
  tav::drive::Settings settings;
  settings.node_id = 10;
  drive_ = tav::drive::VirtualDrive::from_file("share/tav/tav.eds", settings, text);
  if (!drive_) throw std::runtime_error(text);
  runner_ = std::make_unique<tav::drive::Runner>(*drive_);
  if (runner_->start(*bus_) != NKR_OK) throw std::runtime_error("no port for the drive");
  recorder_ = std::thread([this] { record(); });
}

DriveOnBus::~DriveOnBus() {
  runner_->stop();
  port_->close();
  recorder_.join();
}

void DriveOnBus::record() {
  nkr::can::Frame frame;
  while (true) {
    const nkr_error_t result = port_->receive(frame, nkr::can::Clock::now() + std::chrono::seconds(1));
    if (result == NKR_CAN_CLOSED) return;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (result == NKR_OK) frames_.push_back(frame);
    recorded_.notify_all();
  }
}

Result DriveOnBus::tavctl(std::vector<std::string> arguments) const {
  arguments.insert(arguments.begin(), {"--bus", name_});
  return tool::tavctl(arguments);
}

void DriveOnBus::settle() const {
  nkr_error_t result = NKR_OK;
  const auto port = bus_->open({{kMarker, 0x7FF}}, result);
  ASSERT_NE(port, nullptr);
  const nkr::can::Frame marker(kMarker, {++markers_});
  ASSERT_EQ(port->send(marker, nkr::can::Clock::now() + std::chrono::seconds(5)), NKR_OK);
  std::unique_lock<std::mutex> lock(mutex_);
  EXPECT_TRUE(recorded_.wait_for(lock, std::chrono::seconds(20), [&] {
    return std::find(frames_.rbegin(), frames_.rend(), marker) != frames_.rend();
  }));
}

int DriveOnBus::requests(unsigned command) const {
  settle();
  const std::lock_guard<std::mutex> lock(mutex_);
  return static_cast<int>(std::count_if(frames_.begin(), frames_.end(), [command](const auto& frame) {
    return frame.id == kSdoRequest && frame.data[0] >> 5U == command;
  }));
}

int DriveOnBus::downloads() const {
  constexpr unsigned kDownload = 1;
  constexpr unsigned kBlockDownload = 6;
  return requests(kDownload) + requests(kBlockDownload);
}

int DriveOnBus::uploads() const {
  constexpr unsigned kUpload = 2;
  constexpr unsigned kBlockUpload = 5;
  return requests(kUpload) + requests(kBlockUpload);
}

Process::Process(const std::vector<std::string>& arguments, const std::function<void()>& begin) {
  std::vector<std::string> words = arguments;
  words.insert(words.begin(), TAVCTL_PROGRAM);
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  pid_ = ::fork();
  if (pid_ == 0) {
    if (begin) begin();
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
}

Process::~Process() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGKILL);
  ::waitpid(pid_, nullptr, 0);
}

void Process::send(int signal) const {
  if (pid_ > 0) ::kill(pid_, signal);
}

int Process::wait() {
  int status = 0;
  if (pid_ <= 0 || ::waitpid(pid_, &status, 0) != pid_) return -1;
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

ProcessOnTerminal::Terminal ProcessOnTerminal::open() {
  const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0)
    throw std::runtime_error("no terminal");
  return {master, ::ptsname(master)};
}

ProcessOnTerminal::ProcessOnTerminal(const std::vector<std::string>& arguments)
    : ProcessOnTerminal(arguments, open()) {}

ProcessOnTerminal::ProcessOnTerminal(const std::vector<std::string>& arguments, const Terminal& terminal)
    : Process(arguments,
              [&terminal] {
                ::setsid();
                const int slave = ::open(terminal.slave.c_str(), O_RDWR);
                for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
                  ::dup2(slave, standard);
                }
              }),
      terminal_(terminal.master) {}

ProcessOnTerminal::~ProcessOnTerminal() {
  ::close(terminal_);
}

bool ProcessOnTerminal::shows(const std::string& text) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  const std::size_t before = shown_.size();
  while (shown_.find(text, before < text.size() ? 0 : before - text.size()) == std::string::npos) {
    pollfd readable = {terminal_, POLLIN, 0};
    if (std::chrono::steady_clock::now() >= deadline) return false;
    if (::poll(&readable, 1, 1000) <= 0) continue;
    char bytes[4096];
    const ssize_t size = ::read(terminal_, bytes, sizeof bytes);
    if (size > 0) {
      shown_.append(bytes, static_cast<std::size_t>(size));
    } else if (errno != EIO || (readable.revents & POLLHUP) != 0) {
      return false;
    }
  }
  return true;
}

void ProcessOnTerminal::type(const std::string& text) {
  EXPECT_EQ(::write(terminal_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

}  // namespace tool
