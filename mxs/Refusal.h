// How the service says no: a code that clients translate and a sentence for their users.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <utility>

namespace mxs
{

// What a client makes of each code is the reason for its choice; StatusOf gives the HTTP status that goes with it.
enum ErrCode : uint32_t
{
    kOperationFailed = 1,
    kNotImplemented = 2,
    kIncorrectConfiguration = 4,
    kInvalidArgument = 5,
    kUnknownResource = 8,
    kWrongState = 9,
    kUnavailable = 10,
    kBusy = 11,
    kNotPermitted = 17,
    kOfflineProperty = 19,
    kUnknownConductor = 5004,
    kUnknownPortDrop = 5005,
    kMalformedToken = 5007,
    kBadPath = 5008,
    kForeignContext = 5011,
    kForeignResource = 5012,
    kTokenNeeded = 5014,
    kBadMethod = 5015,
    kContextRemoved = 5016,
    kEssenceMismatch = 5017
};

// 500 for a code that is not in the list.
unsigned StatusOf(uint32_t errCode);

constexpr size_t kLongestMessage = 1000; // bytes; what a client sent may stand in a message, and messages are kept

// Thrown anywhere under a request and caught in one place, which turns it into the error record of the answer.
class Refusal : public std::exception
{
public:
    Refusal(uint32_t code, std::string message) : Code(code), Message(std::move(message))
    {
        if (Message.size() <= kLongestMessage) return;
        Message.resize(kLongestMessage - 3);
        Message += "...";
    }

    const char* what() const noexcept override { return Message.c_str(); }

    uint32_t Code;
    std::string Message;
};

} // namespace mxs
