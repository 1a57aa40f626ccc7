#include "platform/qt/QtSound.h"

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QSoundEffect>
#include <QUrl>
#include <QWaveDecoder>

#include "core/Cp1252.h"

namespace velnor {

namespace {

// Reads the header with the decoder the player itself uses; with the whole file at hand
// open() parses it at once. A header it refuses, or one whose data it would wait for (a
// cut-off file), is no sound: the player would stay silent without reporting an error,
// and the next change of source would hang on its stuck load.
bool Decodable(const QString& file) {
  QFile f(file);
  // Only a plain file: opening a named pipe would wait for a writer.
  if (!QFileInfo(file).isFile() || !f.open(QIODevice::ReadOnly)) return false;
  QWaveDecoder decoder(&f);
  bool known = false;
  QObject::connect(&decoder, &QWaveDecoder::formatKnown, [&known] { known = true; });
  QObject::connect(&decoder, &QWaveDecoder::parsingError, [&known] { known = false; });
  return decoder.open(QIODevice::ReadOnly) && known && decoder.audioFormat().isValid();
}

}  // namespace

QtSound::QtSound() : m_effect(new QSoundEffect(this)) {
  connect(m_effect, &QSoundEffect::statusChanged, this, [this] {
    if (m_effect->status() == QSoundEffect::Ready) m_effect->play();
    // The file decoded but the sound output failed: the operator still hears something.
    else if (m_effect->status() == QSoundEffect::Error) beep();
  });
}

QtSound::~QtSound() = default;

bool QtSound::playFileAsync(const std::string& path) {
  const QString file = QString::fromStdString(Cp1252ToUtf8(path));
  if (path.empty() || !Decodable(file)) return false;
  const QUrl url = QUrl::fromLocalFile(file);
  if (m_effect->source() != url || m_effect->status() == QSoundEffect::Error) {
    // Setting the same source again is ignored: a load that failed is started afresh.
    m_effect->setSource(QUrl());
    m_effect->setSource(url);  // plays once loaded
  } else if (m_effect->status() == QSoundEffect::Ready) {
    m_effect->play();
  }  // still loading: it plays once loaded
  return true;
}

void QtSound::beep() { QApplication::beep(); }

}  // namespace velnor
