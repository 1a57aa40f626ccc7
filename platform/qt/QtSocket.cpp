#include "platform/qt/QtSocket.h"

#include <QHostAddress>

#include "core/Cp1252.h"
#include "core/VError.h"

namespace velnor {

namespace {
// The classic socket control's numbers for "wrong protocol or connection state" and for
// a host name without an address.
constexpr long kErrNotConnected = 40006;
constexpr long kErrHostNotFound = 11001;
}  // namespace

QtSocket::QtSocket() {
  QObject::connect(&m_socket, &QTcpSocket::readyRead, [this] {
    if (onDataArrival) onDataArrival();
  });
  QObject::connect(&m_socket, &QAbstractSocket::errorOccurred, [this](QAbstractSocket::SocketError e) {
    switch (e) {
      case QAbstractSocket::ConnectionRefusedError:
        m_failure = Failure::Refused;
        break;
      case QAbstractSocket::RemoteHostClosedError:
        m_failure = Failure::PeerClosed;
        break;
      // Qt's lookup refuses an empty or malformed name without asking any
      // resolver, and reports it like a name no resolver knows.
      case QAbstractSocket::HostNotFoundError:
        m_failure = Failure::HostNotFound;
        break;
      default:
        m_failure = Failure::Other;
        break;
    }
  });
}

QtSocket::~QtSocket() {
  onDataArrival = nullptr;
  m_socket.abort();
}

void QtSocket::close() {
  // Whatever is still queued (a "QUIT") goes out before the connection is dropped.
  if (m_socket.state() == QAbstractSocket::ConnectedState) m_socket.flush();
  m_socket.abort();
  m_failure = Failure::None;
}

void QtSocket::connect() {
  m_socket.abort();
  m_failure = Failure::None;
  m_socket.connectToHost(QString::fromStdString(Cp1252ToUtf8(m_host)), static_cast<quint16>(m_port));
  // One short line, then a wait for the prompt: never hold a line back for coalescing.
  m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
}

void QtSocket::checkHost() const {
  if (m_failure == Failure::HostNotFound)
    throw VError(kErrHostNotFound, "WNS:Connect", "Host not found: " + m_host);
}

void QtSocket::send(std::string_view bytes) {
  if (m_socket.state() != QAbstractSocket::ConnectedState)
    throw VError(kErrNotConnected, "WNS:SendData",
                 "Wrong protocol or connection state for the requested transaction or request");
  const qint64 n = m_socket.write(bytes.data(), static_cast<qint64>(bytes.size()));
  if (n != static_cast<qint64>(bytes.size()))
    throw VError(static_cast<long>(m_socket.error()), "WNS:SendData",
                 m_socket.errorString().toStdString());
  m_socket.flush();
}

std::string QtSocket::getData() {
  const QByteArray data = m_socket.readAll();
  return std::string(data.constData(), static_cast<std::size_t>(data.size()));
}

int QtSocket::state() const {
  switch (m_socket.state()) {
    case QAbstractSocket::UnconnectedState:
      if (m_failure != Failure::None) return m_failure == Failure::PeerClosed ? Closing : Error;
      return Closed;
    case QAbstractSocket::HostLookupState:
      return ResolvingHost;
    case QAbstractSocket::ConnectingState:
      return Connecting;
    case QAbstractSocket::ConnectedState:
      return Connected;
    case QAbstractSocket::BoundState:
      return Open;
    case QAbstractSocket::ListeningState:
      return Listening;
    case QAbstractSocket::ClosingState:
      return Closing;
  }
  return Error;
}

}  // namespace velnor
