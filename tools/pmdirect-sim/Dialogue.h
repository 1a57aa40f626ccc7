#pragma once
// The client's half of a Pmdirect conversation, cut into requests.
//
// Lines end in CR LF; a bare LF is taken as well, and a line may come in any number of
// pieces. Outside a message a line is a command:
//   "<!REG!>"              register            -> Register
//   "<!LOGON!>" + ident    log on as ident     -> Logon (ident trimmed)
//   "POP"                  next waiting message -> Pop
//   "QUIT"                 end of conversation -> Quit
// A line "!ICS213!" or "!ICS213!!KEEPLOCAL!" opens a message text; every line up to and
// including "!/ICS213!" belongs to it, whatever it says, and the whole text (each line
// ended CR LF) is one Message. Every other line is Ignored.
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velnor::sim {

struct Request {
  enum Kind { Register, Logon, Message, Pop, Quit, Ignored, TooLong };
  Kind kind;
  std::string text;  // Logon: identifier; Message: tagged text; Ignored: the line
};

class Dialogue {
 public:
  // A single line or message text longer than this ends the conversation (TooLong).
  explicit Dialogue(std::size_t maxText = 1u << 20) : m_maxText(maxText) {}

  // Appends what arrived and adds the complete requests to out. After TooLong nothing
  // more is read.
  void feed(std::string_view bytes, std::vector<Request>& out);

  // What has come after the last complete line (e.g. a text sent without line end).
  const std::string& pending() const { return m_line; }

 private:
  void line(std::string_view text, std::vector<Request>& out);

  std::size_t m_maxText;
  std::string m_line;     // the line being received, without its end
  std::string m_message;  // the message text being received
  bool m_inMessage = false;
  bool m_broken = false;
};

}  // namespace velnor::sim
