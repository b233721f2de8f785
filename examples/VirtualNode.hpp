#ifndef EXAMPLES_VIRTUALNODE_HPP
#define EXAMPLES_VIRTUALNODE_HPP

#include <cstdint>
#include <memory>
#include <nkr/Error.hpp>
#include <nkr/can/Bus.hpp>
#include <stdexcept>
#include <string>
#include <tav/drive/Runner.hpp>
#include <tav/drive/VirtualDrive.hpp>

/** A drive made of software on a bus, for as long as this object lives. Throws when it cannot be made. */
class VirtualNode {
 public:
  VirtualNode(nkr::can::Bus& bus, const std::string& description, std::uint8_t node_id) {
    tav::drive::Settings settings;
    settings.node_id = node_id;
    std::string problem;
    drive_ = tav::drive::VirtualDrive::from_file(description, settings, problem);
    if (drive_ == nullptr) throw std::runtime_error(problem);
    runner_ = std::make_unique<tav::drive::Runner>(*drive_);
    nkr::throw_if_failed(runner_->start(bus), "start the virtual drive");
  }

  tav::drive::VirtualDrive& operator*() { return *drive_; }

 private:
  std::unique_ptr<tav::drive::VirtualDrive> drive_;
  std::unique_ptr<tav::drive::Runner> runner_;
};

#endif
