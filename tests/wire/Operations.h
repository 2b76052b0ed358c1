// Every operation of the resource clients as a row: what it sends, what a good answer is, and what it makes of it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Wire.h"

namespace Wire
{

struct Clients
{
    IContextManagerClient* ContextManager;
    IStreamClient* Stream;
    IConductorClient* Conductor;
    ICpuCoreClient* CpuCore;
    INetworkInterfaceClient* NetworkInterface;
    IPtpApiClient* Ptp;
};

Clients ClientsOf(IRestClient& rest);

struct Operation
{
    std::string Name; // as its trace has it, behind the namespace
    std::string Method;
    std::string Path;
    std::string Body; // as sent
    unsigned GoodStatus;
    std::string Answer; // the body of a good answer; empty where none is read
    // Calls with good arguments. Outputs are compared: filled when the result is 5000, otherwise untouched.
    std::function<RESULT_CODE(const Clients&)> Call;
    std::function<RESULT_CODE(const Clients&)> CallWithNull; // empty where no pointer is tested
    FakeHeaders AnswerHeaders = {};
    std::string Token = "the-token"; // what the session's token makes of the header
};

// The context id of the session under which the rows are called.
inline constexpr const char* kContextId = "00000000000000c1";

// A whole status of the PTP daemon: each of its keys is mandatory.
inline constexpr const char* kPtpStatus =
    R"({"ParentDS": {"parentPortIdentity": {"clockIdentity": {"64bData": 11109890998025109354}, "portNumber": 1},)"
    R"( "parentStats": false, "observedParentOffsetScaledLogVariance": 65535,)"
    R"( "observedParentClockPhaseChangeRate": 2147483647, "grandmasterIdentity": {"64bData": 11109890998025109354},)"
    R"( "gm": {"ClockClass": 6, "ClockAccuracy": 33, "OffsetScaledLogVariance": 20061},)"
    R"( "grandmasterPriority1": 64, "grandmasterPriority2": 64},)"
    R"( "CurrentDS": {"stepsRemoved": 1, "offsetFromMaster": 391.0, "meanPathDelay": 2045.0},)"
    R"( "PortDS": {"logMinDelayReqInterval": -3, "peerMeanPathDelay": 0.0, "logAnnounceInterval": -2,)"
    R"( "announceReceiptTimeout": 3, "logSyncInterval": -3, "delayMechanism": "E2E", "logMinPdelayReqInterval": 0,)"
    R"( "versionNumber": 2, "portIdentity": {"clockIdentity": {"64bData": 1}, "portNumber": 1},)"
    R"( "portState": "SLAVE"}, "DefaultDS": {"numberPorts": 1, "clockClass": 255, "clockAccuracy": 254,)"
    R"( "offsetScaledLogVariance": 65535, "twoStepFlag": true, "domainNumber": 127, "slaveOnly": true,)"
    R"( "priority1": 255, "priority2": 255, "clockIdentity": {"64bData": 1}}, "TimePropertiesDS":)"
    R"( {"currentUtcOffset": 37, "currentUtcOffsetValid": false, "leap59": false, "leap61": false,)"
    R"( "timeTraceable": false, "frequencyTraceable": false, "ptpTimescale": false, "timeSource": 32},)"
    R"( "CurrentSystemTime": 1767225600000000001})";

const std::vector<Operation>& AllOperations();

} // namespace Wire
