#include "msglist/TouchingOutbox.h"

namespace velnor {

namespace {

class Touching : public Outbox {
 public:
  Touching(std::unique_ptr<Outbox> inner, const std::function<void(std::int32_t)>& written)
      : m_inner(std::move(inner)), m_written(written) {}
  void ResetList() override { m_inner->ResetList(); }
  bool GetList() override { return m_inner->GetList(); }
  const MsgRecord& Record() const override { return m_inner->Record(); }
  bool UpdateStatus(Status status) override {
    const bool updated = m_inner->UpdateStatus(status);
    if (updated && m_written) m_written(m_inner->Record().MsgNo());
    return updated;
  }

 private:
  std::unique_ptr<Outbox> m_inner;
  std::function<void(std::int32_t)> m_written;
};

}  // namespace

OutboxFactory TouchingOutbox(OutboxFactory outbox, std::function<void(std::int32_t)> written) {
  return [outbox = std::move(outbox), written = std::move(written)]() -> std::unique_ptr<Outbox> {
    return std::make_unique<Touching>(outbox(), written);
  };
}

}  // namespace velnor
