// The trace of exported functions: which of them have one, and its two lines.
#include "ApiTest.h"

#include <array>
#include <memory>

namespace
{
struct TraceCase
{
    const char* name;
    std::function<void()> call; // fails at its first check, or touches nothing but its arguments
};

void PrintTo(const TraceCase& each, std::ostream* out)
{
    *out << each.name;
}

class Trace : public testing::TestWithParam<TraceCase>
{
};
class NoTrace : public testing::TestWithParam<TraceCase>
{
};

#define TRACED(function, ...)                                                                                          \
    TraceCase                                                                                                          \
    {                                                                                                                  \
#function, [] { function(__VA_ARGS__); }                                                                       \
    }

constexpr std::nullptr_t kNull = nullptr;

const TraceCase kTraced[] = {
    TRACED(ZEFA_DestroyMXSContext, kNull),
    TRACED(ZEFA_GetMXSStatus, kNull, kNull),
    TRACED(ZEFA_GetLibrariesStatus, kNull),
    TRACED(ZEFA_CreateConductor, kNull, 0, kNull),
    TRACED(ZEFA_DestroyConductor, kNull, 0),
    TRACED(ZEFA_AddSharedConductorToContext, kNull, 0),
    TRACED(ZEFA_GetSharedConductorList, kNull, kNull, kNull),
    TRACED(ZEFA_GetConductorConfig, kNull, 0, kNull),
    TRACED(ZEFA_SetConductorConfig, kNull, 0, kNull),
    TRACED(ZEFA_GetConductorStatus, kNull, 0, kNull),
    TRACED(ZEFA_StartConductor, kNull, 0),
    TRACED(ZEFA_StopConductor, kNull, 0),
    TRACED(ZEFA_GetCPUCoreFromOSId, kNull, 0, kNull),
    TRACED(ZEFA_GetCpuCoreStatus, kNull, 0, kNull),
    TRACED(ZEFA_GetNetworkInterfaceHandlesList, kNull, kNull, kNull),
    TRACED(ZEFA_GetNetworkInterfaceConfig, kNull, 0, kNull),
    TRACED(ZEFA_GetNetworkInterfaceStatus, kNull, 0, kNull),
    TRACED(ZEFA_DPDK_AllowUdpPort, kNull, 0, 0),
    TRACED(ZEFA_DPDK_DropUdpPort, kNull, 0, 0),
    TRACED(ZEFA_GetPTPConfig, kNull, kNull),
    TRACED(ZEFA_SetPTPConfig, kNull, kNull),
    TRACED(ZEFA_GetPTPStatus, kNull, kNull),
    TRACED(ZEFA_CreateStream, kNull, 0, 0, kNull),
    TRACED(ZEFA_DestroyStream, kNull),
    TRACED(ZEFA_OpenStream, kNull),
    TRACED(ZEFA_CloseStream, kNull),
    TRACED(ZEFA_StartStream, kNull),
    TRACED(ZEFA_StopStream, kNull),
    TRACED(ZEFA_GetStreamCommonConfig, kNull, kNull),
    TRACED(ZEFA_SetStreamCommonConfig, kNull, kNull),
    TRACED(ZEFA_GetStreamNetworkConfig, kNull, kNull),
    TRACED(ZEFA_SetStreamNetworkConfig, kNull, kNull),
    TRACED(ZEFA_GetStreamEssenceConfig, kNull, kNull),
    TRACED(ZEFA_SetStreamEssenceConfig, kNull, kNull),
    TRACED(ZEFA_GetStreamCommonStatus, kNull, kNull),
    TRACED(ZEFA_GetStreamNetworkStatus, kNull, kNull),
    TRACED(ZEFA_LockSlot, kNull, kNull),
    TRACED(ZEFA_UnlockSlot, kNull, kNull),
    TRACED(ZEFA_GetSlotBuffer, kNull, kNull, 0, kNull, kNull),
    TRACED(ZEFA_GetSlotTimestamps, kNull, kNull, 0, kNull, kNull),
    TRACED(ZEFA_SetSlotTimestamps, kNull, kNull, 0, kNull, 0),
    TRACED(ZEFA_GetSlotLostDataInfo, kNull, kNull, 0, kNull, kNull),
};

const TraceCase kUntraced[] = {
    {"ZEFA_ErrorToString",
     []
     {
         std::array<char, 32> text{};
         ZEFA_ErrorToString(0, text.data());
     }},
    TRACED(ZEFA_GetCPUCoresHandlesList, kNull, kNull, kNull),
    TRACED(ZEFA_CreatePTPDSFromProfile, 9, kNull, kNull),
    {"ZEFA_GetAncSdiVideoStandardInfo",
     []
     {
         uint32_t number = 0;
         uint8_t flag = 0;
         ZEFA_GetAncSdiVideoStandardInfo(7, &number, &number, &number, &number, &number, &flag, &flag);
     }},
    TRACED(ZEFA_ST2110_20_GetVideoStandardInfo, 7, kNull, kNull, kNull, kNull, kNull),
    TRACED(ZEFA_ReadSDP, kNull, kNull, kNull, kNull, kNull),
    TRACED(ZEFA_WriteSDP, kNull, kNull, kNull, kNull, kNull),
    TRACED(ZEFA_SlotAncAllocatePacket, kNull, kNull, 0, kNull),
    TRACED(ZEFA_SlotAncGetNbPackets, kNull, kNull, 0, 0, kNull),
    TRACED(ZEFA_SlotAncGetPacket, kNull, kNull, 0, 0, 0, kNull),
    TRACED(ZEFA_SlotAncInsertPacket, kNull, kNull, 0, 0, 0, kNull),
    TRACED(ZEFA_SlotAncRemovePacket, kNull, kNull, 0, 0, 0, 0),
};

std::string NameOf(const testing::TestParamInfo<TraceCase>& each)
{
    return each.param.name;
}
} // namespace

TEST_P(Trace, HasALineForEntryAndOneForExit)
{
    const std::string name = GetParam().name;

    EXPECT_EQ(LogOf(GetParam().call).traces, (Texts{name + " --> Entering ", name + " --> Exiting "}));
}

INSTANTIATE_TEST_SUITE_P(Functions, Trace, testing::ValuesIn(kTraced), NameOf);

TEST_P(NoTrace, LeavesNoLine)
{
    EXPECT_EQ(LogOf(GetParam().call).traces, Texts{});
}

INSTANTIATE_TEST_SUITE_P(Functions, NoTrace, testing::ValuesIn(kUntraced), NameOf);

TEST(TraceOfCreateContext, IsThereToo)
{
    ZEFA_HANDLE context = nullptr;

    EXPECT_EQ(LogOf([&] { ZEFA_CreateMXSContext("no url", &context); }).traces,
              (Texts{"ZEFA_CreateMXSContext --> Entering ", "ZEFA_CreateMXSContext --> Exiting "}));
    EXPECT_EQ(std::size(kTraced) + std::size(kUntraced) + 1, 55U);
}
