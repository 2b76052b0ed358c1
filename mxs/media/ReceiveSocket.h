// A UDP socket of one connection: bound, joined, with a large buffer and coalesced datagrams.
#pragma once

#include "MediaStream.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <unordered_set>

namespace mxs::media
{

// Datagrams that were received at once, one at least: all of `datagramBytes`, but the last, which may be shorter. One
// that is empty comes alone.
struct DatagramBatch
{
    std::span<const uint8_t> bytes;
    size_t datagramBytes = 1;
    bool wanted = true; // their source is
};

class ReceiveSocket
{
public:
    // The largest batch that the system makes, and so the room that Receive needs.
    static constexpr size_t kBatchRoom = 65536;

    // Null, with a sentence, when the system refuses one of the steps.
    static std::unique_ptr<ReceiveSocket> Open(const ConnectionConfig& connection, uint64_t bufferBytes,
                                               std::string& error);
    ~ReceiveSocket();
    ReceiveSocket(const ReceiveSocket&) = delete;
    ReceiveSocket& operator=(const ReceiveSocket&) = delete;

    int Descriptor() const { return Handle; }
    uint64_t GrantedBufferBytes() const { return Granted; }

    // False when nothing is waiting. Never blocks.
    bool Receive(std::span<uint8_t> room, DatagramBatch& batch);

private:
    explicit ReceiveSocket(int handle) : Handle(handle) {}

    bool Bind(const ConnectionConfig& connection);
    bool Join(const ConnectionConfig& connection);
    void GrowBuffer(uint64_t bufferBytes);
    bool IsWanted(uint32_t source) const;

    const int Handle;
    uint64_t Granted = 0;

    // The kernel holds a limited number of sources; with more than that they are told apart here.
    bool FilterHere = false;
    bool Inclusion = false;
    std::unordered_set<uint32_t> Sources;
};

// An IPv4 address in host order as text.
std::string AddressText(uint32_t address);

} // namespace mxs::media
