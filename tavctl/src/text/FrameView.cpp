#include "text/FrameView.hpp"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "cli/Format.hpp"
#include "text/Values.hpp"

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

/** Name, address and value of an object. */
Json object_json(const ObjectText& objects, const ObjectBytes& object) {
  const nkr::tools::ObjectEntry* const entry = objects.description().find(object.object);
  return {{"index", object.object.index()},
          {"subindex", object.object.subindex()},
          {"name", entry == nullptr ? std::string{} : entry->getName()},
          {"value", json_of(objects.decoded(object))},
          {"text", objects.value(object)}};
}

Json meaning_json(const ObjectText& objects, const FrameMeaning& meaning) {
  Json json = {{"kind", to_string(meaning.kind)}, {"title", meaning.title}, {"text", meaning.text}};
  if (meaning.node != 0) json["node"] = meaning.node;
  if (meaning.objects.empty()) return json;
  json["objects"] = Json::array();
  for (const ObjectBytes& object : meaning.objects) json["objects"].push_back(object_json(objects, object));
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
    json.update(meaning_json(decoder_.objects(), meaning));
  }
  output_.row(frame_line(seconds, frame, meaning), json);
  return ++shown_ != choice_.count;
}

}  // namespace tavctl
