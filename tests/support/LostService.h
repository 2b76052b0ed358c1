// How a test leaves nothing behind when the service of its application has gone.
#pragma once

#include "support/FakeMxs.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <zefaline.h>

extern "C"
{
    // Of the leak sanitizer; null without it.
    [[gnu::weak]] void __lsan_disable();
    [[gnu::weak]] void __lsan_enable();
}

namespace test
{

// A context stays the application's until somebody at the service's port says that it is gone. Nobody else listens
// there.
inline void DestroyLostContext(const std::string& port, ZEFA_HANDLE& context)
{
    FakeMxs successor(uint16_t(std::stoul(port)));
    EXPECT_EQ(ZEFA_ERR_COMMUNICATION, ZEFA_DestroyMXSContext(context)); // tells the path
    for (const FakeRequest& request : successor.Requests())
        if (request.Method == "DELETE") successor.Answer(request.Method, request.Path, 200);
    EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_DestroyMXSContext(std::exchange(context, nullptr)));
}

// A call that leaves memory out of reach on purpose: the leak sanitizer overlooks what this call allocates, and no
// more.
template <class Call>
auto LeaveOutOfReach(const Call& call)
{
    struct Overlooked
    {
        Overlooked()
        {
            if (__lsan_disable) __lsan_disable();
        }
        ~Overlooked()
        {
            if (__lsan_enable) __lsan_enable();
        }
    } overlooked;
    return call();
}

} // namespace test
