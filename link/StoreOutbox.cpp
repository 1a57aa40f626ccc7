#include "link/LinkHost.h"
#include "store/IcsMsg.h"

namespace velnor {

namespace {

class IcsMsgOutbox : public Outbox {
 public:
  IcsMsgOutbox(const std::string& dataPath, EventLog& log) : m_msg(dataPath, log) {}
  void ResetList() override { m_msg.ResetList(); }
  bool GetList() override {
    if (!m_msg.GetList()) return false;
    m_listed = m_msg.rec();
    return true;
  }
  const MsgRecord& Record() const override { return m_msg.rec(); }
  bool UpdateStatus(Status status) override {
    m_msg.rec().setStatus(status);
    return m_msg.UpdateListed(m_listed);
  }

 private:
  IcsMsg m_msg;
  MsgRecord m_listed;  // as read, before any change
};

}  // namespace

OutboxFactory StoreOutbox(std::string dataPath, EventLog& eventLog) {
  return [dataPath = std::move(dataPath), &eventLog]() -> std::unique_ptr<Outbox> {
    return std::make_unique<IcsMsgOutbox>(dataPath, eventLog);
  };
}

}  // namespace velnor
