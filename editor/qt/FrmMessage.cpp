// The main window's widgets: the form laid out like the paper ICS 213, the command
// column, menus, status bar, and the EditorView binding over them.
#include "editor/qt/FrmMessage.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QFocusEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QStatusBar>
#include <QStyle>
#include <QTextBlock>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <memory>
#include <vector>

#include "app/SessionLog.h"
#include "core/Cp1252.h"
#include "link/PmLink.h"
#include "platform/Dialogs.h"
#include "print/IcsPrint.h"
#include "print/PmGlobal.h"

namespace velnor {

namespace {

QString Q(const std::string& station) { return QString::fromStdString(Cp1252ToUtf8(station)); }
std::string S(const QString& q) { return Utf8ToCp1252(q.toStdString()); }

// The bodies hold CR LF in the record and plain LF in the widget.
QString ToWidgetText(const std::string& station) {
  QString q = Q(station);
  q.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
  q.replace(QChar('\r'), QChar('\n'));
  return q;
}
std::string FromWidgetText(QString q) {
  q.replace(QChar(0x2029), QChar('\n'));
  q.replace(QStringLiteral("\n"), QStringLiteral("\r\n"));
  return S(q);
}

QColor FromBgr(std::uint32_t bgr) {
  return QColor(static_cast<int>(bgr & 0xFF), static_cast<int>((bgr >> 8) & 0xFF), static_cast<int>((bgr >> 16) & 0xFF));
}

// A body that asks before its own ways put text in (its menu's Paste, a drop, the middle
// button), so the limit holds for them as for typing and the Edit menu.
class BodyEdit : public QPlainTextEdit {
 public:
  using QPlainTextEdit::QPlainTextEdit;
  std::function<bool(const QString& text, bool pasted)> mayInsert;

 protected:
  void insertFromMimeData(const QMimeData* source) override {
    const QClipboard* cb = QApplication::clipboard();
    const bool pasted =
        source == cb->mimeData(QClipboard::Clipboard) || source == cb->mimeData(QClipboard::Selection);
    if (source && source->hasText() && mayInsert && !mayInsert(source->text(), pasted)) return;
    QPlainTextEdit::insertFromMimeData(source);
  }
};

}  // namespace

void SetAlarm(QLabel* label, bool alarm) {
  QPalette p;  // none of its own: the label follows its window, greyed when disabled
  if (alarm) {
    p = label->palette();
    for (auto group : {QPalette::Active, QPalette::Inactive})
      p.setColor(group, QPalette::WindowText, QColor(0xB0, 0, 0));
  }
  label->setPalette(p);
}

FrmMessage::FrmMessage(FrmMessageDeps deps, QWidget* parent) : QMainWindow(parent), m_deps(std::move(deps)) {
  setObjectName("frmMessage");
  m_back.fill(kWindowColour);
  m_fore.fill(kBlack);
  BuildForm();
  BuildMenus();
  ConnectCommands();
  SetTabOrder();
  setWindowTitle(kProgramTitle);
  resize(980, 720);
  // A control that takes the focus is scrolled into view.
  connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
    if (now && m_scrForm->widget()->isAncestorOf(now)) m_scrForm->ensureWidgetVisible(now);
  });

  m_tmrClock = new QTimer(this);
  m_tmrClock->setObjectName("tmrClock");
  m_tmrClock->setInterval(1000);
  connect(m_tmrClock, &QTimer::timeout, this, [this] { tmrClock_Timer(); });
  m_tmrClock->start();
}

QWidget* FrmMessage::box(TextBox b) const { return m_boxes.at(b.index()); }
QLineEdit* FrmMessage::lineBox(TextBox b) const { return qobject_cast<QLineEdit*>(box(b)); }
QPlainTextEdit* FrmMessage::bodyBox(TextBox b) const { return qobject_cast<QPlainTextEdit*>(box(b)); }

std::optional<TextBox> FrmMessage::boxOf(const QObject* widget) const {
  if (!widget) return std::nullopt;
  for (Field f : kAllFields) {
    if (widget == box(f)) return f;
  }
  if (widget == box(TextBox::Route)) return TextBox::Route;
  return std::nullopt;
}

QWidget* FrmMessage::commandWidget(Command c) const { return m_commands.at(static_cast<std::size_t>(c)); }

bool FrmMessage::isCommandButton(const QObject* widget) const {
  return widget && std::find(m_commands.begin(), m_commands.end(), widget) != m_commands.end();
}

void FrmMessage::BuildForm() {
  auto* central = new QWidget(this);
  auto* outer = new QHBoxLayout(central);
  auto* form = new QGridLayout();
  form->setHorizontalSpacing(6);
  form->setVerticalSpacing(4);

  for (Field f : kAllFields) {
    QWidget* w = nullptr;
    if (f == Field::Message || f == Field::Reply) {
      auto* body = new BodyEdit(central);
      body->mayInsert = [this, f](const QString& t, bool pasted) {
        return m_editor && m_editor->AcceptInsert(f, FromWidgetText(t), pasted);
      };
      connect(body, &QPlainTextEdit::textChanged, this, [this, f] {
        if (m_editor) m_editor->txtField_Change(f);
      });
      w = body;
    } else {
      auto* line = new QLineEdit(central);
      line->setMaxLength(static_cast<int>(MessageEditor::Width(f)));
      w = line;
    }
    w->setObjectName(QString("txtField_%1").arg(FieldIndex(f)));
    w->installEventFilter(this);
    m_boxes[FieldIndex(f)] = w;
  }
  for (std::size_t i = 0; i < m_lengthCounters.size(); ++i) {
    m_lengthCounters[i] = new QLabel(central);
    m_lengthCounters[i]->setObjectName(i == 0 ? "lblMsgLength" : "lblReplyLength");
    m_lengthCounters[i]->setAccessibleName(i == 0 ? "Message length" : "Reply length");
    m_lengthCounters[i]->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  }
  auto* route = new QLineEdit(central);
  route->setMaxLength(static_cast<int>(MessageEditor::Width(TextBox::Route)));
  route->setObjectName("txtDefaultToRoute");
  route->installEventFilter(this);
  m_boxes[TextBox::Route.index()] = route;
  bodyBox(Field::Message)->setTabChangesFocus(true);
  bodyBox(Field::Reply)->setTabChangesFocus(true);
  bodyBox(Field::Message)->setMinimumHeight(160);
  bodyBox(Field::Reply)->setMinimumHeight(90);

  auto label = [&](const char* text, const char* name = nullptr) {
    auto* l = new QLabel(text, central);
    if (name) l->setObjectName(name);
    l->setStyleSheet("font-weight: bold");
    return l;
  };

  auto* heading = new QLabel("GENERAL MESSAGE (ICS 213)", central);
  heading->setAlignment(Qt::AlignCenter);
  heading->setStyleSheet("font-weight: bold; font-size: 14pt");
  int row = 0;
  form->addWidget(heading, row++, 0, 1, 4);
  form->addWidget(label("INCIDENT NAME:"), row, 0);
  form->addWidget(box(Field::IncidentName), row++, 1, 1, 3);
  form->addWidget(label("TO:"), row, 0);
  form->addWidget(box(Field::To), row, 1);
  form->addWidget(label("POSITION:"), row, 2);
  form->addWidget(box(Field::ToPos), row++, 3);
  form->addWidget(label("FROM:"), row, 0);
  form->addWidget(box(Field::From), row, 1);
  form->addWidget(label("POSITION:"), row, 2);
  form->addWidget(box(Field::FromPos), row++, 3);
  form->addWidget(label("SUBJECT:"), row, 0);
  form->addWidget(box(Field::Subject), row, 1);
  form->addWidget(label("DATE / TIME:"), row, 2);
  form->addWidget(box(Field::Date), row++, 3);
  form->addWidget(label("MESSAGE:"), row, 0, 1, 3);
  form->addWidget(m_lengthCounters[0], row++, 3);
  form->addWidget(box(Field::Message), row, 0, 1, 4);
  form->setRowStretch(row++, 3);
  form->addWidget(label("SIGNATURE:"), row, 0);
  form->addWidget(box(Field::Signature), row, 1);
  form->addWidget(label("POSITION:"), row, 2);
  form->addWidget(box(Field::SignaturePos), row++, 3);
  m_lblRep[0] = label("REPLY:", "lblRep_0");
  m_lblRep[1] = label("SIGNATURE:", "lblRep_1");
  m_lblRep[2] = label("POSITION:", "lblRep_2");
  form->addWidget(m_lblRep[0], row, 0, 1, 3);
  form->addWidget(m_lengthCounters[1], row++, 3);
  form->addWidget(box(Field::Reply), row, 0, 1, 4);
  form->setRowStretch(row++, 2);
  form->addWidget(m_lblRep[1], row, 0);
  form->addWidget(box(Field::ReplySignature), row, 1);
  form->addWidget(m_lblRep[2], row, 2);
  form->addWidget(box(Field::ReplyPos), row++, 3);
  form->addWidget(label("DATE / TIME:"), row, 2);
  form->addWidget(box(Field::ReplyDate), row++, 3);
  form->setColumnStretch(1, 3);
  form->setColumnStretch(3, 2);

  auto* formColumn = new QVBoxLayout();
  formColumn->addLayout(form, 1);
  m_lblMsgInfo = new QLabel(central);
  m_lblMsgInfo->setObjectName("lblMsgInfo");
  m_lblMsgInfo->setFrameShape(QFrame::StyledPanel);
  m_lblMsgInfo->setMinimumHeight(22);
  formColumn->addWidget(m_lblMsgInfo);
  outer->addLayout(formColumn, 1);

  // The command column.
  auto* side = new QVBoxLayout();
  auto button = [&](Command c, const char* name, const char* caption) {
    auto* b = new QPushButton(caption, central);
    b->setObjectName(name);
    b->installEventFilter(this);
    m_commands[static_cast<std::size_t>(c)] = b;
    return b;
  };
  // Mnemonics keep clear of the menu bar's Alt+F, S, E, V and H.
  side->addWidget(button(Command::cmdNew, "cmdNew", "&New"));
  side->addWidget(button(Command::cmdEdit, "cmdEdit", "Ed&it"));
  side->addWidget(button(Command::cmdReply, "cmdReply", "&Reply"));
  side->addWidget(button(Command::cmdSave, "cmdSave", "S&ave"));
  side->addWidget(button(Command::cmdSend, "cmdSend", "Sen&d"));
  side->addWidget(button(Command::cmdDelete, "cmdDelete", "De&lete"));
  side->addWidget(button(Command::cmdClose, "cmdClose", "&Close"));
  side->addSpacing(12);
  side->addWidget(button(Command::cmdBrowse, "cmdBrowse", "&Browse"));
  auto* arrows = new QHBoxLayout();
  arrows->addWidget(button(Command::cmdBLeft, "cmdBLeft", "<"));
  arrows->addWidget(button(Command::cmdBRight, "cmdBRight", ">"));
  commandWidget(Command::cmdBLeft)->setAccessibleName("Previous message");
  commandWidget(Command::cmdBRight)->setAccessibleName("Next message");
  qobject_cast<QPushButton*>(commandWidget(Command::cmdBLeft))->setShortcut(QKeySequence("Alt+Left"));
  qobject_cast<QPushButton*>(commandWidget(Command::cmdBRight))->setShortcut(QKeySequence("Alt+Right"));
  side->addLayout(arrows);
  m_lblBrowsePtr = new QLabel(central);
  m_lblBrowsePtr->setObjectName("lblBrowsePtr");
  m_lblBrowsePtr->setAlignment(Qt::AlignCenter);
  side->addWidget(m_lblBrowsePtr);
  side->addSpacing(12);
  side->addWidget(button(Command::cmdSetFieldsAsDefault, "cmdSetFieldsAsDefault", "Set Fields as Defa&ult"));
  side->addSpacing(12);

  m_frame2 = new QGroupBox("Routing", central);
  m_frame2->setObjectName("Frame2");
  auto* routing = new QVBoxLayout(m_frame2);
  routing->addWidget(new QLabel("Destination Route ID:", m_frame2));
  routing->addWidget(route);
  // A check box cannot wrap its own caption, and the long one is wider than the command
  // column: a wrapping label inside the box shows it, is greyed with the box, and passes
  // its clicks on (eventFilter).
  const QString keepCaption = "Keep this message local to this Command / ICP";
  m_chkKeepLocal = new QCheckBox(m_frame2);
  m_chkKeepLocal->setObjectName("chkKeepLocal");
  m_chkKeepLocal->setAccessibleName(keepCaption);
  auto* keepText = new QLabel(keepCaption, m_chkKeepLocal);
  keepText->setObjectName("lblKeepLocal");
  keepText->setWordWrap(true);
  keepText->installEventFilter(this);
  QSizePolicy keepPolicy(QSizePolicy::Preferred, QSizePolicy::Minimum);
  keepPolicy.setHeightForWidth(true);
  m_chkKeepLocal->setSizePolicy(keepPolicy);
  auto* keepLayout = new QHBoxLayout(m_chkKeepLocal);
  const int indicator = m_chkKeepLocal->style()->pixelMetric(QStyle::PM_IndicatorWidth) +
                        m_chkKeepLocal->style()->pixelMetric(QStyle::PM_CheckBoxLabelSpacing);
  keepLayout->setContentsMargins(indicator + 2, 0, 0, 0);
  keepLayout->addWidget(keepText);
  auto* keepRow = new QHBoxLayout();
  keepRow->addWidget(m_chkKeepLocal);
  routing->addLayout(keepRow);
  side->addWidget(m_frame2);
  side->addStretch(1);
  auto* sideWidget = new QWidget(central);
  sideWidget->setLayout(side);
  sideWidget->setFixedWidth(230);
  outer->addWidget(sideWidget);
  // On a small screen the form scrolls instead of being cut off.
  m_scrForm = new QScrollArea(this);
  m_scrForm->setObjectName("scrForm");
  m_scrForm->setFrameShape(QFrame::NoFrame);
  m_scrForm->setFocusPolicy(Qt::NoFocus);
  m_scrForm->setWidgetResizable(true);
  m_scrForm->setWidget(central);
  setCentralWidget(m_scrForm);

  m_panelStatus = new QLabel(this);
  m_panelStatus->setObjectName("Status");
  m_panelNetState = new QLabel(this);
  m_panelNetState->setObjectName("NetState");
  m_panelNetState->setMinimumWidth(110);
  m_panelCurrentTime = new QLabel(this);
  m_panelCurrentTime->setObjectName("CurrentTime");
  m_panelCurrentTime->setMinimumWidth(80);
  statusBar()->setObjectName("sbrStatus");
  statusBar()->addWidget(m_panelStatus, 1);
  statusBar()->addPermanentWidget(m_panelNetState);
  statusBar()->addPermanentWidget(m_panelCurrentTime);

  // A screen reader names each box after its label (its buddy); the names below also
  // tell the four POSITION boxes apart.
  static const char* const kAccessibleNames[kFieldCount] = {
      "To",          "To position",     "From",           "From position",      "Subject",
      "Date / time", "Message",         "Signature",      "Signature position", "Incident name",
      "Reply",       "Reply signature", "Reply position", "Reply date / time"};
  for (const Field f : kAllFields) {
    int r = 0, c = 0, rs = 0, cs = 0;
    form->getItemPosition(form->indexOf(box(f)), &r, &c, &rs, &cs);
    // The label stands left of its box, or above the two bodies.
    QLayoutItem* item = c > 0 ? form->itemAtPosition(r, c - 1) : form->itemAtPosition(r - 1, 0);
    if (auto* l = item ? qobject_cast<QLabel*>(item->widget()) : nullptr) l->setBuddy(box(f));
    box(f)->setAccessibleName(kAccessibleNames[FieldIndex(f)]);
  }
  qobject_cast<QLabel*>(routing->itemAt(0)->widget())->setBuddy(route);
  route->setAccessibleName("Destination Route ID");
}

void FrmMessage::BuildMenus() {
  auto action = [&](QMenu* menu, const char* name, const char* caption) {
    auto* a = menu->addAction(caption);
    a->setObjectName(name);
    return a;
  };
  QMenu* file = menuBar()->addMenu("&File");
  file->setObjectName("mnuFile");
  QAction* open = action(file, "mnuOpen", "&Open...");
  QAction* save = action(file, "mnuSave", "&Save");
  save->setShortcut(QKeySequence::Save);
  m_mnuSaveAs = action(file, "mnuSaveAs", "Save&As...");
  m_mnuSaveAs->setEnabled(false);
  m_mnuSaveAs->setVisible(false);
  file->addSeparator();
  QAction* print = action(file, "mnuPrint", "&Print...");
  print->setShortcut(QKeySequence::Print);
  QAction* printSetup = action(file, "mnuPrintSetup", "Print Set&up...");
  QAction* commLog = action(file, "mnuCommLog", "Communications &Log (ICS 309)...");
  file->addSeparator();
  QAction* exit = action(file, "mnuExit", "&Exit");

  QMenu* setup = menuBar()->addMenu("&Setup");
  setup->setObjectName("mnuSetup");
  QAction* properties = action(setup, "mnuProperties", "P&roperties...");
  QAction* identifier = action(setup, "mnuIdentifier", "&Identifier...");

  QMenu* edit = menuBar()->addMenu("&Edit");
  edit->setObjectName("mnuEdit");
  QAction* cut = action(edit, "MnuCut", "Cu&t");
  cut->setShortcut(QKeySequence("Ctrl+X"));
  QAction* copy = action(edit, "mnuCopy", "&Copy");
  copy->setShortcut(QKeySequence("Ctrl+C"));
  QAction* paste = action(edit, "mnuPaste", "&Paste");
  paste->setShortcut(QKeySequence("Ctrl+V"));

  QMenu* view = menuBar()->addMenu("&View");
  view->setObjectName("mnuView");
  QAction* msgList = action(view, "mnuMsgList", "Message &List");
  msgList->setShortcut(QKeySequence("Ctrl+L"));
  QAction* sessionLog = action(view, "mnuSessionLog", "&Session Log");
  // New has no menu item: its key presses the button, whose state follows the editor.
  auto* newKey = new QShortcut(QKeySequence::New, this);
  connect(newKey, &QShortcut::activated, this, [this] {
    if (commandWidget(Command::cmdNew)->isEnabled())
      qobject_cast<QPushButton*>(commandWidget(Command::cmdNew))->click();
  });

  QMenu* help = menuBar()->addMenu("&Help");
  help->setObjectName("munHelp");
  QAction* guide = action(help, "mnuGuide", "Operator's &Guide");
  guide->setShortcut(QKeySequence::HelpContents);
  QAction* shortcuts = action(help, "mnuShortcuts", "&Keyboard Shortcuts");
  help->addSeparator();
  QAction* about = action(help, "mnuAbout", "&About");

  // The three file items whose availability follows the editor are tracked as commands;
  // their QActions are found through the menu.
  m_commandActions = {print, save, open};
  connect(open, &QAction::triggered, this, [this] { if (m_editor) m_editor->mnuOpen_Click(); });
  connect(save, &QAction::triggered, this, [this] {
    if (!m_editor) return;
    m_editor->cmdSave_Click();
    StoreTouched({m_editor->CurrentMsgNo()});
  });
  connect(msgList, &QAction::triggered, this, [this] { mnuMsgList_Click(); });
  connect(print, &QAction::triggered, this, [this] { mnuPrint_Click(); });
  connect(printSetup, &QAction::triggered, this, [this] { mnuPrintSetup_Click(); });
  connect(commLog, &QAction::triggered, this, [this] { mnuCommLog_Click(); });
  connect(exit, &QAction::triggered, this, [this] { close(); });
  connect(properties, &QAction::triggered, this, [this] { mnuProperties_Click(); });
  connect(identifier, &QAction::triggered, this, [this] { if (m_editor) m_editor->mnuIdentifier_Click(); });
  connect(cut, &QAction::triggered, this, [this] { if (m_editor) m_editor->MnuCut_Click(); });
  connect(copy, &QAction::triggered, this, [this] { if (m_editor) m_editor->mnuCopy_Click(); });
  connect(paste, &QAction::triggered, this, [this] { if (m_editor) m_editor->mnuPaste_Click(); });
  connect(about, &QAction::triggered, this, [this] { mnuAbout_Click(); });
  connect(sessionLog, &QAction::triggered, this, [this] { mnuSessionLog_Click(); });
  connect(guide, &QAction::triggered, this, [this] { mnuGuide_Click(); });
  connect(shortcuts, &QAction::triggered, this, [this] { mnuShortcuts_Click(); });
}

void FrmMessage::ConnectCommands() {
  auto wire = [&](Command c, void (MessageEditor::*handler)()) {
    auto* b = qobject_cast<QPushButton*>(commandWidget(c));
    connect(b, &QPushButton::clicked, this, [this, handler] {
      if (!m_editor) return;
      // The message the form held before (Delete removes it) and the one it holds now.
      const std::int32_t before = m_editor->CurrentMsgNo();
      (m_editor.get()->*handler)();
      if (m_editor) StoreTouched({before, m_editor->CurrentMsgNo()});
    });
  };
  wire(Command::cmdNew, &MessageEditor::cmdNew_Click);
  wire(Command::cmdEdit, &MessageEditor::cmdEdit_Click);
  wire(Command::cmdReply, &MessageEditor::cmdReply_Click);
  wire(Command::cmdSave, &MessageEditor::cmdSave_Click);
  wire(Command::cmdSend, &MessageEditor::cmdSend_Click);
  wire(Command::cmdDelete, &MessageEditor::cmdDelete_Click);
  wire(Command::cmdClose, &MessageEditor::cmdClose_Click);
  wire(Command::cmdBrowse, &MessageEditor::cmdBrowse_Click);
  wire(Command::cmdBLeft, &MessageEditor::cmdBLeft_Click);
  wire(Command::cmdBRight, &MessageEditor::cmdBRight_Click);
  wire(Command::cmdSetFieldsAsDefault, &MessageEditor::cmdSetFieldsAsDefault_Click);
}

// The paper form's order, then the reply, the routing box and the commands last. Locked
// and disabled fields drop out of the chain by themselves.
void FrmMessage::SetTabOrder() {
  std::vector<QWidget*> chain;
  for (Field f : {Field::IncidentName, Field::To, Field::ToPos, Field::From, Field::FromPos, Field::Subject,
                  Field::Date, Field::Message, Field::Signature, Field::SignaturePos, Field::Reply,
                  Field::ReplySignature, Field::ReplyPos, Field::ReplyDate})
    chain.push_back(box(f));
  chain.push_back(box(TextBox::Route));
  chain.push_back(m_chkKeepLocal);
  for (Command c : {Command::cmdNew, Command::cmdEdit, Command::cmdReply, Command::cmdSave, Command::cmdSend,
                    Command::cmdDelete, Command::cmdClose, Command::cmdBrowse, Command::cmdBLeft,
                    Command::cmdBRight, Command::cmdSetFieldsAsDefault})
    chain.push_back(commandWidget(c));
  for (std::size_t i = 1; i < chain.size(); ++i) setTabOrder(chain[i - 1], chain[i]);
}

// Typing goes on after a Tab without looking, so a Space must not press the button a Tab
// happened to land on: the button takes it only when the operator chose it, by a click or
// by a Tab pressed on another button. Focus the program moves (after Send, or off a button
// that was just disabled) chooses nothing. Buttons stay in the Tab chain for the keyboard.
bool FrmMessage::CommandButtonEvent(QObject* button, QEvent* event) {
  switch (event->type()) {
    case QEvent::FocusIn: {
      const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
      if (reason == Qt::MouseFocusReason ||
          ((reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason) && m_tabOnButton))
        m_armedButton = button;
      else if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason)
        m_armedButton = nullptr;
      m_tabOnButton = false;
      return false;
    }
    case QEvent::KeyPress:
    case QEvent::KeyRelease: {
      auto* k = static_cast<QKeyEvent*>(event);
      // Qt moves the focus while it handles this press; whatever moves it later is not this Tab.
      if (k->key() == Qt::Key_Tab || k->key() == Qt::Key_Backtab) {
        if (event->type() == QEvent::KeyPress) {
          m_tabOnButton = true;
          QTimer::singleShot(0, this, [this] { m_tabOnButton = false; });
        }
        return false;
      }
      if ((k->key() != Qt::Key_Space && k->key() != Qt::Key_Select) || m_armedButton == button) return false;
      // Not silent: the operator hears that the key did nothing.
      if (event->type() == QEvent::KeyPress && !k->isAutoRepeat()) m_deps.dialogs.beep();
      return true;
    }
    default:
      return false;
  }
}

bool FrmMessage::eventFilter(QObject* watched, QEvent* event) {
  if (isCommandButton(watched))
    return CommandButtonEvent(watched, event) || QMainWindow::eventFilter(watched, event);
  if (watched->parent() == m_chkKeepLocal && event->type() == QEvent::MouseButtonRelease &&
      static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
    m_chkKeepLocal->click();
    return true;
  }
  const std::optional<TextBox> b = boxOf(watched);
  if (!b || !m_editor) return QMainWindow::eventFilter(watched, event);

  switch (event->type()) {
    case QEvent::ShortcutOverride: {
      // Cut, copy and paste go to the Edit menu, whose commands follow the editor's rules.
      auto* k = static_cast<QKeyEvent*>(event);
      if (k->matches(QKeySequence::Copy) || k->matches(QKeySequence::Cut) || k->matches(QKeySequence::Paste)) {
        event->ignore();
        return true;
      }
      break;
    }
    case QEvent::KeyPress: {
      auto* k = static_cast<QKeyEvent*>(event);
      const QString typed = k->text();
      if (typed.isEmpty() || k->key() == Qt::Key_Tab || k->key() == Qt::Key_Backtab) break;
      if (b->isField()) {
        // What the key would put in the box: a line break, printable text, or nothing.
        const bool lineBreak = k->key() == Qt::Key_Return || k->key() == Qt::Key_Enter;
        const bool printable = std::all_of(typed.begin(), typed.end(), [](QChar c) { return c.isPrint(); });
        const std::size_t length = lineBreak ? (bodyBox(*b) ? 2 : 0) : printable ? S(typed).size() : 0;
        if (!m_editor->txtField_KeyPress(b->field(), length)) return true;
        break;
      }
      const std::string ch = S(typed);
      if (ch.size() == 1 && ch[0] != MessageEditor::txtDefaultToRoute_KeyPress(ch[0])) {
        lineBox(TextBox::Route)->insert(Q(std::string(1, MessageEditor::txtDefaultToRoute_KeyPress(ch[0]))));
        return true;
      }
      break;
    }
    case QEvent::InputMethod: {
      const std::string commit = S(static_cast<QInputMethodEvent*>(event)->commitString());
      if (b->isField() && !commit.empty() &&
          !m_editor->txtField_KeyPress(b->field(), MessageEditor::LengthIn(*b, commit)))
        return true;
      break;
    }
    // A line box's own ways of putting text in: refused whole when the text would not fit,
    // where the box itself would cut it at its limit. (A body asks in BodyEdit.)
    case QEvent::ContextMenu: {
      QLineEdit* line = lineBox(*b);
      if (!line) break;
      std::unique_ptr<QMenu> menu(line->createStandardContextMenu());
      for (QAction* paste : menu->actions()) {
        if (paste->objectName() != "edit-paste" &&
            paste->text().section('\t', 0, 0) != QLineEdit::tr("&Paste"))
          continue;
        disconnect(paste, &QAction::triggered, nullptr, nullptr);
        connect(paste, &QAction::triggered, this,
                [this, box = *b] { m_editor->PasteInto(box, clipboardText()); });
      }
      menu->exec(static_cast<QContextMenuEvent*>(event)->globalPos());
      return true;
    }
    case QEvent::Drop: {
      auto* drop = static_cast<QDropEvent*>(event);
      if (lineBox(*b) && drop->mimeData()->hasText() &&
          !m_editor->AcceptInsert(*b, S(drop->mimeData()->text()), false)) {
        drop->ignore();
        return true;
      }
      break;
    }
    case QEvent::MouseButtonRelease: {
      QLineEdit* line = lineBox(*b);
      if (line && !line->isReadOnly() && static_cast<QMouseEvent*>(event)->button() == Qt::MiddleButton &&
          QApplication::clipboard()->supportsSelection()) {
        line->deselect();
        m_editor->PasteInto(*b, S(QApplication::clipboard()->text(QClipboard::Selection)));
        return true;
      }
      break;
    }
    case QEvent::FocusIn: {
      auto reason = static_cast<QFocusEvent*>(event)->reason();
      if (b->isField() && reason != Qt::PopupFocusReason && reason != Qt::ActiveWindowFocusReason) {
        // After the widget's own handling, which would move the cursor again.
        QTimer::singleShot(0, this, [this, field = b->field()] {
          if (m_editor && focusWidget() == box(field)) m_editor->txtField_GotFocus(field);
        });
      }
      break;
    }
    case QEvent::FocusOut: {
      auto reason = static_cast<QFocusEvent*>(event)->reason();
      if (b->isField() && reason != Qt::PopupFocusReason && reason != Qt::ActiveWindowFocusReason)
        m_editor->txtField_LostFocus(b->field());
      break;
    }
    default:
      break;
  }
  return QMainWindow::eventFilter(watched, event);
}

// ---- EditorView ----

std::string FrmMessage::text(TextBox b) const {
  if (auto* p = bodyBox(b)) return FromWidgetText(p->toPlainText());
  return S(lineBox(b)->text());
}

void FrmMessage::setText(TextBox b, const std::string& t) {
  if (auto* p = bodyBox(b)) {
    p->setPlainText(ToWidgetText(t));
  } else {
    lineBox(b)->setText(Q(t));
    lineBox(b)->setCursorPosition(0);
  }
}

bool FrmMessage::readOnly(TextBox b) const {
  if (auto* p = bodyBox(b)) return p->isReadOnly();
  return lineBox(b)->isReadOnly();
}

void FrmMessage::setReadOnly(TextBox b, bool on) {
  if (auto* p = bodyBox(b)) {
    p->setReadOnly(on);
    // Keep keyboard selection in a locked body, as in a locked line.
    if (on) p->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  } else {
    lineBox(b)->setReadOnly(on);
  }
}

void FrmMessage::setTabStop(TextBox b, bool on) {
  box(b)->setFocusPolicy(on ? Qt::StrongFocus : Qt::ClickFocus);
}

void FrmMessage::setEnabled(TextBox b, bool on) { box(b)->setEnabled(on); }

std::uint32_t FrmMessage::backColour(TextBox b) const { return m_back.at(b.index()); }

void FrmMessage::setBackColour(TextBox b, std::uint32_t colour) {
  m_back.at(b.index()) = colour;
  ApplyColours(b);
}

void FrmMessage::setForeColour(TextBox b, std::uint32_t colour) {
  m_fore.at(b.index()) = colour;
  ApplyColours(b);
}

void FrmMessage::ApplyColours(TextBox b) {
  QWidget* w = box(b);
  QPalette pal = QApplication::palette(w);
  const std::uint32_t back = m_back.at(b.index());
  if (back != kWindowColour) pal.setColor(QPalette::Base, FromBgr(back));
  const QColor fore = FromBgr(m_fore.at(b.index()));
  pal.setColor(QPalette::Active, QPalette::Text, fore);
  pal.setColor(QPalette::Inactive, QPalette::Text, fore);
  w->setPalette(pal);
}

int FrmMessage::selStart(TextBox b) const {
  if (auto* p = bodyBox(b)) {
    const int pos = p->textCursor().selectionStart();
    // Each line break before the cursor is CR LF in station text.
    return pos + static_cast<int>(p->toPlainText().left(pos).count(QChar('\n')));
  }
  QLineEdit* l = lineBox(b);
  return l->hasSelectedText() ? l->selectionStart() : l->cursorPosition();
}

std::string FrmMessage::selectedText(TextBox b) const {
  if (auto* p = bodyBox(b)) return FromWidgetText(p->textCursor().selectedText());
  return S(lineBox(b)->selectedText());
}

void FrmMessage::replaceSelection(TextBox b, const std::string& t) {
  if (auto* p = bodyBox(b)) {
    QTextCursor c = p->textCursor();
    c.insertText(ToWidgetText(t));
    p->setTextCursor(c);
    return;
  }
  QLineEdit* l = lineBox(b);
  QString s = l->text();
  int start = l->hasSelectedText() ? l->selectionStart() : l->cursorPosition();
  int len = l->hasSelectedText() ? static_cast<int>(l->selectedText().size()) : 0;
  const QString ins = Q(t);
  s.replace(start, len, ins);
  l->setText(s);
  l->setCursorPosition(start + static_cast<int>(ins.size()));
}

void FrmMessage::selectAll(TextBox b) {
  if (auto* p = bodyBox(b)) p->selectAll();
  else lineBox(b)->selectAll();
}

bool FrmMessage::keepLocal() const { return m_chkKeepLocal->isChecked(); }
void FrmMessage::setKeepLocal(bool on) { m_chkKeepLocal->setChecked(on); }
void FrmMessage::setKeepLocalEnabled(bool on) { m_chkKeepLocal->setEnabled(on); }
void FrmMessage::setReplyLabelsEnabled(bool on) {
  for (QLabel* l : m_lblRep) l->setEnabled(on);
  m_lengthCounters[1]->setEnabled(on);
}

void FrmMessage::setCommandEnabled(Command c, bool on) {
  if (QWidget* w = commandWidget(c)) w->setEnabled(on);
  else m_commandActions.at(static_cast<std::size_t>(c))->setEnabled(on);
}

bool FrmMessage::commandEnabled(Command c) const {
  if (QWidget* w = commandWidget(c)) return w->isEnabled();
  return m_commandActions.at(static_cast<std::size_t>(c))->isEnabled();
}

void FrmMessage::focusBox(TextBox b) { box(b)->setFocus(Qt::OtherFocusReason); }
void FrmMessage::focusCommand(Command c) {
  if (QWidget* w = commandWidget(c)) w->setFocus(Qt::OtherFocusReason);
}

std::optional<TextBox> FrmMessage::focusedBox() const { return boxOf(focusWidget()); }

void FrmMessage::setMsgInfo(const std::string& t) { m_lblMsgInfo->setText(Q(t)); }
void FrmMessage::setLengthCounter(Field body, const std::string& t, bool full) {
  QLabel* counter = m_lengthCounters.at(body == Field::Message ? 0 : 1);
  counter->setText(Q(t));
  SetAlarm(counter, full);
}
void FrmMessage::setBrowsePtr(const std::string& t) { m_lblBrowsePtr->setText(Q(t)); }
void FrmMessage::setStatus(const std::string& t) { m_panelStatus->setText(Q(t)); }
std::string FrmMessage::status() const { return S(m_panelStatus->text()); }
void FrmMessage::setCaption(const std::string& t) { setWindowTitle(Q(t)); }

void FrmMessage::clearClipboard() { QApplication::clipboard()->clear(); }
void FrmMessage::setClipboardText(const std::string& t) { QApplication::clipboard()->setText(Q(t)); }
std::string FrmMessage::clipboardText() const { return S(QApplication::clipboard()->text()); }

}  // namespace velnor
