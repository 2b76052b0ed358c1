// Several threads that read and write descriptions at once, each its own.
#include <zefaline.h>

#include <array>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace
{

std::string Description(unsigned payloadType)
{
    return "v=0\r\no=- 1 1 IN IP4 127.0.0.1\r\ns=threads\r\nt=0 0\r\n"
           "m=video 5004 RTP/AVP " +
           std::to_string(payloadType) + "\r\nc=IN IP4 239.1.2.3/64\r\na=rtpmap:" + std::to_string(payloadType) +
           " raw/90000\r\na=fmtp:" + std::to_string(payloadType) +
           " sampling=YCbCr-4:2:2; width=1920; height=1080; exactframerate=50; depth=10; TCS=SDR; colorimetry=BT709; "
           "PM=2110GPM; SSN=ST2110-20:2017;\r\na=mediaclk:direct=0\r\n";
}

// Reads the description of a thread and writes it, over and over; the first complaint, if there is one.
std::string ReadAndWrite(unsigned payloadType)
{
    const std::string description = Description(payloadType);
    const std::string rtpmap = "a=rtpmap:" + std::to_string(payloadType) + " raw/90000\r\n";
    for (int round = 0; round < 50; ++round)
    {
        const auto network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
        ZEFA_ESSENCE_CONFIG essence{};
        ZEFA_SDP_INFO info{};
        if (ZEFA_ReadSDP(description.c_str(), nullptr, network.get(), &essence, &info) != ZEFA_NO_ERROR)
            return "was not read";
        if (network->PayloadType_UB != payloadType) return "was read as another";
        std::array<char, 2000> text{};
        uint32_t size = text.size();
        if (ZEFA_WriteSDP(network.get(), &essence, &info, text.data(), &size) != ZEFA_NO_ERROR)
            return "was not written";
        if (std::string(text.data()).find(rtpmap) == std::string::npos) return "was written as another";
    }
    return "";
}

} // namespace

TEST(Descriptions, AreReadAndWrittenByManyThreadsAtOnce)
{
    std::array<std::string, 4> complaints;
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < complaints.size(); ++i)
        threads.emplace_back([i, &complaints] { complaints[i] = ReadAndWrite(96 + i); });
    for (std::thread& thread : threads)
        thread.join();
    for (const std::string& complaint : complaints)
        EXPECT_EQ("", complaint);
}
