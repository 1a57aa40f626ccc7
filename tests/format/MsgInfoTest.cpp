#include <gtest/gtest.h>

#include "format/MsgInfo.h"
#include "store/MsgRecord.h"

namespace velnor {
namespace {

// Codes as the file holds them: any number, named or not.
MsgRecord Rec(std::int32_t no, short origin, short kind, short status) {
  MsgRecord r;
  r.setMsgNo(no);
  r.setOrigin(Origin{origin});
  r.setKind(Kind{kind});
  r.setStatus(Status{status});
  return r;
}

TEST(MsgInfoLine, Pieces) {
  const struct {
    MsgRecord rec;
    const char* line;
  } rows[] = {
      {Rec(0, 1, 1, 6), ""},
      {Rec(12, 1, 1, 6), "Msg# 12,  Locally created message; Draft"},
      {Rec(4, 2, 2, 9), "Msg# 4,  Received reply; "},
      {Rec(7, 2, 1, 4), "Msg# 7,  Received message; Unread"},
      {Rec(7, 0, 0, 2), "Msg# 7,  Received reply; Ready, but not sent"},
      {Rec(32767, 1, 2, 3), "Msg# 32767,  Locally created reply; Sent"},
  };
  for (const auto& row : rows) EXPECT_EQ(MsgInfoLine(row.rec), row.line);
}

}  // namespace
}  // namespace velnor
