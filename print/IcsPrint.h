#pragma once
// The printed ICS 213 General Message: one page with a ruled frame of boxes, small
// captions, the field values in larger type, the message and reply bodies word-wrapped at
// 80 characters in a fixed-pitch face, and a footer naming the form's source and this
// program's version.
#include <cstddef>
#include <string>

#include "print/DrawingSurface.h"
#include "store/FormField.h"

namespace velnor {

class PrinterSystem;

class IcsPrint {
 public:
  // The version text goes into the footer; passed in so printing needs nothing of app/.
  IcsPrint(PrinterSystem& printers, std::string programVersion);

  // Stores the fourteen texts, draws the page on the current printer and ends the job.
  // Surface failures while drawing end the drawing silently; the job is still ended, and a
  // failure of that goes to the caller.
  void PrintIcs(const std::string& iTo, const std::string& iToPos, const std::string& iFr,
                const std::string& iFrPos, const std::string& iSubj, const std::string& iDate,
                const std::string& iMsg, const std::string& iSign, const std::string& iSignPos,
                const std::string& iIcdName, const std::string& iReply,
                const std::string& iRepSign, const std::string& iRepPos,
                const std::string& iRepDate);
  // The same, with the texts of the form's fields.
  void PrintIcs(const FormTexts& t);

  // Draws the whole page from the stored texts. Never throws: the first surface failure
  // stops the drawing.
  void DrawIcsForm(DrawingSurface& surface) const;

  // The line below the frame.
  std::string FooterText() const;

 private:
  void Draw(DrawingSurface& s) const;

  PrinterSystem& m_printers;
  std::string m_version;
  std::string m_To, m_ToPos, m_Fr, m_FrPos, m_Subj, m_Date, m_Msg, m_Sign, m_SignPos,
      m_IcdName, m_Reply, m_RepSign, m_RepPos, m_RepDate;
};

// Maximum length of a printed body line before it is wrapped at word boundaries.
inline constexpr std::size_t kBodyLineLength = 80;

}  // namespace velnor
