#pragma once
// Replace a file without a data-loss window: write a new file beside it, flush it to
// disk, then rename it over the old one in one step. A crash at any instant leaves the
// old or the new content, never an empty or half-written file.
#include <string>
#include <string_view>

namespace velnor {

// Throws VError (source as given) on failure; the old file is then untouched.
void WriteFileAtomically(const std::string& path, std::string_view bytes, const std::string& source);

// Whole file as bytes; throws VError on failure.
std::string ReadWholeFile(const std::string& path, const std::string& source);

// Appends bytes, creating the file; throws VError on failure.
void AppendToFile(const std::string& path, std::string_view bytes, const std::string& source);

}  // namespace velnor
