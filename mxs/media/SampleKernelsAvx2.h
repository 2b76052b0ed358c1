// The loops of a conversion for processors with AVX2: sixteen components at a time in the 16-bit lanes of a register.
// What does not fill sixteen is left to the scalar loops. Nothing outside of a run is read or written.
#pragma once

#if defined(__x86_64__)

#include "SampleKernels.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <immintrin.h>

// Each function bears it, so that the compiler uses these instructions nowhere else.
#define MXS_AVX2 __attribute__((target("avx2")))
#define MXS_AVX2_INLINE __attribute__((target("avx2"), always_inline)) inline

namespace mxs::media::layouts::avx2
{

constexpr uint32_t kLanes = 16;
constexpr uint32_t kHalfLanes = 8; // byte shuffles stay within a half of the register, of 16 bytes
constexpr uint32_t kHalfBytes = 16;
constexpr uint8_t kZeroByte = 0x80; // of a shuffle

struct alignas(32) Shuffle
{
    std::array<uint8_t, 32> from{};
};
struct alignas(32) Factors
{
    std::array<uint16_t, kLanes> lane{};
};

template <class Constant>
MXS_AVX2_INLINE __m256i Load(const Constant& constant)
{
    return _mm256_load_si256(reinterpret_cast<const __m256i*>(&constant));
}

MXS_AVX2_INLINE __m128i LoadHalf(const uint8_t* from)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

// Sixteen packed components are 2 x `bits` bytes.
template <uint32_t bits, Endianness order>
struct Packed
{
    static constexpr uint32_t storedBits = bits;
    static constexpr uint32_t secondHalfAt = 2 * bits - kHalfBytes; // two loads that overlap read exactly all bytes

    // The two bytes that a component touches, as a number, ...
    static constexpr Shuffle BytesOfLanes()
    {
        Shuffle shuffle;
        for (uint32_t lane = 0; lane < kLanes; ++lane)
        {
            const uint32_t half = lane / kHalfLanes;
            const uint32_t first = lane % kHalfLanes * bits / 8 + half * (bits - secondHalfAt);
            const auto here = static_cast<uint8_t>(first);
            const auto next = first + 1 < kHalfBytes ? static_cast<uint8_t>(first + 1) : kZeroByte; // of 8 bits: unused
            shuffle.from[size_t{2} * lane] = order == kBigEndian ? next : here;
            shuffle.from[size_t{2} * lane + 1] = order == kBigEndian ? here : next;
        }
        return shuffle;
    }
    // ... and the factor that moves it up until what stands above it falls out.
    static constexpr Factors LeftShifts()
    {
        Factors factors;
        for (uint32_t lane = 0; lane < kLanes; ++lane)
        {
            const uint32_t inByte = lane * bits % 8;
            factors.lane[lane] = static_cast<uint16_t>(1u << (order == kBigEndian ? inByte : 16 - bits - inByte));
        }
        return factors;
    }
    // Fours of components stand in 64 bits. The second half is turned round, so that it goes on where the first ends.
    static constexpr Shuffle BytesOfFours()
    {
        constexpr uint32_t bytesOfFour = bits / 2;
        Shuffle shuffle;
        shuffle.from.fill(kZeroByte);
        for (uint32_t half = 0; half < 2; ++half)
            for (uint32_t byte = 0; byte < bits; ++byte)
            {
                const uint32_t inFour = byte % bytesOfFour;
                const uint32_t from =
                    byte / bytesOfFour * 8 + (order == kBigEndian ? bytesOfFour - 1 - inFour : inFour);
                const uint32_t to = (byte + half * bits) % kHalfBytes;
                shuffle.from[half * kHalfBytes + to] = static_cast<uint8_t>(from);
            }
        return shuffle;
    }

    MXS_AVX2_INLINE static __m256i LoadLanes(const uint8_t* from)
    {
        static constexpr Shuffle bytes = BytesOfLanes();
        static constexpr Factors shifts = LeftShifts();
        const __m256i first = _mm256_castsi128_si256(LoadHalf(from));
        const __m256i packed = _mm256_inserti128_si256(first, LoadHalf(from + secondHalfAt), 1);
        const __m256i lanes = _mm256_shuffle_epi8(packed, Load(bytes));
        return _mm256_srli_epi16(_mm256_mullo_epi16(lanes, Load(shifts)), 16 - bits);
    }
    MXS_AVX2_INLINE static void StoreLanes(uint8_t* to, __m256i lanes)
    {
        static constexpr Shuffle bytes = BytesOfFours();
        constexpr int above = 1 << bits, joined = order == kBigEndian ? 1 << 16 | above : above << 16 | 1;
        constexpr int unused = 32 - 2 * static_cast<int>(bits); // of the 32 bits that a pair stands in
        __m256i pairs = _mm256_madd_epi16(lanes, _mm256_set1_epi32(joined));
        if constexpr (order == kBigEndian) pairs = _mm256_shuffle_epi32(pairs, 0xB1); // the first to the upper place
        const __m256i fours =
            _mm256_srli_epi64(_mm256_sllv_epi32(pairs, _mm256_set1_epi64x(unused)), unused); // the lower one goes up
        const __m256i packed = _mm256_shuffle_epi8(fours, Load(bytes));
        const __m128i first = _mm256_castsi256_si128(packed), second = _mm256_extracti128_si256(packed, 1);
        constexpr int wordsOfSecond = 0xFF << bits / 2 & 0xFF;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_blend_epi16(first, second, wordsOfSecond));
        const int64_t rest = _mm_cvtsi128_si64(second);
        std::memcpy(to + kHalfBytes, &rest, secondHalfAt);
    }
};

template <uint32_t bits, uint32_t wordBytes, Endianness order>
struct Words
{
    static constexpr uint32_t storedBits = 8 * wordBytes;

    static constexpr Shuffle SwappedBytes()
    {
        Shuffle shuffle;
        for (uint32_t byte = 0; byte < shuffle.from.size(); ++byte)
            shuffle.from[byte] = static_cast<uint8_t>((byte ^ (wordBytes - 1)) % kHalfBytes);
        return shuffle;
    }
    MXS_AVX2_INLINE static __m256i InOrder(__m256i words)
    {
        static constexpr Shuffle swapped = SwappedBytes();
        if constexpr (order == kLittleEndian) return words;
        return _mm256_shuffle_epi8(words, Load(swapped));
    }
    MXS_AVX2_INLINE static __m256i LoadWords(const uint8_t* from)
    {
        return InOrder(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)));
    }
    MXS_AVX2_INLINE static void StoreWords(uint8_t* to, __m256i words)
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), InOrder(words));
    }

    MXS_AVX2_INLINE static __m256i LoadLanes(const uint8_t* from)
    {
        constexpr int highest = (1 << bits) - 1;
        if constexpr (wordBytes == 2)
            return _mm256_min_epu16(LoadWords(from), _mm256_set1_epi16(highest));
        else
        {
            const __m256i most = _mm256_set1_epi32(highest);
            const __m256i first = _mm256_min_epu32(LoadWords(from), most);
            const __m256i second = _mm256_min_epu32(LoadWords(from + 32), most);
            return _mm256_permute4x64_epi64(_mm256_packus_epi32(first, second), 0xD8); // packed half by half
        }
    }
    MXS_AVX2_INLINE static void StoreLanes(uint8_t* to, __m256i lanes)
    {
        if constexpr (wordBytes == 2)
            StoreWords(to, lanes);
        else
        {
            StoreWords(to, _mm256_cvtepu16_epi32(_mm256_castsi256_si128(lanes)));
            StoreWords(to + 32, _mm256_cvtepu16_epi32(_mm256_extracti128_si256(lanes, 1)));
        }
    }
};

template <uint32_t from, uint32_t to>
MXS_AVX2_INLINE __m256i ScaleLanes(__m256i lanes)
{
    if constexpr (to >= from)
        return _mm256_slli_epi16(lanes, to - from);
    else
    {
        const __m256i half = _mm256_set1_epi16(1 << (from - to - 1));
        const __m256i rounded = _mm256_srli_epi16(_mm256_add_epi16(lanes, half), from - to);
        return _mm256_min_epu16(rounded, _mm256_set1_epi16((1 << to) - 1));
    }
}

// The layout that a scalar one is here.
template <class Layout>
struct LanesOf;
template <uint32_t bits>
struct LanesOf<PackedBig<bits>> : Packed<bits, kBigEndian>
{
};
template <uint32_t bits>
struct LanesOf<PackedLittle<bits>> : Packed<bits, kLittleEndian>
{
};
template <uint32_t bits, uint32_t wordBytes, Endianness order>
struct LanesOf<Word<bits, wordBytes, order>> : Words<bits, wordBytes, order>
{
};

struct Kernel
{
    template <uint32_t networkBits, class Layout>
    MXS_AVX2 static void ToSlot(uint8_t* slot, uint64_t firstComponent, const uint8_t* payload, uint64_t components)
    {
        using Network = LanesOf<PackedBig<networkBits>>;
        using Application = LanesOf<Layout>;
        uint64_t done = BeforeFours(firstComponent, components);
        ScalarKernel::ToSlot<networkBits, Layout>(slot, firstComponent, payload, done);
        for (; done + kLanes <= components; done += kLanes)
        {
            const __m256i lanes = Network::LoadLanes(payload + done * networkBits / 8);
            Application::StoreLanes(slot + (firstComponent + done) * Application::storedBits / 8,
                                    ScaleLanes<networkBits, Layout::depth>(lanes));
        }
        ScalarKernel::ToSlot<networkBits, Layout>(slot, firstComponent + done, payload + done * networkBits / 8,
                                                  components - done);
    }

    template <uint32_t networkBits, class Layout>
    MXS_AVX2 static void FromSlot(const uint8_t* slot, uint64_t firstComponent, uint8_t* payload, uint64_t components)
    {
        using Network = LanesOf<PackedBig<networkBits>>;
        using Application = LanesOf<Layout>;
        uint64_t done = BeforeFours(firstComponent, components);
        ScalarKernel::FromSlot<networkBits, Layout>(slot, firstComponent, payload, done);
        for (; done + kLanes <= components; done += kLanes)
        {
            const __m256i lanes = Application::LoadLanes(slot + (firstComponent + done) * Application::storedBits / 8);
            Network::StoreLanes(payload + done * networkBits / 8, ScaleLanes<Layout::depth, networkBits>(lanes));
        }
        ScalarKernel::FromSlot<networkBits, Layout>(slot, firstComponent + done, payload + done * networkBits / 8,
                                                    components - done);
    }
};

} // namespace mxs::media::layouts::avx2

#undef MXS_AVX2
#undef MXS_AVX2_INLINE

#endif
