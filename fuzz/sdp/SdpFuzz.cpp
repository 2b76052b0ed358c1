// Any text as a session description: the parser never fails on content, and the reader ends with a result or with one
// of the exceptions that an application has to expect.
#include "zefaline/sdp.h"

#include "sdp/SdpParser.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

static void Require(bool condition)
{
    if (!condition) std::abort();
}

static void Parse(const std::string& text)
{
    try
    {
        const nlohmann::json tree = quill::sdp_module::ParseSdpText(text);
        for (const nlohmann::json& media : tree.at("media"))
            Require(media.at("rtp").is_array() && media.at("fmtp").is_array());
    }
    catch (const std::out_of_range&) // a fraction too small for a double
    {
    }
}

static void Read(const std::string& text)
{
    static const auto network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    ZEFA_ESSENCE_CONFIG essence{};
    ZEFA_SDP_INFO info{};
    try
    {
        const ZEFA_ERRORCODE result = ZEFA_ReadSDP(text.c_str(), nullptr, network.get(), &essence, &info);
        Require(result == ZEFA_NO_ERROR || result == ZEFA_ERR_OPERATION_FAILED);
        Require(result != ZEFA_NO_ERROR || network->NbConnections_UL - 1 < ZEFA_MAX_CONNECTIONS);
    }
    catch (const nlohmann::json::exception&) // of the tree
    {
    }
    catch (const std::invalid_argument&) // of a number that is none
    {
    }
    catch (const std::out_of_range&) // of a number that does not fit, or of a list too short
    {
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    Parse(text);
    Read(text);
    return 0;
}
