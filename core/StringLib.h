#pragma once
// Line and word scanners used by every reader of line-based text.
//
// Both take a view of the remaining text and advance it past what they return, so a
// whole walk over a text is linear in its length (nothing is copied but the piece
// returned). Text is station text: one byte per character (Windows-1252).
//
// GetLine: everything up to the first CR, with every LF dropped; the CR is consumed.
//   Lines ended by CR LF come out one by one (the LF left at the front of the rest is
//   dropped by the next call); LF-only text comes back as one line; CR CR gives an
//   empty line; with no CR the whole rest is returned and the view becomes empty.
// GetWord: skips leading spaces, returns the characters up to the next space (only the
//   space separates words); the rest keeps that space at its front.
#include <string>
#include <string_view>

namespace velnor {

std::string GetLine(std::string_view& text);
std::string GetWord(std::string_view& text);

// Leading and trailing blanks (space only) removed.
std::string_view TrimSpaces(std::string_view s);
std::string Trim(std::string_view s);

// Removes every CR LF pair; a lone CR or LF stays.
std::string RemoveCrLf(std::string_view s);

// ASCII upper case of station text (bytes above 127 are left alone): for keys.
std::string ToUpperAscii(std::string_view s);

// Upper case of one station character, for every Windows-1252 letter whose capital is
// also a Windows-1252 character (é -> É, š -> Š, ÿ -> Ÿ); ß and µ have none and stay.
char ToUpperCp1252(char c);
std::string ToUpperCp1252(std::string_view s);

// Whole decimal 16-bit number, blanks around allowed ("  42 "); nullopt if not a number
// or out of range.
bool ParseInt16(std::string_view s, short& out);
bool ParseInt32(std::string_view s, long& out);

// A decimal number as the ordinary text-to-number conversion reads it ("120", "120.0",
// "1e2", "-.5", blanks around), rounded to the nearest 16-bit integer, halves to even;
// false when the text is not such a number or the result is out of range.
bool NumberToInt16(std::string_view s, short& out);

}  // namespace velnor
