#include <algorithm>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "client/ClientFixture.hpp"
#include "support/futures.hpp"

namespace tests::client {
namespace {

using nkr::can::Clock;
using nkr::can::Frame;
using nkr::canopencore::NMTState;
using nkr::canopenservice::TavIn;
using nkr::canopenservice::TavOut;
using namespace std::chrono_literals;
using Frames = std::vector<std::string>;

/** Four bytes as an SDO carries them. */
std::string little_endian(std::uint32_t value) {
  Frame frame{0,
              {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
               static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)}};
  return tests::hex_of(frame);
}

class PdoSync : public ClientTest {
 protected:
  PdoSync() {
    node.on("40 41 60 00 00 00 00 00", {"4B 41 60 00 11 11 00 00"});
    node.on("40 64 60 00 00 00 00 00", {"43 64 60 00 22 22 00 00"});
    node.on("40 44 60 00 00 00 00 00", {"4B 44 60 00 33 33 00 00"});
    object(0x18000100, 0x4000018A);
    object(0x18000200, 1);
    object(0x1A000000, 2);
    object(0x1A000100, 0x60410010);
    object(0x1A000200, 0x60440010);
    object(0x18010100, 0x4000028A);
    object(0x18010200, 255);
    object(0x1A010000, 1);
    object(0x1A010100, 0x60640020);
    missing(0x18020100);
    object(0x14000100, 0x0000020A);
    object(0x14000200, 255);
    object(0x16000000, 1);
    object(0x16000100, 0x60420010);
    missing(0x14010100);
    operational();
  }
  ~PdoSync() override { client.close(); }

  static std::string entry(std::uint32_t address) {
    return tests::hex_of(
        Frame{0,
              {static_cast<std::uint8_t>(address >> 16), static_cast<std::uint8_t>(address >> 24),
               static_cast<std::uint8_t>(address >> 8)}});
  }
  static std::string read_of(std::uint32_t address) { return "40 " + entry(address) + " 00 00 00 00"; }
  void object(std::uint32_t address, std::uint32_t value) {
    node.on(read_of(address), {"43 " + entry(address) + " " + little_endian(value)});
  }
  void missing(std::uint32_t address) {
    node.on(read_of(address), {"80 " + entry(address) + " 00 00 02 06"});
  }
  void operational() {
    node.send(0x70A, "05");
    NMTState state{};
    const auto deadline = nkr::time::now() + 20s;
    while (client.getNMTState(kNode, state) == NKR_OK && state != NMTState::OPERATIONAL &&
           nkr::time::now() < deadline)
      nkr::time::sleep_for(1ms);
    ASSERT_EQ(state, NMTState::OPERATIONAL);
  }

  nkr_error_t sync(std::int32_t order = 0, bool flag = false) {
    return client.sync(TavIn{kNode, 0x60410010, 0x60640020, 0x60440010, order, flag}, out);
  }
  /** How often an object was read by SDO. */
  std::ptrdiff_t reads_of(std::uint32_t address) const {
    const auto requests = node.requests();
    return std::count(requests.begin(), requests.end(), read_of(address));
  }
  /** SYNC and the PDOs that went over the bus, in order. */
  Frames seen() {
    Frames frames;
    Frame frame;
    while (tap->receive(frame, Clock::time_point{}) == NKR_OK) frames.push_back(to_string(frame));
    return frames;
  }
  void on_sync(std::function<void()> answer) {
    const std::lock_guard<std::mutex> lock(mutex_);
    answer_ = std::move(answer);
  }

  TavOut out{9, 9, 9};
  nkr_error_t result = NKR_ERROR;

 private:
  void sync_arrived() {
    std::function<void()> answer;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      answer = answer_;
    }
    if (answer) answer();
  }
  std::mutex mutex_;
  std::function<void()> answer_;

 protected:
  std::unique_ptr<nkr::can::Port> tap = bus->open({{0x080, 0x7FF}, {0x20A, 0x7FF}, {0x18A, 0x7FF}}, result);
  std::unique_ptr<nkr::can::Port> sync_port = bus->open_handler(
      {{0x080, 0x7FF}}, [this](const Frame&) { sync_arrived(); }, result);
};

TEST_F(PdoSync, WhatIsMappedOnEverySyncComesByPdoAndTheRestBySdoAfterIt) {
  on_sync([this] { node.send(0x18A, "37 02 9C FF"); });
  EXPECT_EQ(sync(), NKR_OK);
  EXPECT_EQ(out.statusWord, 0x0237);
  EXPECT_EQ(out.velocity, -100);
  EXPECT_EQ(out.position, 0x2222);
  EXPECT_EQ(reads_of(0x60410000), 0);
  EXPECT_EQ(reads_of(0x60440000), 0);
  EXPECT_EQ(node.requests().back(), read_of(0x60640000)) << "a PDO by event does not belong to a SYNC";
  EXPECT_EQ(seen(), (Frames{"080#", "18A#37029CFF"}));
}

TEST_F(PdoSync, TheMappingIsReadOnce) {
  on_sync([this] { node.send(0x18A, "37 02 9C FF"); });
  EXPECT_EQ(sync(), NKR_OK);
  EXPECT_EQ(sync(), NKR_OK);
  EXPECT_EQ(reads_of(0x18000100), 1);
}

TEST_F(PdoSync, ABootUpAndAWriteToPdoParametersMakeItReadAgain) {
  on_sync([this] { node.send(0x18A, "37 02 9C FF"); });
  EXPECT_EQ(sync(), NKR_OK);
  node.send(0x70A, "00");
  NMTState state{};
  while (client.getNMTState(kNode, state) == NKR_OK && state != NMTState::PRE_OPERATIONAL)
    nkr::time::sleep_for(1ms);
  operational();
  EXPECT_EQ(sync(), NKR_OK);
  EXPECT_EQ(reads_of(0x18000100), 2);
  node.on("2F 00 18 02 01 00 00 00", {"60 00 18 02 00 00 00 00"});
  EXPECT_EQ(client.setValue(kNode, 0x18000208, std::uint8_t{1}), NKR_OK);
  EXPECT_EQ(sync(), NKR_OK);
  EXPECT_EQ(reads_of(0x18000100), 3);
}

TEST_F(PdoSync, ANodeThatIsNotOperationalIsAskedBySdoAlone) {
  node.send(0x70A, "7F");
  NMTState state{};
  while (client.getNMTState(kNode, state) == NKR_OK && state != NMTState::PRE_OPERATIONAL)
    nkr::time::sleep_for(1ms);
  EXPECT_EQ(sync(), NKR_OK);
  EXPECT_EQ(out.statusWord, 0x1111);
  EXPECT_EQ(out.velocity, 0x3333);
  EXPECT_EQ(seen(), Frames{});
  EXPECT_EQ(reads_of(0x18000100), 0);
}

TEST_F(PdoSync, APdoThatDoesNotComeIsATimeOutAndLeavesTheOutputs) {
  EXPECT_EQ(sync(), NKR_SDO_TIMED_OUT);
  EXPECT_EQ(out.statusWord, 9);
  EXPECT_EQ(out.position, 9);
  EXPECT_EQ(out.velocity, 9);
}

TEST_F(PdoSync, OneOfTwoPdosIsNotEnough) {
  client.close();
  nkr::canopen::Client fresh(bus, short_times());
  tests::ScriptedNode other(*bus, 11);
  const auto tell = [&](const std::string& request, const std::string& reply) { other.on(request, {reply}); };
  tell(read_of(0x18000100), "43 00 18 01 8B 01 00 40");
  tell(read_of(0x18000200), "4F 00 18 02 01 00 00 00");
  tell(read_of(0x1A000000), "4F 00 1A 00 01 00 00 00");
  tell(read_of(0x1A000100), "43 00 1A 01 10 00 41 60");
  tell(read_of(0x18010100), "43 01 18 01 8B 02 00 40");
  tell(read_of(0x18010200), "4F 01 18 02 01 00 00 00");
  tell(read_of(0x1A010000), "4F 01 1A 00 02 00 00 00");
  tell(read_of(0x1A010100), "43 01 1A 01 20 00 64 60");
  tell(read_of(0x1A010200), "43 01 1A 02 10 00 44 60");
  tell(read_of(0x18020100), "80 02 18 01 00 00 02 06");
  other.send(0x70B, "05");
  NMTState state{};
  while (fresh.getNMTState(11, state) == NKR_OK && state != NMTState::OPERATIONAL) nkr::time::sleep_for(1ms);
  const TavIn request{11, 0x60410010, 0x60640020, 0x60440010, 0, false};
  on_sync([&] { other.send(0x18B, "37 02"); });
  EXPECT_EQ(fresh.sync(request, out), NKR_SDO_TIMED_OUT);
  EXPECT_EQ(out.statusWord, 9);
  on_sync([&] {
    other.send(0x28B, "FE FF FF FF 9C FF");
    other.send(0x18B, "37 02");
  });
  EXPECT_EQ(fresh.sync(request, out), NKR_OK);
  EXPECT_EQ(out.statusWord, 0x0237);
  EXPECT_EQ(out.position, -2);
  EXPECT_EQ(out.velocity, -100);
}

TEST_F(PdoSync, ALatePdoIsNotTakenForTheNextSyncs) {
  ASSERT_EQ(sync(), NKR_SDO_TIMED_OUT);
  Thread late([this] {
    nkr::time::sleep_for(40ms);
    node.send(0x18A, "99 99 99 99");
  });
  on_sync([this] { node.send(0x18A, "37 02 9C FF"); });
  EXPECT_EQ(sync(), NKR_OK);
  EXPECT_EQ(out.statusWord, 0x0237);
  late.join();
}

TEST_F(PdoSync, ALostPdoHoldsUpTheNextSyncNoLongerThanThisNodesPdosTake) {
  client.close();
  nkr::canopen::ClientOptions options = short_times();
  options.late_reply_grace = 60s;
  nkr::canopen::Client patient(bus, options);
  node.send(0x70A, "05");
  NMTState state{};
  while (patient.getNMTState(kNode, state) == NKR_OK && state != NMTState::OPERATIONAL)
    nkr::time::sleep_for(1ms);
  const TavIn request{kNode, 0x60410010, 0x60640020, 0x60440010, 0, false};
  on_sync([this] { node.send(0x18A, "37 02 9C FF"); });
  ASSERT_EQ(patient.sync(request, out), NKR_OK);
  on_sync({});
  ASSERT_EQ(patient.sync(request, out), NKR_SDO_TIMED_OUT);
  on_sync([this] { node.send(0x18A, "38 02 9C FF"); });
  const auto start = nkr::time::now();
  EXPECT_EQ(patient.sync(request, out), NKR_OK);
  EXPECT_LT(nkr::time::now() - start, 30s);
  EXPECT_EQ(out.statusWord, 0x0238);
}

TEST_F(PdoSync, PdosThatCameBeforeTheSyncAreNotTaken) {
  on_sync([this] { node.send(0x18A, "37 02 9C FF"); });
  ASSERT_EQ(sync(), NKR_OK);
  node.send(0x18A, "99 99 99 99");
  on_sync([this] { node.send(0x18A, "38 02 9C FF"); });
  EXPECT_EQ(sync(), NKR_OK);
  EXPECT_EQ(out.statusWord, 0x0238);
}

TEST_F(PdoSync, APdoOfAnotherLengthIsNotTaken) {
  on_sync([this] { node.send(0x18A, "37 02"); });
  EXPECT_EQ(sync(), NKR_SDO_TIMED_OUT);
}

TEST_F(PdoSync, TheOrderGoesBeforeTheSyncByAnRpdoThatHoldsNothingElse) {
  on_sync([this] { node.send(0x18A, "37 02 9C FF"); });
  EXPECT_EQ(sync(-2, true), NKR_OK);
  EXPECT_EQ(seen(), (Frames{"20A#FEFF", "080#", "18A#37029CFF"}));
  const auto requests = node.requests();
  for (const std::string& request : requests) EXPECT_NE(request.substr(0, 2), "2B");
}

TEST_F(PdoSync, AnRpdoThatHoldsTheControlWordTooIsNotUsed) {
  node.send(0x70A, "05");
  tests::ScriptedNode other(*bus, 11);
  other.on(read_of(0x18000100), {"80 00 18 01 00 00 02 06"});
  other.on(read_of(0x14000100), {"43 00 14 01 0B 02 00 00"});
  other.on(read_of(0x14000200), {"4F 00 14 02 FF 00 00 00"});
  other.on(read_of(0x16000000), {"4F 00 16 00 02 00 00 00"});
  other.on(read_of(0x16000100), {"43 00 16 01 10 00 40 60"});
  other.on(read_of(0x16000200), {"43 00 16 02 10 00 42 60"});
  other.on(read_of(0x14010100), {"80 01 14 01 00 00 02 06"});
  other.on("2B 42 60 00 07 00 00 00", {"60 42 60 00 00 00 00 00"});
  other.on("40 41 60 00 00 00 00 00", {"4B 41 60 00 11 11 00 00"});
  other.on("40 64 60 00 00 00 00 00", {"43 64 60 00 22 22 00 00"});
  other.on("40 44 60 00 00 00 00 00", {"4B 44 60 00 33 33 00 00"});
  other.send(0x70B, "05");
  NMTState state{};
  while (client.getNMTState(11, state) == NKR_OK && state != NMTState::OPERATIONAL) nkr::time::sleep_for(1ms);
  EXPECT_EQ(client.sync({11, 0x60410010, 0x60640020, 0x60440010, 7, true}, out), NKR_OK);
  EXPECT_EQ(seen(), Frames{}) << "neither RPDO nor SYNC";
  EXPECT_EQ(out.statusWord, 0x1111);
}

TEST_F(PdoSync, WhenAnotherSyncComesBetweenAllValuesAreOfTheLastOne) {
  nkr_error_t opened = NKR_ERROR;
  const auto other_producer = bus->open({{0x7FF, 0x7FF}}, opened);
  int syncs = 0;
  on_sync([&] {
    ++syncs;
    if (syncs == 2) node.send(0x18A, "02 02 02 00");
  });
  client.setTimeout(30s);
  Thread second([&] {
    nkr::time::sleep_for(50ms);
    static_cast<void>(other_producer->send({0x080, {}}, Clock::time_point::max()));
  });
  EXPECT_EQ(sync(), NKR_OK);
  second.join();
  EXPECT_EQ(out.statusWord, 0x0202);
  EXPECT_EQ(out.velocity, 2);
}

}  // namespace
}  // namespace tests::client
