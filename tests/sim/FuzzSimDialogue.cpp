// The simulator's request reader and route parser: no crash, and a cut changes nothing read.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tools/pmdirect-sim/Dialogue.h"
#include "tools/pmdirect-sim/Spool.h"

namespace {

std::vector<velnor::sim::Request> readAll(std::string_view a, std::string_view b) {
  velnor::sim::Dialogue d(4096);  // small cap, so the over-long path is reached
  std::vector<velnor::sim::Request> out;
  d.feed(a, out);
  d.feed(b, out);
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::size_t cut = data[0] % (text.size() + 1);
  const auto whole = readAll(text, {});
  const auto pieces = readAll(text.substr(0, cut), text.substr(cut));
  if (whole.size() != pieces.size()) __builtin_trap();
  for (std::size_t i = 0; i < whole.size(); ++i) {
    if (whole[i].kind != pieces[i].kind || whole[i].text != pieces[i].text) __builtin_trap();
    if (whole[i].kind != velnor::sim::Request::Message) continue;
    const std::string& m = whole[i].text;
    if (m.compare(0, 8, "!ICS213!") != 0 || m.size() < 11 ||
        m.compare(m.size() - 11, 11, "!/ICS213!\r\n") != 0)
      __builtin_trap();
    (void)velnor::sim::RouteDestination(m);
    (void)velnor::sim::IsKeepLocal(m);
  }
  return 0;
}
