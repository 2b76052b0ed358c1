// Sessions and result codes.
#include "Session.h"

#include "Failure.h"
#include "Words.h"

#include <cstdio>

namespace zefa
{
namespace
{
using ListFunction = ZEFA_ERRORCODE (*)(ZEFA_HANDLE, uint64_t*, uint32_t*);

std::vector<uint64_t> ListOf(ZEFA_HANDLE context, ListFunction list, const char* sentence)
{
    std::vector<uint64_t> ids(ZEFA_MAX_LIST_IDS);
    uint32_t count = 0;
    ZEFA_ERRORCODE code = list(context, ids.data(), &count);
    uint64_t version = 0;
    // The lists have one result for a refusal and for a service that is gone; the version tells which it was.
    if (code == ZEFA_ERR_INCORRECT_STATE && ZEFA_GetMXSStatus(context, &version) == ZEFA_ERR_COMMUNICATION)
        code = ZEFA_ERR_COMMUNICATION;
    Check(code, sentence);
    ids.resize(count);
    return ids;
}

std::string Sentence(const std::string& sentence, ZEFA_ERRORCODE code)
{
    return sentence + ": " + ErrorText(code) + ".";
}
} // namespace

Undo::~Undo()
{
    for (auto step = Steps.rbegin(); step != Steps.rend(); ++step)
        if (const ZEFA_ERRORCODE code = step->second(); code != ZEFA_NO_ERROR)
            std::fprintf(stderr, "zefa: clean-up: %s: %s\n", step->first, ErrorText(code).c_str());
}

std::string ErrorText(ZEFA_ERRORCODE code)
{
    char text[ZEFA_ERROR_TEXT_CHARS];
    return ZEFA_ErrorToString(code, text) == ZEFA_NO_ERROR ? text : "result " + std::to_string(code);
}

void Check(ZEFA_ERRORCODE code, const std::string& sentence)
{
    if (code == ZEFA_NO_ERROR) return;
    throw Failure(code == ZEFA_ERR_COMMUNICATION ? kNoService : kRefused, Sentence(sentence, code));
}

Session::Session(const Arguments& arguments) : Address(arguments.Text("--service", "http://localhost:7420/"))
{
    if (!Address.ends_with('/')) Address += '/';
    ZEFA_ERRORCODE code = ZEFA_NO_ERROR;
    try
    {
        code = ZEFA_CreateMXSContext(Address.c_str(), &Handle);
    }
    catch (const std::exception& refused)
    {
        throw Failure(kUsage, "--service " + Address + " is no address: " + refused.what() + ".");
    }
    if (code == ZEFA_ERR_FATAL)
        Fits = false; // the session is open all the same
    else if (code == ZEFA_ERR_BAD_ARGUMENT)
        throw Failure(kUsage, "--service wants an address of this machine, as http://localhost:7420/.");
    else if (code != ZEFA_NO_ERROR && Handle)
    {
        ZEFA_DestroyMXSContext(Handle);
        Check(code, "No session with the service " + Address);
    }
    else
        Check(code, "No session with the service " + Address + " (is it running?)");
}

Session::~Session()
{
    if (const ZEFA_ERRORCODE code = ZEFA_DestroyMXSContext(Handle); code != ZEFA_NO_ERROR)
        std::fprintf(stderr, "zefa: %s\n", Sentence("The session could not be ended", code).c_str());
}

std::vector<Core> Session::Cores() const
{
    std::vector<Core> cores;
    for (const uint64_t id : ListOf(Handle, &ZEFA_GetCPUCoresHandlesList, "The cores could not be listed"))
    {
        Core core{.Id = id};
        Check(ZEFA_GetCpuCoreStatus(Handle, id, &core.Status), "The status of a core could not be read");
        cores.push_back(core);
    }
    return cores;
}

std::vector<Interface> Session::Interfaces() const
{
    std::vector<Interface> interfaces;
    for (const uint64_t id : ListOf(Handle, &ZEFA_GetNetworkInterfaceHandlesList, "The interfaces could not be listed"))
    {
        Interface each{.Id = id};
        Check(ZEFA_GetNetworkInterfaceStatus(Handle, id, &each.Status), "The status of an interface could not be read");
        Check(ZEFA_GetNetworkInterfaceConfig(Handle, id, &each.Config),
              "The address of an interface could not be read");
        interfaces.push_back(each);
    }
    return interfaces;
}

std::vector<uint64_t> Session::SharedConductors() const
{
    return ListOf(Handle, &ZEFA_GetSharedConductorList, "The shared conductors could not be listed");
}

Interface Session::InterfaceNamed(const std::string& name) const
{
    std::string all;
    for (const Interface& each : Interfaces())
    {
        if (name == each.Status.SystemName_C || name == AddressText(each.Config.IP_UL)) return each;
        all += (all.empty() ? "" : ", ") + std::string(each.Status.SystemName_C) + " (" +
               AddressText(each.Config.IP_UL) + ")";
    }
    throw Failure(kUsage, "There is no interface " + name + "; there are: " + all + ".");
}

} // namespace zefa
