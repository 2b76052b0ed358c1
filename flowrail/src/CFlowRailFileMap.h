// The one kind of rail that there is: a mapped file. Checks handles and tokens; the two views do the work.
#ifndef FLOWRAIL_CFLOWRAILFILEMAP_H
#define FLOWRAIL_CFLOWRAILFILEMAP_H

#include "RailConsumer.h"
#include "RailProducer.h"
#include "flowrail1.h"

#include <array>
#include <memory>
#include <mutex>

namespace Quillmont::FlowRail
{
class CFlowRailFileMap final : public CFlowRail
{
public:
    CFlowRailFileMap() = default;
    ~CFlowRailFileMap() override;
    CFlowRailFileMap(const CFlowRailFileMap&) = delete;
    CFlowRailFileMap& operator=(const CFlowRailFileMap&) = delete;

    uint32_t Create(FLOW_RAIL_DESCRIPTOR* descriptor) override;
    uint32_t Open(const FLOW_RAIL_DESCRIPTOR* descriptor) override;
    uint32_t Close() override;
    uint32_t AddConsumer(uint64_t* consumer) override;
    uint32_t RemoveConsumer(uint64_t* consumer) override;
    uint32_t GetConsumerFill(uint64_t* consumer, uint32_t reserved) override;
    uint32_t GetProducerSpace(uint32_t reserved) override;
    uint32_t LockProducer(uint32_t size, uint32_t timeoutMs, void** slot) override;
    uint32_t UnlockProducer(void* slot) override;
    uint32_t LockConsumer(uint64_t* consumer, uint32_t size, uint32_t timeoutMs, void** slot) override;
    uint32_t UnlockConsumer(uint64_t* consumer, void* slot) override;
    uint32_t GetConsumerAlignment(uint64_t* consumer, uint32_t* size) override;
    uint32_t GetSlotAddress(void* slot, uint8_t** address) override;
    uint32_t GetMetadata(void* slot, uint32_t type, FLOW_RAIL_METADATA* records, uint32_t count,
                         uint32_t* retrieved) override;
    uint32_t AddMetadata(void* slot, uint32_t type, uint32_t position, uint32_t value) override;
    uint32_t GetStatus(FLOW_RAIL_STATUS* status) override;
    uint32_t GetMetadataCount(void* slot, uint32_t type, uint32_t* count) override;

private:
    void Detach();
    RailConsumer* FindConsumer(const uint64_t* token) const;
    const RailRegion* FindRegion(void* slot) const;

    // Destroyed from the last to the first: the views use the file.
    std::unique_ptr<RailFile> File;
    std::atomic<uint32_t> OwnConsumers{0}; // a bit for each of Consumers
    std::unique_ptr<RailProducer> Producer;
    std::mutex ConsumersMutex; // joining and leaving of several consumers of this object; never on the media path
    std::array<std::unique_ptr<RailConsumer>, kMaxConsumers> Consumers;
};
} // namespace Quillmont::FlowRail

#endif
