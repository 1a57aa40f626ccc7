#pragma once
// frmProperties, the "ICS 213 Properties" dialog: five tabs over the program's settings
// (all of them but LoginName and Pausev), checked on OK by CheckSettings.
//
// Controls carry their names as object names so tests and tools can find them; an array
// element gets its index after an underscore: "txtFormat_0", "txtFormat_1",
// "txtDefaults_0".."txtDefaults_4", "txtServer_0".."txtServer_3", "optBrowse_0",
// "optBrowse_1", "nframe_0".."nframe_4" (the frame of each tab), "SSTab1", "cmdOK",
// "cmdCancel", "cmdTest", "chkPlayOnArrival", "txtPlayOnArrival", "cmdBrowse",
// "cmdTestWav", "txtDefualtToRoute", "chkKeepLocal", "lblHint".
//
// Writing the settings file after the dialog closes, and restarting the send/receive
// schedule when SRTime changed, belong to the menu command that opens it.
#include <QDialog>
#include <functional>
#include <string>

#include "app/Settings.h"
#include "settings_ui/CheckSettings.h"

class QCheckBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QTabWidget;

namespace velnor {

class Clock;
class Dialogs;
class Sound;

// What the dialog needs from the main window. Every pointer must be set.
struct PropertiesHooks {
  Dialogs* dialogs = nullptr;      // every message box and the file dialog
  const Clock* clock = nullptr;    // the examples in the format hints
  Sound* sound = nullptr;          // the sound test
  // The main window's link test; it uses the HostName and Port of the live settings.
  std::function<bool(const std::string& text)> pmdirectTest;
  // True while a session with Pmdirect runs; the link test is refused meanwhile. May be empty.
  std::function<bool()> sessionRunning;
  // Clears the main window's "Status" panel after a passed link test.
  std::function<void()> clearStatus;
  std::string dataPath;            // where the wave-file dialog starts without a sound
};

class frmProperties : public QDialog {
  Q_OBJECT
 public:
  frmProperties(QWidget* owner, Settings& settings, PropertiesHooks hooks);

  // The normal and the fault background of the check.
  static QColor faultColor();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void buildFormattingTab(QGroupBox* frame);
  void buildRemoteAccessTab(QGroupBox* frame);
  void buildReceivingTab(QGroupBox* frame);
  void buildRoutesTab(QGroupBox* frame);
  void buildOtherTab(QGroupBox* frame);
  void Form_Load();
  void cmdOK_Click();
  void SSTab1_Click(int tab);
  void chkPlayOnArrival_Click();
  void cmdBrowse_Click();
  void cmdTestWav_Click();
  void cmdTest_Click();
  PropertiesState readState() const;
  void showState(const PropertiesState& state);
  void setYellow(QLineEdit* box, bool yellow);

  Settings& m_settings;
  PropertiesHooks m_hooks;
  std::string m_soundPath;
  int m_browseChoice = 0;

  QTabWidget* SSTab1 = nullptr;
  QGroupBox* nframe[5] = {};
  QLineEdit* txtFormat[2] = {};
  QLineEdit* txtDefaults[5] = {};
  QLineEdit* txtServer[4] = {};
  QLabel* lblHint = nullptr;
  QPushButton* cmdTest = nullptr;
  QCheckBox* chkPlayOnArrival = nullptr;
  QLineEdit* txtPlayOnArrival = nullptr;
  QPushButton* cmdBrowse = nullptr;
  QPushButton* cmdTestWav = nullptr;
  QLineEdit* txtDefualtToRoute = nullptr;
  QCheckBox* chkKeepLocal = nullptr;
  QRadioButton* optBrowse[2] = {};
  QPushButton* cmdOK = nullptr;
  QPushButton* cmdCancel = nullptr;
};

// Shows the dialog modally over `owner`. True when it closed through OK (the settings
// then hold the dialog's values); false after Cancel. Either way the caller rewrites the
// settings file: a failed check may already have stored some values.
bool ShowProperties(QWidget* owner, Settings& settings, PropertiesHooks hooks);

}  // namespace velnor
