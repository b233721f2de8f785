#ifndef TESTS_TAVCTL_TOOL_HPP
#define TESTS_TAVCTL_TOOL_HPP

#include <sys/types.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <nlohmann/json.hpp>
#include <string>
#include <tav/drive/Runner.hpp>
#include <tav/drive/VirtualDrive.hpp>
#include <thread>
#include <vector>

namespace tool {

struct Result {
  int code;
  std::string out;
  std::string err;
  /** Standard output as JSON; fails the test when it is none. */
  [[nodiscard]] nlohmann::json json() const;
  /** Standard output as one JSON document a line, as live commands print them. */
  [[nodiscard]] std::vector<nlohmann::json> json_lines() const;
};

/** Runs tavctl in this process with these arguments. */
Result tavctl(const std::vector<std::string>& arguments);

/** A virtual drive (node 10) on a unix: bus of its own, and every frame that went over the bus. */
class DriveOnBus {
 public:
  DriveOnBus();
  ~DriveOnBus();

  [[nodiscard]] const std::string& bus_name() const { return name_; }
  [[nodiscard]] nkr::can::Bus& bus() { return *bus_; }
  [[nodiscard]] tav::drive::VirtualDrive& drive() { return *drive_; }
  /** Runs tavctl on this bus. */
  [[nodiscard]] Result tavctl(std::vector<std::string> arguments) const;
  /** Requests of SDO downloads to the drive so far. */
  [[nodiscard]] int downloads() const;
  /** Requests of SDO uploads to the drive so far. */
  [[nodiscard]] int uploads() const;

 private:
  [[nodiscard]] int requests(unsigned command) const;
  /** Waits until all that was sent before has been recorded: until a marker sent now is. */
  void settle() const;
  void record();

  std::string name_;
  std::shared_ptr<nkr::can::Bus> bus_;
  std::unique_ptr<nkr::can::Port> port_;
  std::unique_ptr<tav::drive::VirtualDrive> drive_;
  std::unique_ptr<tav::drive::Runner> runner_;
  mutable std::mutex mutex_;
  mutable std::condition_variable recorded_;
  mutable std::uint8_t markers_ = 0;
  std::vector<nkr::can::Frame> frames_;
  std::thread recorder_;
};

/** tavctl as a process of its own. */
class Process {
 public:
  explicit Process(const std::vector<std::string>& arguments) : Process(arguments, {}) {}
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  void send(int signal) const;
  /** Waits for the end; the exit code, or minus the signal that ended it. */
  int wait();

 protected:
  /** `begin` runs in the new process before the tool. */
  Process(const std::vector<std::string>& arguments, const std::function<void()>& begin);

 private:
  pid_t pid_ = -1;
};

/** The same on a terminal, with somebody before it. */
class ProcessOnTerminal : public Process {
 public:
  explicit ProcessOnTerminal(const std::vector<std::string>& arguments);
  ~ProcessOnTerminal();
  /** Reads on until it shows that; false when it ends before, or a minute is over. */
  bool shows(const std::string& text);
  void type(const std::string& text);
  /** All that was read so far. */
  [[nodiscard]] const std::string& shown() const { return shown_; }

 private:
  struct Terminal {
    int master;
    std::string slave;
  };
  ProcessOnTerminal(const std::vector<std::string>& arguments, const Terminal& terminal);
  static Terminal open();

  int terminal_;
  std::string shown_;
};

}  // namespace tool

#endif
