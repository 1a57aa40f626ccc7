#include "link/LinkHost.h"
#include "store/IcsMsg.h"

namespace velnor {

namespace {

class IcsMsgOutbox : public Outbox {
 public:
  IcsMsgOutbox(const std::string& dataPath, EventLog& log) : m_msg(dataPath, log) {}
  void ResetList() override { m_msg.ResetList(); }
  bool GetList() override { return m_msg.GetList(); }
  std::int32_t MsgNo() const override { return m_msg.rec().MsgNo(); }
  short Status() const override { return m_msg.rec().Status(); }
  std::string Subj() const override { return m_msg.rec().Subj(); }
  void UpdateStatus(short status) override {
    m_msg.rec().setStatus(status);
    m_msg.Update(m_msg.rec().MsgNo());
  }

 private:
  IcsMsg m_msg;
};

}  // namespace

OutboxFactory StoreOutbox(std::string dataPath, EventLog& eventLog) {
  return [dataPath = std::move(dataPath), &eventLog]() -> std::unique_ptr<Outbox> {
    return std::make_unique<IcsMsgOutbox>(dataPath, eventLog);
  };
}

}  // namespace velnor
