// Deaths while something is being sent: of the service, and of the application with a slot in its hands.
#include "support/LostService.h"
#include "support/Rails.h"
#include "system/anc/AncRoad.h"

#include <filesystem>

using namespace test;

namespace
{

constexpr size_t kFrameBytes = size_t{1280} * 720 * 2 * 2; // 4:2:2 in words of 16 bits

std::vector<uint8_t> Picture()
{
    std::vector<uint8_t> picture(kFrameBytes);
    for (size_t i = 0; i < picture.size(); i += 2)
        picture[i] = uint8_t(i / 2);
    return picture;
}

bool AwaitNoRails(pid_t process)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!RailsOf(process).empty() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    return RailsOf(process).empty();
}

// Sends a picture from one stream to another.
void ExpectAPictureArrives(Session& session)
{
    StreamSettings settings;
    settings.port = FreeUdpPort();
    ReceiveStream receiver(session, settings);
    SendStream sender(session, settings);
    receiver.Start();
    sender.Start();
    sender.Put({Picture()}, {4711});
    const std::vector<SlotBuffer> slot = TakeSlot(receiver);
    ASSERT_EQ(1u, slot.size());
    EXPECT_TRUE(slot[0].losses.empty()) << slot[0].losses.size() << " holes, the first at "
                                        << slot[0].losses[0].Position_UL << " of " << slot[0].losses[0].Size_UL;
    EXPECT_TRUE(slot[0].bytes == Picture());
    EXPECT_EQ(4711u, slot[0].timestamps.at(0).Value_UL);
}

void ExpectASlotOfAudioArrives(Session& session)
{
    const AudioSettings settings{.paths = {FreeEndpoint()}, .lockTimeoutMs = 10000};
    AudioStream receiver(session, ZEFA_STREAM_TYPE_RX, settings), sender(session, ZEFA_STREAM_TYPE_TX, settings);
    receiver.Start();
    sender.Start();
    const Bytes samples = Noise(settings.format.SlotBytes(), 1);
    sender.Put(samples.data(), 4711);
    const std::optional<SlotBuffer> slot = receiver.Take();
    ASSERT_TRUE(slot);
    EXPECT_TRUE(slot->bytes == samples);
    EXPECT_EQ(4711u, slot->timestamps.at(0).Value_UL);
}

void ExpectAnAncillaryPacketArrives(Session& session)
{
    const AncSettings settings{.paths = {FreeEndpoint()}, .lockTimeoutMs = 10000};
    AncStream receiver(session, ZEFA_STREAM_TYPE_RX, settings), sender(session, ZEFA_STREAM_TYPE_TX, settings);
    receiver.Start();
    sender.Start();
    const std::vector<AncItem> items{{.words = {0x104, 0x2AA}}};
    sender.Put({}, 2911); // the receiver keeps what follows the end of a frame
    sender.Put(items, 4711);
    const std::optional<AncSlot> slot = receiver.Take();
    ASSERT_TRUE(slot);
    EXPECT_EQ(items, slot->items);
    EXPECT_EQ(4711u, slot->timestamps.at(0).Value_UL);
}

struct DyingCase
{
    const char* essence;
    void (*expectTheNext)(Session& session);
};

class DyingSender : public testing::TestWithParam<DyingCase>
{
};

} // namespace

TEST(SenderLife, EveryCallAnswersWhenTheServiceHasGoneAndANewSessionSendsAfterIt)
{
    MxsProcess service;
    const pid_t process = service.ProcessId();
    auto session = std::make_unique<Session>(service.ServiceUrl());
    StreamSettings settings;
    settings.port = FreeUdpPort();
    settings.lockTimeoutMs = 200;
    auto stream = std::make_unique<SendStream>(*session, settings);
    stream->Start();
    stream->Put({Picture()});
    ZEFA_SLOT held = nullptr;
    ZEFA_OK(ZEFA_LockSlot(stream->Handle, &held));

    service.Stop(SIGKILL);
    // The ring fills up, and then says so; nothing hangs.
    ZEFA_ERRORCODE locked = ZEFA_NO_ERROR;
    for (uint32_t i = 0; i < settings.slots + 2 && locked == ZEFA_NO_ERROR; ++i)
    {
        ZEFA_SLOT slot = nullptr;
        locked = ZEFA_LockSlot(stream->Handle, &slot);
    }
    EXPECT_NE(ZEFA_NO_ERROR, locked);
    ZEFA_UnlockSlot(stream->Handle, held);
    ZEFA_STREAM_NETWORK_STATUS status{};
    EXPECT_EQ(ZEFA_ERR_COMMUNICATION, ZEFA_GetStreamNetworkStatus(stream->Handle, &status));
    EXPECT_EQ(ZEFA_ERR_COMMUNICATION, ZEFA_StopStream(stream->Handle));
    EXPECT_EQ(ZEFA_ERR_COMMUNICATION, ZEFA_CloseStream(stream->Handle));
    EXPECT_EQ(ZEFA_ERR_INCORRECT_STATE, stream->Abandon());

    {
        MxsProcess again(kSendsLate, service.Port());
        EXPECT_EQ(0u, RailsOf(process).size());
        Session fresh(again.ServiceUrl());
        ExpectAPictureArrives(fresh);
    }
    DestroyLostContext(service.Port(), session->Context);
}

TEST_P(DyingSender, IsForgottenWithItsSlotAndTheNextOneSends)
{
    MxsProcess service({"--context-ttl", "5", "--longest-hold", "60000"});
    // A process of its own, not a fork: the threads of the HTTP library do not come along into one.
    const pid_t application = ::fork();
    if (application == 0)
    {
        ::execl(DYING_SENDER_PATH, DYING_SENDER_PATH, service.ServiceUrl().c_str(), GetParam().essence, nullptr);
        ::_exit(127);
    }
    int status = -1;
    ASSERT_EQ(application, ::waitpid(application, &status, 0));
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(1u, RailsOf(service.ProcessId()).size());

    EXPECT_TRUE(AwaitNoRails(service.ProcessId()));
    Session next(service.ServiceUrl());
    GetParam().expectTheNext(next);
}

INSTANTIATE_TEST_SUITE_P(Essences, DyingSender,
                         testing::Values(DyingCase{"video", ExpectAPictureArrives},
                                         DyingCase{"audio", ExpectASlotOfAudioArrives},
                                         DyingCase{"ancillary", ExpectAnAncillaryPacketArrives}),
                         [](const auto& instance) { return std::string(instance.param.essence); });

TEST(SenderLife, AStoppedServiceLeavesNoSharedMemory)
{
    MxsProcess service;
    const pid_t process = service.ProcessId();
    auto session = std::make_unique<Session>(service.ServiceUrl());
    StreamSettings settings;
    settings.port = FreeUdpPort();
    auto stream = std::make_unique<SendStream>(*session, settings);
    stream->Start();
    stream->Put({Picture()});
    EXPECT_EQ(1u, RailsOf(process).size());

    EXPECT_EQ(0, service.Stop());

    EXPECT_EQ(0u, RailsOf(process).size());
    EXPECT_EQ(ZEFA_ERR_COMMUNICATION, ZEFA_StopStream(stream->Handle));
    stream->Abandon();
    DestroyLostContext(service.Port(), session->Context);
}
