// What the library exports besides the virtual operations.
#include "CFlowRailFileMap.h"
#include "RailGuard.h"
#include "RailLog.h"

#include <new>

uint64_t CFlowRail::GetVersion()
{
    return 0x0001'0000'0000'0000; // 16 bits each: major, minor, patch, 0
}

bool CFlowRail::SetLoggingParameters(const std::multimap<std::string, std::string>& parameters)
{
    return Quillmont::FlowRail::ConfigureLog(parameters);
}

CFlowRail* CFlowRailFactory::CreateInstance(FlowRailType type)
{
    if (type != FLOW_RAIL_TYPE_FILE_MAP) return nullptr;
    return new (std::nothrow) Quillmont::FlowRail::CFlowRailFileMap();
}

uint32_t CFlowRailFactory::RemoveAbandoned(const std::string& namePrefix)
{
    return Quillmont::FlowRail::RailFile::RemoveAbandoned(namePrefix);
}

bool CFlowRailFactory::SurviveCutRails()
{
    return Quillmont::FlowRail::RailGuard::Install();
}
