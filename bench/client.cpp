// What a client's blocking read costs, against the bare exchange of its two frames on the same bus in the
// same run. Goal on the in-process bus: 1.5 times. Allocations of one read are counted.
#include <benchmark/benchmark.h>

#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/canopen/Client.hpp>
#include <thread>
#include <vector>

#include "allocations.hpp"

namespace {

using nkr::can::Clock;
using nkr::can::Frame;
using nkr::can::InProcessBus;
using nkr::can::Port;
using nkr::canopen::Client;
using nkr::canopen::ClientOptions;

constexpr Clock::time_point kForever = Clock::time_point::max();
constexpr std::uint32_t kObject = 0x60410010;

/** A node that answers every upload of 6041h:00 on the client's thread. */
class EchoNode {
 public:
  EchoNode(InProcessBus& bus, std::uint8_t node)
      : reply_{0x580U + node, {0x4B, 0x41, 0x60, 0, 0x37, 2, 0, 0}} {
    nkr_error_t result = NKR_OK;
    port_ = bus.open(
        {{0x600U + node}}, [this](const Frame& /*request*/) { port_->send(reply_, kForever); }, result);
  }

 private:
  const Frame reply_;
  std::unique_ptr<Port> port_;
};

/** With a second thread alive, as a client has one: single-threaded programs are spared atomic counting. */
void bare_exchange(benchmark::State& state) {
  InProcessBus bus;
  nkr_error_t silent_result = NKR_OK;
  const auto silent = bus.open({{0x7FF}}, silent_result);
  std::thread listener([&silent] {
    Frame frame;
    silent->receive(frame, kForever);
  });
  const EchoNode node(bus, 1);
  nkr_error_t result = NKR_OK;
  const auto port = bus.open({{0x581}}, result);
  const Frame request{0x601, {0x40, 0x41, 0x60, 0, 0, 0, 0, 0}};
  Frame reply;
  for (auto iteration : state) {
    static_cast<void>(iteration);
    port->send(request, kForever);
    if (port->receive(reply, kForever) != NKR_OK) state.SkipWithError("no reply");
  }
  state.SetItemsProcessed(state.iterations());
  silent->close();
  listener.join();
}
BENCHMARK(bare_exchange);

void read(benchmark::State& state, const ClientOptions& options) {
  auto bus = std::make_shared<InProcessBus>();
  const EchoNode node(*bus, 1);
  Client client(bus, options);
  std::uint16_t value = 0;
  client.getValue(1, kObject, value);
  const std::uint64_t before = allocations();
  for (auto iteration : state) {
    static_cast<void>(iteration);
    if (client.getValue(1, kObject, value) != NKR_OK) return state.SkipWithError("read failed");
  }
  state.SetItemsProcessed(state.iterations());
  state.counters["allocations per read"] =
      static_cast<double>(allocations() - before) / static_cast<double>(state.iterations());
}

void client_read(benchmark::State& state) {
  ClientOptions options;
  options.frame_history = 0;
  read(state, options);
}
BENCHMARK(client_read);

void client_read_with_frame_history(benchmark::State& state) {
  read(state, ClientOptions{});
}
BENCHMARK(client_read_with_frame_history);

/** Argument: nodes. As many threads as the machine has processors read them in turn. */
void many_nodes(benchmark::State& state) {
  static std::shared_ptr<InProcessBus> bus;
  static std::vector<std::unique_ptr<EchoNode>> nodes;
  static std::unique_ptr<Client> client;
  const auto count = static_cast<std::uint8_t>(state.range(0));
  if (state.thread_index() == 0) {
    bus = std::make_shared<InProcessBus>();
    for (std::uint8_t id = 1; id <= count; ++id) nodes.push_back(std::make_unique<EchoNode>(*bus, id));
    client = std::make_unique<Client>(bus);
  }
  std::uint16_t value = 0;
  auto id = static_cast<std::uint8_t>(state.thread_index());
  for (auto iteration : state) {
    static_cast<void>(iteration);
    id = static_cast<std::uint8_t>(id % count + 1);
    if (client->getValue(id, kObject, value) != NKR_OK) state.SkipWithError("read failed");
  }
  state.SetItemsProcessed(state.iterations());
  if (state.thread_index() == 0) {
    client.reset();
    nodes.clear();
    bus.reset();
  }
}
BENCHMARK(many_nodes)->Arg(1)->Arg(16)->Arg(127)->Threads(2)->UseRealTime();

}  // namespace
