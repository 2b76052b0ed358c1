// Who makes slots of packets and packets of slots, for each essence.
#include "AncillaryAssembler.h"
#include "AncillaryPacketizer.h"
#include "Assembler.h"
#include "AudioAssembler.h"
#include "AudioPacketizer.h"
#include "Packetizer.h"
#include "VideoAssembler.h"
#include "VideoPacketizer.h"

namespace mxs::media
{

namespace
{

std::unique_ptr<Assembler> AssemblerOf(const VideoConfig& video, const AssemblerSettings& settings, SlotSink& sink)
{
    return std::make_unique<VideoAssembler>(video, settings, sink);
}
std::unique_ptr<Assembler> AssemblerOf(const AudioConfig& audio, const AssemblerSettings& settings, SlotSink& sink)
{
    return std::make_unique<AudioAssembler>(audio, settings, sink);
}
std::unique_ptr<Assembler> AssemblerOf(const AncillaryConfig& ancillary, const AssemblerSettings& settings,
                                       SlotSink& sink)
{
    return std::make_unique<AncillaryAssembler>(ancillary, settings, sink);
}

std::unique_ptr<Packetizer> PacketizerOf(const VideoConfig& video, const PacketizerSettings& settings)
{
    return std::make_unique<VideoPacketizer>(video, settings);
}
std::unique_ptr<Packetizer> PacketizerOf(const AudioConfig& audio, const PacketizerSettings& settings)
{
    return std::make_unique<AudioPacketizer>(audio, settings);
}
std::unique_ptr<Packetizer> PacketizerOf(const AncillaryConfig& ancillary, const PacketizerSettings& settings)
{
    return std::make_unique<AncillaryPacketizer>(ancillary, settings);
}

} // namespace

std::unique_ptr<Assembler> MakeAssembler(const EssenceConfig& essence, const AssemblerSettings& settings,
                                         SlotSink& sink)
{
    return std::visit([&](const auto& config) { return AssemblerOf(config, settings, sink); }, essence);
}

std::unique_ptr<Packetizer> MakePacketizer(const EssenceConfig& essence, const PacketizerSettings& settings)
{
    return std::visit([&](const auto& config) { return PacketizerOf(config, settings); }, essence);
}

} // namespace mxs::media
