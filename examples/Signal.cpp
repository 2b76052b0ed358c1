// What the library knows of a video standard as a signal.
#include "Signal.h"

#include "Video.h"

Signal SignalOf(const Description& description)
{
    const uint32_t standard = description.essence.Essence_X.ST2110_40_X.VideoStandard_E;
    if (standard >= uint32_t(ZEFA_VIDEO_STANDARD_UNKNOWN))
        NoStandard("A description of ancillary data gives no video standard");
    uint32_t totalSamples = 0, activeSamples = 0, totalLines = 0, activeLines = 0, rate = 0;
    uint8_t interlaced = 0, fractional = 0;
    Check(ZEFA_GetAncSdiVideoStandardInfo(standard, &totalSamples, &activeSamples, &totalLines, &activeLines, &rate,
                                          &interlaced, &fractional),
          "There is no video standard " + std::to_string(standard));
    // A standard-definition line mixes luma and chroma, and its packets lie in odd buffers.
    return {totalLines,
            {interlaced ? rate / 2 : rate, fractional != 0},
            activeSamples < 1280 ? ZEFA_BUFFER_ANC_1 : ZEFA_BUFFER_ANC_0};
}
