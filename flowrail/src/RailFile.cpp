// The file of a rail: made, found, mapped, and asked who is alive.
#include "RailFile.h"

#include "RailLog.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <new>
#include <optional>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#ifndef MADV_POPULATE_WRITE
#define MADV_POPULATE_WRITE 23
#endif

namespace Quillmont::FlowRail
{
namespace
{
// A descriptor that is not handed over yet.
class Handle
{
public:
    explicit Handle(int descriptor) : Descriptor(descriptor) {}
    ~Handle()
    {
        if (Descriptor >= 0) close(Descriptor);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    int Get() const { return Descriptor; }
    int Release() { return std::exchange(Descriptor, -1); }

private:
    int Descriptor;
};

uint64_t PageBytes()
{
    return static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

std::string SystemText()
{
    return std::strerror(errno);
}

flock ByteLock(int64_t byte, short type)
{
    flock lock{};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return lock;
}

bool TryLockByte(int descriptor, int64_t byte)
{
    flock lock = ByteLock(byte, F_WRLCK);
    return fcntl(descriptor, F_OFD_SETLK, &lock) == 0;
}

bool IsByteHeldElsewhere(int descriptor, int64_t byte)
{
    flock lock = ByteLock(byte, F_WRLCK);
    // When the system cannot tell, nobody is declared dead.
    return fcntl(descriptor, F_OFD_GETLK, &lock) != 0 || lock.l_type != F_UNLCK;
}

std::optional<gid_t> FindGroup(const std::string& text)
{
    gid_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc() && end == text.data() + text.size()) return number;
    std::vector<char> buffer(16384);
    group entry{};
    group* found = nullptr;
    if (getgrnam_r(text.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found) return std::nullopt;
    return entry.gr_gid;
}

// A large file takes long enough for a signal to come.
bool Reserve(int descriptor, off_t bytes)
{
    int result = 0;
    do
        result = fallocate(descriptor, 0, 0, bytes);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

// Gives the unnamed file its name, unless there is one already.
bool LinkInto(int descriptor, const std::string& path)
{
    const std::string self = "/proc/self/fd/" + std::to_string(descriptor);
    return linkat(AT_FDCWD, self.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

bool IsSameFile(const struct stat& left, const struct stat& right)
{
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

// A rail, or what is left of one that somebody has cut to nothing: a name comes to a file that is complete.
bool WasRail(int descriptor, const struct stat& state)
{
    uint32_t magic = 0;
    return state.st_size == 0 ||
           (pread(descriptor, &magic, sizeof magic, 0) == static_cast<ssize_t>(sizeof magic) && magic == kRailMagic);
}

// The lock of the creator is taken first: of two that try, one removes.
bool RemoveIfAbandoned(const std::string& path)
{
    const Handle file(open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat opened = {};
    if (file.Get() < 0 || fstat(file.Get(), &opened) != 0) return false;
    if (!S_ISREG(opened.st_mode) || opened.st_uid != geteuid()) return false;
    if (!WasRail(file.Get(), opened)) return false;
    if (!TryLockByte(file.Get(), kCreatorLock)) return false;
    struct stat named = {};
    if (lstat(path.c_str(), &named) != 0 || !IsSameFile(opened, named)) return false;
    return unlink(path.c_str()) == 0;
}
} // namespace

RailFile::RailFile(int descriptor, const RailGeometry& geometry, bool creator)
    : Descriptor(descriptor), Checked(geometry), Creator(creator)
{
}

RailFile::~RailFile()
{
    UnlinkOwnName();
    Guard.Forget();
    if (Reserved) munmap(Reserved, ReservedBytes);
    close(Descriptor);
}

void RailFile::UnlinkOwnName() const
{
    struct stat own = {}, named = {};
    // Somebody may have put another file in its place; that one stays.
    if (!Path.empty() && fstat(Descriptor, &own) == 0 && lstat(Path.c_str(), &named) == 0 && IsSameFile(own, named))
        unlink(Path.c_str());
}

uint32_t RailFile::Create(const RailDescription& description, std::unique_ptr<RailFile>& file)
{
    const RailGeometry geometry =
        MakeGeometry(*description.SlotBytes, *description.SlotCount, *description.Role, PageBytes());
    // Without a name until it is complete and its creator's lock is held: nobody ever sees half a rail, and nothing
    // stays behind when this process dies on the way.
    Handle handle(open(kRailFolder, O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (handle.Get() < 0)
    {
        Log(kPriorityError, "A rail could not be made in " + std::string(kRailFolder) + ": " + SystemText());
        return FLOW_RAIL_NO_MEMORY;
    }
    if (!description.Group.empty())
    {
        const std::optional<gid_t> group = FindGroup(description.Group);
        if (!group || fchown(handle.Get(), static_cast<uid_t>(-1), *group) != 0)
        {
            Log(kPriorityError, "The rail could not be given to the group " + description.Group);
            return FLOW_RAIL_BAD_ARGUMENT;
        }
    }
    fchmod(handle.Get(), description.Group.empty() ? 0600 : 0660); // whatever the umask says
    std::unique_ptr<RailFile> made(new RailFile(handle.Get(), geometry, true));
    handle.Release();

    // Reserved now: a page that is missing later would be a signal and not an error.
    if (!Reserve(made->Descriptor, static_cast<off_t>(geometry.FileBytes)) || !made->Map() || !made->Prefault())
    {
        Log(kPriorityError, "No room for a rail of " + std::to_string(geometry.FileBytes) + " bytes in " + kRailFolder +
                                ": " + SystemText());
        return FLOW_RAIL_NO_MEMORY;
    }
    new (made->Base) RailHeader{}; // the rest of the file is zeros: no records, nobody there
    made->Header().Geometry = geometry;
    if (!made->TryLock(kCreatorLock)) return FLOW_RAIL_BAD_STATE;

    std::string path = RailPath(description.Name);
    bool named = LinkInto(made->Descriptor, path);
    if (!named && errno == EEXIST && RemoveIfAbandoned(path)) named = LinkInto(made->Descriptor, path);
    if (!named)
    {
        Log(kPriorityError, "The rail " + description.Name + " could not be named: " + SystemText());
        return FLOW_RAIL_BAD_ARGUMENT;
    }
    made->Path = std::move(path); // a copy could fail now, and the name would stay
    file = std::move(made);
    return FLOW_RAIL_OK;
}

uint32_t RailFile::Open(const RailDescription& description, std::unique_ptr<RailFile>& file)
{
    const auto refuse = [&description](const std::string& reason)
    {
        Log(kPriorityError, "The rail " + description.Name + " could not be opened: " + reason);
        return FLOW_RAIL_BAD_STATE;
    };
    Handle handle(open(RailPath(description.Name).c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat state = {};
    if (handle.Get() < 0 || fstat(handle.Get(), &state) != 0) return refuse(SystemText());
    RailGeometry found{};
    if (!S_ISREG(state.st_mode) || pread(handle.Get(), &found, sizeof found, 0) != static_cast<ssize_t>(sizeof found) ||
        found.Magic != kRailMagic)
        return refuse("it is no rail.");
    if (found.LayoutVersion != kRailLayoutVersion)
        return refuse("its layout has version " + std::to_string(found.LayoutVersion) + ".");
    const uint64_t capacity = uint64_t{found.SlotBytes} * found.SlotCount;
    if (found.SlotCount > kMaxSlotCount || capacity == 0 || capacity >= kCapacityLimit ||
        (found.CreatorRole != RailRole::Producer && found.CreatorRole != RailRole::Consumer) ||
        found != MakeGeometry(found.SlotBytes, found.SlotCount, found.CreatorRole, PageBytes()) ||
        static_cast<uint64_t>(state.st_size) != found.FileBytes)
        return refuse("its header is damaged.");
    if (description.SlotBytes.value_or(found.SlotBytes) != found.SlotBytes ||
        description.SlotCount.value_or(found.SlotCount) != found.SlotCount ||
        description.Role.value_or(found.CreatorRole) != found.CreatorRole)
        return refuse("it is not as described.");

    std::unique_ptr<RailFile> opened(new RailFile(handle.Get(), found, false));
    handle.Release();
    if (!opened->IsHeldElsewhere(kCreatorLock)) return refuse("its creator is gone.");
    if (!opened->Map() || !opened->Prefault())
    {
        refuse(SystemText());
        return FLOW_RAIL_NO_MEMORY;
    }
    file = std::move(opened);
    return FLOW_RAIL_OK;
}

bool RailFile::Map()
{
    // A stretch of addresses for all of it first, so that nothing else can come between ring and mirror.
    const size_t mappedBytes = Checked.FileBytes + Checked.RingBytes;
    ReservedBytes = mappedBytes + kHugePageBytes;
    void* const reserved = mmap(nullptr, ReservedBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (reserved == MAP_FAILED) return false;
    Reserved = static_cast<uint8_t*>(reserved);
    Base = reinterpret_cast<uint8_t*>(RoundUp(reinterpret_cast<uintptr_t>(reserved), kHugePageBytes));
    constexpr int kProtection = PROT_READ | PROT_WRITE;
    if (mmap(Base, Checked.FileBytes, kProtection, MAP_SHARED | MAP_FIXED, Descriptor, 0) == MAP_FAILED) return false;
    if (mmap(Base + Checked.FileBytes, Checked.RingBytes, kProtection, MAP_SHARED | MAP_FIXED, Descriptor,
             static_cast<off_t>(Checked.DataOffset)) == MAP_FAILED)
        return false;
    madvise(Base, mappedBytes, MADV_HUGEPAGE); // an offer; most systems keep small pages here
    return Guard.Watch(Base, mappedBytes);
}

// The first touch of a page costs far more than any later one. It is paid before the first slot, by both sides: the
// creator's gives a page its zeros, and then those that are near it are mapped with the one that is read.
bool RailFile::Prefault() const
{
    // A system before Linux 5.14 does not know it, and pays below.
    if (Creator && madvise(Base, Checked.FileBytes, MADV_POPULATE_WRITE) != 0 && errno != EINVAL) return false;
    const volatile uint8_t* const bytes = Base;
    for (size_t offset = 0; offset < Checked.FileBytes + Checked.RingBytes; offset += PageBytes())
        static_cast<void>(bytes[offset]);
    return true;
}

bool RailFile::IsCut() const
{
    struct stat state = {};
    return Guard.HasFaulted() ||
           (fstat(Descriptor, &state) == 0 && static_cast<uint64_t>(state.st_size) < Checked.FileBytes);
}

bool RailFile::TryLock(int64_t byte) const
{
    return TryLockByte(Descriptor, byte);
}

void RailFile::Unlock(int64_t byte) const
{
    flock lock = ByteLock(byte, F_UNLCK);
    fcntl(Descriptor, F_OFD_SETLK, &lock);
}

bool RailFile::IsHeldElsewhere(int64_t byte) const
{
    return IsByteHeldElsewhere(Descriptor, byte);
}

uint32_t RailFile::RemoveAbandoned(const std::string& namePrefix)
{
    const std::string prefix = kRailFilePrefix + namePrefix.substr(namePrefix.starts_with('/') ? 1 : 0);
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(kRailFolder), closedir);
    uint32_t removed = 0;
    while (const dirent* entry = folder ? readdir(folder.get()) : nullptr)
        if (std::string_view(entry->d_name).starts_with(prefix) &&
            RemoveIfAbandoned(std::string(kRailFolder) + "/" + entry->d_name))
            ++removed;
    return removed;
}
} // namespace Quillmont::FlowRail
