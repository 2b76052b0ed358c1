// An application that dies while it holds a slot to send: DyingSender URL. Ends with 0 once a slot is sent and the next
// one locked.
#include "system/road/Road.h"

int main(int argc, char** argv)
{
    using namespace test;
    if (argc != 2) return 2;
    Session session(argv[1]);
    StreamSettings settings;
    settings.port = FreeUdpPort();
    SendStream stream(session, settings);
    stream.Start();
    stream.Put({std::vector<uint8_t>(size_t{1280} * 720 * 4)});
    ZEFA_SLOT slot = nullptr;
    ::_exit(ZEFA_LockSlot(stream.Handle, &slot) == ZEFA_NO_ERROR ? 0 : 1); // nothing is unlocked, stopped or destroyed
}
