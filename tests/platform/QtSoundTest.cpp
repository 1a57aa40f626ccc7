// The real Qt Multimedia player: a file that cannot be played must say so at once, every
// time, so the arrival still beeps; a playable one is started without waiting for it.
#include <gtest/gtest.h>

#include <QApplication>
#include <cstdint>
#include <fstream>
#include <string>

#include "platform/qt/QtSound.h"
#include "tests/support/TempDir.h"

namespace velnor::testing {
namespace {

// A 0.1 s mono 8 kHz 16-bit wave file of silence.
std::string SilentWave() {
  const std::uint32_t samples = 800, dataBytes = samples * 2;
  std::string w = "RIFF";
  auto u32 = [&](std::uint32_t v) { for (int i = 0; i < 4; ++i) w += static_cast<char>(v >> (8 * i) & 0xFF); };
  auto u16 = [&](std::uint16_t v) { for (int i = 0; i < 2; ++i) w += static_cast<char>(v >> (8 * i) & 0xFF); };
  u32(36 + dataBytes);
  w += "WAVEfmt ";
  u32(16);
  u16(1);  // PCM
  u16(1);
  u32(8000);
  u32(16000);
  u16(2);
  u16(16);
  w += "data";
  u32(dataBytes);
  w.append(dataBytes, '\0');
  return w;
}

TEST(QtSound, UnplayableFilesFailAtOnceAndAWaveFileStarts) {
  int argc = 1;
  char name[] = "test";
  char* argv[] = {name, nullptr};
  QApplication app(argc, argv);
  TempDir dir;
  QtSound sound;
  EXPECT_FALSE(sound.playFileAsync(""));
  EXPECT_FALSE(sound.playFileAsync(dir.file("missing.wav")));
  EXPECT_FALSE(sound.playFileAsync(dir.path()));  // a folder

  const std::string wav = dir.file("ding.wav");
  std::ofstream(wav, std::ios::binary) << SilentWave();
  EXPECT_TRUE(sound.playFileAsync(wav));
  EXPECT_TRUE(sound.playFileAsync(wav));  // again while it may still be loading or playing
  QApplication::processEvents();

  // Named like a wave file but not one, or cut off after its header: the player would stay
  // silent, so every call says so and every arrival beeps.
  const std::string text = dir.file("text.wav"), cut = dir.file("cut.wav");
  std::ofstream(text, std::ios::binary) << "This is a text file with a wave file's name, and no sound.";
  std::ofstream(cut, std::ios::binary) << SilentWave().substr(0, 44);
  for (const std::string& bad : {text, cut, text, cut}) EXPECT_FALSE(sound.playFileAsync(bad)) << bad;
  EXPECT_TRUE(sound.playFileAsync(wav));
}

}  // namespace
}  // namespace velnor::testing
