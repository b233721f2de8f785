// Setting an interface up, on a system whose program ip is the test's.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tavctl/Tool.hpp"

namespace {

using tool::tavctl;

/** A folder first in PATH with an "ip" that notes what it is asked, and answers so. */
class FakeIp {
 public:
  explicit FakeIp(const std::string& body) : path_(std::getenv("PATH")) {
    folder_ = (std::filesystem::temp_directory_path() / "tav-ip-XXXXXX").string();
    if (::mkdtemp(folder_.data()) == nullptr) throw std::runtime_error("no folder");
    const std::string program = folder_ + "/ip";
    std::ofstream(program) << "#!/bin/sh\necho \"ip $*\" >>" + folder_ + "/asked\n" + body + '\n';
    ::chmod(program.c_str(), 0755);
    ::setenv("PATH", (folder_ + ':' + path_).c_str(), 1);
  }
  ~FakeIp() {
    ::setenv("PATH", path_.c_str(), 1);
    std::filesystem::remove_all(folder_);
  }
  FakeIp(const FakeIp&) = delete;
  FakeIp& operator=(const FakeIp&) = delete;
  [[nodiscard]] std::string asked() const {
    std::ifstream file(folder_ + "/asked");
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  std::string path_;
  std::string folder_;
};

constexpr const char* kCommands =
    "ip link set can0 down\nip link set can0 txqueuelen 1000\n"
    "ip link set can0 up type can bitrate 500000 restart-ms 100\n";
/** As iproute2 tells of an interface with that bit rate. */
std::string link_at(unsigned bit_rate) {
  return "case $* in *show*) echo '[{\"linkinfo\":{\"info_data\":{\"state\":\"ERROR-ACTIVE\",\"bittiming\":"
         "{\"bitrate\":" +
         std::to_string(bit_rate) + "}}}}]' ;; esac";
}

TEST(Setup, ShowsTheCommandsAndRunsNone) {
  const FakeIp ip("true");
  const auto result = tavctl({"setup", "can0", "--bit-rate", "500000"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out, kCommands);
  EXPECT_EQ(ip.asked(), "");
}

TEST(Setup, RunsThemAndLooksAtTheInterface) {
  const FakeIp ip(link_at(500'000));
  const auto result = tavctl({"setup", "can0", "--bit-rate", "500000", "--apply"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(ip.asked(), std::string(kCommands) + "ip -details -json link show can0\n");
  EXPECT_NE(result.out.find("can0 is up at 500000 bit/s, ERROR-ACTIVE"), std::string::npos) << result.out;
}

TEST(Setup, SaysThatTheInterfaceTookAnotherBitRate) {
  const FakeIp ip(link_at(250'000));
  const auto result = tavctl({"setup", "can0", "--bit-rate", "500000", "--apply"});
  EXPECT_EQ(result.code, 6);
  EXPECT_NE(result.err.find("can0 runs at 250000 bit/s, not at 500000"), std::string::npos) << result.err;
}

TEST(Setup, SaysThatRightsAreMissing) {
  const FakeIp ip("echo 'RTNETLINK answers: Operation not permitted'; exit 2");
  const auto result = tavctl({"setup", "can0", "--bit-rate", "500000", "--apply"});
  EXPECT_EQ(result.code, 4);
  EXPECT_NE(result.err.find("Operation not permitted"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("rights of the administrator"), std::string::npos) << result.err;
  EXPECT_EQ(ip.asked(), "ip link set can0 down\n") << "nothing after the first that fails";
}

TEST(Setup, TakesNoNameThatIsNoInterface) {
  const FakeIp ip("true");
  for (const char* const name : {"can0;reboot", "", "virtual", "$(reboot)", "an-interface-too-long"}) {
    EXPECT_EQ(tavctl({"setup", name, "--bit-rate", "500000", "--apply"}).code, 2) << name;
  }
  EXPECT_EQ(tavctl({"setup", "can0", "--bit-rate", "5"}).code, 6);
  EXPECT_EQ(ip.asked(), "");
}

}  // namespace
