#include "commands/session/BusTrace.hpp"

#include <chrono>

#include "text/FrameView.hpp"

namespace tavctl {

namespace {

using nkr::can::Clock;

/** A bus that stays silent this long has delivered everything that was sent. */
constexpr auto kQuiet = std::chrono::milliseconds(20);

}  // namespace

BusTrace::BusTrace(nkr::can::Bus& bus, const nkr::tools::EDSParser& description, std::uint8_t node,
                   Output& output)
    : decoder_(description, node), output_(output) {
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
  const auto start = std::chrono::system_clock::now();
  nkr::can::Frame frame;
  std::chrono::system_clock::time_point when;
  while (true) {
    const nkr_error_t result = port_->receive(frame, std::chrono::seconds(1), &when);
    if (result == NKR_CAN_CLOSED) return;
    if (result != NKR_OK) continue;
    const double seconds = std::chrono::duration<double>(when - start).count();
    output_.note(frame_line(seconds, frame, decoder_.decode(frame)));
  }
}

}  // namespace tavctl
