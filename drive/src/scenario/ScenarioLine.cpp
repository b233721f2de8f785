#include "scenario/ScenarioLine.hpp"

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <nkr/can/Frame.hpp>
#include <utility>

#include "scenario/Words.hpp"

namespace tav::drive {
namespace {

std::uint32_t take_code(Words& words, std::int64_t high, const char* what) {
  return static_cast<std::uint32_t>(number_between(words.take_any(what), 0, high, what));
}

void take_access(Words& words, Trigger& when) {
  if (!words.take("each")) {
    take_range(words, when.nth, when.last, "the number of an access, from 1, or \"each\"");
  }
  if (words.take("read")) {
    when.kind = Trigger::Kind::READ;
  } else if (words.take("write")) {
    when.kind = Trigger::Kind::WRITE;
  } else if (words.take("any")) {
    when.kind = Trigger::Kind::ACCESS;
  } else {
    throw Mistake{"an access is a read, a write or any"};
  }
  when.any_object = words.take("*");
  if (!when.any_object) when.object = take_object(words);
}

void take_frame(Words& words, Trigger& when) {
  constexpr std::int64_t kMost = std::numeric_limits<std::uint32_t>::max();
  when.kind = Trigger::Kind::FRAME;
  if (words.take("every")) {
    when.every = static_cast<std::uint32_t>(take_number(words, 1, kMost, "a number of frames, from 1"));
  } else if (!words.take("each")) {
    take_range(words, when.nth, when.last,
               "the number of a frame, from 1, \"each\" or \"every\" and a number");
  }
  when.frame = take_frame_class(words);
}

void take_every(Words& words, Trigger& when) {
  when.kind = Trigger::Kind::EVERY;
  when.time = take_time(words);
  if (when.time.count() == 0) throw Mistake{"every 0 ms is without end"};
  if (words.take("until")) when.until = take_time(words);
}

void take_when(Words& words, Trigger& when) {
  when.kind = Trigger::Kind::CONDITION;
  when.condition = take_condition(words);
  if (words.take("for")) when.duration = take_time(words);
}

void take_reply(Words& words, Action& action) {
  using Kind = Action::Kind;
  const std::string kind = words.take_any("what becomes of the reply");
  if (kind == "lost") {
    action.kind = Kind::REPLY_LOST;
  } else if (kind == "late") {
    action.kind = Kind::REPLY_LATE;
    action.duration = take_time(words);
  } else if (kind == "twice") {
    action.kind = Kind::REPLY_TWICE;
  } else if (kind == "abort") {
    action.kind = Kind::REPLY_ABORT;
    action.code = take_code(words, 0xFFFFFFFF, "an abort code");
  } else if (kind == "wrong-toggle") {
    action.kind = Kind::REPLY_WRONG_TOGGLE;
  } else if (kind == "wrong-index") {
    action.kind = Kind::REPLY_WRONG_INDEX;
  } else if (kind == "wrong-size") {
    action.kind = Kind::REPLY_WRONG_SIZE;
  } else {
    throw Mistake{"a reply is not \"" + kind +
                  "\" but lost, late, twice, abort, wrong-toggle, wrong-index or wrong-size"};
  }
}

void take_reset(Words& words, Action& action) {
  action.kind = words.take("amid") ? Action::Kind::RESET_AMID : Action::Kind::RESET;
}

void take_bus(Words& words, Action& action) {
  const std::string state = words.take_any("the state of the bus");
  if (state == "back") {
    action.kind = Action::Kind::BUS_BACK;
    return;
  }
  if (state != "off" && state != "gone") throw Mistake{"a bus is off, gone or back"};
  action.kind = state == "off" ? Action::Kind::BUS_OFF : Action::Kind::BUS_GONE;
  if (!words.empty()) action.duration = take_time(words);
}

constexpr const char* kErrorCode = "an error code of 16 bits";

void take_emergency(Words& words, Action& action) {
  action.kind = Action::Kind::EMERGENCY;
  action.code = take_code(words, 0xFFFF, kErrorCode);
}

void take_fault(Words& words, Action& action) {
  action.kind = Action::Kind::FAULT;
  action.code = take_code(words, 0xFFFF, kErrorCode);
  action.on = !words.take("passing");
}

void take_clear(Words& words, Action& action) {
  action.kind = Action::Kind::CLEAR;
  if (!words.empty()) action.code = take_code(words, 0xFFFF, kErrorCode);
}

void take_sto(Words& words, Action& action) {
  action.kind = Action::Kind::SAFE_TORQUE_OFF;
  action.on = words.take("on");
  if (!action.on && !words.take("off")) throw Mistake{"sto is on (demanded) or off"};
}

void take_sensor(Words& words, Action& action) {
  using Sensor = Action::Sensor;
  constexpr std::pair<const char*, Sensor> kSensors[] = {{"battery-voltage", Sensor::BATTERY_VOLTAGE},
                                                         {"phase-current", Sensor::PHASE_CURRENT},
                                                         {"mosfet-1", Sensor::MOSFET_1},
                                                         {"mosfet-2", Sensor::MOSFET_2},
                                                         {"driver", Sensor::DRIVER}};
  action.kind = Action::Kind::MEASURE;
  const std::string name = words.take_any("an input");
  for (const auto& [known, sensor] : kSensors) {
    if (name != known) continue;
    action.sensor = sensor;
    if (words.take("ok")) {
      action.kind = Action::Kind::SENSOR_OK;
      return;
    }
    action.value = static_cast<std::int32_t>(
        number_between(words.take_any("a value"), std::numeric_limits<std::int32_t>::min(),
                       std::numeric_limits<std::int32_t>::max(), "a number (mV, mA or degrees Celsius)"));
    return;
  }
  throw Mistake{"no input is called \"" + name +
                "\": battery-voltage, phase-current, mosfet-1, mosfet-2, driver"};
}

void take_silence(Words& words, Action& action) {
  action.kind = Action::Kind::SILENCE;
  action.duration = take_time(words);
}

void take_set(Words& words, Action& action) {
  action.kind = Action::Kind::SET;
  action.object = take_object(words);
  action.text = words.take_any("a value");
}

void take_frame_fault(const std::string& name, Words& words, Action& action) {
  using Kind = FrameFault::Kind;
  action.kind = Action::Kind::FRAME_FAULT;
  FrameFault& fault = action.fault;
  if (name == "late") {
    fault.kind = Kind::LATE;
    fault.delay = take_time(words);
    if (words.take("jitter")) fault.jitter = take_time(words);
  } else if (name == "corrupt") {
    fault.kind = Kind::CORRUPT;
    if (!words.empty() && words.peek() != "with" && words.peek() != "count" && words.peek() != "until") {
      constexpr const char* kBit = "a byte and a bit of it, such as 3.7";
      const std::string bit = words.take_any(kBit);
      const std::size_t point = bit.find('.');
      if (point == std::string::npos) throw Mistake{"\"" + bit + "\" is not " + kBit};
      fault.bit = static_cast<std::int32_t>(8 * number_between(bit.substr(0, point), 0, 7, kBit) +
                                            number_between(bit.substr(point + 1), 0, 7, kBit));
    }
  } else {
    fault.kind = name == "lose" ? Kind::LOSE : Kind::DUPLICATE;
  }
  while (!words.empty()) {
    if (words.take("with")) {
      std::string part = words.take_any("a probability");
      if (!part.empty() && part.back() == '%') part.pop_back();
      Words alone(part);
      fault.probability = take_real(alone, 0, 100, "a probability, from 0 to 100%") / 100;
    } else if (words.take("count")) {
      fault.count = take_code(words, 0xFFFFFFFF, "a number of frames");
      if (fault.count == 0) throw Mistake{"count 0 disturbs no frame"};
    } else if (words.take("until")) {
      fault.until = take_time(words);
    } else {
      return;
    }
  }
}

void take_power(Words& words, Action& action) {
  action.kind = Action::Kind::POWER;
  action.on = words.take("on");
  if (!action.on && !words.take("off")) throw Mistake{"the power is off or on"};
}

void take_battery(Words& words, Action& action) {
  action.kind = Action::Kind::BATTERY;
  action.on = words.take("closed");
  if (!action.on && !words.take("open")) throw Mistake{"a battery is open (cut off) or closed"};
}

void take_quantity(const std::string& name, Words& words, Action& action) {
  using Quantity = Action::Quantity;
  const struct {
    const char* name;
    Quantity quantity;
    double low;
    double high;
    const char* what;
  } kQuantities[] = {{"load", Quantity::LOAD, 0, 1e5, "a mass in kg"},
                     {"slope", Quantity::SLOPE, -100, 100, "a slope in percent"},
                     {"voltage", Quantity::VOLTAGE, 0, 1000, "a voltage in V"},
                     {"friction", Quantity::FRICTION, 0, 100, "a torque in Nm"},
                     {"ambient", Quantity::AMBIENT, -60, 150, "a temperature in C"}};
  action.kind = Action::Kind::QUANTITY;
  for (const auto& one : kQuantities) {
    if (name != one.name) continue;
    action.quantity = one.quantity;
    action.number = take_real(words, one.low, one.high, one.what);
  }
  if (words.take("over")) action.duration = take_time(words);
}

void take_encoder(Words& words, Action& action) {
  using Fault = Action::EncoderFault;
  action.kind = Action::Kind::ENCODER;
  constexpr std::int64_t kMost = 1000000;
  Fault fault = Fault::OK;
  if (words.take("stuck")) {
    fault = Fault::STUCK;
  } else if (words.take("inverted")) {
    fault = Fault::INVERTED;
  } else if (words.take("offset")) {
    fault = Fault::OFFSET;
    action.value = static_cast<std::int32_t>(take_number(words, -kMost, kMost, "a number of counts"));
  } else if (words.take("noise")) {
    fault = Fault::NOISE;
    action.value = static_cast<std::int32_t>(take_number(words, 0, kMost, "a number of counts"));
  } else if (!words.take("ok")) {
    throw Mistake{"an encoder is stuck, inverted, offset N, noise N or ok"};
  }
  action.code = static_cast<std::uint32_t>(fault);
}

void take_brake(Words& words, Action& action) {
  using Fault = Action::BrakeFault;
  action.kind = Action::Kind::BRAKE;
  Fault fault = Fault::OK;
  if (words.take("worn")) {
    fault = Fault::WORN;
    action.number = take_real(words, 0, 100, "a percentage") / 100;
  } else if (words.take("stuck")) {
    fault = words.take("open") ? Fault::STUCK_OPEN : Fault::STUCK_CLOSED;
    if (fault == Fault::STUCK_CLOSED && !words.take("closed"))
      throw Mistake{"a brake is stuck open or closed"};
  } else if (!words.take("ok")) {
    throw Mistake{"a brake is worn PERCENT, stuck open, stuck closed or ok"};
  }
  action.code = static_cast<std::uint32_t>(fault);
}

void take_phase(Words& words, Action& action) {
  action.kind = Action::Kind::PHASE;
  action.on = words.take("ok");
  if (!action.on && !words.take("lost")) throw Mistake{"a phase is lost or ok"};
}

void take_flash(Words& words, Action& action) {
  action.kind = Action::Kind::FLASH;
  action.on = words.take("ok");
  if (!action.on && !words.take("fails")) throw Mistake{"the flash fails or is ok"};
}

void take_send(Words& words, Action& action) {
  action.kind = Action::Kind::SEND;
  if (words.empty()) throw Mistake{"a frame such as 601#4018100100000000 is missing"};
  action.text = words.take_any("a frame");
  // What stands behind # is no comment here, but reads as one.
  if (!nkr::can::parse_frame(action.text)) {
    throw Mistake{"\"" + action.text +
                  "\" is no frame such as \"601#4018100100000000\" (in quotation marks)"};
  }
}

void take_stop(Words& /*words*/, Action& action) {
  action.kind = Action::Kind::STOP;
}

void take_expect(Words& words, Action& action) {
  action.kind = Action::Kind::CHECK;
  Check& check = action.check;
  if (words.take("frame")) {
    check.kind = Check::Kind::FRAME_WITHIN;
    check.frame = take_frame_class(words);
    if (!words.take("within")) throw Mistake{"a frame is expected \"within\" a time"};
    check.time = take_time(words);
    return;
  }
  if (words.take("count")) {
    check.kind = Check::Kind::COUNT;
    check.frame = take_frame_class(words);
    constexpr const char* kRange = "a number of frames, or the least and the most, such as 9..11";
    const std::string word = words.take_any(kRange);
    const std::size_t dots = word.find("..");
    check.low = static_cast<std::uint32_t>(number_between(word.substr(0, dots), 0, 0xFFFFFFFF, kRange));
    check.high = check.low;
    if (dots != std::string::npos) {
      check.high =
          static_cast<std::uint32_t>(number_between(word.substr(dots + 2), check.low, 0xFFFFFFFF, kRange));
    }
    if (!words.take("in")) throw Mistake{"so many frames are expected \"in\" a time"};
    check.time = take_time(words);
    return;
  }
  check.condition = take_condition(words);
  if (words.take("within")) {
    check.kind = Check::Kind::WITHIN;
  } else if (words.take("for")) {
    check.kind = Check::Kind::LASTING;
  } else {
    throw Mistake{"it is expected \"within\" a time or \"for\" a time"};
  }
  check.time = take_time(words);
}

void take_never(Words& words, Action& action) {
  action.kind = Action::Kind::CHECK;
  action.check.kind = Check::Kind::NEVER;
  action.check.condition = take_condition(words);
  if (words.take("until")) action.check.time = take_time(words);
}

void take_check(Words& words, Action& action) {
  action.kind = Action::Kind::CHECK;
  action.check.kind = Check::Kind::NOW;
  action.check.condition = take_condition(words);
}

bool is_one_of(const std::string& name, std::initializer_list<const char*> names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

Action action_called(const std::string& name, Words& words) {
  constexpr std::pair<const char*, void (*)(Words&, Action&)> kActions[] = {
      {"reply", take_reply},     {"reset", take_reset},   {"bus", take_bus},     {"emcy", take_emergency},
      {"fault", take_fault},     {"clear", take_clear},   {"sto", take_sto},     {"input", take_sensor},
      {"silence", take_silence}, {"set", take_set},       {"power", take_power}, {"battery", take_battery},
      {"encoder", take_encoder}, {"brake", take_brake},   {"phase", take_phase}, {"flash", take_flash},
      {"send", take_send},       {"expect", take_expect}, {"never", take_never}, {"check", take_check},
      {"stop", take_stop},
  };
  Action action;
  if (is_one_of(name, {"lose", "late", "duplicate", "corrupt"})) {
    take_frame_fault(name, words, action);
    return action;
  }
  if (is_one_of(name, {"load", "slope", "voltage", "friction", "ambient"})) {
    take_quantity(name, words, action);
    return action;
  }
  for (const auto& [known, take] : kActions) {
    if (name != known) continue;
    take(words, action);
    return action;
  }
  throw Mistake{
      "\"" + name +
      "\" is not known: reply, reset, bus, emcy, fault, clear, sto, input, silence, set, lose, late, "
      "duplicate, corrupt, power, battery, load, slope, voltage, friction, ambient, encoder, brake, phase, "
      "flash, send, expect, never, check or stop"};
}

Action take_action(Words& words) {
  const std::string name = words.take_any("what is to happen");
  Action action = action_called(name, words);
  if (!words.empty()) throw Mistake{"\"" + words.peek() + "\" is too much"};
  return action;
}

void take_trigger(Words& words, Trigger& when) {
  if (words.take("at") || words.take("after")) {
    when.time = take_time(words);
    if (words.take("frame")) take_frame(words, when);
  } else if (words.take("access")) {
    take_access(words, when);
  } else if (words.take("frame")) {
    take_frame(words, when);
  } else if (words.take("every")) {
    take_every(words, when);
  } else if (words.take("state")) {
    when.kind = Trigger::Kind::POWER_STATE;
    when.code = take_power_state(words);
  } else if (words.take("nmt")) {
    when.kind = Trigger::Kind::NMT_STATE;
    when.code = take_nmt_state(words);
  } else if (words.take("when")) {
    take_when(words, when);
  }
}

void check_that_it_fits(const ScenarioEvent& event) {
  const bool disturbs = event.action.kind == Action::Kind::FRAME_FAULT;
  if (disturbs && event.when.kind != Trigger::Kind::FRAME) {
    throw Mistake{"which frames? \"frame each sdo-reply lose\", for example"};
  }
}

}  // namespace

std::optional<ScenarioEvent> event_in(std::string_view line) {
  Words words(line);
  if (words.empty()) return std::nullopt;
  ScenarioEvent event;
  if (words.take("on")) {
    std::string node = words.take_any("a node id");
    if (!node.empty() && node.back() == ':') node.pop_back();
    event.node = static_cast<std::uint8_t>(number_between(node, 1, 127, "a node id, 1 to 127"));
  }
  take_trigger(words, event.when);
  event.action = take_action(words);
  check_that_it_fits(event);
  while (!line.empty() && is_blank(line.front())) line.remove_prefix(1);
  while (!line.empty() && is_blank(line.back())) line.remove_suffix(1);
  event.text = std::string(line);
  return event;
}

}  // namespace tav::drive
