// Identifiers as text, in both directions, as paths and with prefixes.
#include "RecordCheck.h"

namespace Quillmont::Trellis::CommandPipe::RestServer
{
namespace
{
TEST(IdentifierToString, WritesSixteenLowercaseDigits)
{
    const std::pair<uint64_t, const char*> cases[] = {
        {0, "0000000000000000"},          {1, "0000000000000001"},
        {0xABCDEF, "0000000000abcdef"},   {0x0123456789ABCDEF, "0123456789abcdef"},
        {UINT64_MAX, "ffffffffffffffff"},
    };
    for (const auto& [id, text] : cases)
    {
        utility::string_t written;
        EXPECT_EQ(CSerializer::IdentifierToString(id, &written), RESULT_NO_ERROR);
        EXPECT_EQ(written, text);
    }
    EXPECT_EQ(CSerializer::IdentifierToString(1, nullptr), RESULT_INVALID_ARGUMENT);
}

struct ReadCase
{
    const char* text;
    uint64_t id;
    RESULT_CODE result;
};

TEST(IdentifierFromString, TakesWhatStartsAsAHexadecimalNumber)
{
    const ReadCase cases[] = {
        {"0000000000000001", 1, RESULT_NO_ERROR},
        {"\"0000000000000001\"", 1, RESULT_NO_ERROR},
        {"1", 1, RESULT_NO_ERROR},
        {"0123456789ABCDEF", 0x0123456789ABCDEF, RESULT_NO_ERROR},
        {"ffffffffffffffff", UINT64_MAX, RESULT_NO_ERROR},
        {"00000000000000000000001f", 0x1F, RESULT_NO_ERROR}, // long, but not large
        {"12\"34", 0x1234, RESULT_NO_ERROR},
        {"7 and more", 7, RESULT_NO_ERROR},
        {"a/b", 0xA, RESULT_NO_ERROR},
        {" 9", 9, RESULT_NO_ERROR},
        {"0x10", 16, RESULT_NO_ERROR},
        {"10000000000000000", 0, RESULT_INVALID_ARGUMENT}, // one digit too many
        {"", 0, RESULT_INVALID_ARGUMENT},
        {"\"\"", 0, RESULT_INVALID_ARGUMENT},
        {"xyz", 0, RESULT_INVALID_ARGUMENT},
        {"/1", 0, RESULT_INVALID_ARGUMENT},
    };
    for (const ReadCase& row : cases)
    {
        uint64_t id = 99;
        EXPECT_EQ(CSerializer::IdentifierFromString(row.text, &id), row.result) << row.text;
        EXPECT_EQ(id, row.id) << row.text;
    }
    EXPECT_EQ(CSerializer::IdentifierFromString("1", nullptr), RESULT_INVALID_ARGUMENT);
}

uint64_t CpuCoreFrom(const std::string& json)
{
    CONDUCTOR_CONFIG config{.CpuCoreID = 99};
    EXPECT_EQ(ReadInto(Parsed("{\"CpuCoreID\":" + json + "}"), &config), RESULT_NO_ERROR);
    return config.CpuCoreID;
}

TEST(PathIdentifier, IsTheLastSegment)
{
    EXPECT_EQ(CpuCoreFrom(R"("0000000000000001")"), 1u);
    EXPECT_EQ(CpuCoreFrom(R"("1")"), 1u);
    EXPECT_EQ(CpuCoreFrom(R"("v1.0/MXS/CpuCore/0000000000000001")"), 1u);
    EXPECT_EQ(CpuCoreFrom(R"("MXS/CpuCore/1")"), 1u);
    EXPECT_EQ(CpuCoreFrom(R"("MXS/CpuCore/1/")"), 1u) << "a trailing separator makes no empty element";
    EXPECT_EQ(CpuCoreFrom(R"("/2")"), 2u);
}

TEST(PathIdentifier, ReadsAsZeroWhenItDoesNotParse)
{
    EXPECT_EQ(CpuCoreFrom(R"("")"), 0u);
    EXPECT_EQ(CpuCoreFrom(R"("/")"), 0u);
    EXPECT_EQ(CpuCoreFrom(R"("1//")"), 0u) << "the last element is the empty one between the separators";
    EXPECT_EQ(CpuCoreFrom(R"("core")"), 0xCu) << "c is a digit and o ends the number";
    EXPECT_EQ(CpuCoreFrom(R"("no")"), 0u);
    EXPECT_EQ(CpuCoreFrom(R"("10000000000000000")"), 0u);
}

TEST(PrefixedIdentifier, StandsBehindThePrefixOfItsResource)
{
    ASSERT_TRUE(CSerializer::URI_PREFIXES.empty());
    CSerializer::URI_PREFIXES = {
        {"ConductorShared", "s/"}, {"ConductorMines", "m/"}, {"NetIf", "n/"}, {"CpuCore", "c/"}};
    const value core = Parsed(Written(CONDUCTOR_CONFIG{.CpuCoreID = 1}));
    const value shared = Parsed(Written(STREAM_COMMON_CONFIG{.ConductorID = 2}, true));
    const value mine = Parsed(Written(STREAM_COMMON_CONFIG{.ConductorID = 2}, false));
    const value connection = Parsed(Written(CONNECTION_CONFIG{.NetworkInterfaceID = 3}));
    CSerializer::URI_PREFIXES.clear();

    EXPECT_EQ(core.at("CpuCoreID").as_string(), "c/0000000000000001");
    EXPECT_EQ(shared.at("ConductorID").as_string(), "s/0000000000000002");
    EXPECT_EQ(mine.at("ConductorID").as_string(), "m/0000000000000002");
    EXPECT_EQ(connection.at("NetworkInterfaceID").as_string(), "n/0000000000000003");
}
} // namespace
} // namespace Quillmont::Trellis::CommandPipe::RestServer
