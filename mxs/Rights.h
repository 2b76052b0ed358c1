// What the service keeps of the rights that it was started with.
#pragma once

namespace mxs
{

struct KeptRights
{
    bool setClock = false;   // for a PTP daemon that disciplines the machine's clock
    bool giveGroups = false; // of rails to a group that the service's user is no member of
};

// Gives up, for this process and for all that it starts, every capability but those for the network (buffers beyond the
// system's limit, time stamps of interfaces, the ports 319 and 320, raw sockets) and those that are asked for. A
// service of the superuser besides gains nothing by starting a program; others may, so that a PTP daemon that sets the
// clock and whose file has capabilities gets them (any other program is made to promise the same). Threads that run
// already keep what they have: call it before the first. False when the system refuses a part; the rest is done.
bool DropRights(const KeptRights& kept);

} // namespace mxs
