// How long a slot that has begun waits for a service that stands still.
#include "system/road/Road.h"

#include <csignal>
#include <thread>

using namespace test;

namespace
{

// Packets given up while a service that sends pictures is stopped now and then; ends with the first of them.
uint64_t GivenUpWithHold(const std::string& milliseconds)
{
    constexpr int kStops = 10;
    MxsProcess service{{"--longest-hold", milliseconds}};
    Session session(service.ServiceUrl());
    StreamSettings settings;
    settings.port = FreeUdpPort();
    settings.lockTimeoutMs = 10000;
    ReceiveStream receiver(session, settings); // a port where nobody listens answers
    SendStream sender(session, settings);
    receiver.Start();
    sender.Start();
    const std::jthread application(
        [&](std::stop_token stopped)
        {
            while (!stopped.stop_requested() && !testing::Test::HasFailure())
                sender.Put({});
        });
    for (int stop = 0; stop < kStops && sender.NetworkStatus().LostPacketsCount_ULL == 0; ++stop)
    {
        const uint64_t before = sender.NetworkStatus().TotalTransferredPacketCount_ULL;
        EXPECT_TRUE(Await([&] { return sender.NetworkStatus().TotalTransferredPacketCount_ULL > before; }));
        ::kill(service.ProcessId(), SIGSTOP);
        std::this_thread::sleep_for(std::chrono::milliseconds(300)); // several frames
        ::kill(service.ProcessId(), SIGCONT);
    }
    return sender.NetworkStatus().LostPacketsCount_ULL;
}

} // namespace

TEST(LongestHold, OverItTheRestOfASlotIsGivenUp)
{
    EXPECT_LT(0u, GivenUpWithHold("1"));
}

TEST(LongestHold, WithinItNothingIsGivenUp)
{
    EXPECT_EQ(0u, GivenUpWithHold("60000"));
}
