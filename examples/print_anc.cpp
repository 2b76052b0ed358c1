// Prints the ancillary packets that arrive, by DID and SDID, with what it understands of them.
//
//   print_anc FILE.sdp --standard N [options of Session.h]
//
//   frame 25, buffer 0, line 9 H, 60/60 (time code), 16 words: 00:00:01:00
//
// H is the horizontal area of a line and V the vertical one. A description of ancillary data does not say which signal
// the packets belong to, so the video standard is an option.
#include "Ancillary.h"
#include "Session.h"
#include "Signal.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace
{

struct Kind
{
    AncIdentity identity;
    const char* name;
};

constexpr Kind kKinds[] = {
    {kTimeCode, "time code"},          {kCaptions, "captions CEA-708"}, {{0x61, 0x02}, "captions CEA-608"},
    {{0x41, 0x01}, "payload format"},  {{0x41, 0x05}, "AFD and bars"},  {{0x41, 0x07}, "SCTE 104"},
    {{0x43, 0x02}, "OP-47 subtitles"}, {{0x43, 0x03}, "OP-47 VBI"},     {{0x45, 0x01}, "audio metadata"},
};

const char* NameOf(AncIdentity identity)
{
    const auto* const kind = std::find_if(std::begin(kKinds), std::end(kKinds),
                                          [=](const Kind& known) { return known.identity == identity; });
    return kind == std::end(kKinds) ? "unknown" : kind->name;
}

class Printer
{
public:
    Printer(const Stream& stream, const Signal& signal) : From(stream), Of(signal) {}

    // All packets of a slot, buffer by buffer and line by line.
    void PrintSlot(ZEFA_SLOT slot, uint64_t frame)
    {
        for (uint32_t buffer = 0; buffer < 16; ++buffer)
            for (uint32_t line = 1; line <= Of.lines; ++line)
                PrintLine(slot, frame, buffer, line);
    }

private:
    void PrintLine(ZEFA_SLOT slot, uint64_t frame, uint32_t buffer, uint32_t line)
    {
        const ZEFA_BUFFER_TYPE type = ZEFA_BUFFER_ANC_0 + buffer;
        uint32_t count = 0;
        Check(ZEFA_SlotAncGetNbPackets(From.Handle, slot, line, type, &count),
              "The packets of a line could not be counted");
        for (uint32_t i = 0; i < count; ++i)
        {
            ZEFA_ANC_PACKET* packet = nullptr;
            Check(ZEFA_SlotAncGetPacket(From.Handle, slot, line, type, int32_t(i), &packet),
                  "A packet could not be reached");
            Print(frame, buffer, line, *packet);
        }
    }

    void Print(uint64_t frame, uint32_t buffer, uint32_t line, const ZEFA_ANC_PACKET& packet)
    {
        const AncIdentity identity{packet.DID_UB, packet.SDID_UB};
        Bytes bytes;
        uint32_t wrongParity = 0;
        for (uint32_t i = 0; i < packet.DataCount_UB; ++i)
        {
            bytes.push_back(uint8_t(packet.UserWords_pUS[i] & 255));
            wrongParity += packet.UserWords_pUS[i] != WithParity(bytes.back());
        }
        std::printf("frame %" PRIu64 ", buffer %u, line %u %c, %02X/%02X (%s), %u words: %s", frame, buffer, line,
                    packet.InHANC_B ? 'H' : 'V', identity.did, identity.sdid, NameOf(identity), packet.DataCount_UB,
                    Meaning(identity, bytes).c_str());
        if (wrongParity > 0) std::printf(", %u words with wrong parity", wrongParity);
        // Behind the user words of a received packet stands its checksum.
        if (packet.UserWords_pUS &&
            packet.UserWords_pUS[packet.DataCount_UB] != Checksum(identity, packet.DataCount_UB, packet.UserWords_pUS))
            std::printf(", wrong checksum");
        std::printf("\n");
    }

    // What the words say, or the first of them in hexadecimal.
    std::string Meaning(AncIdentity identity, const Bytes& bytes)
    try
    {
        if (identity == kCaptions)
        {
            const std::optional<std::string> text = Captions.Read(bytes);
            return text ? '"' + *text + '"' : "";
        }
        if (identity == kTimeCode)
            if (const std::optional<TimeCode> timeCode = DecodeTimeCode(bytes, Of.rate)) return ToText(*timeCode);
        std::string hexadecimal;
        for (size_t i = 0; i < std::min<size_t>(bytes.size(), 16); ++i)
        {
            char text[4];
            std::snprintf(text, sizeof text, "%02X ", bytes[i]);
            hexadecimal += text;
        }
        return hexadecimal;
    }
    catch (const std::exception& damage)
    {
        return damage.what();
    }

    const Stream& From;
    const Signal& Of;
    CaptionDecoder Captions; // a text comes in pieces, frame after frame
};

void Run(int argc, char** argv)
{
    const Options options = ParseOptions(argc, argv, "FILE.sdp");
    const Description description = ReadDescription(options.descriptions[0], options, {ZEFA_ESSENCE_TYPE_ST2110_40});
    const Signal signal = SignalOf(description);
    const Session session(options);
    const Stream stream(session, ZEFA_STREAM_TYPE_RX, description, options);

    Printer printer(stream, signal);
    const auto slots =
        ForEachSlot(stream, options, [&](ZEFA_SLOT slot, uint64_t frame) { printer.PrintSlot(slot, frame); });
    Report(stream, slots);
}

} // namespace

int main(int argc, char** argv)
{
    return RunExample("print_anc", [=] { Run(argc, argv); });
}
