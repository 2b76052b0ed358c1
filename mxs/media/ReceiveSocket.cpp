// Opening of sockets, multicast joins and batched receiving.
#include "ReceiveSocket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <netinet/udp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace mxs::media
{

namespace
{

constexpr uint32_t kFirstMulticast = 0xE0000000;
constexpr uint64_t kLargestBuffer = 1u << 30; // the system doubles the number in 32 bits

bool IsMulticast(uint32_t address)
{
    return address >= kFirstMulticast;
}

bool SetInt(int handle, int level, int option, int value)
{
    return setsockopt(handle, level, option, &value, sizeof value) == 0;
}

ip_mreqn GroupOn(const ConnectionConfig& connection)
{
    ip_mreqn group{};
    group.imr_multiaddr.s_addr = htonl(connection.destinationIp);
    group.imr_address.s_addr = htonl(connection.interfaceAddress);
    if (!connection.interfaceName.empty())
        group.imr_ifindex = static_cast<int>(if_nametoindex(connection.interfaceName.c_str()));
    return group;
}

ip_mreq_source SourceOn(const ConnectionConfig& connection, uint32_t source)
{
    ip_mreq_source request{};
    request.imr_multiaddr.s_addr = htonl(connection.destinationIp);
    request.imr_interface.s_addr = htonl(connection.interfaceAddress);
    request.imr_sourceaddr.s_addr = htonl(source);
    return request;
}

} // namespace

std::string AddressText(uint32_t address)
{
    std::array<char, INET_ADDRSTRLEN> text{};
    const in_addr number{htonl(address)};
    inet_ntop(AF_INET, &number, text.data(), text.size());
    return text.data();
}

std::unique_ptr<ReceiveSocket> ReceiveSocket::Open(const ConnectionConfig& connection, uint64_t bufferBytes,
                                                   std::string& error)
{
    const auto failed = [&](const std::string& what)
    {
        error = what + ": " + std::strerror(errno) + ".";
        return nullptr;
    };
    const std::string place =
        AddressText(connection.destinationIp) + ", port " + std::to_string(connection.destinationPort);
    if (IsMulticast(connection.destinationIp) && connection.interfaceAddress == 0)
    {
        error = "The interface has no IPv4 address on which " + place + " could be joined.";
        return nullptr;
    }
    if (connection.destinationIp == 0 && connection.interfaceAddress == 0) // all interfaces otherwise
    {
        error = "The interface has no IPv4 address to receive on, and the connection names none.";
        return nullptr;
    }
    const int handle = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (handle < 0) return failed("A socket for " + place + " could not be made");
    std::unique_ptr<ReceiveSocket> made(new ReceiveSocket(handle));
    if (!made->Bind(connection)) return failed("A socket could not be bound to " + place);
    made->GrowBuffer(bufferBytes);
    SetInt(handle, IPPROTO_UDP, UDP_GRO, 1); // without it each datagram comes alone, and that is all
    if (IsMulticast(connection.destinationIp) && !made->Join(connection)) return failed("Could not join " + place);
    return made;
}

ReceiveSocket::~ReceiveSocket()
{
    close(Handle);
}

bool ReceiveSocket::Bind(const ConnectionConfig& connection)
{
    const bool multicast = IsMulticast(connection.destinationIp);
    // Several streams may take the same group. A unicast port has one owner: a second one would silently get all of
    // the first one's packets.
    if (multicast && !SetInt(Handle, SOL_SOCKET, SO_REUSEADDR, 1)) return false;
    // Only groups that this socket has joined, and not those of other sockets on the machine.
    if (multicast && !SetInt(Handle, IPPROTO_IP, IP_MULTICAST_ALL, 0)) return false;

    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(connection.destinationPort);
    address.sin_addr.s_addr = htonl(connection.destinationIp ? connection.destinationIp : connection.interfaceAddress);
    return bind(Handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

void ReceiveSocket::GrowBuffer(uint64_t bufferBytes)
{
    const int wanted = static_cast<int>(std::min(bufferBytes, kLargestBuffer));
    // The first way goes past the system's limit and needs a privilege, the second takes what the limit leaves.
    if (!SetInt(Handle, SOL_SOCKET, SO_RCVBUFFORCE, wanted)) SetInt(Handle, SOL_SOCKET, SO_RCVBUF, wanted);
    int doubled = 0; // the system reports twice the number, for its own bookkeeping
    socklen_t size = sizeof doubled;
    if (getsockopt(Handle, SOL_SOCKET, SO_RCVBUF, &doubled, &size) == 0) Granted = static_cast<uint64_t>(doubled) / 2;
}

bool ReceiveSocket::Join(const ConnectionConfig& connection)
{
    Inclusion = connection.inclusion;
    Sources.insert(connection.sources.begin(), connection.sources.end());
    const ip_mreqn group = GroupOn(connection);
    const auto joinAny = [&] { return setsockopt(Handle, IPPROTO_IP, IP_ADD_MEMBERSHIP, &group, sizeof group) == 0; };
    if (Sources.empty()) return joinAny(); // nobody named: anybody is welcome in both modes

    if (!Inclusion && !joinAny()) return false;
    const int option = Inclusion ? IP_ADD_SOURCE_MEMBERSHIP : IP_BLOCK_SOURCE;
    for (const uint32_t source : Sources)
    {
        const ip_mreq_source request = SourceOn(connection, source);
        if (setsockopt(Handle, IPPROTO_IP, option, &request, sizeof request) == 0) continue;
        if (errno != ENOBUFS) return false;
        FilterHere = true; // more sources than the kernel holds
        break;
    }
    if (FilterHere && Inclusion)
    {
        setsockopt(Handle, IPPROTO_IP, IP_DROP_MEMBERSHIP, &group, sizeof group);
        return joinAny();
    }
    return true;
}

bool ReceiveSocket::IsWanted(uint32_t source) const
{
    return (Sources.count(source) != 0) == Inclusion;
}

bool ReceiveSocket::Receive(std::span<uint8_t> room, DatagramBatch& batch)
{
    iovec place{room.data(), room.size()};
    sockaddr_in sender{};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control;
    msghdr message{};
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    if (FilterHere)
    {
        message.msg_name = &sender;
        message.msg_namelen = sizeof sender;
    }
    ssize_t got;
    do
        got = recvmsg(Handle, &message, 0);
    while (got < 0 && errno == EINTR);
    if (got < 0) return false;

    const auto bytes = static_cast<size_t>(got);
    batch.bytes = std::span<const uint8_t>(room.data(), bytes);
    batch.datagramBytes = std::max<size_t>(bytes, 1);
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part; part = CMSG_NXTHDR(&message, part))
    {
        if (part->cmsg_level != IPPROTO_UDP || part->cmsg_type != UDP_GRO) continue;
        int segmentBytes = 0;
        std::memcpy(&segmentBytes, CMSG_DATA(part), sizeof segmentBytes);
        if (segmentBytes > 0) batch.datagramBytes = static_cast<size_t>(segmentBytes);
    }
    batch.wanted = !FilterHere || IsWanted(ntohl(sender.sin_addr.s_addr));
    return true;
}

} // namespace mxs::media
