// An application that waits to be killed: KilledApplication URL forever|once. Starts two streams, moves slots and stops
// them, again and again until the service is gone, or once. Ends with 0 when, once, a slot has arrived and all has gone
// well; or when, without the service, it holds no more than before it had streams.
#include "AudioLoop.h"
#include "Leftovers.h"

#include <fstream>
#include <string_view>

using namespace test;

namespace
{

// Pieces of rings in this process's memory, whether their files still have a name or not.
size_t MappedRails()
{
    std::ifstream maps("/proc/self/maps");
    size_t count = 0;
    for (std::string line; std::getline(maps, line);)
        count += line.find("/dev/shm/") != std::string::npos;
    return count;
}

int WorkUntilTheServiceIsGone(Session& session)
{
    const Holdings before = HoldingsOf(::getpid());
    {
        AudioLoop loop(session);
        for (uint64_t version = 0; ZEFA_GetMXSStatus(session.Context, &version) == ZEFA_NO_ERROR;)
        {
            loop.Start();
            loop.Work();
            loop.AskForStatus();
            loop.Stop();
        }
    }
    if (MappedRails() > 0) return 3;
    return Await([&] { return HoldingsOf(::getpid()).NoMoreThan(before); }) ? 0 : 4;
}

int WorkOnce(Session& session)
{
    AudioLoop loop(session);
    loop.Start();
    const bool arrived = loop.AwaitSlot();
    loop.AskForStatus();
    loop.Stop();
    return arrived ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) return 2;
    int status = 0;
    {
        Session session(argv[1]);
        // Without a service the context cannot be unmade, and stays to the end.
        if (std::string_view(argv[2]) == "forever") ::_exit(WorkUntilTheServiceIsGone(session));
        status = WorkOnce(session);
    }
    return testing::UnitTest::GetInstance()->Failed() ? 1 : status;
}
