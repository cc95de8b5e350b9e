#include <orn/matlab/MatFile.h>

#include "Hdf5Lock.h"
#include "MatHandles.h"
#include "MatText.h"
#include "MatVariableWriter.h"

#include <ep/internal/CheckedSize.h>

#include <mutex>
#include <new>

namespace orn {
namespace matlab {

void* MatOpenRead(QString const& path)
try {
    const Hdf5Lock lock;
    return Mat_Open(path.toLocal8Bit().constData(), MAT_ACC_RDONLY);
} catch (const std::bad_alloc&) {
    return nullptr;
}

void* MatOpenWrite(QString const& path)
try {
    // The date in the file's header goes through the C library's one buffer for dates.
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    return Mat_CreateVer(path.toLocal8Bit().constData(), nullptr, MAT_FT_MAT5);
} catch (const std::bad_alloc&) {
    return nullptr;
}

bool MatClose(void* mat)
{
    if (!mat)
        return false;
    Hdf5Lock lock;
    lock.keepFor(static_cast<mat_t*>(mat));
    return Mat_Close(static_cast<mat_t*>(mat)) == 0;
}

bool AddVar(void* mat, QString const& value, QString const& name)
try {
    if (name.isEmpty())
        return false;
    const MatText text(value);
    if (matVariableBytes(name, text.storedBytes()) > largestElement)
        return false;
    return writeVariable(static_cast<mat_t*>(mat), name, MAT_C_CHAR, MAT_T_UTF8, 1, text.columns(), text.data());
} catch (const std::bad_alloc&) {
    return false;
}

bool AddVar(void* mat, double* data, int rows, int cols, QString const& name)
try {
    const ep::internal::CheckedSize bytes = ep::internal::CheckedSize(rows) * cols * qint64(sizeof(double));
    if (!bytes.fits(largestElement) || matVariableBytes(name, bytes.value()) > largestElement)
        return false;
    // Without data matio would write an array that claims dimensions which it does not fill.
    if (!data && bytes.value() > 0)
        return false;
    return writeVariable(static_cast<mat_t*>(mat), name, MAT_C_DOUBLE, MAT_T_DOUBLE, rows, cols, data);
} catch (const std::bad_alloc&) {
    return false;
}

}  // namespace matlab
}  // namespace orn
