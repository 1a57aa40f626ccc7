#pragma once
// The tagged text in which a message travels to Pmdirect and between stations. Every
// line ends with CR LF, the last one included; a field line is "KEY: " + value, the value
// as the record's getter gives it (blanks trimmed, nothing escaped, bodies keep their own
// CR LF line breaks):
//
//   !ICS213!            ("!ICS213!!KEEPLOCAL!" when KeepLocal is exactly 1)
//   ---------
//   ICDNAME: / TO: / POSITION: (addressee's)
//   ---------
//   FROM: / POSITION: (sender's)
//   ----------          (ten dashes)
//   SUBJECT: / DATE: (standard date text)
//   ---------
//   MESSAGE: first body line, further body lines as they are
//   ---------
//   SIGNATURE: / POSITION: (signer's)
//   ---------
//   REPLY: ... / --------- / SIGNATURE: / POSITION: / --------- / RDATE: / ---------
//                       (these seven lines only when Kind is exactly 2)
//   ROUTE: <login name>:<MsgNo>:<Route>
//   !/ICS213!
//
// POSITION and SIGNATURE repeat; only their order tells whose they are.
#include <cstdint>
#include <string>

namespace velnor {

class EventLog;
class MsgRecord;

// The text for one record as it stands (its own MsgNo goes into the ROUTE line).
std::string EncodeRecord(const MsgRecord& rec, const std::string& loginName);

// Loads record `number` from the store in dataPath into a store object of its own and
// encodes it. The found flag is not looked at: an unknown number encodes whatever Load
// left behind, so callers pass numbers just read from the store. Store failures are
// thrown on as VError.
std::string EncodeMsg(const std::string& dataPath, EventLog& log, std::int32_t number,
                      const std::string& loginName);

}  // namespace velnor
