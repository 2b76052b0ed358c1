// Reads and writes the playlists of ancillary slots.
#pragma once

#include "anc/CTextSink.h"
#include "anc/IAncPlaylistManager.h"

#include <cstdint>
#include <functional>

namespace Quillmont::anc
{
// The stream of the store that a playlist belongs to, kNoStream for a playlist above 15.
uint32_t StreamOfPlaylist(uint32_t index);

class CAncPlaylistManager : public IAncPlaylistManager
{
public:
    struct PlaylistFunctions
    {
        std::function<uint32_t(uint32_t index, uint32_t nbLinks)> PlaylistToBuffer; // gives the buffer type
        std::function<bool(uint32_t index)> IsValidIndex;                           // others are passed over
    };
    struct Sinks
    {
        TextFunction Error, Warning, Debug;
    };

    // Without `listening` no text is built; the functions must be there all the same.
    CAncPlaylistManager(PlaylistFunctions playlists, Sinks sinks, bool listening = true);

    void SetListening(bool listening);

    uint32_t Parse(const ANC_PARSE_REQUEST& request) override;
    uint32_t Generate(const ANC_GENERATE_REQUEST& request) override;
    uint32_t Finalize(const ANC_FINALIZE_REQUEST& request) override;
    uint32_t CheckTrailer(const uint8_t* buffer, uint32_t size, uint32_t value) const override;
    uint32_t WriteTrailer(uint8_t* buffer, uint32_t size, uint32_t value) const override;
    uint32_t GetTag() const override;
    void WriteEmptyPlaylist(uint8_t* buffer, uint32_t size) const override;

private:
    struct Reading; // of one playlist
    struct Writing;

    // Whether the playlist is one of a signal of that width.
    bool Exists(uint32_t index, uint32_t activeWidth) const;
    uint32_t StreamOf(uint32_t index) const;

    uint32_t ReadPlaylist(Reading& reading);
    uint32_t ReadHeader(Reading& reading, uint32_t word);
    uint32_t ReadRawLine(Reading& reading, uint32_t word, uint32_t line);
    uint32_t ReadPackets(Reading& reading);
    void Resynchronise(Reading& reading);

    void WriteLines(Writing& writing, uint32_t firstLine, uint32_t endLine);
    bool WriteLine(Writing& writing, uint32_t line, bool isEnd);
    bool WritePackets(Writing& writing, uint32_t line, bool inHanc, bool* found);
    void ClosePlaylist(Writing& writing, uint32_t endLine, bool isLast);
    void Refuse(const Writing& writing, uint32_t line) const;

    const PlaylistFunctions Playlists;
    CTextSink ErrorSink;
    CTextSink WarningSink;
    CTextSink DebugSink;
};
} // namespace Quillmont::anc
