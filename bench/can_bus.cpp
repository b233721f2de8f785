// What a bus costs below any protocol: one iteration is a request and its reply, two frames.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <memory>
#include <nkr/can/InProcessBus.hpp>
#include <nkr/can/open_bus.hpp>
#include <nkr/can/trace.hpp>
#include <string>
#include <thread>
#include <vector>

namespace {

using nkr::can::Bus;
using nkr::can::Clock;
using nkr::can::Frame;
using nkr::can::InProcessBus;
using nkr::can::Port;

constexpr Clock::time_point kForever = Clock::time_point::max();
constexpr std::uint32_t kRequest = 0x600;
constexpr std::uint32_t kReply = 0x580;

/** A node that answers from a handler, on the client's thread. */
class HandlerNode {
 public:
  HandlerNode(InProcessBus& bus, std::uint32_t node) {
    nkr_error_t result = NKR_OK;
    port_ = bus.open_handler(
        {{kRequest + node}}, [this, node](const Frame& request) { answer(node, request); }, result);
  }

 private:
  void answer(std::uint32_t node, const Frame& request) {
    Frame reply = request;
    reply.id = kReply + node;
    static_cast<void>(port_->send(reply, kForever));
  }

  std::unique_ptr<Port> port_;
};

void exchange(benchmark::State& state, Port& client) {
  const Frame request{kRequest + 1, {0x40, 0x18, 0x10, 0x01, 0, 0, 0, 0}};
  Frame reply;
  for (auto iteration : state) {
    static_cast<void>(iteration);
    static_cast<void>(client.send(request, kForever));
    if (client.receive(reply, kForever) != NKR_OK) {
      state.SkipWithError("no reply");
      return;
    }
  }
  state.SetItemsProcessed(state.iterations());
}

/** Argument: how many nodes are on the bus. */
void in_process(benchmark::State& state) {
  InProcessBus bus;
  std::vector<std::unique_ptr<HandlerNode>> nodes;
  for (std::uint32_t node = 1; node <= static_cast<std::uint32_t>(state.range(0)); ++node)
    nodes.push_back(std::make_unique<HandlerNode>(bus, node));
  nkr_error_t result = NKR_OK;
  const auto client = bus.open({{kReply + 1}}, result);
  exchange(state, *client);
}
BENCHMARK(in_process)->Arg(1)->Arg(16)->Arg(127);

void in_process_with_history(benchmark::State& state) {
  const auto bus = std::make_shared<InProcessBus>();
  const HandlerNode node(*bus, 1);
  nkr::can::FrameHistory history;
  nkr::can::TracingBus tracing(bus, [&](const nkr::can::TracedFrame& frame) { history.record(frame); });
  nkr_error_t result = NKR_OK;
  const auto client = tracing.open({{kReply + 1}}, result);
  exchange(state, *client);
}
BENCHMARK(in_process_with_history);

/** A node on a thread of its own, as another process's is. */
void between_threads(benchmark::State& state, const std::string& bus_name) {
  nkr_error_t result = NKR_OK;
  std::string explanation;
  const std::shared_ptr<Bus> bus = nkr::can::open_bus(bus_name, result, explanation);
  if (bus == nullptr) {
    state.SkipWithError(explanation.c_str());
    return;
  }
  const auto server = bus->open({{kRequest + 1}}, result);
  const auto client = bus->open({{kReply + 1}}, result);
  std::thread serving([&] {
    Frame frame;
    while (server->receive(frame, kForever) == NKR_OK) {
      frame.id = kReply + 1;
      static_cast<void>(server->send(frame, kForever));
    }
  });
  exchange(state, *client);
  server->close();
  serving.join();
}
BENCHMARK_CAPTURE(between_threads, virtual, std::string("virtual"))->UseRealTime();
BENCHMARK_CAPTURE(between_threads, unix, "unix:/tmp/tav-bench-" + std::to_string(::getpid()))->UseRealTime();
BENCHMARK_CAPTURE(between_threads, vcan0, std::string("vcan0"))->UseRealTime();

}  // namespace
