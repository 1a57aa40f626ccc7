#include "log309/qt/CommLogDialog.h"

#include <QCheckBox>
#include <QDateTimeEdit>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTableWidget>
#include <QVBoxLayout>

#include "app/Settings.h"
#include "core/AtomicFile.h"
#include "core/Clock.h"
#include "core/Cp1252.h"
#include "core/DateTime.h"
#include "core/VError.h"
#include "log309/qt/CommLogPdf.h"
#include "platform/Dialogs.h"
#include "print/PrinterSystem.h"
#include "store/IcsMsg.h"

namespace velnor {

namespace {

constexpr const char* kGroup = "ics309";
constexpr double kDefaultHours = 12;

QString Q(const std::string& station) { return QString::fromStdString(Cp1252ToUtf8(station)); }
std::string S(const QString& q) { return Utf8ToCp1252(q.toStdString()); }

// The edits show wall-clock time as the store keeps it, with no zone to shift it.
double ToOle(const QDateTime& t) {
  return ToOleDate({t.date().year(), t.date().month(), t.date().day(), t.time().hour(), t.time().minute(),
                    t.time().second()});
}

QDateTime FromOle(double ole) {
  const DateParts p = FromOleDate(ole);
  return QDateTime(QDate(p.year, p.month, p.day), QTime(p.hour, p.minute, p.second), Qt::UTC);
}

std::string Joined(const std::string& a, const std::string& b) {
  if (a.empty() || b.empty()) return a + b;
  return a + ", " + b;
}

std::string What(const std::exception& e) {
  if (const auto* v = dynamic_cast<const VError*>(&e)) return v->description();
  return e.what();
}

}  // namespace

LogForm RememberedLogForm(QSettings& memory, const Settings& settings) {
  memory.beginGroup(kGroup);
  const auto text = [&](const char* key) { return S(memory.value(key).toString()); };
  LogForm f;
  f.incident = memory.contains("incident") && text("incidentDefault") == settings.IcdName ? text("incident")
                                                                                          : settings.IcdName;
  f.net = text("net");
  f.operatorName = text("operatorName");
  f.operatorCall = memory.contains("callSign") && text("callSignDefault") == settings.LoginName
                       ? text("callSign")
                       : settings.LoginName;
  f.preparedBy = memory.contains("preparedBy") ? text("preparedBy") : Joined(f.operatorName, f.operatorCall);
  memory.endGroup();
  return f;
}

void RememberLogForm(QSettings& memory, const LogForm& form, const Settings& settings) {
  memory.beginGroup(kGroup);
  memory.setValue("incident", Q(form.incident));
  memory.setValue("incidentDefault", Q(settings.IcdName));
  memory.setValue("net", Q(form.net));
  memory.setValue("operatorName", Q(form.operatorName));
  memory.setValue("callSign", Q(form.operatorCall));
  memory.setValue("callSignDefault", Q(settings.LoginName));
  memory.setValue("preparedBy", Q(form.preparedBy));
  memory.endGroup();
  memory.sync();
}

CommLogDialog::CommLogDialog(QWidget* owner, CommLogDeps deps) : QDialog(owner), m_deps(std::move(deps)) {
  setObjectName("frmCommLog");
  setWindowTitle("Communications Log (ICS 309)");
  const LogForm f = RememberedLogForm(m_deps.memory, m_deps.settings);

  auto* fields = new QFormLayout;
  // Each field is named by its label, for screen readers as for the eye.
  auto add = [&](const char* caption, QWidget* w, const char* name) {
    w->setObjectName(name);
    auto* label = new QLabel(caption, this);
    label->setBuddy(w);
    w->setAccessibleName(label->text().remove('&').remove(':'));
    fields->addRow(label, w);
  };
  auto line = [&](const std::string& text) {
    auto* e = new QLineEdit(Q(text), this);
    e->setMaxLength(64);
    return e;
  };
  auto when = [&](double ole) {
    auto* e = new QDateTimeEdit(FromOle(ole), this);
    e->setTimeSpec(Qt::UTC);
    e->setDisplayFormat("yyyy-MM-dd HH:mm");
    e->setCalendarPopup(true);
    return e;
  };
  const double now = m_deps.clock.now();
  m_incident = line(f.incident);
  m_from = when(now - kDefaultHours / 24);
  m_to = when(now);
  m_net = line(f.net);
  m_operator = line(f.operatorName);
  m_callSign = line(f.operatorCall);
  m_preparedBy = line(f.preparedBy);
  m_preparedBy->setMaxLength(130);
  add("&Incident name:", m_incident, "txtIncident");
  add("Period &from:", m_from, "dtpFrom");
  add("Period t&o:", m_to, "dtpTo");
  add("Radio &net name or position/tactical call:", m_net, "txtNet");
  add("Operator n&ame:", m_operator, "txtOperator");
  add("Operator &call sign/ID:", m_callSign, "txtCallSign");
  add("Prepared &by (name, call sign):", m_preparedBy, "txtPreparedBy");
  m_unsent = new QCheckBox("Include messages not &sent (drafts, queued, abandoned)", this);
  m_unsent->setObjectName("chkUnsent");
  m_unsent->setAccessibleName("Include messages not sent");
  fields->addRow(m_unsent);

  m_preview = new QTableWidget(0, 7, this);
  m_preview->setObjectName("lstPreview");
  m_preview->setHorizontalHeaderLabels({"No.", "Time", "From", "Msg #", "To", "Msg #", "Message"});
  m_preview->setEditTriggers(QAbstractItemView::NoEditTriggers);
  m_preview->setSelectionBehavior(QAbstractItemView::SelectRows);
  m_preview->verticalHeader()->hide();
  m_preview->verticalHeader()->setDefaultSectionSize(m_preview->fontMetrics().height() + 6);
  m_preview->horizontalHeader()->setStretchLastSection(true);
  m_preview->setMinimumSize(640, 220);
  auto* previewLabel = new QLabel("Pre&view of the log:", this);
  previewLabel->setBuddy(m_preview);
  m_preview->setAccessibleName("Preview of the log");
  m_count = new QLabel(this);
  m_count->setObjectName("lblCount");
  m_result = new QLabel(this);
  m_result->setObjectName("lblResult");
  m_result->setWordWrap(true);

  auto button = [&](const char* caption, const char* name) {
    auto* b = new QPushButton(caption, this);
    b->setObjectName(name);
    b->setAutoDefault(false);
    return b;
  };
  m_print = button("&Print...", "cmdPrint");
  m_savePdf = button("Save as P&DF...", "cmdSavePdf");
  m_exportCsv = button("&Export CSV...", "cmdExportCsv");
  QPushButton* close = button("C&lose", "cmdClose");
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(m_print);
  buttons->addWidget(m_savePdf);
  buttons->addWidget(m_exportCsv);
  buttons->addStretch();
  buttons->addWidget(close);

  auto* layout = new QVBoxLayout(this);
  layout->addLayout(fields);
  layout->addWidget(previewLabel);
  layout->addWidget(m_preview, 1);
  layout->addWidget(m_count);
  layout->addWidget(m_result);
  layout->addLayout(buttons);

  connect(m_from, &QDateTimeEdit::dateTimeChanged, this, [this] { UpdatePreview(); });
  connect(m_to, &QDateTimeEdit::dateTimeChanged, this, [this] { UpdatePreview(); });
  connect(m_unsent, &QCheckBox::toggled, this, [this] { UpdatePreview(); });
  connect(m_print, &QPushButton::clicked, this, [this] { cmdPrint_Click(); });
  connect(m_savePdf, &QPushButton::clicked, this, [this] { cmdSavePdf_Click(); });
  connect(m_exportCsv, &QPushButton::clicked, this, [this] { cmdExportCsv_Click(); });
  connect(close, &QPushButton::clicked, this, &QDialog::reject);

  ReadStore();
  UpdatePreview();
}

LogForm CommLogDialog::form() const {
  return {S(m_incident->text().trimmed()), S(m_net->text().trimmed()), S(m_operator->text().trimmed()),
          S(m_callSign->text().trimmed()), S(m_preparedBy->text().trimmed())};
}

LogHeader CommLogDialog::header() const {
  const LogForm f = form();
  LogHeader h;
  h.incident = f.incident;
  h.period = {ToOle(m_from->dateTime()), ToOle(m_to->dateTime())};
  h.net = f.net;
  h.operatorName = f.operatorName;
  h.operatorCall = f.operatorCall;
  h.preparedBy = f.preparedBy;
  h.prepared = m_deps.clock.now();
  h.dateFormat = m_deps.settings.DateFormat;
  h.programVersion = m_deps.programVersion;
  return h;
}

bool CommLogDialog::ReadStore() {
  try {
    IcsMsg store(m_deps.dataPath, m_deps.eventLog);
    m_all = ReadLogLines(store, m_deps.settings.LoginName);
    return true;
  } catch (const std::exception& e) {
    m_all.clear();
    Fail("The message store could not be read: " + What(e));
    return false;
  }
}

void CommLogDialog::UpdatePreview() {
  const LogPeriod period = header().period;
  const bool valid = OleSeconds(period.from) < OleSeconds(period.to);
  m_lines = valid ? SelectLogLines(m_all, period, m_unsent->isChecked()) : std::vector<LogLine>{};
  const std::string pattern = LogTimePattern(period);
  m_preview->setRowCount(static_cast<int>(m_lines.size()));
  for (std::size_t i = 0; i < m_lines.size(); ++i) {
    const LogLine& l = m_lines[i];
    const std::string cells[] = {
        std::to_string(i + 1), FormatDate(l.time, pattern), l.fromId, l.fromNo, l.toId, l.toNo,
        LogMessageText(l)};
    for (int c = 0; c < 7; ++c) m_preview->setItem(static_cast<int>(i), c, new QTableWidgetItem(Q(cells[c])));
  }
  m_preview->resizeColumnsToContents();
  const std::size_t pages = LogPageCount(m_lines.size());
  if (!valid)
    m_count->setText("The period ends before it begins: set its end after its start.");
  else
    m_count->setText(QString("%1 %2 in the period, on %3 %4")
                         .arg(m_lines.size())
                         .arg(m_lines.size() == 1 ? "line" : "lines")
                         .arg(pages)
                         .arg(pages == 1 ? "page" : "pages"));
  for (QPushButton* b : {m_print, m_savePdf, m_exportCsv}) b->setEnabled(valid);
}

void CommLogDialog::Fail(const std::string& what) {
  m_result->setText(Q(what));
  m_deps.dialogs.messageBox(what, kProgramTitle, MsgButtons::Ok, MsgIcon::Critical);
}

QString CommLogDialog::AskFile(const QString& caption, const QString& ext, const QString& filter) {
  m_deps.memory.beginGroup(kGroup);
  const QString folder = m_deps.memory.value("folder", QDir::homePath()).toString();
  m_deps.memory.endGroup();
  const QString proposed =
      QDir(folder).filePath("ICS309-" + m_from->dateTime().toString("yyyyMMdd-HHmm") + "." + ext);
  QString name = m_deps.saveName ? m_deps.saveName(caption, proposed, filter)
                                 : QFileDialog::getSaveFileName(this, caption, proposed, filter);
  if (name.isEmpty()) return name;
  if (QFileInfo(name).suffix().isEmpty()) name += "." + ext;
  m_deps.memory.beginGroup(kGroup);
  m_deps.memory.setValue("folder", QFileInfo(name).absolutePath());
  m_deps.memory.endGroup();
  return name;
}

void CommLogDialog::cmdPrint_Click() {
  if (!ReadStore()) return;
  UpdatePreview();
  PrinterSystem& printers = m_deps.printers;
  try {
    const std::string previousName = printers.CurrentDeviceName();
    const short previousOrientation = printers.Orientation();
    const short previousCopies = printers.Copies();
    if (!printers.ShowPrinter(kPrintDialogFlags)) return;
    const std::string device = printers.CurrentDeviceName();
    std::string failure;
    try {
      PrintCommLog(printers, header(), m_lines);
    } catch (const std::exception& e) {
      failure = What(e);
    }
    // The dialog's choice was for this log only.
    printers.SetPrinterByName(previousName);
    printers.SetOrientation(previousOrientation);
    printers.SetCopies(previousCopies);
    if (!failure.empty()) return Fail("The log could not be printed on " + device + ": " + failure);
    m_result->setText(Q("Printed on " + device + "."));
  } catch (const std::exception& e) {
    Fail("The log could not be printed: " + What(e));
  }
}

void CommLogDialog::cmdSavePdf_Click() {
  const QString name = AskFile("Save Communications Log as PDF", "pdf", "PDF files (*.pdf)");
  if (name.isEmpty() || !ReadStore()) return;
  UpdatePreview();
  try {
    WriteCommLogPdf(QFile::encodeName(name).toStdString(), header(), m_lines);
    m_result->setText("Saved " + name);
  } catch (const std::exception& e) {
    Fail(S(name) + " could not be written: " + What(e));
  }
}

void CommLogDialog::cmdExportCsv_Click() {
  const QString name = AskFile("Export Communications Log as CSV", "csv", "CSV files (*.csv)");
  if (name.isEmpty() || !ReadStore()) return;
  UpdatePreview();
  try {
    WriteFileAtomically(QFile::encodeName(name).toStdString(), CommLogCsv(m_lines), "ExportCsv");
    m_result->setText("Exported " + name);
  } catch (const std::exception& e) {
    Fail(S(name) + " could not be written: " + What(e));
  }
}

void CommLogDialog::done(int result) {
  RememberLogForm(m_deps.memory, form(), m_deps.settings);
  QDialog::done(result);
}

}  // namespace velnor
