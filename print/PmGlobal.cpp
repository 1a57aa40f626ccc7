#include "print/PmGlobal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <optional>

#include "core/AtomicFile.h"
#include "core/EventLog.h"
#include "core/StringLib.h"
#include "core/VError.h"

namespace velnor {
namespace {

constexpr long kErrBadFileNameOrNumber = 52;

std::string ErrorTextOf(long number, const std::string& description) {
  return std::to_string(number) + ", " + description;
}

// "<n>, <description>" of whatever was thrown.
std::string CurrentErrorText() {
  try {
    throw;
  } catch (const VError& e) {
    return ErrorTextOf(e.number(), e.description());
  } catch (const std::exception& e) {
    return ErrorTextOf(kErrInvalidCall, e.what());
  } catch (...) {
    return ErrorTextOf(kErrInvalidCall, "Unexpected failure");
  }
}

// Converts like the classic runtime: a whole number, or the failure it would raise.
std::optional<VError> ConvertInt16(std::string_view text, short& out, const char* source) {
  if (ParseInt16(text, out)) return std::nullopt;
  long wide = 0;
  if (ParseInt32(text, wide)) return VError(kErrOverflow, source, "Overflow");
  return VError(kErrTypeMismatch, source, "Type mismatch");
}

bool FileExists(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0;
}

// An existing file that no one may write by its permission bits, or that we may not write.
// The bits are read here because a superuser's open() writes a read-only file all the same.
bool WriteProtected(const std::string& path) {
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) return false;
  return (st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0 || ::access(path.c_str(), W_OK) != 0;
}

}  // namespace

PmGlobal::PmGlobal(const std::string& dataPath, std::string programVersion, EventLog& log,
                   std::function<std::string()> currentPrinterName)
    : m_log(log), m_currentPrinterName(std::move(currentPrinterName)),
      m_programVersion(std::move(programVersion)), m_fileName(dataPath + "/Pellmoor.glo") {
  m_fileExisted = FileExists(m_fileName);
  SetDefaults();
  GloRead();
}

PmGlobal::~PmGlobal() { Release(); }

void PmGlobal::Release() {
  if (m_changed) GLOWrite();
}

void PmGlobal::SetDefaults() {
  m_version = m_programVersion;
  m_values = Values{};
  m_printerAvailable = true;
  try {
    if (!m_currentPrinterName) throw VError(kErrInvalidCall, "PmGlobal:SetDefaults", "No printer list");
    m_values.PrinterName = m_currentPrinterName();
  } catch (...) {
    m_values.PrinterName = "No Printers Defined";
    m_printerAvailable = false;
  }
}

void PmGlobal::LogError(const char* proc, const std::string& errorText) {
  m_errorText = errorText;
  m_log.writeError(m_errorText + "; PmGlobal:" + proc + ", FileName = " + m_fileName +
                   ", Step = " + std::to_string(m_step));
}

void PmGlobal::ParseGloText(std::string_view text, Values& v, std::string& fileVersion, ReadErrors& errors) {
  struct TextKey {
    const char* name;
    std::string Values::*member;
  };
  struct IntKey {
    const char* name;
    short Values::*member;
  };
  static constexpr TextKey kText[] = {
      {"PrinterName", &Values::PrinterName}, {"FolderLabels", &Values::FolderLabels},
      {"LstFontSize", &Values::LstFontSize}, {"ParentVer", &Values::ParentVer},
      {"RunPrgmName", &Values::RunPrgmName},
  };
  static constexpr IntKey kInt[] = {
      {"UseGlobalMsgNum", &Values::UseGlobalMsgNum}, {"PtrOrient", &Values::PtrOrient},
      {"PtrCopies", &Values::PtrCopies},             {"PtrDuplex", &Values::PtrDuplex},
      {"ProfSave", &Values::ProfSave},               {"RunPrgmOnStart", &Values::RunPrgmOnStart},
  };
  auto known = [](std::string_view key) {
    if (key == "Version") return true;
    for (const auto& k : kText)
      if (key == k.name) return true;
    for (const auto& k : kInt)
      if (key == k.name) return true;
    return false;
  };
  while (!text.empty()) {
    const std::string line = GetLine(text);
    if (line.empty() || line[0] == '[') continue;
    const std::string_view whole(line);
    const std::size_t eq = whole.find('=');
    if (eq == std::string_view::npos) {
      // Pellmoor's own reader fails on such a line; say so rather than guess a value.
      if (known(TrimSpaces(whole))) errors.push_back(ErrorTextOf(kErrInvalidCall, "Invalid procedure call or argument"));
      continue;
    }
    const std::string_view key = TrimSpaces(whole.substr(0, eq));
    const std::string_view value = whole.substr(eq + 1);
    if (key == "Version") {
      fileVersion = std::string(value);
      continue;
    }
    bool done = false;
    for (const auto& k : kText) {
      if (key == k.name) {
        v.*k.member = std::string(value);
        done = true;
        break;
      }
    }
    if (done) continue;
    for (const auto& k : kInt) {
      if (key == k.name) {
        short n = 0;
        if (auto failure = ConvertInt16(value, n, "PmGlobal:GloRead"))
          errors.push_back(ErrorTextOf(failure->number(), failure->description()));
        else
          v.*k.member = n;
        break;
      }
    }
  }
}

void PmGlobal::GloRead() {
  try {
    if (!m_fileExisted) {
      m_step = 4;
      m_changed = true;
      SetDefaults();
      GLOWrite();
      return;
    }
    std::string text;
    try {
      m_step = 1;
      if (!FileExists(m_fileName)) throw VError(kErrFileNotFound, "PmGlobal:GloRead", "File not found");
      m_step = 2;
      text = ReadWholeFile(m_fileName, "PmGlobal:GloRead");
    } catch (...) {
      LogError("GloRead", CurrentErrorText());
    }
    if (text.find('=') == std::string::npos) {
      GLOWrite();
      return;
    }
    m_step = 3;
    std::string fileVersion;
    ReadErrors errors;
    ParseGloText(text, m_values, fileVersion, errors);
    for (const std::string& e : errors) LogError("GloRead", e);
    if (fileVersion != m_version) m_changed = true;
  } catch (...) {
    LogError("GloRead", CurrentErrorText());
  }
}

std::vector<std::string> PmGlobal::GloFileLines(const std::string& version, const Values& v) {
  auto n = [](short x) { return std::to_string(x); };
  return {
      "[GENERAL VARIABLES]\r\n",
      "Version=" + version + "\r\n",
      "UseGlobalMsgNum=" + n(v.UseGlobalMsgNum) + "\r\n",
      "ProfSave=" + n(v.ProfSave) + "\r\n",
      "ParentVer=" + v.ParentVer + "\r\n",
      "\r\n",
      "[LOCAL PRINTER]\r\n",
      "PrinterName=" + v.PrinterName + "\r\n",
      "PtrOrient=" + n(v.PtrOrient) + "\r\n",
      "PtrCopies=" + n(v.PtrCopies) + "\r\n",
      "PtrDuplex=" + n(v.PtrDuplex) + "\r\n",
      "FolderLabels=" + v.FolderLabels + "\r\n",
      "LstFontSize=" + v.LstFontSize + "\r\n",
      "\r\n",
      "[START PREFERENCES]\r\n",
      "RunPrgmOnStart=" + n(v.RunPrgmOnStart) + "\r\n",
      "RunPrgmName=" + v.RunPrgmName + "\r\n",
  };
}

// The new content goes to a file beside the old one and replaces it by rename only when
// every line was written and flushed, so Pellmoor never finds a half file.
void PmGlobal::GLOWrite() {
  if (!m_changed) return;
  const std::string tmp = m_fileName + ".new";
  int fd = -1;
  bool complete = true;
  try {
    // Steps 101 and 102 (delete the old file) are left out: the rename at 105 replaces it.
    // A file the operator has made read-only stays as it is, though the rename could
    // replace it.
    m_step = 103;
    try {
      if (WriteProtected(m_fileName)) throw ErrnoError(EACCES, "PmGlobal:GLOWrite");
      fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
      if (fd < 0) throw ErrnoError(errno, "PmGlobal:GLOWrite");
    } catch (...) {
      complete = false;
      LogError("GLOWrite", CurrentErrorText());
    }
    m_step = 104;
    for (const std::string& line : GloFileLines(m_version, m_values)) {
      try {
        if (fd < 0) throw VError(kErrBadFileNameOrNumber, "PmGlobal:GLOWrite", "Bad file name or number");
        std::size_t done = 0;
        while (done < line.size()) {
          const ssize_t w = ::write(fd, line.data() + done, line.size() - done);
          if (w < 0) {
            if (errno == EINTR) continue;
            throw ErrnoError(errno, "PmGlobal:GLOWrite");
          }
          done += static_cast<std::size_t>(w);
        }
      } catch (...) {
        complete = false;
        LogError("GLOWrite", CurrentErrorText());
      }
    }
    m_step = 105;
    if (fd >= 0) {
      try {
        if (complete && ::fsync(fd) != 0) throw ErrnoError(errno, "PmGlobal:GLOWrite");
        const int closed = ::close(fd);
        fd = -1;
        if (closed != 0) throw ErrnoError(errno, "PmGlobal:GLOWrite");
        if (complete && ::rename(tmp.c_str(), m_fileName.c_str()) != 0) throw ErrnoError(errno, "PmGlobal:GLOWrite");
        if (complete) m_fileExisted = true;
      } catch (...) {
        complete = false;
        LogError("GLOWrite", CurrentErrorText());
      }
      if (fd >= 0) ::close(fd);
      if (!complete) ::unlink(tmp.c_str());
    }
  } catch (...) {
    if (fd >= 0) ::close(fd);
    LogError("GLOWrite", CurrentErrorText());
  }
  // Cleared even after a failure, so release does not try again.
  m_changed = false;
}

void PmGlobal::SetUseGlobalMsgNum(long v) {
  if (v < -32768 || v > 32767) throw VError(kErrOverflow, "PmGlobal:UseGlobalMsgNum", "Overflow");
  m_values.UseGlobalMsgNum = static_cast<short>(v);
  m_changed = true;
}
void PmGlobal::SetPrinterName(const std::string& v) {
  m_values.PrinterName = v;
  m_changed = true;
}
void PmGlobal::SetPtrOrient(short v) {
  m_values.PtrOrient = v;
  m_changed = true;
}
void PmGlobal::SetPtrCopies(short v) {
  m_values.PtrCopies = v;
  m_changed = true;
}
void PmGlobal::SetPtrDuplex(short v) {
  m_values.PtrDuplex = v;
  m_changed = true;
}
void PmGlobal::SetProfSave(short v) {
  m_values.ProfSave = v;
  m_changed = true;
}
void PmGlobal::SetFolderLabels(const std::string& v) {
  m_values.FolderLabels = v;
  m_changed = true;
}
short PmGlobal::LstFontSize() const {
  short n = 0;
  if (auto failure = ConvertInt16(m_values.LstFontSize, n, "PmGlobal:LstFontSize")) throw *failure;
  return n;
}
void PmGlobal::SetLstFontSize(short v) {
  m_values.LstFontSize = std::to_string(v);
  m_changed = true;
}
void PmGlobal::SetParentVer(const std::string& v) {
  m_values.ParentVer = v;
  m_changed = true;
}
void PmGlobal::SetRunPrgmOnStart(short v) {
  m_values.RunPrgmOnStart = v;
  m_changed = true;
}
void PmGlobal::SetRunPrgmName(const std::string& v) {
  m_values.RunPrgmName = Trim(v);
  m_changed = true;
}

}  // namespace velnor
