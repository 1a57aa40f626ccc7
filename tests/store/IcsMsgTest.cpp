#include <sys/stat.h>

#include <filesystem>

#include "store/IcsMsg.h"
#include "tests/store/StoreFiles.h"

namespace velnor {
namespace {

using namespace testing;
using IcsMsgTest = StoreTest;
using Numbers = std::vector<std::int32_t>;

TEST_F(IcsMsgTest, FirstLoadCreatesTheGoldenEmptyStore) {
  IcsMsg m(dir.path(), log);
  EXPECT_FALSE(m.Load(1));
  EXPECT_EQ(ReadFile(store()), HeaderRecord(0));
  const mode_t mask = ::umask(0);
  ::umask(mask);
  EXPECT_EQ(std::filesystem::status(store()).permissions(), std::filesystem::perms(0644 & ~mask));
  EXPECT_EQ(m.rec().image(), MsgRecord().image());  // header-only store: current untouched
  EXPECT_TRUE(log.entries.empty());
}

// NewMsg appends the current record under the next number; of the rest it clears only KeepLocal.
TEST_F(IcsMsgTest, NewMsgTakesTheNextNumberAndKeepsTheRecord) {
  make(5, {2, 3, 4});
  IcsMsg m(dir.path(), log);
  m.rec().setSubj("hello");
  m.rec().setKeepLocal(1);
  EXPECT_EQ(m.NewMsg(), 6);
  EXPECT_EQ(std::tuple(m.rec().MsgNo(), m.rec().Subj(), m.rec().KeepLocal()), std::tuple(6, "hello", 0));
  EXPECT_EQ(ReadFile(store()), StoreBytes(6, {2, 3, 4}) + ImageOf(m.rec()));
}

// Where the walk found it, whatever its number; where a DeleteOne elsewhere moved it; and
// nowhere once it has changed.
TEST_F(IcsMsgTest, UpdateListedWritesTheRecordTheWalkFound) {
  WriteFile(store(), HeaderRecord(4) + MessageRecord(1) + MessageRecord(3, "first three") +
                         MessageRecord(3, "second three") + MessageRecord(4));
  std::string expected = ReadFile(store());
  IcsMsg m(dir.path(), log);
  m.ResetList();
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(m.GetList());
  MsgRecord listed = m.rec();
  m.rec().setStatus(Status::Sent);
  ASSERT_TRUE(m.UpdateListed(listed));
  EXPECT_EQ(ReadFile(store()), expected.replace(3 * kRecLen, kRecLen, ImageOf(m.rec())));

  IcsMsg(dir.path(), log).DeleteOne(1);
  listed = m.rec();
  m.rec().setStatus(Status::Read);
  ASSERT_TRUE(m.UpdateListed(listed));
  expected.erase(kRecLen, kRecLen);
  EXPECT_EQ(ReadFile(store()), expected.replace(2 * kRecLen, kRecLen, ImageOf(m.rec())));

  EXPECT_FALSE(m.UpdateListed(listed));
  EXPECT_EQ(ReadFile(store()), expected);
}

// Every byte of the number counts: 0x01000100 is not 0x100 or 0x01000000.
TEST_F(IcsMsgTest, DeleteOneDropsEveryCopyAndKeepsTheCounter) {
  make(4, {1, 2, 3, 3, 4, 0x01000100});
  IcsMsg m(dir.path(), log);
  m.DeleteOne(3);
  EXPECT_EQ(ReadFile(store()), StoreBytes(4, {1, 2, 4, 0x01000100}));
  m.DeleteOne(0x01000100);
  EXPECT_EQ(ReadFile(store()), StoreBytes(4, {1, 2, 4}));
  EXPECT_EQ(m.NewMsg(), 5);
}

// A store cut short before its header was whole: New, Save, New, Save end with a whole
// header (the counter it showed, the marker) and both messages after it.
TEST_F(IcsMsgTest, NewMsgOnAStoreShorterThanOneRecord) {
  const std::pair<std::string, std::int32_t> rows[] = {
      {std::string(100, '\0'), 0}, {std::string(8821, '\0'), 0}, {HeaderRecord(7).substr(0, 4412), 7}};
  for (const auto& [bytes, counter] : rows) {
    SCOPED_TRACE(bytes.size());
    WriteFile(store(), bytes);
    IcsMsg m(dir.path(), log);
    std::string messages;
    for (std::int32_t n : {counter + 1, counter + 2}) {
      EXPECT_EQ(m.NewMsg(), n);
      m.rec().setSubj("subject " + std::to_string(n));
      m.rec().setStatus(Status::Draft);
      m.Update(n);
      messages += MessageRecord(n);
    }
    EXPECT_EQ(ReadFile(store()), HeaderRecord(counter + 2) + messages);
  }
}

TEST_F(IcsMsgTest, SixteenBitWalkLimits) {
  // Sparse files: 32767 and 32768 records without writing 290 MB.
  auto sized = [&](std::int64_t records) {  // the last one numbered 5
    WriteFile(store(), HeaderRecord(1));
    std::filesystem::resize_file(store(), static_cast<std::uintmax_t>(records - 1) * kRecLen);
    std::ofstream(store(), std::ios::binary | std::ios::app) << MessageRecord(5);
  };
  IcsMsg m(dir.path(), log);
  sized(32768);
  const VError load = Thrown([&] { m.Load(5); }), update = Thrown([&] { m.Update(5); });
  EXPECT_EQ(std::tuple(load.number(), load.source(), update.number(), update.source()),
            std::tuple(kErrOverflow, "PmMsg:Load", kErrOverflow, "PmMsg:Update"));
  EXPECT_EQ(log.entries, (std::vector<std::string>{"Overflow in PmMsg:Load", "Overflow in PmMsg:Update"}));

  sized(32767);
  EXPECT_THROW(m.Load(6), VError);  // walked to the end: no number
  EXPECT_TRUE(m.Load(5));           // found at the very last record: no overflow
  m.Add();
  EXPECT_THROW(m.Load(5), VError);  // one record more: an index that knows the file lifts no limit
}

TEST_F(IcsMsgTest, NewMsgOutsideItsNumbersStoresThenOverflows) {
  make(32766, {32766});
  IcsMsg m(dir.path(), log);
  EXPECT_EQ(m.NewMsg(), 32767);
  EXPECT_EQ(Thrown([&] { m.NewMsg(); }).number(), kErrOverflow);
  const std::string bytes = ReadFile(store());
  EXPECT_EQ(GetI32(bytes, 0), 32768);
  EXPECT_EQ(NumbersIn(bytes), (Numbers{32766, 32767, 32768}));
  // A negative counter (a damaged header) gives no number either, and never a wrapped one.
  for (const std::int32_t counter : {-1, -40000}) {
    make(counter, {});
    EXPECT_EQ(Thrown([&] { m.NewMsg(); }).number(), kErrOverflow);
    EXPECT_EQ(ReadFile(store()), HeaderRecord(counter + 1) + ImageOf(m.rec()));
  }
  EXPECT_TRUE(log.entries.empty());  // NewMsg has no trap of its own
}

TEST_F(IcsMsgTest, DeleteOneThatCannotBuildItsCopyLeavesTheStore) {
  make(3, {1, 2, 3});
  ASSERT_TRUE(std::filesystem::create_directories(dir.file("IcsData.tmp/x")));  // not removable by unlink
  IcsMsg m(dir.path(), log);
  EXPECT_THROW(m.DeleteOne(2), VError);
  EXPECT_EQ(ReadFile(store()), StoreBytes(3, {1, 2, 3}));
  // A failure once the copy is begun removes it.
  std::filesystem::remove_all(dir.file("IcsData.tmp"));
  m.setStepHook([](int) { throw VError(kErrDeviceIO, "test", "I/O error"); });
  EXPECT_THROW(m.DeleteOne(2), VError);
  EXPECT_EQ(ReadFile(store()), StoreBytes(3, {1, 2, 3}));
  EXPECT_FALSE(std::filesystem::exists(dir.file("IcsData.tmp")));
}

}  // namespace
}  // namespace velnor
