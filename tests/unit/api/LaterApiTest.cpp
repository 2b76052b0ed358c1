// Functions that this version exports and does not carry out.
#include "zefaline.h"

#include <gtest/gtest.h>

TEST(LaterApi, SaysThatItIsNotImplemented)
{
    EXPECT_EQ(ZEFA_SlotAncAllocatePacket(nullptr, nullptr, 0, nullptr), ZEFA_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(ZEFA_SlotAncGetNbPackets(nullptr, nullptr, 0, 0, nullptr), ZEFA_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(ZEFA_SlotAncGetPacket(nullptr, nullptr, 0, 0, 0, nullptr), ZEFA_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(ZEFA_SlotAncInsertPacket(nullptr, nullptr, 0, 0, 0, nullptr), ZEFA_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(ZEFA_SlotAncRemovePacket(nullptr, nullptr, 0, 0, 0, 0), ZEFA_ERR_NOT_IMPLEMENTED);
}
