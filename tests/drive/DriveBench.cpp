#include "drive/DriveBench.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace tav::drive::test {
namespace {

std::uint8_t byte_of(const std::string& text, std::size_t at) {
  return static_cast<std::uint8_t>(std::stoul(text.substr(at, 2), nullptr, 16));
}

std::string hex(std::uint64_t value, unsigned bytes) {
  std::string text;
  const char* const digits = "0123456789ABCDEF";
  for (unsigned i = 0; i < bytes; ++i, value >>= 8) {
    text += digits[(value >> 4) & 0xFU];
    text += digits[value & 0xFU];
  }
  return text;
}

std::string object(std::uint16_t index, std::uint8_t subindex) {
  return hex(index, 2) + hex(subindex, 1);
}

}  // namespace

std::string shipped_description() {
  std::ifstream file("share/tav/tav.eds");
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string changed(const std::string& eds_text, const std::string& section, const std::string& key,
                    const std::string& value) {
  std::istringstream lines(eds_text);
  std::string result;
  std::string line;
  bool inside = false;
  bool found = false;
  while (std::getline(lines, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty() && line.front() == '[') inside = line == '[' + section + ']';
    if (inside && line.rfind(key + '=', 0) == 0) {
      found = true;
      if (value.empty()) continue;
      line = key + '=' + value;
    }
    result += line + '\n';
  }
  EXPECT_TRUE(found) << section << ' ' << key;
  return result;
}

nkr::can::Frame frame_of(const std::string& text) {
  const std::size_t mark = text.find('#');
  nkr::can::Frame frame;
  frame.id = static_cast<std::uint32_t>(std::stoul(text.substr(0, mark), nullptr, 16));
  for (std::size_t at = mark + 1; at + 1 < text.size(); at += 2) {
    frame.data.at(frame.size) = byte_of(text, at);
    ++frame.size;
  }
  return frame;
}

Settings as_node(std::uint8_t node_id) {
  Settings settings;
  settings.node_id = node_id;
  return settings;
}

DriveBench::DriveBench() : DriveBench(as_node(1)) {}

DriveBench::DriveBench(const Settings& settings) : DriveBench(shipped_description(), settings) {}

DriveBench::DriveBench(const std::string& eds_text, const Settings& settings) {
  std::istringstream eds(eds_text);
  std::string problem;
  drive_ = VirtualDrive::create(eds, settings, problem);
  if (!drive_) throw std::runtime_error("no drive: " + problem);
  drive_->connect([this](const nkr::can::Frame& frame) { sent_.push_back(nkr::can::to_string(frame)); });
  drive_->power_on(now_);
  take();
}

void DriveBench::send(const std::string& frame) {
  drive_->receive(frame_of(frame));
}

void DriveBench::step(milliseconds duration) {
  now_ += duration;
  drive_->advance(now_);
}

Frames DriveBench::take() {
  Frames frames;
  frames.swap(sent_);
  return frames;
}

Frames DriveBench::take_events() {
  Frames events;
  for (const std::string& frame : take()) {
    if (frame[0] != '7') events.push_back(frame);
  }
  return events;
}

std::string DriveBench::answer(const std::string& frame) {
  take();
  send(frame);
  std::string answers;
  for (const std::string& sent : take()) answers += (answers.empty() ? "" : " ") + sent;
  return answers;
}

std::uint32_t DriveBench::read(std::uint16_t index, std::uint8_t subindex) {
  Frames others = take();
  const nkr::can::Frame request = frame_of("000#40" + object(index, subindex) + "00000000");
  nkr::can::Frame frame = request;
  frame.id = 0x600U + drive_->node_id();
  drive_->receive(frame);
  const Frames answers = take();
  sent_ = std::move(others);
  if (answers.empty()) {
    ADD_FAILURE() << "no answer to a read of " << object(index, subindex);
    return 0;
  }
  const nkr::can::Frame reply = frame_of(answers.back());
  EXPECT_EQ(reply.data[0] & 0xE3U, 0x43U) << answers.back();
  std::uint32_t value = 0;
  const unsigned bytes = 4U - ((reply.data[0] >> 2) & 3U);
  for (unsigned i = bytes; i-- > 0;) value = (value << 8) | reply.data[4 + i];
  return value;
}

std::int32_t DriveBench::read_signed(std::uint16_t index, std::uint8_t subindex) {
  return static_cast<std::int32_t>(read(index, subindex));
}

std::uint32_t DriveBench::write(std::uint16_t index, std::uint8_t subindex, std::uint32_t value,
                                unsigned bytes) {
  const unsigned command = 0x23U | ((4U - bytes) << 2);
  nkr::can::Frame frame = frame_of("000#" + hex(command, 1) + object(index, subindex) + hex(value, 4));
  frame.id = 0x600U + drive_->node_id();
  const std::size_t before = sent_.size();
  drive_->receive(frame);
  for (std::size_t i = before; i < sent_.size(); ++i) {
    const nkr::can::Frame reply = frame_of(sent_[i]);
    if (reply.id != frame.id - 0x80U) continue;
    sent_.erase(sent_.begin() + static_cast<std::ptrdiff_t>(i));
    if (reply.data[0] == 0x60) return 0;
    std::uint32_t code = 0;
    for (std::size_t byte = 8; byte-- > 4;) code = (code << 8) | reply.data[byte];
    return code;
  }
  ADD_FAILURE() << "no answer to a write of " << object(index, subindex);
  return 0xFFFFFFFF;
}

}  // namespace tav::drive::test
