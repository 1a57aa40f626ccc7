#pragma once
// The logic of the settings dialog (frmProperties), kept apart from its widgets so it can
// be driven without a window: PropertiesState is what the dialog shows, LoadProperties
// fills it from the settings, CheckSettings checks it when OK is pressed, and
// StoreProperties copies it back after a passed check.
//
// All texts are station text (Windows-1252). The window converts to and from QString.
#include <functional>
#include <string>

#include "app/Settings.h"

namespace velnor {

class Clock;
class Dialogs;
class Sound;

// Tabs of the dialog, in their order on the tab strip.
enum PropertiesTab : int { kTabFormatting = 0, kTabRemoteAccess = 1, kTabReceiving = 2, kTabRoutes = 3, kTabOther = 4 };

// Where CheckSettings wants the focus after a format fault.
enum class PropertiesFocus { Unchanged, DateFormat, TimeFormat };

struct PropertiesState {
  std::string txtFormat[2];    // date format, time format
  bool formatYellow[2] = {false, false};
  std::string txtDefaults[5];  // DefTo, DefToPos, DefFr, DefFrPos, IcdName
  std::string txtServer[4];    // HostName, Port, TimeOut, SRTime
  bool serverYellow[4] = {false, false, false, false};
  bool chkPlayOnArrival = false;
  std::string soundPath;       // full path; the box shows only its file name
  std::string txtDefualtToRoute;
  bool chkKeepLocal = false;
  int browseChoice = 0;        // index of the selected optBrowse button
  int currentTab = kTabFormatting;
  PropertiesFocus focus = PropertiesFocus::Unchanged;
  std::string lblHint;         // lines joined by CR LF
};

// The dialog's starting values. Formats and defaults lose their outer blanks; server
// texts are shown as held. Values a hand-edited file may hold that the controls cannot
// show: only POA 1 shows the play box checked (1 is the only value that plays), any
// non-zero KEEPLOCAL shows its box checked, and STARTBROWSE below 0 shows "beginning",
// above 1 "end".
PropertiesState LoadProperties(const Settings& settings);

// Hint texts with examples made from `now` (OLE date).
std::string DateFormatHint(double now);
std::string TimeFormatHint(double now);

// Allowed characters after upper-casing.
bool IsDateFormatChar(char c);
bool IsTimeFormatChar(char c);

// The interval box as a storable SRTime: a whole number from 30 to 32767, blanks around
// allowed. Texts such as "45abc" or "40000" are refused rather than cut to a number the
// operator never typed.
bool ParseInterval(const std::string& text, short& seconds);

// Runs the checks in order (empty formats, empty server boxes, interval, date format,
// time format), marking faults in `state` (yellow, "?" in an empty format, the tab of the
// last fault, focus and hint for a format fault) and asking `dialogs` to show the format
// messages. Before each message, `show` puts the state so far on the form, so the
// operator sees the marked box and its hint while reading it. Whatever the verdict it
// stores POA, POAFile, KEEPLOCAL, DEFDEST and STARTBROWSE into `settings`. True when
// nothing was wrong.
bool CheckSettings(PropertiesState& state, Settings& settings, Dialogs& dialogs, const Clock& clock,
                   const std::function<void(const PropertiesState&)>& show = {});

// After a passed check: the formats as typed, the defaults trimmed, host, port and
// time-out as typed, the interval as a number.
void StoreProperties(const PropertiesState& state, Settings& settings);

// The link test of the Remote Access tab. Runs `pmdirectTest` with the typed host and
// port put into `settings` for the time of the call, reports the result in a message box,
// clears the main window's Status panel on success, and puts HostName and Port back
// (a numeric Port comes back in plain decimal; any other text comes back unchanged).
// While `sessionRunning` says a session has the link, it is refused with a message box.
inline constexpr const char* kLinkTestText = "<test>This is the ICS-213 test startup msg</test>";
bool RunLinkTest(Settings& settings, const std::string& typedHost, const std::string& typedPort,
                 const std::function<bool(const std::string&)>& pmdirectTest, Dialogs& dialogs,
                 const std::function<void()>& clearStatus, const std::function<bool()>& sessionRunning = {});

// The sound test: plays the file; on failure beeps and says so. True when it played.
bool RunSoundTest(const std::string& soundPath, Sound& sound, Dialogs& dialogs);

// Asks for a wave file, starting beside the current one or in the data directory. The
// current path comes back when the operator cancels.
std::string AskForWaveFile(const std::string& soundPath, const std::string& dataPath, Dialogs& dialogs);

}  // namespace velnor
