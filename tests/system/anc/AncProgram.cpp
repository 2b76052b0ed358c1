// An application for tests that are written in another language: prints what a receive stream brings, or sends packets
// of every length.
//
//   anc_program receive URL STANDARD PAYLOAD_TYPE PORT     until three seconds pass without a slot
//   anc_program send URL STANDARD PAYLOAD_TYPE PORT FRAMES
#include "AncRoad.h"

#include <cstdio>

using namespace test;

namespace
{

AncSettings SettingsOf(char** arguments)
{
    return {.standard = std::stoi(arguments[0]),
            .paths = {{INADDR_LOOPBACK, uint16_t(std::stoul(arguments[2]))}},
            .slots = 64,
            .lockTimeoutMs = 3000,
            .payloadType = uint32_t(std::stoul(arguments[1]))};
}

void Print(const AncSlot& slot)
{
    std::printf("slot %u %u %zu\n", slot.timestamps.at(0).Value_UL, slot.timestamps.back().Value_UL,
                slot.losses.size());
    for (const AncItem& item : slot.items)
    {
        std::printf("packet %u %u %c %02x %02x", item.buffer, item.line, item.horizontal ? 'H' : 'V', item.did,
                    item.sdid);
        for (const uint16_t word : item.words)
            std::printf(" %03x", word);
        std::printf("\n");
    }
}

void Receive(Session& session, const AncSettings& settings)
{
    AncStream stream(session, ZEFA_STREAM_TYPE_RX, settings);
    stream.Start();
    std::printf("started\n");
    std::fflush(stdout);
    while (const std::optional<AncSlot> slot = stream.Take())
        Print(*slot);
    const ZEFA_STREAM_NETWORK_STATUS status = stream.NetworkStatus();
    std::printf("end %llu %llu %llu %u\n", (unsigned long long)status.TotalTransferredPacketCount_ULL,
                (unsigned long long)status.TotalProcessedPacketCount_ULL,
                (unsigned long long)status.LostPacketsCount_ULL, stream.CommonStatus().SlotDropped_UL);
}

uint16_t WithParity(uint32_t value)
{
    const bool odd = __builtin_popcount(value) & 1;
    return uint16_t(value | (odd ? 0x100u : 0x200u));
}

// Frame by frame the data counts 0 to 255 and many values of the other words, in both areas and several buffers.
void Send(Session& session, const AncSettings& settings, uint32_t frames)
{
    AncStream stream(session, ZEFA_STREAM_TYPE_TX, settings);
    stream.Start();
    for (uint32_t frame = 0; frame < frames; ++frame)
    {
        std::vector<AncItem> items;
        for (uint32_t i = 0; frame % 8 != 7 && i < 12; ++i) // now and then nothing at all
        {
            AncItem item{.buffer = i % 4 == 3 ? 15 : i % 4, .line = 9 + i % 5, .horizontal = i == 6};
            if (i > 8) item.line += 600;
            item.did = uint8_t(0x41 + frame * 12 + i);
            item.sdid = uint8_t(frame * 7 + i * 31);
            for (uint32_t word = 0; word < (frame * 12 + i) % 256; ++word)
                item.words.push_back(WithParity((frame + word * (i + 1)) & 0xFF));
            items.push_back(std::move(item));
        }
        stream.Put(items);
    }
    // The ring has the last slots still; what the service has taken out of it may be on its way.
    uint64_t sent = 0;
    const bool gone = Await(
        [&]
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            const uint64_t before = std::exchange(sent, stream.NetworkStatus().TotalProcessedPacketCount_ULL);
            return stream.CommonStatus().SlotsFilled_UL == 0 && sent == before;
        });
    EXPECT_TRUE(gone);
}

} // namespace

int main(int count, char** arguments)
{
    if (count < 6) return 2;
    const std::string way = arguments[1];
    {
        Session session(arguments[2]);
        const AncSettings settings = SettingsOf(arguments + 3);
        if (way == "receive") Receive(session, settings);
        if (way == "send") Send(session, settings, uint32_t(std::stoul(arguments[6])));
    }
    return testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed();
}
