// Two wheels follow a square; the odometry says where the vehicle is.
#include <chrono>
#include <cmath>
#include <exception>
#include <iostream>
#include <nkr/can/open_bus.hpp>
#include <tav/host/DifferentialDrive.hpp>
#include <tav/host/Unit.hpp>
#include <tav/host/text.hpp>
#include <thread>
#include <vector>

#include "VirtualNode.hpp"

int main() try {
  const auto bus = nkr::can::make_bus("virtual");  // or "can0", with two drives on the wire
  const VirtualNode left(*bus, "share/tav/tav.eds", 11);
  const VirtualNode right(*bus, "share/tav/tav.eds", 12);

  tav::host::Result result;
  tav::host::UnitSettings settings;
  settings.configuration = "share/tav/tav.ini";
  settings.parts.bus = bus;
  std::vector<std::unique_ptr<tav::host::Unit>> units;
  for (const std::uint8_t node : {std::uint8_t{11}, std::uint8_t{12}}) {
    settings.node_id = node;
    units.push_back(tav::host::Unit::open(settings, result));
    if (!result.ok()) return std::cout << text(result) << '\n', 1;
    settings.parts.client = units.front()->shared_client();
  }
  tav::host::VehicleGeometry geometry;
  geometry.left = {0, 0.1, 10, 4096 * 8};  // place in the group, radius, reduction, counts of a revolution
  geometry.right = {1, 0.1, 10, 4096 * 8, true};  // mounted the other way round
  geometry.track_width = 0.4;
  tav::host::Group group({units[0].get(), units[1].get()});
  tav::host::DifferentialDrive vehicle(group, geometry);
  result = group.prepare();
  if (result.ok()) result = group.start();
  if (result.ok()) result = group.enable();

  const auto move = [&](double velocity, double turning_rate, const auto& is_done) {
    while (result.ok() && !is_done(vehicle.update())) {
      result =
          vehicle.set(velocity, turning_rate);  // again and again: a program that hangs stops the vehicle
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  };
  for (int side = 1; side <= 4; ++side) {
    const double way = vehicle.odometry().right_way() + 0.5;
    move(0.5, 0, [&](const auto&) { return vehicle.odometry().right_way() >= way; });
    move(0, 0, [&](const auto&) { return vehicle.velocity() == 0; });
    move(0, 1.0, [&](const auto& pose) { return pose.heading >= side * std::acos(0.0); });
    move(0, 0, [&](const auto&) { return vehicle.turning_rate() == 0; });
    const auto& pose = vehicle.update();
    std::cout << "x " << pose.x << " m, y " << pose.y << " m, heading " << pose.heading << '\n';
  }
  if (result.ok()) result = group.stop();
  std::cout << text(result) << '\n';
  return result.ok() ? 0 : 1;
} catch (const std::exception& exception) {
  std::cerr << exception.what() << '\n';
  return 1;
}
