#include "commands/session/GroupSession.hpp"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "commands/session/BusInfo.hpp"
#include "commands/session/OpenBus.hpp"
#include "text/explained.hpp"

namespace tavctl {

namespace {

/** The named ones; the drive of "[default]" only where there is no other. */
std::vector<UnitConfiguration> chosen(const HostConfiguration& file, const std::vector<std::string>& names) {
  std::vector<UnitConfiguration> units;
  for (const std::string& name : names) {
    UnitConfiguration unit;
    const Result result = file.select(name, unit);
    if (!result.ok()) {
      throw Failure(ExitCode::CONFIGURATION, "cannot use the configuration " + result.explanation().detail,
                    "a section [unit NAME] describes each of several drives: docs/configuration.md");
    }
    units.push_back(std::move(unit));
  }
  if (!names.empty()) return units;
  for (const UnitConfiguration& unit : file.units()) {
    if (!unit.name.empty()) units.push_back(unit);
  }
  return units.empty() ? file.units() : units;
}

/** They boot inside this program: their boot-ups are to be heard before they are at work. */
void let_boot(Unit& unit) {
  constexpr std::chrono::seconds kBootTime{5};
  static_cast<void>(
      unit.wait_for_nmt_state(std::chrono::duration_cast<std::chrono::milliseconds>(kBootTime)));
}

Json json_of(const Histogram& histogram) {
  Json classes = Json::array();
  for (std::size_t i = 0; i < histogram.counts.size(); ++i) {
    Json row = {{"count", histogram.counts.at(i)}};
    if (i < Histogram::kBounds.size()) row["below_us"] = Histogram::kBounds.at(i);
    classes.push_back(std::move(row));
  }
  using std::chrono::duration_cast;
  using std::chrono::microseconds;
  return {{"classes", std::move(classes)},
          {"longest_us", duration_cast<microseconds>(histogram.longest).count()},
          {"longest_cycle", histogram.longest_cycle}};
}

void print_histogram(Output& output, const std::string& label, const std::string& key,
                     const Histogram& histogram) {
  using std::chrono::duration_cast;
  using std::chrono::microseconds;
  output.fact(label,
              "half below " + std::to_string(histogram.below(0.5)) + " us, 99.9 % below " +
                  std::to_string(histogram.below(0.999)) + " us, longest " +
                  std::to_string(duration_cast<microseconds>(histogram.longest).count()) + " us",
              key, json_of(histogram));
  for (std::size_t i = 0; i < histogram.counts.size(); ++i) {
    if (histogram.counts.at(i) == 0) continue;
    const bool is_last = i == Histogram::kBounds.size();
    const unsigned bound = Histogram::kBounds.at(is_last ? i - 1 : i);
    output.line((is_last ? "    from " : "    below ") + std::to_string(bound) +
                " us: " + std::to_string(histogram.counts.at(i)));
  }
}

}  // namespace

GroupSession::GroupSession(Context& context, const HostConfiguration& file,
                           const std::vector<std::string>& names, const Interrupt& interrupt)
    : context_(context), interrupt_(interrupt), configurations_(chosen(file, names)) {
  const Options& options = context.options;
  bus_ = open_bus(options.bus);
  for (const UnitConfiguration& configuration : configurations_) {
    UnitSettings settings;
    settings.sdo_timeout = std::chrono::milliseconds(options.timeout_ms.value_or(0));
    settings.host_node_id = static_cast<std::uint8_t>(options.host_node.value_or(0));
    settings.interrupt = &interrupt_;
    settings.on_warning = [this](const Explanation& warning) { tell(warning); };
    settings.parts.config = configuration.config();
    settings.parts.bus = bus_;
    if (!units_.empty()) settings.parts.client = units_.front()->shared_client();
    Result result;
    units_.push_back(Unit::open(settings, result));
    see(result);
    if (options.bus != kVirtualBus) continue;
    drives_.push_back(std::make_unique<LocalDrive>(*bus_, *configuration.config(), units_.back()->node_id(),
                                                   std::string{}));
    let_boot(*units_.back());
  }
}

/** The group stops its drives while they and the client are there; the last frames are kept then. */
GroupSession::~GroupSession() {
  group_.reset();
  if (units_.empty()) return;
  const std::shared_ptr<nkr::canopen::Client> client = units_.front()->shared_client();
  units_.clear();
  context_.black_box.keep(*client);
}

void GroupSession::tell(const Explanation& warning) {
  context_.output.note(warning_text(warning));
}

Group& GroupSession::start(GroupSettings settings, std::optional<unsigned> bit_rate) {
  const std::optional<unsigned> known = bit_rate ? bit_rate : bus_info_of(bus_->name()).bit_rate;
  if (known) settings.bit_rate = *known;
  settings.host_node_id = static_cast<std::uint8_t>(context_.options.host_node.value_or(0));
  settings.interrupt = &interrupt_;
  settings.on_warning = [this](const Explanation& warning) { tell(warning); };
  std::vector<Unit*> units;
  for (const auto& unit : units_) units.push_back(unit.get());
  group_ = std::make_unique<Group>(units, settings);
  see(group_->prepare());
  see(group_->start());
  return *group_;
}

void print_statistics(Output& output, const GroupStatistics& statistics) {
  const auto fact = [&output](const char* label, const char* key, std::uint64_t value) {
    output.fact(label, std::to_string(value), key, value);
  };
  fact("Cycles", "cycles", statistics.cycles);
  fact("Missed", "missed", statistics.missed);
  fact("Incomplete", "incomplete", statistics.incomplete);
  fact("Late", "late", statistics.late);
  print_histogram(output, "Start after the grid", "start", statistics.start);
  print_histogram(output, "SYNC to last answer", "round_trip", statistics.round_trip);
}

}  // namespace tavctl
