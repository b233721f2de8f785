#include "trace/FrameView.hpp"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "model/Format.hpp"
#include "model/Value.hpp"

namespace tavctl {

using nkr::can::Frame;

namespace {

constexpr std::size_t kBytesWidth = 25;
constexpr std::size_t kTitleWidth = 16;

std::string bytes_text(const Frame& frame) {
  const auto size = static_cast<std::ptrdiff_t>(std::min<std::size_t>(frame.size, frame.data.size()));
  return value_of(std::vector<std::uint8_t>(frame.data.begin(), frame.data.begin() + size)).text;
}

Json frame_json(const Frame& frame) {
  Json json = {{"id", frame.id}, {"data", bytes_text(frame)}};
  if (frame.extended) json["extended"] = true;
  if (frame.remote) json["remote"] = true;
  return json;
}

std::string time_text(std::optional<double> seconds) {
  char text[32] = "         -";
  if (seconds) std::snprintf(text, sizeof text, "%10.6f", *seconds);
  return text;
}

}  // namespace

std::string frame_line(std::optional<double> seconds, const Frame& frame, const FrameMeaning& meaning) {
  constexpr int kDigits = 3;
  constexpr int kExtendedDigits = 8;
  const std::string id = hex(frame.id, frame.extended ? kExtendedDigits : kDigits).substr(2);
  std::string line = time_text(seconds) + "  " + id + "  " + padded(bytes_text(frame), kBytesWidth) +
                     padded(meaning.title, kTitleWidth) + meaning.text;
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

FrameView::FrameView(FrameDecoder& decoder, FrameChoice choice, Output& output)
    : decoder_(decoder), choice_(std::move(choice)), output_(output) {}

bool FrameView::is_wanted(const FrameMeaning& meaning) const {
  const auto has = [](const auto& list, const auto& value) {
    return list.empty() || std::find(list.begin(), list.end(), value) != list.end();
  };
  return has(choice_.nodes, int{meaning.node}) && has(choice_.kinds, to_string(meaning.kind));
}

bool FrameView::show(const Frame& frame, FrameTime when) {
  const FrameMeaning meaning =
      decoder_.decode(frame);  // each one: transfers are followed across what is hidden
  if (!start_) start_ = when;
  if (!is_wanted(meaning)) return true;
  std::optional<double> seconds;
  if (when && start_) seconds = std::chrono::duration<double>(*when - *start_).count();
  Json json = Json::object();
  if (output_.json()) {
    if (seconds) json["seconds"] = *seconds;
    if (when) json["time"] = std::chrono::duration<double>(when->time_since_epoch()).count();
    json.update(frame_json(frame));
    json.update(decoder_.json(meaning));
  }
  output_.row(frame_line(seconds, frame, meaning), json);
  return ++shown_ != choice_.count;
}

}  // namespace tavctl
