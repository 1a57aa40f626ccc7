#pragma once
// The arrival sound for window tests: records the files it is asked to play and the beeps.
// Like the real player it refuses, on every call, a file it could not play: no name, not
// a plain file, not a RIFF wave, or cut off before the length its header gives.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/Sound.h"

namespace velnor::testing {

class RecordingSound : public Sound {
 public:
  bool playFileAsync(const std::string& path) override {
    played.push_back(path);
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec)) return false;
    unsigned char h[12] = {};
    std::ifstream(path, std::ios::binary).read(reinterpret_cast<char*>(h), sizeof h);
    const std::uintmax_t length = 8u + (h[4] | h[5] << 8 | h[6] << 16 | std::uintmax_t{h[7]} << 24);
    return std::string(h, h + 4) == "RIFF" && std::string(h + 8, h + 12) == "WAVE" &&
           std::filesystem::file_size(path, ec) >= length;
  }
  void beep() override { ++beeps; }
  std::vector<std::string> played;
  int beeps = 0;
};

// A 0.1 s mono 8 kHz 16-bit PCM wave file of silence.
inline std::string SilentWave() {
  return std::string(
             "RIFF\x64\x06\0\0WAVEfmt \x10\0\0\0\1\0\1\0\x40\x1f\0\0\x80\x3e\0\0\2\0\x10\0data\x40\x06\0\0",
             44) +
         std::string(1600, '\0');
}

}  // namespace velnor::testing
