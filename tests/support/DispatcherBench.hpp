#ifndef TESTS_SUPPORT_DISPATCHERBENCH_HPP
#define TESTS_SUPPORT_DISPATCHERBENCH_HPP

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tavcore/CANOpenDispatcher.hpp>

#include "ConfigText.hpp"
#include "Doubles.hpp"
#include "EdsFixture.hpp"
#include "TemporaryFile.hpp"

namespace tavtest {

/** A dispatcher on a recording client, with a configuration and a description of the test's own. */
class DispatcherBench {
 public:
  static constexpr std::uint8_t kNode = 5;
  static constexpr std::uint32_t kContext = 7;

  /** The dispatcher is not yet initialised. */
  explicit DispatcherBench(const EdsFixture& description) : DispatcherBench(description.text()) {}
  explicit DispatcherBench(const std::string& description) : description_(description) {
    const TemporaryFile file(config_text({{"contextId", std::to_string(kContext)},
                                          {"nodeId", std::to_string(kNode)},
                                          {"CANOpenEDSFile", description_.path()}}));
    EXPECT_EQ(config->load(file.path()), NKR_OK);
    renew();
  }

  /** A new client and a new dispatcher, not yet initialised, on the same files. */
  DispatcherBench& renew() {
    client = std::make_shared<RecordingClient>();
    dispatcher = std::make_unique<nkr::tavcore::CANOpenDispatcher>(config, client);
    return *this;
  }

  /** The bench with its dispatcher initialised. */
  DispatcherBench& loaded() {
    EXPECT_EQ(dispatcher->init(), NKR_OK);
    return *this;
  }

  std::shared_ptr<nkr::tavcore::Config> config = std::make_shared<nkr::tavcore::Config>();
  std::shared_ptr<RecordingClient> client;
  std::unique_ptr<nkr::tavcore::CANOpenDispatcher> dispatcher;

 private:
  TemporaryFile description_;
};

}  // namespace tavtest

#endif
