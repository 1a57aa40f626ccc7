#pragma once
// The arrival sound on Qt Multimedia: a wave file played asynchronously, and the beep.
// playFileAsync reports failure at once for a file that does not exist or cannot be
// opened, so the caller can beep instead; a decoder error found later also beeps.
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
