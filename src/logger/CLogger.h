// The process-wide logger: owns the sinks and hands each message to those that listen.
#pragma once

#include "logger/CLogSystem.h"
#include "logger/TSingleton.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Quillmont::Logger
{
// Keys: "Filter" names the priorities to print, "Event" and "Debug" the sinks of output class 0 and 1.
using LoggingParameters = std::multimap<std::string, std::string>;

class CLogger : public TSingleton<CLogger>
{
public:
    // Sinks in the order of their creation. A thread that writes holds the list that it found, so that a change of
    // configuration or the end of the process pulls nothing away under it.
    using SinkList = std::vector<std::shared_ptr<CLogSystem>>;

    ~CLogger() override;

    // Replaces all sinks by those that the parameters ask for; `name` stands in each of their lines. False when an
    // output asks for "SysLog", which this platform does not have: the sinks made before it stay. `mode` has no effect.
    bool Configure(const LoggingParameters& parameters, const std::string& name, uint32_t mode);

    // Adds a sink behind the others, and takes one away again.
    void AddSink(std::shared_ptr<CLogSystem> sink);
    void RemoveSink(const CLogSystem* sink);

    // The sinks of the instance, which is made if it is not there.
    static std::shared_ptr<const SinkList> Sinks();

private:
    void Publish(std::shared_ptr<const SinkList> sinks);

    std::shared_ptr<const SinkList> CurrentSinks = std::make_shared<SinkList>(); // guarded by Mutex; never changed
};
} // namespace Quillmont::Logger
