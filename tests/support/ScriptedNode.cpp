#include "ScriptedNode.hpp"

#include <chrono>
#include <cstdlib>
#include <utility>

namespace tests {

using nkr::can::Clock;
using nkr::can::Frame;

Frame frame_of(std::uint32_t id, const std::string& hex) {
  constexpr int kHexadecimal = 16;
  Frame frame;
  frame.id = id;
  const char* text = hex.c_str();
  char* end = nullptr;
  for (unsigned long byte = std::strtoul(text, &end, kHexadecimal); end != text && frame.size < 8;
       byte = std::strtoul(text, &end, kHexadecimal)) {
    frame.data.at(frame.size++) = static_cast<std::uint8_t>(byte);
    text = end;
  }
  return frame;
}

std::string hex_of(const Frame& frame) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (std::size_t i = 0; i < frame.size; ++i) {
    if (i > 0) text += ' ';
    text += kDigits[frame.data.at(i) >> 4];
    text += kDigits[frame.data.at(i) & 0xF];
  }
  return text;
}

ScriptedNode::ScriptedNode(nkr::can::InProcessBus& bus, std::uint8_t id) : id_(id) {
  nkr_error_t result = NKR_ERROR;
  sender_ = bus.open({{0x7FF, 0x7FF}}, result);
  port_ = bus.open_handler(
      {{0x600U + id, 0x7FF}}, [this](const Frame& frame) { received(frame); }, result);
}

void ScriptedNode::on(const std::string& request, const Replies& replies) {
  const std::lock_guard<std::mutex> lock(mutex_);
  script_[request].push_back(replies);
}

void ScriptedNode::change(const std::string& request, const Replies& replies) {
  const std::lock_guard<std::mutex> lock(mutex_);
  script_[request] = {replies};
}

void ScriptedNode::reply(const std::string& data) {
  send(0x580U + id_, data);
}

void ScriptedNode::send(std::uint32_t id, const std::string& data) {
  static_cast<void>(sender_->send(frame_of(id, data), Clock::time_point::max()));
}

std::vector<std::string> ScriptedNode::requests() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return requests_;
}

bool ScriptedNode::wait_for_requests(std::size_t count) const {
  std::unique_lock<std::mutex> lock(mutex_);
  return changed_.wait_for(lock, std::chrono::seconds(10), [&] { return requests_.size() >= count; });
}

void ScriptedNode::received(const Frame& frame) {
  Replies replies;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    requests_.push_back(hex_of(frame));
    const auto found = script_.find(requests_.back());
    if (found != script_.end()) {
      replies = found->second.front();
      if (found->second.size() > 1) found->second.erase(found->second.begin());
    }
    changed_.notify_all();
  }
  for (const std::string& data : replies) reply(data);
}

}  // namespace tests
