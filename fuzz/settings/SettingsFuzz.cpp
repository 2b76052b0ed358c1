// Any bytes as the file of the log settings. The buffers of the texts are exactly as long as they say, and all that is
// logged afterwards is what the sinks take.
#include "logger/CLogger.h"
#include "logger/Log.h"
#include "logger/LoggingConfiguration.h"
#include "platform/Settings.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using namespace Quillmont;

// In the place of the system's: no line leaves this program.
extern "C" __attribute__((visibility("default"))) void syslog(int, const char*, ...) {}

namespace
{
constexpr const char* kKey = "Software\\Quillmont\\Zefaline";

void Require(bool holds)
{
    if (!holds) std::abort();
}

class CountingBuffer : public std::streambuf // counts lines and keeps nothing
{
public:
    size_t Lines = 0;

private:
    int_type overflow(int_type letter) override
    {
        Lines += letter == '\n';
        return traits_type::not_eof(letter);
    }
};

// The two places in a folder of their own, and the standard streams in our hands.
class Surroundings
{
public:
    Surroundings()
    {
        std::string name = (std::filesystem::temp_directory_path() / "zefaline-fuzz-XXXXXX").string();
        Require(mkdtemp(name.data()) != nullptr);
        Folder = name;
        for (const char* place : {"first", "second"})
            std::filesystem::create_directories(Folder / place / "quillmont");
        Out = std::cout.rdbuf(&Printed);
        Err = std::cerr.rdbuf(&Printed);
        Clog = std::clog.rdbuf(&Printed);
    }
    ~Surroundings()
    {
        std::cout.rdbuf(Out);
        std::cerr.rdbuf(Err);
        std::clog.rdbuf(Clog);
        std::error_code ignored;
        std::filesystem::remove_all(Folder, ignored);
    }
    Surroundings(const Surroundings&) = delete;
    Surroundings& operator=(const Surroundings&) = delete;

    // The settings stand in one of the places alone.
    void Write(bool inSecond, const uint8_t* data, size_t size) const
    {
        std::filesystem::remove(FileIn("first"));
        std::ofstream(FileIn(inSecond ? "second" : "first"), std::ios::binary)
            .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    std::vector<std::string> Places() const { return {Folder / "first", Folder / "second"}; }

    CountingBuffer Printed;

private:
    std::filesystem::path FileIn(const char* place) const { return Folder / place / "quillmont/zefaline.conf"; }

    std::filesystem::path Folder;
    std::streambuf *Out, *Err, *Clog;
};

// The length that a text needs, found with a buffer that holds the whole file.
std::optional<uint32_t> LengthOf(const Platform::SettingsKey& key, const std::string& name, size_t fileBytes)
{
    std::vector<char> text(fileBytes + 1);
    auto length = static_cast<uint32_t>(text.size());
    if (!key.ReadText(name, text.data(), &length)) return std::nullopt;
    Require(length > 0 && length <= text.size() && text[length - 1] == '\0');
    return length;
}

void ReadIntoExactRoom(const Platform::SettingsKey& key, const std::string& name, size_t fileBytes)
{
    const std::optional<uint32_t> needed = LengthOf(key, name, fileBytes);
    if (!needed) return;
    const std::unique_ptr<char[]> text(new char[*needed]);
    uint32_t length = *needed;
    Require(key.ReadText(name, text.get(), &length) && length == *needed);
    --length;
    Require(!key.ReadText(name, text.get(), &length) && length == *needed - 1);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Surroundings around;
    around.Write(size != 0 && data[size - 1] & 1, data, size);

    const std::optional<Platform::SettingsKey> key = Platform::SettingsKey::Open(kKey, around.Places());
    Require(key.has_value());
    for (const char* name : {"DebugFilter", "EventOutput", "DebugOutput", ""})
        ReadIntoExactRoom(*key, name, size);

    Logger::ReadLoggingConfiguration(kKey, around.Places());
    Require(Logger::CLogger::Sinks()->size() <= 4); // two outputs of two kinds each
    const size_t before = around.Printed.Lines;
    for (uint32_t priority = 0; priority < Logger::kPriorityCount; ++priority)
        Logger::Log(priority, "a line");
    // One sink at most prints to the standard streams, and no priority twice.
    Require(around.Printed.Lines - before <= Logger::kPriorityCount);
    return 0;
}
