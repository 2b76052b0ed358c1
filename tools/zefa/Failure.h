// How the program ends: the exit codes, and the exception that carries one with its sentence.
#pragma once

#include <stdexcept>
#include <string>

namespace zefa
{

enum ExitCode : int
{
    kGood = 0,
    kComplaints = 1,
    kUsage = 2,
    kNoService = 3,
    kRefused = 4,
    kFile = 5,
    kNothingMoved = 6,
};

struct ExitCodeText
{
    ExitCode code;
    const char* meaning;
};

// What --help, the man page and the documentation tell.
inline constexpr ExitCodeText kExitCodes[] = {
    {kGood, "done, and nothing to complain of"},
    {kComplaints, "the description was refused, has complaints, or differs from the other one"},
    {kUsage, "the command line cannot be carried out as it stands"},
    {kNoService, "the service could not be reached, or no longer accepts the session"},
    {kRefused, "the service or the library refused"},
    {kFile, "a file could not be read or written"},
    {kNothingMoved, "no slot arrived, or none was sent, in time"},
};

class Failure : public std::runtime_error
{
public:
    Failure(ExitCode code, const std::string& sentence) : std::runtime_error(sentence), Code(code) {}

    ExitCode Code;
};

} // namespace zefa
