// The lines that the operations log, and what they cost while nobody listens.
#include "RecordCheck.h"

#include "commandpipe/restserver/Trace.h"
#include "logger/CFunctionTracer.h"
#include "logger/Log.h"
#include "support/LogCapture.h"

#include <cstdlib>
#include <new>

namespace
{
thread_local size_t allocations = 0;
}

// Counts what the calling thread allocates. Out of line, or the compiler would see one half of a pair without the
// other.
[[gnu::noinline]] void* operator new(size_t size)
{
    ++allocations;
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}

[[gnu::noinline]] void* operator new(size_t size, const std::nothrow_t&) noexcept
{
    ++allocations;
    return std::malloc(size ? size : 1);
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept
{
    std::free(memory);
}

namespace Quillmont::Trellis::CommandPipe::RestServer
{
namespace
{
using Quillmont::Logger::kPriorityDebug;
using Lines = std::vector<std::string>;

const std::string kClass = "Quillmont::Trellis::CommandPipe::RestServer::CSerializer::";

std::string Enter(const char* name)
{
    return kClass + name + " --> Entering - ";
}

std::string Exit(const char* name, const char* result = "No Error")
{
    return kClass + name + " --> Exiting - Return: " + result;
}

TEST(SerializerTrace, ReaderLogsEntryAndExit)
{
    LogCapture log;
    CONDUCTOR_STATE state;
    ReadInto(Parsed(R"({"Started":true})"), &state);
    EXPECT_EQ(log.Lines(kPriorityDebug), (Lines{Enter("FromJSON"), Exit("FromJSON")}));
    log.Clear();
    ReadInto(Parsed("{}"), &state);
    EXPECT_EQ(log.Lines(kPriorityDebug), (Lines{Enter("FromJSON"), Exit("FromJSON", "Invalid Argument")}));
    EXPECT_EQ(log.All().size(), 2u) << "nothing of another priority";
}

TEST(SerializerTrace, NestedOperationsLogInside)
{
    LogCapture log;
    value* document = nullptr;
    CSerializer::ToJSON(CONTEXT_IDENTITY{}, &document);
    CSerializer::Delete(document);
    EXPECT_EQ(
        log.Lines(kPriorityDebug),
        (Lines{Enter("ToJSON"), Enter("IdentifierToString"), Exit("IdentifierToString"), Enter("IdentifierToString"),
               Exit("IdentifierToString"), Exit("ToJSON"), Enter("Delete"), Exit("Delete")}));

    log.Clear();
    CONDUCTOR_CONFIG config;
    ReadInto(Parsed(R"({"CpuCoreID":"none"})"), &config);
    EXPECT_EQ(log.Lines(kPriorityDebug), (Lines{Enter("FromJSON"), Enter("IdentifierFromString"),
                                                Exit("IdentifierFromString", "Invalid Argument"), Exit("FromJSON")}));
}

TEST(SerializerTrace, EnumerationsLogUnderTheirOwnNames)
{
    LogCapture log;
    utility::string_t text;
    CSerializer::EnumToString(MULTICAST_MODE_INCLUSION, nullptr);
    CSerializer::EnumToString(CLOCK_TYPE_US, &text);
    CLOCK_TYPE clock;
    CSerializer::EnumFromString(text, &clock);
    EXPECT_EQ(log.Lines(kPriorityDebug),
              (Lines{Enter("EnumToString"), Exit("EnumToString", "Invalid Argument"), Enter("EnumToString"),
                     Exit("EnumToString"), Enter("EnumFromString"), Exit("EnumFromString")}));
}

TEST(SerializerTrace, ListWithoutItsKeyAndWrongEssenceShowTheirResults)
{
    LogCapture log;
    std::vector<uint64_t>* list = nullptr;
    CSerializer::FromJSON(Parsed("{}"), &list);
    EXPECT_EQ(log.Lines(kPriorityDebug),
              (Lines{Enter("FromJSON"), Enter("FromJSON"), Exit("FromJSON", "Operation Failed"),
                     Exit("FromJSON", "Operation Failed")}));
    log.Clear();
    Mxs::RtpEssence::CONFIG_ST2110_20 video;
    Mxs::RtpEssence::CONFIG* out = &video;
    CSerializer::FromJSON(Parsed(R"({"Type":"ST2110_30"})"), &out, true);
    EXPECT_EQ(log.Lines(kPriorityDebug),
              (Lines{Enter("FromJSON"), Enter("EnumFromString"), Exit("EnumFromString"),
                     Exit("FromJSON", "Given essence type doesn't match the stream essence type")}));
}

TEST(TraceExitingWith, PrintsTheValueThatTheVariableHoldsAtTheEnd)
{
    LogCapture log;
    {
        RESULT_CODE result = RESULT_NO_ERROR;
        CFunctionTracer tracer("Name", TraceEntering, TraceExitingWith(result));
        result = 5018;
    }
    {
        CORE_RESULT result = CORE_RESULT_NO_ERROR;
        CFunctionTracer tracer("Core", TraceEntering, TraceExitingWithCore(result));
        result = CORE_RESULT_NOT_INITIALIZED;
    }
    EXPECT_EQ(log.Lines(kPriorityDebug),
              (Lines{"Name --> Entering - ", "Name --> Exiting - Return: Unknown Error (code = 5018 )",
                     "Core --> Entering - ", "Core --> Exiting - Return: Not Initialised"}));
}

TEST(TraceExitingWith, PrintsNothingWhileNobodyListens)
{
    ASSERT_FALSE(Quillmont::Logger::HasListener()) << "the settings of this machine give the library a debug log";
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    {
        const RESULT_CODE result = RESULT_OPERATION_FAILED;
        const CORE_RESULT core = CORE_RESULT_NOT_INITIALIZED;
        CFunctionTracer outer("Name", TraceEntering, TraceExitingWith(result));
        CFunctionTracer inner("Core", TraceEntering, TraceExitingWithCore(core));
        CONDUCTOR_STATE state;
        ReadInto(Parsed("{}"), &state);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(TraceExitingWith, AllocatesNothingWhileNobodyListens)
{
    ASSERT_FALSE(Quillmont::Logger::HasListener()) << "the settings of this machine give the library a debug log";
    RESULT_CODE result = RESULT_NO_ERROR;
    CORE_RESULT core = CORE_RESULT_NO_ERROR;
    const size_t before = allocations;
    for (int i = 0; i < 100; ++i)
    {
        CFunctionTracer outer("Quillmont::Trellis::CommandPipe::RestServer", TraceEntering, TraceExitingWith(result));
        CFunctionTracer inner("Quillmont::Trellis::CommandPipe::RestServer", TraceEntering, TraceExitingWithCore(core));
    }
    uint64_t id = 0;
    const utility::string_t digits = "000000000000001";
    CSerializer::Delete(static_cast<value*>(nullptr));
    const size_t after = allocations;
    EXPECT_EQ(after, before);
    EXPECT_EQ(CSerializer::IdentifierFromString(digits, &id), RESULT_NO_ERROR);
    EXPECT_EQ(id, 1u);
}
} // namespace
} // namespace Quillmont::Trellis::CommandPipe::RestServer
