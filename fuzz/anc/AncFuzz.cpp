// Any bytes as a playlist, from any progress on, and then a playlist of what was read into a buffer of any size. The
// buffers are exactly as large as they say. Six bytes stand before the playlist:
//
//   0 bits: copy words, copy all, 10-bit raw lines, field mode, which field, part of the buffer, mark empty, in place
//   1 video standard, the store's if it is another | 2 progress | 3 size of the second buffer in units of 4
//   4 how much is there | 5 line of progress
#include "anc/CAncPlaylistManager.h"
#include "anc/CBlankingData.h"
#include "core/VideoStandards.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

using namespace Quillmont::anc;

namespace
{
constexpr size_t kControlBytes = 6;
constexpr uint32_t kStandards[] = {0, 2, 5, 7}; // both sizes of a raw line, frames of 525 to 1125 lines

void Require(bool condition)
{
    if (!condition) std::abort();
}

void Swallow(const std::string& text)
{
    Require(text.size() < 255); // not cut
}

struct Playlist
{
    Playlist(const uint8_t* bytes, uint32_t size) : Bytes(new uint8_t[size]()), Size(size)
    {
        if (bytes && size != 0) std::memcpy(Bytes.get(), bytes, size);
    }

    std::unique_ptr<uint8_t[]> Bytes;
    uint32_t Size;
    uint32_t Position = 0;
    uint16_t Line = 0;
};

template <class TRequest>
TRequest MakeRequest(const uint8_t* control, IBlankingData& store, Playlist& playlist)
{
    const auto* row = Quillmont::Trellis::Zefa::FindSdiStandard(kStandards[control[1] % 4]);
    TRequest request;
    request.NbChannels = 1;
    request.NbLinks = 1;
    request.StreamLayout = 2;
    request.Vbi10Bit = control[0] & 4;
    request.FieldMode = control[0] & 8;
    request.FieldIndex = control[0] >> 4 & 1;
    request.ActiveWidth = row->ActiveSamples;
    request.ActiveHeight = row->ActiveLines;
    request.TotalHeight = row->TotalLines;
    request.Progressive = row->Progressive;
    request.Store = &store;
    request.GetBuffer = [&playlist](uint32_t, uint32_t* size)
    {
        *size = playlist.Size;
        return playlist.Bytes.get();
    };
    request.GetProgress = [&playlist](uint32_t, uint32_t* position, uint16_t* line)
    {
        *position = playlist.Position;
        *line = playlist.Line;
    };
    request.SetProgress = [&playlist](uint32_t, uint32_t position, uint16_t line)
    {
        Require(position <= std::max(playlist.Size, playlist.Position));
        playlist.Position = position;
        playlist.Line = line;
    };
    return request;
}

// Reads every word that the store gives out.
uint32_t Touch(const IBlankingData& store)
{
    uint32_t sum = 0;
    for (uint32_t line = 1; line <= store.GetNbLines(); ++line)
        for (const uint32_t stream : {0U, 1U})
        {
            ZEFA_ANC_PACKET* packet = nullptr;
            for (int32_t i = 0; store.GetPacket(line, stream, i, &packet) == kAncSuccess; ++i)
                for (uint32_t word = 0; packet->UserWords_pUS && word < packet->DataCount_UB; ++word)
                    sum += packet->UserWords_pUS[word];
            uint8_t* data = nullptr;
            uint32_t size = 0;
            if (store.GetVbiLine(line, stream, &data, &size) == kAncSuccess)
                for (uint32_t i = 0; i < size; ++i)
                    sum += data[i];
        }
    return sum;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < kControlBytes) return 0;
    const uint8_t* const control = data;
    static CBlankingData stores[]{{Swallow, Swallow}, {Swallow, Swallow}, {Swallow, Swallow}, {Swallow, Swallow}};
    static CAncPlaylistManager manager(
        {[](uint32_t index, uint32_t) { return index; }, [](uint32_t index) { return index == 1; }},
        {Swallow, Swallow, Swallow});
    const size_t standard = control[1] & 16 ? control[1] / 4 % 4 : control[1] % 4;
    CBlankingData& store = stores[standard]; // each keeps its lines
    store.Init(kStandards[standard], false, {0, 1}, 1);

    Playlist read(data + kControlBytes, static_cast<uint32_t>(size - kControlBytes));
    read.Position = control[2];
    read.Line = control[5];
    auto parse = MakeRequest<ANC_PARSE_REQUEST>(control, store, read);
    parse.CopyWords = control[0] & 1;
    parse.CopyAll = control[0] & 2;
    parse.HasGetAvailable = control[0] & 32;
    parse.GetAvailable = [&](uint32_t, uint32_t* available, bool* complete)
    {
        *available = control[4] * 4U;
        *complete = control[4] % 2 != 0;
        return 0U;
    };
    manager.Parse(parse);
    manager.Parse(parse);
    volatile uint32_t sum = Touch(store);
    static_cast<void>(sum);

    Playlist other(nullptr, control[3] * 4U + control[4] % 4U);
    Playlist& written = control[0] & 128 ? read : other;
    if (control[4] % 3 == 0) written.Position = control[2];
    auto generate = MakeRequest<ANC_GENERATE_REQUEST>(control, store, written);
    generate.MarkEmptyFrame = control[0] & 64;
    generate.GetLastLine = [&](uint32_t) { return static_cast<uint16_t>(control[5] * 5); };
    generate.SetFinalSize = [&](uint32_t, uint32_t final) { Require(final <= written.Size); };
    Require(manager.Generate(generate) == kAncSuccess);
    generate.GetLastLine = [](uint32_t) { return uint16_t{2000}; };
    Require(manager.Generate(generate) == kAncSuccess);
    return 0;
}
