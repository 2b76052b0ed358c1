// A thread that sleeps as long as it lives: an application always has a second one, the library's watchdog, and locks
// are cheaper in a process that has none.
#pragma once

#include <future>
#include <thread>

namespace bench
{

class SecondThread
{
public:
    SecondThread() : Thread([waiting = Done.get_future()] { waiting.wait(); }) {}
    ~SecondThread()
    {
        Done.set_value();
        Thread.join();
    }
    SecondThread(const SecondThread&) = delete;
    SecondThread& operator=(const SecondThread&) = delete;

private:
    std::promise<void> Done;
    std::thread Thread;
};

} // namespace bench
