// The least that streams cost: their datagrams alone, sent and received.
#pragma once

#include <cstddef>

namespace bench
{

// Processor seconds for a datagram that a thread sends to itself over the loopback, in bursts of so many that are cut
// and put together by the kernel. Nothing is copied at either end.
double BareDatagramSeconds(size_t bytes, size_t burst);

} // namespace bench
