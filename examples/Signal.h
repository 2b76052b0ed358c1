// The signal that ancillary packets belong to: how many lines it has, and where its luma is.
#pragma once

#include "Ancillary.h"
#include "Session.h"

struct Signal
{
    uint32_t lines;
    FrameRate rate;
    ZEFA_BUFFER_TYPE luma; // the buffer of the packets that lie in the luma samples, which most do
};

// By the video standard of the options. Throws when there is none.
Signal SignalOf(const Description& description);
