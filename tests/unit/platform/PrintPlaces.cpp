// Prints as whom it runs and where it would look for settings: the test of a set-user-id process starts a copy of it.
#include "platform/Settings.h"

#include <cstdio>
#include <string>
#include <unistd.h>

int main()
{
    std::printf("effective user %u\n", geteuid());
    for (const std::string& place : Quillmont::Platform::SettingsPlaces())
        std::printf("place %s\n", place.c_str());
    std::fflush(stdout);
    _exit(0); // a leak check at the end would need the rights that a set-user-id process does not have
}
