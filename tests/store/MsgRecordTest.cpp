#include "store/MsgRecord.h"


#include <cstring>
#include <tuple>

#include "tests/store/StoreFiles.h"

namespace velnor {
namespace {

using testing::ImageOf;

std::string Bytes(const MsgRecord& r, std::size_t at, std::size_t len) { return ImageOf(r).substr(at, len); }

std::string Padded(const std::string& s, std::size_t width) { return s + std::string(width - s.size(), ' '); }

// Zero bytes, whether fresh or padding from other programs, read as empty or trimmed.
TEST(MsgRecord, ZeroBytesReadEmptyOrTrimmed) {
  MsgRecord r;
  EXPECT_EQ(ImageOf(r), std::string(MsgRecord::kSize, '\0'));
  EXPECT_EQ(std::tuple(r.MsgNo(), r.RepDate(), r.Reply() + r.RepSign() + r.RepPos() + r.Route()), std::tuple(0, 0.0, ""));
  std::memcpy(r.image().data() + 74, "Chief\0\0\0", 8);
  std::memcpy(r.image().data() + 8660, "  K1:2  ", 8);
  EXPECT_EQ(r.To() + "|" + r.Route(), "Chief|K1:2");
}

// Every field set to a distinct value lands at its offset, little-endian, space-padded.
TEST(MsgRecord, EveryFieldAtItsOffset) {
  MsgRecord r;
  r.setMsgNo(0x01020304);
  r.setStatus(Status{0x0506});
  r.setOrigin(Origin{-2});
  r.setKind(Kind::Reply);
  r.setIcdName("Incident");
  r.setTo("To name");
  r.setToPos("To pos");
  r.setFr("From name");
  r.setFrPos("From pos");
  r.setSubj("Subject");
  r.setMsgDate(46345.5);
  r.setMsg("Body\r\nline 2");
  r.setMsgLen(12);
  r.setSign("Signer");
  r.setSignPos("Signer pos");
  r.setReply("Reply text");
  r.setRepSign("Replier");
  r.setRepPos("Replier pos");
  r.setRoute("KX9ABC:17");
  r.setRepDate(-1.25);
  r.setLocked(1);
  r.setKeepLocal(1);

  // The dates are 46345.5 and -1.25 as IEEE 754 doubles, little-endian.
  struct Expect { std::size_t at; std::string bytes; };
  const Expect rows[] = {
      {0, std::string("\x04\x03\x02\x01", 4)},  {4, std::string("\x06\x05", 2)},
      {6, std::string("\xfe\xff", 2)},          {8, std::string("\x02\x00", 2)},
      {10, Padded("Incident", 64)},             {74, Padded("To name", 64)},
      {138, Padded("To pos", 64)},              {202, Padded("From name", 64)},
      {266, Padded("From pos", 64)},            {330, Padded("Subject", 64)},
      {394, std::string("\x00\x00\x00\x00\x30\xa1\xe6\x40", 8)},
      {402, Padded("Body\r\nline 2", 4000)},    {4402, std::string("\x0c\x00", 2)},
      {4404, Padded("Signer", 64)},             {4468, Padded("Signer pos", 64)},
      {4532, Padded("Reply text", 4000)},       {8532, Padded("Replier", 64)},
      {8596, Padded("Replier pos", 64)},        {8660, Padded("KX9ABC:17", 16)},
      {8676, std::string("\x00\x00\x00\x00\x00\x00\xf4\xbf", 8)},
      {8684, std::string("\x01\x00", 2)},       {8686, std::string(130, '\0')},  // reserved fields untouched
      {8816, std::string("\x01\x00", 2)},       {8818, std::string(4, '\0')},
  };
  std::size_t covered = 0;
  for (const Expect& e : rows) {
    EXPECT_EQ(Bytes(r, e.at, e.bytes.size()), e.bytes) << "offset " << e.at;
    covered += e.bytes.size();
  }
  EXPECT_EQ(covered, MsgRecord::kSize);
  EXPECT_EQ(std::tuple(r.MsgNo(), r.Origin(), r.MsgDate(), r.RepDate(), r.Msg(), r.Route()),
            std::tuple(0x01020304, Origin{-2}, 46345.5, -1.25, "Body\r\nline 2", "KX9ABC:17"));
}

TEST(MsgRecord, TextSettersTrimCutAndPad) {
  struct Row { std::string in; std::string stored; std::string read; };
  const Row rows[] = {
      {std::string(63, 'a'), std::string(63, 'a') + " ", std::string(63, 'a')},
      {std::string(64, 'a'), std::string(64, 'a'), std::string(64, 'a')},
      {std::string(65, 'a'), std::string(64, 'a'), std::string(64, 'a')},
      {"  abc  ", Padded("abc", 64), "abc"},  {"a  b", Padded("a  b", 64), "a  b"},
      {"", std::string(64, ' '), ""},         {"   ", std::string(64, ' '), ""},
      // cut after trimming: the leading blanks do not use up the width
      {"  " + std::string(64, 'b') + "c", std::string(64, 'b'), std::string(64, 'b')},
      {"\xe9t\xe9", Padded("\xe9t\xe9", 64), "\xe9t\xe9"},  // station text passes byte for byte
  };
  for (const Row& row : rows) {
    MsgRecord r;
    r.setSubj(row.in);
    EXPECT_EQ(Bytes(r, 330, 64), row.stored) << row.in;
    EXPECT_EQ(r.Subj(), row.read) << row.in;
    EXPECT_EQ(Bytes(r, 266, 64) + Bytes(r, 394, 8), std::string(72, '\0'));  // neighbours untouched
  }
}

// Reply padding is in the golden record; here the long fields' widths and their neighbours.
TEST(MsgRecord, BodyAndRouteWidths) {
  MsgRecord r;
  r.setMsg("  " + std::string(3999, 'm') + "XYZ");
  EXPECT_EQ(r.Msg(), std::string(3999, 'm') + "X");
  EXPECT_EQ(Bytes(r, 4402, 2), std::string(2, '\0'));  // MsgLen not overrun
  r.setReply(std::string(4000, 'r'));
  EXPECT_EQ(r.Reply(), std::string(4000, 'r'));
  r.setRoute("ABCDEFGHIJKLMN:123");
  EXPECT_EQ(r.Route(), "ABCDEFGHIJKLMN:1");
  EXPECT_EQ(Bytes(r, 8676, 8), std::string(8, '\0'));  // RepDate untouched
}

TEST(MsgRecord, MsgLenOverflowsPast16Bits) {
  MsgRecord r;
  r.setMsgLen(32767);
  EXPECT_EQ(r.MsgLen(), 32767);
  r.setMsgLen(-32768);
  EXPECT_EQ(r.MsgLen(), -32768);
  EXPECT_EQ(testing::Thrown([&] { r.setMsgLen(32768); }).number(), kErrOverflow);
  EXPECT_THROW(r.setMsgLen(-32769), VError);
  EXPECT_EQ(r.MsgLen(), -32768);  // a failed set leaves the field alone
}

TEST(MsgRecord, StatusWords) {
  const char* words[] = {"", "New", "Ready, but not sent", "Sent", "Unread", "Read",
                         "Draft", "Abandoned", "Deleted", ""};
  for (short s = 0; s <= 9; ++s) EXPECT_EQ(MsgRecord::StatusWord(Status{s}), words[s]) << s;
  EXPECT_EQ(MsgRecord::StatusWord(Status{-1}), "");
}

}  // namespace
}  // namespace velnor
