// The main window's widgets: the form laid out like the paper ICS 213, the command
// column, menus, status bar, and the EditorView binding over them.
#include "editor/qt/FrmMessage.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QFocusEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QShortcut>
#include <QStatusBar>
#include <QStyle>
#include <QTextBlock>
#include <QTimer>
#include <QVBoxLayout>

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

}  // namespace

FrmMessage::FrmMessage(FrmMessageDeps deps, QWidget* parent) : QMainWindow(parent), m_deps(std::move(deps)) {
  setObjectName("frmMessage");
  m_back.fill(kWindowColour);
  m_fore.fill(kBlack);
  BuildForm();
  BuildMenus();
  ConnectCommands();
  setWindowTitle(kProgramTitle);
  resize(980, 720);

  m_tmrClock = new QTimer(this);
  m_tmrClock->setObjectName("tmrClock");
  m_tmrClock->setInterval(1000);
  connect(m_tmrClock, &QTimer::timeout, this, [this] { tmrClock_Timer(); });
  m_tmrClock->start();
}

QWidget* FrmMessage::box(int index) const { return m_boxes.at(static_cast<std::size_t>(index)); }
QLineEdit* FrmMessage::lineBox(int index) const { return qobject_cast<QLineEdit*>(box(index)); }
QPlainTextEdit* FrmMessage::bodyBox(int index) const { return qobject_cast<QPlainTextEdit*>(box(index)); }
QWidget* FrmMessage::commandWidget(Command c) const { return m_commands.at(static_cast<std::size_t>(c)); }

void FrmMessage::BuildForm() {
  auto* central = new QWidget(this);
  auto* outer = new QHBoxLayout(central);
  auto* form = new QGridLayout();
  form->setHorizontalSpacing(6);
  form->setVerticalSpacing(4);

  for (int i = 0; i < kFieldCount; ++i) {
    QWidget* w = (i == 6 || i == 10) ? static_cast<QWidget*>(new QPlainTextEdit(central))
                                     : static_cast<QWidget*>(new QLineEdit(central));
    w->setObjectName(QString("txtField_%1").arg(i));
    w->installEventFilter(this);
    m_boxes[static_cast<std::size_t>(i)] = w;
  }
  auto* route = new QLineEdit(central);
  route->setObjectName("txtDefaultToRoute");
  route->installEventFilter(this);
  m_boxes[kRouteBox] = route;
  bodyBox(6)->setTabChangesFocus(true);
  bodyBox(10)->setTabChangesFocus(true);
  bodyBox(6)->setMinimumHeight(160);
  bodyBox(10)->setMinimumHeight(90);

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
  form->addWidget(box(9), row++, 1, 1, 3);
  form->addWidget(label("TO:"), row, 0);
  form->addWidget(box(0), row, 1);
  form->addWidget(label("POSITION:"), row, 2);
  form->addWidget(box(1), row++, 3);
  form->addWidget(label("FROM:"), row, 0);
  form->addWidget(box(2), row, 1);
  form->addWidget(label("POSITION:"), row, 2);
  form->addWidget(box(3), row++, 3);
  form->addWidget(label("SUBJECT:"), row, 0);
  form->addWidget(box(4), row, 1);
  form->addWidget(label("DATE / TIME:"), row, 2);
  form->addWidget(box(5), row++, 3);
  form->addWidget(label("MESSAGE:"), row++, 0, 1, 4);
  form->addWidget(box(6), row, 0, 1, 4);
  form->setRowStretch(row++, 3);
  form->addWidget(label("SIGNATURE:"), row, 0);
  form->addWidget(box(7), row, 1);
  form->addWidget(label("POSITION:"), row, 2);
  form->addWidget(box(8), row++, 3);
  m_lblRep[0] = label("REPLY:", "lblRep_0");
  m_lblRep[1] = label("SIGNATURE:", "lblRep_1");
  m_lblRep[2] = label("POSITION:", "lblRep_2");
  form->addWidget(m_lblRep[0], row++, 0, 1, 4);
  form->addWidget(box(10), row, 0, 1, 4);
  form->setRowStretch(row++, 2);
  form->addWidget(m_lblRep[1], row, 0);
  form->addWidget(box(11), row, 1);
  form->addWidget(m_lblRep[2], row, 2);
  form->addWidget(box(12), row++, 3);
  form->addWidget(label("DATE / TIME:"), row, 2);
  form->addWidget(box(13), row++, 3);
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
  setCentralWidget(central);

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
  for (int i = 0; i < kFieldCount; ++i) {
    int r = 0, c = 0, rs = 0, cs = 0;
    form->getItemPosition(form->indexOf(box(i)), &r, &c, &rs, &cs);
    // The label stands left of its box, or above the two bodies.
    QLayoutItem* item = c > 0 ? form->itemAtPosition(r, c - 1) : form->itemAtPosition(r - 1, 0);
    if (auto* l = item ? qobject_cast<QLabel*>(item->widget()) : nullptr) l->setBuddy(box(i));
    box(i)->setAccessibleName(kAccessibleNames[i]);
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
  // New has no menu item: its key presses the button, whose state follows the editor.
  auto* newKey = new QShortcut(QKeySequence::New, this);
  connect(newKey, &QShortcut::activated, this, [this] {
    if (commandWidget(Command::cmdNew)->isEnabled())
      qobject_cast<QPushButton*>(commandWidget(Command::cmdNew))->click();
  });

  QMenu* help = menuBar()->addMenu("&Help");
  help->setObjectName("munHelp");
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
  connect(exit, &QAction::triggered, this, [this] { close(); });
  connect(properties, &QAction::triggered, this, [this] { mnuProperties_Click(); });
  connect(identifier, &QAction::triggered, this, [this] { if (m_editor) m_editor->mnuIdentifier_Click(); });
  connect(cut, &QAction::triggered, this, [this] { if (m_editor) m_editor->MnuCut_Click(); });
  connect(copy, &QAction::triggered, this, [this] { if (m_editor) m_editor->mnuCopy_Click(); });
  connect(paste, &QAction::triggered, this, [this] { if (m_editor) m_editor->mnuPaste_Click(); });
  connect(about, &QAction::triggered, this, [this] { mnuAbout_Click(); });
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

bool FrmMessage::eventFilter(QObject* watched, QEvent* event) {
  if (watched->parent() == m_chkKeepLocal && event->type() == QEvent::MouseButtonRelease &&
      static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
    m_chkKeepLocal->click();
    return true;
  }
  int index = -1;
  for (int i = 0; i <= kRouteBox; ++i) {
    if (watched == m_boxes[static_cast<std::size_t>(i)]) index = i;
  }
  if (index < 0 || !m_editor) return QMainWindow::eventFilter(watched, event);

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
      if (index == kRouteBox) {
        const std::string ch = S(typed);
        if (ch.size() == 1 && ch[0] != MessageEditor::txtDefaultToRoute_KeyPress(ch[0])) {
          lineBox(kRouteBox)->insert(Q(std::string(1, MessageEditor::txtDefaultToRoute_KeyPress(ch[0]))));
          return true;
        }
        break;
      }
      m_editor->txtField_KeyPress(index);
      break;
    }
    case QEvent::FocusIn: {
      auto reason = static_cast<QFocusEvent*>(event)->reason();
      if (index < kFieldCount && reason != Qt::PopupFocusReason && reason != Qt::ActiveWindowFocusReason) {
        // After the widget's own handling, which would move the cursor again.
        QTimer::singleShot(0, this, [this, index] {
          if (m_editor && focusWidget() == box(index)) m_editor->txtField_GotFocus(index);
        });
      }
      break;
    }
    case QEvent::FocusOut: {
      auto reason = static_cast<QFocusEvent*>(event)->reason();
      if (index < kFieldCount && reason != Qt::PopupFocusReason && reason != Qt::ActiveWindowFocusReason)
        m_editor->txtField_LostFocus(index);
      break;
    }
    default:
      break;
  }
  return QMainWindow::eventFilter(watched, event);
}

// ---- EditorView ----

std::string FrmMessage::text(int b) const {
  if (auto* p = bodyBox(b)) return FromWidgetText(p->toPlainText());
  return S(lineBox(b)->text());
}

void FrmMessage::setText(int b, const std::string& t) {
  if (auto* p = bodyBox(b)) {
    p->setPlainText(ToWidgetText(t));
  } else {
    lineBox(b)->setText(Q(t));
    lineBox(b)->setCursorPosition(0);
  }
}

bool FrmMessage::readOnly(int b) const {
  if (auto* p = bodyBox(b)) return p->isReadOnly();
  return lineBox(b)->isReadOnly();
}

void FrmMessage::setReadOnly(int b, bool on) {
  if (auto* p = bodyBox(b)) {
    p->setReadOnly(on);
    // Keep keyboard selection in a locked body, as in a locked line.
    if (on) p->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  } else {
    lineBox(b)->setReadOnly(on);
  }
}

void FrmMessage::setTabStop(int b, bool on) { box(b)->setFocusPolicy(on ? Qt::StrongFocus : Qt::ClickFocus); }

void FrmMessage::setEnabled(int b, bool on) { box(b)->setEnabled(on); }

std::uint32_t FrmMessage::backColour(int b) const { return m_back.at(static_cast<std::size_t>(b)); }

void FrmMessage::setBackColour(int b, std::uint32_t colour) {
  m_back.at(static_cast<std::size_t>(b)) = colour;
  ApplyColours(b);
}

void FrmMessage::setForeColour(int b, std::uint32_t colour) {
  m_fore.at(static_cast<std::size_t>(b)) = colour;
  ApplyColours(b);
}

void FrmMessage::ApplyColours(int b) {
  QWidget* w = box(b);
  QPalette pal = QApplication::palette(w);
  const std::uint32_t back = m_back.at(static_cast<std::size_t>(b));
  if (back != kWindowColour) pal.setColor(QPalette::Base, FromBgr(back));
  const QColor fore = FromBgr(m_fore.at(static_cast<std::size_t>(b)));
  pal.setColor(QPalette::Active, QPalette::Text, fore);
  pal.setColor(QPalette::Inactive, QPalette::Text, fore);
  w->setPalette(pal);
}

int FrmMessage::selStart(int b) const {
  if (auto* p = bodyBox(b)) {
    const int pos = p->textCursor().selectionStart();
    // Each line break before the cursor is CR LF in station text.
    return pos + static_cast<int>(p->toPlainText().left(pos).count(QChar('\n')));
  }
  QLineEdit* l = lineBox(b);
  return l->hasSelectedText() ? l->selectionStart() : l->cursorPosition();
}

std::string FrmMessage::selectedText(int b) const {
  if (auto* p = bodyBox(b)) return FromWidgetText(p->textCursor().selectedText());
  return S(lineBox(b)->selectedText());
}

void FrmMessage::replaceSelection(int b, const std::string& t) {
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

void FrmMessage::selectAll(int b) {
  if (auto* p = bodyBox(b)) p->selectAll();
  else lineBox(b)->selectAll();
}

bool FrmMessage::keepLocal() const { return m_chkKeepLocal->isChecked(); }
void FrmMessage::setKeepLocal(bool on) { m_chkKeepLocal->setChecked(on); }
void FrmMessage::setKeepLocalEnabled(bool on) { m_chkKeepLocal->setEnabled(on); }
void FrmMessage::setReplyLabelsEnabled(bool on) {
  for (QLabel* l : m_lblRep) l->setEnabled(on);
}

void FrmMessage::setCommandEnabled(Command c, bool on) {
  if (QWidget* w = commandWidget(c)) w->setEnabled(on);
  else m_commandActions.at(static_cast<std::size_t>(c))->setEnabled(on);
}

bool FrmMessage::commandEnabled(Command c) const {
  if (QWidget* w = commandWidget(c)) return w->isEnabled();
  return m_commandActions.at(static_cast<std::size_t>(c))->isEnabled();
}

void FrmMessage::focusBox(int b) { box(b)->setFocus(Qt::OtherFocusReason); }
void FrmMessage::focusCommand(Command c) {
  if (QWidget* w = commandWidget(c)) w->setFocus(Qt::OtherFocusReason);
}

int FrmMessage::focusedBox() const {
  QWidget* f = focusWidget();
  for (int i = 0; i <= kRouteBox; ++i) {
    if (f && f == m_boxes[static_cast<std::size_t>(i)]) return i;
  }
  return kNoTextBox;
}

void FrmMessage::setMsgInfo(const std::string& t) { m_lblMsgInfo->setText(Q(t)); }
void FrmMessage::setBrowsePtr(const std::string& t) { m_lblBrowsePtr->setText(Q(t)); }
void FrmMessage::setStatus(const std::string& t) { m_panelStatus->setText(Q(t)); }
std::string FrmMessage::status() const { return S(m_panelStatus->text()); }
void FrmMessage::setCaption(const std::string& t) { setWindowTitle(Q(t)); }

void FrmMessage::clearClipboard() { QApplication::clipboard()->clear(); }
void FrmMessage::setClipboardText(const std::string& t) { QApplication::clipboard()->setText(Q(t)); }
std::string FrmMessage::clipboardText() const { return S(QApplication::clipboard()->text()); }

}  // namespace velnor
