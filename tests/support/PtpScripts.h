// Scripts in the place of ptp4l and pmc for every service that this process starts: one that runs, and one that has
// nothing to tell, so that the port stays disabled and no packet is sent.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>

namespace test
{

class PtpScripts
{
public:
    // What the daemon takes of a service, from its first configuration to the service's end: a thread, the output of
    // ptp4l and the lock of its folder.
    static constexpr size_t kThreads = 1, kDescriptors = 2;

    PtpScripts()
    {
        std::string name = (std::filesystem::temp_directory_path() / "ptp-scripts-XXXXXX").string();
        if (!::mkdtemp(name.data())) throw std::runtime_error("no folder for the scripts");
        Folder = name;
        Write("ptp4l", "[ \"$1\" = -v ] && { echo 3.1.1; exit; }\nexec sleep 1000\n");
        Write("pmc", "");
        ::setenv("PATH", (name + ":" + OldPath).c_str(), 1);
    }
    ~PtpScripts()
    {
        ::setenv("PATH", OldPath.c_str(), 1);
        std::error_code ignored;
        std::filesystem::remove_all(Folder, ignored);
    }
    PtpScripts(const PtpScripts&) = delete;
    PtpScripts& operator=(const PtpScripts&) = delete;

private:
    void Write(const char* name, const std::string& text)
    {
        std::ofstream(Folder / name) << "#!/bin/sh\n" << text;
        std::filesystem::permissions(Folder / name, std::filesystem::perms::owner_all);
    }

    const std::string OldPath = std::getenv("PATH") ? std::getenv("PATH") : "/usr/bin:/bin";
    std::filesystem::path Folder;
};

} // namespace test
