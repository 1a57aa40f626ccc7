// Received texts come from the network: any bytes must parse without fault, with the
// bodies inside their field width.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "format/Decoder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto parsed = velnor::ParseIncoming(text, velnor::Origin::Received, "dd/mm/yyyy", "hh:nn");
  const auto& r = parsed.record;
  if (r.Msg().size() > 4000 || r.Reply().size() > 4000 || r.Route().size() > 16) std::abort();
  if (r.Kind() != velnor::Kind::Message && r.Kind() != velnor::Kind::Reply) std::abort();
  if (parsed.badDates.size() > 8) std::abort();
  return 0;
}
