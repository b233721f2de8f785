#include "operations.hpp"

namespace tavtest {

using nkr::tavcore::CANOpenDispatcher;

namespace {

Operation version_getter(std::string name, nkr_error_t (CANOpenDispatcher::*getter)(unsigned int&) const,
                         std::string object) {
  return plain_getter(
             std::move(name), 0xAAAAAAAAU,
             [getter](const auto& dispatcher, unsigned int& number) { return (dispatcher.*getter)(number); },
             [](unsigned int number) { return Values{number}; }, {read(std::move(object), 0x01020304U)})
      .as("number");
}

Values values_of(const nkr::canopenservice::TavOut& out) {
  return {out.statusWord, out.position, out.velocity};
}

}  // namespace

std::vector<Operation> process_data_operations() {
  nkr::canopenservice::TavOut untouched{};
  untouched.statusWord = 0xAAAA;
  untouched.position = -1;
  untouched.velocity = -2;
  Step exchange = sync_exchange();
  // A client that has nothing to tell answers zeros.
  for (const auto& [output, zero] : {std::pair<std::size_t, Value>{0, u16(0)}, {1, 0}, {2, 0}}) {
    exchange = std::move(exchange).converted(output, zero);
  }
  return {
      getter(
          "syncTav", untouched,
          [](auto& dispatcher, auto& out) { return dispatcher.syncTav(-321, true, out); },
          [](const auto& out) { return values_of(out); },
          {resolve("nkr_tav_status_word", u16(0)), resolve("position_value", 0),
           resolve("velocity_actual_value", 0), exchange}),
      version_getter("getSWVersion", &CANOpenDispatcher::getSWVersion, "Software version"),
      version_getter("getHWVersion", &CANOpenDispatcher::getHWVersion, "Hardware version"),
      version_getter("getHWConfig", &CANOpenDispatcher::getHWConfig, "Hardware config"),
      version_getter("getHWId", &CANOpenDispatcher::getHWId, "Hardware ID"),
  };
}

namespace {

/** An operation that answers a fixed code and does nothing. */
template <class Call>
Operation fixed_answer(std::string name, nkr_error_t code, Call call) {
  return setter(std::move(name), call, {}).unguarded().finishing([code](Outcome& outcome) {
    outcome.result = code;
  });
}

struct TavInfos {
  bool operation_enabled = true;
  unsigned char nmt_state = 9;
  bool usb_present = true;
  int odometry = 8;
  int position = 7;
  int velocity = 6;
  unsigned int reserved = 5;
  int speed_percent = 4;
  nkr::tavcore::IDiagnosticService::MoveEnum move = nkr::tavcore::IDiagnosticService::MoveEnum::BACKWARD;
};

Operation tav_infos() {
  return getter(
             "getTavInfos", TavInfos{},
             [](const auto& dispatcher, TavInfos& infos) {
               return dispatcher.getTavInfos(infos.operation_enabled, infos.nmt_state, infos.usb_present,
                                             infos.odometry, infos.position, infos.velocity, infos.reserved,
                                             infos.speed_percent, infos.move);
             },
             [](const TavInfos& infos) {
               return Values{
                   infos.operation_enabled, infos.nmt_state,     infos.usb_present,
                   infos.odometry,          infos.position,      infos.velocity,
                   infos.reserved,          infos.speed_percent, static_cast<std::int32_t>(infos.move)};
             },
             {})
      .unguarded()
      .finishing([](Outcome& outcome) { outcome.result = NKR_ERROR; });
}

Operation version_text(std::string name, nkr_error_t (CANOpenDispatcher::*operation)(std::string&) const) {
  return getter(
             std::move(name), std::string("untouched"),
             [operation](const auto& dispatcher, std::string& text) { return (dispatcher.*operation)(text); },
             [](const std::string& text) { return Values{text}; }, {})
      .as("text")
      .unguarded()
      .finishing([](Outcome& outcome) { outcome.result = NKR_NOT_AVAILABLE; });
}

}  // namespace

std::vector<Operation> controller_only_operations() {
  using Move = nkr::tavcore::IDiagnosticService::MoveEnum;
  return {
      getter(
          "getAxisData", std::pair<int, int>{11, 22},
          [](const auto& dispatcher, auto& data) { return dispatcher.getAxisData(data.first, data.second); },
          [](const auto& data) {
            return Values{data.first, data.second};
          },
          {})
          .unguarded()
          .finishing([](Outcome& outcome) { outcome.result = NKR_ERROR; }),
      tav_infos(),
      fixed_answer("setTavInfos", NKR_ERROR,
                   [](auto& dispatcher) { return dispatcher.setTavInfos(50, Move::FORWARD); }),
      version_text("getSWVersion", &CANOpenDispatcher::getSWVersion),
      version_text("getHWVersion", &CANOpenDispatcher::getHWVersion),
      getter(
          "checkHWCompatibility", true,
          [](const auto& dispatcher, bool& compatible) {
            return dispatcher.checkHWCompatibility("hw", compatible);
          },
          [](bool compatible) { return Values{compatible}; }, {})
          .unguarded()
          .finishing([](Outcome& outcome) { outcome.result = NKR_NOT_AVAILABLE; }),
      getter(
          "getOdometryValue", 77,
          [](const auto& dispatcher, int& odometry) { return dispatcher.getOdometryValue(odometry); },
          [](int odometry) { return Values{odometry}; }, {})
          .unguarded()
          .finishing([](Outcome& outcome) { outcome.result = NKR_NOT_AVAILABLE; }),
      setter("enterInOperationEnabledState",
             [](auto& dispatcher) { return dispatcher.enterInOperationEnabledState(); }, {})
          .unguarded()
          .finishing([](Outcome& outcome) {
            outcome.result = NKR_NOT_AVAILABLE;
            outcome.records.push_back(dispatcher_record(2, "enterInOperationEnabledState",
                                                        "enterInOperationEnabledState() not implemented !"));
          }),
  };
}

}  // namespace tavtest
