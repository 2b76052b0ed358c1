// Stores for locked slots: taken at the lock, emptied into the slot at the unlock. Nothing here allocates on the media
// path but what the packets of a frame need beyond any frame before it.
#include "stream/CStreamModel_Anc.h"

#include "logger/Log.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

namespace Quillmont::Trellis::Zefa
{
using Logger::HasListener;
using Logger::kPriorityDebug;
using Logger::kPriorityError;
using Logger::kPriorityInfo;
using Logger::kPriorityWarning;
using Logger::Log;

namespace
{
constexpr uint32_t kChannels = 8;
constexpr uint32_t kLinks = 1;
constexpr uint32_t kStreamLayout = 2;

anc::TextFunction LogAt(uint32_t priority)
{
    return [priority](const std::string& text) { Log(priority, text); };
}

const std::vector<uint32_t>& AllStreams()
{
    static const std::vector<uint32_t>& streams = []() -> const std::vector<uint32_t>&
    {
        auto* const numbers = new std::vector<uint32_t>(anc::kStreams); // never destroyed: a thread may still unlock
        std::iota(numbers->begin(), numbers->end(), 0U);                // while the process ends
        return *numbers;
    }();
    return streams;
}

// Of the two operations that only transmit streams have.
ZEFA_ERRORCODE TranslateTransmit(uint32_t code)
{
    switch (code)
    {
    case anc::kAncSuccess: return ZEFA_NO_ERROR;
    case anc::kAncBadPlace: return ZEFA_ERR_BAD_ARGUMENT;
    case anc::kAncNullPointer: return ZEFA_ERR_INVALID_POINTER;
    case anc::kAncNoMemory: return ZEFA_ERR_INCORRECT_STATE;
    default: return ZEFA_ERR_OPERATION_FAILED;
    }
}

ZEFA_ERRORCODE TranslateStore(uint32_t code)
{
    switch (code)
    {
    case anc::kAncSuccess: return ZEFA_NO_ERROR;
    case anc::kAncBadPlace: return ZEFA_ERR_BAD_ARGUMENT;
    default: return ZEFA_ERR_OPERATION_FAILED;
    }
}

uint32_t StreamOfBuffer(uint32_t bufferType)
{
    return anc::StreamOfPlaylist(bufferType - ZEFA_BUFFER_ANC_0); // a type below wraps to one that is far above
}
} // namespace

anc::CAncPlaylistManager CStreamModel_Anc::MakePlaylistManager()
{
    return anc::CAncPlaylistManager(
        {.PlaylistToBuffer = [](uint32_t index, uint32_t) { return ZEFA_BUFFER_ANC_0 + index; },
         .IsValidIndex = [](uint32_t index) { return index < kPlaylists; }},
        {.Error = LogAt(kPriorityError), .Warning = LogAt(kPriorityWarning), .Debug = LogAt(kPriorityInfo)});
}

CStreamModel_Anc::ANC_SLOT_DATA::ANC_SLOT_DATA(bool loaded, bool listening)
    : Store(LogAt(kPriorityError), LogAt(kPriorityDebug), listening), Loaded(loaded)
{
}

uint32_t CStreamModel_Anc::StoreStandard() const
{
    return std::min(VideoStandard.load(), kUnknownVideoStandard);
}

ZEFA_ERRORCODE CStreamModel_Anc::StartStream()
{
    if (const ZEFA_ERRORCODE status = CStreamModel::StartStream(); status != ZEFA_NO_ERROR) return status;
    const std::lock_guard lock(SlotDataMutex);
    SlotDataPool.clear();
    TakenElements = 0;
    for (uint32_t i = 0; i < std::min(SlotCount, kMostSlotData); ++i)
    {
        anc::CBlankingData& store = SlotDataPool.emplace_back(IsTransmit(), HasListener()).Store;
        store.Init(StoreStandard(), false, AllStreams(), 1);
        // A first packet takes the memory that an ordinary frame needs, and the store keeps it.
        ZEFA_ANC_PACKET* packet = nullptr;
        store.AllocatePacket(1, &packet, 0);
        store.Init(StoreStandard(), false, AllStreams(), 1);
    }
    return ZEFA_NO_ERROR;
}

ZEFA_ERRORCODE CStreamModel_Anc::StopStream()
{
    // Before the base closes the rail: no playlist is read or written while its memory goes away.
    const std::lock_guard lock(SlotDataMutex);
    if (const ZEFA_ERRORCODE status = CStreamModel::StopStream(); status != ZEFA_NO_ERROR) return status;
    SlotDataPool.clear();
    TakenElements = 0;
    return ZEFA_NO_ERROR;
}

ZEFA_ERRORCODE CStreamModel_Anc::SetEssenceConfig(const ZEFA_ESSENCE_CONFIG* config)
{
    const ZEFA_ERRORCODE status = CStreamModel::SetEssenceConfig(config);
    if (status == ZEFA_NO_ERROR) VideoStandard = config->Essence_X.ST2110_40_X.VideoStandard_E;
    return status;
}

ZEFA_ERRORCODE CStreamModel_Anc::LockSlot(void** slot)
{
    const ZEFA_ERRORCODE status = CStreamModel::LockSlot(slot); // waits, and so before the lock below
    if (status != ZEFA_NO_ERROR) return status;
    const std::lock_guard lock(SlotDataMutex);
    return FindElement(*slot) || AcquireElement(*slot) ? ZEFA_NO_ERROR : ZEFA_ERR_OPERATION_FAILED;
}

ZEFA_ERRORCODE CStreamModel_Anc::UnlockSlot(void* slot)
{
    const std::lock_guard lock(SlotDataMutex);
    ANC_SLOT_DATA* const element = FindElement(slot);
    if (element && element->Loaded)
        if (const VideoStandardRow* row = FindSdiStandard(VideoStandard)) // without one nothing can be written
        {
            if (const uint32_t result = Generate(element, *row); result != anc::kAncSuccess) return result;
            element->Loaded = false;
        }

    const ZEFA_ERRORCODE status = CStreamModel::UnlockSlot(slot);
    if (status == ZEFA_NO_ERROR && element) ReleaseElement(element);
    return status;
}

CStreamModel_Anc::ANC_SLOT_DATA* CStreamModel_Anc::FindElement(void* slot)
{
    size_t left = TakenElements; // they stand at the front, with gaps
    for (auto element = SlotDataPool.begin(); left > 0; ++element)
    {
        if (!element->Taken) continue;
        if (element->Slot == slot) return &*element;
        --left;
    }
    return nullptr;
}

CStreamModel_Anc::ANC_SLOT_DATA* CStreamModel_Anc::AcquireElement(void* slot)
{
    const auto free =
        std::find_if(SlotDataPool.begin(), SlotDataPool.end(), [](const auto& each) { return !each.Taken; });
    if (free == SlotDataPool.end())
    {
        Log(kPriorityError, "There have been too many ANC slot request.\r\n");
        return nullptr;
    }
    free->Taken = true;
    free->Slot = slot;
    ++TakenElements;
    return &*free;
}

// The slot's packets are dead from here on.
void CStreamModel_Anc::ReleaseElement(ANC_SLOT_DATA* element)
{
    element->Progress = {};
    element->FinalSize = {};
    element->Loaded = IsTransmit();
    element->Taken = false;
    --TakenElements;
    element->Store.Init(StoreStandard(), false, AllStreams(), 1); // last, for another standard may find no memory
}

uint8_t* CStreamModel_Anc::GetPlaylistBuffer(void* slot, uint32_t bufferType, uint32_t* size)
{
    uint8_t* address = nullptr;
    return GetSlotBuffer(slot, bufferType, &address, size) == ZEFA_NO_ERROR ? address : nullptr;
}

// What both requests share.
template <class TRequest>
TRequest CStreamModel_Anc::MakeRequest(ANC_SLOT_DATA* element, const VideoStandardRow& row)
{
    TRequest request;
    request.NbChannels = kChannels;
    request.NbLinks = kLinks;
    request.StreamLayout = kStreamLayout;
    request.ActiveWidth = row.ActiveSamples;
    request.ActiveHeight = row.ActiveLines;
    request.TotalHeight = row.TotalLines;
    request.Progressive = row.Progressive;
    request.Store = &element->Store;
    request.GetBuffer = [this, slot = element->Slot](uint32_t bufferType, uint32_t* size)
    { return GetPlaylistBuffer(slot, bufferType, size); };
    request.GetProgress = [element](uint32_t bufferType, uint32_t* position, uint16_t* line)
    {
        const ANC_SLOT_DATA::Place& place = element->Progress[bufferType - ZEFA_BUFFER_ANC_0];
        *position = place.Position;
        *line = place.Line;
    };
    request.SetProgress = [element](uint32_t bufferType, uint32_t position, uint16_t line) {
        element->Progress[bufferType - ZEFA_BUFFER_ANC_0] = {position, line};
    };
    return request;
}

uint32_t CStreamModel_Anc::EnsureParsed(ANC_SLOT_DATA* element)
{
    if (element->Loaded) return anc::kAncSuccess;
    const VideoStandardRow* row = FindSdiStandard(VideoStandard);
    if (!row) throw std::out_of_range("invalid map<K, T> key"); // applications know this failure

    const auto request = MakeRequest<anc::ANC_PARSE_REQUEST>(element, *row);
    const uint32_t result = PlaylistManager.Parse(request);
    if (result == anc::kAncSuccess) element->Loaded = true;
    return result;
}

uint32_t CStreamModel_Anc::Generate(ANC_SLOT_DATA* element, const VideoStandardRow& row)
{
    element->Store.SetListening(HasListener());
    PlaylistManager.SetListening(HasListener());
    auto request = MakeRequest<anc::ANC_GENERATE_REQUEST>(element, row);
    request.GetLastLine = [lines = row.TotalLines](uint32_t) { return lines; };
    request.SetFinalSize = [element](uint32_t bufferType, uint32_t size)
    { element->FinalSize[bufferType - ZEFA_BUFFER_ANC_0] = size; };
    return PlaylistManager.Generate(request);
}

CStreamModel_Anc::ANC_SLOT_DATA* CStreamModel_Anc::OpenSlot(void* slot, ZEFA_ERRORCODE* status)
{
    ANC_SLOT_DATA* element = FindElement(slot);
    if (!element) element = AcquireElement(slot);
    // A stop that failed leaves the stores, but received packets lie in the slot, and that goes with the rail.
    const bool gone = !FlowRail && !IsTransmit();
    if (!element || gone)
    {
        *status = ZEFA_ERR_OPERATION_FAILED;
        return nullptr;
    }
    element->Store.SetListening(HasListener());
    PlaylistManager.SetListening(HasListener());
    *status = EnsureParsed(element); // the reader's results go out as they stand
    return *status == ZEFA_NO_ERROR ? element : nullptr;
}

ZEFA_ERRORCODE CStreamModel_Anc::AllocatePacket(void* slot, uint8_t dataCount, ZEFA_ANC_PACKET** packet)
{
    if (!IsTransmit()) return ZEFA_ERR_INCORRECT_STATE;
    const std::lock_guard lock(SlotDataMutex);
    ZEFA_ERRORCODE status;
    ANC_SLOT_DATA* const element = OpenSlot(slot, &status);
    return element ? TranslateTransmit(element->Store.AllocatePacket(dataCount, packet, 0)) : status;
}

ZEFA_ERRORCODE CStreamModel_Anc::GetNbPackets(void* slot, uint32_t line, uint32_t bufferType, uint32_t* count)
{
    const std::lock_guard lock(SlotDataMutex);
    ZEFA_ERRORCODE status;
    ANC_SLOT_DATA* const element = OpenSlot(slot, &status);
    return element ? TranslateStore(element->Store.GetTotalNbPackets(line, StreamOfBuffer(bufferType), count)) : status;
}

ZEFA_ERRORCODE CStreamModel_Anc::GetPacket(void* slot, uint32_t line, uint32_t bufferType, int32_t index,
                                           ZEFA_ANC_PACKET** packet)
{
    const std::lock_guard lock(SlotDataMutex);
    ZEFA_ERRORCODE status;
    ANC_SLOT_DATA* const element = OpenSlot(slot, &status);
    return element ? TranslateStore(element->Store.GetPacket(line, StreamOfBuffer(bufferType), index, packet)) : status;
}

ZEFA_ERRORCODE CStreamModel_Anc::InsertPacket(void* slot, uint32_t line, uint32_t bufferType, int32_t index,
                                              ZEFA_ANC_PACKET* packet)
{
    if (!IsTransmit()) return ZEFA_ERR_INCORRECT_STATE;
    const std::lock_guard lock(SlotDataMutex);
    ZEFA_ERRORCODE status;
    ANC_SLOT_DATA* const element = OpenSlot(slot, &status);
    if (!element) return status;
    // What a store takes for external it frees: not a packet of the library, of whichever slot.
    if (packet && packet->External_B &&
        std::any_of(SlotDataPool.begin(), SlotDataPool.end(),
                    [packet](const ANC_SLOT_DATA& each) { return each.Store.Owns(packet); }))
        packet->External_B = 0;
    return TranslateTransmit(element->Store.InsertPacket(line, StreamOfBuffer(bufferType), index, packet));
}

ZEFA_ERRORCODE CStreamModel_Anc::RemovePacket(void* slot, uint32_t line, uint32_t bufferType, int32_t index,
                                              bool inHanc)
{
    const std::lock_guard lock(SlotDataMutex);
    ZEFA_ERRORCODE status;
    ANC_SLOT_DATA* const element = OpenSlot(slot, &status);
    return element
               ? TranslateStore(element->Store.RemovePacket(line, StreamOfBuffer(bufferType), index, inHanc, nullptr))
               : status;
}
} // namespace Quillmont::Trellis::Zefa
