#include <array>
#include <cstdio>
#include <tav/drive/DriveStates.hpp>

namespace tav::drive {
namespace {

std::string hexadecimal(std::uint32_t code) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "0x%04X", static_cast<unsigned>(code));
  return text.data();
}

std::int64_t microseconds_since(Time began, Time time) {
  return std::chrono::duration_cast<std::chrono::microseconds>(time - began).count();
}

const char* kind_of(const Event& event) {
  switch (event.kind) {
    case Event::Kind::NMT_STATE:
      return "nmt";
    case Event::Kind::POWER_STATE:
      return "state";
    case Event::Kind::EMERGENCY:
      return "emcy";
    case Event::Kind::REFUSED:
      return "refused";
    case Event::Kind::ACTION:
      return "action";
    case Event::Kind::CHECK:
      break;
  }
  return "check";
}

/** What happened, in a word or two. */
std::string what(const Event& event) {
  switch (event.kind) {
    case Event::Kind::NMT_STATE:
      return to_string(static_cast<NMTState>(event.code));
    case Event::Kind::POWER_STATE:
      return to_string(static_cast<PowerState>(event.code));
    case Event::Kind::EMERGENCY:
      return "emergency " + hexadecimal(event.code);
    default:
      return event.text;
  }
}

/** As JSON writes a text (RFC 8259, 7). */
std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      result += '\\';
      result += c;
    } else if (byte < 0x20) {
      std::array<char, 8> escape{};
      std::snprintf(escape.data(), escape.size(), "\\u%04X", byte);
      result += escape.data();
    } else {
      result += c;
    }
  }
  return result + '"';
}

}  // namespace

const char* to_string(NMTState state) {
  switch (state) {
    case NMTState::INITIALISING:
      return "INITIALISING";
    case NMTState::STOPPED:
      return "STOPPED";
    case NMTState::OPERATIONAL:
      return "OPERATIONAL";
    case NMTState::PRE_OPERATIONAL:
      break;
  }
  return "PRE_OPERATIONAL";
}

const char* to_string(PowerState state) {
  switch (state) {
    case PowerState::NOT_READY_TO_SWITCH_ON:
      return "NOT_READY_TO_SWITCH_ON";
    case PowerState::SWITCH_ON_DISABLED:
      return "SWITCH_ON_DISABLED";
    case PowerState::READY_TO_SWITCH_ON:
      return "READY_TO_SWITCH_ON";
    case PowerState::SWITCHED_ON:
      return "SWITCHED_ON";
    case PowerState::OPERATION_ENABLED:
      return "OPERATION_ENABLED";
    case PowerState::QUICK_STOP_ACTIVE:
      return "QUICK_STOP_ACTIVE";
    case PowerState::FAULT_REACTION_ACTIVE:
      return "FAULT_REACTION_ACTIVE";
    case PowerState::FAULT:
      break;
  }
  return "FAULT";
}

std::string to_text(const Event& event, Time began) {
  constexpr long long kMicroseconds = 1000000;
  const long long time = microseconds_since(began, event.time);
  std::array<char, 40> seconds{};
  std::snprintf(seconds.data(), seconds.size(), "%lld.%06lld s: ", time / kMicroseconds,
                time % kMicroseconds);
  return seconds.data() + what(event) + (event.cause.empty() ? "" : " (" + event.cause + ")");
}

std::string to_json(const Event& event, Time began, std::uint8_t node) {
  std::string json = "{\"t_us\":" + std::to_string(microseconds_since(began, event.time));
  json += ",\"drive\":" + std::to_string(node);
  json += ",\"kind\":\"" + std::string(kind_of(event)) + "\"";
  json += ",\"code\":" + std::to_string(event.code);
  json += ",\"text\":" + quoted(what(event));
  json += ",\"cause\":" + quoted(event.cause);
  return json + "}";
}

}  // namespace tav::drive
