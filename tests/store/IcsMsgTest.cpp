#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

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

TEST_F(IcsMsgTest, NewMsgTakesTheNextNumberAndKeepsTheRecord) {
  make(5, {2, 3, 4});
  IcsMsg m(dir.path(), log);
  m.rec().setSubj("hello");
  m.rec().setKeepLocal(1);
  m.rec().setStatus(Status::Draft);
  EXPECT_EQ(m.NewMsg(), 6);
  EXPECT_EQ(m.rec().KeepLocal(), 0);
  const std::string six = ImageOf(m.rec());
  EXPECT_EQ(m.NewMsg(), 7);  // NewMsg clears nothing else: same subject and status again
  EXPECT_EQ(std::tuple(m.rec().MsgNo(), m.rec().Subj(), m.rec().Status()),
            std::tuple(7, "hello", Status::Draft));
  const std::string bytes = ReadFile(store());
  EXPECT_EQ(NumbersIn(bytes), (Numbers{2, 3, 4, 6, 7}));
  EXPECT_EQ(bytes, StoreBytes(7, {2, 3, 4}) + six + ImageOf(m.rec()));
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

// A temporary file left by a crash is replaced; the new store keeps the old one's permissions.
TEST_F(IcsMsgTest, DeleteOneDropsEveryCopyAndKeepsTheCounter) {
  make(4, {1, 2, 3, 3, 4, 1 << 24});
  WriteFile(dir.file("IcsData.tmp"), "left over from a crash");
  ::chmod(store().c_str(), 0640);
  IcsMsg m(dir.path(), log);
  m.DeleteOne(3);
  EXPECT_EQ(ReadFile(store()), StoreBytes(4, {1, 2, 4, 1 << 24}));
  EXPECT_FALSE(std::filesystem::exists(dir.file("IcsData.tmp")));
  EXPECT_EQ(std::filesystem::status(store()).permissions(), std::filesystem::perms(0640));
  EXPECT_EQ(m.NewMsg(), 5);

  const std::string before = ReadFile(store());
  m.DeleteOne(99);
  EXPECT_EQ(ReadFile(store()), before);
  // The header stays, even when its counter matches.
  for (std::int32_t n : {5, 1, 2, 4, 1 << 24, 5}) m.DeleteOne(n);
  EXPECT_EQ(ReadFile(store()), HeaderRecord(5));
}

// Lengths that are not whole records: the count rounds half to even (4411 bytes is
// exactly half a record), and the tail of a record reads as zeros.
TEST_F(IcsMsgTest, PartialLastRecord) {
  const std::string eight = MessageRecord(8);
  const std::tuple<Numbers, std::string, int> rows[] = {{{7}, eight.substr(0, 4411), 1},
                                                        {{7}, eight.substr(0, 4412), 2},
                                                        {{1}, std::string(kRecLen / 2, '\x01'), 1},
                                                        {{1, 2}, std::string(kRecLen / 2, '\0'), 3}};
  for (const auto& [whole, tail, rowListed] : rows) {
    SCOPED_TRACE(tail.size());
    WriteFile(store(), StoreBytes(7, whole) + tail);
    IcsMsg m(dir.path(), log);
    m.ResetList();
    int listed = 0;
    while (m.GetList()) ++listed;
    EXPECT_EQ(listed, rowListed);
    if (rowListed == 2) {  // the part of record 8 that exists is read
      EXPECT_EQ(std::tuple(m.rec().MsgNo(), m.rec().KeepLocal()), std::tuple(8, 0));
      EXPECT_TRUE(m.Load(8));
    }
  }
  // Add writes where the count says the next record goes, over the partial one (3.5 -> 4).
  IcsMsg m(dir.path(), log);
  m.rec().setMsgNo(3);
  m.Add();
  EXPECT_EQ(ReadFile(store()).size(), 5 * kRecLen);
}

// A store cut short before its header was whole: New, Save, New, Save end with a whole
// header (the counter it showed, the marker) and both messages after it.
TEST_F(IcsMsgTest, NewMsgOnAStoreShorterThanOneRecord) {
  const std::pair<std::string, std::int32_t> rows[] = {{std::string(100, '\0'), 0},
                                                       {std::string(4411, '\0'), 0},
                                                       {std::string(8821, '\0'), 0},
                                                       {HeaderRecord(7).substr(0, 4412), 7}};
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
  auto sized = [&](std::int64_t records, std::int32_t lastNo) {
    WriteFile(store(), HeaderRecord(1));
    std::filesystem::resize_file(store(), static_cast<std::uintmax_t>(records - (lastNo ? 1 : 0)) * kRecLen);
    if (lastNo != 0) std::ofstream(store(), std::ios::binary | std::ios::app) << MessageRecord(lastNo);
  };
  IcsMsg m(dir.path(), log);
  sized(32768, 5);
  const VError load = Thrown([&] { m.Load(5); }), update = Thrown([&] { m.Update(5); });
  EXPECT_EQ(std::tuple(load.number(), load.source(), update.number(), update.source()),
            std::tuple(kErrOverflow, "PmMsg:Load", kErrOverflow, "PmMsg:Update"));
  EXPECT_EQ(log.entries, (std::vector<std::string>{"Overflow in PmMsg:Load", "Overflow in PmMsg:Update"}));

  sized(32767, 5);
  EXPECT_THROW(m.Load(6), VError);  // walked to the end, or (below) through the index: no number
  EXPECT_EQ(m.rec().MsgNo(), 5);    // the walk got to the last record
  EXPECT_TRUE(m.Load(5));           // found at the very last record: no overflow
  EXPECT_TRUE(m.Load(0));           // the sparse records are number 0
  m.rec().setMsgNo(6);
  EXPECT_THROW(m.Update(6), VError);
  EXPECT_EQ(std::filesystem::file_size(store()), 32767u * kRecLen);
  EXPECT_TRUE(m.Load(5));  // nothing was written over the last record
  m.Add();
  EXPECT_THROW(m.Load(5), VError);  // one record more: an index that knows the file lifts no limit

  sized(32766, 0);
  EXPECT_FALSE(m.Load(6));
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

// Each trapped operation logs "<description> in PmMsg:<op>" and rethrows with that source.
TEST_F(IcsMsgTest, FailuresAreLoggedAndRaisedWithTheirSourceAFullDeviceToo) {
  ASSERT_TRUE(std::filesystem::create_directory(store()));  // the store path is a directory
  IcsMsg m(dir.path(), log);
  const std::pair<std::string, std::function<void()>> ops[] = {{"Load", [&] { m.Load(1); }},
                                                               {"Add", [&] { m.Add(); }},
                                                               {"Update", [&] { m.Update(1); }},
                                                               {"GetList", [&] { m.GetList(); }},
                                                               {"DeleteOne", [&] { m.DeleteOne(1); }}};
  for (const auto& [name, run] : ops) {
    log.entries.clear();
    const VError e = Thrown(run);
    EXPECT_EQ(e.source() + "|" + e.description(), "PmMsg:" + name + "|Is a directory");
    EXPECT_EQ(log.entries, std::vector<std::string>{"Is a directory in PmMsg:" + name});
  }
  EXPECT_FALSE(std::filesystem::exists(dir.file("IcsData.tmp")));
  log.entries.clear();
  EXPECT_EQ(Thrown([&] { m.NewMsg(); }).source(), "PmMsg:OpenStore");  // reaches the caller unchanged
  EXPECT_TRUE(log.entries.empty());

  std::filesystem::remove(store());
  ASSERT_EQ(::symlink("/dev/full", store().c_str()), 0);
  const VError e = Thrown([&] { m.Load(1); });  // opening an empty store writes its header
  EXPECT_EQ(std::tuple(e.number(), e.source()), std::tuple(kErrDiskFull, "PmMsg:Load"));
  EXPECT_EQ(log.entries, std::vector<std::string>{"No space left on device in PmMsg:Load"});
}

TEST_F(IcsMsgTest, DeleteOneThatCannotBuildItsCopyLeavesTheStore) {
  make(3, {1, 2, 3});
  ASSERT_TRUE(std::filesystem::create_directories(dir.file("IcsData.tmp/x")));  // not removable by unlink
  IcsMsg m(dir.path(), log);
  EXPECT_THROW(m.DeleteOne(2), VError);
  EXPECT_EQ(ReadFile(store()), StoreBytes(3, {1, 2, 3}));
  ASSERT_EQ(log.entries.size(), 1u);
  EXPECT_NE(log.entries[0].find(" in PmMsg:DeleteOne"), std::string::npos);
  // A failure once the copy is begun removes it.
  std::filesystem::remove_all(dir.file("IcsData.tmp"));
  m.setStepHook([](int) { throw VError(kErrDeviceIO, "test", "I/O error"); });
  EXPECT_THROW(m.DeleteOne(2), VError);
  EXPECT_EQ(ReadFile(store()), StoreBytes(3, {1, 2, 3}));
  EXPECT_FALSE(std::filesystem::exists(dir.file("IcsData.tmp")));
}

}  // namespace
}  // namespace velnor
