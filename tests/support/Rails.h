// The rails of a service, as files.
#pragma once

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

namespace test
{

// Rails of the service with this process id, which it puts into the names of their files.
inline std::vector<std::string> RailsOf(pid_t process)
{
    std::vector<std::string> names;
    const std::string mark = "mxsd-" + std::to_string(process) + "-";
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm"))
        if (entry.path().string().find(mark) != std::string::npos) names.push_back(entry.path());
    return names;
}

} // namespace test
