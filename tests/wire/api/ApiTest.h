// What all tests of exported functions share: a scripted service, a context on it, and the lines that a call logs.
#pragma once

#include "support/FakeMxs.h"
#include "zefaline.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

// What was printed by the log, without time and name, the messages with their own line ends.
struct Logged
{
    std::vector<std::string> errors;
    std::vector<std::string> warnings;
    std::vector<std::string> traces; // of exported functions
};

// Runs an action and gives what it logged. Lines of a watchdog that could not reach its service are left out: they may
// come at any time from contexts whose creation failed.
Logged LogOf(const std::function<void()>& action);

// The errors alone, which is what most tests ask for.
std::vector<std::string> ErrorsOf(const std::function<void()>& action);

using Texts = std::vector<std::string>;

uint64_t RailVersion(); // of the flow rail library in this process

// The program resolves no name but the loopback's: all others are unknown to it, so that no question leaves the
// machine. Sanitizers put a resolver of their own in the same place; their builds do without, and without the tests
// that ask.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define ZEFALINE_TEST_HAS_RESOLVER 1
std::vector<std::string> RefusedNames(); // so far, in the order in which they were asked for
#else
#define ZEFALINE_TEST_HAS_RESOLVER 0
#endif

// A service that plays a session.
class ServiceTest : public testing::Test
{
protected:
    ServiceTest() { Service.PlaySession(RailVersion()); }

    FakeMxs Service;
};

// With a context on a service, both of which all tests of the process share: to destroy a context takes a second, until
// its watchdog has noticed. What a test makes the service answer stays until another test says otherwise.
class ContextTest : public testing::Test
{
protected:
    ContextTest();

    FakeMxs& Service;
    const ZEFA_HANDLE Context;
};

// With a stream of the identifier 9, of which the service takes and gives all that a test does not say otherwise.
class StreamTest : public ContextTest
{
protected:
    static constexpr const char* kStream = "MXS/Stream/Mines/0000000000000009";

    StreamTest();
    ~StreamTest() override;

    std::string Path(const std::string& tail) const { return kStream + tail; }
    // Destroys the stream at a time of the test's own choice.
    ZEFA_ERRORCODE Destroy();

    ZEFA_HANDLE Stream = nullptr;
};

// What functions say to a bad handle: those of a session, and those of an interface.
inline constexpr const char* kSession = "The MXS session handle is invalid.\r\n";
inline constexpr const char* kInterface = "The network interface handle is invalid.\r\n";

inline constexpr const char* kConductors = "MXS/Conductor/Mines/";
inline constexpr const char* kConductor7 = "MXS/Conductor/Mines/0000000000000007";

// {"ID": [...]} with as many identifiers, counted up from 1.
std::string IdList(size_t count);
