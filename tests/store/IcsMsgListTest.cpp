// GetList's read-ahead against writers that come between its calls: every call must
// return what the file holds at that moment, exactly as a walk that reads the file anew.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "core/EventLog.h"
#include "store/IcsMsg.h"
#include "tests/store/StoreFiles.h"
#include "tests/support/TempDir.h"

namespace velnor {
namespace {

using testing::kRecLen;
using testing::ReadFile;
using testing::StoreBytes;
using testing::WriteFile;

constexpr std::int64_t kSec = 1'000'000'000;

// Runs body in a child process and waits for it; true when it succeeded.
bool InChild(const std::function<void()>& body) {
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::alarm(60);
    int code = 0;
    try {
      body();
    } catch (...) {
      code = 3;
    }
    ::_exit(code);
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

class ListWalk : public ::testing::Test {
 protected:
  void SetUp() override {
    std::vector<std::int32_t> numbers;
    for (std::int32_t n = 1; n <= kCount; ++n) numbers.push_back(n);
    WriteFile(store(), StoreBytes(kCount, numbers));
  }
  std::string store() const { return dir.file("velnor.odb"); }

  // One GetList, checked against the file as it is now.
  void stepAndCompare(IcsMsg& m) {
    const std::int32_t pos = m.listPos();
    const std::string bytes = ReadFile(store());
    const bool expect = pos < static_cast<std::int64_t>(bytes.size() / kRecLen);
    const std::string before(reinterpret_cast<const char*>(m.rec().image().data()), kRecLen);
    ASSERT_EQ(m.GetList(), expect) << "at " << pos;
    const std::string now(reinterpret_cast<const char*>(m.rec().image().data()), kRecLen);
    if (expect) {
      EXPECT_EQ(m.listPos(), pos + 1);
      EXPECT_TRUE(now == bytes.substr(static_cast<std::size_t>(pos) * kRecLen, kRecLen))
          << "record " << pos + 1 << " differs from the file";
    } else {
      EXPECT_EQ(m.listPos(), pos);
      EXPECT_TRUE(now == before);
    }
  }

  // Rewrites message n in place with a new subject: the file keeps its size.
  void rewriteIn(IcsMsg& other, std::int32_t n, const std::string& subject) {
    ASSERT_TRUE(other.Load(n));
    other.rec().setSubj(subject);
    other.Update(n);
  }

  // Walks the whole store, running the writer (if any) before the call at each step.
  int walk(IcsMsg& m, const std::function<void(int)>& writer) {
    m.ResetList();
    int calls = 0;
    for (;;) {
      if (writer) writer(calls);
      const bool more = m.listPos() < static_cast<std::int64_t>(ReadFile(store()).size() / kRecLen);
      stepAndCompare(m);
      ++calls;
      if (!more || HasFatalFailure()) return calls;
    }
  }

  static constexpr std::int32_t kCount = 300;
  testing::TempDir dir;
  NullEventLog log;
};

// Writers of every kind between the calls, at once after the read, on the real clock.
TEST_F(ListWalk, InterleavedWritersOnTheRealClock) {
  IcsMsg m(dir.path(), log);
  walk(m, [&](int step) {
    switch (step) {
      case 3:  // another process rewrites the very next record, same size, same second
        ASSERT_TRUE(InChild([&] {
          IcsMsg other(dir.path(), log);
          rewriteIn(other, 4, "changed by another process");
        }));
        break;
      case 20:
        ASSERT_TRUE(InChild([&] {
          IcsMsg other(dir.path(), log);
          rewriteIn(other, 30, "ahead, changed by another process");
        }));
        break;
      case 40: {
        IcsMsg other(dir.path(), log);  // another object of this process
        rewriteIn(other, 45, "changed by another object");
        break;
      }
      case 60:
        ASSERT_TRUE(InChild([&] {
          IcsMsg other(dir.path(), log);
          other.DeleteOne(70);  // replaces the file: records after 69 move up one
        }));
        break;
      case 80:
        ASSERT_TRUE(InChild([&] {
          IcsMsg other(dir.path(), log);
          other.rec().setSubj("appended");
          other.NewMsg();
        }));
        break;
      case 299:  // just before the end: one more record to find
        ASSERT_TRUE(InChild([&] {
          IcsMsg other(dir.path(), log);
          other.NewMsg();
        }));
        break;
      default:
        break;
    }
  });
  EXPECT_EQ(m.rec().MsgNo(), kCount + 2);
}

// A file clock far ahead trusts every block, so the walk reads the file a few times
// only; changes that show in the inode, or come from this process, still drop the block.
TEST_F(ListWalk, TrustedBlocksAreDroppedByEveryVisibleChange) {
  IcsMsg m(dir.path(), log);
  m.setFileClock([] { return std::numeric_limits<std::int64_t>::max() / 2; });
  const int quiet = walk(m, nullptr);
  EXPECT_EQ(quiet, kCount + 1);
  EXPECT_LT(m.listFileReads(), 12);  // read ahead in growing blocks, not once per call

  const std::int64_t before = m.listFileReads();
  walk(m, [&](int step) {
    if (step == 5) {
      IcsMsg other(dir.path(), log);
      rewriteIn(other, 7, "same size, this process");
    } else if (step == 50) {
      ASSERT_TRUE(InChild([&] {
        IcsMsg other(dir.path(), log);
        other.NewMsg();  // the size changes
      }));
    } else if (step == 100) {
      ASSERT_TRUE(InChild([&] {
        IcsMsg other(dir.path(), log);
        other.DeleteOne(120);  // another inode
      }));
    }
  });
  EXPECT_GT(m.listFileReads() - before, 3);
  // Its own Update drops the block too.
  m.ResetList();
  ASSERT_TRUE(m.GetList());
  m.rec().setSubj("mine");
  m.Update(1);
  m.ResetList();
  stepAndCompare(m);
  EXPECT_EQ(m.rec().Subj(), "mine");
}

// A store changed within the last ticks is read anew at every call.
TEST_F(ListWalk, FreshlyWrittenStoreIsNeverTrusted) {
  struct stat st {};
  ASSERT_EQ(::stat(store().c_str(), &st), 0);
  const std::int64_t ctime = static_cast<std::int64_t>(st.st_ctim.tv_sec) * kSec + st.st_ctim.tv_nsec;
  IcsMsg m(dir.path(), log);
  m.setFileClock([&] { return ctime; });
  const int calls = walk(m, nullptr);
  EXPECT_EQ(m.listFileReads(), calls);
}

TEST(FileStateSettled, GranularityAndTicks) {
  const std::int64_t tick = 4'000'000;
  const std::int64_t fine = 1'700'000'000 * kSec + 123'456'789;  // nanoseconds: 1 ns granularity
  EXPECT_FALSE(IcsMsg::FileStateSettled(fine, fine + 2 * tick, tick));
  EXPECT_TRUE(IcsMsg::FileStateSettled(fine, fine + 2 * tick + 1, tick));
  EXPECT_FALSE(IcsMsg::FileStateSettled(fine, fine - 1, tick));  // a ctime ahead of us
  const std::int64_t whole = 1'700'000'000 * kSec;  // whole seconds: may be 1 s granularity
  EXPECT_FALSE(IcsMsg::FileStateSettled(whole, whole + kSec + 2 * tick - 1, tick));
  EXPECT_TRUE(IcsMsg::FileStateSettled(whole, whole + kSec + 2 * tick, tick));
}

}  // namespace
}  // namespace velnor
