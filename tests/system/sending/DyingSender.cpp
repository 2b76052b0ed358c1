// An application that dies while it holds a slot to send: DyingSender URL video|audio|ancillary. Ends with 0 once a
// slot is sent and the next one locked.
#include "system/anc/AncRoad.h"

#include <string_view>

namespace
{

using namespace test;

template <class Stream, class Settings>
[[noreturn]] void SendOneAndLockTheNext(Session& session, const Settings& settings)
{
    Stream stream(session, ZEFA_STREAM_TYPE_TX, settings);
    stream.Start();
    for (int slots = 0; slots < 2; ++slots)
    {
        ZEFA_SLOT slot = nullptr;
        if (ZEFA_LockSlot(stream.Handle, &slot) != ZEFA_NO_ERROR) ::_exit(1);
        if (slots == 0 && ZEFA_UnlockSlot(stream.Handle, slot) != ZEFA_NO_ERROR) ::_exit(1);
    }
    ::_exit(0); // nothing is unlocked, stopped or destroyed
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) return 2;
    Session session(argv[1]);
    const std::string_view essence = argv[2];
    if (essence == "video") SendOneAndLockTheNext<VideoStream>(session, StreamSettings{.port = FreeUdpPort()});
    if (essence == "audio") SendOneAndLockTheNext<AudioStream>(session, AudioSettings{.paths = {FreeEndpoint()}});
    if (essence == "ancillary") SendOneAndLockTheNext<AncStream>(session, AncSettings{.paths = {FreeEndpoint()}});
    return 2;
}
