#include "Dialogue.h"

namespace velnor::sim {
namespace {

std::string_view trimmed(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
  return s;
}

}  // namespace

void Dialogue::feed(std::string_view bytes, std::vector<Request>& out) {
  while (!m_broken && !bytes.empty()) {
    const std::size_t lf = bytes.find('\n');
    const std::string_view piece = bytes.substr(0, lf);
    if (m_line.size() + piece.size() + m_message.size() > m_maxText) {
      m_broken = true;
      m_line.clear();
      m_message.clear();
      out.push_back({Request::TooLong, {}});
      return;
    }
    m_line.append(piece);
    if (lf == std::string_view::npos) return;
    bytes.remove_prefix(lf + 1);
    std::string_view text = m_line;
    if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
    line(text, out);
    m_line.clear();
  }
}

void Dialogue::line(std::string_view text, std::vector<Request>& out) {
  if (m_inMessage) {
    m_message.append(text);
    m_message.append("\r\n");
    if (text == "!/ICS213!") {
      m_inMessage = false;
      out.push_back({Request::Message, std::move(m_message)});
      m_message.clear();
    }
    return;
  }
  if (text == "!ICS213!" || text == "!ICS213!!KEEPLOCAL!") {
    m_inMessage = true;
    m_message.assign(text);
    m_message.append("\r\n");
    return;
  }
  const std::string_view cmd = trimmed(text);
  static constexpr std::string_view kLogon = "<!LOGON!>";
  if (cmd == "<!REG!>") {
    out.push_back({Request::Register, {}});
  } else if (cmd.substr(0, kLogon.size()) == kLogon) {
    out.push_back({Request::Logon, std::string(trimmed(cmd.substr(kLogon.size())))});
  } else if (cmd == "POP") {
    out.push_back({Request::Pop, {}});
  } else if (cmd == "QUIT") {
    out.push_back({Request::Quit, {}});
  } else {
    out.push_back({Request::Ignored, std::string(text)});
  }
}

}  // namespace velnor::sim
