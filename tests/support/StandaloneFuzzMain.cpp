// Driver for fuzz targets when libFuzzer is not available: runs every seed file of the
// directory given, then a fixed number of deterministic mutations of them (byte flips,
// insertions of line ends and tag-like fragments, truncations, repetitions).
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  std::vector<std::string> seeds;
  if (argc > 1 && std::filesystem::is_directory(argv[1])) {
    for (const auto& e : std::filesystem::directory_iterator(argv[1])) {
      std::ifstream in(e.path(), std::ios::binary);
      seeds.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
  }
  if (seeds.empty()) seeds.emplace_back("");
  const char* fragments[] = {"\r", "\n", "\r\n", ":", "=", "!ICS213!", "!/ICS213!", "[", " ", "--"};
  std::mt19937 rng(12345);
  std::size_t runs = 0;
  for (const auto& s : seeds) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(s.data()), s.size());
    ++runs;
  }
  for (int i = 0; i < 20000; ++i) {
    std::string s = seeds[rng() % seeds.size()];
    const int edits = 1 + static_cast<int>(rng() % 8);
    for (int k = 0; k < edits; ++k) {
      const std::size_t pos = s.empty() ? 0 : rng() % (s.size() + 1);
      switch (rng() % 5) {
        case 0: if (!s.empty() && pos < s.size()) s[pos] = static_cast<char>(rng() % 256); break;
        case 1: s.insert(pos, fragments[rng() % std::size(fragments)]); break;
        case 2: s.resize(pos); break;
        case 3: if (pos < s.size()) s.erase(pos, rng() % 16); break;
        case 4: if (s.size() < 100000) s += s.substr(pos); break;
      }
    }
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(s.data()), s.size());
    ++runs;
  }
  std::printf("%zu inputs run, no crash\n", runs);
  return 0;
}
