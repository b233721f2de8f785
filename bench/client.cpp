// What a client's blocking read costs, against the bare exchange of its two frames on the same bus in the
// same run. Goal on the in-process bus: 1.5 times. Allocations of one read are counted.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <ctime>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/can/InProcessBus.hpp>
#include <nkr/can/open_bus.hpp>
#include <nkr/canopen/Client.hpp>
#include <string>
#include <thread>
#include <vector>

#include "allocations.hpp"

namespace {

using nkr::can::Bus;
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
    port_ = bus.open_handler(
        {{0x600U + node}},
        [this](const Frame& /*request*/) { static_cast<void>(port_->send(reply_, kForever)); }, result);
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
    static_cast<void>(silent->receive(frame, kForever));
  });
  const EchoNode node(bus, 1);
  nkr_error_t result = NKR_OK;
  const auto port = bus.open({{0x581}}, result);
  const Frame request{0x601, {0x40, 0x41, 0x60, 0, 0, 0, 0, 0}};
  Frame reply;
  for (auto iteration : state) {
    static_cast<void>(iteration);
    static_cast<void>(port->send(request, kForever));
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
  static_cast<void>(client.getValue(1, kObject, value));
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

/** What the process has used of all processors so far, in nanoseconds. */
double cpu_time() {
  timespec used{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) * 1e9 + static_cast<double>(used.tv_nsec);
}

/** Nodes that answer on a thread of their own, as devices do: meanwhile every other node can be asked. */
class Devices {
 public:
  explicit Devices(Bus& bus) {
    nkr_error_t result = NKR_OK;
    port_ = bus.open({{0x600U, 0x780}}, result);
    thread_ = std::thread([this] {
      Frame request;
      while (port_->receive(request, kForever) == NKR_OK)
        static_cast<void>(port_->send({request.id - 0x80, {0x4B, 0x41, 0x60, 0, 0x37, 2, 0, 0}}, kForever));
    });
  }
  ~Devices() {
    port_->close();
    thread_.join();
  }
  Devices(const Devices&) = delete;
  Devices& operator=(const Devices&) = delete;

 private:
  std::unique_ptr<Port> port_;
  std::thread thread_;
};

/** As many nodes as threads, each read by one of them: so many requests are under way at once. */
void nodes_at_once(benchmark::State& state) {
  static std::shared_ptr<InProcessBus> bus;
  static std::unique_ptr<Devices> devices;
  static std::unique_ptr<Client> client;
  static double used = 0;
  if (state.thread_index() == 0) {
    bus = std::make_shared<InProcessBus>();
    devices = std::make_unique<Devices>(*bus);
    client = std::make_unique<Client>(bus);
    used = cpu_time();
  }
  std::uint16_t value = 0;
  const auto id = static_cast<std::uint8_t>(state.thread_index() + 1);
  for (auto iteration : state) {
    static_cast<void>(iteration);
    if (client->getValue(id, kObject, value) != NKR_OK) state.SkipWithError("read failed");
  }
  state.SetItemsProcessed(state.iterations());
  if (state.thread_index() != 0) return;
  // All threads leave the loop together and make the same number of transfers.
  const auto transfers = static_cast<double>(state.iterations()) * state.threads();
  state.counters["CPU ns per transfer"] = (cpu_time() - used) / transfers;
  client.reset();
  devices.reset();
  bus.reset();
}
BENCHMARK(nodes_at_once)->Threads(1)->Threads(16)->Threads(127)->UseRealTime();

/** The same two on a bus between processes or of the kernel, named by TAV_BENCH_BUS (unix:PATH, vcan0):
 * goal 1.3 times on SocketCAN. The node answers on another thread, so that both wait for it as they do for a
 * device. */
std::shared_ptr<Bus> named_bus(benchmark::State& state, const std::string& name) {
  nkr_error_t result = NKR_OK;
  std::string explanation;
  auto bus = nkr::can::open_bus(name, result, explanation);
  if (!bus) state.SkipWithError(explanation.c_str());
  return bus;
}

void bare_exchange_on(benchmark::State& state, const std::string& name) {
  const auto bus = named_bus(state, name);
  if (!bus) return;
  const Devices devices(*bus);
  nkr_error_t result = NKR_OK;
  const auto port = bus->open({{0x581}}, result);
  const Frame request{0x601, {0x40, 0x41, 0x60, 0, 0, 0, 0, 0}};
  Frame reply;
  for (auto iteration : state) {
    static_cast<void>(iteration);
    static_cast<void>(port->send(request, kForever));
    if (port->receive(reply, Clock::now() + std::chrono::seconds(1)) != NKR_OK)
      return state.SkipWithError("no reply");
  }
  state.SetItemsProcessed(state.iterations());
}

void client_read_on(benchmark::State& state, const std::string& name) {
  const auto bus = named_bus(state, name);
  if (!bus) return;
  const Devices devices(*bus);
  ClientOptions options;
  options.frame_history = 0;
  Client client(bus, options);
  std::uint16_t value = 0;
  for (auto iteration : state) {
    static_cast<void>(iteration);
    if (client.getValue(1, kObject, value) != NKR_OK) return state.SkipWithError("read failed");
  }
  state.SetItemsProcessed(state.iterations());
}

bool register_named_bus() {
  const char* const name = std::getenv("TAV_BENCH_BUS");
  if (name == nullptr) return false;
  benchmark::RegisterBenchmark("bare_exchange_on_named_bus", bare_exchange_on, std::string(name))
      ->UseRealTime();
  benchmark::RegisterBenchmark("client_read_on_named_bus", client_read_on, std::string(name))->UseRealTime();
  return true;
}
const bool named_bus_registered = register_named_bus();

}  // namespace
