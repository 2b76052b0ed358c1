// Puts samples from packets into a slot in the application's format, and black where no packet brought any; takes
// samples out of a slot into packets.
#pragma once

#include "PixelGroups.h"

#include <cstdint>
#include <vector>

namespace mxs::media
{

// The loops that move samples. All give the same bytes; later ones are faster.
enum class SampleKernel
{
    Scalar, // on every processor
    Avx2
};

// Slowest first.
std::vector<SampleKernel> KernelsOfThisProcessor();

// Works on the slot as one long row of pixel groups of the network format: lines and fields follow one another without
// a gap in either format. The caller keeps `firstGroup + groups` within the slot.
class SampleConverter
{
public:
    // `network` must outlive the object (rows of the table do); `application` one of those that CheckEssence accepts.
    // Takes the fastest kernel that this processor has.
    SampleConverter(const PixelGroup& network, const BitProperties& application);
    // `kernel` is one of KernelsOfThisProcessor.
    SampleConverter(const PixelGroup& network, const BitProperties& application, SampleKernel kernel);

    // True when payload bytes go into the slot as they are.
    bool IsPlainCopy() const { return PlainCopy; }

    // `payload` holds `groups` network groups.
    void Write(uint8_t* slot, uint64_t firstGroup, const uint8_t* payload, uint64_t groups) const;

    // The way back: `payload` has room for `groups` network groups.
    void Read(const uint8_t* slot, uint64_t firstGroup, uint8_t* payload, uint64_t groups) const;

    void FillBlack(uint8_t* slot, uint64_t firstGroup, uint64_t groups) const;

    // Bytes of the slot that the groups touch, wholly or in part.
    struct ByteRange
    {
        uint64_t begin;
        uint64_t end;
    };
    ByteRange BytesOf(uint64_t firstGroup, uint64_t groups) const;

    // Of runs that begin at a component of the slot and at the first byte of the payload.
    struct Conversions
    {
        void (*toSlot)(uint8_t* slot, uint64_t firstComponent, const uint8_t* payload, uint64_t components);
        void (*fromSlot)(const uint8_t* slot, uint64_t firstComponent, uint8_t* payload, uint64_t components);
    };

private:
    const PixelGroup& Network;
    const uint32_t ComponentBits; // one component in the slot
    const bool LeastBitFirst;     // within a byte that two components share
    const bool PlainCopy;
    const Conversions Convert;
    uint64_t BlackPeriodBytes = 0;
    std::vector<uint8_t> Black; // some periods of the black picture
};

} // namespace mxs::media
