// What reading and writing share, and the operations around a whole playlist.
#include "anc/CAncPlaylistManager.h"

#include "anc/LineRange.h"
#include "anc/PlaylistFormat.h"

#include <array>
#include <utility>

namespace Quillmont::anc
{
namespace
{
constexpr std::array<uint32_t, 16> kStreamOfPlaylist{0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15};
constexpr uint32_t kLastPlaylistOfAnyLayout = 31;
constexpr uint32_t kHdActiveWidth = 1280;

constexpr uint32_t kTag = 0x434E415A;
constexpr uint32_t kTrailerBytes = 8;

struct FieldRow
{
    uint32_t activeHeight;
    bool progressive;
    std::array<uint32_t, 3> borders; // the line before each field, and the last line
};
constexpr FieldRow kFields[] = {
    {480, false, {0, 262, 525}},  {480, true, {0, 262, 525}},  {487, false, {0, 263, 525}},
    {487, true, {0, 263, 525}},   {576, false, {0, 312, 625}}, {576, true, {0, 312, 625}},
    {720, false, {0, 385, 750}},  {720, true, {0, 385, 750}},  {1080, false, {0, 563, 1125}},
    {1080, true, {0, 581, 1125}},
};
} // namespace

LineRange LinesOf(bool field, uint32_t activeHeight, bool progressive, uint32_t totalHeight, uint32_t fieldIndex)
{
    if (!field) return {0, totalHeight};
    for (const FieldRow& row : kFields)
        if (row.activeHeight == activeHeight && row.progressive == progressive && fieldIndex < row.borders.size() - 1)
            return {row.borders[fieldIndex], row.borders[fieldIndex + 1]};
    return {}; // no line belongs to it
}

uint32_t StreamOfPlaylist(uint32_t index)
{
    return index < kStreamOfPlaylist.size() ? kStreamOfPlaylist[index] : kNoStream;
}

CAncPlaylistManager::CAncPlaylistManager(PlaylistFunctions playlists, Sinks sinks, bool listening)
    : Playlists(std::move(playlists)), ErrorSink(std::move(sinks.Error), listening),
      WarningSink(std::move(sinks.Warning), listening), DebugSink(std::move(sinks.Debug), listening)
{
}

void CAncPlaylistManager::SetListening(bool listening)
{
    ErrorSink.SetListening(listening);
    WarningSink.SetListening(listening);
    DebugSink.SetListening(listening);
}

bool CAncPlaylistManager::Exists(uint32_t index, uint32_t activeWidth) const
{
    return Playlists.IsValidIndex(index) && (activeWidth >= kHdActiveWidth || index % 2 != 0);
}

uint32_t CAncPlaylistManager::StreamOf(uint32_t index) const
{
    if (index > kLastPlaylistOfAnyLayout) ErrorSink.Tell("Invalid playlist index %u", index);
    return StreamOfPlaylist(index);
}

uint32_t CAncPlaylistManager::Finalize(const ANC_FINALIZE_REQUEST& request)
{
    const uint32_t playlists = request.NbChannels * request.NbLinks * 2;
    for (uint32_t index = 0; index < playlists; ++index)
    {
        if (!Exists(index, request.ActiveWidth)) continue;
        const uint32_t bufferType = Playlists.PlaylistToBuffer(index, request.NbLinks);
        uint32_t size = 0;
        uint8_t* const buffer = request.GetBuffer(bufferType, &size);
        if (!buffer) continue;
        uint32_t position = 0;
        uint16_t line = 0;
        request.GetProgress(bufferType, &position, &line);
        if (position == 0)
            WriteEmptyPlaylist(buffer, size);
        else if (size >= kEmptyPlaylistBytes)
            Store32(buffer, request.GetFinalSize(bufferType));
    }
    return kAncSuccess;
}

// The trailer stands where the playlist's own size says that it ends.
static bool FindTrailer(const uint8_t* buffer, uint32_t size, uint32_t* offset)
{
    if (!buffer || size < kEmptyPlaylistBytes + kTrailerBytes) return false;
    *offset = Load32(buffer);
    return *offset <= size - kTrailerBytes;
}

uint32_t CAncPlaylistManager::CheckTrailer(const uint8_t* buffer, uint32_t size, uint32_t value) const
{
    uint32_t offset = 0;
    const bool matches = FindTrailer(buffer, size, &offset) && Load32(buffer + offset) == GetTag() &&
                         Load32(buffer + offset + 4) == value;
    return matches ? kAncSuccess : kAncTrailerWrong;
}

uint32_t CAncPlaylistManager::WriteTrailer(uint8_t* buffer, uint32_t size, uint32_t value) const
{
    uint32_t offset = 0;
    if (!FindTrailer(buffer, size, &offset)) return kAncNoTrailerRoom;
    Store32(buffer + offset, GetTag());
    Store32(buffer + offset + 4, value);
    return kAncSuccess;
}

uint32_t CAncPlaylistManager::GetTag() const
{
    return kTag;
}

void CAncPlaylistManager::WriteEmptyPlaylist(uint8_t* buffer, uint32_t size) const
{
    if (!buffer || size < kEmptyPlaylistBytes) return;
    Store32(buffer, kEmptyPlaylistBytes);
    Store32(buffer + 4, 0);
    Store32(buffer + 8, kEndMarker);
}
} // namespace Quillmont::anc
