#include "ServiceTest.hpp"

namespace tavtest {
namespace {

using ProcessDataTest = ServiceTest;
using Accesses = std::vector<Access>;
using Texts = std::vector<std::string>;

TEST_F(ProcessDataTest, SyncHandsTheClientTheAddressesOrderAndFlag) {
  client().sync_answer = {0x0237, -5, 77};
  nkr::canopenservice::TavOut out{};
  ASSERT_EQ(dispatcher().syncTav(-1234, true, out), NKR_OK);
  ASSERT_EQ(client().sync_requests.size(), 1U);
  const auto& request = client().sync_requests[0];
  EXPECT_EQ(request.nodeId, 5);
  EXPECT_EQ(request.statusWordAddress, description.address("nkr_tav_status_word"));
  EXPECT_EQ(request.positionAddress, description.address("position_value"));
  EXPECT_EQ(request.velocityAddress, description.address("velocity_actual_value"));
  EXPECT_EQ(request.order, -1234);
  EXPECT_TRUE(request.flag);
  EXPECT_EQ(out.statusWord, 0x0237);
  EXPECT_EQ(out.position, -5);
  EXPECT_EQ(out.velocity, 77);
}

TEST_F(ProcessDataTest, SyncWithoutOrderSaysSo) {
  nkr::canopenservice::TavOut out{};
  ASSERT_EQ(dispatcher().syncTav(0, false, out), NKR_OK);
  EXPECT_FALSE(client().sync_requests.at(0).flag);
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ProcessDataTest, SyncWithoutPositionInTheDescriptionNeverCallsTheClient) {
  description.remove("position_value");
  load();
  nkr::canopenservice::TavOut out{};
  EXPECT_EQ(dispatcher().syncTav(1, true, out), NKR_NOT_AVAILABLE);
  EXPECT_TRUE(client().accesses.empty());
  EXPECT_EQ(texts(2), (Texts{"Object position_value not found !", "Object position_value not found !"}));
}

TEST_F(ProcessDataTest, SyncEndsAtTheFirstOfItsObjectsThatTheDescriptionLacks) {
  for (const std::string name : {"velocity_actual_value", "position_value", "nkr_tav_status_word"}) {
    description.remove(name);
    load();
    log.clear();
    nkr::canopenservice::TavOut out{};
    EXPECT_EQ(dispatcher().syncTav(1, true, out), NKR_NOT_AVAILABLE);
    EXPECT_EQ(texts(2), Texts(2, "Object " + name + " not found !")) << "those behind it are missing, too";
  }
}

TEST_F(ProcessDataTest, TheExchangeItselfIsMadeOnceAndItsCodeReturned) {
  client().fail_access(1, 0x05040000);
  nkr::canopenservice::TavOut out{};
  EXPECT_EQ(dispatcher().syncTav(1, true, out), 0x05040000);
  EXPECT_EQ(client().accesses.size(), 1U);
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ProcessDataTest, AFailedReadOfTheHardwareIdLeavesTheOutputAsTheClientLeftIt) {
  fail("Hardware ID");
  unsigned int id = 42;
  EXPECT_EQ(dispatcher().getHWId(id), kAbort);
  EXPECT_EQ(id, 42U);
  client().failing_reads_store_zero = true;
  EXPECT_EQ(dispatcher().getHWId(id), kAbort);
  EXPECT_EQ(id, 0U);
}

TEST_F(ProcessDataTest, AVersionReadByItsRepeatIsStored) {
  answer("Software version", 0x01020304U);
  fail_once("Software version");
  unsigned int version = 0;
  EXPECT_EQ(dispatcher().getSWVersion(version), NKR_OK);
  EXPECT_EQ(version, 0x01020304U);
}

TEST_F(ProcessDataTest, TheControllersOwnOperationsAnswerTheirFixedCodeAfterInit) {
  using Move = nkr::tavcore::IDiagnosticService::MoveEnum;
  int position = 1;
  int velocity = 2;
  EXPECT_EQ(dispatcher().getAxisData(position, velocity), NKR_ERROR);
  EXPECT_EQ(position, 1);
  EXPECT_EQ(velocity, 2);
  EXPECT_EQ(dispatcher().setTavInfos(10, Move::FORWARD), NKR_ERROR);
  std::string text = "as it was";
  EXPECT_EQ(dispatcher().getSWVersion(text), NKR_NOT_AVAILABLE);
  EXPECT_EQ(dispatcher().getHWVersion(text), NKR_NOT_AVAILABLE);
  EXPECT_EQ(text, "as it was");
  bool compatible = true;
  EXPECT_EQ(dispatcher().checkHWCompatibility("hw", compatible), NKR_NOT_AVAILABLE);
  EXPECT_TRUE(compatible);
  int odometry = 3;
  EXPECT_EQ(dispatcher().getOdometryValue(odometry), NKR_NOT_AVAILABLE);
  EXPECT_EQ(odometry, 3);
  EXPECT_TRUE(client().accesses.empty());
  EXPECT_TRUE(log.records().empty());
}

}  // namespace
}  // namespace tavtest
