// velnor's command line, run as the built program: each option, the exit codes with one
// line per failure, a stored message printed to PDF and a day's communications log
// written from a data directory named on the command line.
#include <gtest/gtest.h>

#include <QProcess>
#include <filesystem>

#include "app/Settings.h"
#include "core/AtomicFile.h"
#include "core/DateTime.h"
#include "core/EventLog.h"
#include "store/IcsMsg.h"
#include "tests/support/TempDir.h"

namespace velnor {
namespace {

using testing::TempDir;
namespace fs = std::filesystem;

struct Result {
  int code = -1;
  std::string out, err;
};

// $VELNOR_BIN in dir, with home, temporary, cache and runtime folders there and the print server
// pointed at a socket that does not exist: nothing outside dir is read or written.
Result Velnor(const QStringList& args, const TempDir& dir) {
  QProcessEnvironment env;
  const QString root = QString::fromStdString(dir.path());
  for (const char* var :
       {"HOME", "TMPDIR", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"})
    env.insert(var, root);
  env.insert("CUPS_SERVER", root + "/no-cups.sock");
  env.insert("PATH", qEnvironmentVariable("PATH"));
  QProcess p;
  p.setProcessEnvironment(env);
  p.setWorkingDirectory(root);
  p.start(qEnvironmentVariable("VELNOR_BIN"), args);
  Result r;
  if (!p.waitForFinished(60000)) return r;
  r.code = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
  r.out = p.readAllStandardOutput().toStdString();
  r.err = p.readAllStandardError().toStdString();
  return r;
}

std::string PdfText(const std::string& path) {
  QProcess p;
  p.start("pdftotext", {"-layout", QString::fromStdString(path), "-"});
  return p.waitForFinished(60000) ? p.readAllStandardOutput().toStdString() : "";
}

TEST(VelnorCommandLine, OptionsExitCodesPrintToPdfAndCommLog) {
  TempDir dir;
  // A station with three received, unread messages and the date format year-month-day.
  const std::string dataPath = dir.file("station");
  fs::create_directories(dataPath);
  Settings s;
  s.DateFormat = "yyyy-mm-dd";
  WriteSettings(dataPath + "/velnor.ini", s);
  RecordingEventLog log;
  for (int i = 1; i <= 3; ++i) {
    IcsMsg m(dataPath, log);
    MsgRecord& r = m.rec();
    r.setStatus(Status::Unread);
    r.setOrigin(Origin::Received);
    r.setKind(Kind::Message);
    r.setFr("Operations");
    r.setSubj("Subject " + std::to_string(i));
    r.setMsgDate(ToOleDate({2026, 3, 10 + i, 9, 30, 0}));
    r.setMsg("Body of message " + std::to_string(i) + ": sandbags to the east levee.");
    m.NewMsg();
  }
  const std::string store = dir.file("station/velnor.odb"), empty = dir.file("empty");
  fs::create_directories(empty);
  struct Row {
    QStringList args;
    int code;
    std::string out;  // in stdout when it succeeds; stderr then stays empty
    std::string err;  // in the one stderr line of a failure; stdout then stays empty
  };
  const QStringList commLog{"--data",           "station", "--ics309", "--from", "2026-03-12T00:00", "--to",
                            "2026-03-13 00:00", "--csv",   "log.csv",  "--pdf",  "log.pdf"};
  const Row rows[] = {
      {{"--help"}, 0, "  -h, --help      show this help and end\n  --version       show", ""},
      {{"--version"}, 0, "velnor " + ProgramVersion() + "\n", ""},
      {{"--data", "station", "--print", "2", "--pdf", "msg.pdf"}, 0, "", ""},
      {{"--frobnicate"}, 2, "", "Unknown option 'frobnicate'"},
      {{"--print", "0", "--pdf", "x.pdf"}, 2, "", "--print takes a message number"},
      {{"--data", "station", "--print", "4", "--pdf", "x.pdf"}, 1, "", "message 4 is not in " + store},
      {{"--data", "empty", "--print", "1", "--pdf", "x.pdf"}, 1, "", "no message store " + empty},
      {{"--data", "station", "--print", "1", "--pdf", "no/x.pdf"}, 1, "", "/no/x.pdf could not be"},
      {commLog, 0, "", ""},
      {{"--ics309", "--from", "yesterday", "--csv", "x.csv"}, 2, "", "--from takes a date and time"},
      {{"--data", "station", "--ics309", "--csv", "no/x.csv"}, 1, "", "/no/x.csv could not be"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.args.join(' ').toStdString());
    const Result r = Velnor(row.args, dir);
    EXPECT_EQ(r.code, row.code);
    if (row.code == 0) {
      EXPECT_NE(r.out.find(row.out), std::string::npos) << r.out;
      EXPECT_EQ(r.err, "");
    } else {
      EXPECT_EQ(r.out, "");
      EXPECT_EQ(r.err.rfind("velnor: ", 0), 0u) << r.err;
      EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << r.err;
      EXPECT_NE(r.err.find(row.err), std::string::npos) << r.err;
    }
  }
  // Message 2 in the station's date format, and nothing of the others; the page itself is
  // the printing tests' business.
  const std::string page = PdfText(dir.file("msg.pdf"));
  for (const char* want :
       {"Operations", "Subject 2", "2026-03-12 09:30", "Body of message 2: sandbags to the east levee."})
    EXPECT_NE(page.find(want), std::string::npos) << want << " in\n" << page;
  EXPECT_EQ(page.find("Subject 1"), std::string::npos);
  // The day's log: the message of that day alone, without a route, named by its sender.
  EXPECT_EQ(ReadWholeFile(dir.file("log.csv"), "test"),
            "\xEF\xBB\xBFNo,Date,Time,From Call Sign/ID,From Msg #,To Call Sign/ID,To Msg "
            "#,Subject,Reply,Status\r\n"
            "1,2026-03-12,09:30:00,Operations,,LOCAL,2,Subject 2,,Received\r\n");
  EXPECT_NE(PdfText(dir.file("log.pdf")).find("COMMUNICATIONS LOG (ICS 309)"), std::string::npos);
  // Printing reads the data directory and writes nothing there: no store is created in an
  // empty one, and the message printed keeps its status.
  EXPECT_TRUE(fs::is_empty(empty));
  EXPECT_EQ(std::distance(fs::directory_iterator(dir.file("station")), fs::directory_iterator()), 2);
  IcsMsg stored(dir.file("station"), log);
  ASSERT_TRUE(stored.Load(2));
  EXPECT_EQ(stored.rec().Status(), Status::Unread);
  EXPECT_FALSE(fs::exists(dir.file("x.pdf")));
  EXPECT_FALSE(fs::exists(dir.file("x.csv")));
}

}  // namespace
}  // namespace velnor
