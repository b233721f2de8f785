#include <gtest/gtest.h>
#include <nkr/safety_word.h>

#include <fstream>
#include <nkr/tools/EDSParser.hpp>
#include <set>
#include <string>
#include <vector>

namespace {

/** A function of the drive: its command and status object, by name and by code. */
struct Function {
  const char* command;
  std::uint32_t command_code;
  const char* status;
  std::uint32_t status_code;
};

const std::vector<Function>& functions() {
  static const std::vector<Function> all = {
      {"STO command", 0x66400000, "STO status", 0x26400000},
      {"SBC commands SBC command 1", 0x66600100, "SBC statuses SBC status 1", 0x26600100},
      {"SBC commands SBC command 2", 0x66600200, "SBC statuses SBC status 2", 0x26600200},
      {"SBC commands SBC command 3", 0x66600300, "SBC statuses SBC status 3", 0x26600300},
      {"SLS commands SLS command 1", 0x66900100, "SLS statuses SLS status 1", 0x26900100},
      {"SLS commands SLS command 2", 0x66900200, "SLS statuses SLS status 2", 0x26900200},
      {"SLS commands SLS command 3", 0x66900300, "SLS statuses SLS status 3", 0x26900300},
      {"SLS commands SLS command 4", 0x66900400, "SLS statuses SLS status 4", 0x26900400},
      {"SLS commands SLS command 5", 0x66900500, "SLS statuses SLS status 5", 0x26900500},
      {"SLS commands SLS command 6", 0x66900600, "SLS statuses SLS status 6", 0x26900600},
      {"SLS commands SLS command 7", 0x66900700, "SLS statuses SLS status 7", 0x26900700},
      {"SLS commands SLS command 8", 0x66900800, "SLS statuses SLS status 8", 0x26900800},
      {"SDIp commands SDIp command 1", 0x66D00100, "SDIp statuses SDIp status 1", 0x26D00100},
      {"SDIp commands SDIp command 2", 0x66D00200, "SDIp statuses SDIp status 2", 0x26D00200},
      {"SDIn commands SDIn command 1", 0x66D10100, "SDIn statuses SDIn status 1", 0x26D10100},
      {"SDIn commands SDIn command 2", 0x66D10200, "SDIn statuses SDIn status 2", 0x26D10200},
      {"Error acknowledge command", 0x66320000, "Error acknowledge status", 0x26320000},
      {"Restart acknowledge command", 0x26300000, "Restart acknowledge status", 0x26310000}};
  return all;
}

TEST(SafetyWordCodec, HasTheCodeOfEachFunction) {
  ASSERT_EQ(functions().size(), 18U);
  for (std::size_t i = 0; i < functions().size(); ++i) {
    EXPECT_EQ(nkr_safety_word_fct_to_dico_cmd[i], functions()[i].command_code) << i;
    EXPECT_EQ(nkr_safety_word_fct_to_dico_status[i], functions()[i].status_code) << i;
  }
}

TEST(SafetyWordCodec, CodesAreTheAddressesOfTheObjectsInTheDescription) {
  std::ifstream file("share/tav/tav.eds");
  nkr::tools::EDSParser eds;
  ASSERT_TRUE(file.is_open() && eds.parse(file, false));
  constexpr std::uint32_t kLengthByte = 0xFF;
  for (const Function& function : functions()) {
    const auto command = eds.getObjectByName(function.command);
    const auto status = eds.getObjectByName(function.status);
    ASSERT_TRUE(command) << function.command;
    ASSERT_TRUE(status) << function.status;
    EXPECT_EQ(command->getObjectAddress() & ~kLengthByte, function.command_code) << function.command;
    EXPECT_EQ(status->getObjectAddress() & ~kLengthByte, function.status_code) << function.status;
    EXPECT_EQ(command->getDataType(), nkr::tools::DataType::BOOLEAN) << function.command;
    EXPECT_EQ(status->getDataType(), nkr::tools::DataType::BOOLEAN) << function.status;
  }
}

TEST(SafetyWordCodec, TurnsEachCodeBackIntoItsFunction) {
  for (std::size_t i = 0; i < functions().size(); ++i) {
    std::int32_t function = -7;
    EXPECT_EQ(nkr_safety_word_command_get_fct(functions()[i].command_code, &function), NKR_OK);
    EXPECT_EQ(function, static_cast<std::int32_t>(i));
    function = -7;
    EXPECT_EQ(nkr_safety_word_status_get_fct(functions()[i].status_code, &function), NKR_OK);
    EXPECT_EQ(function, static_cast<std::int32_t>(i));
  }
}

TEST(SafetyWordCodec, HasNoCodeTwice) {
  std::set<std::uint32_t> codes;
  for (const Function& function : functions()) {
    EXPECT_TRUE(codes.insert(function.command_code).second) << function.command;
    EXPECT_TRUE(codes.insert(function.status_code).second) << function.status;
  }
}

TEST(SafetyWordCodec, RefusesUnknownCodesAndLeavesTheOutput) {
  for (const std::uint32_t unknown :
       {0x00000000U, 0x66400001U, 0x66400100U, 0x66900000U, 0x66900900U, 0xFFFFFFFFU}) {
    std::int32_t function = -7;
    EXPECT_EQ(nkr_safety_word_command_get_fct(unknown, &function), NKR_ERROR);
    EXPECT_EQ(nkr_safety_word_status_get_fct(unknown, &function), NKR_ERROR);
    EXPECT_EQ(function, -7);
  }
}

TEST(SafetyWordCodec, CommandsAreNoStatuses) {
  std::int32_t function = -7;
  EXPECT_EQ(nkr_safety_word_command_get_fct(0x26400000, &function), NKR_ERROR);
  EXPECT_EQ(nkr_safety_word_status_get_fct(0x66400000, &function), NKR_ERROR);
}

TEST(SafetyWordCodec, RefusesANullOutput) {
  EXPECT_EQ(nkr_safety_word_command_get_fct(0x66400000, nullptr), NKR_ERROR);
  EXPECT_EQ(nkr_safety_word_status_get_fct(0x26400000, nullptr), NKR_ERROR);
}

}  // namespace
