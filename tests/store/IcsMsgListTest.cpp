// GetList's read-ahead against writers between its calls: each call returns what the file holds then.
#include <functional>
#include <limits>

#include "store/IcsMsg.h"
#include "tests/store/StoreFiles.h"

namespace velnor {
namespace {

using namespace testing;

class ListWalk : public StoreTest {
 protected:
  void SetUp() override { make(kCount, Range(1, kCount)); }

  // One GetList, checked against the file as it is now.
  void stepAndCompare(IcsMsg& m) {
    const std::int32_t pos = m.listPos();
    const std::string bytes = ReadFile(store());
    const bool expect = pos < static_cast<std::int64_t>(bytes.size() / kRecLen);
    const std::string before = ImageOf(m.rec());
    ASSERT_EQ(m.GetList(), expect) << "at " << pos;
    EXPECT_EQ(m.listPos(), expect ? pos + 1 : pos);
    const std::string want = expect ? bytes.substr(static_cast<std::size_t>(pos) * kRecLen, kRecLen) : before;
    EXPECT_TRUE(ImageOf(m.rec()) == want) << "record " << pos + 1 << " differs from the file";
  }

  // Runs op on another store object in a child process.
  void inAChild(const std::function<void(IcsMsg&)>& op) {
    ASSERT_EQ(WaitFor(Spawn([&] {
                IcsMsg other(dir.path(), log);
                op(other);
              })),
              0);
  }

  // Walks the whole store, running the writer (if any) before the call at each step.
  int walk(IcsMsg& m, const std::function<void(int)>& writer) {
    m.ResetList();
    for (int calls = 1;; ++calls) {
      if (writer) writer(calls - 1);
      const bool more = m.listPos() < static_cast<std::int64_t>(ReadFile(store()).size() / kRecLen);
      stepAndCompare(m);
      if (!more || HasFatalFailure()) return calls;
    }
  }

  static constexpr std::int32_t kCount = 300;
};

// A file clock far ahead trusts every block, so the walk reads the file a few times only;
// changes that show in the inode still drop the block.
TEST_F(ListWalk, TrustedBlocksAreDroppedByEveryVisibleChange) {
  IcsMsg m(dir.path(), log);
  m.setFileClock([] { return std::numeric_limits<std::int64_t>::max() / 2; });
  EXPECT_EQ(walk(m, nullptr), kCount + 1);
  EXPECT_LT(m.listFileReads(), 12);  // read ahead in growing blocks, not once per call

  const std::int64_t before = m.listFileReads();
  walk(m, [&](int step) {
    if (step == 50) inAChild([](IcsMsg& o) { o.NewMsg(); });         // the size changes
    if (step == 100) inAChild([](IcsMsg& o) { o.DeleteOne(120); });  // another inode
    if (step == 150) {
      // Moved aside by hand and replaced by a same-size copy with the next record changed.
      std::string bytes = ReadFile(store());
      bytes[static_cast<std::size_t>(m.listPos()) * kRecLen + 300] ^= 0x20;
      ASSERT_EQ(::rename(store().c_str(), (store() + ".old").c_str()), 0);
      WriteFile(store(), bytes);
    }
    if (step == 299) inAChild([](IcsMsg& o) { o.NewMsg(); });  // just before the end: one more to find
  });
  EXPECT_EQ(m.rec().MsgNo(), kCount + 2);
  EXPECT_GT(m.listFileReads() - before, 3);
  // Back to the block's first record: read from the block.
  m.ResetList();
  ASSERT_TRUE(m.GetList());
  const std::int64_t reads = m.listFileReads();
  m.ResetList();
  ASSERT_TRUE(m.GetList());
  EXPECT_EQ(m.listFileReads(), reads);
}

}  // namespace
}  // namespace velnor
