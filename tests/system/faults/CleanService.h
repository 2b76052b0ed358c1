// A service that nobody kills: it ends with 0 when its test does. The leak sanitizer would end it with another number.
#pragma once

#include "support/MxsProcess.h"

#include <gtest/gtest.h>

namespace test
{

class CleanService : public MxsProcess
{
public:
    using MxsProcess::MxsProcess;
    ~CleanService() { EXPECT_EQ(0, Stop()) << Log(); }
};

} // namespace test
