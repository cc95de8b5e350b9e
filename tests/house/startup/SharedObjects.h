/**
 * @file
 * The shared objects of the running process.
 */
#pragma once

#include <link.h>

#include <cstdio>

/** Prints the path of every loaded shared object, one per line. */
inline void printSharedObjects()
{
    dl_iterate_phdr(
        [](dl_phdr_info* object, size_t, void*) {
            if (object->dlpi_name && object->dlpi_name[0] == '/')
                std::puts(object->dlpi_name);
            return 0;
        },
        nullptr);
}
