// A service that nobody kills: it ends with 0 when its test does. A sanitizer would end it with another number.
#pragma once

#include "support/MxsProcess.h"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>

namespace test
{

// Stops it, unless it has ended already. What it has said last is shown when the test has failed, here or before.
inline void ExpectACleanEnd(MxsProcess& service)
{
    EXPECT_EQ(0, service.Stop());
    const std::string log = service.Log();
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    // One that was cut off ends with 0, too, and nothing tells what it has lost or waits for. Without a sanitizer its
    // limit is so short that a busy machine may reach it.
    EXPECT_EQ(std::string::npos, log.find("Stopping takes too long"));
#endif
    constexpr size_t kMost = 4000;
    if (testing::Test::HasFailure()) std::printf("%s", log.substr(log.size() - std::min(log.size(), kMost)).c_str());
}

class CleanService : public MxsProcess
{
public:
    using MxsProcess::MxsProcess;
    ~CleanService() { ExpectACleanEnd(*this); }
};

} // namespace test
