#include "settings_ui/qt/frmProperties.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QEvent>
#include <QFont>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTimer>
#include <QVBoxLayout>

#include "app/FileLib.h"
#include "core/Cp1252.h"
#include "core/StringLib.h"

namespace velnor {
namespace {

QString ToQ(const std::string& station) { return QString::fromUtf8(Cp1252ToUtf8(station)); }

std::string FromQ(const QString& text) { return Utf8ToCp1252(text.toUtf8().toStdString()); }

QString Indexed(const char* name, int i) { return QStringLiteral("%1_%2").arg(QLatin1String(name)).arg(i); }

QLabel* Heading(const QString& text, QWidget* parent) {
  auto* l = new QLabel(text, parent);
  QFont f = l->font();
  f.setBold(true);
  l->setFont(f);
  return l;
}

// The fault mark lives in a property so reading the dialog back does not depend on how
// the style paints the box.
constexpr const char* kFaultProperty = "velnorFault";

}  // namespace

QColor frmProperties::faultColor() { return QColor(255, 255, 128); }

frmProperties::frmProperties(QWidget* owner, Settings& settings, PropertiesHooks hooks)
    : QDialog(owner), m_settings(settings), m_hooks(std::move(hooks)) {
  setObjectName(QStringLiteral("frmProperties"));
  setWindowTitle(QStringLiteral("ICS 213 Properties"));

  SSTab1 = new QTabWidget(this);
  SSTab1->setObjectName(QStringLiteral("SSTab1"));
  const char* tabCaptions[5] = {"Formatting", "Remote Access", "Receiving", "Routes", "Other"};
  const char* frameCaptions[5] = {"Defaults - New Messages", "Message Server (Pmdirect)", "When receiving messages",
                                  "Global Defaults", ""};
  for (int i = 0; i < 5; ++i) {
    auto* page = new QWidget(SSTab1);
    auto* pageLayout = new QVBoxLayout(page);
    nframe[i] = new QGroupBox(QLatin1String(frameCaptions[i]), page);
    nframe[i]->setObjectName(Indexed("nframe", i));
    pageLayout->addWidget(nframe[i]);
    SSTab1->addTab(page, QLatin1String(tabCaptions[i]));
  }
  buildFormattingTab(nframe[kTabFormatting]);
  buildRemoteAccessTab(nframe[kTabRemoteAccess]);
  buildReceivingTab(nframe[kTabReceiving]);
  buildRoutesTab(nframe[kTabRoutes]);
  buildOtherTab(nframe[kTabOther]);

  cmdOK = new QPushButton(QStringLiteral("OK"), this);
  cmdOK->setObjectName(QStringLiteral("cmdOK"));
  cmdOK->setDefault(true);
  cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
  cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  buttons->addWidget(cmdOK);
  buttons->addWidget(cmdCancel);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(SSTab1);
  layout->addLayout(buttons);

  for (QLineEdit* box : {txtFormat[0], txtFormat[1], txtServer[0], txtServer[1], txtServer[2], txtServer[3],
                         txtDefaults[0], txtDefaults[1], txtDefaults[2], txtDefaults[3], txtDefaults[4],
                         txtDefualtToRoute}) {
    box->installEventFilter(this);
  }
  // A box keeps its fault mark until the operator changes its text: moving through it with
  // Tab, the arrows, Home or End leaves the mark where the fault is.
  for (QLineEdit* box : {txtFormat[0], txtFormat[1], txtServer[0], txtServer[1], txtServer[2], txtServer[3]})
    connect(box, &QLineEdit::textEdited, this, [this, box] { setYellow(box, false); });

  connect(cmdOK, &QPushButton::clicked, this, [this] { cmdOK_Click(); });
  connect(cmdCancel, &QPushButton::clicked, this, [this] { reject(); });
  connect(SSTab1, &QTabWidget::currentChanged, this, [this](int tab) { SSTab1_Click(tab); });
  connect(chkPlayOnArrival, &QCheckBox::clicked, this, [this] { chkPlayOnArrival_Click(); });
  connect(cmdBrowse, &QPushButton::clicked, this, [this] { cmdBrowse_Click(); });
  connect(cmdTestWav, &QPushButton::clicked, this, [this] { cmdTestWav_Click(); });
  connect(cmdTest, &QPushButton::clicked, this, [this] { cmdTest_Click(); });
  for (int i = 0; i < 2; ++i) {
    connect(optBrowse[i], &QRadioButton::clicked, this, [this, i] { m_browseChoice = i; });
  }

  Form_Load();
}

void frmProperties::buildFormattingTab(QGroupBox* frame) {
  auto* g = new QGridLayout(frame);
  txtFormat[0] = new QLineEdit(frame);
  txtFormat[1] = new QLineEdit(frame);
  for (int i = 0; i < 5; ++i) txtDefaults[i] = new QLineEdit(frame);
  for (int i = 0; i < 2; ++i) txtFormat[i]->setObjectName(Indexed("txtFormat", i));
  for (int i = 0; i < 5; ++i) txtDefaults[i]->setObjectName(Indexed("txtDefaults", i));
  lblHint = new QLabel(frame);
  lblHint->setObjectName(QStringLiteral("lblHint"));
  lblHint->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  lblHint->setMinimumWidth(220);

  g->addWidget(Heading(QStringLiteral("Report Format"), frame), 0, 0, 1, 2);
  g->addWidget(new QLabel(QStringLiteral("Date format:"), frame), 1, 0);
  g->addWidget(txtFormat[0], 1, 1);
  g->addWidget(new QLabel(QStringLiteral("Time Format:"), frame), 2, 0);
  g->addWidget(txtFormat[1], 2, 1);
  g->addWidget(lblHint, 0, 3, 4, 1);
  g->setRowMinimumHeight(3, 12);
  g->addWidget(Heading(QStringLiteral("Name"), frame), 4, 1);
  g->addWidget(Heading(QStringLiteral("Position"), frame), 4, 2, 1, 2);
  g->addWidget(new QLabel(QStringLiteral("To:"), frame), 5, 0);
  g->addWidget(txtDefaults[0], 5, 1);
  g->addWidget(txtDefaults[1], 5, 2, 1, 2);
  g->addWidget(new QLabel(QStringLiteral("From"), frame), 6, 0);
  g->addWidget(txtDefaults[2], 6, 1);
  g->addWidget(txtDefaults[3], 6, 2, 1, 2);
  g->addWidget(new QLabel(QStringLiteral("Incident Name:"), frame), 7, 0);
  g->addWidget(txtDefaults[4], 7, 1, 1, 3);
  g->setRowStretch(8, 1);
  g->setColumnStretch(1, 1);
  g->setColumnStretch(3, 1);
}

void frmProperties::buildRemoteAccessTab(QGroupBox* frame) {
  auto* g = new QGridLayout(frame);
  for (int i = 0; i < 4; ++i) {
    txtServer[i] = new QLineEdit(frame);
    txtServer[i]->setObjectName(Indexed("txtServer", i));
  }
  cmdTest = new QPushButton(QStringLiteral("Pmdirect LinkTest"), frame);
  cmdTest->setObjectName(QStringLiteral("cmdTest"));
  // Tab order follows creation: host, port, time-out, interval, then the test button.
  g->addWidget(new QLabel(QStringLiteral("Remote Host:"), frame), 0, 0);
  g->addWidget(txtServer[0], 0, 1, 1, 2);
  g->addWidget(new QLabel(QStringLiteral("Remote Port:"), frame), 1, 0);
  g->addWidget(txtServer[1], 1, 1);
  g->addWidget(new QLabel(QStringLiteral("Network Timeout:"), frame), 2, 0);
  g->addWidget(txtServer[2], 2, 1);
  g->addWidget(new QLabel(QStringLiteral("msec"), frame), 2, 2);
  g->setRowMinimumHeight(3, 12);
  g->addWidget(Heading(QStringLiteral("Send/Receive Interval"), frame), 4, 0, 1, 3);
  g->addWidget(new QLabel(QStringLiteral("Check for new messages every"), frame), 5, 0);
  g->addWidget(txtServer[3], 5, 1);
  g->addWidget(new QLabel(QStringLiteral("seconds (min 30 secs)"), frame), 5, 2);
  g->addWidget(cmdTest, 7, 0);
  g->setRowMinimumHeight(6, 12);
  g->setRowStretch(8, 1);
  g->setColumnStretch(2, 1);
}

void frmProperties::buildReceivingTab(QGroupBox* frame) {
  auto* g = new QGridLayout(frame);
  chkPlayOnArrival = new QCheckBox(QStringLiteral("Play this sound on arrival:"), frame);
  chkPlayOnArrival->setObjectName(QStringLiteral("chkPlayOnArrival"));
  txtPlayOnArrival = new QLineEdit(frame);
  txtPlayOnArrival->setObjectName(QStringLiteral("txtPlayOnArrival"));
  // It shows the chosen file; the file is changed through Browse only.
  txtPlayOnArrival->setReadOnly(true);
  cmdBrowse = new QPushButton(QStringLiteral("Browse"), frame);
  cmdBrowse->setObjectName(QStringLiteral("cmdBrowse"));
  cmdTestWav = new QPushButton(QStringLiteral("Test"), frame);
  cmdTestWav->setObjectName(QStringLiteral("cmdTestWav"));
  g->addWidget(chkPlayOnArrival, 0, 0, 1, 3);
  g->addWidget(txtPlayOnArrival, 1, 0);
  g->addWidget(cmdBrowse, 1, 1);
  g->addWidget(cmdTestWav, 1, 2);
  g->setRowStretch(2, 1);
  g->setColumnStretch(0, 1);
}

void frmProperties::buildRoutesTab(QGroupBox* frame) {
  auto* g = new QGridLayout(frame);
  txtDefualtToRoute = new QLineEdit(frame);
  txtDefualtToRoute->setObjectName(QStringLiteral("txtDefualtToRoute"));
  chkKeepLocal = new QCheckBox(QStringLiteral("Keep all messages local to this Center / ICP"), frame);
  chkKeepLocal->setObjectName(QStringLiteral("chkKeepLocal"));
  g->addWidget(new QLabel(QStringLiteral("Destination Route ID:"), frame), 0, 0);
  g->addWidget(txtDefualtToRoute, 0, 1);
  g->addWidget(chkKeepLocal, 1, 0, 1, 3);
  g->setRowStretch(2, 1);
  g->setColumnStretch(2, 1);
}

void frmProperties::buildOtherTab(QGroupBox* frame) {
  auto* outer = new QVBoxLayout(frame);
  auto* browsing = new QGroupBox(QStringLiteral("Browsing"), frame);
  browsing->setObjectName(QStringLiteral("fraBrowsing"));
  auto* inner = new QVBoxLayout(browsing);
  optBrowse[0] = new QRadioButton(QStringLiteral("Start browsing from the beginning of the list"), browsing);
  optBrowse[1] = new QRadioButton(QStringLiteral("Start browsing from the end of the list"), browsing);
  for (int i = 0; i < 2; ++i) {
    optBrowse[i]->setObjectName(Indexed("optBrowse", i));
    inner->addWidget(optBrowse[i]);
  }
  outer->addWidget(browsing);
  outer->addStretch(1);
}

void frmProperties::Form_Load() {
  const PropertiesState st = LoadProperties(m_settings);
  for (int i = 0; i < 2; ++i) txtFormat[i]->setText(ToQ(st.txtFormat[i]));
  for (int i = 0; i < 5; ++i) txtDefaults[i]->setText(ToQ(st.txtDefaults[i]));
  for (int i = 0; i < 4; ++i) txtServer[i]->setText(ToQ(st.txtServer[i]));
  chkPlayOnArrival->setChecked(st.chkPlayOnArrival);
  m_soundPath = st.soundPath;
  txtPlayOnArrival->setText(ToQ(FileLib::GetFileName(m_soundPath)));
  chkPlayOnArrival_Click();
  chkKeepLocal->setChecked(st.chkKeepLocal);
  txtDefualtToRoute->setText(ToQ(st.txtDefualtToRoute));
  m_browseChoice = st.browseChoice;
  optBrowse[m_browseChoice]->setChecked(true);
  // The tab strip starts on tab 0 without a change signal, so the rule runs by hand.
  SSTab1->setCurrentIndex(kTabFormatting);
  SSTab1_Click(kTabFormatting);
}

PropertiesState frmProperties::readState() const {
  PropertiesState st;
  for (int i = 0; i < 2; ++i) {
    st.txtFormat[i] = FromQ(txtFormat[i]->text());
    st.formatYellow[i] = txtFormat[i]->property(kFaultProperty).toBool();
  }
  for (int i = 0; i < 5; ++i) st.txtDefaults[i] = FromQ(txtDefaults[i]->text());
  for (int i = 0; i < 4; ++i) {
    st.txtServer[i] = FromQ(txtServer[i]->text());
    st.serverYellow[i] = txtServer[i]->property(kFaultProperty).toBool();
  }
  st.chkPlayOnArrival = chkPlayOnArrival->isChecked();
  st.soundPath = m_soundPath;
  st.txtDefualtToRoute = FromQ(txtDefualtToRoute->text());
  st.chkKeepLocal = chkKeepLocal->isChecked();
  st.browseChoice = m_browseChoice;
  st.currentTab = SSTab1->currentIndex();
  st.lblHint = FromQ(lblHint->text());
  return st;
}

void frmProperties::showState(const PropertiesState& st) {
  for (int i = 0; i < 2; ++i) {
    txtFormat[i]->setText(ToQ(st.txtFormat[i]));
    setYellow(txtFormat[i], st.formatYellow[i]);
  }
  for (int i = 0; i < 4; ++i) setYellow(txtServer[i], st.serverYellow[i]);
  QString hint = ToQ(st.lblHint);
  hint.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
  lblHint->setText(hint);
  SSTab1->setCurrentIndex(st.currentTab);
  if (st.focus == PropertiesFocus::DateFormat) txtFormat[0]->setFocus();
  if (st.focus == PropertiesFocus::TimeFormat) txtFormat[1]->setFocus();
}

void frmProperties::setYellow(QLineEdit* box, bool yellow) {
  if (box->property(kFaultProperty).toBool() == yellow) return;
  box->setProperty(kFaultProperty, yellow);
  QPalette p = box->palette();
  p.setColor(QPalette::Base, yellow ? faultColor() : palette().color(QPalette::Base));
  box->setPalette(p);
}

void frmProperties::cmdOK_Click() {
  PropertiesState st = readState();
  const bool passed = CheckSettings(st, m_settings, *m_hooks.dialogs, *m_hooks.clock,
                                    [this](const PropertiesState& s) { showState(s); });
  showState(st);
  if (!passed) return;
  StoreProperties(st, m_settings);
  accept();
}

void frmProperties::SSTab1_Click(int tab) {
  for (int i = 0; i < 5; ++i) nframe[i]->setEnabled(i == tab);
  // The first control of each frame in tab order. "Other" has only its inner frame,
  // which cannot take the focus, so the focus stays where it is there.
  QWidget* first[5] = {txtFormat[0], txtServer[0], chkPlayOnArrival, txtDefualtToRoute, nullptr};
  if (tab >= 0 && tab < 5 && first[tab] != nullptr && first[tab]->isEnabled()) first[tab]->setFocus();
}

void frmProperties::chkPlayOnArrival_Click() {
  const bool on = chkPlayOnArrival->isChecked();
  txtPlayOnArrival->setEnabled(on);
  cmdBrowse->setEnabled(on);
  cmdTestWav->setEnabled(on);
}

void frmProperties::cmdBrowse_Click() {
  m_soundPath = AskForWaveFile(m_soundPath, m_hooks.dataPath, *m_hooks.dialogs);
  txtPlayOnArrival->setText(ToQ(FileLib::GetFileName(m_soundPath)));
}

void frmProperties::cmdTestWav_Click() { RunSoundTest(m_soundPath, *m_hooks.sound, *m_hooks.dialogs); }

void frmProperties::cmdTest_Click() {
  RunLinkTest(m_settings, FromQ(txtServer[0]->text()), FromQ(txtServer[1]->text()), m_hooks.pmdirectTest,
              *m_hooks.dialogs, m_hooks.clearStatus, m_hooks.sessionRunning);
}

bool frmProperties::eventFilter(QObject* watched, QEvent* event) {
  auto* box = qobject_cast<QLineEdit*>(watched);
  if (box == nullptr) return QDialog::eventFilter(watched, event);
  if (event->type() == QEvent::KeyPress) {
    if (box == txtDefualtToRoute) {
      auto* key = static_cast<QKeyEvent*>(event);
      // Capitals of the station's character set only: a capital the route could not carry
      // (µ has one only in Greek) leaves the key as typed.
      const std::string typed = FromQ(key->text());
      if (typed.size() == 1 && ToUpperCp1252(typed[0]) != typed[0]) {
        box->insert(ToQ(std::string(1, ToUpperCp1252(typed[0]))));
        return true;
      }
    }
  } else if (event->type() == QEvent::FocusIn && box != txtDefualtToRoute) {
    // After the click that gave the focus has placed the cursor.
    QTimer::singleShot(0, box, [box] { box->selectAll(); });
  }
  return QDialog::eventFilter(watched, event);
}

bool ShowProperties(QWidget* owner, Settings& settings, PropertiesHooks hooks) {
  frmProperties dialog(owner, settings, std::move(hooks));
  return dialog.exec() == QDialog::Accepted;
}

}  // namespace velnor
