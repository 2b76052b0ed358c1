// What each of two redundant paths has brought and lost, as the service tells it over HTTP: the library's structures
// have no room for it.
#include "system/audio/AudioRoad.h"
#include "unit/mxs/HttpClient.h"

using namespace test;
using nlohmann::json;

namespace
{

constexpr const char* kNoId = "0000000000000000";

// A session without the library: it has a token of its own, and so may read all that is said of its streams.
class PlainSession
{
public:
    explicit PlainSession(uint16_t port) : Client(port)
    {
        Token = Send("POST", "MXS/ContextManager/Auth/", {{"AppID", kNoId}, {"ContextID", kNoId}}).authorization;
    }

    Reply Send(const std::string& method, const std::string& path, const json& document = {})
    {
        return Client.Exchange(method, "/api/x-mxs/v1.0/" + path, {{"Authorization", Token}},
                               document.is_null() ? "" : document.dump());
    }
    json Get(const std::string& path) { return Send("GET", path).Json(); }
    void Put(const std::string& path, const json& document)
    {
        const Reply reply = Send("PUT", path, document);
        EXPECT_EQ(200u, reply.status) << path << ": " << reply.body;
    }
    std::string Loopback()
    {
        const json ids = Get("MXS/NetIf/")["ID"];
        for (const json& id : ids)
            if (Get("MXS/NetIf/" + id.get<std::string>() + "/Status")["Characteristics"]["SystemName"] == "lo")
                return id;
        return kNoId;
    }

    // Starts a receiver of audio, two channels of 24 bits in packets of a millisecond; gives its path.
    std::string Receive(const std::vector<Endpoint>& paths, uint32_t packetsPerBuffer)
    {
        const std::string conductor =
            Send("POST", "MXS/Conductor/Mines/", {{"Shared", false}, {"ID", kNoId}}).LocationPart(4);
        Put("MXS/Conductor/Mines/" + conductor + "/Config", {{"CpuCoreID", Get("MXS/CpuCore/")["ID"][0]}});
        Put("MXS/Conductor/Mines/" + conductor + "/State", {{"Started", true}});

        json connections = json::array();
        for (const Endpoint& path : paths)
            connections.push_back({{"SourceIp", 0},
                                   {"DestinationIp", path.address},
                                   {"DestinationPort", path.port},
                                   {"NetworkInterfaceID", Loopback()},
                                   {"MulticastMode", "Exclusion"},
                                   {"MulticastSources", json::array()},
                                   {"Dscp", 34},
                                   {"MulticastTtl", 0}});
        const json create{{"Type", "RX"}, {"Essence", 2}, {"Shared", false}, {"ID", kNoId}};
        const std::string stream = "MXS/Stream/Mines/" + Send("POST", "MXS/Stream/Mines/", create).LocationPart(4);
        Put(stream + "/Config/Common", {{"ApplicativeBufferQueueDepth", 8},
                                        {"CpuCores", json::array()},
                                        {"ConductorID", conductor},
                                        {"NumaNode", 0}});
        Put(stream + "/Config/Network",
            {{"PayloadType", 97}, {"SSRC", 0}, {"SocketBufferSize", 0}, {"ConnectionConfigurations", connections}});
        Put(stream + "/Config/Essence", {{"Type", "ST2110_30"},
                                         {"Data",
                                          {{"Encoding", "L24"},
                                           {"SamplingRate", "_48kHz"},
                                           {"PacketTime", "_1ms"},
                                           {"ChannelNumber", 2},
                                           {"NbPacketsPerBuffer", packetsPerBuffer}}}});
        Put(stream + "/State", {{"Started", false}, {"Opened", true}});
        Put(stream + "/State", {{"Started", true}, {"Opened", true}});
        return stream;
    }

private:
    HttpClient Client;
    std::string Token;
};

} // namespace

TEST(Paths, LossIsCountedForEachOfThem)
{
    MxsProcess service(kSendsLate);
    PlainSession plain(uint16_t(std::stoul(service.Port())));
    Session session(service.ServiceUrl());
    const AudioFormat format{.packetsPerBuffer = 20};
    const std::vector<Relay::Path> ways{{FreeEndpoint(), FreeEndpoint()}, {FreeEndpoint(), FreeEndpoint()}};
    const Relay relay(ways,
                      [](size_t path, uint32_t index)
                      {
                          const bool lost = path == 0 ? index % 10 == 3 : index % 20 == 7;
                          return lost ? Relay::Fate::Lose : Relay::Fate::Pass;
                      });
    const std::string stream = plain.Receive({ways[0].to, ways[1].to}, format.packetsPerBuffer);
    AudioStream send(session, ZEFA_STREAM_TYPE_TX, {.format = format, .paths = {ways[0].from, ways[1].from}});
    send.Start();

    constexpr uint32_t kSlots = 15; // 300 packets
    const Bytes samples = Noise(format.SlotBytes(), 1);
    for (uint32_t slot = 0; slot < kSlots; ++slot)
        send.Put(samples.data(), slot * format.SlotFrames());

    // The first path loses packets 3, 13, ... 293, the second 7, 27, ... 287; nothing is lost on both.
    const json expected{{{"TransferredPacketCount", 270}, {"LostPacketsCount", 30}},
                        {{"TransferredPacketCount", 285}, {"LostPacketsCount", 15}}};
    json status;
    EXPECT_TRUE(Await([&] { return (status = plain.Get(stream + "/Status/Network"))["Paths"] == expected; })) << status;
    EXPECT_EQ(555, status["TotalTransferredPacketCount"]);
    EXPECT_EQ(300, status["TotalProcessedPacketCount"]);
    EXPECT_EQ(0, status["LostPacketsCount"]);
}
