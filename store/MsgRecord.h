#pragma once
// One ICS 213 message with its reply: the 8822-byte record image shared with other
// programs on the station. Offsets (bytes), little-endian integers, OLE dates (double),
// text fields in station text padded with spaces (zero bytes read as empty):
//   0 MsgNo i32 | 4 Status i16 | 6 Origin i16 | 8 Kind i16 | 10 IcdName 64 | 74 To 64
//   138 ToPos 64 | 202 Fr 64 | 266 FrPos 64 | 330 Subj 64 | 394 MsgDate f64 | 402 Msg 4000
//   4402 MsgLen i16 | 4404 Sign 64 | 4468 SignPos 64 | 4532 Reply 4000 | 8532 RepSign 64
//   8596 RepPos 64 | 8660 Route 16 | 8676 RepDate f64 | 8684 Locked i16 | 8686 reserved i16
//   8688 reserved 64 | 8752 reserved 64 | 8816 KeepLocal i16 | 8818 reserved i32
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace velnor {

// The record's codes as the file holds them. Other programs may write numbers that have no
// name here; they are carried unchanged, as enum values of the same underlying type.
enum class Status : std::int16_t {
  New = 1,
  ReadyToSend = 2,  // "Ready, but not sent": what a session sends
  Sent = 3,
  Unread = 4,
  Read = 5,
  Draft = 6,
  Abandoned = 7,
  Deleted = 8,
};
enum class Origin : std::int16_t { Local = 1, Received = 2 };
enum class Kind : std::int16_t { Message = 1, Reply = 2 };

class MsgRecord {
 public:
  static constexpr std::size_t kSize = 8822;
  // Widths of the text fields in characters: the bodies (Msg, Reply), Route, every other.
  static constexpr std::size_t kBodyWidth = 4000;
  static constexpr std::size_t kRouteWidth = 16;
  static constexpr std::size_t kLineWidth = 64;
  using Image = std::array<unsigned char, kSize>;

  MsgRecord() { m_image.fill(0); }

  Image& image() { return m_image; }
  const Image& image() const { return m_image; }

  // Text setters trim spaces, cut to the field width and pad with spaces; getters trim.
  std::int32_t MsgNo() const;       void setMsgNo(std::int32_t v);
  velnor::Status Status() const;    void setStatus(velnor::Status v);
  velnor::Origin Origin() const;    void setOrigin(velnor::Origin v);
  velnor::Kind Kind() const;        void setKind(velnor::Kind v);
  std::string IcdName() const;      void setIcdName(std::string_view v);
  std::string To() const;           void setTo(std::string_view v);
  std::string ToPos() const;        void setToPos(std::string_view v);
  std::string Fr() const;           void setFr(std::string_view v);
  std::string FrPos() const;        void setFrPos(std::string_view v);
  std::string Subj() const;         void setSubj(std::string_view v);
  double MsgDate() const;           void setMsgDate(double v);
  std::string Msg() const;          void setMsg(std::string_view v);
  short MsgLen() const;             void setMsgLen(std::int32_t v);  // overflow past 32767
  std::string Sign() const;         void setSign(std::string_view v);
  std::string SignPos() const;      void setSignPos(std::string_view v);
  std::string Reply() const;        void setReply(std::string_view v);
  std::string RepSign() const;      void setRepSign(std::string_view v);
  std::string RepPos() const;       void setRepPos(std::string_view v);
  std::string Route() const;        void setRoute(std::string_view v);
  double RepDate() const;           void setRepDate(double v);
  short Locked() const;             void setLocked(short v);
  short KeepLocal() const;          void setKeepLocal(short v);

  // Display word of a status code ("Draft", ...), empty for codes without one.
  static std::string StatusWord(velnor::Status status);

 private:
  Image m_image;
};

}  // namespace velnor
