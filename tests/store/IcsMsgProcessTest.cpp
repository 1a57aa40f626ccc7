// Several processes on one store: numbering under contention, a DeleteOne killed at each
// step, a waiter whose store was replaced while it waited for the lock, and Load and
// Update through the index while others change the file.
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>

#include <functional>

#include "store/IcsMsg.h"
#include "tests/store/StoreFiles.h"

namespace velnor {
namespace {

using namespace testing;
using IcsMsgProcesses = StoreTest;

TEST_F(IcsMsgProcesses, ConcurrentNewMsgNeverSharesANumber) {
  constexpr int kProcs = 4, kEach = 40;
  std::vector<pid_t> kids;
  for (int p = 0; p < kProcs; ++p) {
    kids.push_back(Spawn([&] {
      for (int i = 0; i < kEach; ++i) {
        IcsMsg m(dir.path(), log);  // a fresh object each time, as the decoder does
        m.rec().setStatus(Status::Unread);
        m.NewMsg();
      }
    }));
  }
  for (pid_t k : kids) EXPECT_EQ(WaitFor(k), 0);
  const std::string bytes = ReadFile(store());
  EXPECT_EQ(GetI32(bytes, 0), kProcs * kEach);
  // Appends happen under the lock that handed out the number, so file order is number order.
  EXPECT_EQ(NumbersIn(bytes), Range(1, kProcs * kEach));
}

// Killed at each of its steps, DeleteOne leaves the old store or the new one, never a mix, and
// the next DeleteOne clears whatever the killed one left behind. Records for several chunks.
using KilledDeleteOne = StoreTest;
TEST_F(KilledDeleteOne, AtEveryStep) {
  const std::string oldBytes = StoreBytes(300, Range(1, 300));
  const std::string newBytes =
      HeaderRecord(300) + oldBytes.substr(kRecLen, 149 * kRecLen) + oldBytes.substr(151 * kRecLen);
  for (int killAt = 1;; ++killAt) {
    WriteFile(store(), oldBytes);
    const int status = WaitFor(Spawn([&] {
      IcsMsg m(dir.path(), log);
      int calls = 0;
      m.setStepHook([&](int) {
        if (++calls == killAt) ::raise(SIGKILL);
      });
      m.DeleteOne(150);
    }));
    const std::string now = ReadFile(store());
    ASSERT_TRUE(now == oldBytes || now == newBytes) << "store of " << now.size() << " bytes";
    if (WIFEXITED(status)) {
      EXPECT_EQ(std::tuple(WEXITSTATUS(status), now == newBytes), std::tuple(0, true));
      break;
    }
    ASSERT_TRUE(WIFSIGNALED(status));
    ASSERT_LT(killAt, 100) << "DeleteOne never finished";
  }
}

// /proc/locks lists a blocked flock waiter with "->".
bool SomeoneWaitsOnALock() {
  std::ifstream locks("/proc/locks");
  std::string line;
  while (std::getline(locks, line))
    if (line.find("->") != std::string::npos && line.find("FLOCK") != std::string::npos) return true;
  return false;
}

TEST_F(IcsMsgProcesses, WaiterFollowsAStoreReplacedWhileItWaited) {
  make(3, {1, 2, 3});
  const int held = ::open(store().c_str(), O_RDWR);
  ASSERT_GE(held, 0);
  ASSERT_EQ(::flock(held, LOCK_EX), 0);
  const pid_t kid = Spawn([&] {
    ::close(held);  // the inherited descriptor shares the parent's lock
    if (IcsMsg(dir.path(), log).NewMsg() != 8) ::_exit(4);
  });
  for (int i = 0; i < 500 && !SomeoneWaitsOnALock(); ++i) ::usleep(10000);

  // Another program replaces the store while the child waits on the old file.
  WriteFile(dir.file("replacement"), StoreBytes(7, {5, 6, 7}));
  ASSERT_EQ(::rename(dir.file("replacement").c_str(), store().c_str()), 0);
  ::close(held);
  EXPECT_EQ(WaitFor(kid), 0);
  const std::string bytes = ReadFile(store());
  EXPECT_EQ(GetI32(bytes, 0), 8);
  EXPECT_EQ(NumbersIn(bytes), (std::vector<std::int32_t>{5, 6, 7, 8}));
}

// The byte offset of the first record holding number, or (not found) of the last record,
// as a walk of bytes finds them; and whether it was found.
std::pair<std::size_t, bool> WalkFor(const std::string& bytes, std::int32_t number) {
  std::size_t at = 0;
  for (std::size_t r = kRecLen; r + kRecLen <= bytes.size(); r += kRecLen) {
    at = r;
    if (GetI32(bytes, r) == number) return {at, true};
  }
  return {at, false};
}

// Between two of our calls another process changes the store, right after our own write:
// whatever the index held, Load and Update answer as the walk of the file as it is now.
TEST_F(IcsMsgProcesses, IndexedLoadAndUpdateAnswerAsTheWalkWhateverChangedBetweenCalls) {
  // Our store before the change: 8, 2, 3, 4, 5, 6, after our own renumbering writes. The
  // change is written in place, or (renamed) as a copy renamed over the store.
  const std::tuple<std::string, std::function<void(std::string&)>, bool> cases[] = {
      {"nothing", [](std::string&) {}, false},
      {"rewrites an indexed record with another number",
       [](std::string& b) { b.replace(4 * kRecLen, kRecLen, MessageRecord(9, "was four")); }, false},
      {"a copy is renamed over it",
       [](std::string& b) {
         b = StoreBytes(8, {1, 8, 2, 3, 5});
       },
       true}};
  for (const auto& [change, makeChange, renamed] : cases) {
    for (std::int32_t probe = 0; probe <= 9; ++probe) {
      for (const bool update : {false, true}) {
        SCOPED_TRACE(change + (update ? ", Update(" : ", Load(") + std::to_string(probe) + ")");
        ::unlink(store().c_str());
        make(6, Range(1, 6));
        IcsMsg m(dir.path(), log);
        ASSERT_TRUE(m.Load(1));
        m.rec().setMsgNo(5);  // two records of 5 now: the first is where 1 was
        m.Update(1);
        m.rec().setMsgNo(8);
        m.rec().setSubj("ours");
        m.Update(5);
        ASSERT_EQ(NumbersIn(ReadFile(store())), (std::vector<std::int32_t>{8, 2, 3, 4, 5, 6}));
        ASSERT_EQ(m.walks(), 1);  // our own writes keep the index
        std::string bytes = ReadFile(store());
        makeChange(bytes);
        if (change != "nothing") WriteFile(renamed ? dir.file("copy") : store(), bytes);
        if (renamed) ASSERT_EQ(::rename(dir.file("copy").c_str(), store().c_str()), 0);

        const auto [at, found] = WalkFor(bytes, probe);
        if (update) {
          m.rec().setSubj("written");
          m.Update(probe);
          EXPECT_TRUE(ReadFile(store()) == (found ? bytes.replace(at, kRecLen, ImageOf(m.rec())) : bytes));
          EXPECT_EQ(m.rec().Subj(), "written");  // the search did not disturb the current record
        } else {
          EXPECT_EQ(m.Load(probe), found);
          EXPECT_TRUE(ImageOf(m.rec()) == bytes.substr(at, kRecLen));
        }
        EXPECT_EQ(m.walks(), change == "nothing" ? 1 : 2);
      }
    }
  }
}

}  // namespace
}  // namespace velnor
