// Waiting for queued work in tests: runs the event loop until a condition holds.
#pragma once

#include <functional>

// Processes events until `condition` is true or `timeoutMs` passed; returns the condition.
bool waitUntil(const std::function<bool()>& condition, int timeoutMs = 10000);

// Processes the events that are already queued (queued calls posted so far).
void drainEvents();
