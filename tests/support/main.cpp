// The start of every test program: a network of its own first, so that no port a test takes, gives back or
// finds free can meet another test's, however many run at once.
#include "tests/support/private_network.h"

#include <cstdio>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (!GTEST_FLAG_GET(list_tests) && !imsua_tests::enter_private_network())
        std::fputs("No network of its own: another test may take a port of this one.\n", stderr);
    return RUN_ALL_TESTS();
}
