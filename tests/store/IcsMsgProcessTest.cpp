// Several processes on one store: numbering under contention, a DeleteOne killed at any
// point, and a waiter whose store was replaced while it waited for the lock.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "core/EventLog.h"
#include "store/IcsMsg.h"
#include "tests/store/StoreFiles.h"
#include "tests/support/TempDir.h"

namespace velnor {
namespace {

using testing::NumbersIn;
using testing::ReadFile;
using testing::Spawn;
using testing::StoreBytes;
using testing::WaitFor;
using testing::WriteFile;

TEST(IcsMsgProcesses, ConcurrentNewMsgNeverSharesANumber) {
  testing::TempDir dir;
  constexpr int kProcs = 4, kEach = 40;
  std::vector<pid_t> kids;
  for (int p = 0; p < kProcs; ++p) {
    kids.push_back(Spawn([&] {
      NullEventLog log;
      for (int i = 0; i < kEach; ++i) {
        IcsMsg m(dir.path(), log);  // a fresh object each time, as the decoder does
        m.rec().setStatus(4);
        m.NewMsg();
      }
    }));
  }
  for (pid_t k : kids) EXPECT_EQ(WaitFor(k), 0);
  const std::string bytes = ReadFile(dir.file("velnor.odb"));
  ASSERT_EQ(bytes.size() % testing::kRecLen, 0u);
  EXPECT_EQ(testing::GetI32(bytes, 0), kProcs * kEach);
  std::vector<std::int32_t> numbers = NumbersIn(bytes);
  ASSERT_EQ(numbers.size(), static_cast<std::size_t>(kProcs * kEach));
  // Appends happen under the lock that handed out the number, so file order is number order.
  EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
  EXPECT_EQ(std::set<std::int32_t>(numbers.begin(), numbers.end()).size(), numbers.size());
}

class KilledDeleteOne : public ::testing::Test {
 protected:
  void SetUp() override {
    for (std::int32_t n = 1; n <= kCount; ++n) before.push_back(n);
    after = before;
    after.erase(std::find(after.begin(), after.end(), kVictim));
    oldBytes = StoreBytes(kCount, before);
    newBytes = StoreBytes(kCount, after);
  }
  // A child that runs DeleteOne on the old store, calling hook at each of its steps.
  pid_t startDelete(std::function<void(int)> hook = nullptr) {
    WriteFile(dir.file("velnor.odb"), oldBytes);
    return Spawn([&] {
      NullEventLog log;
      IcsMsg m(dir.path(), log);
      if (hook) m.setStepHook(hook);
      m.DeleteOne(kVictim);
    });
  }
  // The store must be exactly the old or the new one; returns which.
  bool isNew() {
    const std::string now = ReadFile(dir.file("velnor.odb"));
    EXPECT_TRUE(now == oldBytes || now == newBytes) << "store of " << now.size() << " bytes";
    return now == newBytes;
  }
  // Enough records for several chunks of the copy.
  static constexpr std::int32_t kCount = 300;
  static constexpr std::int32_t kVictim = 150;
  testing::TempDir dir;
  std::vector<std::int32_t> before, after;
  std::string oldBytes, newBytes;
};

TEST_F(KilledDeleteOne, AtEveryStep) {
  for (int killAt = 1;; ++killAt) {
    int calls = 0;
    const int status = WaitFor(startDelete([&](int) {
      if (++calls == killAt) ::raise(SIGKILL);
    }));
    const bool finished = WIFEXITED(status);
    const bool done = isNew();
    if (finished) {
      EXPECT_EQ(WEXITSTATUS(status), 0);
      EXPECT_TRUE(done);
      break;
    }
    ASSERT_TRUE(WIFSIGNALED(status));
    ASSERT_LT(killAt, 100) << "DeleteOne never finished";
  }
  // A later DeleteOne clears whatever the killed one left behind.
  EXPECT_EQ(WaitFor(startDelete()), 0);
  EXPECT_TRUE(isNew());
}

TEST_F(KilledDeleteOne, AtRandomInstants) {
  std::mt19937 rng(213);  // fixed seed: the same instants every run
  std::uniform_int_distribution<int> delay(0, 3000);
  int sawOld = 0, sawNew = 0;
  for (int round = 0; round < 30; ++round) {
    const pid_t kid = startDelete();
    ::usleep(static_cast<useconds_t>(delay(rng)));
    ::kill(kid, SIGKILL);
    WaitFor(kid);
    (isNew() ? sawNew : sawOld)++;
    // Readers in other processes keep working on whatever is left.
    NullEventLog log;
    IcsMsg reader(dir.path(), log);
    EXPECT_TRUE(reader.Load(kCount));
  }
  EXPECT_EQ(sawOld + sawNew, 30);
}

// /proc/locks lists a blocked flock waiter with "->".
bool SomeoneWaitsOnALock() {
  std::ifstream locks("/proc/locks");
  std::string line;
  while (std::getline(locks, line))
    if (line.find("->") != std::string::npos && line.find("FLOCK") != std::string::npos) return true;
  return false;
}

TEST(IcsMsgProcesses, WaiterFollowsAStoreReplacedWhileItWaited) {
  testing::TempDir dir;
  const std::string store = dir.file("velnor.odb");
  WriteFile(store, StoreBytes(3, {1, 2, 3}));
  const int held = ::open(store.c_str(), O_RDWR);
  ASSERT_GE(held, 0);
  ASSERT_EQ(::flock(held, LOCK_EX), 0);

  const pid_t kid = Spawn([&] {
    // The inherited descriptor shares the parent's lock; the child must not keep it.
    ::close(held);
    NullEventLog log;
    IcsMsg m(dir.path(), log);
    if (m.NewMsg() != 8) ::_exit(4);
  });
  for (int i = 0; i < 500 && !SomeoneWaitsOnALock(); ++i) ::usleep(10000);

  // Another program replaces the store while the child waits on the old file.
  WriteFile(dir.file("replacement"), StoreBytes(7, {5, 6, 7}));
  ASSERT_EQ(::rename(dir.file("replacement").c_str(), store.c_str()), 0);
  ::close(held);

  const int status = WaitFor(kid);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  const std::string bytes = ReadFile(store);
  EXPECT_EQ(testing::GetI32(bytes, 0), 8);
  EXPECT_EQ(NumbersIn(bytes), (std::vector<std::int32_t>{5, 6, 7, 8}));
}

}  // namespace
}  // namespace velnor
