// An application that waits to be killed: KilledApplication URL forever|once. Starts two streams, moves slots and stops
// them, again and again until the service is gone; or once, and ends with 0 when a slot has arrived and all has gone
// well.
#include "AudioLoop.h"

#include <string_view>

int main(int argc, char** argv)
{
    using namespace test;
    if (argc != 3) return 2;
    const bool once = std::string_view(argv[2]) == "once";
    bool arrived = false;
    {
        Session session(argv[1]);
        AudioLoop loop(session);
        uint64_t version = 0;
        do
        {
            loop.Start();
            arrived = once ? loop.AwaitSlot() : loop.Work();
            loop.AskForStatus();
            loop.Stop();
        } while (!once && ZEFA_GetMXSStatus(session.Context, &version) == ZEFA_NO_ERROR);
        if (!once) ::_exit(0); // the service is gone, and with it all that could be unmade
    }
    return arrived && !testing::UnitTest::GetInstance()->Failed() ? 0 : 1;
}
