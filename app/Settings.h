#pragma once
// The program's options, kept in "velnor.ini" in the data directory: 28 lines, CR LF,
// station text, in a fixed order (see WriteSettings). Read once at start-up; every
// change rewrites the whole file from these values.
#include <string>

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

}  // namespace velnor
