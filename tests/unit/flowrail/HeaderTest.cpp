// The public header alone, in the language of the oldest compiler that may read it.
#include "flowrail1.h"

// Places are part of the binary interface: the address of a virtual function holds its place, in bytes plus one.
template <class Function>
static unsigned long PlaceOf(Function function)
{
    static_assert(sizeof(Function) == 2 * sizeof(unsigned long), "an address and an adjustment");
    unsigned long words[2];
    __builtin_memcpy(words, &function, sizeof words);
    return (words[0] - 1) / sizeof(void*);
}

static bool PlacesAreInOrder()
{
    // The destructor takes the first two entries of the table, so every place is one further.
    const unsigned long places[] = {PlaceOf(&CFlowRail::Create),
                                    PlaceOf(&CFlowRail::Open),
                                    PlaceOf(&CFlowRail::Close),
                                    PlaceOf(&CFlowRail::AddConsumer),
                                    PlaceOf(&CFlowRail::RemoveConsumer),
                                    PlaceOf(&CFlowRail::GetConsumerFill),
                                    PlaceOf(&CFlowRail::GetProducerSpace),
                                    PlaceOf(&CFlowRail::LockProducer),
                                    PlaceOf(&CFlowRail::UnlockProducer),
                                    PlaceOf(&CFlowRail::LockConsumer),
                                    PlaceOf(&CFlowRail::UnlockConsumer),
                                    PlaceOf(&CFlowRail::GetConsumerAlignment),
                                    PlaceOf(&CFlowRail::GetSlotAddress),
                                    PlaceOf(&CFlowRail::GetMetadata),
                                    PlaceOf(&CFlowRail::AddMetadata),
                                    PlaceOf(&CFlowRail::GetStatus),
                                    PlaceOf(&CFlowRail::GetMetadataCount)};
    for (unsigned long index = 0; index < sizeof places / sizeof places[0]; ++index)
        if (places[index] != index + 2) return false;
    return true;
}

int main()
{
    static_assert(sizeof(FLOW_RAIL_METADATA) == 12, "three words");
    CFlowRail* const rail = CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP);
    const bool good = rail && rail->Close() == FLOW_RAIL_OK && CFlowRail::GetVersion() != 0 && PlacesAreInOrder();
    delete rail;
    return good ? 0 : 1;
}
