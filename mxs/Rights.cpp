// Capability sets by the system calls themselves: what is needed is less than a library of them.
#include "mxs/Rights.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace mxs
{

namespace
{

constexpr uint64_t Bit(int capability)
{
    return uint64_t{1} << capability;
}

constexpr uint64_t kNetwork = Bit(CAP_NET_BIND_SERVICE) | Bit(CAP_NET_ADMIN) | Bit(CAP_NET_RAW);

// The bounding set, which limits what an exec gives; taking from it needs a right of its own.
bool Bound(uint64_t keep)
{
    bool complete = true;
    for (int capability = 0; prctl(PR_CAPBSET_READ, capability, 0, 0, 0) >= 0; ++capability)
        if (!(keep & Bit(capability)) && prctl(PR_CAPBSET_DROP, capability, 0, 0, 0) != 0) complete = false;
    return complete;
}

} // namespace

bool DropRights(const KeptRights& kept)
{
    const uint64_t keep = kNetwork | (kept.setClock ? Bit(CAP_SYS_TIME) : 0) | (kept.giveGroups ? Bit(CAP_CHOWN) : 0);

    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets{};
    if (syscall(SYS_capget, &header, sets.data()) != 0) return false;
    const bool mayBound = (sets[CAP_TO_INDEX(CAP_SETPCAP)].effective & CAP_TO_MASK(CAP_SETPCAP)) != 0;
    bool complete = !mayBound || Bound(keep);
    uint64_t rest = keep;
    for (__user_cap_data_struct& set : sets)
    {
        const auto kept32 = static_cast<uint32_t>(rest);
        rest >>= 32;
        set.effective &= kept32;
        set.permitted &= kept32;
        set.inheritable &= kept32; // and with it the ambient set
    }
    if (syscall(SYS_capset, &header, sets.data()) != 0) complete = false;
    if (geteuid() == 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) complete = false;
    return complete;
}

} // namespace mxs
