// The global-file reader over arbitrary bytes: no crash, and what it reads survives a
// write and a second read unchanged.
#include <cstdint>
#include <string>
#include <string_view>

#include "print/PmGlobal.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using velnor::PmGlobal;
  PmGlobal::Values v;
  std::string version;
  PmGlobal::ReadErrors errors;
  PmGlobal::ParseGloText(std::string_view(reinterpret_cast<const char*>(data), size), v, version, errors);
  if (errors.size() > size) __builtin_trap();  // at most one per line
  std::string text;
  for (const std::string& line : PmGlobal::GloFileLines(version, v)) text += line;
  PmGlobal::Values back;
  std::string version2;
  PmGlobal::ReadErrors errors2;
  PmGlobal::ParseGloText(text, back, version2, errors2);
  std::string again;
  for (const std::string& line : PmGlobal::GloFileLines(version2, back)) again += line;
  // Text values holding CR or LF cannot survive a line-based file; the rest must.
  bool lineBreak = version.find_first_of("\r\n") != std::string::npos;
  for (const std::string* s : {&v.PrinterName, &v.FolderLabels, &v.LstFontSize, &v.ParentVer, &v.RunPrgmName})
    lineBreak = lineBreak || s->find_first_of("\r\n") != std::string::npos;
  if (!lineBreak && (again != text || !errors2.empty())) __builtin_trap();
  return 0;
}
