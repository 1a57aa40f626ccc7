#pragma once
// Which received reply answers which message sent from here. A reply travels as a full
// copy of the message it answers, so it carries that message's subject, addressee (TO),
// sender (FROM) and date; the replying station may have cut the date to what its own
// date and time formats show. The rule, with its examples, is in docs/message-list.md.
#include <vector>

#include "msglist/MsgRow.h"

namespace velnor {

// How well a reply's date fits the date of a sent message: 0 the same to the second, 1
// cut to the minute, 2 to the hour, 3 to the day; -1 no fit.
int DateFit(double sent, double reply);

// Sets reply, link and replies of every row; rows are in file order (the order filed).
void MatchReplies(std::vector<MsgRow>& rows);

}  // namespace velnor
