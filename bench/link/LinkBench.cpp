// Link figures: CPU used while a session waits out TimeOut on a silent server (the waits
// must sleep, not spin), and the time to hand 1000 queued messages to pmdirect-sim with
// Pausev 0. Usage: bench_link [path-to-pmdirect-sim]  (default: $VELNOR_SIM, then the
// build's velnor/pmdirect-sim).
#include <sys/resource.h>

#include <QCoreApplication>
#include <QProcess>
#include <QTcpServer>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>

#include "core/EventLog.h"
#include "core/StringLib.h"
#include "format/Encoder.h"
#include "link/PmLink.h"
#include "platform/qt/QtEventLoop.h"
#include "platform/qt/QtSocket.h"
#include "store/IcsMsg.h"

using namespace velnor;

namespace {

class QuietLog : public SessionLogWriter {
 public:
  void WriteLog(const std::string& line) override { last = line; }
  std::string last;
};

class NoDialogs : public Dialogs {
 public:
  MsgAnswer messageBox(const std::string& text, const std::string&, MsgButtons, MsgIcon) override {
    std::fprintf(stderr, "message box: %s\n", text.c_str());
    return MsgAnswer::Ok;
  }
  std::optional<std::string> inputBox(const std::string&, const std::string&, const std::string&) override {
    return std::nullopt;
  }
  int choose(const std::string& text, const std::string&, const std::vector<std::string>&, int, int escape,
             MsgIcon) override {
    std::fprintf(stderr, "question: %s\n", text.c_str());
    return escape;
  }
  std::string openFileDialog(const FileDialogRequest&) override { return {}; }
  void beep() override {}
};

class Host : public LinkHost {
 public:
  explicit Host(const Settings& s) : m_s(s) {}
  void setStatus(const std::string& key, const std::string& text) override { panels[key] = text; }
  std::string status() override { return panels["Status"]; }
  void RefreshMsgInfo(std::int32_t, Status) override {}
  void SessionEnded(bool, const std::string&) override {}
  std::string EncodeMsg(const MsgRecord& rec) override { return EncodeRecord(rec, Trim(m_s.LoginName)); }
  std::int32_t StoreMsg(const std::string&) override { return 0; }
  void Warn(const std::string& text) override { std::fprintf(stderr, "warning: %s\n", text.c_str()); }
  std::map<std::string, std::string> panels;

 private:
  const Settings& m_s;
};

double cpuSeconds() {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
         static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

double wallSeconds() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

struct Station {
  explicit Station(int port, const std::string& dir) : dataPath(dir), host(settings) {
    settings.Port = std::to_string(port);
    settings.Pausev = 0;
    settings.LoginName = "ALPHA";
    link = std::make_unique<PmLink>(loop, wns, settings, host, log, dialogs, StoreOutbox(dataPath, events),
                                    dataPath);
  }
  std::string dataPath;
  NullEventLog events;
  Settings settings;
  Host host;
  QuietLog log;
  NoDialogs dialogs;
  QtEventLoop loop;
  QtSocket wns;
  std::unique_ptr<PmLink> link;
};

std::string makeDir(const char* tag) {
  std::string tmpl = (std::filesystem::temp_directory_path() / (std::string("velnor-bench-") + tag + "-XXXXXX")).string();
  if (!mkdtemp(tmpl.data())) throw std::runtime_error("mkdtemp");
  return tmpl;
}

void silentServer() {
  QTcpServer silent;
  silent.listen(QHostAddress::LocalHost, 0);
  const std::string dir = makeDir("silent");
  Station st(silent.serverPort(), dir);
  st.settings.TimeOut = "5000";
  const double c0 = cpuSeconds(), w0 = wallSeconds();
  const bool ok = st.link->SeqPmdirect();
  const double cpu = cpuSeconds() - c0, wall = wallSeconds() - w0;
  std::printf("silent server, TimeOut 5000 ms: session %s after %.3f s wall, %.1f ms CPU (%.2f%% of one core)\n",
              ok ? "succeeded?!" : "failed", wall, cpu * 1000, 100 * cpu / wall);
  std::filesystem::remove_all(dir);
}

void thousandMessages(const std::string& sim) {
  const std::string dir = makeDir("send"), simDir = makeDir("sim");
  QProcess proc;
  proc.start(QString::fromStdString(sim), {"--port", "0", "--spool", QString::fromStdString(simDir + "/spool")});
  QByteArray line;
  while (!line.contains('\n') && proc.waitForReadyRead(10000)) line += proc.readAllStandardOutput();
  const int port = line.mid(line.lastIndexOf(':') + 1).trimmed().toInt();
  if (port <= 0) {
    std::printf("pmdirect-sim did not start (%s)\n", sim.c_str());
    return;
  }
  Station st(port, dir);
  {
    IcsMsg m(dir, st.events);
    m.rec().setStatus(velnor::Status::ReadyToSend);
    m.rec().setOrigin(velnor::Origin::Local);
    m.rec().setKind(velnor::Kind::Message);
    m.rec().setRoute("BRAVO");
    for (int i = 0; i < 1000; ++i) {
      m.rec().setSubj("Bench " + std::to_string(i));
      m.rec().setMsg("Routine traffic number " + std::to_string(i));
      m.NewMsg();
    }
  }
  const double c0 = cpuSeconds(), w0 = wallSeconds();
  const bool ok = st.link->SeqPmdirect();
  const double cpu = cpuSeconds() - c0, wall = wallSeconds() - w0;
  int sent = 0;
  IcsMsg m(dir, st.events);
  m.ResetList();
  while (m.GetList()) sent += m.rec().Status() == velnor::Status::Sent;
  std::printf("1000 queued messages, Pausev 0: session %s, %d sent in %.3f s wall (%.2f ms each), %.1f ms CPU\n",
              ok ? "ok" : "FAILED", sent, wall, wall * 1000 / 1000, cpu * 1000);
  proc.terminate();
  proc.waitForFinished(5000);
  std::filesystem::remove_all(dir);
  std::filesystem::remove_all(simDir);
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  std::string sim = argc > 1 ? argv[1] : "";
  if (sim.empty() && std::getenv("VELNOR_SIM")) sim = std::getenv("VELNOR_SIM");
  if (sim.empty()) sim = VELNOR_SIM_PATH;
  silentServer();
  thousandMessages(sim);
  return 0;
}
