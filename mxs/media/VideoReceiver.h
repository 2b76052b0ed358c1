// A receive stream of video: sockets in, rail out, an assembler in between.
#pragma once

#include "ConductorLoop.h"
#include "MediaStream.h"
#include "ReceiveSocket.h"
#include "VideoAssembler.h"

#include <flowrail1.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mxs::media
{

class VideoReceiver : public MediaStream, private ConductorTask, private SlotSink
{
public:
    VideoReceiver(const CommonConfig& common, const NetworkConfig& network, const VideoConfig& video,
                  const MediaSettings& settings, const PortDropRules& drops);
    ~VideoReceiver() override; // stops

    Outcome Start(ConductorLoop& conductor) override;
    void Stop() override;
    bool IsRunning() const override { return Conductor != nullptr; }
    std::multimap<std::string, std::string> RailDescription() const override { return Description; }
    NetworkCounters Counters() const override;
    ProcessingTimes Times() const override;
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
    Outcome MakeRail();
    Outcome OpenSockets();
    bool MakeWakeSet();
    void Release(); // sockets and rail
    uint64_t DefaultBufferBytes() const;
    bool IsEveryPortDropped() const;
    void TakeBatch(const DatagramBatch& batch, uint64_t nowNs);
    void Publish();
    void ResetCounters();
    void TellRefused() const; // unless it has told the same number already
    void Say(const std::string& line) const;

    const CommonConfig Common;
    const NetworkConfig Network;
    const VideoConfig Video;
    const MediaSettings Settings;
    const PortDropRules& Drops;
    const SlotLayout Layout;

    // Control side.
    ConductorLoop* Conductor = nullptr; // the one that runs this stream, null while stopped
    std::multimap<std::string, std::string> Description;
    std::unique_ptr<CFlowRail> Rail; // from Start to Stop; used by the conductor's thread while it runs
    std::vector<std::unique_ptr<ReceiveSocket>> Sockets; // in the order of the connections
    int WakeSet = -1;                                    // epoll of several sockets
    uint32_t RecordRoom = 0;                             // of a slot
    mutable uint64_t RefusedTold = 0;                    // packets, since the start

    // Conductor's thread.
    std::optional<VideoAssembler> Assembler;
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
        std::atomic<uint64_t> biggestDelayNs{0}, biggestDelayAtNs{0};
        std::atomic<uint32_t> ssrc{0};
        std::atomic<bool> lastSlotDropped{false};
        std::atomic<uint64_t> slots{0}, workTotalNs{0}, workLeastNs{0}, workMostNs{0};
    };
    Published Shown;
};

} // namespace mxs::media
