// Frames of any content, in any order and at any distance, must leave the drive alive and answering.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <nkr/can/Frame.hpp>
#include <string>
#include <tav/drive/VirtualDrive.hpp>

namespace {

using nkr::can::Frame;
using tav::drive::Time;
using tav::drive::VirtualDrive;

/** The identifiers that concern the drive, mostly: SDO, NMT, SYNC, RPDO, heartbeat. */
constexpr std::uint32_t kIdentifiers[] = {0x601, 0x601, 0x601, 0x601, 0x000, 0x080, 0x201, 0x77F};
constexpr std::size_t kBytesOfFrame = 10;

Frame frame_of(const std::uint8_t* bytes) {
  Frame frame;
  frame.id = kIdentifiers[bytes[0] & 7U];
  frame.size = frame.id == 0x601 ? 8 : static_cast<std::uint8_t>(bytes[1] % 9U);
  for (std::size_t i = 0; i < frame.size; ++i) frame.data[i] = bytes[2 + i];
  return frame;
}

std::unique_ptr<VirtualDrive> make_drive() {
  tav::drive::Settings settings;
  settings.node_id = 1;
  std::string problem;
  auto drive = VirtualDrive::from_file(TAV_DESCRIPTION, settings, problem);
  if (!drive) std::abort();
  drive->power_on(Time{});
  return drive;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::unique_ptr<VirtualDrive> kDrive = make_drive();
  static Time now{};
  // The node id may change and the node may be stopped: each run starts with a node that is reset.
  kDrive->receive(Frame(0, {129, 0}), now);
  for (std::size_t at = 0; at + kBytesOfFrame <= size; at += kBytesOfFrame) {
    now += std::chrono::milliseconds(data[at] >> 3);
    kDrive->receive(frame_of(data + at), now);
  }
  kDrive->receive(Frame(0, {1, 0}), now);
  bool answered = false;
  // In the middle of a block download a request is a segment: as a client must, end what there may be.
  const std::uint32_t requests = 0x600U + kDrive->node_id();
  kDrive->receive(Frame(requests, {0x80, 0, 0, 0, 0, 0, 0, 0}), now);
  kDrive->connect([&](const Frame& frame) { answered = answered || (frame.id & 0x780U) == 0x580; });
  kDrive->receive(Frame(requests, {0x40, 0x00, 0x10, 0, 0, 0, 0, 0}), now);
  kDrive->connect({});
  if (!answered) std::abort();
  return 0;
}
