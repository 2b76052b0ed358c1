// One way through the rail: the receiver sleeps in its lock and tells the time it took.
#include "OneWay.h"
#include "Partner.h"
#include "flowrail1.h"

#include <cstring>
#include <memory>
#include <string>

namespace railbench
{
namespace
{
class RailRoad : public OneWayRoad
{
public:
    RailRoad(uint32_t slotBytes, unsigned receiverCpu)
        : Bytes(slotBytes), Descriptor{FLOW_RAIL_TYPE_FILE_MAP,
                                       {{"Name", "bench-way-" + std::to_string(getpid())},
                                        {"SlotBytes", std::to_string(slotBytes)},
                                        {"SlotCount", "2"}}},
          Receiver([this, receiverCpu](const Partner& line) { Receive(line, receiverCpu); }),
          Rail(CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP))
    {
        if (Rail->Create(&Descriptor) != FLOW_RAIL_OK) Fail("a rail");
        Receiver.Say();
        Receiver.Hear();
    }
    ~RailRoad() override { Rail.reset(); } // which ends the receiver

    int64_t Measure() override
    {
        void* slot = nullptr;
        uint8_t* address = nullptr;
        if (Rail->LockProducer(Bytes, 1000, &slot) != FLOW_RAIL_OK) Fail("LockProducer");
        Rail->GetSlotAddress(slot, &address);
        const int64_t sent = NowNs();
        std::memcpy(address, &sent, sizeof sent);
        Rail->UnlockProducer(slot);
        int64_t taken = 0;
        if (read(Receiver.Line(), &taken, sizeof taken) != static_cast<ssize_t>(sizeof taken)) Fail("the receiver");
        return taken;
    }

private:
    void Receive(const Partner& line, unsigned cpu) const
    {
        PinTo(cpu);
        line.Hear();
        const std::unique_ptr<CFlowRail> rail(CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP));
        uint64_t token = 0;
        if (rail->Open(&Descriptor) != FLOW_RAIL_OK || rail->AddConsumer(&token) != FLOW_RAIL_OK) Fail("Open");
        line.Say();
        uint32_t result = 0;
        void* slot = nullptr;
        while ((result = rail->LockConsumer(&token, Bytes, 1000, &slot)) != FLOW_RAIL_BAD_STATE)
        {
            if (result != FLOW_RAIL_OK) continue;
            const int64_t now = NowNs();
            uint8_t* address = nullptr;
            int64_t sent = 0;
            rail->GetSlotAddress(slot, &address);
            std::memcpy(&sent, address, sizeof sent);
            const int64_t taken = now - sent;
            rail->UnlockConsumer(&token, slot);
            if (write(line.Line(), &taken, sizeof taken) != static_cast<ssize_t>(sizeof taken)) return;
        }
    }

    const uint32_t Bytes;
    FLOW_RAIL_DESCRIPTOR Descriptor;
    Partner Receiver;
    std::unique_ptr<CFlowRail> Rail;
};
} // namespace

OneWayRoad* NewRailRoad(uint32_t slotBytes, unsigned receiverCpu)
{
    return new RailRoad(slotBytes, receiverCpu);
}
} // namespace railbench
