// Texts of the priorities.
#include "logger/Priority.h"

namespace Quillmont::Logger
{
std::string PriorityToString(uint32_t priority)
{
    static constexpr std::array<const char*, kPriorityCount> kTexts{"Emergency", "Alert",  "Critical", "Error",
                                                                    "Warning",   "Notice", "Info",     "Debug"};
    return priority < kTexts.size() ? kTexts[priority] : "Unknown priority";
}
} // namespace Quillmont::Logger
