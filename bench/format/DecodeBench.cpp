// Decoding time for large received texts, 1 MB against 10 MB, to show it grows linearly:
// one text of many short body lines and one text that is a single huge body line.
// Run: build-*/bench/format/bench_decoder
#include <chrono>
#include <cstdio>
#include <string>

#include "format/Decoder.h"

namespace {

std::string ShortLines(std::size_t bytes) {
  std::string t = "!ICS213!\r\nSUBJECT: many lines\r\nMESSAGE: start\r\n";
  static const char* const kLines[] = {"status report line", "   indented body text",
                                       "Note: a key we do not know", "", "POSITION: p",
                                       "---------", "DATE: 11/19/2026 2:05:09 PM"};
  std::size_t i = 0;
  while (t.size() < bytes) {
    t += kLines[i++ % 7];
    t += "\r\n";
  }
  return t + "!/ICS213!\r\n";
}

std::string OneLine(std::size_t bytes) {
  std::string t = "!ICS213!\r\nSUBJECT: one line\r\nMESSAGE: ";
  t.append(bytes, 'x');
  return t + "\r\n!/ICS213!\r\n";
}

double Seconds(const std::string& text) {
  double best = 1e9;
  for (int run = 0; run < 3; ++run) {
    const auto t0 = std::chrono::steady_clock::now();
    const auto parsed = velnor::ParseIncoming(text, velnor::Origin::Received, "mm/dd/yyyy", "hh:mm");
    const auto t1 = std::chrono::steady_clock::now();
    if (!parsed.complete) std::printf("unexpected: incomplete\n");
    best = std::min(best, std::chrono::duration<double>(t1 - t0).count());
  }
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) {  // one size in MB, for a closer look at the growth
    const std::size_t mb = std::stoul(argv[1]) * 1024 * 1024;
    std::printf("%zu MB: short lines %.4f s, one line %.4f s\n", mb >> 20,
                Seconds(ShortLines(mb)), Seconds(OneLine(mb)));
    return 0;
  }
  constexpr std::size_t kMB = 1024 * 1024;
  // 1 MB fits the caches, larger texts do not, so 10 against 20 MB shows the growth best.
  std::printf("%-12s %10s %10s %10s %12s\n", "shape", "1 MB (s)", "10 MB (s)", "20 MB (s)",
              "20/10 ratio");
  for (const auto& [name, make] :
       {std::pair{"short lines", &ShortLines}, std::pair{"one line", &OneLine}}) {
    const double one = Seconds(make(kMB));
    const double ten = Seconds(make(10 * kMB));
    const double twenty = Seconds(make(20 * kMB));
    std::printf("%-12s %10.4f %10.4f %10.4f %12.2f\n", name, one, ten, twenty, twenty / ten);
  }
  return 0;
}
