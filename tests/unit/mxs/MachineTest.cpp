// Cores and interfaces: the machine's own over HTTP, and trees that tests made.
#include "ServiceFixture.h"

#include "mxs/CoreInventory.h"
#include "mxs/InterfaceInventory.h"

#include <filesystem>
#include <fstream>
#include <net/if.h>
#include <sched.h>
#include <set>
#include <sys/resource.h>
#include <unistd.h>

namespace test
{
namespace
{

using Machine = ServiceTest;

TEST_F(Machine, CoresAreThoseOfTheSystem)
{
    Session session(Port());
    const json ids = session.GetJson("MXS/CpuCore/")["ID"];
    EXPECT_EQ(static_cast<size_t>(sysconf(_SC_NPROCESSORS_CONF)), ids.size());

    std::set<uint32_t> numbers;
    for (const json& id : ids)
    {
        EXPECT_NE(Session::kNoId, id);
        const json status = session.GetJson("MXS/CpuCore/" + id.get<std::string>() + "/Status");
        for (const char* key : {"CoreId", "NumaNode", "MaxSpeed", "CoreUsage", "GroupId"})
            EXPECT_TRUE(status[key].is_number_unsigned()) << key;
        EXPECT_TRUE(status["ConductorAvailability"].is_string());
        EXPECT_GE(100u, status["CoreUsage"].get<uint32_t>());
        numbers.insert(status["CoreId"].get<uint32_t>());
        EXPECT_NE(id.get<std::string>(), mxs::IdText(status["CoreId"].get<uint32_t>()));
    }
    EXPECT_EQ(ids.size(), numbers.size());
}

TEST_F(Machine, ACoreThatAConductorHasIsAlreadyUsed)
{
    Session session(Port()), other(Port());
    const std::string core = session.FirstCore(), path = "MXS/CpuCore/" + core + "/Status";
    EXPECT_EQ("AVAILABLE", session.GetJson(path)["ConductorAvailability"]);
    const std::string conductor = session.CreateConductor();
    session.Send("PUT", "MXS/Conductor/Mines/" + conductor + "/Config", json{{"CpuCoreID", core}});

    EXPECT_EQ("ALREADY_USED", other.GetJson(path)["ConductorAvailability"]);
    session.Send("DELETE", "MXS/Conductor/Mines/" + conductor);
    EXPECT_EQ("AVAILABLE", other.GetJson(path)["ConductorAvailability"]);
}

TEST_F(Machine, UnknownCoresAndInterfacesAreNotFound)
{
    Session session(Port());
    for (const char* path : {"MXS/CpuCore/0000000000000000/Status", "MXS/CpuCore/1400000000fffff0/Status",
                             "MXS/CpuCore/1500000000000001/Status", "MXS/NetIf/0000000000000001/Status",
                             "MXS/NetIf/1500000000000000/Config", "MXS/NetIf/15000000ffffffff/Status",
                             "MXS/NetIf/1500000000fffff0/Config", "MXS/NetIf/1500000000fffff0/UdpPortDrop/"})
    {
        const Reply reply = session.Get(path);
        EXPECT_EQ(8u, reply.ErrCode()) << path;
        EXPECT_EQ(404u, reply.status);
    }
}

TEST_F(Machine, TheLoopbackIsAnInterface)
{
    Session session(Port());
    const std::string lo = session.Loopback();
    ASSERT_NE("", lo);

    EXPECT_EQ(json({{"IP", 0x7f000001u}, {"SubnetMask", 0xff000000u}}), session.GetJson("MXS/NetIf/" + lo + "/Config"));
    const json status = session.GetJson("MXS/NetIf/" + lo + "/Status");
    const json& characteristics = status["Characteristics"];
    EXPECT_EQ(if_nametoindex("lo"), characteristics["InterfaceIndex"]);
    EXPECT_EQ(true, characteristics["LinkStatus"]);
    EXPECT_EQ(0u, characteristics["Mac"]);
    EXPECT_EQ("Unknown", characteristics["DuplexType"]);
    EXPECT_EQ(0u, characteristics["LinkSpeed"]);
    EXPECT_EQ(4294967295u, characteristics["NumaNode"]);
    EXPECT_LT(0u, characteristics["MTU"].get<uint32_t>());
    EXPECT_TRUE(characteristics["DriverVersion"].is_string());
    EXPECT_TRUE(status["UploadThroughput"].is_number_unsigned());
    EXPECT_TRUE(status["DownloadThroughput"].is_number_unsigned());
}

TEST_F(Machine, EveryInterfaceHasAllKeys)
{
    Session session(Port());
    const json list = session.GetJson("MXS/NetIf/");
    EXPECT_LE(1u, list["ID"].size());
    for (const json& id : list["ID"])
    {
        const json status = session.GetJson("MXS/NetIf/" + id.get<std::string>() + "/Status");
        EXPECT_EQ(3u, status.size());
        EXPECT_EQ(9u, status["Characteristics"].size());
        EXPECT_EQ(2u, session.GetJson("MXS/NetIf/" + id.get<std::string>() + "/Config").size());
    }
}

TEST_F(Machine, AnAddressCannotBePut)
{
    Session session(Port());
    const std::string path = "MXS/NetIf/" + session.Loopback() + "/Config";
    const Reply reply = session.Send("PUT", path, json{{"IP", 1}, {"SubnetMask", 2}});
    EXPECT_EQ(17u, reply.ErrCode());
    EXPECT_EQ(403u, reply.status);
    EXPECT_EQ(4u, session.Send("PUT", path, json{{"IP", 1}}).ErrCode());
    EXPECT_EQ(8u,
              session.Send("PUT", "MXS/NetIf/1500000000fffff0/Config", json{{"IP", 1}, {"SubnetMask", 2}}).ErrCode());
}

uint64_t LoopbackOf(const mxs::InterfaceInventory& inventory)
{
    for (const uint64_t id : inventory.List())
        if (inventory.NameOf(id) == "lo") return id;
    ADD_FAILURE() << "there is no loopback";
    return 0;
}

TEST_F(Machine, ThroughputIsThatBetweenTwoSamples)
{
    mxs::InterfaceInventory inventory;
    const uint64_t lo = LoopbackOf(inventory);
    EXPECT_EQ(0u, inventory.Status(lo)->downloadBitsPerSecond); // unknown as yet

    for (int count = 0; count < 10; ++count)
        Session session(Port()); // traffic
    inventory.Sample();

    EXPECT_LT(0u, inventory.Status(lo)->uploadBitsPerSecond);
    EXPECT_LT(0u, inventory.Status(lo)->downloadBitsPerSecond);
}

TEST_F(Machine, ThroughputStaysWhatItWasWhereNoDescriptorIsLeftForASample)
{
    mxs::InterfaceInventory inventory;
    const uint64_t lo = LoopbackOf(inventory);
    for (int count = 0; count < 10; ++count)
        Session session(Port()); // traffic
    inventory.Sample();
    const uint64_t upload = inventory.Status(lo)->uploadBitsPerSecond;
    ASSERT_LT(0u, upload);

    rlimit limit{};
    ASSERT_EQ(0, ::getrlimit(RLIMIT_NOFILE, &limit));
    const rlimit none{0, limit.rlim_max}; // those that are open stay
    ASSERT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &none));
    inventory.Sample();
    EXPECT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &limit));
    EXPECT_EQ(upload, inventory.Status(lo)->uploadBitsPerSecond);
}

// A tree like the kernel's.
class CoreTree : public ::testing::Test
{
protected:
    CoreTree()
    {
        char name[] = "/tmp/mxs-cores-XXXXXX";
        Root = mkdtemp(name);
        Write("present", "0-2");
        Write("online", "0,2");
        Write("stat", "cpu  1 1 1 1\ncpu0 100 0 100 800 0 0 0 0\ncpu2 0 0 0 0\nintr 5\n");
        std::filesystem::create_directories(Root + "/cpu2/node3");
        std::filesystem::create_directories(Root + "/cpu0");
        Write("cpu2/cpufreq/cpuinfo_max_freq", "3600000");
        Write("cpu2/topology/physical_package_id", "1");
        Write("cpu0/topology/physical_package_id", "-1");
    }
    ~CoreTree() override { std::filesystem::remove_all(Root); }

    void Write(const std::string& name, const std::string& text)
    {
        const std::filesystem::path path = Root + "/" + name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << text << "\n";
    }

    mxs::CoreInventory Inventory() { return mxs::CoreInventory({.cpus = Root, .stat = Root + "/stat"}); }

    std::string Root;
};

TEST_F(CoreTree, AttributesAreReadAndUnknownOnesAreZero)
{
    const mxs::CoreInventory inventory = Inventory();
    const auto ids = inventory.List();
    ASSERT_EQ(3u, ids.size());

    const auto known = inventory.Status(ids[2]), bare = inventory.Status(ids[0]);
    ASSERT_TRUE(known && bare);
    EXPECT_EQ(2u, known->coreId);
    EXPECT_EQ(3u, known->numaNode);
    EXPECT_EQ(3600u, known->maxSpeedMhz);
    EXPECT_EQ(1u, known->groupId);
    EXPECT_EQ(0u, bare->coreId);
    EXPECT_EQ(mxs::kUnknownNumaNode, bare->numaNode);
    EXPECT_EQ(0u, bare->maxSpeedMhz);
    EXPECT_EQ(0u, bare->groupId);
    EXPECT_EQ(2u, inventory.SystemNumber(ids[2]));
    EXPECT_FALSE(inventory.SystemNumber(ids[2] + 1));
}

TEST_F(CoreTree, AnOfflineCoreIsNotAvailable)
{
    const mxs::CoreInventory inventory = Inventory();
    const auto ids = inventory.List();
    EXPECT_EQ(mxs::CoreAvailability::NotAvailable, inventory.Status(ids[1])->availability);
    EXPECT_FALSE(inventory.MayRunOn(ids[1]));
    EXPECT_FALSE(inventory.MayRunOn(0));
}

TEST_F(CoreTree, UseIsThatBetweenTwoSamples)
{
    mxs::CoreInventory inventory = Inventory();
    const auto ids = inventory.List();
    EXPECT_EQ(0u, inventory.Status(ids[0])->usagePercent);

    // user nice system idle iowait irq softirq steal: 25 + 5 + 10 busy of 100 ticks
    Write("stat", "cpu0 125 0 105 850 10 5 0 5 99 99");
    inventory.Sample();
    EXPECT_EQ(40u, inventory.Status(ids[0])->usagePercent);

    Write("stat", "cpu0 125 0 105 850 10 5 0 5 99 99");
    inventory.Sample(); // no tick has gone by: what was known stays
    EXPECT_EQ(40u, inventory.Status(ids[0])->usagePercent);

    Write("stat", "cpu0 1 0 0 0");
    inventory.Sample(); // a counter that went back
    EXPECT_EQ(40u, inventory.Status(ids[0])->usagePercent);
}

} // namespace
} // namespace test
