#include "print/IcsPrint.h"

#include <string_view>

#include "core/StringLib.h"
#include "print/PrinterSystem.h"

namespace velnor {

namespace {

constexpr Colour kBlack = 0;
constexpr Colour kBandGrey = Rgb(200, 200, 200);

// Frame: left 10, top 20, 185 wide.
constexpr double kLeft = 10;
constexpr double kRight = kLeft + 185;
constexpr double kTop = 20;
constexpr double kBottom = 255;
constexpr double kMiddle = 100;
constexpr double kBodyX = 13;
// What must reach the paper: the frame across, and down to below the footer line.
constexpr PageContent kFormContent{kLeft, kRight, 260};

constexpr const char* kArial = "Arial";
constexpr const char* kCourier = "Courier New";

constexpr const char* kFormSource =
    "Ref: ICS 213, General Message, FEMA / NIMS Incident Command System forms";

void Text(DrawingSurface& s, const char* font, int size, bool bold, double x, double y,
          const std::string& text) {
  s.setFont(font, size, bold);
  s.setPosition(x, y);
  s.printText(text);
}

void BodyLine(DrawingSurface& s, const std::string& line) {
  s.setCurrentX(kBodyX);
  s.printText(line);
}

// A line longer than the box is re-flowed word by word; every word keeps one blank after
// it, and a word longer than a whole line stands alone rather than being cut. A line of
// blanks only still takes its place on the page, as an empty line.
void WrapLine(DrawingSurface& s, std::string_view line) {
  std::string out;
  while (!line.empty()) {
    const std::string word = GetWord(line);
    if (word.empty()) break;  // only blanks were left
    if (!out.empty() && out.size() + word.size() > kBodyLineLength) {
      BodyLine(s, out);
      out.clear();
    }
    out += word;
    out += ' ';
  }
  BodyLine(s, out);
}

void Body(DrawingSurface& s, double firstY, const std::string& body) {
  s.setFont(kCourier, 10, false);
  s.setPosition(kBodyX, firstY);
  std::string_view rest = body;
  bool more = true;
  while (more) {
    const std::string_view before = rest;
    const std::string line = GetLine(rest);
    if (line.size() <= kBodyLineLength)
      BodyLine(s, line);
    else
      WrapLine(s, line);
    // A final line break, bare CR or CR LF alike, leaves one empty line to print.
    more = !rest.empty() || (!before.empty() && before.back() == '\r');
  }
}

}  // namespace

IcsPrint::IcsPrint(PrinterSystem& printers, std::string programVersion)
    : m_printers(printers), m_version(std::move(programVersion)) {}

void IcsPrint::PrintIcs(const std::string& iTo, const std::string& iToPos,
                        const std::string& iFr, const std::string& iFrPos,
                        const std::string& iSubj, const std::string& iDate,
                        const std::string& iMsg, const std::string& iSign,
                        const std::string& iSignPos, const std::string& iIcdName,
                        const std::string& iReply, const std::string& iRepSign,
                        const std::string& iRepPos, const std::string& iRepDate) {
  m_To = iTo;
  m_ToPos = iToPos;
  m_Fr = iFr;
  m_FrPos = iFrPos;
  m_Subj = iSubj;
  m_Date = iDate;
  m_Msg = iMsg;
  m_Sign = iSign;
  m_SignPos = iSignPos;
  m_IcdName = iIcdName;
  m_Reply = iReply;
  m_RepSign = iRepSign;
  m_RepPos = iRepPos;
  m_RepDate = iRepDate;

  std::unique_ptr<DrawingSurface> surface = m_printers.OpenSurface(kFormContent);
  DrawIcsForm(*surface);
  surface->endDocument();
}

void IcsPrint::PrintIcs(const FormTexts& t) {
  PrintIcs(t[Field::To], t[Field::ToPos], t[Field::From], t[Field::FromPos], t[Field::Subject],
           t[Field::Date], t[Field::Message], t[Field::Signature], t[Field::SignaturePos],
           t[Field::IncidentName], t[Field::Reply], t[Field::ReplySignature], t[Field::ReplyPos],
           t[Field::ReplyDate]);
}

std::string IcsPrint::FooterText() const {
  return std::string(kFormSource) + "\t\t\t\t\t\t" + "Created by: velnor.exe, v" + m_version;
}

void IcsPrint::DrawIcsForm(DrawingSurface& surface) const {
  // Half a page is still worth sending: stop at the first failure and let the caller end
  // the job.
  try {
    Draw(surface);
  } catch (...) {
  }
}

void IcsPrint::Draw(DrawingSurface& s) const {
  s.setScaleMillimetres();
  s.setLineWidth(2);

  // Bands first so the rules lie on top of them.
  s.fillBox(kLeft, 60, kRight, 68, kBandGrey);
  s.fillBox(kLeft, 160, kRight, 167, kBandGrey);

  for (double y : {20.0, 30.0, 40.0, 50.0, 60.0, 68.0, 150.0, 160.0, 167.0, 242.0, 255.0})
    s.drawLine(kLeft, y, kRight, y, kBlack);
  s.drawLine(kLeft, kTop, kLeft, kBottom, kBlack);
  s.drawLine(kMiddle, 30, kMiddle, 60, kBlack);
  s.drawLine(kMiddle, 150, kMiddle, 160, kBlack);
  s.drawLine(kMiddle, 242, kMiddle, 255, kBlack);
  s.drawLine(kRight, kTop, kRight, kBottom, kBlack);

  // Captions sit 1 mm into their box; values 3 mm right of and below their caption.
  Text(s, kArial, 12, true, 185.0 / 2 - 20, 12, "GENERAL MESSAGE (ICS 213)");
  Text(s, kArial, 7, false, 11, 21, "INCIDENT NAME:");
  Text(s, kArial, 11, false, 14, 24, m_IcdName);
  Text(s, kArial, 7, false, 11, 31, "TO:");
  Text(s, kArial, 7, false, 101, 31, "POSITION:");
  Text(s, kArial, 11, false, 14, 34, m_To);
  Text(s, kArial, 11, false, 104, 34, m_ToPos);
  Text(s, kArial, 7, false, 11, 41, "FROM:");
  Text(s, kArial, 7, false, 101, 41, "POSITION:");
  Text(s, kArial, 11, false, 14, 44, m_Fr);
  Text(s, kArial, 11, false, 104, 44, m_FrPos);
  Text(s, kArial, 7, false, 11, 51, "SUBJECT:");
  Text(s, kArial, 7, false, 101, 51, "DATE, TIME");
  Text(s, kArial, 11, false, 14, 54, m_Subj);
  Text(s, kArial, 11, false, 104, 54, m_Date);
  Text(s, kArial, 12, true, 11, 61, "MESSAGE:");
  Body(s, 69, m_Msg);
  Text(s, kArial, 7, false, 11, 151, "SIGNATURE:");
  Text(s, kArial, 7, false, 101, 151, "POSITION:");
  Text(s, kArial, 11, false, 14, 154, m_Sign);
  Text(s, kArial, 11, false, 104, 154, m_SignPos);
  Text(s, kArial, 12, false, 11, 161, "REPLY:");
  Body(s, 168, m_Reply);
  Text(s, kArial, 7, false, 11, 243, "DATE, TIME");
  Text(s, kArial, 7, false, 101, 243, "SIGNATURE, POSITION");
  // A reply without a signature is not vouched for: its date and position stay off.
  if (!m_RepSign.empty()) {
    Text(s, kArial, 11, false, 14, 246, m_RepDate);
    Text(s, kArial, 11, false, 104, 246, m_RepSign + ", " + m_RepPos);
  }
  Text(s, kArial, 8, false, 11, 256, FooterText());
}

}  // namespace velnor
