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

const std::vector<Operation>& AllOperations();

} // namespace Wire
