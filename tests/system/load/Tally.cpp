// Results of calls, counted by function and held against what each function may answer.
#include "Tally.h"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <initializer_list>
#include <numeric>

namespace test
{

namespace
{

// A set of results, a bit for each code.
constexpr uint32_t Of(std::initializer_list<ZEFA_ERRORCODE> codes)
{
    uint32_t set = 0;
    for (const ZEFA_ERRORCODE code : codes)
        set |= 1u << code;
    return set;
}

constexpr ZEFA_ERRORCODE kGood = ZEFA_NO_ERROR, kFailed = ZEFA_ERR_OPERATION_FAILED, kBad = ZEFA_ERR_BAD_ARGUMENT,
                         kNotFound = ZEFA_ERR_NOT_FOUND, kState = ZEFA_ERR_INCORRECT_STATE, kTimeout = ZEFA_ERR_TIMEOUT,
                         kCommunication = ZEFA_ERR_COMMUNICATION;

struct Answers
{
    std::string_view function;
    uint32_t allowed;
};

// What may come when others change states, and end conductors, at the same time. A conductor that is gone, or was given
// up and lives on in another context, is told as a failed communication where the function has no word of its own for
// it.
constexpr Answers kAnswers[] = {
    {"ZEFA_CreateMXSContext", Of({kGood})},
    {"ZEFA_DestroyMXSContext", Of({kGood})},
    {"ZEFA_GetMXSStatus", Of({kGood})},
    {"ZEFA_GetLibrariesStatus", Of({kFailed})}, // its success
    {"ZEFA_ErrorToString", Of({kGood, kNotFound})},

    {"ZEFA_CreateConductor", Of({kGood})},
    {"ZEFA_DestroyConductor", Of({kGood, kState})},
    {"ZEFA_AddSharedConductorToContext", Of({kGood, kNotFound})},
    {"ZEFA_GetSharedConductorList", Of({kGood})},
    {"ZEFA_GetConductorConfig", Of({kGood, kCommunication})},
    {"ZEFA_SetConductorConfig", Of({kGood, kNotFound, kState})},
    {"ZEFA_GetConductorStatus", Of({kGood, kCommunication})},
    {"ZEFA_StartConductor", Of({kGood, kBad, kCommunication})},
    {"ZEFA_StopConductor", Of({kGood, kNotFound, kState, kFailed})},

    {"ZEFA_GetCPUCoresHandlesList", Of({kGood})},
    {"ZEFA_GetCPUCoreFromOSId", Of({kGood})},
    {"ZEFA_GetCpuCoreStatus", Of({kGood})},
    {"ZEFA_GetNetworkInterfaceHandlesList", Of({kGood})},
    {"ZEFA_GetNetworkInterfaceConfig", Of({kGood})},
    {"ZEFA_GetNetworkInterfaceStatus", Of({kGood})},
    {"ZEFA_DPDK_AllowUdpPort", Of({kGood, kNotFound})},
    {"ZEFA_DPDK_DropUdpPort", Of({kGood})},

    {"ZEFA_CreatePTPDSFromProfile", Of({kGood})},
    {"ZEFA_GetPTPConfig", Of({kGood})},
    {"ZEFA_SetPTPConfig", Of({kGood, kBad})}, // bad: of no interface
    {"ZEFA_GetPTPStatus", Of({kGood})},

    {"ZEFA_CreateStream", Of({kGood})},
    {"ZEFA_DestroyStream", Of({kGood})},
    {"ZEFA_OpenStream", Of({kGood, kFailed})},
    {"ZEFA_CloseStream", Of({kGood, kFailed})},
    {"ZEFA_StartStream", Of({kGood, kBad, kState})}, // bad: not configured, its conductor was gone
    {"ZEFA_StopStream", Of({kGood, kFailed})},
    {"ZEFA_GetStreamCommonConfig", Of({kGood})},
    {"ZEFA_SetStreamCommonConfig", Of({kGood, kFailed, kNotFound, kState})},
    {"ZEFA_GetStreamNetworkConfig", Of({kGood})},
    {"ZEFA_SetStreamNetworkConfig", Of({kGood, kFailed})},
    {"ZEFA_GetStreamEssenceConfig", Of({kGood})},
    {"ZEFA_SetStreamEssenceConfig", Of({kGood, kFailed})},
    {"ZEFA_GetStreamCommonStatus", Of({kGood, kState})},
    {"ZEFA_GetStreamNetworkStatus", Of({kGood})},

    {"ZEFA_LockSlot", Of({kGood, kTimeout, kState, kFailed})},
    {"ZEFA_UnlockSlot", Of({kGood, kState})},
    {"ZEFA_GetSlotBuffer", Of({kGood, kState})},
    {"ZEFA_GetSlotTimestamps", Of({kGood, kState})},
    {"ZEFA_SetSlotTimestamps", Of({kGood, kState})},
    {"ZEFA_GetSlotLostDataInfo", Of({kGood, kState})},

    {"ZEFA_SlotAncAllocatePacket", Of({kGood, kFailed})},
    {"ZEFA_SlotAncGetNbPackets", Of({kGood, kFailed})},
    {"ZEFA_SlotAncGetPacket", Of({kGood, kFailed})},
    {"ZEFA_SlotAncInsertPacket", Of({kGood, kFailed})},
    {"ZEFA_SlotAncRemovePacket", Of({kGood, kFailed})},

    {"ZEFA_ReadSDP", Of({kGood})},
    {"ZEFA_WriteSDP", Of({kGood})},

    {"ZEFA_ST2110_20_GetVideoStandardInfo", Of({kGood, kNotFound})},
    {"ZEFA_GetAncSdiVideoStandardInfo", Of({kGood})},
};

std::string TextOf(ZEFA_ERRORCODE code)
{
    char text[ZEFA_ERROR_TEXT_CHARS] = {};
    ZEFA_ErrorToString(code, text);
    return text;
}

} // namespace

ZEFA_ERRORCODE Tally::Note(std::string_view function, ZEFA_ERRORCODE result)
{
    static_assert(std::size(kAnswers) == kFunctions, "a function is exported that has no row");
    const auto answers = std::find_if(std::begin(kAnswers), std::end(kAnswers),
                                      [&](const Answers& each) { return each.function == function; });
    const auto index = size_t(answers - kAnswers);
    if (index == kFunctions || result >= kCodes)
    {
        ADD_FAILURE() << function << " has no row, or " << result << " is no result";
        return result;
    }
    const bool first = Counts[index][result]++ == 0; // one of many is told
    if (first && !(answers->allowed >> result & 1)) ADD_FAILURE() << function << ": " << TextOf(result);
    return result;
}

Tally& Tally::operator+=(const Tally& other)
{
    for (size_t function = 0; function < kFunctions; ++function)
        for (size_t code = 0; code < kCodes; ++code)
            Counts[function][code] += other.Counts[function][code];
    return *this;
}

std::vector<std::string> Tally::NeverCalled() const
{
    std::vector<std::string> names;
    for (size_t function = 0; function < kFunctions; ++function)
        if (std::accumulate(Counts[function].begin(), Counts[function].end(), uint64_t{0}) == 0)
            names.emplace_back(kAnswers[function].function);
    return names;
}

uint64_t Tally::Calls() const
{
    uint64_t calls = 0;
    for (const auto& codes : Counts)
        calls = std::accumulate(codes.begin(), codes.end(), calls);
    return calls;
}

void Tally::Print() const
{
    for (size_t function = 0; function < kFunctions; ++function)
    {
        std::printf("%-40s", std::string(kAnswers[function].function).c_str());
        for (ZEFA_ERRORCODE code = 0; code < kCodes; ++code)
            if (const uint64_t count = Counts[function][code])
                std::printf(" %8llu %s", static_cast<unsigned long long>(count), TextOf(code).c_str());
        std::printf("\n");
    }
}

} // namespace test
