// Tells what happens on the bus: a drive that starts, fails and restarts.
#include <exception>
#include <future>
#include <iostream>
#include <memory>
#include <nkr/can/open_bus.hpp>
#include <nkr/canopen/Client.hpp>

#include "VirtualNode.hpp"

int main() try {
  constexpr std::uint8_t kNode = 10;
  constexpr std::uint16_t kOverTemperature = 0x4210;
  const auto bus = nkr::can::make_bus("virtual");
  nkr::canopen::Client client(bus);

  // Handlers run one after the other on a thread of the client's own.
  std::promise<void> started, failed, restarted;
  int boot_ups = 0;
  client.subscribe([&](const nkr::canopen::Event& event) {
    using Kind = nkr::canopen::Event::Kind;
    std::cout << "node " << +event.node << ": " << to_string(event.kind) << '\n';
    if (event.kind == Kind::EMERGENCY) {
      std::cout << "  " << to_string(event.emergency) << '\n';
      if (event.emergency.code == kOverTemperature) failed.set_value();
    }
    if (event.kind == Kind::BOOT_UP) (boot_ups++ == 0 ? started : restarted).set_value();
  });

  VirtualNode drive(*bus, "share/tav/tav.eds", kNode);
  started.get_future().wait();
  (*drive).raise_fault(kOverTemperature);
  failed.get_future().wait();
  nkr::throw_if_failed(client.setNMTState(kNode, nkr::canopencore::NMTCommand::RESET_NODE), "reset the node");
  restarted.get_future().wait();
  client.close();  // no handler runs after this
  return 0;
} catch (const std::exception& exception) {
  std::cerr << exception.what() << '\n';
  return 1;
}
