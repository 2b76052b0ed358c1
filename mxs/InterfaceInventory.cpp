// Interfaces by getifaddrs, ioctl and /sys/class/net.
#include "mxs/InterfaceInventory.h"

#include "mxs/Identifiers.h"
#include "mxs/Refusal.h"
#include "mxs/SystemFiles.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <ifaddrs.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <memory>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace mxs
{

namespace
{

class ControlSocket // for the ioctl queries
{
public:
    ControlSocket() : Descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        if (Descriptor < 0) RefuseUntold(errno);
    }
    ~ControlSocket() { close(Descriptor); }
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;

    bool Ask(unsigned long request, const std::string& name, ifreq& answer) const
    {
        std::strncpy(answer.ifr_name, name.c_str(), IFNAMSIZ - 1);
        return ioctl(Descriptor, request, &answer) == 0;
    }

private:
    const int Descriptor;
};

std::string Directory(const std::string& name)
{
    return "/sys/class/net/" + name;
}

std::string BoundedText(const char* text, size_t room)
{
    return std::string(text, strnlen(text, room));
}

std::string DriverOf(const ControlSocket& control, const std::string& name)
{
    ethtool_drvinfo information{};
    information.cmd = ETHTOOL_GDRVINFO;
    ifreq request{};
    request.ifr_data = reinterpret_cast<char*>(&information);
    if (!control.Ask(SIOCETHTOOL, name, request)) return {};
    std::string driver = BoundedText(information.driver, sizeof information.driver);
    const std::string version = BoundedText(information.version, sizeof information.version);
    if (!version.empty()) driver += " " + version;
    return driver;
}

uint64_t MacOf(const ControlSocket& control, const std::string& name)
{
    ifreq request{};
    if (!control.Ask(SIOCGIFHWADDR, name, request)) return 0;
    uint64_t mac = 0;
    for (size_t place = 0; place < 6; ++place)
        mac = mac << 8 | static_cast<uint8_t>(request.ifr_hwaddr.sa_data[place]);
    return mac;
}

Duplex DuplexOf(const std::string& name)
{
    const std::string text = ReadSystemText(Directory(name) + "/duplex").value_or("");
    return text == "full" ? Duplex::Full : text == "half" ? Duplex::Half : Duplex::Unknown;
}

uint32_t UnknownIsZero(std::optional<int64_t> number)
{
    return static_cast<uint32_t>(std::clamp<int64_t>(number.value_or(0), 0, UINT32_MAX));
}

uint64_t PerSecond(uint64_t before, uint64_t now, double seconds)
{
    return now > before ? static_cast<uint64_t>(8.0 * static_cast<double>(now - before) / seconds) : 0;
}

} // namespace

InterfaceInventory::InterfaceInventory()
{
    Sample();
}

std::vector<uint64_t> InterfaceInventory::List() const
{
    std::vector<uint64_t> ids;
    const std::unique_ptr<struct if_nameindex, decltype(&if_freenameindex)> names(if_nameindex(), if_freenameindex);
    if (!names) RefuseUntold(errno);
    for (const struct if_nameindex* entry = names.get(); entry->if_index != 0; ++entry)
        ids.push_back(MakeId(IdKind::NetworkInterface, entry->if_index));
    return ids;
}

std::optional<std::string> InterfaceInventory::NameOf(uint64_t id) const
{
    const uint64_t index = id ^ MakeId(IdKind::NetworkInterface, 0);
    if (index == 0 || index > INT32_MAX) return std::nullopt;
    char name[IF_NAMESIZE];
    if (if_indextoname(static_cast<unsigned>(index), name)) return std::string(name);
    if (errno != ENXIO) RefuseUntold(errno);
    return std::nullopt;
}

bool InterfaceInventory::HasName(const std::string& name) const
{
    if (if_nametoindex(name.c_str()) != 0) return true;
    if (errno != ENODEV) RefuseUntold(errno);
    return false;
}

std::vector<InterfaceConfig> InterfaceInventory::Addresses(uint64_t id) const
{
    std::vector<InterfaceConfig> addresses;
    const std::optional<std::string> name = NameOf(id);
    ifaddrs* first = nullptr;
    if (!name) return addresses;
    if (getifaddrs(&first) != 0) RefuseUntold(errno);
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> list(first, freeifaddrs);
    for (const ifaddrs* entry = first; entry; entry = entry->ifa_next)
    {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET || !entry->ifa_netmask) continue;
        // A label such as eth0:1 names a further address of eth0.
        if (*name != std::string_view(entry->ifa_name).substr(0, std::string_view(entry->ifa_name).find(':'))) continue;
        sockaddr_in address;
        sockaddr_in mask;
        std::memcpy(&address, entry->ifa_addr, sizeof address);
        std::memcpy(&mask, entry->ifa_netmask, sizeof mask);
        addresses.push_back({ntohl(address.sin_addr.s_addr), ntohl(mask.sin_addr.s_addr)});
    }
    return addresses;
}

std::optional<InterfaceConfig> InterfaceInventory::Config(uint64_t id) const
{
    if (!NameOf(id)) return std::nullopt;
    const std::vector<InterfaceConfig> addresses = Addresses(id);
    return addresses.empty() ? InterfaceConfig{} : addresses.front();
}

std::optional<InterfaceStatus> InterfaceInventory::Status(uint64_t id) const
{
    const std::optional<std::string> name = NameOf(id);
    if (!name) return std::nullopt;
    const ControlSocket control;
    ifreq flags{};
    const bool known = control.Ask(SIOCGIFFLAGS, *name, flags);

    InterfaceStatus status;
    status.characteristics = {
        .index = if_nametoindex(name->c_str()),
        .systemName = *name,
        .linkSpeedMbit = UnknownIsZero(ReadSystemNumber(Directory(*name) + "/speed")), // -1 where unknown
        .duplex = DuplexOf(*name),
        .mtu = UnknownIsZero(ReadSystemNumber(Directory(*name) + "/mtu")),
        .driverVersion = DriverOf(control, *name),
        .mac = MacOf(control, *name),
        .linkUp = known && (flags.ifr_flags & IFF_UP) && (flags.ifr_flags & IFF_RUNNING),
    };
    const std::optional<int64_t> node = ReadSystemNumber(Directory(*name) + "/device/numa_node");
    if (node && *node >= 0) status.characteristics.numaNode = static_cast<uint32_t>(*node);

    const std::lock_guard lock(Mutex);
    const auto rates = Throughput.find(id);
    if (rates != Throughput.end())
    {
        status.uploadBitsPerSecond = rates->second.upload;
        status.downloadBitsPerSecond = rates->second.download;
    }
    return status;
}

void InterfaceInventory::Sample()
{
    std::map<uint64_t, Counters> now;
    try
    {
        now = ReadCounters();
    }
    catch (const Refusal&) // nobody has asked: all rates stay as they were until the next sample
    {
        return;
    }
    std::map<uint64_t, Rates> throughput;
    const std::lock_guard lock(Mutex);
    for (const auto& [id, counters] : now)
    {
        const auto before = LastCounters.find(id);
        if (before == LastCounters.end()) continue;
        const double seconds = std::chrono::duration<double>(counters.time - before->second.time).count();
        if (seconds <= 0) continue;
        throughput[id] = {PerSecond(before->second.sent, counters.sent, seconds),
                          PerSecond(before->second.received, counters.received, seconds)};
    }
    Throughput = std::move(throughput);
    LastCounters = std::move(now);
}

std::map<uint64_t, InterfaceInventory::Counters> InterfaceInventory::ReadCounters()
{
    std::map<uint64_t, Counters> all;
    const std::unique_ptr<struct if_nameindex, decltype(&if_freenameindex)> names(if_nameindex(), if_freenameindex);
    if (!names) RefuseUntold(errno);
    for (const struct if_nameindex* entry = names.get(); entry->if_index != 0; ++entry)
    {
        const std::string statistics = Directory(entry->if_name) + "/statistics";
        const auto sent = ReadSystemNumber(statistics + "/tx_bytes");
        const auto received = ReadSystemNumber(statistics + "/rx_bytes");
        if (!sent || !received) continue;
        all[MakeId(IdKind::NetworkInterface, entry->if_index)] = {
            static_cast<uint64_t>(*sent), static_cast<uint64_t>(*received), std::chrono::steady_clock::now()};
    }
    return all;
}

} // namespace mxs
