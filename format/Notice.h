#pragma once
// Where the decoder announces each message it has filed. The main window implements it
// with one notice window per call; the call must not wait for the operator.
#include <cstdint>
#include <string>

namespace velnor {

class MsgRecord;

class NoticeSink {
 public:
  virtual ~NoticeSink() = default;
  virtual void ShowNotice(const std::string& text, std::int32_t number) = 0;
};

// The notice text for a filed record: heading, sender, subject and date, CR LF between
// lines. A reply (any Kind but 1) names its writer, the addressee of the answered message.
std::string NoticeText(const MsgRecord& rec);

}  // namespace velnor
