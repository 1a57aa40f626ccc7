#pragma once
// The send step's outbox, telling someone the number of each message it marks sent: the
// message list reads that record again instead of the whole store.
#include <cstdint>
#include <functional>

#include "link/LinkHost.h"

namespace velnor {

OutboxFactory TouchingOutbox(OutboxFactory outbox, std::function<void(std::int32_t)> written);

}  // namespace velnor
