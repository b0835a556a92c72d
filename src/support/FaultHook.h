// Named points in background jobs where a test can make the job fail on purpose: the hook
// is handed to the job when it starts and called with the step's name; a hook that throws
// (an exception or std::bad_alloc) lets a test follow the job's failure path. Without a
// hook nothing happens. Any thread; the hook must be safe to call from any thread.
#pragma once

#include <functional>
#include <string_view>

using FaultHook = std::function<void(std::string_view step)>;

inline void faultPoint(const FaultHook& hook, std::string_view step)
{
    if (hook)
        hook(step);
}
