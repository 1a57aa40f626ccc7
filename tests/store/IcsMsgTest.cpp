#include "store/IcsMsg.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "core/EventLog.h"
#include "core/VError.h"
#include "tests/store/StoreFiles.h"
#include "tests/support/TempDir.h"

namespace velnor {
namespace {

using testing::HeaderRecord;
using testing::MessageRecord;
using testing::NumbersIn;
using testing::ReadFile;
using testing::StoreBytes;
using testing::Thrown;
using testing::WriteFile;
using testing::kRecLen;

class IcsMsgTest : public ::testing::Test {
 protected:
  std::string store() const { return dir.file("velnor.odb"); }
  void make(std::int32_t counter, const std::vector<std::int32_t>& numbers) {
    WriteFile(store(), StoreBytes(counter, numbers));
  }
  testing::TempDir dir;
  RecordingEventLog log;
};

TEST_F(IcsMsgTest, FirstLoadCreatesTheGoldenEmptyStore) {
  IcsMsg m(dir.path(), log);
  EXPECT_EQ(m.storeFile(), dir.path() + "/velnor.odb");
  EXPECT_FALSE(m.Load(1));
  std::string expected(8822, '\0');
  expected.replace(74, 64, "[ics213!.]" + std::string(54, ' '));
  EXPECT_EQ(ReadFile(store()), expected);
  EXPECT_EQ(m.rec().image(), MsgRecord().image());  // header-only store: current untouched
  EXPECT_TRUE(log.entries.empty());
}

TEST_F(IcsMsgTest, NewMsgTakesTheNextNumberAndKeepsTheRecord) {
  make(5, {2, 3, 4});
  IcsMsg m(dir.path(), log);
  m.rec().setSubj("hello");
  m.rec().setKeepLocal(1);
  m.rec().setStatus(6);
  EXPECT_EQ(m.NewMsg(), 6);
  EXPECT_EQ(m.rec().MsgNo(), 6);
  EXPECT_EQ(m.rec().KeepLocal(), 0);

  const std::string bytes = ReadFile(store());
  ASSERT_EQ(bytes.size(), 5 * kRecLen);
  EXPECT_EQ(testing::GetI32(bytes, 0), 6);
  EXPECT_EQ(NumbersIn(bytes), (std::vector<std::int32_t>{2, 3, 4, 6}));
  EXPECT_EQ(bytes.substr(4 * kRecLen), std::string(reinterpret_cast<const char*>(m.rec().image().data()), kRecLen));
  EXPECT_EQ(bytes.substr(kRecLen, 3 * kRecLen), StoreBytes(5, {2, 3, 4}).substr(kRecLen));

  EXPECT_EQ(m.NewMsg(), 7);  // NewMsg clears nothing: same subject again
  IcsMsg other(dir.path(), log);
  ASSERT_TRUE(other.Load(7));
  EXPECT_EQ(other.rec().Subj(), "hello");
  EXPECT_EQ(other.rec().Status(), 6);
}

TEST_F(IcsMsgTest, LoadFindsFirstMatchOrLeavesTheLastRecord) {
  WriteFile(store(), HeaderRecord(9) + MessageRecord(2, "first two") + MessageRecord(2, "second two") +
                         MessageRecord(5, "five") + MessageRecord(6, "six"));
  IcsMsg m(dir.path(), log);
  ASSERT_TRUE(m.Load(2));
  EXPECT_EQ(m.rec().Subj(), "first two");
  ASSERT_TRUE(m.Load(5));
  EXPECT_EQ(m.rec().Subj(), "five");
  EXPECT_FALSE(m.Load(7));
  EXPECT_EQ(m.rec().MsgNo(), 6);
  EXPECT_EQ(m.rec().Subj(), "six");
  EXPECT_FALSE(m.Load(0));  // the header's counter is not a message
}

TEST_F(IcsMsgTest, UpdateReplacesOnlyTheMatchingRecord) {
  make(4, {1, 2, 3, 3});
  const std::string before = ReadFile(store());
  IcsMsg m(dir.path(), log);
  ASSERT_TRUE(m.Load(2));
  m.rec().setSubj("changed");
  m.rec().setStatus(9);
  m.Update(7);
  EXPECT_EQ(ReadFile(store()), before);  // a missing number writes nothing

  m.Update(2);
  const std::string after = ReadFile(store());
  ASSERT_EQ(after.size(), before.size());
  EXPECT_EQ(after.substr(0, 2 * kRecLen), before.substr(0, 2 * kRecLen));
  EXPECT_EQ(after.substr(3 * kRecLen), before.substr(3 * kRecLen));
  IcsMsg check(dir.path(), log);
  ASSERT_TRUE(check.Load(2));
  EXPECT_EQ(check.rec().Subj(), "changed");
  EXPECT_EQ(check.rec().Status(), 9);  // any status travels unchanged
  EXPECT_EQ(m.rec().Subj(), "changed");  // the search did not disturb the current record

  m.rec().setSubj("only first three");
  m.Update(3);
  const std::string third = ReadFile(store());
  EXPECT_EQ(third.substr(4 * kRecLen), before.substr(4 * kRecLen));
}

TEST_F(IcsMsgTest, DeleteOneDropsEveryCopyAndKeepsTheCounter) {
  make(4, {1, 2, 3, 3, 4});
  IcsMsg m(dir.path(), log);
  m.DeleteOne(3);
  const std::string bytes = ReadFile(store());
  EXPECT_EQ(bytes, StoreBytes(4, {1, 2, 4}));
  EXPECT_FALSE(std::filesystem::exists(dir.file("IcsData.tmp")));
  EXPECT_EQ(m.NewMsg(), 5);

  const std::string before = ReadFile(store());
  m.DeleteOne(99);
  EXPECT_EQ(ReadFile(store()), before);
  m.DeleteOne(5);
  m.DeleteOne(1);
  m.DeleteOne(2);
  m.DeleteOne(4);
  EXPECT_EQ(ReadFile(store()), HeaderRecord(5));
  m.DeleteOne(5);  // the header is never dropped, even when its counter matches
  EXPECT_EQ(ReadFile(store()), HeaderRecord(5));
}

TEST_F(IcsMsgTest, DeleteOneReplacesAStaleTemporaryFileAndKeepsPermissions) {
  make(3, {1, 2, 3});
  WriteFile(dir.file("IcsData.tmp"), "left over from a crash");
  ::chmod(store().c_str(), 0640);
  IcsMsg m(dir.path(), log);
  m.DeleteOne(2);
  EXPECT_EQ(ReadFile(store()), StoreBytes(3, {1, 3}));
  EXPECT_FALSE(std::filesystem::exists(dir.file("IcsData.tmp")));
  struct stat st {};
  ASSERT_EQ(::stat(store().c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0640u);
}

TEST_F(IcsMsgTest, GetListWalksInFileOrder) {
  make(9, {4, 2, 9});
  IcsMsg m(dir.path(), log);
  m.ResetList();
  std::vector<std::int32_t> seen;
  while (m.GetList()) seen.push_back(m.rec().MsgNo());
  EXPECT_EQ(seen, (std::vector<std::int32_t>{4, 2, 9}));
  EXPECT_EQ(m.listPos(), 4);
  EXPECT_EQ(m.rec().MsgNo(), 9);  // not found leaves the current record
  EXPECT_FALSE(m.GetList());
  m.ResetList();
  EXPECT_EQ(m.listPos(), 1);
  ASSERT_TRUE(m.GetList());
  EXPECT_EQ(m.rec().MsgNo(), 4);
}

// Lengths that are not whole records: the count rounds half to even (4411 bytes is
// exactly half a record), and the tail of a record reads as zeros.
TEST_F(IcsMsgTest, PartialLastRecord) {
  struct Row { std::vector<std::int32_t> whole; std::string tail; int listed; };
  const std::string eight = MessageRecord(8);
  const Row rows[] = {{{7}, eight.substr(0, 100), 1},          {{7}, eight.substr(0, 4411), 1},
                      {{7}, eight.substr(0, 4412), 2},         {{7}, eight.substr(0, 8821), 2},
                      {{1}, std::string(kRecLen / 2, '\x01'), 1}, {{1, 2}, std::string(kRecLen / 2, '\0'), 3}};
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    WriteFile(store(), StoreBytes(7, row.whole) + row.tail);
    IcsMsg m(dir.path(), log);
    m.ResetList();
    int listed = 0;
    while (m.GetList()) ++listed;
    EXPECT_EQ(listed, row.listed);
    if (row.listed == 2) {  // the part of record 8 that exists is read
      EXPECT_EQ(m.rec().MsgNo(), 8);
      EXPECT_EQ(m.rec().KeepLocal(), 0);
      EXPECT_TRUE(m.Load(8));
    }
  }
  // Add writes where the count says the next record goes, over the partial one (3.5 -> 4).
  IcsMsg m(dir.path(), log);
  m.rec().setMsgNo(3);
  m.Add();
  EXPECT_EQ(ReadFile(store()).size(), 5 * kRecLen);
}

TEST_F(IcsMsgTest, SixteenBitWalkLimits) {
  // Sparse files: 32767 and 32768 records without writing 290 MB.
  auto sized = [&](std::int64_t records, std::int32_t lastNo) {
    WriteFile(store(), HeaderRecord(1));
    ASSERT_EQ(::truncate(store().c_str(), static_cast<off_t>(records) * static_cast<off_t>(kRecLen)), 0);
    if (lastNo != 0) {
      FILE* f = std::fopen(store().c_str(), "r+b");
      std::fseek(f, static_cast<long>((records - 1) * static_cast<std::int64_t>(kRecLen)), SEEK_SET);
      std::fwrite(MessageRecord(lastNo).data(), 1, kRecLen, f);
      std::fclose(f);
    }
  };
  IcsMsg m(dir.path(), log);
  sized(32768, 5);
  const VError load = Thrown([&] { m.Load(5); }), update = Thrown([&] { m.Update(5); });
  EXPECT_EQ(load.number(), kErrOverflow);
  EXPECT_EQ(load.source(), "PmMsg:Load");
  EXPECT_EQ(update.number(), kErrOverflow);
  EXPECT_EQ(update.source(), "PmMsg:Update");
  EXPECT_EQ(log.entries, (std::vector<std::string>{"Overflow in PmMsg:Load", "Overflow in PmMsg:Update"}));

  sized(32767, 5);
  EXPECT_TRUE(m.Load(5));  // found at the very last record: no overflow
  EXPECT_TRUE(m.Load(0));  // the sparse records are number 0
  EXPECT_THROW(m.Load(6), VError);
  EXPECT_EQ(m.rec().MsgNo(), 5);  // the walk got to the last record
  m.rec().setMsgNo(6);
  EXPECT_THROW(m.Update(6), VError);
  EXPECT_EQ(std::filesystem::file_size(store()), 32767u * kRecLen);
  EXPECT_TRUE(m.Load(5));  // nothing was written over the last record

  sized(32766, 0);
  EXPECT_FALSE(m.Load(6));
}

TEST_F(IcsMsgTest, NewMsgPast32767StoresThenOverflows) {
  make(32766, {32766});
  IcsMsg m(dir.path(), log);
  EXPECT_EQ(m.NewMsg(), 32767);
  EXPECT_EQ(Thrown([&] { m.NewMsg(); }).number(), kErrOverflow);
  const std::string bytes = ReadFile(store());
  EXPECT_EQ(testing::GetI32(bytes, 0), 32768);
  EXPECT_EQ(NumbersIn(bytes), (std::vector<std::int32_t>{32766, 32767, 32768}));
  EXPECT_TRUE(log.entries.empty());  // NewMsg has no trap of its own
}

// Each trapped operation logs "<description> in PmMsg:<op>" and rethrows with that source.
TEST_F(IcsMsgTest, FailuresAreLoggedAndRaisedWithTheirSource) {
  ASSERT_TRUE(std::filesystem::create_directory(store()));  // the store path is a directory
  IcsMsg m(dir.path(), log);
  struct Op { const char* name; std::function<void()> run; };
  const Op ops[] = {{"Load", [&] { m.Load(1); }},       {"Add", [&] { m.Add(); }},
                    {"Update", [&] { m.Update(1); }},   {"GetList", [&] { m.GetList(); }},
                    {"DeleteOne", [&] { m.DeleteOne(1); }}};
  for (const Op& op : ops) {
    SCOPED_TRACE(op.name);
    log.entries.clear();
    const VError e = Thrown(op.run);
    EXPECT_EQ(e.source(), std::string("PmMsg:") + op.name);
    EXPECT_EQ(e.description(), "Is a directory");
    EXPECT_EQ(log.entries, std::vector<std::string>{std::string("Is a directory in PmMsg:") + op.name});
  }
  EXPECT_FALSE(std::filesystem::exists(dir.file("IcsData.tmp")));
  log.entries.clear();
  EXPECT_EQ(Thrown([&] { m.NewMsg(); }).source(), "PmMsg:OpenStore");  // reaches the caller unchanged
  EXPECT_TRUE(log.entries.empty());
}

TEST_F(IcsMsgTest, WriteFailuresOnAFullDevice) {
  ASSERT_EQ(::symlink("/dev/full", store().c_str()), 0);
  IcsMsg m(dir.path(), log);
  const VError e = Thrown([&] { m.Load(1); });  // opening an empty store writes its header
  EXPECT_EQ(e.number(), kErrDiskFull);
  EXPECT_EQ(e.source(), "PmMsg:Load");
  EXPECT_EQ(log.entries, std::vector<std::string>{"No space left on device in PmMsg:Load"});
}

TEST_F(IcsMsgTest, DeleteOneThatCannotBuildItsCopyLeavesTheStore) {
  make(3, {1, 2, 3});
  const std::string before = ReadFile(store());
  ASSERT_TRUE(std::filesystem::create_directory(dir.file("IcsData.tmp")));
  std::filesystem::create_directory(dir.file("IcsData.tmp/x"));  // not removable by unlink
  IcsMsg m(dir.path(), log);
  EXPECT_THROW(m.DeleteOne(2), VError);
  EXPECT_EQ(ReadFile(store()), before);
  ASSERT_EQ(log.entries.size(), 1u);
  EXPECT_NE(log.entries[0].find(" in PmMsg:DeleteOne"), std::string::npos);
}

}  // namespace
}  // namespace velnor
