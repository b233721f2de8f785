#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <tav/host/Interrupt.hpp>
#include <tav/host/objects.hpp>

#include "cli/Format.hpp"
#include "commands/AllCommands.hpp"
#include "commands/FrameOptions.hpp"
#include "commands/session/Session.hpp"

namespace tavctl {

namespace {

using nkr::can::Clock;

struct SniffOptions {
  FrameChoice choice;
  std::optional<double> seconds;
  bool read_mapping = false;
};

/** What the reading of one object of the PDO parameters says; nothing is thrown: sniffing goes on. */
nkr_error_t read_parameter(Session& session, nkr::tools::ObjectID id, std::uint8_t& first_byte) {
  std::vector<std::uint8_t> bytes;
  const nkr_error_t result = read_bytes(session.unit(), id, bytes);
  first_byte = bytes.empty() ? std::uint8_t{0} : bytes[0];
  return result;
}

/** Reads the drive's PDO parameters; the decoder takes them from the frames as it does anybody's. */
void read_mapping(Session& session) {
  constexpr std::uint16_t kFirst = 0x1400;
  constexpr std::uint16_t kLast = 0x1BFF;
  constexpr std::uint16_t kMapping = 0x200;
  std::uint8_t entries = 0;
  for (const auto& object : session.description().objects()) {
    const nkr::tools::ObjectID id = object->getObjectID();
    if (id.index() < kFirst || id.index() > kLast) continue;
    const bool mapping = (id.index() & kMapping) != 0;
    if (mapping ? id.subindex() > entries && id.subindex() != 0 : id.subindex() != 1) continue;
    std::uint8_t first_byte = 0;
    const nkr_error_t result = read_parameter(session, id, first_byte);
    if (result != NKR_OK) {
      session.output().note("the drive's PDO mapping was not read, the description's is used: " +
                            object_text(*object) + ", " + result_text(result));
      return;
    }
    if (mapping && id.subindex() == 0) entries = first_byte;
  }
}

class Sniffer {
 public:
  Sniffer(Session& session, const SniffOptions& options)
      : session_(session),
        decoder_(session.description(), session.node()),
        view_(decoder_, options.choice, session.output()) {
    nkr_error_t result = NKR_OK;
    port_ = session.bus().open({}, result);
    session.check(result, "listen on the bus");
  }

  /** Shows what comes until then; false when nothing more is wanted. */
  bool show_until(Clock::time_point deadline) {
    nkr::can::Frame frame;
    std::chrono::system_clock::time_point when;
    while (true) {
      const nkr_error_t result = port_->receive(frame, deadline, &when);
      if (result == NKR_CAN_TIMED_OUT) return true;
      if (result == NKR_OK && !view_.show(frame, when)) return false;
      if (result == NKR_CAN_CLOSED) session_.check(result, "listen on the bus");
      if (result != NKR_OK) session_.output().note(std::string("bus: ") + nkr_error_text(result));
    }
  }
  [[nodiscard]] std::uint64_t lost() const { return port_->status().dropped; }

 private:
  Session& session_;
  FrameDecoder decoder_;
  FrameView view_;
  std::unique_ptr<nkr::can::Port> port_;
};

ExitCode sniff(Context& context, const SniffOptions& options) {
  constexpr std::chrono::milliseconds kLook{100};  // how soon Ctrl-C is seen
  const SignalInterrupt interrupt;
  Session session(context, &interrupt);
  Sniffer sniffer(session, options);
  if (options.read_mapping) read_mapping(session);
  const auto end = options.seconds ? Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                                        std::chrono::duration<double>(*options.seconds))
                                   : Clock::time_point::max();
  while (!interrupt.requested() && Clock::now() < end) {
    const bool more = sniffer.show_until(std::min(end, Clock::now() + kLook));
    session.output().flush();
    if (!more) break;
  }
  if (sniffer.lost() == 0) return ExitCode::OK;
  session.output().note(std::to_string(sniffer.lost()) +
                        " frames were lost: they came faster than they were shown");
  return ExitCode::FINDINGS;
}

}  // namespace

void add_sniff(Command& program) {
  auto options = std::make_shared<SniffOptions>();
  Command& command =
      program.add("sniff", "Every frame on the bus with its meaning, until Ctrl-C; sends nothing");
  command.option("--for", options->seconds, "End after so many seconds").range(0.01, 1e6);
  add_frame_options(command, options->choice);
  command.flag("--read-mapping", options->read_mapping,
               "Read the drive's PDO parameters first (SDO uploads; they are shown too)");
  command.footer(
      "PDOs are read by the mapping that is heard being read or written, else by the description's.\n"
      "Exit code 1: frames were lost.\n"
      "\n"
      "  tavctl --bus can0 sniff --kind sdo,emcy --nodes 10\n"
      "  tavctl --bus can0 sniff --for 5 --json");
  command.on([options](Context& context) { return sniff(context, *options); });
}

}  // namespace tavctl
