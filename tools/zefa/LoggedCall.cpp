// The reader and the writer in a process of their own.
#include "LoggedCall.h"

#include "Failure.h"
#include "Files.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zefa
{
namespace
{
// Errors and warnings, on the standard streams, which are both our log file.
constexpr const char* kSettings = "DebugFilter = Emergency Alert Critical Error Warning\nDebugOutput = StdOutputLog\n";
constexpr const char* kMachineSettings = "/etc/quillmont/zefaline.conf";
constexpr const char* kLabel = "[QUILLMONT ZEFA][";
constexpr uint32_t kTextRoom = 1 << 20;

// What stands in the memory file, before a text of TextBytes bytes. Both processes are the same program.
struct Record
{
    ZEFA_ERRORCODE Code = ZEFA_NO_ERROR;
    uint32_t Answered = 0;
    char Exception[512] = "";
    Description Fields{};
    uint64_t TextBytes = 0;
};

[[noreturn]] void Fail(const std::string& what)
{
    throw Failure(kFile, what + ": " + std::strerror(errno) + ".");
}

class MemoryFile
{
public:
    MemoryFile() : Descriptor(::memfd_create("zefa", 0))
    {
        if (Descriptor < 0) Fail("No memory file could be made");
    }
    explicit MemoryFile(int descriptor) : Descriptor(descriptor) {}
    ~MemoryFile() { ::close(Descriptor); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string Content() const
    {
        const off_t size = ::lseek(Descriptor, 0, SEEK_END);
        std::string bytes(size > 0 ? static_cast<size_t>(size) : 0, '\0');
        for (size_t done = 0; done < bytes.size();)
        {
            const ssize_t got = ::pread(Descriptor, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
            if (got <= 0) Fail("A memory file could not be read");
            done += static_cast<size_t>(got);
        }
        return bytes;
    }

    void Replace(const std::string& bytes) const
    {
        if (::ftruncate(Descriptor, 0) != 0) Fail("A memory file could not be emptied");
        for (size_t done = 0; done < bytes.size();)
        {
            const ssize_t put =
                ::pwrite(Descriptor, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
            if (put <= 0) Fail("A memory file could not be written");
            done += static_cast<size_t>(put);
        }
    }

    const int Descriptor;
};

std::string Packed(Record record, const std::string& text)
{
    record.TextBytes = text.size();
    std::string bytes(sizeof record, '\0');
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes + text;
}

Record Unpacked(const std::string& bytes, std::string& text)
{
    Record record;
    if (bytes.size() < sizeof record) throw Failure(kFile, "The library's process gave no answer.");
    std::memcpy(static_cast<void*>(&record), bytes.data(), sizeof record);
    text = bytes.substr(sizeof record);
    return record;
}

// For as long as the object lives.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::error_code error;
        const std::filesystem::path place = std::filesystem::temp_directory_path(error);
        if (error) throw Failure(kFile, "There is no folder for temporary files: " + error.message() + ".");
        Path = (place / "zefa-XXXXXX").string();
        if (!::mkdtemp(Path.data())) Fail("No folder for the log settings could be made");
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(Path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string Path;
};

// A folder with our settings file in it.
class SettingsFolder : public TemporaryFolder
{
public:
    SettingsFolder() // what it throws leaves no folder behind
    {
        if (::mkdir((Path + "/quillmont").c_str(), 0700) != 0) Fail("No folder for the log settings could be made");
        WriteFile(Path + "/quillmont/zefaline.conf", kSettings);
    }
};

[[noreturn]] void BecomeTheCall(const char* call, const MemoryFile& data, const MemoryFile& log,
                                const std::string& settings)
{
    const std::string descriptor = std::to_string(data.Descriptor);
    ::setenv("XDG_CONFIG_HOME", settings.c_str(), 1);
    if (::dup2(log.Descriptor, STDOUT_FILENO) >= 0 && ::dup2(log.Descriptor, STDERR_FILENO) >= 0)
        ::execl("/proc/self/exe", "zefa", kLoggedCallWord, call, descriptor.c_str(), static_cast<char*>(nullptr));
    ::_exit(127);
}

CallResult Call(const char* call, const Description& fields, const std::string& text)
{
    const MemoryFile data, log;
    const SettingsFolder settings;
    Record record;
    record.Fields = fields;
    data.Replace(Packed(record, text));
    const pid_t child = ::fork(); // no thread of the library runs yet: no session is open
    if (child < 0) Fail("No process could be made");
    if (child == 0) BecomeTheCall(call, data, log, settings.Path);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR)
        continue;

    CallResult result;
    record = Unpacked(data.Content(), result.Text);
    const std::string said = log.Content();
    if (!record.Answered) throw Failure(kRefused, "The library's process ended without an answer. " + said);
    result.Code = record.Code;
    result.Exception = record.Exception;
    result.Fields = record.Fields;
    result.Log = LogLinesOf(said);
    return result;
}
} // namespace

bool MachineSettingsRule()
{
    return ::access(kMachineSettings, F_OK) == 0;
}

CallResult ReadDescription(const std::string& text)
{
    return Call("read", Unsaid(), text);
}

CallResult WriteDescription(const Description& fields)
{
    return Call("write", fields, "");
}

int RunLoggedCall(const std::vector<std::string>& words)
{
    if (words.size() != 2) return kUsage;
    const auto descriptor = DecimalNumber(words[1]);
    if (!descriptor || *descriptor > 1024) return kUsage;
    const MemoryFile data(static_cast<int>(*descriptor));
    std::string text;
    Record record = Unpacked(data.Content(), text);
    try
    {
        Description& fields = record.Fields;
        if (words[0] == "read")
        {
            record.Code = ZEFA_ReadSDP(text.c_str(), nullptr, &fields.Network, &fields.Essence, &fields.Info);
        }
        else
        {
            text.resize(kTextRoom);
            uint32_t size = kTextRoom;
            record.Code = ZEFA_WriteSDP(&fields.Network, &fields.Essence, &fields.Info, text.data(), &size);
            text.resize(record.Code == ZEFA_NO_ERROR ? std::min(size, kTextRoom) : 0);
        }
    }
    catch (const std::exception& thrown)
    {
        std::strncpy(record.Exception, thrown.what(), sizeof record.Exception - 1);
        if (!record.Exception[0]) std::strcpy(record.Exception, "exception");
    }
    record.Answered = 1;
    std::cout.flush();
    data.Replace(Packed(record, text));
    return kGood;
}

std::vector<LogLine> LogLinesOf(const std::string& text)
{
    std::vector<LogLine> lines;
    for (std::string_view line : SplitBy(text, '\n'))
    {
        if (line.ends_with('\r')) line.remove_suffix(1);
        const size_t label = line.find(kLabel);
        const size_t priority = label + std::strlen(kLabel);
        const size_t end = label == std::string_view::npos ? label : line.find(']', priority);
        if (end != std::string_view::npos)
            lines.push_back({std::string(line.substr(priority, end - priority)),
                             std::string(line.substr(std::min(end + 2, line.size())))});
        else if (!lines.empty() && !line.empty())
            lines.back().Message += "\n" + std::string(line);
    }
    return lines;
}

} // namespace zefa
