#include "main/CommandLine.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <limits>

#include "app/Settings.h"
#include "core/DateTime.h"
#include "log309/CommLog.h"

namespace velnor {
namespace {

std::string FileName(const QString& path) { return QFile::encodeName(path).toStdString(); }

std::string AbsolutePath(const QString& path) {
  return FileName(QDir::cleanPath(QFileInfo(path).absoluteFilePath()));
}

// Written here rather than by the parser, whose own text needs a running application
// for the program's name and would offer Qt's switches.
std::string HelpText(const QList<QCommandLineOption>& options) {
  std::string text =
      "Usage: velnor [--data DIR]\n"
      "       velnor [--data DIR] --print N --pdf FILE\n"
      "       velnor [--data DIR] --ics309 [--from TIME] [--to TIME] [--pdf FILE] [--csv FILE]\n"
      "       velnor --help | --version\n"
      "\n"
      "Keeps the station's ICS 213 General Messages and sends and receives them through\n"
      "Pmdirect. Without options it opens the main window.\n"
      "\n"
      "Options:\n";
  for (const QCommandLineOption& o : options) {
    QString names;
    for (const QString& n : o.names())
      names += (names.isEmpty() ? "" : ", ") + QString(n.size() == 1 ? "-" : "--") + n;
    if (!o.valueName().isEmpty()) names += " " + o.valueName();
    text += "  " + names.leftJustified(14).toStdString() + "  " + o.description().toStdString() + "\n";
  }
  text +=
      "\n"
      "TIME is local time as 2026-11-19T06:00. --ics309 writes the ICS 309 Communications Log\n"
      "of the messages sent and received from --from up to --to (12 hours by default).\n"
      "\n"
      "Exit status: 0 done; 1 the store, the message or an output file failed; 2 bad arguments.\n"
      "See velnor(1) for more.\n";
  return text;
}

CommandLine Bad(const std::string& reason) {
  CommandLine c;
  c.action = CommandLine::Action::BadArguments;
  c.text = reason;
  return c;
}

}  // namespace

QStringList ArgumentList(int argc, char** argv) {
  QStringList list;
  for (int i = 0; i < argc; ++i) list << QFile::decodeName(argv[i]);
  return list;
}

CommandLine ParseCommandLine(const QStringList& arguments) {
  const QCommandLineOption help({"h", "help"}, "show this help and end");
  const QCommandLineOption version("version", "show the version and end");
  const QCommandLineOption data("data", "use DIR as the data directory, e.g. for training", "DIR");
  const QCommandLineOption print("print", "print message number N to a PDF file, showing no window", "N");
  const QCommandLineOption pdf("pdf", "the PDF file to write (an existing one is replaced)", "FILE");
  const QCommandLineOption ics309("ics309", "write the communications log of a period, showing no window");
  const QCommandLineOption from("from", "the period of --ics309 begins at TIME", "TIME");
  const QCommandLineOption to("to", "the period of --ics309 ends before TIME", "TIME");
  const QCommandLineOption csv("csv", "the CSV file --ics309 writes (an existing one is replaced)", "FILE");
  QCommandLineParser parser;
  const QList<QCommandLineOption> options{help, version, data, print, pdf, ics309, from, to, csv};
  parser.addOptions(options);

  if (!parser.parse(arguments)) return Bad(parser.errorText().toStdString() + " Try velnor --help.");
  if (!parser.positionalArguments().isEmpty())
    return Bad("unexpected argument '" + parser.positionalArguments().front().toStdString() +
               "'. Try velnor --help.");
  CommandLine c;
  if (parser.isSet(help)) {
    c.action = CommandLine::Action::Help;
    c.text = HelpText(options);
    return c;
  }
  if (parser.isSet(version)) {
    c.action = CommandLine::Action::Version;
    c.text = "velnor " + ProgramVersion() + "\n";
    return c;
  }
  if (parser.isSet(data)) {
    if (parser.value(data).isEmpty()) return Bad("--data needs a directory name");
    c.dataDir = AbsolutePath(parser.value(data));
  }
  if (parser.isSet(pdf) && !parser.isSet(print) && !parser.isSet(ics309))
    return Bad("--pdf goes with --print or --ics309");
  for (const QCommandLineOption* o : {&from, &to, &csv})
    if (parser.isSet(*o) && !parser.isSet(ics309))
      return Bad("--" + o->names().front().toStdString() + " goes with --ics309");
  if (parser.isSet(ics309)) {
    if (parser.isSet(print)) return Bad("--print and --ics309 are two jobs: give one of them");
    if (!parser.isSet(pdf) && !parser.isSet(csv))
      return Bad("--ics309 needs --pdf FILE or --csv FILE, or both");
    for (const QCommandLineOption* o : {&from, &to}) {
      if (!parser.isSet(*o)) continue;
      const std::string value = parser.value(*o).toStdString();
      const std::optional<double> t = ParseDateText(value);
      if (!t)
        return Bad("--" + o->names().front().toStdString() +
                   " takes a date and time such as 2026-11-19T06:00, not '" + value + "'");
      (o == &from ? c.from : c.to) = t;
    }
    if (c.from && c.to && OleSeconds(*c.from) >= OleSeconds(*c.to))
      return Bad("the period ends before it begins: --to must come after --from");
    for (const QCommandLineOption* o : {&pdf, &csv}) {
      if (!parser.isSet(*o)) continue;
      if (parser.value(*o).isEmpty())
        return Bad("--" + o->names().front().toStdString() + " needs a file name");
      (o == &pdf ? c.pdf : c.csv) = AbsolutePath(parser.value(*o));
    }
    c.action = CommandLine::Action::CommLog;
  }
  if (parser.isSet(print)) {
    bool ok = false;
    const qlonglong n = parser.value(print).toLongLong(&ok);
    if (!ok || n < 1 || n > std::numeric_limits<std::int32_t>::max())
      return Bad("--print takes a message number, not '" + parser.value(print).toStdString() + "'");
    if (!parser.isSet(pdf)) return Bad("--print needs --pdf FILE: pages are printed to a PDF file only");
    if (parser.value(pdf).isEmpty()) return Bad("--pdf needs a file name");
    c.action = CommandLine::Action::PrintMessage;
    c.message = static_cast<std::int32_t>(n);
    c.pdf = AbsolutePath(parser.value(pdf));
  }
  return c;
}

}  // namespace velnor
