#pragma once
// File > Communications Log (ICS 309): the header of the log (incident, period, net or
// position, operator, prepared by), a preview of its lines with their count, and the
// three ways out: Print (the print dialog, PDF printer included), Save as PDF, Export
// CSV. The store is read when the dialog opens and again before each output, so the
// output holds what arrived meanwhile; the period is filtered in memory as it is edited.
//
// The header texts are remembered between runs in the program's own settings (QSettings
// "velnor"/"velnor", group "ics309"), never in velnor.ini. Controls carry object names:
// txtIncident, dtpFrom, dtpTo, txtNet, txtOperator, txtCallSign, txtPreparedBy,
// chkUnsent, lstPreview, lblCount, cmdPrint, cmdSavePdf, cmdExportCsv, cmdClose.
#include <QDialog>
#include <QString>
#include <functional>
#include <string>
#include <vector>

#include "log309/CommLogPrint.h"

class QCheckBox;
class QDateTimeEdit;
class QLabel;
class QLineEdit;
class QPushButton;
class QSettings;
class QTableWidget;

namespace velnor {

class Clock;
class Dialogs;
class EventLog;
class PrinterSystem;
struct Settings;

// The header texts the operator types, as station text.
struct LogForm {
  std::string incident, net, operatorName, operatorCall, preparedBy;
};

// The texts to start from: those used last, except where the setting they defaulted to
// has changed since (a new IcdName, a new identifier): then the new setting. Prepared by
// starts as the operator's name and call sign.
LogForm RememberedLogForm(QSettings& memory, const Settings& settings);
void RememberLogForm(QSettings& memory, const LogForm& form, const Settings& settings);

struct CommLogDeps {
  std::string dataPath;
  EventLog& eventLog;
  const Settings& settings;  // LoginName, IcdName, DateFormat
  const Clock& clock;
  PrinterSystem& printers;
  Dialogs& dialogs;  // failures
  QSettings& memory;
  std::string programVersion;
  // Asks where to write a file; empty when cancelled. Unset: the stock save dialog.
  std::function<QString(const QString& caption, const QString& proposed, const QString& filter)> saveName;
};

class CommLogDialog : public QDialog {
  Q_OBJECT
 public:
  CommLogDialog(QWidget* owner, CommLogDeps deps);

  // The log as the dialog shows it now.
  LogHeader header() const;
  const std::vector<LogLine>& lines() const { return m_lines; }

  void done(int result) override;

 private:
  // Reads the store again; false, told to the operator, when it cannot be read.
  bool ReadStore();
  void UpdatePreview();
  LogForm form() const;
  void cmdPrint_Click();
  void cmdSavePdf_Click();
  void cmdExportCsv_Click();
  // The file to write, proposed as ICS309-<from>.<ext> in the last folder used.
  QString AskFile(const QString& caption, const QString& ext, const QString& filter);
  void Fail(const std::string& what);

  CommLogDeps m_deps;
  std::vector<LogLine> m_all;
  std::vector<LogLine> m_lines;
  QLineEdit* m_incident = nullptr;
  QDateTimeEdit* m_from = nullptr;
  QDateTimeEdit* m_to = nullptr;
  QLineEdit* m_net = nullptr;
  QLineEdit* m_operator = nullptr;
  QLineEdit* m_callSign = nullptr;
  QLineEdit* m_preparedBy = nullptr;
  QCheckBox* m_unsent = nullptr;
  QTableWidget* m_preview = nullptr;
  QLabel* m_count = nullptr;
  QLabel* m_result = nullptr;
  QPushButton* m_print = nullptr;
  QPushButton* m_savePdf = nullptr;
  QPushButton* m_exportCsv = nullptr;
};

}  // namespace velnor
