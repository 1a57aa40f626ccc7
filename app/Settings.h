#pragma once
// The program's options, kept in "velnor.ini" in the data directory: 28 lines, CR LF,
// station text, in a fixed order (see SettingsFileText). Read once at start-up; every
// change rewrites the whole file from these values.
//
// Reading: lines end at CR (LF dropped), empty lines and "[" lines are skipped, a line is
// split at its first "=", the key is trimmed and compared case-sensitively, the value is
// taken as it stands; the last occurrence of a key wins. An integer value that is not a
// whole number within 16 bits, and a known key without "=", leave the setting as it was.
#include <string>
#include <string_view>

namespace velnor {

struct Settings {
  std::string LoginName = "LOCAL";
  std::string DateFormat = "mm/dd/yyyy";
  std::string TimeFormat = "hh:mm";
  std::string IcdName;
  std::string DefTo;
  std::string DefToPos;
  std::string DefFr;
  std::string DefFrPos;
  short SRTime = 60;
  short STARTBROWSE = 0;
  std::string HostName = "127.0.0.1";
  std::string Port = "9334";
  std::string TimeOut = "5000";
  short Pausev = 500;
  short POA = 0;
  std::string POAFile;
  short KEEPLOCAL = 0;
  std::string DEFDEST = "LOCAL";
};

// "major.minor.revision" of this build.
std::string ProgramVersion();

// Every setting back to its default.
void DefaultSettings(Settings& s);

// Applies the lines of a settings text on top of `s` (the reading rules above).
void ParseSettingsText(std::string_view text, Settings& s);

// Defaults, then the file. A missing file is created with the defaults (a failure to
// create it throws VError like WriteSettings, and the caller reports it; Settings{} holds
// the defaults). A file that exists but cannot be read leaves the defaults in place and is
// not overwritten: the operator's file may come back readable at the next start.
Settings ReadSettings(const std::string& settingsFile);

// The 28 lines, each ended by CR LF.
std::string SettingsFileText(const Settings& s);

// Replaces the file atomically (new file, flush, rename), so a crash never leaves an empty
// or half file. Throws VError (source "Settings:WriteSettings") when it cannot be written;
// the old file is then left as it was.
void WriteSettings(const std::string& settingsFile, const Settings& s);

}  // namespace velnor
