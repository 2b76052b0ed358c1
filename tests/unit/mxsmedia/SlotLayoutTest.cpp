// Which configurations are accepted, and where the buffers of their slots lie.
#include "mxs/media/PixelGroups.h"

#include "Packets.h"

#include <gtest/gtest.h>

using namespace mxs::media;
using mxs::media::test::SmallVideo;

namespace
{

Outcome CheckReceive(const EssenceConfig& essence)
{
    return CheckEssence(Direction::Receive, essence);
}

NetworkConfig OneConnection(uint32_t destination = 0x7F000001)
{
    NetworkConfig network;
    network.payloadType = 96;
    ConnectionConfig connection;
    connection.destinationIp = destination;
    connection.destinationPort = 5000;
    connection.networkInterfaceId = 1;
    network.connections.push_back(connection);
    return network;
}

} // namespace

TEST(LayoutOf, SizesOfKnownSlots)
{
    const struct
    {
        uint32_t width, height;
        bool interlaced;
        BitProperties bits;
        uint32_t lockSize;
        uint64_t firstField;
    } cases[] = {
        {1920, 1080, false, {1, 1, 0, 0}, 5184000, 5184000},
        {1920, 1080, false, {1, 1, 1, 1}, 8294400, 8294400},
        {1920, 1080, false, {1, 1, 2, 1}, 16588800, 16588800},
        {1920, 1080, true, {1, 1, 0, 0}, 5184000, 2592000},
        {1920, 1080, false, {1, 0, 0, 0}, 4147200, 4147200},
        {1920, 1080, false, {2, 0, 0, 0}, 6220800, 6220800},
        {1920, 1080, false, {9, 1, 0, 0}, 7776000, 7776000},
        {1280, 720, false, {1, 2, 0, 0}, 2764800, 2764800},
        {4096, 2160, false, {10, 2, 2, 0}, 106168320, 106168320},
        {720, 487, true, {1, 1, 0, 0}, 876600, 439200}, // 244 and 243 lines of 1800 bytes
        {720, 576, true, {1, 0, 0, 0}, 829440, 414720},
    };
    for (const auto& test : cases)
    {
        VideoConfig video = SmallVideo(test.width, test.height, test.interlaced);
        video.network = {test.bits.sampling, test.bits.depth, 0, 0};
        video.application = test.bits;
        ASSERT_EQ(CheckReceive(video).code, 0u) << CheckReceive(video).message;

        const SlotLayout layout = LayoutOf(video);

        EXPECT_EQ(layout.lockSize, test.lockSize);
        EXPECT_EQ(layout.buffers.size(), test.interlaced ? 2u : 1u);
        EXPECT_EQ(layout.buffers.at(0).offset, 0u);
        EXPECT_EQ(layout.buffers.at(0).size, test.firstField);
        if (test.interlaced)
        {
            EXPECT_EQ(layout.buffers.at(1).offset, test.firstField);
            EXPECT_EQ(layout.buffers.at(1).size, test.lockSize - test.firstField);
        }
    }
}

TEST(LayoutOf, EveryBroadcastRasterHasALayoutInEveryFormat)
{
    const struct
    {
        uint32_t width, height;
        bool interlaced;
    } rasters[] = {{720, 480, true},    {720, 487, true},    {720, 576, true},
                   {1280, 720, false},  {1920, 1080, true},  {1920, 1080, false},
                   {2048, 1080, false}, {3840, 2160, false}, {4096, 2160, false}};
    size_t checked = 0;
    for (const auto& raster : rasters)
        for (const PixelGroup& group : AllPixelGroups())
            for (uint32_t depth = 0; depth < 3; ++depth)
                for (uint32_t padding = 0; padding < 3; ++padding)
                {
                    VideoConfig video = SmallVideo(raster.width, raster.height, raster.interlaced);
                    video.network = {group.sampling, (group.depth - 8) / 2, 0, 0};
                    video.application = {group.sampling, depth, padding, 1};
                    ASSERT_EQ(CheckReceive(video).code, 0u) << CheckReceive(video).message;
                    const SlotLayout layout = LayoutOf(video);
                    uint64_t end = 0;
                    for (const auto& [number, place] : layout.buffers)
                    {
                        EXPECT_EQ(place.offset, end);
                        end += place.size;
                    }
                    EXPECT_EQ(end, layout.lockSize);
                    const uint64_t bits = padding == 0 ? 8 + 2 * depth : 16 * padding;
                    const uint64_t components = ComponentsPerPixel(group);
                    EXPECT_EQ(end, uint64_t{raster.width} * raster.height * components * bits / 8);
                    ++checked;
                }
    EXPECT_EQ(checked, 9u * 27 * 9);
}

TEST(LayoutOf, AncillaryDataHasSixteenBuffers)
{
    const SlotLayout ancillary = LayoutOf(AncillaryConfig{});
    ASSERT_EQ(ancillary.buffers.size(), 16u);
    for (uint32_t buffer = 0; buffer < 16; ++buffer)
    {
        EXPECT_EQ(ancillary.buffers.at(buffer).offset, buffer * 262144u);
        EXPECT_EQ(ancillary.buffers.at(buffer).size, 262144u);
    }
    EXPECT_EQ(ancillary.lockSize, 4194304u);
}

TEST(CheckEssence, AncillaryDataNeedsARasterWithBlankingAndARate)
{
    const AncillaryConfig good{
        .activeWidth = 1920, .rawWidth = 2200, .activeHeight = 1080, .rawHeight = 1125, .framerate = 60};
    const auto code = [&](auto member, uint32_t value)
    {
        AncillaryConfig config = good;
        config.*member = value;
        EXPECT_EQ(CheckEssence(Direction::Send, config).code, CheckReceive(config).code);
        return CheckReceive(config).code;
    };
    EXPECT_EQ(CheckReceive(good).code, 0u);
    EXPECT_EQ(code(&AncillaryConfig::activeWidth, 0), 4u);
    EXPECT_EQ(code(&AncillaryConfig::activeWidth, 2199), 0u);
    EXPECT_EQ(code(&AncillaryConfig::activeWidth, 2200), 4u);
    EXPECT_EQ(code(&AncillaryConfig::activeHeight, 0), 4u);
    EXPECT_EQ(code(&AncillaryConfig::activeHeight, 1125), 4u);
    EXPECT_EQ(code(&AncillaryConfig::rawWidth, 32768), 0u);
    EXPECT_EQ(code(&AncillaryConfig::rawWidth, 32769), 4u);
    EXPECT_EQ(code(&AncillaryConfig::rawHeight, 32769), 4u);
    EXPECT_EQ(code(&AncillaryConfig::framerate, 0), 4u);
    EXPECT_EQ(code(&AncillaryConfig::framerate, 1000), 0u);
    EXPECT_EQ(code(&AncillaryConfig::framerate, 1001), 4u);
    EXPECT_EQ(CheckReceive(AncillaryConfig{}).code, 4u); // a fresh stream has no raster yet
}

TEST(CheckEssence, TheDefaultsOfAFreshStreamAreAccepted)
{
    EXPECT_EQ(CheckReceive(VideoConfig{}).code, 0u);
    EXPECT_EQ(LayoutOf(VideoConfig{}).lockSize, 1080u * 1920 * 2);
}

TEST(CheckEssence, WhatTheServiceDoesNotHaveIsCode2)
{
    for (const uint32_t sampling : {kYCbCr420, kConstantLuminance420, kICtCp420, kKey})
    {
        VideoConfig video = SmallVideo();
        video.network.sampling = video.application.sampling = sampling;
        EXPECT_EQ(CheckReceive(video).code, 2u) << sampling;
    }
    VideoConfig sixteen = SmallVideo();
    sixteen.application.depth = 3;
    EXPECT_EQ(CheckReceive(sixteen).code, 2u);
    sixteen = SmallVideo();
    sixteen.network.depth = 3;
    EXPECT_EQ(CheckReceive(sixteen).code, 2u);
    VideoConfig block = SmallVideo();
    block.packingMode = 1;
    EXPECT_EQ(CheckReceive(block).code, 2u);
}

TEST(CheckEssence, BadValuesAreCode4WithASentence)
{
    const struct
    {
        const char* name;
        void (*spoil)(VideoConfig&);
    } cases[] = {
        {"another sampling", [](VideoConfig& video) { video.application.sampling = 2; }},
        {"unknown sampling", [](VideoConfig& video) { video.network.sampling = video.application.sampling = 13; }},
        {"unknown depth", [](VideoConfig& video) { video.application.depth = 4; }},
        {"unknown padding", [](VideoConfig& video) { video.application.padding = 3; }},
        {"unknown endianness", [](VideoConfig& video) { video.application.endianness = 2; }},
        {"padding on the network", [](VideoConfig& video) { video.network.padding = 1; }},
        {"little endian network", [](VideoConfig& video) { video.network.endianness = 1; }},
        {"unknown packing", [](VideoConfig& video) { video.packingMode = 2; }},
        {"no width", [](VideoConfig& video) { video.width = 0; }},
        {"no height", [](VideoConfig& video) { video.height = 0; }},
        {"no rate", [](VideoConfig& video) { video.framerate = 0; }},
        {"one line of two fields",
         [](VideoConfig& video)
         {
             video.interlaced = true;
             video.height = 1;
         }},
        {"half a pixel group", [](VideoConfig& video) { video.width = 7; }},
        {"too wide", [](VideoConfig& video) { video.width = 32770; }},
        {"too high", [](VideoConfig& video) { video.height = 32769; }},
        {"4 GiB",
         [](VideoConfig& video)
         {
             video.width = 32768;
             video.height = 16384;
             video.application.padding = 2;
         }},
    };
    for (const auto& test : cases)
    {
        VideoConfig video = SmallVideo();
        test.spoil(video);
        const Outcome outcome = CheckReceive(video);
        EXPECT_EQ(outcome.code, 4u) << test.name;
        EXPECT_FALSE(outcome.message.empty()) << test.name;
    }
}

TEST(CheckEssence, WhatIsReceivedIsSentTooAtAThousandFramesASecondAtMost)
{
    EXPECT_EQ(CheckEssence(Direction::Send, VideoConfig{}).code, 0u);
    VideoConfig video = SmallVideo();
    video.framerate = 1000;
    EXPECT_EQ(CheckEssence(Direction::Send, video).code, 0u);
    video.framerate = 1001;
    EXPECT_EQ(CheckEssence(Direction::Send, video).code, 4u);
    EXPECT_EQ(CheckReceive(video).code, 0u);
}

TEST(CheckEssence, AWidthMustBeWholeGroupsOnBothSides)
{
    VideoConfig video = SmallVideo(6, 4);
    video.network = {2, 0, 0, 0}; // 4:4:4 of 8 bits: each pixel a group
    video.application = {2, 0, 0, 0};
    EXPECT_EQ(CheckReceive(video).code, 0u);
    video.application.depth = 1; // groups of four pixels
    EXPECT_EQ(CheckReceive(video).code, 4u);
    video.width = 8;
    EXPECT_EQ(CheckReceive(video).code, 0u);
}

TEST(CheckNetwork, AcceptsUnicastAndMulticast)
{
    EXPECT_EQ(CheckNetwork(Direction::Receive, OneConnection()).code, 0u);
    NetworkConfig multicast = OneConnection(0xEF640101);
    multicast.connections[0].sources = {0x7F000001};
    EXPECT_EQ(CheckNetwork(Direction::Receive, multicast).code, 0u);
}

TEST(CheckNetwork, BadValuesAreCode4)
{
    const struct
    {
        const char* name;
        void (*spoil)(NetworkConfig&);
    } cases[] = {
        {"no connection", [](NetworkConfig& network) { network.connections.clear(); }},
        {"129 connections", [](NetworkConfig& network) { network.connections.resize(129, network.connections[0]); }},
        {"payload type", [](NetworkConfig& network) { network.payloadType = 128; }},
        {"no interface", [](NetworkConfig& network) { network.connections[0].networkInterfaceId = 0; }},
        {"no port", [](NetworkConfig& network) { network.connections[0].destinationPort = 0; }},
        {"broadcast", [](NetworkConfig& network) { network.connections[0].destinationIp = 0xFFFFFFFF; }},
        {"multicast source",
         [](NetworkConfig& network)
         {
             network.connections[0].destinationIp = 0xEF640101;
             network.connections[0].sources = {0xEF640102};
         }},
    };
    for (const auto& test : cases)
    {
        NetworkConfig network = OneConnection();
        test.spoil(network);
        const Outcome outcome = CheckNetwork(Direction::Receive, network);
        EXPECT_EQ(outcome.code, 4u) << test.name;
        EXPECT_FALSE(outcome.message.empty()) << test.name;
    }
}

TEST(CheckNetwork, ASenderHasADestinationAndMayNameItsSource)
{
    NetworkConfig network = OneConnection();
    EXPECT_EQ(CheckNetwork(Direction::Send, network).code, 0u);
    network.connections[0].sourceIp = 0x7F000002;
    EXPECT_EQ(CheckNetwork(Direction::Send, network).code, 0u);
    network.connections[0].sourceIp = 0xEF640101;
    EXPECT_EQ(CheckNetwork(Direction::Send, network).code, 4u);
    EXPECT_EQ(CheckNetwork(Direction::Receive, network).code, 0u); // no filter there
    network = OneConnection(0);
    EXPECT_EQ(CheckNetwork(Direction::Send, network).code, 4u);
    EXPECT_EQ(CheckNetwork(Direction::Receive, network).code, 0u); // any address of the interface
    network = OneConnection(0xEF640101);
    network.connections[0].sources = {0xEF640102}; // of no meaning to a sender
    EXPECT_EQ(CheckNetwork(Direction::Send, network).code, 0u);
    network.connections[0].dscp = 63;
    EXPECT_EQ(CheckNetwork(Direction::Send, network).code, 0u);
    network.connections[0].dscp = 64;
    EXPECT_EQ(CheckNetwork(Direction::Send, network).code, 4u);
}
