// The settings store on files.
#include "platform/Settings.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Quillmont::Platform
{
namespace
{
constexpr size_t kMostBytesRead = 65'536; // a settings file is a few lines; a runaway one must not fill the memory

std::string Trimmed(const std::string& text)
{
    constexpr const char* kBlanks = " \t\r\f\v";
    const size_t first = text.find_first_not_of(kBlanks);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

char ToLowerAscii(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// The content of a regular file, or nothing. Never waits: a pipe under that name is no settings file.
std::optional<std::string> ReadFile(const std::string& path)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0) return std::nullopt;
    struct stat status = {};
    std::optional<std::string> content;
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode))
    {
        content.emplace();
        std::array<char, 4096> block;
        ssize_t got = 0;
        while (content->size() < kMostBytesRead && (got = read(file, block.data(), block.size())) > 0)
            content->append(block.data(), static_cast<size_t>(got));
    }
    close(file);
    return content;
}

const char* TrustedEnvironment(const char* name)
{
    return secure_getenv(name); // null in a set-user-id process
}
} // namespace

std::vector<std::string> SettingsPlaces()
{
    return SettingsPlaces(&TrustedEnvironment);
}

std::vector<std::string> SettingsPlaces(const char* (*environment)(const char* name))
{
    std::vector<std::string> places{"/etc"};
    const char* configHome = environment("XDG_CONFIG_HOME");
    const char* home = environment("HOME");
    if (configHome && configHome[0] == '/') // a relative one counts as not set
        places.emplace_back(configHome);
    else if (home && home[0] == '/')
        places.push_back(std::string(home) + "/.config");
    return places;
}

std::string SettingsFile(const std::string& keyPath)
{
    std::string file;
    for (size_t begin = 0; begin <= keyPath.size();)
    {
        const size_t end = std::min(keyPath.find('\\', begin), keyPath.size());
        std::string part = keyPath.substr(begin, end - begin);
        std::transform(part.begin(), part.end(), part.begin(), ToLowerAscii);
        if (part.empty() || part == "." || part == ".." || part.find('/') != std::string::npos) return "";
        if (begin != 0 || part != "software") // the store holds nothing but software settings
            file += (file.empty() ? "" : "/") + part;
        begin = end + 1;
    }
    return file.empty() ? "" : file + ".conf";
}

std::optional<SettingsKey> SettingsKey::Open(const std::string& keyPath, const std::vector<std::string>& places)
{
    const std::string file = SettingsFile(keyPath);
    if (file.empty()) return std::nullopt;
    for (const std::string& place : places)
        if (const std::optional<std::string> content = ReadFile(place + "/" + file))
        {
            SettingsKey key;
            key.Parse(*content);
            return key;
        }
    return std::nullopt;
}

void SettingsKey::Parse(const std::string& content)
{
    for (size_t begin = 0; begin < content.size();)
    {
        const size_t end = std::min(content.find('\n', begin), content.size());
        const std::string line = Trimmed(content.substr(begin, end - begin));
        const size_t equals = line.find('=');
        if (!line.empty() && line.front() != '#' && equals != std::string::npos)
            Values[Trimmed(line.substr(0, equals))] = Trimmed(line.substr(equals + 1));
        begin = end + 1;
    }
}

bool SettingsKey::ReadText(const std::string& name, char* buffer, uint32_t* length) const
{
    const auto found = Values.find(name);
    if (found == Values.end() || found->second.size() + 1 > *length) return false;
    *length = static_cast<uint32_t>(found->second.size() + 1);
    std::memcpy(buffer, found->second.c_str(), *length);
    return true;
}
} // namespace Quillmont::Platform
