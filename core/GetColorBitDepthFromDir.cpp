#include <orn/GetColorBitDepthFromDir.h>

#include <orn/CxProgressInfo.h>
#include <orn/Protocol.h>

#include <ep/CxImageFormatManager.h>
#include <ep/CxScopedBuffer.h>

#include <QDir>

#include <new>

namespace orn {

namespace {

/** What stands before the name of each file of @p dir. */
QString prefixOf(const QString& dir)
{
    QString prefix = dir;
    if (!prefix.isEmpty() && !prefix.endsWith(QLatin1Char('/')) && !prefix.endsWith(QLatin1Char('\\')))
        prefix += QDir::separator();
    return QDir::toNativeSeparators(prefix);
}

/** The two reporting objects, either of which may be missing. */
class Report {
public:
    Report(Protocol* protocol, CxProgressInfo* progress, int fileCount)
        : m_protocol(protocol), m_progress(progress), m_fileCount(fileCount)
    {
        if (!m_progress)
            return;
        m_progress->reset();
        m_progress->setTaskRatio(1.0);
    }

    bool isCanceled() const { return m_progress && m_progress->isCanceled(); }
    void sayChecked(int checked) const { say(QObject::tr("%1 of %2 files checked.").arg(checked).arg(m_fileCount)); }
    void sayFailed(const QString& name) const { say(QObject::tr("Failed to read %1.").arg(name)); }
    void sayDone() const { say(QObject::tr("Done.")); }
    void advance()
    {
        m_percent += 100.0 / m_fileCount;
        if (m_progress)
            m_progress->setTotalProgress(m_percent, QObject::tr("Detecting color depth..."));
    }

private:
    void say(const QString& message) const
    {
        if (m_protocol)
            m_protocol->addMessage(message);
    }

    Protocol* m_protocol;
    CxProgressInfo* m_progress;
    int m_fileCount;
    double m_percent = 0.0;
};

/** Writes the description of image file @p path to @p info; false, with @p info left alone, when it cannot be read. */
bool describeFile(const QString& path, ep::SxImageInfo& info)
{
    ep::CxScopedBuffer image;
    if (!ep::CxImageFormatManager::loadImageFromFile(path, image.image(), nullptr))
        return false;
    info = image.image();
    return true;
}

}  // namespace

unsigned int GetColorBitDepthFromDir(const QString& dir, const QStringList& nameFilters, int* bitDepth,
                                     ep::ExImageDataType* dataType, Protocol* protocol, CxProgressInfo* progress)
try {
    if (!bitDepth)
        return ColorBitDepthNoBitDepth;
    if (!dataType)
        return ColorBitDepthNoDataType;
    *bitDepth = 0;
    const QString prefix = prefixOf(dir);
    const QStringList names = QDir(dir).entryList(nameFilters, QDir::Files, QDir::NoSort);
    if (names.isEmpty())
        return ColorBitDepthFailed;

    constexpr int filesPerMessage = 10;
    Report report(protocol, progress, names.size());
    ep::SxImageInfo deepest{};
    bool isCanceled = false;
    for (int i = 0; i < names.size(); ++i) {
        isCanceled = report.isCanceled();
        if (isCanceled)
            break;
        if (i % filesPerMessage == 0)
            report.sayChecked(i);
        ep::SxImageInfo info{};
        if (!describeFile(prefix + names[i], info))
            report.sayFailed(names[i]);
        else if (info.bitDepth > deepest.bitDepth)
            deepest = info;
        report.advance();
    }
    report.sayChecked(names.size());
    report.sayDone();
    *bitDepth = deepest.bitDepth;
    *dataType = deepest.dataType;
    return deepest.bitDepth < 1 || isCanceled ? ColorBitDepthFailed : ColorBitDepthFound;
} catch (const std::bad_alloc&) {
    return ColorBitDepthFailed;
}

}  // namespace orn
