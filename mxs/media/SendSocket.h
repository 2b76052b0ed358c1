// A UDP socket of one connection of a sender: bound to its source, connected to its destination.
#pragma once

#include "MediaStream.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace mxs::media
{

class SendSocket
{
public:
    // What one system call takes at most.
    static constexpr size_t kMostSegments = 64;
    static constexpr size_t kMostBytes = 65000;

    // Null, with a sentence, when the system refuses one of the steps. A time to live of 0 stands for the default.
    static std::unique_ptr<SendSocket> Open(const ConnectionConfig& connection, uint8_t defaultMulticastTtl,
                                            uint64_t bufferBytes, std::string& error);
    ~SendSocket();
    SendSocket(const SendSocket&) = delete;
    SendSocket& operator=(const SendSocket&) = delete;

    uint64_t GrantedBufferBytes() const { return Granted; }
    bool HasSegmentation() const { return Segmentation; }

    // Sends datagrams that lie one behind another, all of `datagramBytes` but the last; in one go up to kMostSegments
    // and kMostBytes. Returns how many of the first ones the system has taken. Never blocks, never allocates.
    size_t Send(std::span<const uint8_t> bytes, size_t datagramBytes);

    // errno of the latest datagram that was not taken, 0 when there was none. Any thread.
    int LastError() const { return Error.load(std::memory_order_relaxed); }

private:
    explicit SendSocket(int handle) : Handle(handle) {}

    bool SetMulticast(const ConnectionConfig& connection, uint8_t defaultMulticastTtl);
    bool SetPriority(uint8_t dscp);
    void GrowBuffer(uint64_t bufferBytes);
    bool SendSegmented(std::span<const uint8_t> bytes, size_t datagramBytes, int& firstError);
    size_t SendOneByOne(std::span<const uint8_t> bytes, size_t datagramBytes);

    const int Handle;
    uint64_t Granted = 0;
    bool Segmentation = false; // the system cuts a long buffer into datagrams
    std::atomic<int> Error{0};
};

} // namespace mxs::media
