#include "app/Settings.h"

#include <sys/stat.h>

#include "core/AtomicFile.h"
#include "core/StringLib.h"
#include "core/VError.h"
#include "platform/Dialogs.h"

namespace velnor {
namespace {

#define VELNOR_STR2(x) #x
#define VELNOR_STR(x) VELNOR_STR2(x)

// Sets a known key; false when the key is not one of the eighteen.
bool ApplySetting(Settings& s, std::string_view key, std::string_view value) {
  struct TextKey {
    const char* name;
    std::string Settings::*member;
  };
  struct IntKey {
    const char* name;
    short Settings::*member;
  };
  static constexpr TextKey kText[] = {
      {"LoginName", &Settings::LoginName}, {"DateFormat", &Settings::DateFormat},
      {"TimeFormat", &Settings::TimeFormat}, {"IcdName", &Settings::IcdName},
      {"DefTo", &Settings::DefTo},           {"DefToPos", &Settings::DefToPos},
      {"DefFr", &Settings::DefFr},           {"DefFrPos", &Settings::DefFrPos},
      {"HostName", &Settings::HostName},     {"Port", &Settings::Port},
      {"TimeOut", &Settings::TimeOut},       {"POAFile", &Settings::POAFile},
      {"DEFDEST", &Settings::DEFDEST},
  };
  static constexpr IntKey kInt[] = {
      {"SRTime", &Settings::SRTime}, {"STARTBROWSE", &Settings::STARTBROWSE},
      {"Pausev", &Settings::Pausev}, {"POA", &Settings::POA},
      {"KEEPLOCAL", &Settings::KEEPLOCAL},
  };
  for (const auto& k : kText) {
    if (key == k.name) {
      s.*k.member = std::string(value);
      return true;
    }
  }
  for (const auto& k : kInt) {
    if (key == k.name) {
      short v = 0;
      if (NumberToInt16(value, v)) s.*k.member = v;
      return true;
    }
  }
  return false;
}

}  // namespace

std::string ProgramVersion() {
  return VELNOR_STR(VELNOR_VERSION_MAJOR) "." VELNOR_STR(VELNOR_VERSION_MINOR) "." VELNOR_STR(
      VELNOR_VERSION_PATCH);
}

void DefaultSettings(Settings& s) { s = Settings{}; }

void ParseSettingsText(std::string_view text, Settings& s) {
  while (!text.empty()) {
    const std::string line = GetLine(text);
    if (line.empty() || line[0] == '[') continue;
    const std::size_t eq = line.find('=');
    if (eq == std::string::npos) continue;
    const std::string_view whole(line);
    ApplySetting(s, TrimSpaces(whole.substr(0, eq)), whole.substr(eq + 1));
  }
}

Settings ReadSettings(const std::string& settingsFile) {
  Settings s;
  DefaultSettings(s);
  struct stat st {};
  if (::stat(settingsFile.c_str(), &st) != 0) {
    WriteSettings(settingsFile, s);
    return s;
  }
  std::string text;
  try {
    text = ReadWholeFile(settingsFile, "Settings:ReadSettings");
  } catch (const VError&) {
    return s;
  }
  ParseSettingsText(text, s);
  return s;
}

std::string SettingsFileText(const Settings& s) {
  std::string t;
  t.reserve(512);
  auto line = [&t](std::string_view a, std::string_view b = {}) {
    t.append(a);
    t.append(b);
    t.append("\r\n");
  };
  auto num = [](short v) { return std::to_string(v); };
  line("[", std::string(kProgramTitle) + "]");
  line("Version=", ProgramVersion());
  line("");
  line("[GENERAL OPTIONS]");
  line("LoginName=", s.LoginName);
  line("DateFormat=", s.DateFormat);
  line("TimeFormat=", s.TimeFormat);
  line("IcdName=", s.IcdName);
  line("DefTo=", s.DefTo);
  line("DefToPos=", s.DefToPos);
  line("DefFr=", s.DefFr);
  line("DefFrPos=", s.DefFrPos);
  line("SRTime=", num(s.SRTime));
  line("STARTBROWSE=", num(s.STARTBROWSE));
  line("");
  line("[NETWORK OPTIONS]");
  line("HostName=", s.HostName);
  line("Port=", s.Port);
  line("TimeOut=", s.TimeOut);
  line("Pausev=", num(s.Pausev));
  line("");
  line("[SENDRECEIVE SETTINGS]");
  line("POA=", num(s.POA));
  line("POAFile=", s.POAFile);
  line("");
  line("[ROUTES]");
  line("KEEPLOCAL=", num(s.KEEPLOCAL));
  line("DEFDEST=", s.DEFDEST);
  return t;
}

void WriteSettings(const std::string& settingsFile, const Settings& s) {
  WriteFileAtomically(settingsFile, SettingsFileText(s), "Settings:WriteSettings");
}

}  // namespace velnor
