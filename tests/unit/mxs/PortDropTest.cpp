// UDP port drops, over HTTP and as receivers read them.
#include "ServiceFixture.h"

#include "mxs/PortDropStore.h"

#include <thread>

namespace test
{
namespace
{

using PortDrops = ServiceTest;

TEST_F(PortDrops, AreMadeFoundListedAndRemoved)
{
    Session session(Port());
    const std::string list = "MXS/NetIf/" + session.Loopback() + "/UdpPortDrop/", port = "000000000000138c";
    EXPECT_EQ(5005u, session.Get(list + port).ErrCode());
    EXPECT_EQ(5005u, session.Send("DELETE", list + port).ErrCode());
    EXPECT_EQ(404u, session.Send("DELETE", list + port).status);

    EXPECT_EQ(201u, session.Send("PUT", list + port).status);
    EXPECT_EQ(200u, session.Send("PUT", list + port).status);
    EXPECT_EQ(200u, session.Get(list + port).status);
    EXPECT_EQ(201u, session.Send("PUT", list + "000000000000ffff").status);
    EXPECT_EQ(201u, session.Send("PUT", list + "0000000000000000").status);
    EXPECT_EQ(json({{"ID", {"0000000000000000", port, "000000000000ffff"}}}), session.GetJson(list));

    EXPECT_EQ(200u, session.Send("DELETE", list + port).status);
    EXPECT_EQ(5005u, session.Get(list + port).ErrCode());
    EXPECT_TRUE(LogHolds("UDP port 5004"));
}

TEST_F(PortDrops, APortAbove65535IsABadValueAndNoIdentifierABadPath)
{
    Session session(Port());
    const std::string list = "MXS/NetIf/" + session.Loopback() + "/UdpPortDrop/";
    EXPECT_EQ(4u, session.Send("PUT", list + "0000000000010000").ErrCode());
    EXPECT_EQ(5008u, session.Send("PUT", list + "5004").ErrCode());
    EXPECT_EQ(8u, session.Send("PUT", "MXS/NetIf/1500000000fffff0/UdpPortDrop/000000000000138c").ErrCode());
}

TEST_F(PortDrops, BelongToTheInterfaceAndOutliveTheContext)
{
    Session first(Port()), second(Port());
    const std::string path = "MXS/NetIf/" + first.Loopback() + "/UdpPortDrop/0000000000000001";
    first.Send("PUT", path);
    first.Send("DELETE", "MXS/ContextManager/Context/" + first.ContextId);
    EXPECT_EQ(200u, second.Get(path).status);
}

TEST(PortDropStore, RulesOfOneInterfaceAreNotThoseOfAnother)
{
    mxs::PortDropStore store;
    EXPECT_FALSE(store.IsDropped(1, 5004));
    EXPECT_TRUE(store.Add(1, 5004));
    EXPECT_FALSE(store.Add(1, 5004));
    EXPECT_TRUE(store.Add(2, 5005));
    EXPECT_TRUE(store.IsDropped(1, 5004));
    EXPECT_FALSE(store.IsDropped(2, 5004));
    EXPECT_FALSE(store.IsDropped(1, 5003));
    EXPECT_EQ(std::vector<uint64_t>{5005}, store.Ports(2));
    EXPECT_TRUE(store.Remove(1, 5004));
    EXPECT_FALSE(store.Remove(1, 5004));
    EXPECT_FALSE(store.Remove(3, 5004));
    EXPECT_FALSE(store.IsDropped(1, 5004));
}

TEST(PortDropStore, ReadersRunBesideWriters)
{
    mxs::PortDropStore store;
    store.Add(1, 1);
    std::atomic<bool> done = false;
    std::atomic<bool> missed = false;
    std::thread reader(
        [&]
        {
            while (!done)
                if (!store.IsDropped(1, 1)) missed = true;
        });
    for (uint64_t interfaceId = 2; interfaceId < 200; ++interfaceId)
        for (const uint16_t port : {uint16_t{0}, uint16_t{1}, uint16_t{65535}})
        {
            store.Add(interfaceId, port);
            store.Remove(interfaceId, port);
        }
    done = true;
    reader.join();
    EXPECT_FALSE(missed);
}

} // namespace
} // namespace test
