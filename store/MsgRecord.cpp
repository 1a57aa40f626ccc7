#include "store/MsgRecord.h"

#include <bit>
#include <cstring>

#include "core/VError.h"

namespace velnor {
namespace {

// Where a field of the record lies in the image: offset and width.
struct Place {
  std::size_t offset;
  std::size_t width;
};

constexpr std::size_t kLine = MsgRecord::kLineWidth, kBody = MsgRecord::kBodyWidth;
constexpr Place kMsgNo{0, 4}, kStatus{4, 2}, kOrigin{6, 2}, kKind{8, 2};
constexpr Place kIcdName{10, kLine}, kTo{74, kLine}, kToPos{138, kLine}, kFr{202, kLine}, kFrPos{266, kLine};
constexpr Place kSubj{330, kLine}, kMsgDate{394, 8}, kMsg{402, kBody}, kMsgLen{4402, 2};
constexpr Place kSign{4404, kLine}, kSignPos{4468, kLine}, kReply{4532, kBody}, kRepSign{8532, kLine};
constexpr Place kRepPos{8596, kLine}, kRoute{8660, MsgRecord::kRouteWidth}, kRepDate{8676, 8},
    kLocked{8684, 2};
constexpr Place kKeepLocal{8816, 2};

static_assert(kKeepLocal.offset + 2 + 4 == MsgRecord::kSize);

std::uint64_t GetLE(const MsgRecord::Image& im, Place f) {
  std::uint64_t v = 0;
  for (std::size_t i = f.width; i-- > 0;) v = (v << 8) | im[f.offset + i];
  return v;
}

void PutLE(MsgRecord::Image& im, Place f, std::uint64_t v) {
  for (std::size_t i = 0; i < f.width; ++i) {
    im[f.offset + i] = static_cast<unsigned char>(v & 0xFF);
    v >>= 8;
  }
}

short GetI16(const MsgRecord::Image& im, Place f) {
  return static_cast<short>(static_cast<std::uint16_t>(GetLE(im, f)));
}

void PutI16(MsgRecord::Image& im, Place f, short v) {
  PutLE(im, f, static_cast<std::uint16_t>(v));
}

double GetF64(const MsgRecord::Image& im, Place f) { return std::bit_cast<double>(GetLE(im, f)); }

void PutF64(MsgRecord::Image& im, Place f, double v) { PutLE(im, f, std::bit_cast<std::uint64_t>(v)); }

// Never-set fields hold zero bytes, and other programs may pad with them too.
bool IsBlank(unsigned char c) { return c == ' ' || c == '\0'; }

std::string GetText(const MsgRecord::Image& im, Place f) {
  std::size_t b = f.offset, e = f.offset + f.width;
  while (b < e && IsBlank(im[b])) ++b;
  while (e > b && IsBlank(im[e - 1])) --e;
  return std::string(reinterpret_cast<const char*>(im.data()) + b, e - b);
}

void PutText(MsgRecord::Image& im, Place f, std::string_view v) {
  while (!v.empty() && v.front() == ' ') v.remove_prefix(1);
  while (!v.empty() && v.back() == ' ') v.remove_suffix(1);
  const std::size_t n = v.size() < f.width ? v.size() : f.width;
  // An empty view may have no data at all; memcpy must not be handed that null pointer.
  if (n > 0) std::memcpy(im.data() + f.offset, v.data(), n);
  std::memset(im.data() + f.offset + n, ' ', f.width - n);
}

}  // namespace

std::int32_t MsgRecord::MsgNo() const {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(GetLE(m_image, kMsgNo)));
}
void MsgRecord::setMsgNo(std::int32_t v) { PutLE(m_image, kMsgNo, static_cast<std::uint32_t>(v)); }

velnor::Status MsgRecord::Status() const { return static_cast<velnor::Status>(GetI16(m_image, kStatus)); }
void MsgRecord::setStatus(velnor::Status v) { PutI16(m_image, kStatus, static_cast<short>(v)); }
velnor::Origin MsgRecord::Origin() const { return static_cast<velnor::Origin>(GetI16(m_image, kOrigin)); }
void MsgRecord::setOrigin(velnor::Origin v) { PutI16(m_image, kOrigin, static_cast<short>(v)); }
velnor::Kind MsgRecord::Kind() const { return static_cast<velnor::Kind>(GetI16(m_image, kKind)); }
void MsgRecord::setKind(velnor::Kind v) { PutI16(m_image, kKind, static_cast<short>(v)); }

std::string MsgRecord::IcdName() const { return GetText(m_image, kIcdName); }
void MsgRecord::setIcdName(std::string_view v) { PutText(m_image, kIcdName, v); }
std::string MsgRecord::To() const { return GetText(m_image, kTo); }
void MsgRecord::setTo(std::string_view v) { PutText(m_image, kTo, v); }
std::string MsgRecord::ToPos() const { return GetText(m_image, kToPos); }
void MsgRecord::setToPos(std::string_view v) { PutText(m_image, kToPos, v); }
std::string MsgRecord::Fr() const { return GetText(m_image, kFr); }
void MsgRecord::setFr(std::string_view v) { PutText(m_image, kFr, v); }
std::string MsgRecord::FrPos() const { return GetText(m_image, kFrPos); }
void MsgRecord::setFrPos(std::string_view v) { PutText(m_image, kFrPos, v); }
std::string MsgRecord::Subj() const { return GetText(m_image, kSubj); }
void MsgRecord::setSubj(std::string_view v) { PutText(m_image, kSubj, v); }

double MsgRecord::MsgDate() const { return GetF64(m_image, kMsgDate); }
void MsgRecord::setMsgDate(double v) { PutF64(m_image, kMsgDate, v); }

std::string MsgRecord::Msg() const { return GetText(m_image, kMsg); }
void MsgRecord::setMsg(std::string_view v) { PutText(m_image, kMsg, v); }

short MsgRecord::MsgLen() const { return GetI16(m_image, kMsgLen); }
void MsgRecord::setMsgLen(std::int32_t v) {
  if (v > 32767 || v < -32768) throw VError(kErrOverflow, "PmMsg:MsgLen", "Overflow");
  PutI16(m_image, kMsgLen, static_cast<short>(v));
}

std::string MsgRecord::Sign() const { return GetText(m_image, kSign); }
void MsgRecord::setSign(std::string_view v) { PutText(m_image, kSign, v); }
std::string MsgRecord::SignPos() const { return GetText(m_image, kSignPos); }
void MsgRecord::setSignPos(std::string_view v) { PutText(m_image, kSignPos, v); }
std::string MsgRecord::Reply() const { return GetText(m_image, kReply); }
void MsgRecord::setReply(std::string_view v) { PutText(m_image, kReply, v); }
std::string MsgRecord::RepSign() const { return GetText(m_image, kRepSign); }
void MsgRecord::setRepSign(std::string_view v) { PutText(m_image, kRepSign, v); }
std::string MsgRecord::RepPos() const { return GetText(m_image, kRepPos); }
void MsgRecord::setRepPos(std::string_view v) { PutText(m_image, kRepPos, v); }
std::string MsgRecord::Route() const { return GetText(m_image, kRoute); }
void MsgRecord::setRoute(std::string_view v) { PutText(m_image, kRoute, v); }

double MsgRecord::RepDate() const { return GetF64(m_image, kRepDate); }
void MsgRecord::setRepDate(double v) { PutF64(m_image, kRepDate, v); }

short MsgRecord::Locked() const { return GetI16(m_image, kLocked); }
void MsgRecord::setLocked(short v) { PutI16(m_image, kLocked, v); }
short MsgRecord::KeepLocal() const { return GetI16(m_image, kKeepLocal); }
void MsgRecord::setKeepLocal(short v) { PutI16(m_image, kKeepLocal, v); }

std::string MsgRecord::StatusWord(velnor::Status status) {
  switch (status) {
    case velnor::Status::New: return "New";
    case velnor::Status::ReadyToSend: return "Ready, but not sent";
    case velnor::Status::Sent: return "Sent";
    case velnor::Status::Unread: return "Unread";
    case velnor::Status::Read: return "Read";
    case velnor::Status::Draft: return "Draft";
    case velnor::Status::Abandoned: return "Abandoned";
    case velnor::Status::Deleted: return "Deleted";
  }
  return {};  // a code another program wrote, with no word of its own
}

}  // namespace velnor
