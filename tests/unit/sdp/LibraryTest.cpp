// ZEFA_ReadSDP and ZEFA_WriteSDP out of the shared library: exceptions reach the application across the border.
#include "zefaline.h"

#include <gtest/gtest.h>

#include <cstring>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

namespace
{
ZEFA_ERRORCODE Read(const std::string& text)
{
    const auto network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    ZEFA_ESSENCE_CONFIG essence{};
    ZEFA_SDP_INFO info{};
    return ZEFA_ReadSDP(text.c_str(), nullptr, network.get(), &essence, &info);
}
} // namespace

TEST(SharedLibrary, ReadsADescription)
{
    EXPECT_EQ(Read("o=- 1 2 IN IP4 10.0.0.1\nm=audio 5004 RTP/AVP 97\nc=IN IP4 239.0.0.1\na=rtpmap:97 L24/48000/2\n"
                   "a=ptime:1\n"),
              ZEFA_NO_ERROR);
    EXPECT_EQ(Read("s=nothing\n"), ZEFA_ERR_OPERATION_FAILED);
}

TEST(SharedLibrary, WritesADescription)
{
    const auto network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    network->NbConnections_UL = 1;
    ZEFA_ESSENCE_CONFIG essence{};
    essence.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_40;
    ZEFA_SDP_INFO info{};
    char text[1000] = "";
    uint32_t size = sizeof text;
    EXPECT_EQ(ZEFA_WriteSDP(network.get(), &essence, &info, text, &size), ZEFA_NO_ERROR);
    EXPECT_EQ(size, std::strlen(text));
    EXPECT_TRUE(std::string(text).ends_with("\r\na=mediaclk:direct=0\r\n"));
}

TEST(SharedLibrary, ExceptionsOfNumbersArriveAsStandardOnes)
{
    try
    {
        Read("m=audio 5004 RTP/AVP x\nc=IN IP4 239.0.0.1\na=rtpmap:97 L24/48000/2\na=ptime:1\n");
        FAIL() << "nothing was thrown";
    }
    catch (const std::invalid_argument& error)
    {
        EXPECT_STREQ(error.what(), "invalid stoi argument");
    }
}

TEST(SharedLibrary, ExceptionsOfTheTreeArriveAsStandardOnes)
{
    try
    {
        Read("m=video 5004 RTP/AVP 96\n");
        FAIL() << "nothing was thrown";
    }
    catch (const std::exception& error)
    {
        EXPECT_STREQ(error.what(), "[json.exception.out_of_range.401] array index 0 is out of range");
    }
}
