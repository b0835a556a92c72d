// The child side of the hostile-file tests: the parent runs this executable again with only
// this test selected and the case in the environment.
#include "tests/support/HostileFiles.h"

#include <gtest/gtest.h>

TEST(HostileChild, OpensTheFileNamedInItsEnvironment)
{
    if (!HostileFiles::runChildCaseFromEnvironment())
        GTEST_SKIP() << "runs only as the child process of a hostile-file case";
}
