// The scripted rail.
#include "support/FakeFlowRail.h"

#include <algorithm>

#include "support/CallJournal.h"

FakeFlowRail& FakeFlowRail::Instance()
{
    static FakeFlowRail instance;
    return instance;
}

void FakeFlowRail::Reset(size_t slotCount, size_t slotBytes)
{
    while (!Rails.empty())
        delete *Rails.begin(); // which takes itself out of the set
    *this = FakeFlowRail();
    for (size_t i = 0; i < slotCount; ++i)
        Slots.push_back({std::vector<uint8_t>(slotBytes), {}});
}

std::string FakeFlowRail::NameOf(const void* slot) const
{
    for (size_t i = 0; i < Slots.size(); ++i)
        if (&Slots[i] == slot) return "slot " + std::to_string(i);
    return "no slot";
}

uint32_t FakeFlowRail::Result(Operation operation)
{
    if (Scripted[operation].empty()) return Standing[operation];
    const uint32_t result = Scripted[operation].front();
    Scripted[operation].pop_front();
    return result;
}

void FakeFlowRail::Note(const std::string& call) const
{
    CallJournal::Instance().Add(call);
}

FakeFlowRail::Slot* FakeFlowRail::TakeSlot()
{
    return &Slots[NextSlot++ % Slots.size()];
}

FakeFlowRail::Slot* FakeFlowRail::FindSlot(const void* slot)
{
    const auto found = std::find_if(Slots.begin(), Slots.end(), [slot](const Slot& each) { return &each == slot; });
    return found == Slots.end() ? nullptr : &*found;
}

// Texts are put together only while the journal is on, since the sum of them allocates.
#define NOTE(text)                                                                                                     \
    if (Fake().Journals) Fake().Note(text)

class FakeRail : public CFlowRail
{
public:
    FakeRail() { Fake().Rails.insert(this); }

    ~FakeRail() override
    {
        NOTE("delete rail");
        Fake().Rails.erase(this);
    }

    uint32_t Create(FLOW_RAIL_DESCRIPTOR*) override
    {
        NOTE("Create");
        return FLOW_RAIL_BAD_ARGUMENT;
    }

    uint32_t Open(const FLOW_RAIL_DESCRIPTOR* descriptor) override
    {
        std::string description;
        for (const auto& [key, value] : descriptor->Description)
            description += ", " + key + "=" + value;
        NOTE("Open(type " + std::to_string(descriptor->Type) + description + ")");
        return Fake().Result(FakeFlowRail::OPEN);
    }

    uint32_t Close() override
    {
        NOTE("Close");
        const uint32_t result = Fake().Result(FakeFlowRail::CLOSE);
        if (result == FLOW_RAIL_OK && Fake().WipesAtClose)
            for (FakeFlowRail::Slot& slot : Fake().Slots)
                std::fill(slot.Bytes.begin(), slot.Bytes.end(), uint8_t{0xEE});
        return result;
    }

    uint32_t AddConsumer(uint64_t* consumer) override
    {
        NOTE("AddConsumer");
        *consumer = Fake().ConsumerToken;
        return Fake().Result(FakeFlowRail::ADD_CONSUMER);
    }

    uint32_t RemoveConsumer(uint64_t* consumer) override
    {
        NOTE("RemoveConsumer(" + Text(*consumer) + ")");
        return Fake().Result(FakeFlowRail::REMOVE_CONSUMER);
    }

    uint32_t GetConsumerFill(uint64_t* consumer, uint32_t reserved) override
    {
        NOTE("GetConsumerFill(" + Text(*consumer) + ", " + Text(reserved) + ")");
        return Fake().FillBytes;
    }

    uint32_t GetProducerSpace(uint32_t reserved) override
    {
        NOTE("GetProducerSpace(" + Text(reserved) + ")");
        return Fake().SpaceBytes;
    }

    uint32_t LockProducer(uint32_t size, uint32_t timeoutMs, void** slot) override
    {
        NOTE("LockProducer(" + Text(size) + ", " + Text(timeoutMs) + ")");
        if (Fake().WhileLocking) Fake().WhileLocking();
        const uint32_t result = Fake().Result(FakeFlowRail::LOCK_PRODUCER);
        if (result == FLOW_RAIL_OK) *slot = Fake().TakeSlot();
        return result;
    }

    uint32_t UnlockProducer(void* slot) override
    {
        NOTE("UnlockProducer(" + Fake().NameOf(slot) + ")");
        return Fake().Result(FakeFlowRail::UNLOCK_PRODUCER);
    }

    uint32_t LockConsumer(uint64_t* consumer, uint32_t size, uint32_t timeoutMs, void** slot) override
    {
        NOTE("LockConsumer(" + Text(*consumer) + ", " + Text(size) + ", " + Text(timeoutMs) + ")");
        if (Fake().WhileLocking) Fake().WhileLocking();
        const uint32_t result = Fake().Result(FakeFlowRail::LOCK_CONSUMER);
        if (result == FLOW_RAIL_OK) *slot = Fake().TakeSlot();
        return result;
    }

    uint32_t UnlockConsumer(uint64_t* consumer, void* slot) override
    {
        NOTE("UnlockConsumer(" + Text(*consumer) + ", " + Fake().NameOf(slot) + ")");
        return Fake().Result(FakeFlowRail::UNLOCK_CONSUMER);
    }

    uint32_t GetConsumerAlignment(uint64_t* consumer, uint32_t* size) override
    {
        NOTE("GetConsumerAlignment(" + Text(*consumer) + ")");
        *size = Fake().AlignmentBytes;
        return Fake().Result(FakeFlowRail::GET_CONSUMER_ALIGNMENT);
    }

    uint32_t GetSlotAddress(void* slot, uint8_t** address) override
    {
        NOTE("GetSlotAddress(" + Fake().NameOf(slot) + ")");
        const uint32_t result = Fake().Result(FakeFlowRail::GET_SLOT_ADDRESS);
        if (result == FLOW_RAIL_OK) *address = Fake().FindSlot(slot)->Bytes.data();
        return result;
    }

    uint32_t GetMetadata(void* slot, uint32_t type, FLOW_RAIL_METADATA* records, uint32_t count,
                         uint32_t* retrieved) override
    {
        NOTE("GetMetadata(" + Fake().NameOf(slot) + ", " + Text(type) + ", " + Text(count) + ")");
        uint32_t copied = 0;
        for (const FLOW_RAIL_METADATA& record : Fake().FindSlot(slot)->Records)
            if (IsWanted(record, type) && copied < count) records[copied++] = record;
        *retrieved = copied - static_cast<uint32_t>(Fake().RetrievedTooFew);
        return Fake().Result(FakeFlowRail::GET_METADATA);
    }

    uint32_t AddMetadata(void* slot, uint32_t type, uint32_t position, uint32_t value) override
    {
        NOTE("AddMetadata(" + Fake().NameOf(slot) + ", " + Text(type) + ", " + Text(position) + ", " + Text(value) +
             ")");
        return Fake().Result(FakeFlowRail::ADD_METADATA);
    }

    uint32_t GetStatus(FLOW_RAIL_STATUS*) override
    {
        NOTE("GetStatus");
        return FLOW_RAIL_BAD_ARGUMENT;
    }

    uint32_t GetMetadataCount(void* slot, uint32_t type, uint32_t* count) override
    {
        NOTE("GetMetadataCount(" + Fake().NameOf(slot) + ", " + Text(type) + ")");
        const auto& records = Fake().FindSlot(slot)->Records;
        *count = static_cast<uint32_t>(std::count_if(
            records.begin(), records.end(), [type](const FLOW_RAIL_METADATA& each) { return IsWanted(each, type); }));
        return Fake().Result(FakeFlowRail::GET_METADATA_COUNT);
    }

private:
    static FakeFlowRail& Fake() { return FakeFlowRail::Instance(); }
    static std::string Text(uint64_t number) { return std::to_string(number); }
    static bool IsWanted(const FLOW_RAIL_METADATA& record, uint32_t type)
    {
        return FakeFlowRail::Instance().GivesRecordsOfAnyType || record.Type == type;
    }
};

uint64_t CFlowRail::GetVersion()
{
    return 0x0001000000000000;
}

bool CFlowRail::SetLoggingParameters(const std::multimap<std::string, std::string>&)
{
    return true;
}

CFlowRail* CFlowRailFactory::CreateInstance(FlowRailType type)
{
    FakeFlowRail& fake = FakeFlowRail::Instance();
    fake.Note("CreateInstance(" + std::to_string(type) + ")");
    return fake.CreateGivesNull ? nullptr : new FakeRail;
}

uint32_t CFlowRailFactory::RemoveAbandoned(const std::string&)
{
    return 0;
}
