#include "core/VError.h"

#include <cerrno>
#include <cstring>

namespace velnor {

VError ErrnoError(int err, const std::string& source) {
  long number = kErrPathFileAccess;
  switch (err) {
    case ENOENT: number = kErrFileNotFound; break;
    case EACCES:
    case EPERM:
    case EROFS: number = kErrPermissionDenied; break;
    case ENOSPC:
    case EDQUOT: number = kErrDiskFull; break;
    case EIO: number = kErrDeviceIO; break;
    case ENOTDIR: number = kErrPathNotFound; break;
    default: break;
  }
  return VError(number, source, std::strerror(err));
}

}  // namespace velnor
