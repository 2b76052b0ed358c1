// One journal for all fakes of a test, so that the order of calls across them can be compared as a list of texts.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

class CallJournal
{
public:
    static CallJournal& Instance()
    {
        static CallJournal journal;
        return journal;
    }

    void Add(std::string call)
    {
        const std::lock_guard lock(Mutex);
        Calls.push_back(std::move(call));
    }

    // What was noted since the last Take.
    std::vector<std::string> Take()
    {
        const std::lock_guard lock(Mutex);
        return std::exchange(Calls, {});
    }

private:
    std::mutex Mutex;
    std::vector<std::string> Calls;
};
