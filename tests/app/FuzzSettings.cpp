// The settings reader over arbitrary bytes: no crash, and whatever it reads must survive
// a write and a second read unchanged.
#include <cstdint>
#include <string_view>

#include "app/Settings.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  velnor::Settings s;
  velnor::ParseSettingsText(std::string_view(reinterpret_cast<const char*>(data), size), s);
  const std::string text = velnor::SettingsFileText(s);
  velnor::Settings again;
  velnor::ParseSettingsText(text, again);
  // Values holding CR cannot round-trip (CR ends a line); everything else must.
  bool hasCr = false;
  for (const std::string* v :
       {&s.LoginName, &s.DateFormat, &s.TimeFormat, &s.IcdName, &s.DefTo, &s.DefToPos, &s.DefFr, &s.DefFrPos,
        &s.HostName, &s.Port, &s.TimeOut, &s.POAFile, &s.DEFDEST})
    hasCr = hasCr || v->find_first_of("\r\n") != std::string::npos;
  if (!hasCr && velnor::SettingsFileText(again) != text) __builtin_trap();
  return 0;
}
