#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/support/temp_folder.h"

// Every test binary runs in Oslo time and with its XDG folders in a private
// temporary folder, so no test depends on the machine or touches a real home.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    kvillo::testing::TempFolder home;
    ::setenv("HOME", home.path().c_str(), 1);
    ::setenv("XDG_DATA_HOME", home.file("data").c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", home.file("config").c_str(), 1);
    ::setenv("XDG_CACHE_HOME", home.file("cache").c_str(), 1);
    kvillo::testing::useTimeZone("Europe/Oslo");
    return RUN_ALL_TESTS();
}
