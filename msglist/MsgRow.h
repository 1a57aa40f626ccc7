#pragma once
// One message as the list shows it: the record's columns, kept for display and sorting,
// its texts in upper case for the search, and its place in the reply tracking.
#include <cstdint>
#include <string>

#include "store/MsgRecord.h"

namespace velnor {

enum class ReplyState {
  None,            // not a sent message, not a received reply
  Awaiting,        // a message sent from here that no received reply answers yet
  Answered,        // a sent message with at least one reply; link: the first reply
  AnswersMessage,  // a received reply; link: the sent message it answers
  Unmatched,       // a received reply that answers no sent message of this store
};

struct MsgRow {
  std::int32_t number = 0;
  Status status{};
  Origin origin{};
  Kind kind{};
  double date = 0;                       // when it was written: a reply's own date (RepDate); 0: none
  double msgDate = 0;                    // MsgDate, which a reply carries from the message it answers
  std::string from, to, subject, route;  // a reply's from is its writer, the record's To
  std::string haystack;   // every text of the record and of its columns but the date, upper case
  std::string dateUpper;  // the date column's text, upper case, for the search
  std::string matchKey;   // subject, addressee and sender, upper case: what a reply must repeat

  ReplyState reply = ReplyState::None;
  std::int32_t link = 0;
  int replies = 0;  // a sent message: how many received replies answer it
};

}  // namespace velnor
