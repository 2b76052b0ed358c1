// How long a slot that has begun waits for a service that stands still.
#include "system/audio/AudioRoad.h"
#include "system/road/Road.h"

#include <chrono>
#include <csignal>
#include <functional>
#include <thread>

using namespace test;

namespace
{

// Packets given up while a service that sends slots is stopped now and then; ends with the first of them.
template <class TStream>
uint64_t GivenUp(const MxsProcess& service, TStream& sender, const std::function<void()>& put,
                 std::chrono::milliseconds standstill)
{
    constexpr int kStops = 10;
    const std::jthread application(
        [&](std::stop_token stopped)
        {
            while (!stopped.stop_requested() && !testing::Test::HasFailure())
                put();
        });
    for (int stop = 0; stop < kStops && sender.NetworkStatus().LostPacketsCount_ULL == 0; ++stop)
    {
        const uint64_t before = sender.NetworkStatus().TotalTransferredPacketCount_ULL;
        EXPECT_TRUE(Await([&] { return sender.NetworkStatus().TotalTransferredPacketCount_ULL > before; }));
        ::kill(service.ProcessId(), SIGSTOP);
        std::this_thread::sleep_for(standstill);
        ::kill(service.ProcessId(), SIGCONT);
    }
    return sender.NetworkStatus().LostPacketsCount_ULL;
}

uint64_t GivenUpOfPictures(const std::string& holdMs)
{
    MxsProcess service{{"--longest-hold", holdMs}};
    Session session(service.ServiceUrl());
    StreamSettings settings;
    settings.port = FreeUdpPort();
    ReceiveStream receiver(session, settings); // a port where nobody listens answers
    SendStream sender(session, settings);
    receiver.Start();
    sender.Start();
    return GivenUp(
        service, sender, [&] { sender.Put({}); }, std::chrono::milliseconds(300)); // several frames
}

uint64_t GivenUpOfSound(const std::string& holdMs)
{
    MxsProcess service{{"--longest-hold", holdMs}};
    Session session(service.ServiceUrl());
    const AudioSettings settings{.paths = {FreeEndpoint()}}; // slots of 10 ms
    const std::vector<uint8_t> silence(settings.format.SlotBytes());
    AudioStream receiver(session, ZEFA_STREAM_TYPE_RX, settings), sender(session, ZEFA_STREAM_TYPE_TX, settings);
    receiver.Start();
    sender.Start();
    return GivenUp(
        service, sender, [&] { sender.Put(silence.data(), {}); }, std::chrono::milliseconds(50));
}

} // namespace

TEST(LongestHold, OverItTheRestOfASlotIsGivenUp)
{
    EXPECT_LT(0u, GivenUpOfPictures("1"));
    EXPECT_LT(0u, GivenUpOfSound("1"));
}

TEST(LongestHold, WithinItNothingIsGivenUp)
{
    EXPECT_EQ(0u, GivenUpOfPictures("60000"));
    EXPECT_EQ(0u, GivenUpOfSound("60000"));
}
