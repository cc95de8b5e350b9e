#include "TiffFile.h"

#include <QFile>
#include <QFileInfo>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>

namespace ep {
namespace tiff {

struct TiffFile::Report {
    QString path;
    QString problem;
    bool hasGuessedSamples = false;

    static QString format(const char* text, va_list arguments)
    {
        char buffer[512];
        std::vsnprintf(buffer, sizeof buffer, text, arguments);
        return QString::fromLocal8Bit(buffer).trimmed();
    }

    // Some of libtiff's messages name the file, others do not; whoever passes one on does.
    QString withoutPath(const QString& text) const
    {
        const QString start = path + QStringLiteral(": ");
        return text.startsWith(start) ? text.mid(start.size()) : text;
    }

    // Later messages are mostly consequences of the first. Nothing may be thrown through libtiff.
    static int onError(TIFF*, void* self, const char*, const char* text, va_list arguments)
    {
        auto* report = static_cast<Report*>(self);
        try {
            if (report->problem.isEmpty())
                report->problem = report->withoutPath(format(text, arguments));
        } catch (const std::bad_alloc&) {
            report->problem = QStringLiteral("there is not enough memory");
        }
        return 1;
    }

    // The JPEG and fax decoders fill up what is damaged and only warn.
    static int onWarning(TIFF*, void* self, const char* module, const char* text, va_list arguments)
    {
        if (!module || (std::strcmp(module, "JPEGLib") != 0 && std::strncmp(module, "Fax", 3) != 0))
            return 1;
        static_cast<Report*>(self)->hasGuessedSamples = true;
        return onError(nullptr, self, module, text, arguments);
    }
};

TiffFile::TiffFile() : m_report(std::make_unique<Report>()) {}
TiffFile::~TiffFile() = default;
TiffFile::TiffFile(TiffFile&&) noexcept = default;

TiffFile& TiffFile::operator=(TiffFile&& other) noexcept
{
    m_handle = std::move(other.m_handle);
    m_report = std::move(other.m_report);
    return *this;
}

TiffFile TiffFile::open(const QString& path, const char* mode, qint64 memoryLimit)
{
    TiffFile file;
    file.m_report->path = path;
    const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(TIFFOpenOptionsAlloc(),
                                                                               &TIFFOpenOptionsFree);
    if (!options) {
        file.m_report->problem = QStringLiteral("there is not enough memory");
        return file;
    }
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &Report::onError, file.m_report.get());
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &Report::onWarning, file.m_report.get());
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), memoryLimit);
    file.m_handle.reset(TIFFOpenExt(QFile::encodeName(path).constData(), mode, options.get()));
    return file;
}

TiffFile TiffFile::openForReading(const QString& path, qint64 memoryLimit)
{
    // libtiff would wait for a pipe's writer, and its own messages name the file.
    TiffFile refused;
    QFile probe(path);
    if (QFileInfo(path).exists() && !QFileInfo(path).isFile())
        refused.m_report->problem = QStringLiteral("it is not a regular file");
    else if (!probe.open(QIODevice::ReadOnly))
        refused.m_report->problem = probe.errorString();
    if (!refused.problem().isEmpty())
        return refused;
    // "m": a mapped file that another process shortens would kill this one. "h": the pages' directories are read later.
    return open(path, "rmh", memoryLimit);
}

TiffFile TiffFile::openForWriting(const QString& path, Variant variant)
{
    TiffFile file = open(path, variant == Variant::Big ? "w8" : "w", std::numeric_limits<tmsize_t>::max());
    // libtiff's own message names the file.
    QFile probe(path);
    if (!file && !probe.open(QIODevice::WriteOnly))
        file.m_report->problem = probe.errorString();
    return file;
}

QString TiffFile::problem() const
{
    return m_report->problem;
}

QString TiffFile::problemOr(const QString& otherwise) const
{
    return problem().isEmpty() ? otherwise : problem();
}

bool TiffFile::hasGuessedSamples() const
{
    return m_report->hasGuessedSamples;
}

void TiffFile::forgetProblems()
{
    m_report->problem.clear();
    m_report->hasGuessedSamples = false;
}

}  // namespace tiff
}  // namespace ep
