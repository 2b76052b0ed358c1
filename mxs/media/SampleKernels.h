// The loops of a conversion, component by component and four at a time: what every processor can do, and what the loops
// of others are held to.
#pragma once

#include "SampleLayouts.h"

#include <algorithm>
#include <cstdint>

namespace mxs::media::layouts
{

// Between depths: times a power of two, or rounded, halves up, and kept within the range.
template <uint32_t from, uint32_t to>
uint32_t Scale(uint32_t value)
{
    if constexpr (to >= from)
        return value << (to - from);
    else
        return std::min((value + (1u << (from - to - 1))) >> (from - to), (1u << to) - 1);
}

// The same in each lane.
template <uint32_t from, uint32_t to>
Lanes ScaleQuad(Lanes quad)
{
    if constexpr (to >= from)
        return quad << (to - from);
    else
    {
        constexpr Lanes half = kEachLane << (from - to - 1);
        constexpr Lanes mask = kEachLane * ((1u << (to + 1)) - 1);
        const Lanes rounded = (quad + half) >> (from - to) & mask;
        return rounded - (rounded >> to & kEachLane); // only the power of two itself is beyond the range, by one
    }
}

// Components of a run before the first that is a multiple of four in the slot. There the payload is at a byte border
// too: a run begins with a group, groups begin at a byte, and groups of 10 bits are whole fours.
inline uint64_t BeforeFours(uint64_t firstComponent, uint64_t components)
{
    return std::min((kQuad - firstComponent % kQuad) % kQuad, components);
}

// Calls `single(done)` for components one by one where they do not fall into fours of the slot, and `quad(done)` for
// fours.
template <class Single, class Quad>
void ForRun(uint64_t firstComponent, uint64_t components, Single&& single, Quad&& quad)
{
    const uint64_t before = BeforeFours(firstComponent, components);
    uint64_t done = 0;
    for (; done < before; ++done)
        single(done);
    for (; done + kQuad <= components; done += kQuad)
        quad(done);
    for (; done < components; ++done)
        single(done);
}

// Runs begin at a component of the slot and at the first byte of the payload.
struct ScalarKernel
{
    template <uint32_t networkBits, class Layout>
    static void ToSlot(uint8_t* slot, uint64_t firstComponent, const uint8_t* payload, uint64_t components)
    {
        using Network = PackedBig<networkBits>;
        ForRun(
            firstComponent, components,
            [&](uint64_t done)
            {
                const uint32_t value = Network::LoadOne(payload, done);
                Layout::StoreOne(slot, firstComponent + done, Scale<networkBits, Layout::depth>(value));
            },
            [&](uint64_t done)
            {
                const Lanes quad = Network::LoadQuad(payload, done);
                Layout::StoreQuad(slot, firstComponent + done, ScaleQuad<networkBits, Layout::depth>(quad));
            });
    }

    template <uint32_t networkBits, class Layout>
    static void FromSlot(const uint8_t* slot, uint64_t firstComponent, uint8_t* payload, uint64_t components)
    {
        using Network = PackedBig<networkBits>;
        ForRun(
            firstComponent, components,
            [&](uint64_t done)
            {
                const uint32_t value = Layout::LoadOne(slot, firstComponent + done);
                Network::StoreOne(payload, done, Scale<Layout::depth, networkBits>(value));
            },
            [&](uint64_t done)
            {
                const Lanes quad = Layout::LoadQuad(slot, firstComponent + done);
                Network::StoreQuad(payload, done, ScaleQuad<Layout::depth, networkBits>(quad));
            });
    }
};

} // namespace mxs::media::layouts
