// Requests that nobody waits for: the program goes on, and a handler takes the answer.
#include <exception>
#include <future>
#include <iostream>
#include <memory>
#include <nkr/can/open_bus.hpp>
#include <nkr/canopen/Client.hpp>
#include <string>
#include <vector>

#include "VirtualNode.hpp"

int main() try {
  constexpr std::uint8_t kNode = 10;
  constexpr nkr::canopencore::ObjectAddress kDeviceName{0x1008, 0};  // CiA 301
  constexpr nkr::canopencore::ObjectAddress kNoObject{0x5FFF, 0};
  const auto bus = nkr::can::make_bus("virtual");
  VirtualNode drive(*bus, "share/tav/tav.eds", kNode);
  nkr::canopen::Client client(bus);

  // Requests to one node are made in the order of the calls.
  std::promise<void> done;
  const auto print = [](nkr_error_t result, const std::vector<std::uint8_t>& value) {
    std::cout << nkr_error_name(result) << ' ' << std::string(value.begin(), value.end()) << '\n';
  };
  nkr::throw_if_failed(client.readLater(kNode, kDeviceName, print), "ask for the device name");
  nkr::throw_if_failed(client.readLater(kNode, kNoObject,
                                        [&](nkr_error_t result, const std::vector<std::uint8_t>& value) {
                                          print(result, value);
                                          done.set_value();
                                        }),
                       "ask for an object that there is not");
  std::cout << "asked\n";
  done.get_future().wait();
  client.close();
  return 0;
} catch (const std::exception& exception) {
  std::cerr << exception.what() << '\n';
  return 1;
}
