#pragma once
// A drawing surface that writes down every call as one line of text, and can be told to
// fail at a given call, so the drawing's order, coordinates and failure handling can be
// checked without a printer.
#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "print/DrawingSurface.h"
#include "print/PrinterSystem.h"

namespace velnor::test {

class RecordingSurface : public DrawingSurface {
 public:
  explicit RecordingSurface(std::vector<std::string>& ops, long failAt = -1)
      : m_ops(ops), m_failAt(failAt) {}

  void setScaleMillimetres() override { add("scale mm"); }
  void setLineWidth(int px) override { add("width " + num(px)); }
  void drawLine(double x1, double y1, double x2, double y2, Colour c) override {
    add("line " + num(x1) + " " + num(y1) + " " + num(x2) + " " + num(y2) + " " + num(c));
  }
  void fillBox(double x1, double y1, double x2, double y2, Colour c) override {
    add("box " + num(x1) + " " + num(y1) + " " + num(x2) + " " + num(y2) + " " + num(c));
  }
  void setFont(const std::string& name, int sizePt, bool bold) override {
    add("font " + name + " " + num(sizePt) + (bold ? " bold" : ""));
  }
  void setPosition(double x, double y) override { add("pos " + num(x) + " " + num(y)); }
  void setCurrentX(double x) override { add("x " + num(x)); }
  void printText(const std::string& text) override { add("text " + text); }
  void endDocument() override {
    if (m_failEnd) throw std::runtime_error("job refused");
    add("end");
  }
  void failEnd() { m_failEnd = true; }

 private:
  template <typename T>
  static std::string num(T v) {
    std::ostringstream s;
    s << v;
    return s.str();
  }
  void add(std::string op) {
    if (m_failAt >= 0 && static_cast<long>(m_calls) == m_failAt) {
      ++m_calls;
      throw std::runtime_error("surface failure");
    }
    ++m_calls;
    m_ops.push_back(std::move(op));
  }

  std::vector<std::string>& m_ops;
  long m_failAt;
  std::size_t m_calls = 0;
  bool m_failEnd = false;
};

// Installed printers with their own orientation and copies; the dialog is a script.
class FakePrinters : public PrinterSystem {
 public:
  struct Printer {
    std::string name;
    short orientation = kOrientationPortrait;
    short copies = 1;
  };
  std::vector<Printer> installed;
  long current = -1;  // none
  std::vector<std::uint32_t> dialogFlags;
  std::function<bool(FakePrinters&)> dialog = [](FakePrinters&) { return false; };
  std::vector<std::string> ops;
  long failAt = -1;
  bool failEnd = false;
  int surfacesOpened = 0;

  std::vector<std::string> InstalledPrinters() override {
    std::vector<std::string> names;
    for (const Printer& p : installed) names.push_back(p.name);
    return names;
  }
  void MakeCurrent(std::size_t index) override {
    if (index >= installed.size()) throw std::out_of_range("printer");
    // A printer made current again starts from its default settings.
    installed[index].orientation = kOrientationPortrait;
    installed[index].copies = 1;
    current = static_cast<long>(index);
  }
  std::string CurrentDeviceName() override { return cur().name; }
  short Orientation() override { return cur().orientation; }
  void SetOrientation(short o) override { cur().orientation = o; }
  short Copies() override { return cur().copies; }
  void SetCopies(short c) override { cur().copies = c; }
  bool ShowPrinter(std::uint32_t flags) override {
    dialogFlags.push_back(flags);
    return dialog(*this);
  }
  std::unique_ptr<DrawingSurface> OpenSurface() override {
    ++surfacesOpened;
    auto surface = std::make_unique<RecordingSurface>(ops, failAt);
    if (failEnd) surface->failEnd();
    return surface;
  }

  Printer& cur() {
    if (current < 0) throw std::runtime_error("no printer");
    return installed[static_cast<std::size_t>(current)];
  }
};

}  // namespace velnor::test
