// The least that streams cost: their datagrams over bare sockets.
#pragma once

#include "../support/BareStream.h"

#include <cstddef>

namespace bench
{

// Processor seconds for a datagram that a thread sends to itself over the loopback, in bursts of so many that are cut
// and put together by the kernel. Nothing is copied at either end, and the thread never sleeps.
double BareDatagramSeconds(size_t bytes, size_t burst);

// The same for datagrams of frames that leave at their pace and are copied once at each end: by one thread, which
// sleeps between bursts, or by two on a core each, of which the receiving one waits in its socket.
double BareLoopSeconds(const Frames& frames, double frameSeconds);
double BareEndsSeconds(const Frames& frames, double frameSeconds);

// The same for such a receiver alone, of what somebody else sends to it for a second.
double BareReceiverSeconds(BareReceiver& receiver, const Frames& frames, double frameSeconds);

} // namespace bench
