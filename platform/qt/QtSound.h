#pragma once
// The arrival sound on Qt Multimedia: a wave file played asynchronously, and the beep.
// playFileAsync reads the file's header with the player's own decoder before it starts,
// so a file that is missing, unreadable or not a wave the player can decode fails at
// once, on every call, and the caller beeps instead. A sound output that fails later,
// while the file loads, beeps too.
#include <QObject>
#include <memory>

#include "platform/Sound.h"

class QSoundEffect;

namespace velnor {

class QtSound : public QObject, public Sound {
  Q_OBJECT
 public:
  QtSound();
  ~QtSound() override;
  bool playFileAsync(const std::string& path) override;
  void beep() override;

 private:
  QSoundEffect* m_effect = nullptr;
};

}  // namespace velnor
