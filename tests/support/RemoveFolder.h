// The end of a folder in which a script that was stopped a moment ago may still write.
#pragma once

#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>

namespace test
{

// Whether it is gone.
[[nodiscard]] inline bool RemoveFolder(const std::filesystem::path& folder)
{
    for (int tries = 0; tries < 1000; ++tries)
    {
        std::error_code error;
        std::filesystem::remove_all(folder, error);
        if (!std::filesystem::exists(folder, error)) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

} // namespace test
