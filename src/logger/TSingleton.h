// The pattern of the library's one process-wide object: made at the first use, destroyed when the process ends.
#pragma once

#include <cstdlib>
#include <mutex>

namespace Quillmont
{
template <class T>
class TSingleton
{
public:
    virtual ~TSingleton() = default;

    // Makes the instance at the first call. What raises here is the mutex's own error, or memory.
    static T* GetInstance()
    {
        const std::lock_guard lock(Mutex);
        return InstanceLocked();
    }

protected:
    // For callers that hold Mutex.
    static T* InstanceLocked()
    {
        if (!Instance)
        {
            Instance = new T;
            if (!ExitRoutineRegistered) ExitRoutineRegistered = std::atexit(&Destroy) == 0;
        }
        return Instance;
    }

    // Both are constant-initialised: they are good in every static initialiser, whatever the load order.
    static inline constinit std::mutex Mutex;
    static inline constinit T* Instance = nullptr; // guarded by Mutex

private:
    static void Destroy()
    {
        T* instance = nullptr;
        {
            const std::lock_guard lock(Mutex);
            instance = Instance;
            Instance = nullptr;
        }
        delete instance;
    }

    static inline constinit bool ExitRoutineRegistered = false; // guarded by Mutex
};
} // namespace Quillmont
