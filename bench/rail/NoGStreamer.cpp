// A build without GStreamer's headers has nothing to compare the one way with.
#include "OneWay.h"

namespace railbench
{
bool HasGStreamer()
{
    return false;
}

OneWayRoad* NewGStreamerRoad(uint32_t, unsigned)
{
    return nullptr;
}
} // namespace railbench
