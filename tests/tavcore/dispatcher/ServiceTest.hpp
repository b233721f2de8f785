#ifndef TESTS_TAVCORE_DISPATCHER_SERVICETEST_HPP
#define TESTS_TAVCORE_DISPATCHER_SERVICETEST_HPP

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <support/DispatcherBench.hpp>
#include <support/Doubles.hpp>
#include <vector>

#include "operations.hpp"

namespace tavtest {

/** A loaded dispatcher on a recording client, with a description of every object that the services name. */
class ServiceTest : public testing::Test {
 protected:
  static constexpr nkr_error_t kAbort = 0x06020000;

  ServiceTest() {
    for (const Operation& operation : all_operations()) {
      for (const auto& [name, type] : objects_of(operation)) description.add(name, type);
    }
    description.add("Node ID", EdsFixture::DataType::UNSIGNED8, "0x20");
    load();
  }

  /** Takes the description as it stands now. */
  void load() {
    bench_ = std::make_unique<DispatcherBench>(description);
    bench_->loaded();
    log.clear();
  }

  nkr::tavcore::CANOpenDispatcher& dispatcher() { return *bench_->dispatcher; }
  RecordingClient& client() { return *bench_->client; }

  void answer(const std::string& name, const Value& value) {
    client().answer(description.address(name), value);
  }
  void fail(const std::string& name) { client().fail_address(description.address(name), kAbort); }
  void fail_once(const std::string& name) { client().fail_address(description.address(name), kAbort, 1); }

  [[nodiscard]] Access read_of(const std::string& name, const Value& value) const {
    return {AccessKind::READ, DispatcherBench::kNode, description.address(name), value};
  }
  [[nodiscard]] Access write_of(const std::string& name, const Value& value) const {
    return {AccessKind::WRITE, DispatcherBench::kNode, description.address(name), value};
  }
  [[nodiscard]] static Access write_of(std::uint32_t address, const Value& value) {
    return {AccessKind::WRITE, DispatcherBench::kNode, address, value};
  }

  /** The node that the dispatcher talks to now. */
  std::uint8_t addressed_node() {
    std::uint8_t reg = 0;
    EXPECT_EQ(dispatcher().getErrorRegister(reg), NKR_OK);
    return client().accesses.back().node;
  }

  [[nodiscard]] std::vector<std::string> texts(std::uint32_t level) const {
    std::vector<std::string> found;
    for (const LogEntry& record : log.records()) {
      if (record.level == level) found.push_back(record.text);
    }
    return found;
  }

  RecordingLog log;
  EdsFixture description;

 private:
  std::unique_ptr<DispatcherBench> bench_;
};

}  // namespace tavtest

#endif
