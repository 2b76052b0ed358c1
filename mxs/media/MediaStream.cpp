// Makes the stream that a configuration asks for.
#include "MediaStream.h"

#include "RtpReceiver.h"
#include "RtpSender.h"

namespace mxs::media
{

namespace
{

// Stands in for what the service does not have: its start says so, and nothing else happens.
class RefusedStream : public MediaStream
{
public:
    explicit RefusedStream(Outcome why) : Why(std::move(why)) {}

    Outcome Start(ConductorLoop&) override { return Why; }
    void Stop() override {}
    bool IsRunning() const override { return false; }
    bool IsDamaged() const override { return false; }
    std::multimap<std::string, std::string> RailDescription() const override { return {}; }
    NetworkCounters Counters() const override { return {}; }
    ProcessingTimes Times() const override { return {}; }
    uint32_t SlotsDropped() const override { return 0; }
    bool BufferDelayed() const override { return false; }

private:
    const Outcome Why;
};

} // namespace

std::unique_ptr<MediaStream> MakeMediaStream(Direction direction, const CommonConfig& common,
                                             const NetworkConfig& network, const EssenceConfig& essence,
                                             const MediaSettings& settings, const PortDropRules& drops)
{
    if (Outcome wrong = CheckEssence(direction, essence); wrong.Failed())
        return std::make_unique<RefusedStream>(std::move(wrong));
    if (direction == Direction::Send) return std::make_unique<RtpSender>(common, network, essence, settings);
    return std::make_unique<RtpReceiver>(common, network, essence, settings, drops);
}

} // namespace mxs::media
