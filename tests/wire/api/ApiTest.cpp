// The fixtures, and the way by which the log settings reach the library: it reads them when it is loaded, so the
// program writes them and starts itself anew.
#include "ApiTest.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iostream>
#include <mutex>
#include <netdb.h>
#include <regex>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
constexpr const char* kFolderVariable = "ZEFALINE_TEST_SETTINGS";

struct Entry
{
    std::string priority, message;
};

// Entries of a captured stream. Each starts with a time; what follows a message up to the next time is part of it.
std::vector<Entry> Entries(const std::string& text)
{
    static const std::regex start(R"(\d\d-\d\d-\d{4} \d\d:\d\d:\d\d \[QUILLMONT ZEFA\]\[(\w+)\] )");
    std::vector<Entry> entries;
    for (std::sregex_iterator match(text.begin(), text.end(), start), end; match != end;)
    {
        const auto begin = static_cast<size_t>(match->position() + match->length());
        const std::string priority = (*match)[1];
        const size_t stop = ++match == end ? text.size() : static_cast<size_t>(match->position());
        std::string message = text.substr(begin, stop - begin);
        if (message.ends_with('\n')) // the sink's own line end
            message.pop_back();
        entries.push_back({priority, message});
    }
    return entries;
}
} // namespace

Logged LogOf(const std::function<void()>& action)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    action();
    const std::vector<Entry> err = Entries(testing::internal::GetCapturedStderr());
    const std::vector<Entry> out = Entries(testing::internal::GetCapturedStdout());
    Logged logged;
    for (const Entry& each : err)
    {
        if (each.priority == "Error" && !each.message.starts_with("Unable to send the request. - "))
            logged.errors.push_back(each.message);
        if (each.priority == "Debug" && each.message.starts_with("ZEFA_")) logged.traces.push_back(each.message);
    }
    for (const Entry& each : out)
        if (each.priority == "Warning") logged.warnings.push_back(each.message);
    return logged;
}

std::vector<std::string> ErrorsOf(const std::function<void()>& action)
{
    return LogOf(action).errors;
}

uint64_t RailVersion()
{
    ZEFA_LIBRARIES_STATUS status{};
    ZEFA_GetLibrariesStatus(&status);
    return status.FlowRailVersion;
}

// Neither is ever released: the process ends with both at work.
static FakeMxs& SharedService()
{
    static FakeMxs* const service = new FakeMxs;
    service->PlaySession(RailVersion());
    service->ForgetRequests();
    return *service;
}

static ZEFA_HANDLE SharedContext()
{
    static const ZEFA_HANDLE context = []
    {
        ZEFA_HANDLE created = nullptr;
        EXPECT_EQ(ZEFA_CreateMXSContext(SharedService().Url().c_str(), &created), ZEFA_NO_ERROR);
        return created;
    }();
    return context;
}

ContextTest::ContextTest() : Service(SharedService()), Context(SharedContext()) {}

StreamTest::StreamTest()
{
    Service.Answer("POST", "MXS/Stream/Mines/", 201, "", {{"Location", std::string("v1.0/") + kStream}});
    Service.Answer("DELETE", kStream, 200);
    Service.Answer("PUT", Path("/State"), 200);
    Service.Answer("PUT", Path("/Config/Common"), 200);
    Service.Answer("PUT", Path("/Config/Network"), 200);
    Service.Answer("PUT", Path("/Config/Essence"), 200);
    EXPECT_EQ(ZEFA_CreateStream(Context, ZEFA_STREAM_TYPE_RX, ZEFA_ESSENCE_TYPE_ST2110_20, &Stream), ZEFA_NO_ERROR);
}

StreamTest::~StreamTest()
{
    if (Stream)
    {
        EXPECT_EQ(ZEFA_DestroyStream(Stream), ZEFA_NO_ERROR);
    }
}

ZEFA_ERRORCODE StreamTest::Destroy()
{
    return ZEFA_DestroyStream(std::exchange(Stream, nullptr));
}

std::string IdList(size_t count)
{
    std::string list;
    for (size_t i = 1; i <= count; ++i)
    {
        std::array<char, 32> text{};
        std::snprintf(text.data(), text.size(), "%s\"%016zx\"", i == 1 ? "" : ",", i);
        list += text.data();
    }
    return R"({"ID": [)" + list + "]}";
}

#if ZEFALINE_TEST_HAS_RESOLVER
namespace
{
struct Refusals
{
    std::mutex mutex;
    std::vector<std::string> names;
};

Refusals& TheRefusals() // never released: the shared context's watchdog outlives all
{
    static Refusals* const refusals = new Refusals;
    return *refusals;
}
} // namespace

std::vector<std::string> RefusedNames()
{
    Refusals& refusals = TheRefusals();
    const std::lock_guard lock(refusals.mutex);
    return refusals.names;
}

extern "C" [[gnu::visibility("default")]] int getaddrinfo(const char* __restrict name, const char* __restrict service,
                                                          const struct addrinfo* __restrict request,
                                                          struct addrinfo** __restrict result)
{
    using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
    const std::string asked = name ? name : "localhost";
    if (asked == "localhost" || asked == "127.0.0.1" || asked == "::1") return real(name, service, request, result);
    Refusals& refusals = TheRefusals();
    const std::lock_guard lock(refusals.mutex);
    refusals.names.push_back(asked);
    return EAI_NONAME;
}
#endif

// A creation that fails leaves what it made, for good; everything else that leaks is a mistake.
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:ZEFA_CreateMXSContext\nleak:ZEFA_CreateStream\n";
}

extern "C" [[gnu::weak]] void __lsan_do_leak_check();

int main(int argc, char** argv)
{
    if (!std::getenv(kFolderVariable))
    {
        std::string folder = (fs::temp_directory_path() / "zefaline-api-XXXXXX").string();
        if (!mkdtemp(folder.data())) return 1;
        fs::create_directories(fs::path(folder) / "quillmont");
        std::ofstream(fs::path(folder) / "quillmont" / "zefaline.conf")
            << "DebugFilter = Error Warning Debug\nDebugOutput = StdOutputLog\n";
        setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
        setenv(kFolderVariable, folder.c_str(), 1);
        execv("/proc/self/exe", argv);
        return 1;
    }
    fs::remove_all(std::getenv(kFolderVariable)); // it has been read
    if (fs::exists("/etc/quillmont/zefaline.conf"))
        std::cerr << "This machine has log settings of its own, which go before those of these tests: texts that are "
                     "expected in the log may be missing.\n";
    testing::InitGoogleMock(&argc, argv);
    const int result = RUN_ALL_TESTS();
    std::cout.flush();
    std::fflush(nullptr);
    if (&__lsan_do_leak_check) __lsan_do_leak_check(); // ends the process itself when it finds something
    _exit(result); // the shared context's watchdog still runs: nothing may be destroyed under it
}
