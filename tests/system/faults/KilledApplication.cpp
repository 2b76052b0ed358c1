// An application that waits to be killed: KilledApplication URL forever|once audio|ancillary|video. Starts two streams,
// moves slots and stops them, again and again until the service is gone, or once. Ends with 0 when, once, a slot has
// arrived and all has gone well; or when, without the service, it holds no more than before it had streams.
#include "AncLoop.h"
#include "AudioLoop.h"
#include "Leftovers.h"
#include "VideoLoop.h"

#include <fstream>
#include <memory>
#include <stdexcept>
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

std::unique_ptr<StreamLoop> MakeLoop(Session& session, std::string_view essence)
{
    if (essence == "audio") return std::make_unique<AudioLoop>(session);
    if (essence == "ancillary") return std::make_unique<AncLoop>(session);
    if (essence == "video") return std::make_unique<VideoLoop>(session);
    throw std::invalid_argument("no such essence");
}

int WorkUntilTheServiceIsGone(Session& session, std::string_view essence)
{
    const Holdings before = HoldingsOf(::getpid());
    {
        const std::unique_ptr<StreamLoop> loop = MakeLoop(session, essence);
        for (uint64_t version = 0; ZEFA_GetMXSStatus(session.Context, &version) == ZEFA_NO_ERROR;)
        {
            loop->Start();
            loop->Work();
            loop->AskForStatus();
            loop->Stop();
        }
    }
    if (MappedRails() > 0) return 3;
    return Await([&] { return HoldingsOf(::getpid()).NoMoreThan(before); }) ? 0 : 4;
}

int WorkOnce(Session& session, std::string_view essence)
{
    const std::unique_ptr<StreamLoop> loop = MakeLoop(session, essence);
    loop->Start();
    const bool arrived = loop->AwaitSlot();
    loop->AskForStatus();
    loop->Stop();
    return arrived ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) return 2;
    int status = 0;
    {
        Session session(argv[1]);
        // Without a service the context cannot be unmade, and stays to the end.
        if (std::string_view(argv[2]) == "forever") ::_exit(WorkUntilTheServiceIsGone(session, argv[3]));
        status = WorkOnce(session, argv[3]);
    }
    return testing::UnitTest::GetInstance()->Failed() ? 1 : status;
}
