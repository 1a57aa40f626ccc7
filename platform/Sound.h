#pragma once
// Playing the arrival sound: start a wave file asynchronously and say whether that
// worked, and the short system beep.
#include <string>

namespace velnor {

class Sound {
 public:
  virtual ~Sound() = default;
  virtual bool playFileAsync(const std::string& path) = 0;
  virtual void beep() = 0;
};

}  // namespace velnor
