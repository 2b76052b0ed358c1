// Media in files.
#include "StreamFiles.h"

#include "Failure.h"
#include "Report.h"
#include "Session.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iterator>
#include <optional>
#include <sstream>

namespace zefa
{
namespace
{
std::optional<uint32_t> Hexadecimal(const std::string& text, uint32_t most)
{
    uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, 16);
    if (text.empty() || error != std::errc() || stop != end || number > most) return std::nullopt;
    return number;
}

std::optional<AncLine> AncLineOf(const std::string& text)
{
    constexpr size_t kLeast = 6, kMostWords = 255;
    std::istringstream stream(text);
    const std::vector<std::string> words(std::istream_iterator<std::string>(stream), {});
    if (words.size() < kLeast || words.size() > kLeast + kMostWords || (words[3] != "H" && words[3] != "V"))
        return std::nullopt;
    const auto slot = DecimalNumber(words[0]), playlist = DecimalNumber(words[1]), line = DecimalNumber(words[2]);
    const auto did = Hexadecimal(words[4], 0xFF), sdid = Hexadecimal(words[5], 0xFF);
    if (!slot || !playlist || *playlist > 15 || !line || *line > UINT16_MAX || !did || !sdid) return std::nullopt;
    AncLine packet{*slot,
                   static_cast<uint32_t>(*playlist),
                   static_cast<uint32_t>(*line),
                   words[3] == "H",
                   static_cast<uint8_t>(*did),
                   static_cast<uint8_t>(*sdid),
                   {}};
    for (size_t i = kLeast; i < words.size(); ++i)
    {
        const auto word = Hexadecimal(words[i], 0x3FF);
        if (!word) return std::nullopt;
        packet.Words.push_back(static_cast<uint16_t>(*word));
    }
    return packet;
}
} // namespace

MediaOutput::MediaOutput(const std::string& name, const GoOn& goOn)
    : Name(name), File(name == "-" ? Descriptor(-1) : OpenOutput(name, goOn)), ToOutput(name == "-")
{
}

void MediaOutput::Write(const uint8_t* bytes, size_t count, const GoOn& goOn)
{
    Write({reinterpret_cast<const char*>(bytes), count}, goOn);
}

void MediaOutput::Write(std::string_view bytes, const GoOn& goOn)
{
    if (ToOutput)
        Print(bytes, goOn);
    else if (File.Number >= 0)
        WriteAll(File.Number, Name, bytes, goOn);
}

MediaInput::MediaInput(const std::string& name, bool loop) : File(name), Loop(loop)
{
    if (name == "-" && loop) throw Failure(kUsage, "--loop wants a file: the standard input cannot begin again.");
    if (File.NeverWaits()) HasMore(&NotInterrupted); // one that holds nothing is refused at once
}

std::optional<size_t> MediaInput::Next(std::span<uint8_t> buffer, const GoOn& goOn)
{
    std::optional<size_t> count = File.Read(buffer, goOn);
    if (count == 0u && !Begun) throw Failure(kFile, File.Name + " holds nothing to send.");
    if (count == 0u && Loop)
    {
        File.BeginAgain();
        count = File.Read(buffer, goOn);
        if (count == 0u) throw Failure(kFile, File.Name + " holds nothing any more.");
    }
    Begun = true;
    return count;
}

bool MediaInput::HasMore(const GoOn& goOn)
{
    if (Ahead.empty()) Ahead = {Room.data(), Next(Room, goOn).value_or(0)};
    return !Ahead.empty();
}

bool MediaInput::Fill(std::span<uint8_t> buffer, const GoOn& goOn)
{
    const size_t known = std::min(Ahead.size(), buffer.size());
    std::copy_n(Ahead.begin(), known, buffer.begin());
    Ahead = Ahead.subspan(known);
    for (buffer = buffer.subspan(known); !buffer.empty();)
    {
        const std::optional<size_t> count = Next(buffer, goOn);
        if (!count) return false;
        if (*count == 0) std::fill(buffer.begin(), buffer.end(), uint8_t{0});
        buffer = buffer.subspan(*count == 0 ? buffer.size() : *count);
    }
    return true;
}

std::string TextOf(const AncLine& packet)
{
    char text[32];
    std::snprintf(text, sizeof text, "%c %02x %02x", packet.Horizontal ? 'H' : 'V', packet.Did, packet.Sdid);
    std::string line = std::to_string(packet.Slot) + " " + std::to_string(packet.Playlist) + " " +
                       std::to_string(packet.Line) + " " + text;
    for (const uint16_t word : packet.Words)
    {
        std::snprintf(text, sizeof text, " %03x", word);
        line += text;
    }
    return line + "\n";
}

std::vector<AncLine> AncLinesOf(const std::string& text, const std::string& name)
{
    std::vector<AncLine> packets;
    std::istringstream lines(text);
    size_t number = 0;
    for (std::string line; std::getline(lines, line);)
    {
        ++number;
        const std::optional<AncLine> packet = AncLineOf(line);
        if (!packet || (!packets.empty() && packet->Slot < packets.back().Slot))
            throw Failure(kFile, name + ":" + std::to_string(number) +
                                     ": this is no packet; a line is \"slot playlist line H|V did sdid words\", and "
                                     "slots go up.");
        packets.push_back(*packet);
    }
    if (packets.empty()) throw Failure(kFile, name + " holds nothing to send.");
    return packets;
}

std::string AncText(ZEFA_HANDLE stream, ZEFA_SLOT slot, uint64_t slotNumber, uint32_t lines)
{
    std::string text;
    for (uint32_t playlist = 0; playlist < 16; ++playlist)
        for (uint32_t line = 1; line <= lines; ++line)
        {
            const ZEFA_BUFFER_TYPE buffer = ZEFA_BUFFER_ANC_0 + playlist;
            uint32_t count = 0;
            const ZEFA_ERRORCODE counted = ZEFA_SlotAncGetNbPackets(stream, slot, line, buffer, &count);
            if (counted == ZEFA_ERR_NOT_FOUND) break; // slots of this stream have no such buffer
            Check(counted, "The ancillary packets could not be counted");
            for (uint32_t i = 0; i < count; ++i)
            {
                ZEFA_ANC_PACKET* packet = nullptr;
                Check(ZEFA_SlotAncGetPacket(stream, slot, line, buffer, static_cast<int32_t>(i), &packet),
                      "An ancillary packet could not be reached");
                const uint16_t* const words = packet->UserWords_pUS;
                text += TextOf({slotNumber, playlist, line, packet->InHANC_B != 0, packet->DID_UB, packet->SDID_UB,
                                std::vector<uint16_t>(words, words + packet->DataCount_UB)});
            }
        }
    return text;
}

AncInput::AncInput(const std::string& name, bool loop) : Packets(AncLinesOf(ReadFile(name), name)), Loop(loop)
{
    Slot = Packets.front().Slot;
}

void AncInput::Fill(ZEFA_HANDLE stream, ZEFA_SLOT slot)
{
    for (; Next < Packets.size() && Packets[Next].Slot == Slot; ++Next)
    {
        const AncLine& from = Packets[Next];
        ZEFA_ANC_PACKET* packet = nullptr;
        Check(ZEFA_SlotAncAllocatePacket(stream, slot, static_cast<uint8_t>(from.Words.size()), &packet),
              "There is no ancillary packet");
        packet->DID_UB = from.Did;
        packet->SDID_UB = from.Sdid;
        packet->InHANC_B = from.Horizontal;
        std::copy(from.Words.begin(), from.Words.end(), packet->UserWords_pUS);
        Check(ZEFA_SlotAncInsertPacket(stream, slot, from.Line, ZEFA_BUFFER_ANC_0 + from.Playlist,
                                       ZEFA_ANC_PACKET_INDEX_ALL, packet),
              "The packet could not be put on line " + std::to_string(from.Line));
    }
    ++Slot;
    if (Next < Packets.size() || !Loop) return;
    Next = 0;
    Slot = Packets.front().Slot;
}

} // namespace zefa
