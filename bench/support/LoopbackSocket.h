// A UDP socket on the loopback, without any of the service's code.
#pragma once

#include <cstdint>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace bench
{

class LoopbackSocket
{
public:
    LoopbackSocket() : Handle(socket(AF_INET, SOCK_DGRAM, 0)) {}
    ~LoopbackSocket() { close(Handle); }
    LoopbackSocket(const LoopbackSocket&) = delete;
    LoopbackSocket& operator=(const LoopbackSocket&) = delete;

    bool Set(int level, int option, int value) const
    {
        return setsockopt(Handle, level, option, &value, sizeof value) == 0;
    }
    // For UDP_SEGMENT and UDP_GRO, without which the figures would be of something else.
    void Demand(int option, int value) const
    {
        if (!Set(IPPROTO_UDP, option, value))
            throw std::runtime_error("the kernel neither cuts datagrams nor puts them together");
    }

    uint16_t Bind() const // to a free port, which it gives
    {
        sockaddr_in address = AddressOf(0);
        socklen_t size = sizeof address;
        const auto generic = reinterpret_cast<sockaddr*>(&address);
        if (bind(Handle, generic, size) != 0 || getsockname(Handle, generic, &size) != 0)
            throw std::runtime_error("no free port");
        return ntohs(address.sin_port);
    }
    void Connect(uint16_t port) const
    {
        const sockaddr_in address = AddressOf(port);
        if (connect(Handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            throw std::runtime_error("no way over the loopback");
    }

    const int Handle;

private:
    static sockaddr_in AddressOf(uint16_t port)
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port);
        return address;
    }
};

} // namespace bench
