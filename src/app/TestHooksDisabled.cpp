// The test hooks of a build for users (VORNIK_TEST_HOOKS off): none. The program reads none of
// the hooks' environment variables, so nothing from outside can inject faults or drive it.
#include "app/TestHooks.h"

FaultHook faultHookFromEnvironment()
{
    return {};
}

void installTestHooks(MainWindow& /*window*/)
{}
