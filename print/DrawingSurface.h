#pragma once
// A page to draw on, addressed in millimetres from the top-left corner of the printable
// area (x to the right, y downwards). Text is station text (Windows-1252). Every call may
// throw: a printer can vanish or reject a font half-way through a page.
#include <cstdint>
#include <string>

namespace velnor {

// Colours as 0x00BBGGRR, so 0 is black and Rgb(200, 200, 200) the light grey of the bands.
using Colour = std::uint32_t;
constexpr Colour Rgb(unsigned r, unsigned g, unsigned b) {
  return static_cast<Colour>((r & 0xFFu) | ((g & 0xFFu) << 8) | ((b & 0xFFu) << 16));
}

// The part of a drawing that must be on the paper, in the drawing's millimetres, from its
// origin down to `bottom`. A printer surface centres the span from left to right across
// the printable area and shrinks the whole drawing, about its top, only where the content
// would not fit otherwise; so the same page serves Letter, A4 or a sheet turned sideways.
struct PageContent {
  double left = 0;
  double right = 0;
  double bottom = 0;
};

class DrawingSurface {
 public:
  virtual ~DrawingSurface() = default;
  virtual void setScaleMillimetres() = 0;
  // Width of ruled lines in device pixels.
  virtual void setLineWidth(int px) = 0;
  virtual void drawLine(double x1, double y1, double x2, double y2, Colour colour) = 0;
  // A filled rectangle whose outline has the same colour.
  virtual void fillBox(double x1, double y1, double x2, double y2, Colour colour) = 0;
  virtual void setFont(const std::string& name, int sizePt, bool bold) = 0;
  // Top-left of the next text.
  virtual void setPosition(double x, double y) = 0;
  // Moves the next text's start across the current line, leaving y alone.
  virtual void setCurrentX(double x) = 0;
  // Draws the text at the position, then moves to the next line: x = 0, y down by the
  // line height of the current font.
  virtual void printText(const std::string& text) = 0;
  // Ends the page and starts the next one of the same job, position at the top.
  virtual void newPage() = 0;
  // Closes the page and hands the job to the printer.
  virtual void endDocument() = 0;
};

}  // namespace velnor
