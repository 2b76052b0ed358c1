// The service in this process, on a free port, and sessions with it.
#pragma once

#include "FakeMedia.h"
#include "HttpClient.h"

#include "mxs/Service.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace test
{

using nlohmann::json;

// The document of a stream of 25 progressive frames, 4:2:2 of 10 bits as they travel.
inline json VideoEssence(uint32_t width, uint32_t height)
{
    const json bits{{"BitSampling", "YCbCr_422"},
                    {"BitDepth", "_10Bits"},
                    {"BitPadding", "NoPadding"},
                    {"Endianness", "BigEndian"}};
    return {{"Type", "ST2110_20"},
            {"Data",
             {{"FrameWidth", width},
              {"FrameHeight", height},
              {"Framerate", 25},
              {"Interlaced", false},
              {"ClockType", "EU"},
              {"NetworkBitProp", bits},
              {"PackingMode_E", "General"},
              {"Colorimetry", "BT709"},
              {"AppBitProp", bits},
              {"UseDefaultTrOffset", true},
              {"TrOffset", 0}}}};
}

// A client with a context of its own.
class Session
{
public:
    explicit Session(uint16_t port) : Client(port)
    {
        const Reply reply = Client.Exchange("POST", Path("MXS/ContextManager/Auth/"), {{"Authorization", ""}},
                                            R"({"AppID":"0000000000000000","ContextID":"0000000000000000"})");
        Token = reply.authorization;
        ContextId = reply.LocationPart(4);
    }

    static std::string Path(const std::string& path) { return "/api/x-mxs/v1.0/" + path; }

    Reply Send(const std::string& method, const std::string& path, const std::string& body = "")
    {
        return Client.Exchange(method, Path(path), {{"Authorization", Token}}, body);
    }
    Reply Send(const std::string& method, const std::string& path, const json& body)
    {
        return Send(method, path, body.dump());
    }
    Reply Get(const std::string& path) { return Send("GET", path); }
    json GetJson(const std::string& path) { return Get(path).Json(); }

    // Identifiers of what is made; empty text when the service refuses.
    std::string CreateConductor(bool shared = false)
    {
        return Send("POST", "MXS/Conductor/Mines/", json{{"Shared", shared}, {"ID", kNoId}}).LocationPart(4);
    }
    std::string CreateStream(bool shared = false)
    {
        return Send("POST", "MXS/Stream/Mines/",
                    json{{"Type", "RX"}, {"Essence", 1}, {"Shared", shared}, {"ID", kNoId}})
            .LocationPart(4);
    }
    std::string FirstCore() { return GetJson("MXS/CpuCore/")["ID"][0]; }
    std::string Loopback() // the interface `lo`
    {
        const json list = GetJson("MXS/NetIf/");
        for (const json& id : list["ID"])
            if (GetJson("MXS/NetIf/" + id.get<std::string>() + "/Status")["Characteristics"]["SystemName"] == "lo")
                return id;
        return {};
    }
    Reply SetState(const std::string& stream, bool started, bool opened)
    {
        return Send("PUT", "MXS/Stream/Mines/" + stream + "/State", json{{"Started", started}, {"Opened", opened}});
    }

    static constexpr const char* kNoId = "0000000000000000";

    HttpClient Client;
    std::string Token;
    std::string ContextId;
};

class ServiceTest : public ::testing::Test
{
protected:
    ServiceTest() { Fake() = FakeMedia{}; }

    void Run(mxs::ServiceSettings settings = {})
    {
        settings.port = 0;
        Running = std::make_unique<mxs::Service>(settings, Log);
        Running->Start();
    }

    uint16_t Port()
    {
        if (!Running) Run();
        return Running->Port();
    }

    std::vector<std::string> LogLines()
    {
        const std::lock_guard lock(LinesMutex);
        return Lines;
    }

    bool LogHolds(const std::string& text)
    {
        for (const std::string& line : LogLines())
            if (line.find(text) != std::string::npos) return true;
        return false;
    }

    std::mutex LinesMutex;
    std::vector<std::string> Lines;
    mxs::Log Log{mxs::LogLevel::Debug, [this](mxs::LogLevel, std::string_view text)
                 {
                     const std::lock_guard lock(LinesMutex);
                     Lines.emplace_back(text);
                 }};
    std::unique_ptr<mxs::Service> Running;
};

} // namespace test
