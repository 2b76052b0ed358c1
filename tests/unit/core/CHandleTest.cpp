// The handle check.
#include "core/CHandle.h"

#include <array>
#include <cstring>
#include <gtest/gtest.h>

using namespace Quillmont::Trellis::Zefa;

namespace
{
struct Lamp : CHandle
{
    static constexpr uint32_t kTypeTag = 0x0A21;
    uint32_t GetType() const override { return kTypeTag; }
    int Watts = 60;
};

struct DimmedLamp : Lamp
{
};

struct Chair : CHandle
{
    static constexpr uint32_t kTypeTag = 0x0A22;
    uint32_t GetType() const override { return kTypeTag; }
};

struct Lantern : CHandle // shares the low 8 bits with Lamp
{
    static constexpr uint32_t kTypeTag = 0x0B21;
    uint32_t GetType() const override { return kTypeTag; }
};
} // namespace

TEST(HandleCast, GivesTheObjectOfItsOwnKind)
{
    Lamp lamp;

    EXPECT_EQ(HandleCast<Lamp>(ToHandle(&lamp)), &lamp);
    EXPECT_EQ(HandleCast<Lamp>(ToHandle(&lamp))->Watts, 60);
}

TEST(HandleCast, LetsADerivedClassThroughThatKeepsTheTag)
{
    DimmedLamp lamp;

    EXPECT_EQ(HandleCast<Lamp>(ToHandle(&lamp)), &lamp);
}

TEST(HandleCast, RefusesNullAndAnotherKind)
{
    Chair chair;

    EXPECT_EQ(HandleCast<Lamp>(nullptr), nullptr);
    EXPECT_EQ(HandleCast<Lamp>(ToHandle(&chair)), nullptr);
}

TEST(HandleCast, RefusesMemoryWithoutTheMagic)
{
    alignas(16) std::array<uint64_t, 8> noObject{};

    EXPECT_EQ(HandleCast<Lamp>(noObject.data()), nullptr);
}

TEST(CheckHandle, ComparesAsManyBitsOfTheTagAsItIsTold)
{
    Lantern lantern;

    EXPECT_EQ(CheckHandle(ToHandle(&lantern), Lamp::kTypeTag, kTagBits8), &lantern);
    EXPECT_EQ(CheckHandle(ToHandle(&lantern), Lamp::kTypeTag, kTagBits16), nullptr);
    EXPECT_EQ(CheckHandle(ToHandle(&lantern), Lantern::kTypeTag, kTagBits16), &lantern);
}

TEST(CHandle, HandleIsTheAddressAndTheMagicFollowsTheTableOfVirtuals)
{
    Lamp lamp;
    std::array<char, 8> bytes{};

    std::memcpy(bytes.data(), static_cast<const char*>(ToHandle(&lamp)) + sizeof(void*), bytes.size());

    EXPECT_EQ(ToHandle(&lamp), static_cast<void*>(&lamp));
    EXPECT_STREQ(bytes.data(), "ELDNAHC");
    EXPECT_EQ(bytes[7], '\0');
}
