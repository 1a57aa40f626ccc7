#include "print/qt/QtPrinterSurface.h"

#include <QFontMetricsF>
#include <QPrinter>
#include <QRectF>
#include <QStringList>
#include <algorithm>
#include <cmath>

#include "core/Cp1252.h"
#include "core/VError.h"

namespace velnor {

namespace {

constexpr double kMmPerInch = 25.4;
// Tab stops of the footer line; narrow enough that the six tabs keep it inside the frame.
constexpr double kTabStopMm = 5;

QColor ToQColor(Colour c) {
  return QColor(static_cast<int>(c & 0xFFu), static_cast<int>((c >> 8) & 0xFFu),
                static_cast<int>((c >> 16) & 0xFFu));
}

VError DrawError(const char* what) {
  return VError(kErrDeviceIO, "IcsPrint", std::string("Printer: ") + what);
}

}  // namespace

QtPrinterSurface::QtPrinterSurface(QPrinter& printer, const PageContent& content)
    : m_printer(printer), m_content(content) {
  if (!m_painter.begin(&m_printer)) throw DrawError("cannot start the print job");
  setScaleMillimetres();
  m_font = m_painter.font();
}

QtPrinterSurface::~QtPrinterSurface() {
  if (m_painter.isActive()) m_painter.end();
}

void QtPrinterSurface::setScaleMillimetres() {
  m_dotsPerMm = m_printer.resolution() / kMmPerInch;
  // True size whenever it fits: a form is read and filed at the size it was designed for.
  const QRectF area = m_printer.pageRect(QPrinter::Millimeter);
  const double width = m_content.right - m_content.left;
  m_scale = 1;
  if (width > 0 && area.width() < width) m_scale = area.width() / width;
  if (m_content.bottom > 0 && area.height() < m_content.bottom)
    m_scale = std::min(m_scale, area.height() / m_content.bottom);
  m_offsetX = ((area.width() - width * m_scale) / 2 - m_content.left * m_scale) * m_dotsPerMm;
}

void QtPrinterSurface::setLineWidth(int px) { m_lineWidth = px; }

void QtPrinterSurface::drawLine(double x1, double y1, double x2, double y2, Colour colour) {
  if (!m_painter.isActive()) throw DrawError("the page is closed");
  m_painter.setPen(QPen(ToQColor(colour), m_lineWidth, Qt::SolidLine, Qt::SquareCap));
  m_painter.drawLine(QPointF(devX(x1), dev(y1)), QPointF(devX(x2), dev(y2)));
}

void QtPrinterSurface::fillBox(double x1, double y1, double x2, double y2, Colour colour) {
  if (!m_painter.isActive()) throw DrawError("the page is closed");
  const QRectF box(QPointF(devX(x1), dev(y1)), QPointF(devX(x2), dev(y2)));
  m_painter.fillRect(box.normalized(), ToQColor(colour));
  m_painter.setPen(QPen(ToQColor(colour), m_lineWidth));
  m_painter.drawRect(box.normalized());
}

void QtPrinterSurface::setFont(const std::string& name, int sizePt, bool bold) {
  if (sizePt <= 0) throw DrawError("invalid font size");
  QFont font(QString::fromStdString(Cp1252ToUtf8(name)));
  font.setPointSizeF(sizePt * m_scale);
  font.setBold(bold);
  m_font = font;
}

void QtPrinterSurface::setPosition(double x, double y) {
  m_x = x;
  m_y = y;
}

void QtPrinterSurface::setCurrentX(double x) { m_x = x; }

void QtPrinterSurface::printText(const std::string& text) {
  if (!m_painter.isActive()) throw DrawError("the page is closed");
  m_painter.setFont(m_font);
  m_painter.setPen(QPen(Qt::black));
  const QFontMetricsF metrics(m_font, &m_printer);
  const QString qtext = QString::fromStdString(Cp1252ToUtf8(text));
  // Tabs jump to the next stop counted from where the text began; nothing is clipped, so
  // an over-long word runs on to the right.
  const double start = devX(m_x);
  const double tab = dev(kTabStopMm);
  double x = start;
  const QStringList pieces = qtext.split(QLatin1Char('\t'));
  for (qsizetype i = 0; i < pieces.size(); ++i) {
    if (i > 0) x = start + (std::floor((x - start) / tab) + 1) * tab;
    const QString& piece = pieces[i];
    if (piece.isEmpty()) continue;
    const double width = metrics.horizontalAdvance(piece);
    m_painter.drawText(QRectF(x, dev(m_y), width * 2 + tab, metrics.height() * 2),
                       Qt::AlignLeft | Qt::AlignTop | Qt::TextDontClip, piece);
    x += width;
  }
  m_x = 0;
  m_y += metrics.height() / (m_dotsPerMm * m_scale);
}

void QtPrinterSurface::newPage() {
  if (!m_painter.isActive()) throw DrawError("the page is closed");
  if (!m_printer.newPage()) throw DrawError("cannot start a new page");
  m_x = 0;
  m_y = 0;
}

void QtPrinterSurface::endDocument() {
  if (!m_painter.isActive()) throw DrawError("the page is closed");
  if (!m_painter.end()) throw DrawError("cannot finish the print job");
}

}  // namespace velnor
