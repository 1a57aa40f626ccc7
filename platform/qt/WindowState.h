#pragma once
// Where windows keep their size, place and layout between runs: QSettings(kStateOrganisation,
// kStateApplication), a file of the program's own (~/.config/velnor/velnor.conf), never
// velnor.ini, whose lines other programs read.
namespace velnor {

inline constexpr const char* kStateOrganisation = "velnor";
inline constexpr const char* kStateApplication = "velnor";

}  // namespace velnor
