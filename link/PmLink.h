#pragma once
// The main window's link to Pmdirect: one socket (WNS), the link state, the waits, the
// session dialogue, the send/receive schedule and the link test. The window holds one
// PmLink from start-up to shutdown and forwards its clock tick to ClockTick().
//
// A session, as Pmdirect sees it (every line we send ends in CR LF):
//   connect to HostName:Port             wait for the connected state, TimeOut ms at most
//   "<!REG!>"                            wait for "LOGON>"
//   "<!LOGON!>" + LoginName, trimmed     wait for "OK>"
//   each queued message (status 2),      wait for "OK>", then the record becomes
//     its whole tagged text                status 3 ("Sent")
//   "POP", again and again               each reply holding "!/ICS213!" is one message,
//                                          kept on disk, then filed as Unread;
//                                          "NOMORE>" ends the loop
//   "QUIT"                               not waited for; "QUITING>" usually arrives in
//                                          the pause before we close
// Any step that fails closes the socket without "QUIT" and leaves
// "Disconnecting, error during <step>" in the status panel; unsent messages stay queued.
// Pausev milliseconds separate the steps so a slow Pmdirect keeps up.
//
// Pmdirect forgets a message once it has handed it out, so each received text is kept in
// spool/incoming (IncomingSpool.h) until it is filed. A text that cannot be filed stays
// there, the operator is told where, and retrieval stops: filing fails for every text
// alike (a full store, a failing disk), so the rest are left with Pmdirect. Start-up
// files what was left (FileKept).
//
// Every wait sleeps in the event loop, so the editor, the clock and socket data go on
// meanwhile, and a Send click or schedule tick may arrive inside a session:
// SessionRunning turns such a second session away. A Send is not turned away: its
// message is queued and one more session runs right after the current one
// (SendSession), since the running session's walk may already have passed it.
//
// The connect step ends as soon as the socket reports an error, so nothing listening at
// HostName:Port fails at once; only silence waits the whole TimeOut. Each session ends by
// telling the host its outcome (SessionEnded) for the connection panel.
//
// The link test (PmdirectTest) connects, hands over one text in pieces of 75 characters
// without line ends, and closes; it speaks no dialogue. It shares the socket with the
// sessions, so it refuses to run during one, and a run that falls due during the test
// waits for its end.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/SessionLog.h"
#include "app/Settings.h"
#include "link/IncomingSpool.h"
#include "link/LinkHost.h"
#include "link/Transport.h"
#include "link/Waits.h"
#include "platform/Dialogs.h"
#include "platform/EventLoop.h"
#include "platform/Socket.h"

namespace velnor {

// The connection panel after a session: "Disconnected. Last session 16:02 OK", or with
// " failed: " and why in place of " OK".
std::string LastSessionText(bool ok, const std::string& why, double when);

class PmLink {
 public:
  // Settings are read live: HostName, Port, TimeOut, Pausev, LoginName, SRTime.
  // dataPath: where received texts are kept until filed (spool/incoming).
  PmLink(EventLoop& loop, Socket& WNS, const Settings& settings, LinkHost& host, SessionLogWriter& log,
         Dialogs& dialogs, OutboxFactory outbox, const std::string& dataPath);
  ~PmLink();
  PmLink(const PmLink&) = delete;
  PmLink& operator=(const PmLink&) = delete;

  // One whole session; false on any failure, and at once while another one runs.
  bool SeqPmdirect();
  // SeqPmdirect with its outcome reported; the "Status" panel text is restored after.
  void RunSession();
  // The Send command's session: RunSession, or, while a session runs, one more session
  // as soon as it ends, and "Queued: ..." in the "Status" panel instead of a failure.
  void SendSession();
  // Why the last session failed, empty when it went through.
  const std::string& LastFailure() const { return m_lastFailure; }
  bool SessionRunning() const { return m_SessionRunning; }
  void setSessionRunning(bool on) { m_SessionRunning = on; }

  // Send/receive schedule.
  void StartSRTimer();
  void ClockTick();  // the counting part of tmrClock's tick
  void tmrSRTimer_Timer();
  short SRCounter() const { return m_SRCounter; }
  short SRTimeStarted() const { return m_SRTimeStarted; }
  Timer& tmrSRTimer() { return *m_tmrSRTimer; }

  // Files the received texts an earlier run kept but could not file, oldest first, and
  // logs each; stops at the first that still cannot be filed. Called at start-up.
  void FileKept();

  // Link test: true when connected and the whole text was handed to the socket. False
  // at once, the socket untouched, while a session runs.
  bool PmdirectTest(std::string inString);
  bool TestRunning() const { return m_TestRunning; }

  // Waits, for the window's other users (start-up holds its banners with Pause).
  void Pause(short ms) { m_waits.Pause(ms); }
  void StartGpTimer(std::int32_t ms) { m_waits.StartGpTimer(ms); }
  Waits& waits() { return m_waits; }

  Transport& transport() { return m_transport; }
  LinkState& state() { return m_transport.state(); }
  const std::string& OutgoingText() const { return m_OutgoingText; }

 private:
  // The steps of a session, each true when it went through.
  bool ConnectServer();
  bool RegisterClient();
  bool LogOn();
  bool SendMessages();
  bool RetrieveMessages();
  // Runs the steps in order up to the first that fails: its name ("error during <name>"),
  // or nothing when every step went through.
  std::optional<std::string> RunSteps();
  // One session from connect to quit or abort; its outcome goes to the host.
  bool OneSession();
  void QuitSession();
  void AbortSession(const std::string& step);
  // Keeps, files and lets go of one received text; false when it could not be filed.
  bool FileReceived(const std::string& text);
  // Deletes the kept copy of message `number`, now filed; a failure is logged.
  void LetGo(IncomingSpool::Kept& kept, std::int32_t number);
  // Logs and shows "Message could not be stored: kept in <path>" for each path.
  void TellKept(const std::vector<std::string>& paths);
  void status(const std::string& text) { m_host.setStatus("Status", text); }
  void netState(const std::string& text) { m_host.setStatus("NetState", text); }
  short pausev() const { return m_settings.Pausev; }
  std::int32_t timeOutMs() const;

  Socket& m_WNS;
  const Settings& m_settings;
  LinkHost& m_host;
  SessionLogWriter& m_log;
  Dialogs& m_dialogs;
  OutboxFactory m_outbox;
  IncomingSpool m_spool;
  Waits m_waits;
  Transport m_transport;
  std::unique_ptr<Timer> m_tmrSRTimer;
  bool m_SessionRunning = false;
  bool m_RunAgain = false;       // a Send came during the session: one more follows it
  bool m_TestRunning = false;    // the link test has the socket
  std::string m_connectFailure;  // why the last connect step failed
  std::string m_lastFailure;
  std::string m_OutgoingText;
  short m_SRCounter = 0;
  short m_SRTimeStarted = 0;
};

}  // namespace velnor
