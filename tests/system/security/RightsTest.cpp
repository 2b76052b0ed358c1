// What the running service shows of itself to others: rights, listening addresses, files in shared memory.
#include "system/road/Road.h"

#include <arpa/inet.h>
#include <filesystem>
#include <fstream>
#include <ifaddrs.h>
#include <linux/capability.h>
#include <map>
#include <net/if.h>
#include <netinet/in.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace test;

namespace
{

constexpr uint64_t Bit(int capability)
{
    return uint64_t{1} << capability;
}

// Bind to ports under 1024, network administration, raw sockets: bits 10, 12 and 13.
constexpr uint64_t kKept = 0x3400;
static_assert(kKept == (Bit(CAP_NET_BIND_SERVICE) | Bit(CAP_NET_ADMIN) | Bit(CAP_NET_RAW)));

// The sets of a thread by their names in its status, "CapEff" and so on, and "NoNewPrivs".
std::map<std::string, uint64_t> RightsOf(const std::filesystem::path& thread)
{
    std::map<std::string, uint64_t> rights;
    std::ifstream file(thread / "status");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("Cap") || line.starts_with("NoNewPrivs"))
            rights[line.substr(0, line.find(':'))] = std::stoull(line.substr(line.find(':') + 1), nullptr, 16);
    return rights;
}

void ExpectRights(const MxsProcess& service, uint64_t kept)
{
    const auto own = RightsOf("/proc/self");
    const bool superuser = geteuid() == 0;
    int threads = 0;
    for (const auto& thread :
         std::filesystem::directory_iterator("/proc/" + std::to_string(service.ProcessId()) + "/task"))
    {
        ++threads;
        const auto found = RightsOf(thread.path());
        EXPECT_EQ(0u, found.at("CapEff") & ~kept);
        EXPECT_EQ(0u, found.at("CapPrm") & ~kept);
        EXPECT_EQ(0u, found.at("CapInh") & ~kept);
        EXPECT_EQ(0u, found.at("CapAmb") & ~kept);
        // Nobody but the superuser has rights to keep, and only who may take from the bounding set does.
        const bool bounds = superuser && (own.at("CapBnd") & Bit(CAP_SETPCAP)) != 0;
        EXPECT_EQ(bounds ? own.at("CapBnd") & kept : own.at("CapBnd"), found.at("CapBnd"));
        if (superuser)
        {
            EXPECT_EQ(own.at("CapBnd") & kept, found.at("CapEff"));
            EXPECT_EQ(1u, found.at("NoNewPrivs"));
        }
    }
    EXPECT_LT(1, threads);
}

TEST(Rights, EveryThreadKeepsThoseForTheNetworkAlone)
{
    MxsProcess service;
    Session session(service.ServiceUrl()); // with a conductor's thread
    ExpectRights(service, kKept);
}

TEST(Rights, OfTheClockAndOfGroupsAreKeptWhenTheyAreAskedFor)
{
    MxsProcess service({"--discipline-clock", "--rail-group", std::to_string(getegid())});
    ExpectRights(service, kKept | Bit(CAP_SYS_TIME) | Bit(CAP_CHOWN));
}

// Of a service that is started with a mask of files.
void ExpectRails(const std::vector<std::string>& arguments, mode_t mask, mode_t permissions)
{
    const mode_t before = ::umask(mask);
    MxsProcess service(arguments);
    ::umask(before);
    Session session(service.ServiceUrl());
    StreamSettings settings;
    settings.port = FreeUdpPort();
    ReceiveStream stream(session, settings);
    stream.Start();

    int rails = 0;
    const std::string mark = "mxsd-" + std::to_string(service.ProcessId()) + "-";
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm"))
        if (entry.path().string().find(mark) != std::string::npos)
        {
            struct stat status = {};
            ASSERT_EQ(0, ::stat(entry.path().c_str(), &status));
            EXPECT_EQ(S_IFREG | permissions, status.st_mode);
            EXPECT_EQ(geteuid(), status.st_uid);
            EXPECT_EQ(getegid(), status.st_gid);
            ++rails;
        }
    EXPECT_EQ(1, rails);
}

TEST(Rights, ARailIsItsUsersAloneWhateverTheMaskOfFiles)
{
    ExpectRails({}, 0, 0600);
}

TEST(Rights, ARailIsForTheGroupThatTheServiceIsGivenWhateverTheMaskOfFiles)
{
    ExpectRails({"--rail-group", std::to_string(getegid())}, 077, 0660);
}

bool Connects(const sockaddr* address, socklen_t bytes)
{
    const int handle = ::socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (handle < 0) return false;
    const bool connected = ::connect(handle, address, bytes) == 0;
    ::close(handle);
    return connected;
}

bool ConnectsV4(const char* text, uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    EXPECT_EQ(1, inet_pton(AF_INET, text, &address.sin_addr));
    return Connects(reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

TEST(Listening, IsOnTheTwoLoopbackAddressesAlone)
{
    MxsProcess service;
    const auto port = static_cast<uint16_t>(std::stoi(service.Port()));
    ASSERT_TRUE(ConnectsV4("127.0.0.1", port));

    EXPECT_FALSE(ConnectsV4("127.0.0.2", port)); // of the loopback too, and served by whoever listens on all addresses
    ifaddrs* first = nullptr;
    ASSERT_EQ(0, getifaddrs(&first));
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> addresses(first, freeifaddrs);
    for (const ifaddrs* entry = first; entry; entry = entry->ifa_next)
    {
        if (!entry->ifa_addr || (entry->ifa_flags & IFF_LOOPBACK)) continue;
        if (entry->ifa_addr->sa_family == AF_INET)
        {
            sockaddr_in address = *reinterpret_cast<const sockaddr_in*>(entry->ifa_addr);
            address.sin_port = htons(port);
            EXPECT_FALSE(Connects(reinterpret_cast<const sockaddr*>(&address), sizeof address)) << entry->ifa_name;
        }
        if (entry->ifa_addr->sa_family == AF_INET6)
        {
            sockaddr_in6 address = *reinterpret_cast<const sockaddr_in6*>(entry->ifa_addr);
            address.sin6_port = htons(port);
            EXPECT_FALSE(Connects(reinterpret_cast<const sockaddr*>(&address), sizeof address)) << entry->ifa_name;
        }
    }
}

TEST(Listening, TheKernelKnowsNoOtherAddressOfIt)
{
    MxsProcess service;
    std::ostringstream port;
    port << std::hex << std::uppercase;
    port.width(4);
    port.fill('0');
    port << std::stoi(service.Port());
    const std::map<std::string, std::string> permitted{{"tcp", "0100007F"},
                                                       {"tcp6", "00000000000000000000000001000000"}};
    int listeners = 0;
    for (const auto& [table, address] : permitted)
    {
        std::ifstream file("/proc/" + std::to_string(service.ProcessId()) + "/net/" + table);
        std::string line;
        std::getline(file, line); // the heading
        while (std::getline(file, line))
        {
            std::istringstream words(line);
            std::string number, local, remote, state;
            words >> number >> local >> remote >> state;
            if (state != "0A" || !local.ends_with(":" + port.str())) continue; // not listening, or another's
            EXPECT_EQ(address + ":" + port.str(), local);
            ++listeners;
        }
    }
    EXPECT_LE(1, listeners);
    EXPECT_GE(2, listeners);
}

} // namespace
