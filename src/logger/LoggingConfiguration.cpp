// From the settings to the sinks.
#include "logger/LoggingConfiguration.h"

#include "flowrail1.h"
#include "logger/CLogger.h"
#include "logger/Log.h"

#include <array>
#include <optional>

namespace Quillmont::Logger
{
namespace
{
struct SettingName
{
    const char* setting;
    const char* parameter;
};
constexpr std::array kSettings{SettingName{"DebugFilter", "Filter"}, SettingName{"EventOutput", "Event"},
                               SettingName{"DebugOutput", "Debug"}};

constexpr uint32_t kValueBytes = 1024;

LoggingParameters ParametersOf(const Platform::SettingsKey& key)
{
    LoggingParameters parameters;
    std::array<char, kValueBytes> text{};
    // Not set back between values: each text that is read limits the length of those behind it. Installations rely on
    // the order, and docs/logging.md tells what follows from it.
    uint32_t length = kValueBytes;
    for (const SettingName& each : kSettings)
        if (key.ReadText(each.setting, text.data(), &length)) parameters.emplace(each.parameter, text.data());
    return parameters;
}
} // namespace

void ReadLoggingConfiguration(const std::string& path, const std::vector<std::string>& places)
{
    LoggingParameters parameters;
    if (const std::optional<Platform::SettingsKey> key = Platform::SettingsKey::Open(path, places))
        parameters = ParametersOf(*key);
    else
        Log(kPriorityError, "Could not open the registry at  " + path); // heard only by sinks of an earlier reading
    CLogger::GetInstance()->Configure(parameters, "QUILLMONT ZEFA", 1);
    CFlowRail::SetLoggingParameters(parameters);
    Log(kPriorityInfo, "end of attach process");
}
} // namespace Quillmont::Logger
