#include "editor/qt/AboutBox.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/Settings.h"
#include "platform/Dialogs.h"

namespace velnor {

AboutBox::AboutBox(QWidget* owner) : QDialog(owner) {
  setObjectName("frmAbout");
  setModal(true);
  setWindowTitle(QString("About ") + kProgramTitle);
  auto* title = new QLabel(kProgramTitle, this);
  title->setObjectName("lblTitle");
  title->setStyleSheet("font-weight: bold; font-size: 16pt");
  auto* version = new QLabel(QString::fromStdString("Version " + ProgramVersion()), this);
  version->setObjectName("lblVersion");
  auto* description = new QLabel("ICS 213 General Messages for the incident command post, "
                                 "sent and received through Pmdirect.", this);
  description->setWordWrap(true);
  auto* disclaimer = new QLabel(
      "Messages sent over amateur radio are subject to the amateur-radio regulations of the "
      "station's country: they must not be encrypted, must not serve any business interest of "
      "the operator, and each transmission must be identified by the licensed control operator. "
      "The operator is responsible for what this program transmits.", this);
  disclaimer->setObjectName("lblDisclaimer");
  disclaimer->setWordWrap(true);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
  QPushButton* terms = buttons->addButton("Terms of Use...", QDialogButtonBox::ActionRole);
  terms->setObjectName("cmdTerms");
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(terms, &QPushButton::clicked, this,
          [this] { QMessageBox::information(this, "Terms of Use", TermsOfUse()); });

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(title);
  layout->addWidget(version);
  layout->addWidget(description);
  layout->addSpacing(8);
  layout->addWidget(disclaimer);
  layout->addWidget(buttons);
  setMinimumWidth(420);
}

const char* AboutBox::TermsOfUse() {
  return "This program is provided as is, without warranty of any kind, express or implied. "
         "It is an aid to the radio operator and does not replace the operator's own log or "
         "judgement. Do not rely on it as the only means of passing messages that concern "
         "safety of life. By using it you accept that its authors are not liable for any loss "
         "or damage arising from its use.";
}

}  // namespace velnor
