#pragma once
// A DrawingSurface on a QPrinter: millimetre coordinates from the top-left of the
// printable area, fonts at their point size on the printer's own resolution.
#include <QFont>
#include <QPainter>
#include <QPen>

#include "print/DrawingSurface.h"

class QPrinter;

namespace velnor {

class QtPrinterSurface : public DrawingSurface {
 public:
  // Starts the job on printer; throws VError when the printer refuses it.
  explicit QtPrinterSurface(QPrinter& printer);
  ~QtPrinterSurface() override;

  void setScaleMillimetres() override;
  void setLineWidth(int px) override;
  void drawLine(double x1, double y1, double x2, double y2, Colour colour) override;
  void fillBox(double x1, double y1, double x2, double y2, Colour colour) override;
  void setFont(const std::string& name, int sizePt, bool bold) override;
  void setPosition(double x, double y) override;
  void setCurrentX(double x) override;
  void printText(const std::string& text) override;
  void endDocument() override;

 private:
  double dev(double mm) const { return mm * m_dotsPerMm; }

  QPrinter& m_printer;
  QPainter m_painter;
  double m_dotsPerMm = 1;
  int m_lineWidth = 1;
  QFont m_font;
  double m_x = 0;
  double m_y = 0;
};

}  // namespace velnor
