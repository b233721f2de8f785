// The names of safety parameters cost no memory: a counting operator new, a silent client, the log off.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>

#include "SafetyBench.hpp"
#include "SilentClient.hpp"
#include "support/Doubles.hpp"

namespace {

std::atomic<std::size_t> allocations{0};

}  // namespace

void* operator new(std::size_t size) {
  ++allocations;
  if (void* const memory = std::malloc(size != 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  ++allocations;
  return std::malloc(size != 0 ? size : 1);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

namespace {

using Safe = nkr::tavcore::ISafeMotionService;

class SafetyAllocations : public testing::Test {
 protected:
  SafetyAllocations() : drive_(bench_.config, std::make_shared<tavtest::SilentClient>()) {
    EXPECT_EQ(drive_.init(), NKR_OK);
    log_.disable();
  }

  template <class Call>
  static std::size_t made_by(Call call) {
    const std::size_t before = allocations;
    const nkr_error_t result = call();
    const std::size_t made = allocations - before;
    EXPECT_EQ(result, NKR_OK);
    return made;
  }

  tavtest::RecordingLog log_;
  tavtest::SafetyBench bench_;
  nkr::tavcore::CANOpenDispatcher drive_;
};

TEST_F(SafetyAllocations, SettersOfParametersMakeNone) {
  EXPECT_EQ(made_by([&] { return drive_.setSTOParameters(Safe::STOId{1}, {true, 1}); }), 0U);
  EXPECT_EQ(made_by([&] { return drive_.setSLSParameters(Safe::SLSId{8}, {1, 2, 3, true}); }), 0U);
  EXPECT_EQ(made_by([&] { return drive_.setSDIParameters(Safe::SDIId{2}, {1}); }), 0U);
  EXPECT_EQ(made_by([&] { return drive_.setSBCParameters(Safe::SBCId{3}, {1}); }), 0U);
}

TEST_F(SafetyAllocations, GettersOfParametersMakeNone) {
  Safe::STOParameters sto{};
  Safe::SLSParameters sls{};
  Safe::SDIParameters sdi{};
  Safe::SBCParameters sbc{};
  std::uint16_t signature = 0;
  EXPECT_EQ(made_by([&] { return drive_.getSTOParameters(Safe::STOId{1}, sto, signature); }), 0U);
  EXPECT_EQ(made_by([&] { return drive_.getSLSParameters(Safe::SLSId{8}, sls, signature); }), 0U);
  EXPECT_EQ(made_by([&] { return drive_.getSDIParameters(Safe::SDIId{2}, sdi, signature); }), 0U);
  EXPECT_EQ(made_by([&] { return drive_.getSBCParameters(Safe::SBCId{3}, sbc, signature); }), 0U);
}

TEST_F(SafetyAllocations, WordsAndMappingsMakeNone) {
  Safe::SafetyWordType word{};
  Safe::SafetyWordMapping mapping{};
  bool active = false;
  const auto input = Safe::SafetyControlWordId::SAFE_INPUT;
  const auto function = Safe::SafetyFunctionId::SLS_8;
  EXPECT_EQ(made_by([&] { return drive_.getSafetyControlWord(input, word); }), 0U);
  EXPECT_EQ(made_by([&] { return drive_.setSafetyControlWord(input, word); }), 0U);
  EXPECT_EQ(made_by([&] { return drive_.getSafetyFunctionCommand(function, active); }), 0U);
  EXPECT_EQ(made_by([&] { return drive_.getSafetyControlWordMapping(input, mapping); }), 0U);
  EXPECT_EQ(made_by([&] { return drive_.setSafetyControlWordMapping(input, mapping); }), 0U);
}

TEST_F(SafetyAllocations, AreSeenWhereThereAreSome) {
  EXPECT_GT(made_by([&] { return drive_.setSRDOParameters(nkr::tavcore::ISRDOService::SRDOId{1}, {}); }) +
                made_by([] { return std::make_unique<std::string>(100, 'x')->empty() ? 0 : NKR_OK; }),
            0U);
}

}  // namespace
