// Opening of sockets and sending of bursts.
#include "SendSocket.h"

#include "ReceiveSocket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

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
constexpr uint32_t kDscpShift = 2;            // above the two bits of congestion notification

bool SetInt(int handle, int level, int option, int value)
{
    return setsockopt(handle, level, option, &value, sizeof value) == 0;
}

sockaddr_in AddressOf(uint32_t ip, uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(ip);
    address.sin_port = htons(port);
    return address;
}

// A connected socket tells of what became of an earlier datagram, and the one at hand was not sent: a second attempt
// shows its own error. `firstError` is the one before, 0 when there was none.
template <class Call>
auto RepeatOnce(Call&& call, int& firstError)
{
    auto result = call();
    firstError = result < 0 ? errno : 0;
    if (result < 0 && errno != EAGAIN && errno != ENOBUFS) result = call();
    return result;
}

} // namespace

std::unique_ptr<SendSocket> SendSocket::Open(const ConnectionConfig& connection, uint8_t defaultMulticastTtl,
                                             uint64_t bufferBytes, std::string& error)
{
    const auto failed = [&](const std::string& what)
    {
        error = what + ": " + std::strerror(errno) + ".";
        return nullptr;
    };
    const std::string place =
        AddressText(connection.destinationIp) + ", port " + std::to_string(connection.destinationPort);
    const uint32_t source = connection.sourceIp ? connection.sourceIp : connection.interfaceAddress;
    const bool multicast = connection.destinationIp >= kFirstMulticast;
    if (multicast && source == 0)
    {
        error = "The interface has no IPv4 address from which " + place + " could be sent to.";
        return nullptr;
    }
    const int handle = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (handle < 0) return failed("A socket for " + place + " could not be made");
    std::unique_ptr<SendSocket> made(new SendSocket(handle));
    const sockaddr_in from = AddressOf(source, 0);
    if (bind(handle, reinterpret_cast<const sockaddr*>(&from), sizeof from) != 0)
        return failed("A socket could not be bound to " + AddressText(source));
    if (multicast && !made->SetMulticast(connection, defaultMulticastTtl))
        return failed("A socket could not be set up for " + place);
    if (!made->SetPriority(connection.dscp)) return failed("The DSCP of " + place + " could not be set");
    made->GrowBuffer(bufferBytes);
    const sockaddr_in to = AddressOf(connection.destinationIp, connection.destinationPort);
    if (connect(handle, reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0)
        return failed("There is no way to " + place);
    made->Segmentation = SetInt(handle, IPPROTO_UDP, UDP_SEGMENT, 0); // refused where the kernel does not know it
    return made;
}

SendSocket::~SendSocket()
{
    close(Handle);
}

bool SendSocket::SetMulticast(const ConnectionConfig& connection, uint8_t defaultMulticastTtl)
{
    // Always set: without it a group is sent to by the default route's interface.
    ip_mreqn interface {
    };
    interface.imr_address.s_addr = htonl(connection.interfaceAddress);
    if (!connection.interfaceName.empty())
        interface.imr_ifindex = static_cast<int>(if_nametoindex(connection.interfaceName.c_str()));
    if (setsockopt(Handle, IPPROTO_IP, IP_MULTICAST_IF, &interface, sizeof interface) != 0) return false;
    const int ttl = connection.multicastTtl ? connection.multicastTtl : defaultMulticastTtl;
    return SetInt(Handle, IPPROTO_IP, IP_MULTICAST_TTL, ttl) && SetInt(Handle, IPPROTO_IP, IP_MULTICAST_LOOP, 1);
}

bool SendSocket::SetPriority(uint8_t dscp)
{
    return SetInt(Handle, IPPROTO_IP, IP_TOS, dscp << kDscpShift);
}

void SendSocket::GrowBuffer(uint64_t bufferBytes)
{
    const int wanted = static_cast<int>(std::min(bufferBytes, kLargestBuffer));
    // The first way goes past the system's limit and needs a privilege, the second takes what the limit leaves.
    if (!SetInt(Handle, SOL_SOCKET, SO_SNDBUFFORCE, wanted)) SetInt(Handle, SOL_SOCKET, SO_SNDBUF, wanted);
    int doubled = 0; // the system reports twice the number, for its own bookkeeping
    socklen_t size = sizeof doubled;
    if (getsockopt(Handle, SOL_SOCKET, SO_SNDBUF, &doubled, &size) == 0) Granted = static_cast<uint64_t>(doubled) / 2;
}

size_t SendSocket::Send(std::span<const uint8_t> bytes, size_t datagramBytes)
{
    const size_t count = (bytes.size() + datagramBytes - 1) / datagramBytes;
    if (Segmentation && count > 1)
    {
        int firstError = 0;
        if (SendSegmented(bytes, datagramBytes, firstError)) return count;
        // The interface does not take part, or the datagrams are longer than its packets: the stack cuts neither.
        const bool refused = errno == EINVAL || errno == EIO || errno == EMSGSIZE || errno == EOPNOTSUPP;
        if (!refused)
        {
            Error.store(errno, std::memory_order_relaxed);
            return 0;
        }
        if (errno == firstError) Segmentation = false; // else one of the two was that of an earlier datagram
    }
    const size_t taken = SendOneByOne(bytes, datagramBytes);
    if (taken < count) Error.store(errno, std::memory_order_relaxed);
    return taken;
}

bool SendSocket::SendSegmented(std::span<const uint8_t> bytes, size_t datagramBytes, int& firstError)
{
    iovec place{const_cast<uint8_t*>(bytes.data()), bytes.size()};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(uint16_t))> control{};
    msghdr message{};
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* const part = CMSG_FIRSTHDR(&message);
    part->cmsg_level = IPPROTO_UDP;
    part->cmsg_type = UDP_SEGMENT;
    part->cmsg_len = CMSG_LEN(sizeof(uint16_t));
    const auto segmentBytes = static_cast<uint16_t>(datagramBytes);
    std::memcpy(CMSG_DATA(part), &segmentBytes, sizeof segmentBytes);
    return RepeatOnce([&] { return sendmsg(Handle, &message, MSG_NOSIGNAL); }, firstError) >= 0;
}

size_t SendSocket::SendOneByOne(std::span<const uint8_t> bytes, size_t datagramBytes)
{
    std::array<iovec, kMostSegments> places;
    std::array<mmsghdr, kMostSegments> messages;
    size_t taken = 0;
    while (taken * datagramBytes < bytes.size())
    {
        unsigned count = 0;
        for (size_t at = taken * datagramBytes; at < bytes.size() && count < kMostSegments; at += datagramBytes)
        {
            places[count] = {const_cast<uint8_t*>(bytes.data()) + at, std::min(datagramBytes, bytes.size() - at)};
            messages[count] = {};
            messages[count].msg_hdr.msg_iov = &places[count];
            messages[count].msg_hdr.msg_iovlen = 1;
            ++count;
        }
        // A call that stops in the middle does not say why; the next one does.
        int firstError = 0;
        const int sent = RepeatOnce([&] { return sendmmsg(Handle, messages.data(), count, MSG_NOSIGNAL); }, firstError);
        if (sent <= 0) break;
        taken += static_cast<size_t>(sent);
    }
    return taken;
}

} // namespace mxs::media
