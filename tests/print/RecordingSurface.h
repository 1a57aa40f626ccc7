#pragma once
// A drawing surface that writes each call down as one line ("line 10 20 195 20 0") and can
// refuse the job at its end, so order, coordinates and failure handling are checked without a printer.
#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/VError.h"
#include "print/DrawingSurface.h"
#include "print/PrinterSystem.h"

namespace velnor::test {

class RecordingSurface : public DrawingSurface {
 public:
  RecordingSurface(std::vector<std::string>& ops, bool failEnd) : m_ops(ops), m_failEnd(failEnd) {}

  void setScaleMillimetres() override { add("scale mm"); }
  void setLineWidth(int px) override { add("width", px); }
  void drawLine(double x1, double y1, double x2, double y2, Colour c) override {
    add("line", x1, y1, x2, y2, c);
  }
  void fillBox(double x1, double y1, double x2, double y2, Colour c) override {
    add("box", x1, y1, x2, y2, c);
  }
  void setFont(const std::string& name, int sizePt, bool bold) override {
    add("font " + name + " " + std::to_string(sizePt) + (bold ? " bold" : ""));
  }
  void setPosition(double x, double y) override { add("pos", x, y); }
  void setCurrentX(double x) override { add("x", x); }
  void printText(const std::string& text) override { add("text " + text); }
  void newPage() override { add("page"); }
  void endDocument() override {
    if (m_failEnd) throw std::runtime_error("job refused");
    add("end");
  }

 private:
  template <typename... T>
  void add(const std::string& op, const T&... args) {
    std::ostringstream s;
    s << op;
    ((s << ' ' << args), ...);
    m_ops.push_back(s.str());
  }

  std::vector<std::string>& m_ops;
  bool m_failEnd;
};

// Installed printers with their own orientation and copies, then the program's own PDF
// printer, as QtPrinterSystem has them (PrinterContractTest holds both to the same cases):
// there is always a current printer, the PDF one when no other is installed. The dialog is
// a script.
class FakePrinters : public PrinterSystem {
 public:
  struct Printer {
    std::string name;
    short orientation = kOrientationPortrait;
    short copies = 1;
  };
  std::vector<Printer> installed;  // the system's printers
  Printer pdf{"PDF file"};
  std::string pdfFile = "/home/op/ICS213.pdf";
  std::size_t current = 0;  // in InstalledPrinters(): the first, or the PDF printer
  std::vector<std::uint32_t> dialogFlags;
  std::function<bool(FakePrinters&)> dialog = [](FakePrinters&) { return false; };
  std::vector<std::string> ops;
  bool failEnd = false;
  int surfacesOpened = 0;

  std::vector<std::string> InstalledPrinters() override {
    std::vector<std::string> names;
    for (const Printer& p : installed) names.push_back(p.name);
    names.push_back(pdf.name);
    return names;
  }
  void MakeCurrent(std::size_t index) override {
    if (index > installed.size()) Refuse("No such printer");
    current = index;  // with the settings it had
  }
  std::string CurrentDeviceName() override { return cur().name; }
  std::string CurrentSystemPrinterName() override {
    if (current >= installed.size()) Refuse("No printer is installed");
    return cur().name;
  }
  short Orientation() override { return cur().orientation; }
  void SetOrientation(short o) override {
    if (o != kOrientationPortrait && o != kOrientationLandscape) Refuse("Invalid orientation");
    cur().orientation = o;
  }
  short Copies() override { return cur().copies; }
  void SetCopies(short c) override {
    if (c < 1) Refuse("Invalid number of copies");
    cur().copies = c;
  }
  bool ShowPrinter(std::uint32_t flags) override {
    dialogFlags.push_back(flags);
    return dialog(*this);
  }
  std::unique_ptr<DrawingSurface> OpenSurface(const PageContent&) override {
    ++surfacesOpened;
    return std::make_unique<RecordingSurface>(ops, failEnd);
  }
  std::string CurrentOutputFile() override { return current < installed.size() ? "" : pdfFile; }

  Printer& cur() { return current < installed.size() ? installed[current] : pdf; }

 private:
  [[noreturn]] static void Refuse(const char* what) { throw VError(kErrInvalidCall, "PmPrintLib", what); }
};

}  // namespace velnor::test
