// An application that dies while it holds a slot: DyingApplication URL. Ends with 0 once the slot is locked.
#include "Road.h"

int main(int argc, char** argv)
{
    using namespace test;
    if (argc != 2) return 2;
    Session session(argv[1]);
    StreamSettings settings;
    settings.port = FreeUdpPort();
    ReceiveStream stream(session, settings);
    stream.Start();
    const PixelGroup& group = PixelGroupOf(0, 10);
    const Raster frame = MakeRaster(1280, 720, group, 1);
    VideoSender sender({.port = settings.port});
    SendLeadIn(sender, frame, group, 1);
    sender.Send(sender.Packets(frame, group, 2));
    ZEFA_SLOT slot = nullptr;
    ::_exit(ZEFA_LockSlot(stream.Handle, &slot) == ZEFA_NO_ERROR ? 0 : 1); // nothing is unlocked, stopped or destroyed
}
