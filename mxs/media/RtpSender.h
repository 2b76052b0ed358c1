// A send stream: rail in, sockets out, the packetizer of its essence in between.
#pragma once

#include "ConductorLoop.h"
#include "MediaClock.h"
#include "MediaStream.h"
#include "Packetizer.h"
#include "SendSocket.h"
#include "SlotSchedule.h"
#include "StreamRail.h"
#include "SystemMediaClock.h"
#include "WorkMeter.h"

#include <array>
#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mxs::media
{

class RtpSender : public MediaStream, private ConductorTask
{
public:
    RtpSender(const CommonConfig& common, const NetworkConfig& network, const EssenceConfig& essence,
              const MediaSettings& settings);
    ~RtpSender() override; // stops

    Outcome Start(ConductorLoop& conductor) override;
    void Stop() override;
    bool IsRunning() const override { return Conductor != nullptr; }
    bool IsDamaged() const override { return Rail.IsDamaged(); }
    std::multimap<std::string, std::string> RailDescription() const override { return Rail.Description(); }
    NetworkCounters Counters() const override;
    ProcessingTimes Times() const override { return Work.Read(); }
    uint32_t SlotsDropped() const override { return 0; } // what the application commits is sent or counts as lost
    bool BufferDelayed() const override;

private:
    static constexpr size_t kMostTimestamps = 32; // of a slot, that are looked at

    int WakeDescriptor() const override { return -1; }
    uint64_t Run(uint64_t nowNs) override;
    uint64_t TakeBytesMoved() override;
    uint64_t TakePacketsMoved() override;

    Outcome Check() const;
    Outcome OpenSockets();
    Outcome MakeRail();
    void MakePackets();
    void Release();       // sockets and rail
    uint64_t BeginSlot(); // returns when to try again, 0 when one has begun
    void NoteMissing(uint64_t taiNs, uint64_t nowNs);
    size_t ReadTimestamps();
    void SendBurst();
    void GiveUpSlot();
    void EndSlot(uint64_t nowNs);
    void PauseWork(uint64_t nowNs);
    void ResetCounters();
    void TellLost() const; // unless it has told so already
    void Say(const std::string& line) const;

    const CommonConfig Common;
    const NetworkConfig Network;
    const EssenceConfig Essence;
    const MediaSettings Settings;
    const SlotLayout Layout;
    const SystemMediaClock SystemClock;
    const MediaClock& Clock;

    // Control side.
    ConductorLoop* Conductor = nullptr; // the one that runs this stream, null while stopped
    StreamRail Rail;                    // open from Start to Stop; used by the conductor's thread while it runs
    uint64_t Consumer = 0;              // the service, as the rail knows it
    std::vector<std::unique_ptr<SendSocket>> Sockets; // in the order of the connections
    uint32_t Ssrc = 0;
    mutable uint64_t LossTold = 0; // datagrams, since the start

    // Conductor's thread.
    std::unique_ptr<Packetizer> Packets;
    std::optional<SlotSchedule> Schedule;
    std::vector<uint8_t> Room; // of a burst
    std::array<TimestampRecord, kMostTimestamps> Timestamps{};
    void* Slot = nullptr;     // null: none is being sent
    uint64_t SlotStartNs = 0; // its moment on the monotonic clock
    uint64_t ActiveNs = 0;    // when the slot was last worked on
    size_t Count = 0;         // its datagrams
    size_t Next = 0;          // the first of them that is not sent
    uint64_t BytesMoved = 0;
    uint64_t PacketsMoved = 0;
    uint64_t WorkFromNs = 0; // since when the time is not yet counted
    uint64_t WorkNs = 0;     // counted for the slot that is being sent

    // Written by the conductor's thread, read by the control side; each number stands for itself.
    struct Published
    {
        std::atomic<uint64_t> transferred{0}, processed{0}, underruns{0}, lost{0}, refused{0};
        std::atomic<bool> waiting{false}; // the latest moment had no slot
    };
    struct PublishedPath
    {
        std::atomic<uint64_t> transferred{0}, lost{0};
    };
    Published Shown;
    std::vector<PublishedPath> ShownPaths; // one for each connection
    WorkMeter Work;
};

} // namespace mxs::media
