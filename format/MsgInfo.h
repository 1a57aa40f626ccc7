#pragma once
// The information line under the form: number, origin, kind and status of a record,
// e.g. "Msg# 12,  Locally created message; Draft". Empty for a record numbered 0.
#include <string>

namespace velnor {

class MsgRecord;

std::string MsgInfoLine(const MsgRecord& rec);

}  // namespace velnor
