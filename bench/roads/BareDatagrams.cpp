// One thread, two sockets.
#include "BareDatagrams.h"

#include "Roads.h"

#include <netinet/in.h>
#include <netinet/udp.h>
#include <stdexcept>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>
#include <vector>

namespace bench
{

namespace
{

class Socket
{
public:
    Socket() : Handle(socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK, 0)) {}
    ~Socket() { close(Handle); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    void Set(int option, int value) const
    {
        if (setsockopt(Handle, IPPROTO_UDP, option, &value, sizeof value) != 0)
            throw std::runtime_error("the kernel neither cuts datagrams nor puts them together");
    }

    const int Handle;
};

double ThreadSeconds()
{
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

} // namespace

double BareDatagramSeconds(size_t bytes, size_t burst)
{
    constexpr double kLongEnough = 0.3;
    const Socket receiver, sender;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(FreePort());
    if (bind(receiver.Handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        connect(sender.Handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("no way over the loopback");
    receiver.Set(UDP_GRO, 1);
    if (burst > 1) sender.Set(UDP_SEGMENT, static_cast<int>(bytes));
    const std::vector<char> sent(bytes * burst);
    std::vector<char> room(65536);
    const double begun = ThreadSeconds();
    size_t count = 0;
    while (ThreadSeconds() - begun < kLongEnough)
        for (int i = 0; i < 100; ++i, count += burst)
        {
            if (send(sender.Handle, sent.data(), sent.size(), 0) < 0) throw std::runtime_error("no sending");
            while (recv(receiver.Handle, room.data(), room.size(), 0) > 0)
                continue;
        }
    return (ThreadSeconds() - begun) / static_cast<double>(count);
}

} // namespace bench
