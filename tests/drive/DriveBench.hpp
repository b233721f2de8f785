#ifndef TAV_TESTS_DRIVE_DRIVEBENCH_HPP
#define TAV_TESTS_DRIVE_DRIVEBENCH_HPP

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <nkr/can/Frame.hpp>
#include <string>
#include <tav/drive/VirtualDrive.hpp>
#include <vector>

namespace tav::drive::test {

using std::chrono::milliseconds;
using Frames = std::vector<std::string>;

/** A drive in stepped time, and what it says. Frames are written as candump writes them. */
class DriveBench {
 public:
  /** The shipped drive as node 1; switched on, its boot-up message taken, unless told otherwise. */
  DriveBench();
  explicit DriveBench(const Settings& settings);
  /** A drive of another description. */
  DriveBench(const std::string& eds_text, const Settings& settings);

  VirtualDrive& drive() { return *drive_; }
  [[nodiscard]] Time now() const { return now_; }

  /** Sends "601#4017100000000000". */
  void send(const std::string& frame);
  /** Lets time pass. */
  void step(milliseconds duration);
  /** What the drive sent since the last take. */
  Frames take();
  /** The same without heartbeats. */
  Frames take_events();
  /** The drive's answer to a frame, when it is exactly one frame; else all of them in one text. */
  std::string answer(const std::string& frame);

  /** Reads an object of up to four bytes, little endian; fails the test when the drive refuses. */
  std::uint32_t read(std::uint16_t index, std::uint8_t subindex = 0);
  std::int32_t read_signed(std::uint16_t index, std::uint8_t subindex = 0);
  /** Writes an object of that many bytes; the abort code, 0 for success. */
  std::uint32_t write(std::uint16_t index, std::uint8_t subindex, std::uint32_t value, unsigned bytes);

 private:
  std::unique_ptr<VirtualDrive> drive_;
  Time now_{};
  Frames sent_;
};

/** The text of the shipped description. */
std::string shipped_description();
/** A description in which that section has that value for a key; an empty value: it has no such key. */
std::string changed(const std::string& eds_text, const std::string& section, const std::string& key,
                    const std::string& value);

/** A frame of candump text. */
nkr::can::Frame frame_of(const std::string& text);

/** The settings of most tests: node 1. */
Settings as_node(std::uint8_t node_id);

}  // namespace tav::drive::test

#endif
