#include <algorithm>
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
  EXPECT_EQ(std::tuple(r.MsgNo(), r.RepDate(), r.Reply() + r.RepSign() + r.RepPos() + r.Route()),
            std::tuple(0, 0.0, ""));
  std::memcpy(r.image().data() + 74, "Chief\0\0\0", 8);
  std::memcpy(r.image().data() + 8660, "  K1:2  ", 8);
  EXPECT_EQ(r.To() + "|" + r.Route(), "Chief|K1:2");
}

// Every field set to a distinct value lands at its offset, little-endian, space-padded.
// Set from the last field to the first, both bytes of each number non-zero: a field
// written too wide shows in the next one. The reserved bytes keep what another program left.
TEST(MsgRecord, EveryFieldAtItsOffset) {
  MsgRecord r;
  std::memset(r.image().data(), '#', MsgRecord::kSize);
  r.setKeepLocal(-2);
  r.setLocked(0x0102);
  r.setRepDate(-1.25);
  r.setRoute("KX9ABC:17");
  r.setRepPos("Replier pos");
  r.setRepSign("Replier");
  r.setReply("Reply text");
  r.setSignPos("Signer pos");
  r.setSign("Signer");
  r.setMsgLen(0x0b0c);
  r.setMsg("Body\r\nline 2");
  r.setMsgDate(46345.5);
  r.setSubj("Subject");
  r.setFrPos("From pos");
  r.setFr("From name");
  r.setToPos("To pos");
  r.setTo("To name");
  r.setIcdName("Incident");
  r.setKind(Kind{0x0708});
  r.setOrigin(Origin{-2});
  r.setStatus(Status{0x0506});
  r.setMsgNo(0x01020304);

  // The whole image: the dates are 46345.5 and -1.25 as IEEE 754 doubles.
  const std::string expected =
      std::string("\x04\x03\x02\x01\x06\x05\xfe\xff\x08\x07", 10) + Padded("Incident", 64) +
      Padded("To name", 64) + Padded("To pos", 64) + Padded("From name", 64) + Padded("From pos", 64) +
      Padded("Subject", 64) + std::string("\x00\x00\x00\x00\x30\xa1\xe6\x40", 8) +
      Padded("Body\r\nline 2", 4000) + std::string("\x0c\x0b", 2) + Padded("Signer", 64) +
      Padded("Signer pos", 64) + Padded("Reply text", 4000) + Padded("Replier", 64) +
      Padded("Replier pos", 64) + Padded("KX9ABC:17", 16) +
      std::string("\x00\x00\x00\x00\x00\x00\xf4\xbf\x02\x01", 10) + std::string(130, '#') + "\xfe\xff####";
  const std::string image = ImageOf(r);
  EXPECT_TRUE(image == expected) << "first difference at offset "
                                 << std::mismatch(image.begin(), image.end(), expected.begin()).first -
                                        image.begin();
  EXPECT_EQ(
      std::tuple(r.MsgNo(), r.Status(), r.Origin(), r.Kind(), r.MsgDate(), r.RepDate(), r.Msg(), r.Route()),
      std::tuple(0x01020304, Status{0x0506}, Origin{-2}, Kind{0x0708}, 46345.5, -1.25, "Body\r\nline 2",
                 "KX9ABC:17"));
  EXPECT_EQ(std::tuple(r.MsgLen(), r.Locked(), r.KeepLocal()), std::tuple(0x0b0c, 0x0102, -2));
  // The length is a 16-bit number: one past either end overflows, the ends themselves fit.
  EXPECT_NO_THROW(r.setMsgLen(-32768));
  EXPECT_THROW(r.setMsgLen(-32769), VError);
  EXPECT_THROW(r.setMsgLen(32768), VError);
}

TEST(MsgRecord, TextSettersTrimCutAndPad) {
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {std::string(65, 'a'), std::string(64, 'a'), std::string(64, 'a')},
      {"  abc  ", Padded("abc", 64), "abc"},
      {"", std::string(64, ' '), ""},
      {" x", Padded("x", 64), "x"},  // one character after one blank
      // cut after trimming: the leading blanks do not use up the width
      {"  " + std::string(64, 'b') + "c", std::string(64, 'b'), std::string(64, 'b')},
  };
  for (const auto& [in, stored, read] : rows) {
    MsgRecord r;
    r.setSubj(in);
    EXPECT_EQ(Bytes(r, 330, 64), stored) << in;
    EXPECT_EQ(r.Subj(), read) << in;
    EXPECT_EQ(Bytes(r, 266, 64) + Bytes(r, 394, 8), std::string(72, '\0'));  // neighbours untouched
  }
}

}  // namespace
}  // namespace velnor
