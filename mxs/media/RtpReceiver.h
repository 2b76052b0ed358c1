// A receive stream: sockets in, rail out, the assembler of its essence in between.
#pragma once

#include "Assembler.h"
#include "ConductorLoop.h"
#include "MediaStream.h"
#include "ReceiveSocket.h"
#include "StreamRail.h"
#include "WorkMeter.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace mxs::media
{

class RtpReceiver : public MediaStream, private ConductorTask, private SlotSink
{
public:
    RtpReceiver(const CommonConfig& common, const NetworkConfig& network, const EssenceConfig& essence,
                const MediaSettings& settings, const PortDropRules& drops);
    ~RtpReceiver() override; // stops

    Outcome Start(ConductorLoop& conductor) override;
    void Stop() override;
    bool IsRunning() const override { return Conductor != nullptr; }
    bool IsDamaged() const override { return Rail.IsDamaged(); }
    std::multimap<std::string, std::string> RailDescription() const override { return Rail.Description(); }
    NetworkCounters Counters() const override;
    ProcessingTimes Times() const override { return Work.Read(); }
    uint32_t SlotsDropped() const override;
    bool BufferDelayed() const override;

private:
    int WakeDescriptor() const override;
    uint64_t Run(uint64_t nowNs) override;
    uint64_t TakeBytesMoved() override;
    uint64_t TakePacketsMoved() override;

    uint8_t* OpenSlot(void*& slot) override;
    void AddRecord(void* slot, uint32_t type, uint32_t position, uint32_t value) override;
    void CommitSlot(void* slot) override;

    Outcome Check() const;
    Outcome OpenSockets();
    bool MakeWakeSet();
    void Release(); // sockets and rail
    bool IsEveryPortDropped() const;
    void TakeBatch(const DatagramBatch& batch, size_t path, uint64_t nowNs);
    void Publish();
    void ResetCounters();
    void TellRefused() const; // unless it has told the same number already
    void TellAncillary() const;
    void Say(const std::string& line) const;

    const CommonConfig Common;
    const NetworkConfig Network;
    const EssenceConfig Essence;
    const MediaSettings Settings;
    const PortDropRules& Drops;
    const SlotLayout Layout;

    // Control side.
    ConductorLoop* Conductor = nullptr; // the one that runs this stream, null while stopped
    StreamRail Rail;                    // open from Start to Stop; used by the conductor's thread while it runs
    std::vector<std::unique_ptr<ReceiveSocket>> Sockets; // in the order of the connections
    int WakeSet = -1;                                    // epoll of several sockets
    mutable uint64_t RefusedTold = 0;                    // packets, since the start

    // Conductor's thread.
    std::unique_ptr<Assembler> Slots;
    std::vector<uint8_t> Room;
    uint64_t Transferred = 0;
    uint64_t BytesMoved = 0;
    uint64_t PacketsMoved = 0;
    uint64_t WorkFromNs = 0; // since when the time is not yet counted
    uint64_t WorkNs = 0;     // counted for the slot that comes next

    // Written by the conductor's thread, read by the control side; each number stands for itself.
    struct Published
    {
        std::atomic<uint64_t> transferred{0}, processed{0}, drops{0}, lost{0}, delayed{0};
        std::atomic<uint64_t> malformed{0}, otherPayloadType{0}, otherSource{0};
        std::atomic<uint64_t> parityErrors{0}, checksumErrors{0}, ancillaryNotPlaced{0};
        std::atomic<uint64_t> biggestDelayNs{0}, biggestDelayAtNs{0};
        std::atomic<uint32_t> ssrc{0};
        std::atomic<bool> lastSlotDropped{false};
    };
    struct PublishedPath
    {
        std::atomic<uint64_t> received{0}, lost{0};
    };
    Published Shown;
    std::vector<PublishedPath> ShownPaths; // one for each connection
    WorkMeter Work;
};

} // namespace mxs::media
