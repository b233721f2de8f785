#include <dirent.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>

#include "LogFixture.hpp"
#include "Registry.hpp"
#include "Sink.hpp"

namespace nkr::log::test {
namespace {

namespace fs = std::filesystem;

class LogSinks : public LogTest {
 protected:
  LogSinks() {
    std::string name = (fs::temp_directory_path() / "nkr-log-XXXXXX").string();
    folder_ = mkdtemp(name.data());
    nkr_log_set_enabled(1);
  }
  ~LogSinks() override {
    reset();
    fs::remove_all(folder_);
  }

  std::string path(const char* name) const { return (folder_ / name).string(); }

  static std::vector<std::string> lines(const std::string& path) {
    std::ifstream file(path);
    std::vector<std::string> result;
    for (std::string line; std::getline(file, line);) result.push_back(line);
    return result;
  }

  fs::path folder_;
};

/** Puts another file descriptor in the place of standard error for a while. */
class StandardErrorAs {
 public:
  explicit StandardErrorAs(int descriptor) : kept_(dup(STDERR_FILENO)) { dup2(descriptor, STDERR_FILENO); }
  StandardErrorAs(const StandardErrorAs&) = delete;
  StandardErrorAs& operator=(const StandardErrorAs&) = delete;
  ~StandardErrorAs() {
    dup2(kept_, STDERR_FILENO);
    close(kept_);
  }

 private:
  int kept_;
};

struct Pipe {
  Pipe() { EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0); }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  ~Pipe() {
    close_reader();
    close(ends[1]);
  }
  void close_reader() {
    if (ends[0] >= 0) close(ends[0]);
    ends[0] = -1;
  }
  int ends[2] = {-1, -1};
};

const std::string kTime = R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3})";

TEST_F(LogSinks, WriteOneReadableLineAMessageToStandardError) {
  const Pipe pipe;
  {
    const StandardErrorAs redirected(pipe.ends[1]);
    ASSERT_EQ(nkr_log_add_stderr(NKR_LOG_NOTICE, nullptr), NKR_OK);
    log_text(NKR_LOG_FAILURE, "no answer", 3);
    log_text(NKR_LOG_TRACE, "filtered");
  }
  char text[1000];
  const ssize_t size = read(pipe.ends[0], text, sizeof text);
  ASSERT_GT(size, 0);
  EXPECT_TRUE(std::regex_match(std::string(text, static_cast<std::size_t>(size)),
                               std::regex(kTime + R"( failure \[3\] function:42 Class: no answer\n)")))
      << std::string(text, static_cast<std::size_t>(size));
}

TEST_F(LogSinks, ColourTheLevelOnATerminal) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0)
    GTEST_SKIP() << "no pseudo terminals";
  const int screen = open(ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
  ASSERT_GE(screen, 0);
  setenv("TERM", "xterm", 1);
  unsetenv("NO_COLOR");
  {
    const StandardErrorAs redirected(screen);
    ASSERT_EQ(nkr_log_add_stderr(NKR_LOG_TRACE, nullptr), NKR_OK);
    log_text(NKR_LOG_FAILURE, "no answer");
  }
  char text[1000];
  const ssize_t size = read(terminal, text, sizeof text);
  ASSERT_GT(size, 0);
  EXPECT_NE(std::string(text, static_cast<std::size_t>(size)).find("\x1b[31mfailure\x1b[0m"),
            std::string::npos);
  close(screen);
  close(terminal);
}

TEST_F(LogSinks, SurviveAStandardErrorThatNobodyReads) {
  Pipe pipe;
  const StandardErrorAs redirected(pipe.ends[1]);
  ASSERT_EQ(nkr_log_add_stderr(NKR_LOG_TRACE, nullptr), NKR_OK);
  const std::uint64_t before = nkr_log_dropped();
  for (int i = 0; i < 10000; ++i) log_text(NKR_LOG_TRACE, "more than the pipe holds, without a reader");
  EXPECT_GT(nkr_log_dropped(), before);

  const std::uint64_t full = nkr_log_dropped();
  pipe.close_reader();
  log_text(NKR_LOG_TRACE, "a closed pipe raises no signal");
  EXPECT_EQ(nkr_log_dropped() - full, 1u);
  sigset_t pending;
  sigpending(&pending);
  EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
}

TEST_F(LogSinks, AppendToAFile) {
  std::ofstream(path("tav.log")) << "old\n";
  ASSERT_EQ(nkr_log_add_file(path("tav.log").c_str(), 0, 0, NKR_LOG_TRACE, nullptr), NKR_OK);
  log_text(NKR_LOG_NOTICE, "new");
  const std::vector<std::string> content = lines(path("tav.log"));
  ASSERT_EQ(content.size(), 2u);
  EXPECT_EQ(content[0], "old");
  EXPECT_TRUE(std::regex_match(content[1], std::regex(kTime + R"( notice \[0\] function:42 Class: new)")));
}

TEST_F(LogSinks, RotateAFileBySizeAndLoseNoLineUntilTheOldestGoes) {
  constexpr std::uint64_t kTwoLines = 150;
  ASSERT_EQ(nkr_log_add_file(path("tav.log").c_str(), kTwoLines, 2, NKR_LOG_TRACE, nullptr), NKR_OK);
  for (const char* text : {"1", "2", "3", "4", "5", "6", "7"}) log_text(NKR_LOG_NOTICE, text);
  const auto last_characters = [](const std::vector<std::string>& content) {
    std::string result;
    for (const std::string& line : content) result += line.back();
    return result;
  };
  EXPECT_EQ(last_characters(lines(path("tav.log"))), "7");
  EXPECT_EQ(last_characters(lines(path("tav.log.1"))), "56");
  EXPECT_EQ(last_characters(lines(path("tav.log.2"))), "34");
  EXPECT_FALSE(fs::exists(path("tav.log.3")));
  EXPECT_LE(fs::file_size(path("tav.log.1")), kTwoLines);
}

/** All lines of a file and of those that it was renamed to. */
std::size_t lines_of_all(const std::vector<std::string>& files) {
  std::size_t count = 0;
  for (const std::string& file : files) {
    std::ifstream content(file);
    for (std::string line; std::getline(content, line);) ++count;
  }
  return count;
}

TEST_F(LogSinks, OfTwoProcessesRotateOneFileWithoutLosingALine) {
  constexpr std::uint64_t kThreeLines = 200;
  constexpr int kMessages = 60;
  // Two sinks are to each other what two processes are: nothing but the file in common.
  for (int process = 0; process < 2; ++process)
    ASSERT_EQ(nkr_log_add_file(path("tav.log").c_str(), kThreeLines, 200, NKR_LOG_TRACE, nullptr), NKR_OK);
  for (int i = 0; i < kMessages; ++i) log_text(NKR_LOG_NOTICE, "text");
  std::vector<std::string> files;
  for (const auto& entry : fs::directory_iterator(folder_)) {
    files.push_back(entry.path().string());
    EXPECT_LE(entry.file_size(), kThreeLines);
  }
  EXPECT_EQ(lines_of_all(files), 2u * kMessages);
}

TEST_F(LogSinks, GoOnInTheNewFileWhenAnotherProgramRotates) {
  ASSERT_EQ(nkr_log_add_file(path("tav.log").c_str(), 1000, 2, NKR_LOG_TRACE, nullptr), NKR_OK);
  log_text(NKR_LOG_NOTICE, "1");
  fs::rename(path("tav.log"), path("elsewhere"));
  log_text(NKR_LOG_NOTICE, "2");
  EXPECT_EQ(lines(path("elsewhere")).size(), 1u);
  EXPECT_EQ(lines(path("tav.log")).size(), 1u);
}

TEST_F(LogSinks, KeepAThousandFilesAtMost) {
  ASSERT_EQ(nkr_log_add_file(path("tav.log").c_str(), 1, UINT32_MAX, NKR_LOG_TRACE, nullptr), NKR_OK);
  for (int i = 0; i < 3; ++i) log_text(NKR_LOG_NOTICE, "text");  // returns at all
  std::ofstream(path("tav.log.1000")) << "the oldest\n";
  std::ofstream(path("tav.log.1001")) << "not the log's\n";
  log_text(NKR_LOG_NOTICE, "text");
  EXPECT_FALSE(fs::exists(path("tav.log.1002")));
  EXPECT_EQ(lines(path("tav.log.1001")), std::vector<std::string>{"not the log's"});
}

TEST_F(LogSinks, EmptyAFullFileWhenNoneIsKept) {
  ASSERT_EQ(nkr_log_add_file(path("tav.log").c_str(), 100, 0, NKR_LOG_TRACE, nullptr), NKR_OK);
  for (const char* text : {"1", "2", "3"}) log_text(NKR_LOG_NOTICE, text);
  EXPECT_EQ(lines(path("tav.log")).size(), 1u);
  EXPECT_FALSE(fs::exists(path("tav.log.1")));
}

TEST_F(LogSinks, KeepWritingToAFileThatCannotBeRenamed) {
  fs::create_directory(path("tav.log.1"));
  std::ofstream(path("tav.log.1") + "/occupied") << "x";
  ASSERT_EQ(nkr_log_add_file(path("tav.log").c_str(), 100, 1, NKR_LOG_TRACE, nullptr), NKR_OK);
  for (const char* text : {"1", "2", "3"}) log_text(NKR_LOG_NOTICE, text);
  EXPECT_EQ(lines(path("tav.log")).size(), 3u);
}

TEST_F(LogSinks, CountWhatAFullDiskLoses) {
  ASSERT_EQ(nkr_log_add_file("/dev/full", 0, 0, NKR_LOG_TRACE, nullptr), NKR_OK);
  const std::uint64_t before = nkr_log_dropped();
  log_text(NKR_LOG_NOTICE, "lost");
  EXPECT_EQ(nkr_log_dropped() - before, 1u);
}

TEST_F(LogSinks, RefuseANamedPipeWithoutAReader) {
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(nkr_log_add_file(path("pipe").c_str(), 0, 0, NKR_LOG_TRACE, nullptr), NKR_NOT_AVAILABLE);
}

/** A system log that listens on a socket of the test's own. */
class SystemLog {
 public:
  explicit SystemLog(const std::string& path) : descriptor_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    unlink(path.c_str());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }
  SystemLog(const SystemLog&) = delete;
  SystemLog& operator=(const SystemLog&) = delete;
  ~SystemLog() { close(descriptor_); }

  std::string receive() const {
    char text[5000];
    const ssize_t size = recv(descriptor_, text, sizeof text, MSG_DONTWAIT);
    return size < 0 ? "" : std::string(text, static_cast<std::size_t>(size));
  }

 private:
  int descriptor_;
};

TEST_F(LogSinks, SendTheSystemLogItsPriorityNameAndText) {
  const SystemLog log(path("log"));
  nkr::log::Registry::instance().add(nkr::log::make_syslog_sink(path("log"), "tavctl", NKR_LOG_TRACE));
  const std::string name = "tavctl[" + std::to_string(getpid()) + "]: [3] function:42 Class: text";
  // RFC 3164: facility user (1) times 8, plus the severity.
  log_text(NKR_LOG_FAILURE, "text", 3);
  EXPECT_EQ(log.receive(), "<11>" + name);
  log_text(NKR_LOG_WARNING, "text", 3);
  EXPECT_EQ(log.receive(), "<12>" + name);
  log_text(NKR_LOG_NOTICE, "text", 3);
  EXPECT_EQ(log.receive(), "<13>" + name);
  log_text(NKR_LOG_TRACE, "text", 3);
  EXPECT_EQ(log.receive(), "<15>" + name);
}

TEST_F(LogSinks, FindASystemLogThatWasRestarted) {
  auto log = std::make_unique<SystemLog>(path("log"));
  nkr::log::Registry::instance().add(nkr::log::make_syslog_sink(path("log"), "tavctl", NKR_LOG_TRACE));
  log.reset();
  const std::uint64_t before = nkr_log_dropped();
  log_text(NKR_LOG_NOTICE, "while it is down");
  EXPECT_EQ(nkr_log_dropped() - before, 1u);
  log = std::make_unique<SystemLog>(path("log"));
  log_text(NKR_LOG_NOTICE, "after");
  EXPECT_NE(log->receive().find("after"), std::string::npos);
}

TEST_F(LogSinks, DropWhatAFullSystemLogDoesNotTake) {
  const SystemLog log(path("log"));
  nkr::log::Registry::instance().add(nkr::log::make_syslog_sink(path("log"), "tavctl", NKR_LOG_TRACE));
  const std::uint64_t before = nkr_log_dropped();
  for (int i = 0; i < 5000; ++i) log_text(NKR_LOG_NOTICE, "nobody receives");
  EXPECT_GT(nkr_log_dropped(), before);
}

TEST_F(LogSinks, TellWhenThereIsNoSystemLog) {
  EXPECT_EQ(nkr::log::make_syslog_sink(path("none"), "tavctl", NKR_LOG_TRACE), nullptr);
}

}  // namespace
}  // namespace nkr::log::test
