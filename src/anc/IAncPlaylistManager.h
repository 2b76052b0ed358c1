// Between the playlists of a slot, the byte form of ancillary data, and the store of its packets.
#pragma once

#include "anc/IBlankingData.h"

#include <cstdint>
#include <functional>

namespace Quillmont::anc
{
// The address and size of a playlist's buffer; null for a playlist that the slot does not have.
using GetBufferFunction = std::function<uint8_t*(uint32_t bufferType, uint32_t* size)>;
// How far a playlist has come: an offset in its buffer, 0 for not begun, and the last line that was dealt with.
using GetProgressFunction = std::function<void(uint32_t bufferType, uint32_t* position, uint16_t* line)>;
using SetProgressFunction = std::function<void(uint32_t bufferType, uint32_t position, uint16_t line)>;

// Playlists are numbered from 0; there are two for each channel and link. A playlist of a signal with fewer than 1280
// active samples exists for odd numbers alone.
struct ANC_PARSE_REQUEST
{
    uint32_t CopyWords = 0; // non-zero: user words go to the store's memory; otherwise packets point into the buffer
    uint32_t NbChannels = 0;
    uint32_t NbLinks = 0;
    uint32_t StreamLayout = 0;
    uint32_t FieldMode = 0; // non-zero: a field, the one of FieldIndex, is read in place of a frame
    uint32_t HasGetAvailable = 0;
    uint32_t Reserved = 0;
    uint32_t Vbi10Bit = 0;
    uint32_t ActiveWidth = 0;
    uint32_t ActiveHeight = 0;
    uint32_t TotalHeight = 0;
    uint32_t Progressive = 0;
    uint32_t CopyAll = 0; // non-zero: raw lines are copied too
    uint32_t FieldIndex = 0;
    IBlankingData* Store = nullptr;
    GetBufferFunction GetBuffer;
    GetProgressFunction GetProgress;
    // With HasGetAvailable: how much of the buffer has been filled. May lower `size`, and clears `complete` while more
    // is to come; what it returns, if not 0, ends the call.
    std::function<uint32_t(uint32_t bufferType, uint32_t* size, bool* complete)> GetAvailable;
    SetProgressFunction SetProgress;
};

struct ANC_GENERATE_REQUEST
{
    uint32_t NbChannels = 0;
    uint32_t NbLinks = 0;
    uint32_t StreamLayout = 0;
    uint32_t FieldMode = 0;
    uint32_t MarkEmptyFrame = 0; // non-zero: a last line without packets gets a marker
    uint32_t Reserved = 0;
    uint32_t Vbi10Bit = 0;
    uint32_t ActiveWidth = 0;
    uint32_t ActiveHeight = 0;
    uint32_t TotalHeight = 0;
    uint32_t Progressive = 0;
    uint32_t FieldIndex = 0;
    IBlankingData* Store = nullptr;
    GetBufferFunction GetBuffer;
    GetProgressFunction GetProgress;
    std::function<uint16_t(uint32_t bufferType)> GetLastLine; // up to which the store has been filled
    SetProgressFunction SetProgress;
    std::function<void(uint32_t bufferType, uint32_t size)> SetFinalSize; // of a playlist that got its end marker
};

struct ANC_FINALIZE_REQUEST
{
    uint32_t NbChannels = 0;
    uint32_t NbLinks = 0;
    uint32_t ActiveWidth = 0;
    GetBufferFunction GetBuffer;
    GetProgressFunction GetProgress;
    std::function<uint32_t(uint32_t bufferType)> GetFinalSize;
};

// Nothing is read or written outside the buffers that the request gives, whatever stands in them. Results are those of
// IBlankingData.h.
class IAncPlaylistManager
{
public:
    virtual ~IAncPlaylistManager() = default;

    // Reads playlists into the store, each from its progress on. A failure ends the call; packets that were put into
    // the store before it stay there, and the progress moves on all the same.
    virtual uint32_t Parse(const ANC_PARSE_REQUEST& request) = 0;

    // Moves packets and raw lines from the store into playlists. What does not fit a buffer, with the end marker behind
    // it, is left out from the first such packet on, told on the error sink, and no failure. A playlist without room
    // for the end marker, as one that was read, stays as it is and nothing is told. Always 0.
    virtual uint32_t Generate(const ANC_GENERATE_REQUEST& request) = 0;

    // Closes all playlists: one that was not begun becomes an empty one, others get their size. Always 0.
    virtual uint32_t Finalize(const ANC_FINALIZE_REQUEST& request) = 0;

    // Two words behind the playlist in a buffer of `size` bytes, GetTag() and `value`. kAncTrailerWrong when they are
    // not there, kAncNoTrailerRoom when there is no room for them.
    virtual uint32_t CheckTrailer(const uint8_t* buffer, uint32_t size, uint32_t value) const = 0;
    virtual uint32_t WriteTrailer(uint8_t* buffer, uint32_t size, uint32_t value) const = 0;
    virtual uint32_t GetTag() const = 0;

    // An empty playlist, 12 bytes; nothing in a buffer of fewer.
    virtual void WriteEmptyPlaylist(uint8_t* buffer, uint32_t size) const = 0;
};

inline constexpr uint32_t kAncTrailerWrong = 3;
inline constexpr uint32_t kAncNoTrailerRoom = 4;
} // namespace Quillmont::anc
