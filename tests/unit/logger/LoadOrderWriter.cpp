// A program whose static initialisers and destructors use the log: whatever the order of initialisation, nothing of
// the logger may be met before it is usable.
#include "flowrail1.h"
#include "logger/CFunctionTracer.h"
#include "logger/CLogger.h"
#include "logger/Log.h"

#include <cstdio>
#include <memory>

namespace
{
struct Writer
{
    Writer()
    {
        CFunctionTracer tracer("StaticInitialiser");
        Quillmont::Logger::Log(Quillmont::Logger::kPriorityError, "written by a static initialiser");
        Instance = Quillmont::Logger::CLogger::GetInstance();
    }
    ~Writer() { Quillmont::Logger::Log(Quillmont::Logger::kPriorityError, "written by a static destructor"); }

    Quillmont::Logger::CLogger* Instance;
};
Writer TheWriter;
} // namespace

int main()
{
    Quillmont::Logger::Log(Quillmont::Logger::kPriorityError, "written by main");
    {
        CFunctionTracer tracer("Main");
        const bool same = TheWriter.Instance == Quillmont::Logger::CLogger::GetInstance();
        std::printf("%s\n", same ? "one instance" : "two instances");
    }
    // The rail library says why this fails where the same settings let it.
    const FLOW_RAIL_DESCRIPTOR noRail{
        FLOW_RAIL_TYPE_FILE_MAP,
        {{"Name", "zefaline-load-test-no-such-rail"}, {"SlotBytes", "4096"}, {"SlotCount", "4"}, {"Role", "producer"}}};
    const std::unique_ptr<CFlowRail> rail(CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP));
    return rail && rail->Open(&noRail) == FLOW_RAIL_BAD_STATE ? 0 : 1;
}
