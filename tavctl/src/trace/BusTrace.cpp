#include "trace/BusTrace.hpp"

#include <chrono>
#include <cstddef>
#include <cstdio>

#include "model/Format.hpp"

namespace tavctl {

namespace {

using nkr::can::Clock;

/** A bus that stays silent this long has delivered everything that was sent. */
constexpr auto kQuiet = std::chrono::milliseconds(20);

std::string bytes_of(const nkr::can::Frame& frame) {
  std::string text;
  for (std::size_t i = 0; i < frame.size && i < frame.data.size(); ++i) {
    text += (text.empty() ? "" : " ") + hex(frame.data[i], 2).substr(2);
  }
  return text;
}

}  // namespace

BusTrace::BusTrace(nkr::can::Bus& bus, const nkr::tools::EDSParser& description, Output& output)
    : decoder_(description), output_(output) {
  nkr_error_t result = NKR_OK;
  port_ = bus.open({}, result);
  if (!port_) throw Failure(ExitCode::CONNECTION, "cannot trace " + bus.name(), hint_for(result), result);
  thread_ = std::thread([this] { run(); });
}

BusTrace::~BusTrace() {
  std::this_thread::sleep_for(kQuiet);
  port_->close();
  thread_.join();
}

void BusTrace::run() {
  const Clock::time_point start = Clock::now();
  nkr::can::Frame frame;
  while (true) {
    const nkr_error_t result = port_->receive(frame, Clock::now() + std::chrono::seconds(1));
    if (result == NKR_CAN_CLOSED) return;
    if (result == NKR_OK) show(frame, std::chrono::duration<double>(Clock::now() - start).count());
  }
}

void BusTrace::show(const nkr::can::Frame& frame, double seconds) {
  const FrameMeaning meaning = decoder_.decode(frame);
  char head[40];
  std::snprintf(head, sizeof head, "%10.6f  %03X  ", seconds, static_cast<unsigned>(frame.id));
  output_.note(head + padded(bytes_of(frame), 25) + padded(meaning.kind, 16) + meaning.text);
}

}  // namespace tavctl
