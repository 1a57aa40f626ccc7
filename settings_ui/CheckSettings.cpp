#include "settings_ui/CheckSettings.h"

#include <cstring>

#include "app/FileLib.h"
#include "core/Clock.h"
#include "core/DateTime.h"
#include "core/StringLib.h"
#include "platform/Dialogs.h"
#include "platform/Sound.h"

namespace velnor {
namespace {

constexpr const char* kDateChars = "DMY/:,.- ";
constexpr const char* kTimeChars = "HMST:,.-";

char UpperAscii(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

bool InSet(char c, const char* set) { return c != '\0' && std::strchr(set, UpperAscii(c)) != nullptr; }

// Index of the first character not allowed, or npos.
std::size_t FirstBadChar(const std::string& format, const char* allowed) {
  for (std::size_t i = 0; i < format.size(); ++i) {
    if (!InSet(format[i], allowed)) return i;
  }
  return std::string::npos;
}

std::string JoinLines(std::initializer_list<std::string> lines) {
  std::string out;
  bool first = true;
  for (const auto& l : lines) {
    if (!first) out += "\r\n";
    out += l;
    first = false;
  }
  return out;
}

}  // namespace

bool IsDateFormatChar(char c) { return InSet(c, kDateChars); }
bool IsTimeFormatChar(char c) { return InSet(c, kTimeChars); }

PropertiesState LoadProperties(const Settings& s) {
  PropertiesState st;
  st.txtFormat[0] = Trim(s.DateFormat);
  st.txtFormat[1] = Trim(s.TimeFormat);
  st.txtDefaults[0] = Trim(s.DefTo);
  st.txtDefaults[1] = Trim(s.DefToPos);
  st.txtDefaults[2] = Trim(s.DefFr);
  st.txtDefaults[3] = Trim(s.DefFrPos);
  st.txtDefaults[4] = Trim(s.IcdName);
  st.txtServer[0] = s.HostName;
  st.txtServer[1] = s.Port;
  st.txtServer[2] = s.TimeOut;
  st.txtServer[3] = std::to_string(s.SRTime);
  st.chkPlayOnArrival = s.POA == 1;
  st.soundPath = s.POAFile;
  st.chkKeepLocal = s.KEEPLOCAL != 0;
  st.txtDefualtToRoute = s.DEFDEST;
  st.browseChoice = s.STARTBROWSE >= 1 ? 1 : 0;
  st.currentTab = kTabFormatting;
  return st;
}

std::string DateFormatHint(double now) {
  return JoinLines({"Hint: Valid characters are:", "m=month, d=day, y=year", "", "Examples:",
                    "mm/dd/yy = " + FormatDate(now, "mm/dd/yy"), "dd-mmm-yyyy = " + FormatDate(now, "dd-mmm-yyyy")});
}

std::string TimeFormatHint(double now) {
  return JoinLines({"Hint: Valid characters are:", "h=hour, m=minute, s=second", "", "Examples:",
                    "HH:mm:ss = " + FormatDate(now, "HH:mm:ss"), "hh:mm = " + FormatDate(now, "hh:mm")});
}

bool ParseInterval(const std::string& text, short& seconds) {
  short v = 0;
  if (!ParseInt16(text, v) || v < 30) return false;
  seconds = v;
  return true;
}

bool CheckSettings(PropertiesState& st, Settings& settings, Dialogs& dialogs, const Clock& clock,
                   const std::function<void(const PropertiesState&)>& show) {
  bool ok = true;
  st.lblHint.clear();

  for (int i = 0; i < 2; ++i) {
    if (st.txtFormat[i].empty()) {
      st.formatYellow[i] = true;
      st.txtFormat[i] = "?";
      st.currentTab = kTabFormatting;
      ok = false;
    }
  }
  for (int i = 0; i < 4; ++i) {
    if (st.txtServer[i].empty()) {
      st.serverYellow[i] = true;
      st.currentTab = kTabRemoteAccess;
      ok = false;
    }
  }
  short interval = 0;
  if (!ParseInterval(st.txtServer[3], interval)) {
    st.serverYellow[3] = true;
    st.currentTab = kTabRemoteAccess;
    ok = false;
  }

  struct FormatCheck {
    const char* allowed;
    PropertiesFocus focus;
    std::string (*hint)(double);
    const char* message;
  };
  static const FormatCheck kChecks[2] = {
      {kDateChars, PropertiesFocus::DateFormat, &DateFormatHint, "Invalid date format.  See hint on form"},
      {kTimeChars, PropertiesFocus::TimeFormat, &TimeFormatHint, "Invalid time format.  See Hint on form"},
  };
  for (int i = 0; i < 2; ++i) {
    const FormatCheck& c = kChecks[i];
    if (FirstBadChar(st.txtFormat[i], c.allowed) == std::string::npos) continue;
    st.formatYellow[i] = true;
    st.currentTab = kTabFormatting;
    st.focus = c.focus;
    st.lblHint = c.hint(clock.now());
    if (show) show(st);
    dialogs.messageBox(c.message, kProgramTitle, MsgButtons::Ok, MsgIcon::None);
    ok = false;
  }

  // These have nothing to check, and the operator's choice is kept even when the check
  // fails and the dialog is then cancelled.
  settings.POA = st.chkPlayOnArrival ? 1 : 0;
  settings.POAFile = st.soundPath;
  settings.KEEPLOCAL = st.chkKeepLocal ? 1 : 0;
  settings.DEFDEST = st.txtDefualtToRoute;
  settings.STARTBROWSE = static_cast<short>(st.browseChoice);
  return ok;
}

void StoreProperties(const PropertiesState& st, Settings& s) {
  s.DateFormat = st.txtFormat[0];
  s.TimeFormat = st.txtFormat[1];
  s.DefTo = Trim(st.txtDefaults[0]);
  s.DefToPos = Trim(st.txtDefaults[1]);
  s.DefFr = Trim(st.txtDefaults[2]);
  s.DefFrPos = Trim(st.txtDefaults[3]);
  s.IcdName = Trim(st.txtDefaults[4]);
  s.HostName = st.txtServer[0];
  s.Port = st.txtServer[1];
  s.TimeOut = st.txtServer[2];
  short interval = 0;
  if (ParseInterval(st.txtServer[3], interval)) s.SRTime = interval;
}

bool RunLinkTest(Settings& settings, const std::string& typedHost, const std::string& typedPort,
                 const std::function<bool(const std::string&)>& pmdirectTest, Dialogs& dialogs,
                 const std::function<void()>& clearStatus, const std::function<bool()>& sessionRunning) {
  // The test would take the session's socket from under it.
  if (sessionRunning && sessionRunning()) {
    dialogs.messageBox("A session with Pmdirect is running; try again when it ends", kProgramTitle,
                       MsgButtons::Ok, MsgIcon::Information);
    return false;
  }
  const std::string keptHost = settings.HostName;
  long keptPortNumber = 0;
  const std::string keptPort =
      ParseInt32(settings.Port, keptPortNumber) ? std::to_string(keptPortNumber) : settings.Port;

  settings.HostName = typedHost;
  settings.Port = typedPort;
  bool passed = false;
  try {
    passed = pmdirectTest && pmdirectTest(kLinkTestText);
  } catch (...) {
    // The test reports through its result; a failure inside it is a failed test.
    passed = false;
  }
  // Restored before any message box: the box waits in the event loop, where a scheduled
  // session may start and must find the operator's real host.
  settings.HostName = keptHost;
  settings.Port = keptPort;

  if (!passed) {
    dialogs.messageBox(
        "Link Test to Pmdirect failed.  Check the following:\r\n"
        "1. Confirm the Host Name and Port Number match Pmdirect\r\n"
        "2. Confirm that Pmdirect is running",
        kProgramTitle, MsgButtons::Ok, MsgIcon::Exclamation);
  } else {
    dialogs.messageBox("Link Test to Pmdirect passed", kProgramTitle, MsgButtons::Ok, MsgIcon::None);
    if (clearStatus) clearStatus();
  }
  return passed;
}

bool RunSoundTest(const std::string& soundPath, Sound& sound, Dialogs& dialogs) {
  bool played = false;
  try {
    played = sound.playFileAsync(soundPath);
  } catch (...) {
    played = false;
  }
  if (played) return true;
  sound.beep();
  dialogs.messageBox("Problems with this file or the sound card", kProgramTitle, MsgButtons::Ok, MsgIcon::None);
  return false;
}

std::string AskForWaveFile(const std::string& soundPath, const std::string& dataPath, Dialogs& dialogs) {
  FileDialogRequest req;
  req.title = "Select .wav file name";
  req.filter = "Wave files (*.wav)|*.wav|All Files (*.*)|*.*|";
  req.filterIndex = 1;
  req.defaultExt = "wav";
  if (!soundPath.empty()) {
    req.initialDir = FileLib::GetDirName(soundPath);
    req.fileName = FileLib::GetFileName(soundPath);
  } else {
    req.initialDir = dataPath;
  }
  std::string answer;
  try {
    answer = dialogs.openFileDialog(req);
  } catch (...) {
    answer.clear();
  }
  return answer.empty() ? soundPath : answer;
}

}  // namespace velnor
