// A stream for receive and send: from a description and options to a started stream, and back.
#pragma once

#include "Description.h"
#include "Options.h"
#include "Session.h"

#include <string>
#include <vector>
#include <zefaline.h>

namespace zefa
{

// The description of one stream in FILE, as --media chooses it, with what the options set: the raster, the format of
// the buffers. A Failure tells what is missing.
Description StreamDescription(const Arguments& arguments);

// Buffers of one slot, in the order in which they stand in a file.
std::vector<ZEFA_BUFFER_TYPE> BuffersOf(const Description& description);

struct Counters
{
    ZEFA_STREAM_COMMON_STATUS Common{};
    ZEFA_STREAM_NETWORK_STATUS Network{};
};

class Stream
{
public:
    // Takes a conductor on a core, creates, configures, opens and starts the stream. The session must outlive it.
    Stream(const Session& session, const Arguments& arguments, Description description, ZEFA_STREAM_TYPE type);

    ZEFA_HANDLE Handle() const { return Made; }
    Counters Count() const;

private:
    void TakeConductor(const Session& session, const Arguments& arguments, ZEFA_STREAM_COMMON_CONFIG& common);

    ZEFA_HANDLE Made = nullptr;
    Undo Unmake;
};

} // namespace zefa
