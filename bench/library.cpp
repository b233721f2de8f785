// What the library adds between an application's call and the client's virtual call. Compare ratios within
// one run: bare call and look-up against the controller's operation, and the bare accesses of a refresh
// against the refresh.
#include <benchmark/benchmark.h>
#include <nkr/log.h>

#include <fstream>
#include <memory>
#include <nkr/tools/EDSParser.hpp>
#include <stdexcept>
#include <string>
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/Controller.hpp>

#include "allocations.hpp"

namespace {

using namespace nkr;

/** A client whose accesses cost nothing: what is measured is the way to them. */
class IdleClient : public canopencore::IService {
 public:
  bool isInitialized() const override { return true; }
  nkr_error_t sync(const canopenservice::TavIn&, canopenservice::TavOut&) override { return NKR_OK; }
  nkr_error_t getNMTState(const std::uint8_t&, canopencore::NMTState&) override { return NKR_OK; }
  nkr_error_t setNMTState(const std::uint8_t&, const canopencore::NMTCommand&) override { return NKR_OK; }
#define IDLE_PAIR(T)                                                                           \
  nkr_error_t getValue(const std::uint8_t&, const std::uint32_t&, T&) override {               \
    return NKR_OK;                                                                             \
  }                                                                                            \
  nkr_error_t setValue(const std::uint8_t&, const std::uint32_t& address, const T&) override { \
    benchmark::DoNotOptimize(address);                                                         \
    return NKR_OK;                                                                             \
  }
  IDLE_PAIR(std::string)
  IDLE_PAIR(std::int64_t)
  IDLE_PAIR(std::int32_t)
  IDLE_PAIR(std::int16_t)
  IDLE_PAIR(std::int8_t)
  IDLE_PAIR(std::uint64_t)
  IDLE_PAIR(std::uint32_t)
  IDLE_PAIR(std::uint16_t)
  IDLE_PAIR(std::uint8_t)
  IDLE_PAIR(float)
  IDLE_PAIR(double)
  IDLE_PAIR(bool)
#undef IDLE_PAIR
};

struct Library {
  std::shared_ptr<tavcore::Config> config = std::make_shared<tavcore::Config>();
  std::shared_ptr<canopencore::IService> client = std::make_shared<IdleClient>();
  std::shared_ptr<tavcore::CANOpenDispatcher> dispatcher;
  tavcore::Controller controller;

  Library() {
    if (config->load("share/tav/tav.ini") != NKR_OK)
      throw std::runtime_error("run this in the source folder");
    dispatcher = std::make_shared<tavcore::CANOpenDispatcher>(config, client);
    if (dispatcher->init() != NKR_OK || controller.init(config, dispatcher) != NKR_OK) {
      throw std::runtime_error("the library does not start");
    }
  }
};

Library& library() {
  static Library instance;
  return instance;
}

void count_allocations(benchmark::State& state, std::uint64_t before) {
  state.counters["allocations"] =
      static_cast<double>(allocations() - before) / static_cast<double>(state.iterations());
}

void bare_call_and_lookup(benchmark::State& state) {
  tools::EDSParser description;
  std::ifstream stream("share/tav/tav.eds");
  if (!description.parse(stream, false)) state.SkipWithError("no description");
  const std::shared_ptr<canopencore::IService> client = library().client;
  short velocity = 0;
  const std::uint64_t before = allocations();
  for (auto _ : state) {
    const tools::ObjectEntry* const entry = description.find("vl_target_velocity");
    benchmark::DoNotOptimize(client->setValue(10, entry->getObjectAddress(), ++velocity));
  }
  count_allocations(state, before);
}
BENCHMARK(bare_call_and_lookup);

void controller_set_target_velocity(benchmark::State& state) {
  tavcore::Controller& controller = library().controller;
  short velocity = 0;
  const std::uint64_t before = allocations();
  for (auto _ : state) benchmark::DoNotOptimize(controller.setTargetVelocity(++velocity));
  count_allocations(state, before);
}
BENCHMARK(controller_set_target_velocity);

constexpr int kInstances = 14;
constexpr int kMappingReads = 128;

/** As many reads by address as a refresh makes for the mapping alone. */
void bare_mapping_reads(benchmark::State& state) {
  const std::shared_ptr<canopencore::IService> client = library().client;
  for (auto _ : state) {
    for (std::uint32_t i = 0; i < kInstances * kMappingReads; ++i) {
      std::uint32_t value = 0;
      benchmark::DoNotOptimize(client->getValue(10, 0x66F00000 + (i << 8), value));
    }
  }
}
BENCHMARK(bare_mapping_reads);

void update_all_safety_signatures(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(library().dispatcher->updateAllSafetySignatures());
}
BENCHMARK(update_all_safety_signatures);

}  // namespace
