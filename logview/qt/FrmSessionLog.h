#pragma once
// View > Session Log: the day's session log as it grows, read-only, each line as the file
// holds it with plain words beside the technical ones. It reads only what was appended
// since it last looked, twice a second while it is shown.
#include <QWidget>
#include <string>

#include "logview/LogFollower.h"

class QLabel;
class QTableWidget;
class QTimer;

namespace velnor {

class FrmSessionLog : public QWidget {
  Q_OBJECT
 public:
  // logFile: the day's log; empty when logging has not started.
  FrmSessionLog(const std::string& logFile, QWidget* owner);
  ~FrmSessionLog() override;

  // Takes in what was appended since the last look.
  void FollowLog();

  // The window keeps at most this many lines, the newest.
  static constexpr int kMaxRows = 10000;

 protected:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void AddLines(const std::vector<std::string>& lines);

  LogFollower m_follower;
  QLabel* m_lblFile = nullptr;
  QTableWidget* m_lstLog = nullptr;
  QTimer* m_tmrFollow = nullptr;
  bool m_missing = false;
};

}  // namespace velnor
