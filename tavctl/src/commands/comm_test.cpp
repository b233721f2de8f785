#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <nkr/canopen/SdoTimeoutScope.hpp>
#include <numeric>
#include <optional>
#include <string>
#include <tav/host/BusMeter.hpp>
#include <tav/host/Interrupt.hpp>
#include <tav/host/objects.hpp>
#include <vector>

#include "cli/Format.hpp"
#include "cli/Progress.hpp"
#include "commands/AllCommands.hpp"
#include "commands/session/BusInfo.hpp"
#include "commands/session/Drive.hpp"
#include "commands/session/Session.hpp"
#include "text/Percentiles.hpp"

namespace tavctl {

namespace {

using Clock = std::chrono::steady_clock;

/** A node that answers none of the first requests is not there: the rest would only take time. */
constexpr std::size_t kLostAtOnce = 3;

struct CommTestOptions {
  int count = 1000;
  std::string object = "0x1000";
  int interval_ms = 0;
  int timeout_ms = 1000;
  std::optional<unsigned> bit_rate;
};

struct Measurement {
  std::vector<double> microseconds;  ///< of the requests that were answered
  std::size_t lost = 0;
  double seconds = 0;
  bool interrupted = false;

  [[nodiscard]] std::size_t requests() const { return microseconds.size() + lost; }
};

nkr::tools::ObjectID object_of(const Session& session, const std::string& text) {
  const ObjectReference reference = reference_named(session.description(), text);
  const nkr::tools::ObjectEntry* const object = object_named(session.description(), reference);
  return object == nullptr ? *reference.address : object->getObjectID();
}

/** One request; what is neither an answer nor a loss is a Failure. */
void ask(Session& session, nkr::tools::ObjectID object, Measurement& measured) {
  std::vector<std::uint8_t> ignored;
  const Clock::time_point before = Clock::now();
  const nkr_error_t result = read_bytes(session.unit(), object, ignored);
  const std::chrono::duration<double, std::micro> taken = Clock::now() - before;
  if (result == NKR_OK) {
    measured.microseconds.push_back(taken.count());
    return;
  }
  ++measured.lost;
  const bool nobody = measured.microseconds.empty() && measured.lost >= kLostAtOnce;
  if (result != NKR_SDO_TIMED_OUT || nobody) throw session.failure(result, "exchange frames with the drive");
}

Measurement measure(Session& session, const Interrupt& interrupt, const CommTestOptions& options) {
  const nkr::canopen::SdoTimeoutScope timeout{std::chrono::milliseconds(options.timeout_ms)};
  const nkr::tools::ObjectID object = object_of(session, options.object);
  Measurement measured;
  Progress progress(session.output(), "requests");
  const Clock::time_point start = Clock::now();
  for (int i = 0; i < options.count && !measured.interrupted; ++i) {
    ask(session, object, measured);
    progress.count(measured.requests(), static_cast<std::size_t>(options.count));
    measured.interrupted = options.interval_ms > 0
                               ? !interrupt.wait_for(std::chrono::milliseconds(options.interval_ms))
                               : interrupt.requested();
  }
  measured.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  return measured;
}

std::string with_unit(double value, const char* unit) {
  char text[48];
  std::snprintf(text, sizeof text, "%.1f %s", value, unit);
  return text;
}

void print_times(Output& output, const Measurement& measured) {
  const std::vector<double>& times = measured.microseconds;
  const auto line = [&output](const char* label, const char* key, double microseconds) {
    output.fact(label, with_unit(microseconds, "us"), key, microseconds);
  };
  output.fact("Requests", std::to_string(measured.requests()), "requests", measured.requests());
  output.fact("Lost", std::to_string(measured.lost), "lost", measured.lost);
  if (times.empty()) return;
  line("Round trip, shortest", "min_us", percentile(times, 0));
  line("  half within", "p50_us", percentile(times, 50));
  line("  90 % within", "p90_us", percentile(times, 90));
  line("  99 % within", "p99_us", percentile(times, 99));
  line("  longest", "max_us", percentile(times, 100));
  const double rate = static_cast<double>(times.size()) / std::max(measured.seconds, 1e-6);
  output.fact("Rate", with_unit(rate, "requests a second"), "requests_per_second", rate);
}

void print_bus(Session& session, const BusMeter& meter, double seconds, const CommTestOptions& options) {
  const std::optional<unsigned> known =
      options.bit_rate ? options.bit_rate : bus_info_of(session.bus().name()).bit_rate;
  Output& output = session.output();
  output.fact("Frames on the bus", std::to_string(meter.frames()), "frames", meter.frames());
  output.put("bits", meter.bits());
  output.put("bit_rate", known ? Json(*known) : Json());
  if (known) {
    const double load = 100.0 * static_cast<double>(meter.bits()) / (std::max(seconds, 1e-6) * *known);
    output.fact("Bus load", with_unit(load, "%") + " of " + std::to_string(*known) + " bit/s",
                "bus_load_percent", load);
  } else {
    const double rate = static_cast<double>(meter.bits()) / std::max(seconds, 1e-6);
    output.fact("Bus load", with_unit(rate, "bit/s") + "; this bus has no bit rate (--bit-rate gives one)",
                "bits_per_second", rate);
  }
  const nkr::can::BusStatus status = meter.status();
  output.fact("Bus state",
              std::string(nkr::can::to_string(status.state)) + ", error counters tx " +
                  std::to_string(status.tx_errors) + ", rx " + std::to_string(status.rx_errors),
              "bus_state", nkr::can::to_string(status.state));
}

ExitCode comm_test(Context& context, const CommTestOptions& options) {
  const SignalInterrupt interrupt;
  Session session(context, &interrupt);
  nkr_error_t opened = NKR_OK;
  BusMeter meter(session.bus(), opened);
  session.check(opened, "listen on the bus");
  const Measurement measured = measure(session, interrupt, options);
  meter.stop();
  print_times(session.output(), measured);
  print_bus(session, meter, measured.seconds, options);
  if (measured.interrupted) return ExitCode::INTERRUPTED;
  return measured.lost == 0 ? ExitCode::OK : ExitCode::FINDINGS;
}

}  // namespace

void add_comm_test(Command& program) {
  auto options = std::make_shared<CommTestOptions>();
  Command& command = program.add(
      "comm-test",
      "How well the drive is reached: round-trip times, losses, bus load (1 when some were lost)");
  command.option("--count", options->count, "Requests [1000]").range(1, 10'000'000);
  command.option("--object", options->object, "What is read, by name or address [0x1000]");
  command.option("--interval", options->interval_ms, "Milliseconds between two requests [0]")
      .range(0, 60'000);
  command.option("--timeout", options->timeout_ms, "Milliseconds after which a request is lost [1000]")
      .range(1, 60'000);
  command.option("--bit-rate", options->bit_rate, "Bit/s for the bus load, where the interface tells none")
      .range(1000U, 1'000'000U);
  command.footer(
      "Reads one object again and again. The time is that of the whole read, as a program sees it. The\n"
      "bus load counts the frames of all nodes with their stuff bits; with --interval 0 it is the most\n"
      "that this host causes. Long times at 99 % on an idle bus point to the host or its CAN adapter.");
  command.on([options](Context& context) { return comm_test(context, *options); });
}

}  // namespace tavctl
