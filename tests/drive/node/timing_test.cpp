// What a drive takes its time for.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tav/drive/Timing.hpp>
#include <utility>
#include <vector>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

using std::chrono::microseconds;

Settings with_timing(const char* profile, std::uint64_t seed = 1) {
  Settings settings = as_node(1);
  settings.timing.seed = seed;
  EXPECT_TRUE(timing_profile(profile, settings.timing));
  return settings;
}

/** A drive of a profile, and when it sends what. */
class TimedDrive {
 public:
  explicit TimedDrive(const Settings& settings) : bench_(shipped_description(), settings) {
    bench_.drive().connect(
        [this](const nkr::can::Frame& frame) { sent.emplace_back(now_, nkr::can::to_string(frame)); });
  }
  void until(Duration since_start) {
    const Time end = Time{} + since_start;
    for (Time due = now_; due <= end;) {
      now_ = due;
      due = std::max(bench_.drive().advance(now_), now_ + microseconds(1));
    }
    now_ = end;
    bench_.drive().advance(now_);
  }
  void send(const std::string& frame) { bench_.drive().receive(frame_of(frame), now_); }
  void write(std::uint32_t word) {
    std::string text = "601#2B40600000000000";
    const char* const digits = "0123456789ABCDEF";
    text[12] = digits[word >> 4];
    text[13] = digits[word & 15];
    send(text);
  }
  /** When it sends the next frame that begins so, from now on. */
  Duration next(const std::string& beginning, Duration longest) {
    sent.clear();
    const Time from = now_;
    until(now_ - Time{} + longest);
    for (const auto& [time, frame] : sent) {
      if (frame.rfind(beginning, 0) == 0) return time - from;
    }
    return Duration(-1);
  }
  VirtualDrive& drive() { return bench_.drive(); }
  std::vector<std::pair<Time, std::string>> sent;

 private:
  DriveBench bench_;
  Time now_{};
};

TEST(Timing, ADriveBootsHalfASecondAndAnswersNothingBefore) {
  TimedDrive drive(with_timing("typical"));
  drive.until(milliseconds(250));
  drive.send("601#4018100100000000");
  EXPECT_EQ(drive.drive().nmt_state(), NMTState::INITIALISING);
  EXPECT_EQ(drive.next("", milliseconds(1000)), milliseconds(250));
  EXPECT_EQ(drive.sent[0].second, "701#00");
  drive.send("601#4018100100000000");
  EXPECT_GT(drive.next("581#4318", milliseconds(10)), Duration::zero());
}

TEST(Timing, AResetOfTheNodeTakesAsLongAndOneOfTheCommunicationLess) {
  TimedDrive drive(with_timing("typical"));
  drive.until(milliseconds(1000));
  drive.send("000#8101");
  EXPECT_EQ(drive.next("701#00", milliseconds(1000)), milliseconds(500));
  drive.send("000#8201");
  EXPECT_EQ(drive.next("701#00", milliseconds(1000)), milliseconds(20));
}

TEST(Timing, AnAnswerTakesWhatItsProfileSays) {
  const struct {
    const char* profile;
    Duration least;
    Duration most;
  } kProfiles[] = {{"ideal", Duration::zero(), Duration::zero()},
                   {"typical", microseconds(200), microseconds(400)},
                   {"slow", milliseconds(10), milliseconds(50)}};
  for (const auto& profile : kProfiles) {
    TimedDrive drive(with_timing(profile.profile));
    drive.until(milliseconds(4000));
    std::vector<Duration> times;
    for (int i = 0; i < 50; ++i) {
      drive.send("601#4018100100000000");
      const bool at_once = profile.most == Duration::zero();
      times.push_back(at_once ? Duration::zero() : drive.next("581#4318", milliseconds(60)));
    }
    EXPECT_GE(*std::min_element(times.begin(), times.end()), profile.least) << profile.profile;
    EXPECT_LE(*std::max_element(times.begin(), times.end()), profile.most) << profile.profile;
  }
}

TEST(Timing, StoringTakesItsTimeInSilence) {
  TimedDrive drive(with_timing("typical"));
  drive.until(milliseconds(600));
  drive.send("601#2B17100014000000");  // a heartbeat every 20 ms
  drive.until(milliseconds(610));
  drive.send("601#2310100173617665");
  const Duration reply = drive.next("581#6010", milliseconds(500));
  EXPECT_GE(reply, microseconds(200200));
  EXPECT_LE(reply, microseconds(200400));
  EXPECT_EQ(drive.sent[0].second, "581#6010100100000000");
}

TEST(Timing, EachTransitionTakesItsTime) {
  TimedDrive drive(with_timing("slow"));
  drive.until(milliseconds(4000));
  drive.write(0x06);
  drive.until(milliseconds(4049));
  EXPECT_EQ(drive.drive().power_state(), PowerState::SWITCH_ON_DISABLED);
  drive.until(milliseconds(4050));
  EXPECT_EQ(drive.drive().power_state(), PowerState::READY_TO_SWITCH_ON);
  drive.write(0x07);
  drive.until(milliseconds(4100));
  EXPECT_EQ(drive.drive().power_state(), PowerState::SWITCHED_ON);
  drive.write(0x0F);
  drive.until(milliseconds(4449));  // the first time it looks for the rotor
  EXPECT_EQ(drive.drive().power_state(), PowerState::SWITCHED_ON);
  drive.until(milliseconds(4450));
  EXPECT_EQ(drive.drive().power_state(), PowerState::OPERATION_ENABLED);
  drive.write(0x07);
  drive.until(milliseconds(4460));
  drive.write(0x0F);
  drive.until(milliseconds(4510));
  EXPECT_EQ(drive.drive().power_state(), PowerState::OPERATION_ENABLED);
}

TEST(Timing, ACommandThatChangesOnTheWayIsObeyed) {
  TimedDrive drive(with_timing("slow"));
  drive.until(milliseconds(4000));
  drive.write(0x06);
  drive.until(milliseconds(4020));
  drive.write(0x00);
  drive.until(milliseconds(5000));
  EXPECT_EQ(drive.drive().power_state(), PowerState::SWITCH_ON_DISABLED);
}

TEST(Timing, AHeartbeatIsLateByLittleAndKeepsItsMean) {
  TimedDrive drive(with_timing("typical"));
  drive.until(milliseconds(600));
  drive.send("601#2B17100064000000");
  drive.until(milliseconds(700));
  drive.sent.clear();
  drive.until(milliseconds(100800));
  std::vector<Time> beats;
  for (const auto& [time, frame] : drive.sent) {
    if (frame.rfind("701#", 0) == 0) beats.push_back(time);
  }
  ASSERT_GE(beats.size(), 1000U);
  bool jitters = false;
  for (std::size_t i = 1; i < beats.size(); ++i) {
    EXPECT_LE(std::chrono::abs(beats[i] - beats[i - 1] - milliseconds(100)), milliseconds(1));
    jitters = jitters || beats[i] - beats[i - 1] != milliseconds(100);
  }
  EXPECT_TRUE(jitters);
  const Duration mean = (beats.back() - beats.front()) / static_cast<int>(beats.size() - 1);
  EXPECT_LE(std::chrono::abs(mean - milliseconds(100)), microseconds(100));
}

TEST(Timing, IsTheSameOnEveryRunAndAnotherWithAnotherSeed) {
  const auto run = [](std::uint64_t seed) {
    TimedDrive drive(with_timing("typical", seed));
    drive.until(milliseconds(600));
    for (int i = 1; i <= 20; ++i) {
      drive.send("601#4018100100000000");
      drive.until(milliseconds(600 + 10 * i));
    }
    return drive.sent;
  };
  EXPECT_EQ(run(7), run(7));
  EXPECT_NE(run(7), run(8));
}

TEST(Timing, AProfileThatNobodyKnowsIsNone) {
  Timing timing;
  timing.boot = milliseconds(7);
  EXPECT_FALSE(timing_profile("fast", timing));
  EXPECT_EQ(timing.boot, milliseconds(7));
  for (const std::string& name : timing_profiles()) EXPECT_TRUE(timing_profile(name, timing)) << name;
}

}  // namespace
}  // namespace tav::drive::test
