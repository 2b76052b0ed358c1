// The records of a session.
#include "RecordCheck.h"

namespace Quillmont::Trellis::CommandPipe::RestServer
{
namespace
{
TEST(ContextIdentity, IsWrittenAsTwoIdentifiers)
{
    EXPECT_EQ(Written(CONTEXT_IDENTITY{.AppID = 1, .ContextID = 0xABCDEF0123456789}),
              Canonical(R"({"AppID":"0000000000000001","ContextID":"abcdef0123456789"})"));
}

TEST(ContextLastAccess, Reads)
{
    CheckReader<CONTEXT_LAST_ACCESS>(R"({"LastAccess":18446744073709551615})", {.LastAccess = 1},
                                     {.LastAccess = UINT64_MAX},
                                     {MandatoryKey<&CONTEXT_LAST_ACCESS::LastAccess>("LastAccess", "number")});
}

TEST(ContextTtl, Reads)
{
    CheckReader<CONTEXT_TTL>(R"({"TTL":60})", {.TTL = 1}, {.TTL = 60},
                             {MandatoryKey<&CONTEXT_TTL::TTL>("TTL", "number")});
}

TEST(ContextTtl, MadeByTheReaderHolds300UntilTheKeyIsRead)
{
    CONTEXT_TTL* made = nullptr;
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"TTL":"no number"})"), &made, false), RESULT_NO_ERROR);
    const std::unique_ptr<CONTEXT_TTL> owned(made);
    ASSERT_TRUE(owned);
    EXPECT_EQ(owned->TTL, 300u);
}

TEST(ServerErrorRecord, Reads)
{
    CheckReader<ServerError>(R"({"ErrMsg":"no such \"conductor\" Ü","ErrCode":4294972300})",
                             {.ErrMsg = "before", .ErrCode = 1},
                             {.ErrMsg = "no such \"conductor\" \xC3\x9C", .ErrCode = 5004},
                             {MandatoryKey<&ServerError::ErrMsg>("ErrMsg", "string"),
                              MandatoryKey<&ServerError::ErrCode>("ErrCode", "number")});
}

TEST(ServerErrorRecord, MadeByTheReaderStartsAsUnknown)
{
    ServerError* made = nullptr;
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"ErrMsg":5,"ErrCode":"5"})"), &made, false), RESULT_NO_ERROR);
    const std::unique_ptr<ServerError> owned(made);
    ASSERT_TRUE(owned);
    EXPECT_EQ(owned->ErrMsg, "Unknown");
    EXPECT_EQ(owned->ErrCode, 5009u);
}

constexpr char kProcessing[] = R"({"ThreadCount":1,"ProcessingTime":20000000000,"WaitTime":30000000000,
    "GlobalLoad":12.5,"MinimumWaitTime":4,"MaximumWaitTime":5,"MinimumProcessingTime":6,"MaximumProcessingTime":7,
    "JobRate":8,"JobCount":90000000000})";

const PROCESSING_STATUS kProcessingRead{.ThreadCount = 1,
                                        .ProcessingTime = 20000000000,
                                        .WaitTime = 30000000000,
                                        .GlobalLoad = 12.5,
                                        .MinimumWaitTime = 4,
                                        .MaximumWaitTime = 5,
                                        .MinimumProcessingTime = 6,
                                        .MaximumProcessingTime = 7,
                                        .JobRate = 8,
                                        .JobCount = 90000000000};

TEST(ProcessingStatus, Reads)
{
    CheckReader<PROCESSING_STATUS>(
        kProcessing, {100, 100, 100, 100, 100, 100, 100, 100, 100, 100}, kProcessingRead,
        {MandatoryKey<&PROCESSING_STATUS::ThreadCount>("ThreadCount", "number"),
         MandatoryKey<&PROCESSING_STATUS::ProcessingTime>("ProcessingTime", "number"),
         MandatoryKey<&PROCESSING_STATUS::WaitTime>("WaitTime", "number"),
         MandatoryKey<&PROCESSING_STATUS::GlobalLoad>("GlobalLoad", "number"),
         MandatoryKey<&PROCESSING_STATUS::MinimumWaitTime>("MinimumWaitTime", "number"),
         MandatoryKey<&PROCESSING_STATUS::MaximumWaitTime>("MaximumWaitTime", "number"),
         MandatoryKey<&PROCESSING_STATUS::MinimumProcessingTime>("MinimumProcessingTime", "number"),
         MandatoryKey<&PROCESSING_STATUS::MaximumProcessingTime>("MaximumProcessingTime", "number"),
         MandatoryKey<&PROCESSING_STATUS::JobRate>("JobRate", "number"),
         MandatoryKey<&PROCESSING_STATUS::JobCount>("JobCount", "number")});
}

TEST(MxsStatus, Reads)
{
    CheckReader<MXS_STATUS>(
        (std::string(R"({"MxsVersion":281474976710656,"FlowRailVersion":281479271677953,"Initialized":true,)") +
         "\"ProcessingStatus\":" + kProcessing + "}")
            .c_str(),
        {.MxsVersion = 1, .FlowRailVersion = 2, .Initialized = false, .ProcessingStatus = {}},
        {.MxsVersion = 281474976710656,
         .FlowRailVersion = 281479271677953,
         .Initialized = true,
         .ProcessingStatus = kProcessingRead},
        {MandatoryKey<&MXS_STATUS::MxsVersion>("MxsVersion", "number"),
         OptionalKey<&MXS_STATUS::FlowRailVersion>("FlowRailVersion", "number"),
         MandatoryKey<&MXS_STATUS::Initialized>("Initialized", "boolean"),
         MandatoryKey<&MXS_STATUS::ProcessingStatus>("ProcessingStatus", "object")});
}

TEST(MxsStatus, FailureInsideTheNestedRecordIsDropped)
{
    MXS_STATUS status{.MxsVersion = 0, .FlowRailVersion = 3, .Initialized = false, .ProcessingStatus = kProcessingRead};
    EXPECT_EQ(ReadInto(Parsed(R"({"MxsVersion":9,"Initialized":true,"ProcessingStatus":{"JobCount":1}})"), &status),
              RESULT_NO_ERROR);
    EXPECT_EQ(status.MxsVersion, 9u);
    EXPECT_EQ(status.FlowRailVersion, 3u);
    EXPECT_TRUE(status.Initialized);
    EXPECT_EQ(status.ProcessingStatus, kProcessingRead);
}
} // namespace
} // namespace Quillmont::Trellis::CommandPipe::RestServer
