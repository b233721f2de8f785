#include "commands/session/Session.hpp"

#include <chrono>
#include <future>
#include <utility>

#include "commands/session/Configuration.hpp"
#include "commands/session/OpenBus.hpp"
#include "text/explained.hpp"

namespace tavctl {

namespace {

UnitSettings settings_of(const Options& options, const Interrupt* interrupt) {
  UnitSettings settings;
  settings.node_id = static_cast<std::uint8_t>(options.node.value_or(0));
  settings.host_node_id = static_cast<std::uint8_t>(options.host_node.value_or(0));
  settings.sdo_timeout = std::chrono::milliseconds(options.timeout_ms.value_or(0));
  settings.interrupt = interrupt;
  return settings;
}

}  // namespace

Session::Session(Context& context, const Interrupt* interrupt) : context_(context), output_(context.output) {
  const Options& options = context.options;
  UnitSettings settings = settings_of(options, interrupt);
  configuration_ = load_configuration(context);
  settings.parts.config = configuration_.config();
  settings.on_warning = [this](const Explanation& warning) { tell(warning); };
  settings.parts.bus = bus_ = open_bus(options.bus);
  if (!options.scenario.empty() && options.bus != kVirtualBus) {
    throw Failure(ExitCode::USAGE, "--scenario is for the drive inside tavctl alone",
                  "--bus virtual; or tav-drive --scenario FILE on the bus " + bus_->name());
  }
  Result result;
  unit_ = Unit::open(settings, result);
  if (!unit_) throw failure_of(result.explanation(), failure_log_.last());
  description_ = unit_->shared_description();
  if (options.trace) trace_ = std::make_unique<BusTrace>(bus(), description(), node(), output_);
  if (options.bus == kVirtualBus) {
    start_local_drive(options.scenario);
  }
  if (interrupt == nullptr) request_ender_ = std::make_unique<RequestEnder>(unit_->shared_client());
}

/** The unit stops its drive while the drive and the trace are there; the last frames are kept then. */
Session::~Session() {
  if (!unit_) return;
  if (request_ender_) context_.interrupted = request_ender_->has_ended();
  request_ender_.reset();
  const std::shared_ptr<nkr::canopen::Client> client = unit_->shared_client();
  unit_.reset();
  context_.black_box.keep(*client);
}

/** Its boot-up is heard before anything else: none that comes later is the one of its power-on. */
void Session::start_local_drive(const std::string& scenario) {
  constexpr std::chrono::seconds kBootTime{5};
  std::promise<void> booted;
  std::atomic<bool> told{false};
  const int subscription = client().subscribe([&](const nkr::canopen::Event& event) {
    if (event.kind == nkr::canopen::Event::Kind::BOOT_UP && !told.exchange(true)) booted.set_value();
  });
  local_drive_ = std::make_unique<LocalDrive>(bus(), *config(), node(), scenario);
  static_cast<void>(booted.get_future().wait_for(kBootTime));
  client().unsubscribe(subscription);
}

void Session::tell(const Explanation& warning) {
  if (warning.cause == Cause::LIMITED) limited_ = true;
  output_.note(warning_text(warning));
}

std::string Session::where() const {
  return "node " + std::to_string(node()) + " on " + bus().name();
}

Failure Session::failure(nkr_error_t result, const std::string& what) const {
  return failure_of(unit_->check(result, what).explanation(), failure_log_.last());
}

void Session::check(nkr_error_t result, const std::string& what) const {
  if (result != NKR_OK) throw failure(result, what);
}

}  // namespace tavctl
