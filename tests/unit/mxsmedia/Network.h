// Addresses of the loopback and a socket that hears what a stream sends.
#pragma once

#include "Packets.h"

#include <cstdint>
#include <ctime>
#include <optional>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

namespace mxs::media::test
{

constexpr uint32_t kLoopback = 0x7F000001;
constexpr uint64_t kInterface = 77;
constexpr uint32_t kPatienceMs = 20000; // a limit for a machine that is busy, never a pace

inline int AnyCore()
{
    cpu_set_t cores;
    CPU_ZERO(&cores);
    sched_getaffinity(0, sizeof cores, &cores);
    for (int core = 0; core < CPU_SETSIZE; ++core)
        if (CPU_ISSET(core, &cores)) return core;
    return 0;
}

inline sockaddr_in AddressOf(uint32_t ip, uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(ip);
    address.sin_port = htons(port);
    return address;
}

inline ConnectionConfig LoopbackConnection(uint32_t ip, uint16_t port)
{
    ConnectionConfig connection;
    connection.destinationIp = ip;
    connection.destinationPort = port;
    connection.networkInterfaceId = kInterface;
    connection.interfaceName = "lo";
    connection.interfaceAddress = kLoopback;
    return connection;
}

struct Heard
{
    Bytes bytes;
    uint32_t from = 0;
    int tos = -1;
    int ttl = -1;
};

// Bound to a port of its own on 127.0.0.1, or on a multicast group of the loopback.
class Listener
{
public:
    explicit Listener(uint32_t ip = kLoopback) : Handle(socket(AF_INET, SOCK_DGRAM, 0))
    {
        sockaddr_in address = AddressOf(ip, 0);
        bind(Handle, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        socklen_t size = sizeof address;
        getsockname(Handle, reinterpret_cast<sockaddr*>(&address), &size);
        Port = ntohs(address.sin_port);
        const int one = 1, room = 4 << 20;
        setsockopt(Handle, IPPROTO_IP, IP_RECVTOS, &one, sizeof one);
        setsockopt(Handle, IPPROTO_IP, IP_RECVTTL, &one, sizeof one);
        setsockopt(Handle, SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
        const timeval patience{kPatienceMs / 1000, 0};
        setsockopt(Handle, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        if (ip < 0xE0000000) return;
        ip_mreq group{};
        group.imr_multiaddr.s_addr = htonl(ip);
        group.imr_interface.s_addr = htonl(kLoopback);
        setsockopt(Handle, IPPROTO_IP, IP_ADD_MEMBERSHIP, &group, sizeof group);
    }
    ~Listener() { close(Handle); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    // Waits for the next datagram; one without bytes when none comes.
    Heard Hear() const
    {
        Heard heard;
        heard.bytes.resize(65536);
        sockaddr_in from{};
        alignas(cmsghdr) char control[256];
        iovec place{heard.bytes.data(), heard.bytes.size()};
        msghdr message{&from, sizeof from, &place, 1, control, sizeof control, 0};
        const ssize_t got = recvmsg(Handle, &message, 0);
        heard.bytes.resize(got < 0 ? 0 : static_cast<size_t>(got));
        heard.from = ntohl(from.sin_addr.s_addr);
        for (cmsghdr* part = CMSG_FIRSTHDR(&message); part; part = CMSG_NXTHDR(&message, part))
        {
            if (part->cmsg_type == IP_TOS) heard.tos = *CMSG_DATA(part);
            if (part->cmsg_type == IP_TTL) heard.ttl = *reinterpret_cast<const int*>(CMSG_DATA(part));
        }
        return heard;
    }

    // The same of a datagram that nobody wants to read: where it came from.
    sockaddr_in HearSender() const
    {
        sockaddr_in from{};
        socklen_t size = sizeof from;
        uint8_t byte = 0;
        recvfrom(Handle, &byte, 1, 0, reinterpret_cast<sockaddr*>(&from), &size);
        return from;
    }

    uint16_t Port = 0;

private:
    const int Handle;
};

// A port on which nobody listens.
inline uint16_t DeafPort()
{
    return Listener().Port;
}

} // namespace mxs::media::test
