#pragma once
// The about box: title, version, a word on lawful use, and the terms of use on request.
#include <QDialog>

namespace velnor {

class AboutBox : public QDialog {
  Q_OBJECT
 public:
  explicit AboutBox(QWidget* owner);

  static const char* TermsOfUse();
};

}  // namespace velnor
