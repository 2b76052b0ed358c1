// From the words of a description to the samples of a slot.
#include "Audio.h"

#include <stdexcept>

AudioFormat ChooseSlots(Description& description)
{
    ZEFA_ST2110_30_CONFIG& audio = description.essence.Essence_X.ST2110_30_X;
    const bool codecKnown =
        audio.Encoding_E == ZEFA_SDP_AUDIO_CODEC_L16 || audio.Encoding_E == ZEFA_SDP_AUDIO_CODEC_L24;
    const bool rateKnown =
        audio.SamplingRate_E == ZEFA_SDP_AUDIO_RATE_48000 || audio.SamplingRate_E == ZEFA_SDP_AUDIO_RATE_96000;
    // The reading ends at the first word that it does not know: without a rate there are no channels.
    if (!codecKnown || !rateKnown || audio.ChannelNumber_UL == 0)
        throw std::runtime_error("These programs know audio of L16 and L24, 48 and 96 kHz, 1 ms and 0.125 ms a packet, "
                                 "and this description has something else");
    audio.NbPacketsPerBuffer_UL = audio.PacketTime_E == ZEFA_SDP_PACKET_TIME_1MS ? 10 : 80;
    return {audio.SamplingRate_E == ZEFA_SDP_AUDIO_RATE_48000 ? 48000u : 96000u, audio.ChannelNumber_UL,
            audio.Encoding_E == ZEFA_SDP_AUDIO_CODEC_L16 ? 2u : 3u};
}

void StoreSample(uint8_t* bytes, uint32_t bytesPerSample, int32_t sample)
{
    for (uint32_t i = 0; i < bytesPerSample; ++i)
        bytes[i] = uint8_t(uint32_t(sample) >> 8 * (bytesPerSample - 1 - i));
}
