// A folder is abandoned when the lock on its file is free: the system gives it back when a process dies.
#include "mxs/ptp/StateFolder.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <new>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace mxs::ptp
{

namespace fs = std::filesystem;

namespace
{

constexpr const char* kPrefix = "mxsd-ptp-";
constexpr const char* kLockName = "lock";

[[noreturn]] void Throw(const std::string& what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

// Locked, or -1.
int Lock(const std::string& folder, int flags)
{
    const int file = open((folder + "/" + kLockName).c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | flags, 0600);
    if (file < 0) return -1;
    if (flock(file, LOCK_EX | LOCK_NB) == 0) return file;
    close(file);
    return -1;
}

bool IsOwnFolder(const std::string& path)
{
    struct stat status
    {
    };
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid();
}

} // namespace

StateFolder::StateFolder(const std::string& parent) : Name(parent + "/" + kPrefix + "XXXXXX")
{
    if (!mkdtemp(Name.data())) Throw(parent);
    LockFd = Lock(Name, O_CREAT | O_EXCL);
    if (LockFd >= 0) return;
    const int reason = errno;
    unlink((Name + "/" + kLockName).c_str()); // it may be there: the file system knows no locks
    rmdir(Name.c_str());
    errno = reason;
    Throw(Name);
}

StateFolder::~StateFolder()
{
    try
    {
        std::error_code ignored;
        fs::remove_all(Name, ignored);
    }
    catch (const std::bad_alloc&) // the next start of a service removes it
    {
    }
    close(LockFd);
}

void StateFolder::Write(const std::string& file, const std::string& text) const
{
    std::ofstream out(Name + "/" + file, std::ios::trunc);
    out << text;
    out.close();
    if (!out) Throw(Name + "/" + file);
}

unsigned StateFolder::RemoveAbandoned(const std::string& parent)
{
    unsigned removed = 0;
    std::error_code error;
    for (fs::directory_iterator place(parent, error), end; !error && place != end; place.increment(error))
    {
        const std::string path = place->path().string();
        if (!place->path().filename().string().starts_with(kPrefix) || !IsOwnFolder(path)) continue;
        const int lock = Lock(path, 0); // none is there for a moment when the folder is new, or the last to go
        if (lock < 0) continue;
        std::error_code ignored;
        fs::remove_all(path, ignored);
        close(lock);
        ++removed;
    }
    return removed;
}

std::string StateFolder::DefaultParent()
{
    std::error_code error;
    const fs::path folder = fs::temp_directory_path(error);
    return error ? "/tmp" : folder.string();
}

} // namespace mxs::ptp
