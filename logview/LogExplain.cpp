#include "logview/LogExplain.h"

#include <array>
#include <vector>

namespace velnor {
namespace {

// A pattern is the event text with "*" where a value stands; the words take the values
// as {1}, {2}. Lines are matched against the rows in order, the first match wins.
struct Row {
  std::string_view pattern;
  std::string_view words;
  LogTone tone;
};

constexpr std::array kRows{
    Row{"Link Test to Pmdirect... passed", "Velnor reached Pmdirect at start-up: the link works.",
        LogTone::Good},
    Row{"Link Test to Pmdirect... failed",
        "Velnor could not complete a session with Pmdirect at start-up. Is Pellmoor running? Messages wait "
        "for a later session.",
        LogTone::Problem},
    Row{"Message session to Pmdirect... failed",
        "A send and receive session with Pmdirect did not finish. Messages not sent stay queued for the next "
        "one.",
        LogTone::Problem},
    Row{"Connection Failed",
        "Pmdirect did not accept the connection. Check that Pellmoor is running, and the host and port under "
        "Setup > Properties.",
        LogTone::Problem},
    Row{"Registration request failed", "Pmdirect did not answer Velnor's registration.", LogTone::Problem},
    Row{"Logon as * failed", "Pmdirect did not accept the log-on as {1}.", LogTone::Problem},
    Row{"SendMessages: Sent No. * titled: *", "Message {1} \"{2}\" went to Pmdirect: sent.", LogTone::Good},
    Row{"SendMessages: Lost connection",
        "The link broke while a message was being sent; it stays queued for the next session.",
        LogTone::Problem},
    Row{"RetrieveMessages: Lost connection",
        "The link broke while messages were being collected; the rest come with the next session.",
        LogTone::Problem},
    Row{"Incoming Message...", "A message came in from Pmdirect.", LogTone::Plain},
    Row{"StoreMsg...: Loading message titled: *", "The message \"{1}\" that came in is filed as Unread.",
        LogTone::Good},
    Row{"StoreMsg...: Message * arrived incomplete*", "Message {1} came in cut short; what arrived is filed.",
        LogTone::Problem},
    Row{"StoreMsg...: Message *: * value could not be read as a date*",
        "Message {1} came in with a date Velnor could not read ({2}); it is filed without that date.",
        LogTone::Problem},
    Row{"WinSend: No reply within * ms", "Pmdirect did not answer (waited {1} ms).", LogTone::Problem},
    Row{"WinSend: Lost Telnet connection", "The connection to Pmdirect was lost.", LogTone::Problem},
    Row{"WinSend App Error *", "Velnor could not send to Pmdirect.", LogTone::Problem},
    Row{"WNS_DataArrival App Error *", "Velnor could not read what Pmdirect sent.", LogTone::Problem},
    Row{"ScanReply: Reply too long*", "Pmdirect sent far more than expected without the awaited prompt.",
        LogTone::Problem},
    Row{"Message could not be stored: kept in *",
        "A message that came in could not be filed. Its text is safe in {1} and is filed at the next "
        "start-up.",
        LogTone::Problem},
    Row{"Message could not be stored nor kept in *",
        "A message that came in could be neither filed nor kept; its text was shown in a warning window.",
        LogTone::Problem},
    Row{"Kept incoming message filed as No. *: *",
        "A message kept from an earlier run is now filed as No. {1}.", LogTone::Good},
    Row{"velnor v*", "Velnor {1} started.", LogTone::Plain},
};

// Matches text against pattern; the values that stand for the "*"s go to values. Each
// literal piece is found at its first place after the previous one, the last at the end.
bool Match(std::string_view pattern, std::string_view text, std::vector<std::string_view>& values) {
  values.clear();
  const std::size_t star = pattern.find('*');
  if (star == std::string_view::npos) return pattern == text;
  if (text.substr(0, star) != pattern.substr(0, star)) return false;
  std::size_t at = star;  // where the current value starts in text
  pattern.remove_prefix(star + 1);
  while (true) {
    const std::size_t next = pattern.find('*');
    const std::string_view piece = pattern.substr(0, next);
    if (next == std::string_view::npos) {
      // The last piece closes the text.
      if (text.size() - at < piece.size() || text.substr(text.size() - piece.size()) != piece) return false;
      values.push_back(text.substr(at, text.size() - piece.size() - at));
      return true;
    }
    const std::size_t found = text.find(piece, at);
    if (found == std::string_view::npos) return false;
    values.push_back(text.substr(at, found - at));
    at = found + piece.size();
    pattern.remove_prefix(next + 1);
  }
}

std::string Fill(std::string_view words, const std::vector<std::string_view>& values) {
  std::string out;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == '{' && i + 2 < words.size() && words[i + 2] == '}' && words[i + 1] >= '1' &&
        static_cast<std::size_t>(words[i + 1] - '1') < values.size()) {
      out += values[static_cast<std::size_t>(words[i + 1] - '1')];
      i += 2;
    } else {
      out += words[i];
    }
  }
  return out;
}

// The time stamp ends in "hh:mm:ss": "19-Nov 14:05:09", or in the banner "19-Nov-26 14:05:01".
bool IsStamp(std::string_view s) {
  if (s.size() < 8) return false;
  s = s.substr(s.size() - 8);
  for (std::size_t i = 0; i < 8; ++i) {
    if (i == 2 || i == 5 ? s[i] != ':' : (s[i] < '0' || s[i] > '9')) return false;
  }
  return true;
}

}  // namespace

LogExplanation ExplainLogLine(std::string_view line) {
  if (const std::size_t colon = line.find(": ");
      colon != std::string_view::npos && IsStamp(line.substr(0, colon)))
    line.remove_prefix(colon + 2);
  std::vector<std::string_view> values;
  for (const Row& row : kRows) {
    if (Match(row.pattern, line, values)) return {Fill(row.words, values), row.tone};
  }
  return {};
}

}  // namespace velnor
