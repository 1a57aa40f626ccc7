#include "core/Cp1252.h"

#include <iconv.h>

#include <cerrno>
#include <stdexcept>

namespace velnor {
namespace {

// One conversion with iconv. On an unconvertible or invalid sequence the input byte
// (or, for UTF-8 input, the whole character) is replaced by `replacement`.
std::string convert(const char* to, const char* from, std::string_view in, bool utf8Input,
                    std::string_view replacement) {
  iconv_t cd = iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1)) throw std::runtime_error("iconv_open failed");
  std::string out;
  out.reserve(in.size() * (utf8Input ? 1 : 2));
  char* src = const_cast<char*>(in.data());
  std::size_t srcLeft = in.size();
  char buf[4096];
  while (srcLeft > 0) {
    char* dst = buf;
    std::size_t dstLeft = sizeof buf;
    const std::size_t r = iconv(cd, &src, &srcLeft, &dst, &dstLeft);
    out.append(buf, static_cast<std::size_t>(dst - buf));
    if (r == static_cast<std::size_t>(-1)) {
      if (errno == E2BIG) continue;
      // EILSEQ or EINVAL: skip one character of input and put the replacement in.
      std::size_t skip = 1;
      if (utf8Input) {
        const auto lead = static_cast<unsigned char>(*src);
        skip = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
        if (skip > srcLeft) skip = srcLeft;
        for (std::size_t i = 1; i < skip; ++i)
          if ((static_cast<unsigned char>(src[i]) & 0xC0) != 0x80) {
            skip = i;
            break;
          }
      }
      src += skip;
      srcLeft -= skip;
      out.append(replacement);
    }
  }
  iconv_close(cd);
  return out;
}

}  // namespace

std::string Utf8ToCp1252(std::string_view utf8) {
  return convert("WINDOWS-1252", "UTF-8", utf8, true, "?");
}

std::string Cp1252ToUtf8(std::string_view bytes) {
  // The five byte values Windows-1252 leaves undefined come through as U+FFFD.
  return convert("UTF-8", "WINDOWS-1252", bytes, false, "\xEF\xBF\xBD");
}

}  // namespace velnor
