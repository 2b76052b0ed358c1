// A program whose static initialisers and destructors use the log: whatever the order of initialisation, nothing of
// the logger may be met before it is usable.
#include "logger/CFunctionTracer.h"
#include "logger/CLogger.h"
#include "logger/Log.h"

#include <cstdio>

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
    CFunctionTracer tracer("Main");
    const bool same = TheWriter.Instance == Quillmont::Logger::CLogger::GetInstance();
    std::printf("%s\n", same ? "one instance" : "two instances");
    return 0;
}
