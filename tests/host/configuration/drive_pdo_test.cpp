// Mapping a PDO and seeing that the drive holds it, over a client whose accesses fail as told.
#include <gtest/gtest.h>

#include <tav/host/DrivePdo.hpp>

#include "support/DispatcherBench.hpp"

namespace tests::host {
namespace {

using tav::host::DrivePdo;
using tav::host::map_pdo;
using tav::host::MappingOutcome;
using tav::host::PdoMapping;
using tav::host::PdoParameters;

constexpr std::uint32_t kCobId = 0x18000120;
constexpr std::uint32_t kTransmissionType = 0x18000208;
constexpr std::uint32_t kCount = 0x1A000000;
constexpr std::uint32_t kFirstEntry = 0x1A000100;
constexpr std::uint32_t kStatusWord = 0x60410010;

/** A client that answers what was written last. */
class StoringClient : public tavtest::RecordingClient {
 public:
  using RecordingClient::setValue;
  nkr_error_t setValue(const std::uint8_t& node, const std::uint32_t& address,
                       const std::uint32_t& value) override {
    return store(RecordingClient::setValue(node, address, value), address, value);
  }
  nkr_error_t setValue(const std::uint8_t& node, const std::uint32_t& address,
                       const std::uint8_t& value) override {
    return store(RecordingClient::setValue(node, address, value), address, value);
  }

 private:
  template <class T>
  nkr_error_t store(nkr_error_t result, std::uint32_t address, T value) {
    if (result == NKR_OK) answer(address, value);
    return result;
  }
};

class MapPdo : public testing::Test {
 protected:
  MapPdo() {
    client_->answer(kCobId, std::uint32_t{0x18A});
    client_->answer(kTransmissionType, std::uint8_t{1});
    EXPECT_EQ(dispatcher_.init(), NKR_OK);
  }

  MappingOutcome map() {
    PdoParameters wanted{};
    wanted.cob_id = {0x18A, true, false};
    wanted.transmission_type = 1;
    return map_pdo(dispatcher_, DrivePdo{false, 1}, PdoMapping{1, {kStatusWord}}, wanted);
  }
  template <class T>
  T held(std::uint32_t address) {
    T value{};
    client_->heal();
    EXPECT_EQ(client_->getValue(tavtest::DispatcherBench::kNode, address, value), NKR_OK);
    return value;
  }

  std::shared_ptr<StoringClient> client_ = std::make_shared<StoringClient>();

 private:
  tavtest::DispatcherBench bench_{tavtest::EdsFixture{}};
  nkr::tavcore::CANOpenDispatcher dispatcher_{bench_.config, client_};
};

TEST_F(MapPdo, WritesTheMappingAndEnablesThePdo) {
  const MappingOutcome outcome = map();
  EXPECT_EQ(outcome.result, NKR_OK);
  EXPECT_TRUE(outcome.remedied.empty());
  EXPECT_TRUE(outcome.different.empty());
  EXPECT_EQ(held<std::uint32_t>(kCobId), 0x18Au);
  EXPECT_EQ(held<std::uint8_t>(kCount), 1);
  EXPECT_EQ(held<std::uint32_t>(kFirstEntry), kStatusWord);
}

TEST_F(MapPdo, PutsRightAnIdentifierThatARepeatedReadLeftAtZero) {
  // Three writes disable the PDO; the fourth access is the operation's own read of its identifier.
  client_->fail_access(4, NKR_SDO_TIMED_OUT);
  const MappingOutcome outcome = map();
  EXPECT_EQ(outcome.result, NKR_OK);
  ASSERT_FALSE(outcome.remedied.empty());
  EXPECT_NE(outcome.remedied[0].find("COB-ID 0x000, valid"), std::string::npos) << outcome.remedied[0];
  EXPECT_TRUE(outcome.different.empty());
  EXPECT_EQ(held<std::uint32_t>(kCobId), 0x18Au);
  EXPECT_EQ(held<std::uint8_t>(kTransmissionType), 1);
}

TEST_F(MapPdo, WritesAgainAMappingThatWasLeftHalfWritten) {
  client_->fail_address(kFirstEntry, NKR_SDO_TIMED_OUT, 1);
  const MappingOutcome outcome = map();
  EXPECT_EQ(outcome.result, NKR_OK);
  EXPECT_FALSE(outcome.remedied.empty());
  EXPECT_EQ(held<std::uint8_t>(kCount), 1);
  EXPECT_EQ(held<std::uint32_t>(kFirstEntry), kStatusWord);
  EXPECT_EQ(held<std::uint32_t>(kCobId), 0x18Au);
}

TEST_F(MapPdo, SaysWhatTheDriveDoesNotTake) {
  client_->fail_address(kFirstEntry, NKR_SDO_NOT_MAPPABLE);
  EXPECT_EQ(map().result, NKR_SDO_NOT_MAPPABLE);
}

TEST(PdoIdentifier, IsOneThatCia301LeavesToPdos) {
  for (const unsigned id : {0x181U, 0x200U, 0x345U, 0x57FU, 0x680U})
    EXPECT_TRUE(tav::host::is_pdo_identifier(id)) << id;
  for (const unsigned id : {0x0U, 0x7FU, 0x80U, 0x101U, 0x180U, 0x58AU, 0x60AU, 0x70AU, 0x7E5U, 0x800U}) {
    EXPECT_FALSE(tav::host::is_pdo_identifier(id)) << id;
  }
}

}  // namespace
}  // namespace tests::host
