// Commands that listen to a whole bus, and to what was recorded of one.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/TemporaryFile.hpp"
#include "tavctl/Tool.hpp"

namespace {

using tavtest::TemporaryFile;
using tool::DriveOnBus;
using tool::tavctl;

/** The JSON documents in an output of one a line. */
std::vector<nlohmann::json> documents(const std::string& text) {
  std::vector<nlohmann::json> result;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    result.push_back(nlohmann::json::parse(line, nullptr, false));
    EXPECT_FALSE(result.back().is_discarded()) << line;
  }
  return result;
}

const char* const kLog =
    "(1436509052.000000) can0 60A#4018100100000000\n"
    "(1436509052.250000) can0 58A#43181001270A0000\n"
    "this is no frame\n"
    "  can0  70A   [1]  05\n";

TEST(TraceDecode, ShowsEachFrameOfALogWithItsMeaningAndTellsBadLines) {
  const TemporaryFile log(kLog);
  const auto result = tavctl({"trace", "decode", log.path()});
  EXPECT_EQ(result.code, 1) << result.err;
  EXPECT_NE(result.out.find("  0.250000  58A  43 18 10 01 27 0A 00 00"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("\"Identity Object Vendor Id\" (0x1018:01) is 2599"), std::string::npos);
  EXPECT_NE(result.out.find("operational"), std::string::npos) << result.out;
  EXPECT_NE(result.err.find("line 3: "), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("1 of 4 lines skipped"), std::string::npos) << result.err;
}

TEST(TraceDecode, WritesADocumentAFrameWithTheObjectsValues) {
  const TemporaryFile log(kLog);
  const auto rows = documents(tavctl({"--json", "trace", "decode", log.path(), "--kind", "sdo"}).out);
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[1]["kind"], "sdo");
  EXPECT_EQ(rows[1]["node"], 10);
  EXPECT_EQ(rows[1]["objects"][0]["name"], "Identity Object Vendor Id");
  EXPECT_EQ(rows[1]["objects"][0]["value"], 2599);
  EXPECT_EQ(rows[2]["frames"], 2);
  EXPECT_EQ(rows[2]["bad_lines"], 1);
}

TEST(TraceDecode, ShowsOnlyWhatIsAskedFor) {
  const TemporaryFile log(
      "can0 70A [1] 05\n"
      "can0 70B [1] 05\n"
      "can0 08B [8] 20 32 04 00 00 00 00 00\n"
      "can0 70B [1] 7F\n");
  const auto of_node = tavctl({"trace", "decode", log.path(), "--nodes", "11"});
  EXPECT_EQ(of_node.code, 0) << of_node.err;
  EXPECT_EQ(std::count(of_node.out.begin(), of_node.out.end(), '\n'), 3) << of_node.out;
  const auto of_kind =
      tavctl({"trace", "decode", log.path(), "--nodes", "11", "--kind", "heartbeat", "--count", "1"});
  EXPECT_EQ(std::count(of_kind.out.begin(), of_kind.out.end(), '\n'), 1) << of_kind.out;
}

TEST(TraceDecode, SaysWhichFileItCannotOpen) {
  const auto result = tavctl({"trace", "decode", "/no/such.log"});
  EXPECT_EQ(result.code, 3);
  EXPECT_NE(result.err.find("/no/such.log"), std::string::npos);
}

TEST(Sniff, ShowsWhatGoesOverTheBusAndSendsNothing) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"--json", "sniff", "--kind", "heartbeat", "--count", "3"});
  EXPECT_EQ(result.code, 0) << result.err;
  const auto rows = documents(result.out);
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[0]["text"], "pre-operational");
  EXPECT_EQ(rows[0]["node"], 10);
  EXPECT_EQ(drive.uploads(), 0);
  EXPECT_EQ(drive.downloads(), 0);
}

TEST(Sniff, EndsWhenItsTimeIsOver) {
  const auto result = tavctl({"--bus", "virtual", "sniff", "--for", "0.3"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_NE(result.out.find("HB node 10"), std::string::npos) << result.out;
}

TEST(Sniff, ReadsTheMappingOfTheDriveWhenAsked) {
  DriveOnBus drive;
  ASSERT_EQ(drive.tavctl({"pdo", "map", "tpdo", "1", "vl_velocity_actual_value"}).code, 0);
  ASSERT_EQ(drive.tavctl({"nmt", "start"}).code, 0);
  const int before = drive.downloads();
  nkr_error_t opened = NKR_OK;
  const auto port = drive.bus().open({{0x7FF, 0x7FF}}, opened);
  ASSERT_NE(port, nullptr);
  std::thread others([&] {  // the frame that the drive would send, until it was seen
    for (int i = 0; i < 100; ++i) {
      const nkr::can::Frame frame(0x18A, {0x2C, 0x01});
      port->send(frame, nkr::can::Clock::now() + std::chrono::seconds(1));
      std::this_thread::sleep_for(std::chrono::milliseconds(30));
    }
  });
  const auto result = drive.tavctl({"sniff", "--read-mapping", "--for", "2.5", "--kind", "pdo"});
  others.join();
  EXPECT_NE(result.out.find("\"vl_velocity_actual_value\" (0x6044:00) = 300"), std::string::npos)
      << result.out;
  EXPECT_EQ(drive.downloads(), before);
}

TEST(Scan, FindsTheNodesOfTheRangeWithIdentityAndState) {
  const DriveOnBus drive;
  const auto result =
      drive.tavctl({"--json", "scan", "--from", "8", "--to", "12", "--listen", "0.5", "--timeout", "300"});
  EXPECT_EQ(result.code, 0) << result.err;
  const auto nodes = result.json()["nodes"];
  ASSERT_EQ(nodes.size(), 1u) << result.out;
  EXPECT_EQ(nodes[0]["node"], 10);
  EXPECT_EQ(nodes[0]["vendor_id"], 2599);
  EXPECT_EQ(nodes[0]["device_name"], "TAV");
  EXPECT_EQ(nodes[0]["nmt_state"]["name"], "pre-operational");
  EXPECT_EQ(nodes[0]["state"], "SWITCH_ON_DISABLED");
  EXPECT_EQ(nodes[0]["is_described"], true);
  EXPECT_EQ(drive.downloads(), 0);
}

TEST(Read, IsAbortedOnTheBusWhenTheUserEndsIt) {
  DriveOnBus drive;
  constexpr std::uint32_t kRequestsOfNode99 = 0x663;  // nobody answers them
  nkr_error_t opened = NKR_OK;
  const auto port = drive.bus().open({{kRequestsOfNode99, 0x7FF}}, opened);
  ASSERT_NE(port, nullptr);
  tool::Process process(
      {"--bus", drive.bus_name(), "--node", "99", "--sdo-timeout", "60000", "read", "0x1008"});
  nkr::can::Frame frame;
  ASSERT_EQ(port->receive(frame, nkr::can::Clock::now() + std::chrono::seconds(20)), NKR_OK);
  process.send(SIGINT);
  ASSERT_EQ(port->receive(frame, nkr::can::Clock::now() + std::chrono::seconds(20)), NKR_OK);
  EXPECT_EQ(frame, nkr::can::Frame(kRequestsOfNode99, {0x80, 0x08, 0x10, 0, 0, 0, 0, 0x08}))
      << "abort of 0x1008 with 0x08000000 (CiA 301, 7.2.4.3.17)";
  EXPECT_EQ(process.wait(), 130);
}

TEST(Scan, TellsANodeThatIsStoppedByItsHeartbeat) {
  const DriveOnBus drive;
  ASSERT_EQ(drive.tavctl({"nmt", "stop"}).code, 0);
  const int before = drive.uploads();
  const auto result = drive.tavctl({"scan", "--from", "10", "--to", "10", "--listen", "1"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_NE(result.out.find("stopped"), std::string::npos) << result.out;
  EXPECT_EQ(drive.uploads(), before) << "it would not answer";
}

TEST(Scan, SaysThatNobodyIsThere) {
  const auto result = tavctl({"--bus", "virtual", "scan", "--from", "20", "--to", "21", "--listen", "0"});
  EXPECT_EQ(result.code, 1) << result.out;
  EXPECT_NE(result.err.find("no node"), std::string::npos) << result.err;
  EXPECT_EQ(tavctl({"--bus", "virtual", "scan", "--from", "9", "--to", "8"}).code, 2);
}

TEST(Emcy, TellsTheHistoryAndWhatIsPresent) {
  DriveOnBus drive;
  drive.drive().raise_fault(0x3220, true);
  const auto result = drive.tavctl({"emcy", "--history"});
  EXPECT_EQ(result.code, 1) << result.err;
  EXPECT_NE(result.out.find("0x3220 DC link under-voltage (voltage inside the device)"), std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find("error register: 0x05 (generic, voltage)"), std::string::npos) << result.out;
  EXPECT_EQ(drive.downloads(), 0);
}

TEST(Emcy, TellsTheMessagesOfAllNodesAsTheyCome) {
  DriveOnBus drive;
  nkr_error_t opened = NKR_OK;
  const auto port = drive.bus().open({{0x7FF, 0x7FF}}, opened);
  ASSERT_NE(port, nullptr);
  std::thread other([&] {
    for (int i = 0; i < 50; ++i) {
      port->send({0x08B, {0x10, 0x42, 0x09, 1, 2, 3, 4, 5}},
                 nkr::can::Clock::now() + std::chrono::seconds(1));
      std::this_thread::sleep_for(std::chrono::milliseconds(30));
    }
  });
  const auto result = drive.tavctl({"--json", "emcy", "--live", "--for", "1"});
  other.join();
  EXPECT_EQ(result.code, 1) << "the error was not taken back";
  const auto rows = documents(result.out);
  ASSERT_GE(rows.size(), 2u);
  EXPECT_EQ(rows[0]["node"], 11);
  EXPECT_EQ(rows[0]["code"], 0x4210);
  EXPECT_EQ(rows[0]["text"], "excess device temperature");
  EXPECT_EQ(rows[0]["class"], "device temperature");
  EXPECT_EQ(rows[0]["error_register_bits"], (std::vector<std::string>{"generic", "temperature"}));
  EXPECT_EQ(rows[0]["vendor_data"], "01 02 03 04 05");
  EXPECT_EQ(rows.back()["present"][0]["node"], 11);
  EXPECT_EQ(drive.uploads(), 0);
}

TEST(Emcy, ListensToABusWhoseDriveDoesNotAnswer) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"--node", "11", "--sdo-timeout", "100", "emcy", "--for", "0.2"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_NE(result.err.find("no history: "), std::string::npos) << result.err;
  EXPECT_EQ(drive.tavctl({"--node", "11", "--sdo-timeout", "100", "emcy", "--history"}).code, 5);
}

TEST(Emcy, OfAHealthyDriveIsNoFinding) {
  const auto result = tavctl({"--bus", "virtual", "emcy", "--for", "0.2"});
  EXPECT_EQ(result.code, 0) << result.out << result.err;
  EXPECT_NE(result.out.find("none"), std::string::npos) << result.out;
}

TEST(CommTest, MeasuresRoundTripsAndTheLoadOfTheBus) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"--json", "comm-test", "--count", "50", "--bit-rate", "250000"});
  EXPECT_EQ(result.code, 0) << result.err;
  const auto json = result.json();
  EXPECT_EQ(json["requests"], 50);
  EXPECT_EQ(json["lost"], 0);
  EXPECT_GT(json["min_us"], 0.0);
  EXPECT_LE(json["min_us"], json["p50_us"]);
  EXPECT_LE(json["p50_us"], json["p90_us"]);
  EXPECT_LE(json["p90_us"], json["p99_us"]);
  EXPECT_LE(json["p99_us"], json["max_us"]);
  EXPECT_GE(json["frames"], 100) << "a request and a reply each";
  EXPECT_GT(json["bus_load_percent"], 0.0);
  EXPECT_EQ(json["bit_rate"], 250000);
  EXPECT_EQ(drive.downloads(), 0);
}

TEST(CommTest, ReadsTheObjectThatIsAskedFor) {
  const DriveOnBus drive;
  EXPECT_EQ(drive.tavctl({"comm-test", "--count", "3", "--object", "Manufacturer device name"}).code, 0);
  EXPECT_EQ(drive.tavctl({"comm-test", "--count", "3", "--object", "no such thing"}).code, 3);
  EXPECT_EQ(drive.tavctl({"comm-test", "--count", "3", "--object", "0x2999:1"}).code, 6);
}

TEST(CommTest, GivesUpOnANodeThatAnswersNothing) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"--node", "11", "comm-test", "--timeout", "50"});
  EXPECT_EQ(result.code, 5);
  EXPECT_NE(result.err.find("likely cause:"), std::string::npos) << result.err;
}

}  // namespace
