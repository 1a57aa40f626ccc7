#include "format/MsgInfo.h"

#include "store/MsgRecord.h"

namespace velnor {

std::string MsgInfoLine(const MsgRecord& rec) {
  if (rec.MsgNo() == 0) return {};
  std::string line = "Msg# " + std::to_string(rec.MsgNo()) + ", ";
  line += rec.Origin() == Origin::Local ? " Locally created" : " Received";
  line += rec.Kind() == Kind::Message ? " message; " : " reply; ";
  line += MsgRecord::StatusWord(rec.Status());
  return line;
}

}  // namespace velnor
