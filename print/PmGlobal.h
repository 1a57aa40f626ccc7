#pragma once
// Pellmoor's global preferences, "Pellmoor.glo" in the data directory, read and written
// in Pellmoor's own format. Velnor uses none of the values; it keeps the file present and
// current for Pellmoor, which shares the data directory.
//
// The file as written here, CR LF after every line:
//    1 [GENERAL VARIABLES]          10 PtrCopies=<n>
//    2 Version=<program version>    11 PtrDuplex=<n>
//    3 UseGlobalMsgNum=<n>          12 FolderLabels=<text>
//    4 ProfSave=<n>                 13 LstFontSize=<text>
//    5 ParentVer=<text>             14 (empty)
//    6 (empty)                      15 [START PREFERENCES]
//    7 [LOCAL PRINTER]              16 RunPrgmOnStart=<n>
//    8 PrinterName=<text>           17 RunPrgmName=<text>
//    9 PtrOrient=<n>
// The reader takes "key=value" lines anywhere (CR ends a line, LF dropped, "[" and empty
// lines skipped, key trimmed and case-sensitive, value kept as it stands). Unknown lines
// are not kept: a rewrite holds the seventeen lines only.
//
// Failures never reach the caller: each is logged to the event log as
// "<n>, <description>; PmGlobal:GloRead|GLOWrite, FileName = <path>, Step = <step>"
// and the work carries on with the next action.
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace velnor {

class EventLog;

class PmGlobal {
 public:
  // The values carried in the file (Version aside).
  struct Values {
    short UseGlobalMsgNum = 1;
    std::string PrinterName;
    short PtrOrient = 1;
    short PtrCopies = 1;
    short PtrDuplex = 1;
    short ProfSave = 1;
    std::string FolderLabels = "Folder 1|Folder 2|Folder 3|Folder 4|Folder 5";
    std::string LstFontSize = "9";
    std::string ParentVer;
    short RunPrgmOnStart = 0;
    std::string RunPrgmName;
  };

  // One failed line of a read: "<n>, <description>".
  using ReadErrors = std::vector<std::string>;

  // Reads "Pellmoor.glo" in dataPath, or creates it with the defaults when missing.
  // currentPrinterName throws when there is no printer.
  PmGlobal(const std::string& dataPath, std::string programVersion, EventLog& log,
           std::function<std::string()> currentPrinterName);
  // Writes the file back when changed.
  ~PmGlobal();
  PmGlobal(const PmGlobal&) = delete;
  PmGlobal& operator=(const PmGlobal&) = delete;

  // Writes the file when changed; a second call does nothing more.
  void Release();
  void Read() { GloRead(); }
  void Save() { GLOWrite(); }

  void SetDefaults();
  void GloRead();
  void GLOWrite();

  // Applies the key lines of a file's text to `values`; the "Version" value goes to
  // fileVersion. A value that does not convert, or a known key without "=", leaves the
  // value as it was and adds one entry to errors.
  static void ParseGloText(std::string_view text, Values& values, std::string& fileVersion, ReadErrors& errors);
  // The seventeen lines, each ended by CR LF.
  static std::vector<std::string> GloFileLines(const std::string& version, const Values& values);

  // Accessors. Every setter but SetPrinterAvailable marks the object changed.
  long UseGlobalMsgNum() const { return m_values.UseGlobalMsgNum; }
  void SetUseGlobalMsgNum(long v);  // throws VError (overflow) outside 16 bits
  const std::string& PrinterName() const { return m_values.PrinterName; }
  void SetPrinterName(const std::string& v);
  short PtrOrient() const { return m_values.PtrOrient; }
  void SetPtrOrient(short v);
  short PtrCopies() const { return m_values.PtrCopies; }
  void SetPtrCopies(short v);
  short PtrDuplex() const { return m_values.PtrDuplex; }
  void SetPtrDuplex(short v);
  bool PrinterAvailable() const { return m_printerAvailable; }
  void SetPrinterAvailable(bool v) { m_printerAvailable = v; }
  short ProfSave() const { return m_values.ProfSave; }
  void SetProfSave(short v);
  const std::string& FolderLabels() const { return m_values.FolderLabels; }
  void SetFolderLabels(const std::string& v);
  short LstFontSize() const;  // throws VError (type mismatch) when the text is no number
  void SetLstFontSize(short v);
  const std::string& ParentVer() const { return m_values.ParentVer; }
  void SetParentVer(const std::string& v);
  short RunPrgmOnStart() const { return m_values.RunPrgmOnStart; }
  void SetRunPrgmOnStart(short v);
  const std::string& RunPrgmName() const { return m_values.RunPrgmName; }
  void SetRunPrgmName(const std::string& v);  // stored trimmed

  const std::string& Version() const { return m_version; }
  bool Changed() const { return m_changed; }
  const std::string& FileName() const { return m_fileName; }
  const std::string& ErrorText() const { return m_errorText; }
  short Step() const { return m_step; }
  const Values& values() const { return m_values; }

 private:
  void LogError(const char* proc, const std::string& errorText);

  EventLog& m_log;
  std::function<std::string()> m_currentPrinterName;
  std::string m_programVersion;
  std::string m_version;
  Values m_values;
  bool m_printerAvailable = true;
  bool m_changed = false;
  bool m_fileExisted = false;
  std::string m_fileName;
  std::string m_errorText;
  short m_step = 0;
};

}  // namespace velnor
