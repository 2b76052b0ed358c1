// Bursts over the loopback: one call, many datagrams, with the marks of their connection.
#include "mxs/media/SendSocket.h"

#include "Network.h"

#include <netinet/udp.h>

#include <gtest/gtest.h>

using namespace mxs::media;
using namespace mxs::media::test;

namespace
{

constexpr uint8_t kDefaultTtl = 16;
constexpr uint64_t kBuffer = 1 << 20;

std::unique_ptr<SendSocket> Open(const ConnectionConfig& connection)
{
    std::string error;
    auto made = SendSocket::Open(connection, kDefaultTtl, kBuffer, error);
    EXPECT_TRUE(made) << error;
    return made;
}

// Asked of a socket of the test's own.
bool KernelCutsBursts()
{
    const int probe = ::socket(AF_INET, SOCK_DGRAM, 0);
    const int segmentBytes = 1000;
    const bool cuts = ::setsockopt(probe, IPPROTO_UDP, UDP_SEGMENT, &segmentBytes, sizeof segmentBytes) == 0;
    ::close(probe);
    return cuts;
}

uint32_t GroupOfThisProcess()
{
    return 0xEFFB0000u | static_cast<uint32_t>(getpid() & 0xFFFF);
}

} // namespace

TEST(SendSocket, ABurstArrivesAsItsDatagrams)
{
    const Listener listener;
    const auto socket = Open(LoopbackConnection(kLoopback, listener.Port));
    const Bytes bytes = Pattern(64 * 1000 - 300, 1);

    EXPECT_EQ(socket->Send(bytes, 1000), 64u);

    for (size_t at = 0; at < bytes.size(); at += 1000)
    {
        const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        const size_t length = std::min<size_t>(1000, bytes.size() - at);
        ASSERT_EQ(listener.Hear().bytes, Bytes(begin, begin + static_cast<std::ptrdiff_t>(length))) << at;
    }
    EXPECT_EQ(socket->LastError(), 0);
    EXPECT_EQ(socket->HasSegmentation(), KernelCutsBursts());
}

TEST(SendSocket, WhatTheKernelDoesNotCutIsSentOneByOneFromThenOn)
{
    const Listener listener;
    const auto socket = Open(LoopbackConnection(kLoopback, listener.Port));
    const Bytes bytes = Pattern(2005, 2); // 201 datagrams, more than it cuts out of one buffer

    for (int burst = 0; burst < 2; ++burst)
    {
        EXPECT_EQ(socket->Send(bytes, 10), 201u);
        for (size_t at = 0; at < bytes.size(); at += 10)
        {
            const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(at);
            const size_t length = std::min<size_t>(10, bytes.size() - at);
            ASSERT_EQ(listener.Hear().bytes, Bytes(begin, begin + static_cast<std::ptrdiff_t>(length))) << at;
        }
    }
    EXPECT_FALSE(socket->HasSegmentation());
}

TEST(SendSocket, TheSourceAndThePriorityAreThoseOfTheConnection)
{
    const Listener listener;
    ConnectionConfig connection = LoopbackConnection(kLoopback, listener.Port);
    connection.sourceIp = 0x7F000005;
    connection.dscp = 34;
    const auto socket = Open(connection);

    socket->Send(Bytes(10), 10);

    const Heard heard = listener.Hear();
    EXPECT_EQ(heard.from, 0x7F000005u);
    EXPECT_EQ(heard.tos, 34 << 2);
}

TEST(SendSocket, MulticastLeavesByItsInterfaceWithItsTimeToLive)
{
    for (const uint8_t ttl : {uint8_t{0}, uint8_t{3}})
    {
        const Listener listener(GroupOfThisProcess());
        ConnectionConfig connection = LoopbackConnection(GroupOfThisProcess(), listener.Port);
        connection.multicastTtl = ttl;
        const auto socket = Open(connection);

        EXPECT_EQ(socket->Send(Bytes(10, 7), 10), 1u);

        const Heard heard = listener.Hear();
        EXPECT_EQ(heard.bytes, Bytes(10, 7));
        EXPECT_EQ(heard.from, kLoopback);
        EXPECT_EQ(heard.ttl, ttl ? ttl : kDefaultTtl);
    }
}

TEST(SendSocket, ThatNobodyListensIsNoLoss)
{
    const auto socket = Open(LoopbackConnection(kLoopback, DeafPort()));
    const Bytes bytes(4 * 100);

    for (int burst = 0; burst < 10; ++burst)
        EXPECT_EQ(socket->Send(bytes, 100), 4u);
}

// Tells the sender of a datagram that it did not arrive, as a router on the way would.
class Router
{
public:
    Router() : Handle(socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP)) {}
    ~Router()
    {
        if (Handle >= 0) close(Handle);
    }
    Router(const Router&) = delete;
    Router& operator=(const Router&) = delete;

    bool MayTell() const { return Handle >= 0; }

    // A message of destination unreachable of this code; `mtu` goes with "fragmentation needed".
    void Tell(uint8_t code, uint16_t mtu, const sockaddr_in& sender, uint32_t to, uint16_t port) const
    {
        Bytes message{3, code, 0, 0, 0, 0};
        Put16(message, mtu);
        const Bytes header{0x45, 0, 0, 128, 0, 0, 0, 0, 64, IPPROTO_UDP, 0, 0}; // of the datagram, without addresses
        message.insert(message.end(), header.begin(), header.end());
        Put32(message, ntohl(sender.sin_addr.s_addr));
        Put32(message, to);
        Put16(message, ntohs(sender.sin_port));
        Put16(message, port);
        Put32(message, 108u << 16);
        uint32_t sum = 0;
        for (size_t at = 0; at < message.size(); at += 2)
            sum += uint32_t{message[at]} << 8 | message[at + 1];
        sum = (sum & 0xFFFF) + (sum >> 16);
        sum = ~((sum & 0xFFFF) + (sum >> 16));
        message[2] = static_cast<uint8_t>(sum >> 8);
        message[3] = static_cast<uint8_t>(sum);
        const sockaddr_in back = AddressOf(ntohl(sender.sin_addr.s_addr), 0);
        EXPECT_EQ(
            sendto(Handle, message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&back), sizeof back),
            static_cast<ssize_t>(message.size()));
    }

private:
    const int Handle;
};

TEST(SendSocket, WhatBecameOfAnEarlierDatagramTakesNoneOfTheNext)
{
    const Router router;
    if (!router.MayTell()) GTEST_SKIP() << "needs the right to raw sockets";
    constexpr uint32_t kPlace = 0x7F000042; // of this test alone
    constexpr uint8_t kNetworkUnknown = 6, kHostUnknown = 7, kFragmentationNeeded = 4;
    for (const uint8_t code : {kNetworkUnknown, kHostUnknown, kFragmentationNeeded})
        for (const size_t count : {size_t{1}, size_t{4}}) // alone, and cut by the kernel
        {
            const Listener listener(kPlace);
            const auto socket = Open(LoopbackConnection(kPlace, listener.Port));
            const bool cuts = socket->HasSegmentation();
            socket->Send(Bytes(10), 10);
            const sockaddr_in sender = listener.HearSender();
            router.Tell(code, 65535, sender, kPlace, listener.Port); // delivered when it is sent

            const Bytes bytes = Pattern(count * 100, 5);
            EXPECT_EQ(socket->Send(bytes, 100), count) << int{code};

            EXPECT_EQ(listener.Hear().bytes, Bytes(bytes.begin(), bytes.begin() + 100));
            EXPECT_EQ(socket->HasSegmentation(), cuts) << int{code};
        }
}

TEST(SendSocket, AnAddressThatTheMachineDoesNotHaveIsToldInASentence)
{
    ConnectionConfig connection = LoopbackConnection(kLoopback, 5000);
    connection.sourceIp = 0xC0000201; // for documentation only
    std::string error;
    EXPECT_EQ(SendSocket::Open(connection, kDefaultTtl, kBuffer, error), nullptr);
    EXPECT_NE(error.find("192.0.2.1"), std::string::npos) << error;

    connection = LoopbackConnection(GroupOfThisProcess(), 5000);
    connection.interfaceAddress = 0;
    EXPECT_EQ(SendSocket::Open(connection, kDefaultTtl, kBuffer, error), nullptr);
}
