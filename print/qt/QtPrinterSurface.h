#pragma once
// A DrawingSurface on a QPrinter: millimetre coordinates from the top of the printable
// area, fonts at their point size on the printer's own resolution. The drawing's content is
// centred across the printable area and shrunk, never enlarged, only when the paper is too
// small for it (PageContent).
#include <QFont>
#include <QPainter>
#include <QPen>

#include "print/DrawingSurface.h"

class QPrinter;

namespace velnor {

class QtPrinterSurface : public DrawingSurface {
 public:
  // Starts the job on printer; throws VError when the printer refuses it.
  QtPrinterSurface(QPrinter& printer, const PageContent& content);
  ~QtPrinterSurface() override;

  void setScaleMillimetres() override;
  void setLineWidth(int px) override;
  void drawLine(double x1, double y1, double x2, double y2, Colour colour) override;
  void fillBox(double x1, double y1, double x2, double y2, Colour colour) override;
  void setFont(const std::string& name, int sizePt, bool bold) override;
  void setPosition(double x, double y) override;
  void setCurrentX(double x) override;
  void printText(const std::string& text) override;
  void newPage() override;
  void endDocument() override;

 private:
  // Device units of a length, and of a position across the page.
  double dev(double mm) const { return mm * m_scale * m_dotsPerMm; }
  double devX(double mm) const { return m_offsetX + dev(mm); }

  QPrinter& m_printer;
  PageContent m_content;
  QPainter m_painter;
  double m_dotsPerMm = 1;
  double m_scale = 1;
  double m_offsetX = 0;  // device units
  int m_lineWidth = 1;
  QFont m_font;
  double m_x = 0;
  double m_y = 0;
};

}  // namespace velnor
