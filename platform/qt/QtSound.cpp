#include "platform/qt/QtSound.h"

#include <QApplication>
#include <QFile>
#include <QSoundEffect>
#include <QUrl>

#include "core/Cp1252.h"

namespace velnor {

QtSound::QtSound() : m_effect(new QSoundEffect(this)) {
  connect(m_effect, &QSoundEffect::statusChanged, this, [this] {
    if (m_effect->status() == QSoundEffect::Ready) m_effect->play();
    // The file was accepted at first but cannot be decoded: the operator still hears something.
    else if (m_effect->status() == QSoundEffect::Error) beep();
  });
}

QtSound::~QtSound() = default;

bool QtSound::playFileAsync(const std::string& path) {
  const QString file = QString::fromStdString(Cp1252ToUtf8(path));
  QFile f(file);
  if (path.empty() || !f.exists() || !f.open(QIODevice::ReadOnly)) return false;
  f.close();
  const QUrl url = QUrl::fromLocalFile(file);
  if (m_effect->source() == url && m_effect->status() == QSoundEffect::Ready) {
    m_effect->play();
  } else {
    m_effect->setSource(url);  // plays once loaded
  }
  return true;
}

void QtSound::beep() { QApplication::beep(); }

}  // namespace velnor
