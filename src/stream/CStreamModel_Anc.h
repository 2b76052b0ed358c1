// CStreamModel_Anc, the stream model of ancillary data: it gives each locked slot a store of packets. On receive the
// slot's playlists are read when the application first asks for a packet, on transmit they are written at the unlock.
#pragma once

#include "anc/CAncPlaylistManager.h"
#include "anc/CBlankingData.h"
#include "core/VideoStandards.h"
#include "stream/CStreamModel.h"
#include "zefaline/anc.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <deque>

namespace Quillmont::Trellis::Zefa
{
class CStreamModel_Anc : public CStreamModel
{
public:
    using CStreamModel::CStreamModel;

    ZEFA_ERRORCODE StartStream() override;
    ZEFA_ERRORCODE StopStream() override;
    ZEFA_ERRORCODE SetEssenceConfig(const ZEFA_ESSENCE_CONFIG* config) override;
    // Without a free element the lock fails and the slot stays locked in the rail.
    ZEFA_ERRORCODE LockSlot(void** slot) override;
    // A slot whose packets were read is written too, from where the reading ended: at the end of a buffer, nothing.
    ZEFA_ERRORCODE UnlockSlot(void* slot) override;

    // ---- the packets of a locked slot. A slot that has no element yet gets one. The first of these on a slot of a
    // receive stream reads its playlists, and raises std::out_of_range when the video standard has no SDI row ----
    ZEFA_ERRORCODE AllocatePacket(void* slot, uint8_t dataCount, ZEFA_ANC_PACKET** packet);
    ZEFA_ERRORCODE GetNbPackets(void* slot, uint32_t line, uint32_t bufferType, uint32_t* count);
    ZEFA_ERRORCODE GetPacket(void* slot, uint32_t line, uint32_t bufferType, int32_t index, ZEFA_ANC_PACKET** packet);
    ZEFA_ERRORCODE InsertPacket(void* slot, uint32_t line, uint32_t bufferType, int32_t index, ZEFA_ANC_PACKET* packet);
    ZEFA_ERRORCODE RemovePacket(void* slot, uint32_t line, uint32_t bufferType, int32_t index, bool inHanc);

    // As with the pools of the base: far more than anybody can hold locked, and no service can ask for all memory.
    static constexpr uint32_t kMostSlotData = 1024;

private:
    static constexpr uint32_t kPlaylists = 16; // buffer types ZEFA_BUFFER_ANC_0 to _15

    struct ANC_SLOT_DATA
    {
        explicit ANC_SLOT_DATA(bool loaded, bool listening);

        struct Place
        {
            uint32_t Position = 0;
            uint16_t Line = 0;
        };

        bool Taken = false;
        void* Slot = nullptr; // while taken
        anc::CBlankingData Store;
        std::array<Place, kPlaylists> Progress{};
        std::array<uint32_t, kPlaylists> FinalSize{}; // bytes of each playlist written
        bool Loaded;                                  // the store holds what is to be written
    };

    ANC_SLOT_DATA* FindElement(void* slot);
    ANC_SLOT_DATA* AcquireElement(void* slot);
    void ReleaseElement(ANC_SLOT_DATA* element);
    uint32_t StoreStandard() const;

    template <class TRequest>
    TRequest MakeRequest(ANC_SLOT_DATA* element, const VideoStandardRow& row);
    uint32_t EnsureParsed(ANC_SLOT_DATA* element);
    uint32_t Generate(ANC_SLOT_DATA* element, const VideoStandardRow& row);
    uint8_t* GetPlaylistBuffer(void* slot, uint32_t bufferType, uint32_t* size);

    // The element of the slot, ready to be asked, or null and the code to return.
    ANC_SLOT_DATA* OpenSlot(void* slot, ZEFA_ERRORCODE* status);

    // Guards all below, and the memory of locked slots, against the StopStream of another thread, which holds it across
    // its exchange. Taken before Mutex, never while Mutex is held.
    CTurnMutex SlotDataMutex;
    anc::CAncPlaylistManager PlaylistManager = MakePlaylistManager();
    std::deque<ANC_SLOT_DATA> SlotDataPool; // as many as the ring has slots, from StartStream to StopStream
    size_t TakenElements = 0;
    std::atomic<uint32_t> VideoStandard{kUnknownVideoStandard}; // as the application gave it

    static anc::CAncPlaylistManager MakePlaylistManager();
};
} // namespace Quillmont::Trellis::Zefa
