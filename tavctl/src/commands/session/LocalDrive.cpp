#include "commands/session/LocalDrive.hpp"

#include <chrono>
#include <fstream>
#include <string>
#include <tav/drive/Runner.hpp>
#include <tav/drive/VirtualDrive.hpp>
#include <thread>

#include "cli/Failure.hpp"
#include "cli/files.hpp"

namespace tavctl {

namespace {

void play(tav::drive::VirtualDrive& drive, const std::string& path) {
  std::ifstream readable;
  open_to_read(readable, path, "the scenario");
  tav::drive::Scenario scenario;
  std::string problem;
  if (!tav::drive::read_scenario_file(path, scenario, problem)) {
    throw Failure(ExitCode::CONFIGURATION, "no scenario: " + problem);
  }
  if (!drive.play(scenario, problem)) {
    throw Failure(ExitCode::CONFIGURATION, "no scenario: " + path + ": " + problem);
  }
}

/** The machine of the host's configuration, driven by the motor that tav-drive has, too. */
tav::drive::MotorParameters motor_of(const nkr::tavcore::Config& config) {
  tav::drive::MotorParameters motor;
  if (config.getReduction() > 0) motor.gear_ratio = config.getReduction();
  constexpr double kMillimetres = 1000;
  if (config.getDiameter() > 0) motor.wheel_diameter = config.getDiameter() / kMillimetres;
  return motor;
}

/** A request that comes while it boots would be lost. */
void wait_for_boot(const tav::drive::VirtualDrive& drive) {
  constexpr std::chrono::milliseconds kPause(5);
  while (drive.nmt_state() == tav::drive::NMTState::INITIALISING) std::this_thread::sleep_for(kPause);
}

}  // namespace

LocalDrive::LocalDrive(nkr::can::Bus& bus, const nkr::tavcore::Config& config, std::uint8_t node,
                       const std::string& scenario_path) {
  tav::drive::Settings settings;
  settings.node_id = node;
  settings.mechanics.steps_per_electrical_revolution = config.getNbStepRevolutionElec();
  settings.mechanics.pole_pairs = config.getNbPolePair();
  settings.motor = motor_of(config);
  (void)tav::drive::timing_profile("typical", settings.timing);
  std::string problem;
  drive_ = tav::drive::VirtualDrive::from_file(config.getCANOpenEDSFilePath(), settings, problem);
  if (!drive_) throw Failure(ExitCode::CONFIGURATION, "no virtual drive: " + problem);
  if (!scenario_path.empty()) play(*drive_, scenario_path);
  runner_ = std::make_unique<tav::drive::Runner>(*drive_);
  const nkr_error_t result = runner_->start(bus);
  if (result != NKR_OK) throw Failure(ExitCode::CONNECTION, "the virtual drive gets no port", "", result);
  wait_for_boot(*drive_);
  for (const tav::drive::Event& event : drive_->take_events()) {
    const bool refused = event.kind == tav::drive::Event::Kind::REFUSED;
    if (refused) throw Failure(ExitCode::CONFIGURATION, "no scenario: " + scenario_path + ": " + event.text);
  }
}

LocalDrive::~LocalDrive() = default;

}  // namespace tavctl
