// Files, pipes and terminals. Each failure is one of kFile.
#include "Files.h"

#include "Failure.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace zefa
{
namespace
{
constexpr int kWithoutWaiting = O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

[[noreturn]] void FileFails(const std::string& name, const char* verb)
{
    throw Failure(kFile, name + " " + verb + ": " + std::strerror(errno) + ".");
}

bool IsTransient(int error)
{
    return error == EINTR || error == EAGAIN;
}

bool IsPipe(const std::string& name)
{
    struct stat status = {};
    return ::stat(name.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}
} // namespace

Descriptor::~Descriptor()
{
    if (Number > STDERR_FILENO) ::close(Number);
}

InputFile::InputFile(const std::string& name)
    : Name(name), File(name == "-" ? STDIN_FILENO : ::open(name.c_str(), O_RDONLY | kWithoutWaiting))
{
    struct stat status = {};
    if (File.Number < 0 || ::fstat(File.Number, &status) != 0) FileFails(Name, "could not be read");
    if (S_ISDIR(status.st_mode)) throw Failure(kFile, Name + " is a folder.");
    IsPlain = S_ISREG(status.st_mode);
}

std::optional<size_t> InputFile::Read(std::span<uint8_t> buffer, const GoOn& goOn)
{
    while (AwaitReady(File.Number, POLLIN, goOn))
    {
        const ssize_t got = ::read(File.Number, buffer.data(), buffer.size());
        if (got >= 0) return static_cast<size_t>(got);
        if (!IsTransient(errno)) FileFails(Name, "could not be read");
    }
    return std::nullopt;
}

void InputFile::BeginAgain()
{
    if (::lseek(File.Number, 0, SEEK_SET) != 0)
        throw Failure(kFile, Name + " cannot be read from its beginning again.");
}

Descriptor OpenOutput(const std::string& name, const GoOn& goOn)
{
    while (true)
    {
        const int number = ::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | kWithoutWaiting, 0666);
        if (number >= 0) return Descriptor(number);
        const bool hasNoReader = errno == ENXIO && IsPipe(name);
        if (!hasNoReader && errno != EINTR) FileFails(name, "could not be opened");
        if (!Pause(0.1) || !goOn()) return Descriptor(-1);
    }
}

bool WriteAll(int descriptor, const std::string& name, std::string_view bytes, const GoOn& goOn)
{
    struct stat status = {};
    const bool isPlain = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    while (!bytes.empty())
    {
        if (!AwaitReady(descriptor, POLLOUT, goOn)) return false;
        // A pipe that is ready has room for so much. More would block, and hear of no end.
        const size_t most = isPlain ? bytes.size() : std::min<size_t>(bytes.size(), PIPE_BUF);
        const ssize_t written = ::write(descriptor, bytes.data(), most);
        if (written < 0 && !IsTransient(errno)) FileFails(name, "takes no more");
        bytes.remove_prefix(static_cast<size_t>(std::max<ssize_t>(written, 0)));
    }
    return true;
}

std::string ReadFile(const std::string& name)
{
    InputFile file(name);
    std::vector<uint8_t> room(1 << 16);
    std::string text;
    while (const auto got = Interrupted() ? std::nullopt : file.Read(room, &NotInterrupted))
    {
        if (*got == 0) return text;
        text.append(reinterpret_cast<const char*>(room.data()), *got);
    }
    throw Failure(kFile, name + " was not read to its end: interrupted.");
}

void WriteFile(const std::string& name, const std::string& bytes)
{
    const Descriptor file = OpenOutput(name, &NotInterrupted);
    if (file.Number < 0 || !WriteAll(file.Number, name, bytes, &NotInterrupted))
        throw Failure(kFile, name + " was not written to its end: interrupted.");
}

} // namespace zefa
