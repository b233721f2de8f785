// Three drives on one bus, asked at once by one client.
#include <exception>
#include <future>
#include <iostream>
#include <memory>
#include <nkr/can/open_bus.hpp>
#include <nkr/canopen/Client.hpp>
#include <vector>

#include "VirtualNode.hpp"

int main() try {
  static constexpr nkr::canopencore::ObjectAddress kStatusWord{0x6041, 0};  // CiA 402
  const auto bus = nkr::can::make_bus("virtual");
  const std::vector<std::uint8_t> nodes = {10, 11, 12};
  std::vector<std::unique_ptr<VirtualNode>> drives;
  drives.reserve(nodes.size());
  for (const std::uint8_t node : nodes) {
    drives.push_back(std::make_unique<VirtualNode>(*bus, "share/tav/tav.eds", node));
  }

  // Requests to several nodes run at once; those to one node one after the other.
  nkr::canopen::Client client(bus);
  std::vector<std::future<std::uint16_t>> words;
  words.reserve(nodes.size());
  for (const std::uint8_t node : nodes) {
    words.push_back(std::async(std::launch::async, [&client, node] {
      std::uint16_t word = 0;
      nkr::throw_if_failed(client.getValue(node, kStatusWord, word), "read the status word");
      return word;
    }));
  }
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    std::cout << "node " << +nodes[i] << ": status word 0x" << std::hex << words[i].get() << std::dec << '\n';
  }
  return 0;
} catch (const std::exception& exception) {
  std::cerr << exception.what() << '\n';
  return 1;
}
