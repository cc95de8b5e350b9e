#include "FitsFile.h"

#include <mutex>

namespace ep {
namespace fits {

FitsFile FitsFile::open(const QFile& file, int mode)
{
    // By itself, cfitsio looks at what one thread is getting ready without its lock.
    static std::once_flag isReady;
    std::call_once(isReady, fits_init_cfitsio);
    const QByteArray path = "/proc/self/fd/" + QByteArray::number(file.handle());
    fitsfile* handle = nullptr;
    int status = 0;
    fits_open_diskfile(&handle, path.constData(), mode, &status);
    FitsFile result;
    result.m_handle.reset(handle);
    return result;
}

bool FitsFile::close()
{
    int status = 0;
    return fits_close_file(m_handle.release(), &status) == 0;
}

void FitsFile::Closer::operator()(fitsfile* handle) const
{
    int status = 0;
    fits_close_file(handle, &status);
}

QString problemText(int status)
{
    char text[FLEN_STATUS] = "";
    fits_get_errstatus(status, text);
    return QStringLiteral("cfitsio says: %1").arg(QString::fromLatin1(text));
}

}  // namespace fits
}  // namespace ep
