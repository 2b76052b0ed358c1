// UDP ports that a test gives to programs which open them later.
#pragma once

#include <arpa/inet.h>
#include <atomic>
#include <cstdint>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace test
{

// One that nobody has on this machine, and that hardly anybody else is given before it is opened: it lies below those
// that the system hands out by itself, processes whose ids are near to each other take theirs from other parts of the
// range (ports.py has the same), and this one gives none twice until the range is at its end.
inline uint16_t FreeUdpPort()
{
    constexpr uint32_t kFirst = 10240, kEach = 64, kProcesses = 352; // up to 32767
    static std::atomic<uint32_t> next = uint32_t(::getpid()) % kProcesses * kEach;
    for (uint32_t tries = 0; tries < kEach * kProcesses; ++tries)
    {
        const auto port = uint16_t(kFirst + next++ % (kEach * kProcesses));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_ANY);
        address.sin_port = htons(port);
        const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        const bool free = ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        ::close(socket);
        if (free) return port;
    }
    throw std::runtime_error("no free UDP port");
}

} // namespace test
