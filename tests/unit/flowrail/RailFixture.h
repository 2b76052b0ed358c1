// A rail with a name of its own, and both of its ends.
#ifndef TESTS_UNIT_FLOWRAIL_RAILFIXTURE_H
#define TESTS_UNIT_FLOWRAIL_RAILFIXTURE_H

#include "RailDescription.h"
#include "RailLayout.h"
#include "flowrail1.h"

#include <atomic>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace railtest
{
inline std::string UniqueName(const char* purpose)
{
    static std::atomic<int> count{0};
    return std::string("test-") + purpose + "-" + std::to_string(getpid()) + "-" + std::to_string(++count);
}

inline FLOW_RAIL_DESCRIPTOR Describe(const std::string& name, uint32_t slotBytes, uint32_t slotCount,
                                     const char* role = "producer")
{
    FLOW_RAIL_DESCRIPTOR descriptor{};
    descriptor.Type = FLOW_RAIL_TYPE_FILE_MAP;
    descriptor.Description = {{"Name", name},
                              {"SlotBytes", std::to_string(slotBytes)},
                              {"SlotCount", std::to_string(slotCount)},
                              {"Role", role}};
    return descriptor;
}

inline std::unique_ptr<CFlowRail> NewRail()
{
    return std::unique_ptr<CFlowRail>(CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP));
}

// The two sides on objects and mappings of their own, as in two processes.
class RailPair
{
public:
    RailPair(uint32_t slotBytes, uint32_t slotCount, const char* role = "producer")
        : Descriptor(Describe(UniqueName("pair"), slotBytes, slotCount, role))
    {
        EXPECT_EQ(Creator->Create(&Descriptor), FLOW_RAIL_OK);
        EXPECT_EQ(Other->Open(&Descriptor), FLOW_RAIL_OK);
        const bool creatorProduces = std::string(role) == "producer";
        Producer = creatorProduces ? Creator.get() : Other.get();
        Consumer = creatorProduces ? Other.get() : Creator.get();
    }

    void Join() { ASSERT_EQ(Consumer->AddConsumer(&Token), FLOW_RAIL_OK); }

    // Writes `size` bytes of one value.
    uint32_t Put(uint32_t size, uint8_t value)
    {
        void* slot = nullptr;
        const uint32_t result = Producer->LockProducer(size, 0, &slot);
        if (result != FLOW_RAIL_OK) return result;
        std::fill_n(Address(*Producer, slot), size, value);
        return Producer->UnlockProducer(slot);
    }

    // Reads `size` bytes; -1 when they are not all the same, -100 - result when there is none.
    int Take(uint32_t size) { return TakeFrom(*Consumer, &Token, size); }

    static int TakeFrom(CFlowRail& rail, uint64_t* token, uint32_t size)
    {
        void* slot = nullptr;
        const uint32_t result = rail.LockConsumer(token, size, 0, &slot);
        if (result != FLOW_RAIL_OK) return -100 - static_cast<int>(result);
        const uint8_t* const bytes = Address(rail, slot);
        const int value = std::count(bytes, bytes + size, bytes[0]) == size ? bytes[0] : -1;
        EXPECT_EQ(rail.UnlockConsumer(token, slot), FLOW_RAIL_OK);
        return value;
    }

    static uint8_t* Address(CFlowRail& rail, void* slot)
    {
        uint8_t* address = nullptr;
        EXPECT_EQ(rail.GetSlotAddress(slot, &address), FLOW_RAIL_OK);
        return address;
    }

    std::string Name() const { return Descriptor.Description.find("Name")->second; }

    FLOW_RAIL_DESCRIPTOR Descriptor;
    std::unique_ptr<CFlowRail> Creator = NewRail(), Other = NewRail();
    CFlowRail* Producer;
    CFlowRail* Consumer;
    uint64_t Token = 0;
};

// Somebody who writes into the shared file what he likes.
class Vandal
{
public:
    explicit Vandal(const std::string& name)
    {
        const int file = open(Quillmont::FlowRail::RailPath(name).c_str(), O_RDWR | O_CLOEXEC);
        EXPECT_GE(file, 0);
        Bytes = static_cast<uint64_t>(lseek(file, 0, SEEK_END));
        void* const mapped = mmap(nullptr, Bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        EXPECT_NE(mapped, MAP_FAILED);
        Base = static_cast<uint8_t*>(mapped);
        close(file);
    }
    ~Vandal() { munmap(Base, Bytes); }
    Vandal(const Vandal&) = delete;
    Vandal& operator=(const Vandal&) = delete;

    Quillmont::FlowRail::RailHeader& Header() { return *reinterpret_cast<Quillmont::FlowRail::RailHeader*>(Base); }
    Quillmont::FlowRail::RailTable& Table(uint64_t index)
    {
        return *reinterpret_cast<Quillmont::FlowRail::RailTable*>(Base + Quillmont::FlowRail::kTablesOffset +
                                                                  index * Header().Geometry.TableBytes);
    }

private:
    uint8_t* Base;
    uint64_t Bytes;
};
} // namespace railtest

#endif
