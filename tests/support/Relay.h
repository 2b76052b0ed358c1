// Stands between a sender and a receiver, both on the loopback, and does to packets what networks do.
#pragma once

#include "support/FreePort.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <memory>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace test
{

using Bytes = std::vector<uint8_t>;

struct Endpoint
{
    uint32_t address = INADDR_LOOPBACK; // host order
    uint16_t port = 0;

    sockaddr_in Name() const
    {
        sockaddr_in name{};
        name.sin_family = AF_INET;
        name.sin_addr.s_addr = htonl(address);
        name.sin_port = htons(port);
        return name;
    }
};

// A port of its own on 127.0.0.1.
inline Endpoint FreeEndpoint()
{
    return {INADDR_LOOPBACK, FreeUdpPort()};
}

class UdpSocket
{
public:
    explicit UdpSocket(const Endpoint& local = {})
    {
        Descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        // Room for frames that come while nobody reads. The first way goes past the system's limit, where it may.
        const int room = 16 << 20;
        if (::setsockopt(Descriptor, SOL_SOCKET, SO_RCVBUFFORCE, &room, sizeof room) != 0)
            ::setsockopt(Descriptor, SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
        ::setsockopt(Descriptor, SOL_SOCKET, SO_SNDBUF, &room, sizeof room);
        const sockaddr_in name = local.Name();
        if (Descriptor < 0 || ::bind(Descriptor, reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0)
            throw std::runtime_error(std::string("socket: ") + std::strerror(errno));
    }
    ~UdpSocket() { ::close(Descriptor); }
    UdpSocket(const UdpSocket&) = delete;
    UdpSocket& operator=(const UdpSocket&) = delete;

    void Send(const Endpoint& to, const Bytes& bytes)
    {
        const sockaddr_in name = to.Name();
        const auto sent =
            ::sendto(Descriptor, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&name), sizeof name);
        // A port that nobody has opened yet answers with an error to the datagram before this one.
        if (sent < 0 && errno != ECONNREFUSED) throw std::runtime_error(std::string("send: ") + std::strerror(errno));
    }

    // False when there is nothing; else `bytes` holds the datagram, in memory that is used again.
    bool Receive(Bytes& bytes)
    {
        bytes.resize(2048);
        const auto received = ::recv(Descriptor, bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (received < 0) return false;
        bytes.resize(size_t(received));
        return true;
    }

    int Descriptor = -1;
};

// Stands in the way of the packets of one or two paths and does to them what networks do.
class Relay
{
public:
    enum class Fate
    {
        Pass,
        Lose,
        Hold // lets the three that follow overtake it
    };
    struct Path
    {
        Endpoint from, to;
    };
    // `index` counts the packets of a stream from 0, by their sequence numbers.
    using Rule = std::function<Fate(size_t path, uint32_t index)>;

    Relay(const std::vector<Path>& paths, Rule rule) : Paths(paths), Decide(std::move(rule))
    {
        for (const Path& path : Paths)
            Sockets.push_back(std::make_unique<UdpSocket>(path.from));
        Held.resize(Paths.size());
        Worker = std::thread([this] { Run(); });
    }
    ~Relay()
    {
        Ended = true;
        Worker.join();
    }

private:
    struct HeldPacket
    {
        Bytes bytes;
        int overtakenBy = 0;
    };

    void Run()
    {
        std::vector<pollfd> waits;
        for (const auto& socket : Sockets)
            waits.push_back({socket->Descriptor, POLLIN, 0});
        while (!Ended)
        {
            ::poll(waits.data(), waits.size(), 20);
            // Paths take turns, packet by packet: none falls behind because another one is busy.
            for (bool more = true; more && !Ended;)
            {
                more = false;
                for (size_t path = 0; path < Paths.size(); ++path)
                    if (Sockets[path]->Receive(Packet))
                    {
                        more = true;
                        Handle(path, Packet);
                    }
            }
        }
    }

    void Handle(size_t path, const Bytes& packet)
    {
        if (packet.size() < 12) return;
        const uint16_t sequence = uint16_t(packet[2] << 8 | packet[3]);
        if (!FirstSequence) FirstSequence = sequence;
        const Fate fate = Decide(path, uint16_t(sequence - *FirstSequence));
        if (fate == Fate::Hold) Held[path].push_back({packet, 0});
        if (fate == Fate::Pass) Out.Send(Paths[path].to, packet);
        if (fate == Fate::Hold) return;
        for (HeldPacket& held : Held[path])
            ++held.overtakenBy;
        while (!Held[path].empty() && Held[path].front().overtakenBy >= 3)
        {
            Out.Send(Paths[path].to, Held[path].front().bytes);
            Held[path].pop_front();
        }
    }

    const std::vector<Path> Paths;
    const Rule Decide;
    std::vector<std::unique_ptr<UdpSocket>> Sockets;
    UdpSocket Out;
    Bytes Packet;
    std::vector<std::deque<HeldPacket>> Held;
    std::optional<uint16_t> FirstSequence;
    std::atomic<bool> Ended{false};
    std::thread Worker;
};

} // namespace test
