#include "main/CommandLine.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <limits>

#include "app/Settings.h"

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
      "Exit status: 0 done; 1 the store, the message or the PDF failed; 2 bad arguments.\n"
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
  const QCommandLineOption pdf("pdf", "the PDF file --print writes (an existing one is replaced)", "FILE");
  QCommandLineParser parser;
  const QList<QCommandLineOption> options{help, version, data, print, pdf};
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
  if (parser.isSet(pdf) && !parser.isSet(print)) return Bad("--pdf goes with --print");
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
