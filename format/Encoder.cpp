#include "format/Encoder.h"

#include "core/DateTime.h"
#include "store/IcsMsg.h"
#include "store/MsgRecord.h"

namespace velnor {

namespace {

constexpr std::string_view kCrLf = "\r\n";
constexpr std::string_view kDash9 = "---------";

void PutLine(std::string& out, std::string_view a, std::string_view b = {}) {
  out.append(a);
  out.append(b);
  out.append(kCrLf);
}

}  // namespace

std::string EncodeRecord(const MsgRecord& rec, const std::string& loginName) {
  std::string out;
  const std::string msg = rec.Msg();
  const std::string reply = rec.Reply();
  out.reserve(1024 + msg.size() + reply.size());

  PutLine(out, rec.KeepLocal() == 1 ? "!ICS213!!KEEPLOCAL!" : "!ICS213!");
  PutLine(out, kDash9);
  PutLine(out, "ICDNAME: ", rec.IcdName());
  PutLine(out, "TO: ", rec.To());
  PutLine(out, "POSITION: ", rec.ToPos());
  PutLine(out, kDash9);
  PutLine(out, "FROM: ", rec.Fr());
  PutLine(out, "POSITION: ", rec.FrPos());
  PutLine(out, "----------");
  PutLine(out, "SUBJECT: ", rec.Subj());
  PutLine(out, "DATE: ", StandardDateText(rec.MsgDate()));
  PutLine(out, kDash9);
  PutLine(out, "MESSAGE: ", msg);
  PutLine(out, kDash9);
  PutLine(out, "SIGNATURE: ", rec.Sign());
  PutLine(out, "POSITION: ", rec.SignPos());
  PutLine(out, kDash9);
  if (rec.Kind() == Kind::Reply) {
    PutLine(out, "REPLY: ", reply);
    PutLine(out, kDash9);
    PutLine(out, "SIGNATURE: ", rec.RepSign());
    PutLine(out, "POSITION: ", rec.RepPos());
    PutLine(out, kDash9);
    PutLine(out, "RDATE: ", StandardDateText(rec.RepDate()));
    PutLine(out, kDash9);
  }
  PutLine(out, "ROUTE: ", loginName + ":" + std::to_string(rec.MsgNo()) + ":" + rec.Route());
  PutLine(out, "!/ICS213!");
  return out;
}

std::string EncodeMsg(const std::string& dataPath, EventLog& log, std::int32_t number,
                      const std::string& loginName) {
  IcsMsg store(dataPath, log);
  store.Load(number);  // not found: the record Load left behind is sent as it is
  return EncodeRecord(store.rec(), loginName);
}

}  // namespace velnor
