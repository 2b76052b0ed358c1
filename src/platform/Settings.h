// The settings store: small text files that stand where another system has a registry.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Quillmont::Platform
{
// The folders in which settings are looked for, the first one first: /etc, then $XDG_CONFIG_HOME or $HOME/.config. A
// process that runs with the rights of another user than the one who started it gets /etc alone: the environment is
// the starter's word.
std::vector<std::string> SettingsPlaces();

// The same with a given way to read the environment, which returns null for what is not set or not to be trusted.
std::vector<std::string> SettingsPlaces(const char* (*environment)(const char* name));

// The file of a key path below each place: "Software\Quillmont\Zefaline" is "quillmont/zefaline.conf". Empty for a path
// that names no file or would leave the place.
std::string SettingsFile(const std::string& keyPath);

// One opened key. Lines of its file are "Name = text"; blanks around the two are dropped, a line that starts with '#'
// is a comment, and of two lines with one name the later counts.
class SettingsKey
{
public:
    // Opens the key in the first place that has its file; the others are not read then.
    static std::optional<SettingsKey> Open(const std::string& keyPath,
                                           const std::vector<std::string>& places = SettingsPlaces());

    // Copies a text with its NUL to the buffer. *length is the room in bytes, and on success the bytes that were
    // written. False, and nothing is touched, when the name is not there or the text does not fit.
    bool ReadText(const std::string& name, char* buffer, uint32_t* length) const;

private:
    void Parse(const std::string& content);

    std::map<std::string, std::string> Values;
};
} // namespace Quillmont::Platform
