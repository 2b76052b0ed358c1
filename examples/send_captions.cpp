// Sends ancillary data: in each frame a time code that counts with the frames, and closed captions that say something
// new every second.
//
//   send_captions FILE.sdp --standard N [--text WORDS] [options of Session.h]
//
// A description of ancillary data does not say which signal the packets belong to, so the video standard is an option.
#include "Ancillary.h"
#include "Session.h"
#include "Signal.h"

namespace
{

// One packet on a line of a slot. The library owns it, adds the checksum, and forgets it when the slot is unlocked.
void Insert(const Stream& stream, ZEFA_SLOT slot, ZEFA_BUFFER_TYPE buffer, uint32_t line, bool inHanc,
            AncIdentity identity, const Bytes& bytes)
{
    ZEFA_ANC_PACKET* packet = nullptr;
    Check(ZEFA_SlotAncAllocatePacket(stream.Handle, slot, uint8_t(bytes.size()), &packet), "There is no packet");
    packet->DID_UB = identity.did;
    packet->SDID_UB = identity.sdid;
    packet->InHANC_B = inHanc;
    for (size_t i = 0; i < bytes.size(); ++i)
        packet->UserWords_pUS[i] = WithParity(bytes[i]);
    Check(ZEFA_SlotAncInsertPacket(stream.Handle, slot, line, buffer, ZEFA_ANC_PACKET_INDEX_ALL, packet),
          "The packet could not be put on its line");
}

void Run(int argc, char** argv)
{
    std::string text = "second";
    const Options options = ParseOptions(argc, argv, "FILE.sdp", {{"--text", "WORDS", &text}});
    const Description description = ReadDescription(options.descriptions[0], options, {ZEFA_ESSENCE_TYPE_ST2110_40});
    const Signal signal = SignalOf(description);
    CaptionEncoder captions(signal.rate);
    const Session session(options);
    const Stream stream(session, ZEFA_STREAM_TYPE_TX, description, options);

    constexpr uint32_t kTimeCodeLine = 9, kCaptionLine = 12; // above the picture in every standard
    const auto slots =
        ForEachSlot(stream, options,
                    [&](ZEFA_SLOT slot, uint64_t frame)
                    {
                        if (frame % signal.rate.frames == 0)
                            captions.Show(text + " " + std::to_string(frame / signal.rate.frames));
                        Insert(stream, slot, signal.luma, kTimeCodeLine, true, kTimeCode,
                               EncodeTimeCode(TimeCodeOf(frame, signal.rate), signal.rate));
                        Insert(stream, slot, signal.luma, kCaptionLine, false, kCaptions, captions.NextPacket());
                    });
    Report(stream, slots);
}

} // namespace

int main(int argc, char** argv)
{
    return RunExample("send_captions", [=] { Run(argc, argv); });
}
