// The non-volatile memory: 0x1010 and 0x1011 (CiA 301, 7.5.2.13 and 7.5.2.14), and the file behind it.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

constexpr std::uint32_t kSave = 0x65766173;
constexpr std::uint32_t kLoad = 0x64616F6C;

/** A folder that is gone after the test. */
class Folder {
 public:
  Folder() {
    char name[] = "/tmp/tav-drive-XXXXXX";
    path_ = mkdtemp(name);
  }
  ~Folder() {
    for (const char* file : {"/store", "/store.new"}) std::remove((path_ + file).c_str());
    rmdir(path_.c_str());
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  [[nodiscard]] std::string file() const { return path_ + "/store"; }

 private:
  std::string path_;
};

class MemoryTest : public ::testing::Test {
 protected:
  void reset_node() {
    bench.send("000#8100");
    bench.take();
  }
  DriveBench bench;
};

TEST_F(MemoryTest, WhatIsSavedIsThereAfterAReset) {
  bench.write(0x6046, 2, 1234, 4);
  bench.write(0x1017, 0, 500, 2);
  bench.write(0x2031, 0, 77, 4);
  EXPECT_EQ(bench.write(0x1010, 1, kSave, 4), 0U);
  bench.write(0x6046, 2, 4321, 4);
  reset_node();
  EXPECT_EQ(bench.read(0x6046, 2), 1234U);
  EXPECT_EQ(bench.read(0x1017), 500U);
  EXPECT_EQ(bench.read(0x2031), 77U);
}

TEST_F(MemoryTest, WantsTheSignature) {
  EXPECT_EQ(bench.write(0x1010, 1, kLoad, 4), 0x08000020U);
  EXPECT_EQ(bench.write(0x1011, 1, kSave, 4), 0x08000020U);
  EXPECT_EQ(bench.write(0x1010, 1, 1, 4), 0x08000020U);
  EXPECT_EQ(bench.read(0x1010, 1), 1U) << "saves on command";
  EXPECT_EQ(bench.write(0x1010, 1, kSave, 4), 0U);
  EXPECT_EQ(bench.read(0x1010, 1), 1U);
}

TEST_F(MemoryTest, EachEntrySavesItsGroupAlone) {
  const auto change = [&] {
    bench.write(0x1017, 0, 500, 2);
    bench.write(0x6046, 2, 1234, 4);
    bench.write(0x2031, 0, 77, 4);
    bench.write(0x2044, 13, 90, 4);
  };
  const auto kept = [&](std::uint8_t entry) {
    change();
    EXPECT_EQ(bench.write(0x1010, entry, kSave, 4), 0U);
    reset_node();
    const std::string values =
        std::to_string(bench.read(0x1017)) + ' ' + std::to_string(bench.read(0x6046, 2)) + ' ' +
        std::to_string(bench.read(0x2031)) + ' ' + std::to_string(bench.read(0x2044, 13));
    for (std::uint8_t i = 1; i <= 6; ++i) bench.write(0x1011, i, kLoad, 4);
    reset_node();
    return values;
  };
  EXPECT_EQ(kept(2), "500 3000 1000 85");
  EXPECT_EQ(kept(3), "100 1234 1000 85");
  EXPECT_EQ(kept(4), "100 3000 77 85");
  EXPECT_EQ(kept(5), "100 3000 1000 90");
  EXPECT_EQ(kept(6), "100 3000 1000 85");
  EXPECT_EQ(kept(1), "500 1234 77 85") << "the factory's own groups have their own entries";
}

TEST_F(MemoryTest, RestoringTakesEffectWithTheReset) {
  bench.write(0x6046, 2, 1234, 4);
  bench.write(0x1010, 1, kSave, 4);
  EXPECT_EQ(bench.write(0x1011, 1, kLoad, 4), 0U);
  EXPECT_EQ(bench.read(0x6046, 2), 1234U);
  reset_node();
  EXPECT_EQ(bench.read(0x6046, 2), 3000U);
}

TEST_F(MemoryTest, CommandsAndSetPointsAreNotStored) {
  bench.write(0x6040, 0, 0x06, 2);
  bench.write(0x6042, 0, 500, 2);
  bench.write(0x1010, 1, kSave, 4);
  reset_node();
  EXPECT_EQ(bench.read(0x6040), 0U);
  EXPECT_EQ(bench.read(0x6042), 0U);
}

TEST_F(MemoryTest, ANewNodeIdTakesEffectWithTheReset) {
  EXPECT_EQ(bench.write(0x2000, 0, 5, 1), 0U);
  EXPECT_EQ(bench.read(0x2000), 5U) << "still answering as node 1";
  EXPECT_EQ(bench.write(0x1010, 1, kSave, 4), 0U);
  bench.take();
  bench.send("000#8101");
  EXPECT_EQ(bench.take(), Frames{"705#00"});
  EXPECT_EQ(bench.answer("605#4014100000000000"), "585#4314100085000000") << "its identifiers follow";
  EXPECT_EQ(bench.write(0x2000, 0, 128, 1), 0x06090031U);
  EXPECT_EQ(bench.write(0x2000, 0, 0, 1), 0x06090032U);
}

TEST_F(MemoryTest, ANewNodeIdTakesEffectWithAResetOfTheCommunicationToo) {
  bench.write(0x2000, 0, 5, 1);
  bench.take();
  bench.send("000#8201");
  EXPECT_EQ(bench.take(), Frames{"705#00"});
}

TEST_F(MemoryTest, WithoutBeingSavedANewNodeIdDoesNotSurviveAResetOfTheNode) {
  bench.write(0x2000, 0, 5, 1);
  bench.take();
  bench.send("000#8101");
  EXPECT_EQ(bench.take(), Frames{"701#00"});
}

TEST_F(MemoryTest, RestoringTheCommunicationRestoresNodeIdAndTermination) {
  for (const char* const reset : {"000#8100", "000#8200"}) {
    DriveBench drive;
    drive.write(0x2001, 0, 1, 1);
    drive.write(0x1010, 2, kSave, 4);
    drive.write(0x1011, 2, kLoad, 4);
    EXPECT_EQ(drive.read(0x2000), 1U) << "not before the reset";
    drive.take();
    drive.send(reset);
    EXPECT_EQ(drive.take(), Frames{"70A#00"}) << "the description's default is 10";
    EXPECT_EQ(drive.read(0x2001), 0U);
  }
}

TEST_F(MemoryTest, SignaturesAreStoredWithWhatTheyCover) {
  bench.write(0x6641, 0, 1, 1);
  bench.write(0x6645, 1, 0x90C2, 2);
  bench.write(0x1010, 3, kSave, 4);
  reset_node();
  EXPECT_EQ(bench.read(0x6641), 1U);
  EXPECT_EQ(bench.read(0x1001), 0U);
}

TEST_F(MemoryTest, IdentityTextsAreStoredWithTheFactorysGroup) {
  EXPECT_EQ(bench.answer("601#210810000A000000"), "581#6008100000000000");
  EXPECT_EQ(bench.answer("601#0041424344454647"), "581#2000000000000000");
  EXPECT_EQ(bench.answer("601#1948494A00000000"), "581#3000000000000000");
  EXPECT_EQ(bench.write(0x1010, 5, kSave, 4), 0U);
  reset_node();
  EXPECT_EQ(bench.answer("601#4008100000000000"), "581#410810000A000000");
  EXPECT_EQ(bench.answer("601#6000000000000000"), "581#0041424344454647");
}

Settings stored_at(const std::string& path) {
  Settings settings = as_node(1);
  settings.store_path = path;
  return settings;
}

TEST(MemoryFile, KeepsWhatIsSavedOverARestart) {
  const Folder folder;
  {
    DriveBench bench(stored_at(folder.file()));
    bench.write(0x6046, 2, 1234, 4);
    bench.write(0x2000, 0, 9, 1);
    EXPECT_EQ(bench.write(0x1010, 1, kSave, 4), 0U);
    bench.write(0x6046, 1, 50, 4);
  }
  DriveBench bench(stored_at(folder.file()));
  EXPECT_EQ(bench.drive().node_id(), 9) << "a stored node id is preferred to the one of delivery";
  EXPECT_EQ(bench.read(0x6046, 2), 1234U);
  EXPECT_EQ(bench.read(0x6046, 1), 0U) << "not saved";
}

TEST(MemoryFile, SaysThatItCannotBeWritten) {
  DriveBench bench(stored_at("/nowhere/store"));
  EXPECT_EQ(bench.write(0x1010, 1, kSave, 4), 0x06060000U);
}

TEST(MemoryFile, ADamagedFileIsNotTakenForDefaults) {
  const Folder folder;
  for (const char* const text :
       {"", "something else\n", "tav-drive values 1\n6046:02 D2040000\n",
        "tav-drive values 1\n6046:02 D204000\nend\n", "tav-drive values 1\n60\nend\n"}) {
    std::ofstream(folder.file()) << text;
    std::string problem;
    EXPECT_EQ(VirtualDrive::from_file("share/tav/tav.eds", stored_at(folder.file()), problem), nullptr)
        << text;
    EXPECT_NE(problem.find(folder.file()), std::string::npos) << problem;
  }
}

/** Saves in a process of its own that ends at that step of writing the file; false when it got through. */
bool save_with_power_cut(const std::string& path, std::uint32_t value, int cut_at_step) {
  constexpr int kCut = 42;
  const pid_t child = fork();
  if (child == 0) {
    int steps = 0;
    Settings settings = stored_at(path);
    settings.store_step = [&] {
      if (++steps == cut_at_step) _exit(kCut);
    };
    DriveBench bench(settings);
    bench.write(0x6046, 1, value, 4);
    bench.write(0x6046, 2, value, 4);
    _exit(bench.write(0x1010, 1, kSave, 4) == 0 ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_NE(WEXITSTATUS(status), 1) << "it could not save";
  return WEXITSTATUS(status) == kCut;
}

TEST(MemoryFile, APowerCutAtAnyStepLeavesTheWholeOldOrTheWholeNewSet) {
  const Folder folder;
  ASSERT_FALSE(save_with_power_cut(folder.file(), 100, 0));
  bool saw_old = false;
  bool saw_new = false;
  int step = 1;
  for (; save_with_power_cut(folder.file(), 200, step); ++step) {
    DriveBench bench(stored_at(folder.file()));
    const std::uint32_t first = bench.read(0x6046, 1);
    EXPECT_TRUE(first == 100 || first == 200) << first;
    EXPECT_EQ(bench.read(0x6046, 2), first) << "cut at step " << step;
    saw_old = saw_old || first == 100;
    saw_new = saw_new || first == 200;
  }
  EXPECT_GE(step, 6) << "open, write, sync, rename, sync of the folder";
  EXPECT_TRUE(saw_old);
  EXPECT_TRUE(saw_new);
}

TEST(MemoryFile, SafetyControlAreNotStored) {
  const Folder folder;
  Settings settings = as_node(1);
  settings.store_path = folder.file();
  {
    DriveBench before(settings);
    before.write(0x6640, 0, 0, 1);
    before.write(0x2620, 1, 0x3F, 1);
    EXPECT_EQ(before.write(0x1010, 1, kSave, 4), 0U);
  }
  DriveBench after(settings);
  EXPECT_EQ(after.read(0x6640), 1U);
  EXPECT_EQ(after.read(0x2620, 1), 0xFFU);
}

}  // namespace
}  // namespace tav::drive::test
