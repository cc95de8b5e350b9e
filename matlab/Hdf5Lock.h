/**
 * @file
 * One thread at a time in version 7.3 files.
 */
#pragma once

#include <matio.h>

#include <mutex>

namespace orn {
namespace matlab {

/**
 * Version 7.3 files are HDF5 files, whose library may be built for one thread only, and may be used by others in the
 * process just as well. Whoever opens a MAT file holds this lock from before that to the release of all that stems from
 * the file; for files of other versions it is given back as soon as the version is known.
 */
class Hdf5Lock {
public:
    Hdf5Lock() : m_lock(mutex()) {}

    /** To be called with the open file, or null. */
    void keepFor(mat_t* mat)
    {
        if (!mat || Mat_GetVersion(mat) != MAT_FT_MAT73)
            m_lock.unlock();
    }

private:
    static std::recursive_mutex& mutex()
    {
        // Never destroyed: files may still be closed while the program ends.
        static auto* const mutex = new std::recursive_mutex;  // one thread may have several files open
        return *mutex;
    }

    std::unique_lock<std::recursive_mutex> m_lock;
};

}  // namespace matlab
}  // namespace orn
