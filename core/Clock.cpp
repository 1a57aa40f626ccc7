#include "core/Clock.h"

#include <ctime>

#include "core/DateTime.h"

namespace velnor {

double SystemClock::now() const {
  const std::time_t t = std::time(nullptr);
  std::tm local{};
  localtime_r(&t, &local);
  DateParts p;
  p.year = local.tm_year + 1900;
  p.month = local.tm_mon + 1;
  p.day = local.tm_mday;
  p.hour = local.tm_hour;
  p.minute = local.tm_min;
  p.second = local.tm_sec;
  return ToOleDate(p);
}

}  // namespace velnor
