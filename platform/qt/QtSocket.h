#pragma once
// The Pmdirect socket on QTcpSocket. It only moves bytes: station text goes out byte for
// byte, arrivals are reported through onDataArrival; the reply reader sits in link/.
#include <QTcpSocket>
#include <string>

#include "platform/Socket.h"

namespace velnor {

class QtSocket : public Socket {
 public:
  QtSocket();
  ~QtSocket() override;

  void close() override;
  void setRemoteHost(const std::string& host) override { m_host = host; }
  void setRemotePort(int port) override { m_port = port; }
  void connect() override;
  void checkHost() const override;
  void send(std::string_view bytes) override;
  std::string getData() override;
  int state() const override;
  Failure failure() const override { return m_failure; }

 private:
  QTcpSocket m_socket;
  std::string m_host;
  int m_port = 0;
  Failure m_failure = Failure::None;  // what ended the last connection
};

}  // namespace velnor
