// A session with the service, and the way from a result code to a Failure.
#pragma once

#include "Options.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>
#include <zefaline.h>

namespace zefa
{

// What has been made so far and how to unmake it. Steps run in the reverse order, each whatever the others say.
class Undo
{
public:
    Undo() = default;
    ~Undo();
    Undo(const Undo&) = delete;
    Undo& operator=(const Undo&) = delete;

    void Add(const char* what, std::function<ZEFA_ERRORCODE()> step) { Steps.emplace_back(what, std::move(step)); }

private:
    std::vector<std::pair<const char*, std::function<ZEFA_ERRORCODE()>>> Steps;
};

// The text of a result code.
std::string ErrorText(ZEFA_ERRORCODE code);

// A Failure of kNoService or kRefused with `sentence` and the text of the code, unless the code is ZEFA_NO_ERROR.
void Check(ZEFA_ERRORCODE code, const std::string& sentence);

struct Interface
{
    uint64_t Id = 0;
    ZEFA_NETWORK_INTERFACE_STATUS Status{};
    ZEFA_NETWORK_INTERFACE_CONFIG Config{};
};

struct Core
{
    uint64_t Id = 0;
    ZEFA_CPU_CORE_STATUS Status{};
};

class Session
{
public:
    // Opens it as --service says.
    explicit Session(const Arguments& arguments);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    ZEFA_HANDLE Context() const { return Handle; }
    const std::string& Url() const { return Address; }
    bool RailFits() const { return Fits; } // the service has this process's version of the flow rail

    std::vector<Core> Cores() const;
    std::vector<Interface> Interfaces() const;
    std::vector<uint64_t> SharedConductors() const;
    // By name or IPv4 address; a Failure of kUsage tells which there are.
    Interface InterfaceNamed(const std::string& name) const;

private:
    std::string Address;
    ZEFA_HANDLE Handle = nullptr;
    bool Fits = true;
};

} // namespace zefa
