// What the log settings say, read once when the library is loaded.
#pragma once

#include "platform/Settings.h"

#include <string>
#include <vector>

namespace Quillmont::Logger
{
// Reads the three settings of a key, sets up the logger's sinks by them and hands the same parameters to the flow rail
// library. Nothing fails: what cannot be read leads to fewer sinks or to none.
void ReadLoggingConfiguration(const std::string& path,
                              const std::vector<std::string>& places = Platform::SettingsPlaces());
} // namespace Quillmont::Logger
