// Numbers of any form and size in fields of every width: truncated, cut to the low bits, never undefined.
#include "RecordCheck.h"

namespace Quillmont::Trellis::CommandPipe::RestServer
{
namespace
{
struct NumberCase
{
    const char* json;
    uint64_t bits;
};

const NumberCase kNumbers[] = {
    {"0", 0},
    {"3.9", 3},
    {"-3.9", static_cast<uint64_t>(-3)},
    {"-1", UINT64_MAX},
    {"-1.0", UINT64_MAX},
    {"300", 300},
    {"70000.5", 70000},
    {"4294967297", 4294967297},
    {"4294967297.0", 4294967297},
    {"1e18", 1000000000000000000},
    {"18446744073709551615", UINT64_MAX},
    {"-9223372036854775808", 0x8000000000000000},
    {"-9.3e18", 0},                    // fits no 64 bits
    {"1.9e19", 0},                     // nor does this
    {"1e308", 0},                      //
    {"-1e308", 0},                     //
    {"5e-324", 0},                     // truncated
    {"-0.0", 0},                       //
    {"1.5e19", 15000000000000000000u}, // above the signed range
};

TEST(Numbers, FillFieldsOfEveryWidthWithTheirLowBits)
{
    for (const NumberCase& row : kNumbers)
    {
        SCOPED_TRACE(row.json);
        value ttl = Parsed(std::string("{\"TTL\":") + row.json + "}");
        CONTEXT_TTL wide;
        EXPECT_EQ(ReadInto(ttl, &wide), RESULT_NO_ERROR);
        EXPECT_EQ(wide.TTL, row.bits);

        value core = Parsed(R"({"CoreId":0,"CoreUsage":0,"GroupId":0,"MaxSpeed":0,"NumaNode":0})");
        core["CoreId"] = core["CoreUsage"] = Parsed(row.json);
        CPU_CORE_STATUS narrow;
        EXPECT_EQ(ReadInto(core, &narrow), RESULT_NO_ERROR);
        EXPECT_EQ(narrow.CoreId, static_cast<uint32_t>(row.bits));
        EXPECT_EQ(narrow.CoreUsage, static_cast<uint8_t>(row.bits));

        value error = Parsed(std::string(R"({"ErrMsg":"","ErrCode":)") + row.json + "}");
        ServerError failure;
        EXPECT_EQ(ReadInto(error, &failure), RESULT_NO_ERROR);
        EXPECT_EQ(failure.ErrCode, static_cast<uint32_t>(row.bits));

        value essence = Parsed(std::string(R"({"Type":"ST2110_20","Data":{},"LockSize":)") + row.json + "}");
        Mxs::RtpEssence::STATUS_ST2110_20 status;
        Mxs::RtpEssence::STATUS* out = &status;
        EXPECT_EQ(CSerializer::FromJSON(essence, &out, true), RESULT_NO_ERROR);
        EXPECT_EQ(status.LockSize, static_cast<int32_t>(row.bits));
    }
}

TEST(Numbers, CoreUsageOf300IsStoredAs44)
{
    CPU_CORE_STATUS status;
    EXPECT_EQ(ReadInto(Parsed(R"({"CoreId":1,"CoreUsage":300,"GroupId":0,"MaxSpeed":0,"NumaNode":0})"), &status),
              RESULT_NO_ERROR);
    EXPECT_EQ(status.CoreUsage, 44);
}

TEST(Numbers, BecomeDoublesFromEveryForm)
{
    const std::pair<const char*, double> cases[] = {
        {"12.5", 12.5}, {"-3", -3.0}, {"7", 7.0}, {"18446744073709551615", 18446744073709551615.0}, {"1e308", 1e308}};
    for (const auto& [json, expected] : cases)
    {
        CONDUCTOR_STATUS status;
        const value document =
            Parsed(std::string(R"({"Throughput":0,"TotalPacketTransferred":0,"Load":)") + json + "}");
        EXPECT_EQ(ReadInto(document, &status), RESULT_NO_ERROR);
        EXPECT_EQ(status.Load, expected) << json;
    }
}
} // namespace
} // namespace Quillmont::Trellis::CommandPipe::RestServer
