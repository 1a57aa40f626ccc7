#pragma once
// A failure passed to a caller with the three things an operator or the event log needs:
// a number, the source ("PmMsg:Load", "FileLib:GetPathFromConf") and a description.
#include <stdexcept>
#include <string>

namespace velnor {

// Numbers in the classic runtime's numbering, so log texts read the way operators of
// the companion programs know them.
enum ErrNo : long {
  kErrOverflow = 6,
  kErrFileNotFound = 53,
  kErrBadFileMode = 54,
  kErrFileAlreadyOpen = 55,
  kErrDeviceIO = 57,
  kErrDiskFull = 61,
  kErrInputPastEnd = 62,
  kErrPermissionDenied = 70,
  kErrPathFileAccess = 75,
  kErrPathNotFound = 76,
  kErrTypeMismatch = 13,
  kErrInvalidCall = 5,
};

class VError : public std::runtime_error {
 public:
  VError(long number, std::string source, std::string description)
      : std::runtime_error(description), m_number(number), m_source(std::move(source)),
        m_description(std::move(description)) {}
  long number() const { return m_number; }
  const std::string& source() const { return m_source; }
  const std::string& description() const { return m_description; }

 private:
  long m_number;
  std::string m_source;
  std::string m_description;
};

// Maps an errno value to a number and description of the table above.
VError ErrnoError(int err, const std::string& source);

}  // namespace velnor
