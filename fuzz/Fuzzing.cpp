#include "Fuzzing.h"

#include <ep/CxImageFormatManager.h>
#include <ep/CxScopedBuffer.h>
#include <orn/Init.h>

#include "TestImages.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <memory>

using Manager = ep::CxImageFormatManager;

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    orn::Init();
    Manager::instance()->setMemoryLimit(fuzzing::memoryLimit);
    // What is wrong with an input is said in the log, millions of times.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return 0;
}

namespace fuzzing {

namespace {

/** Ends where an image that is handed out is none. */
void requireSound(const ep::SxImageBuf& image)
{
    require(image.width > 0 && image.height > 0 && image.channels > 0, "an image has pixels");
    const qint32 bits = ep::sampleFacts(image.dataType).bits;
    require(image.bitDepth >= 1 && image.bitDepth <= bits, "an image has a depth that its samples can have");
    const qint64 samples = qint64(image.width) * (image.layout == ep::LayoutPacked ? image.channels : 1);
    require(image.stride >= samples * ep::sampleFacts(image.dataType).bytes, "the rows of an image do not overlap");
}

}  // namespace

void Outcome::clear()
{
    m_hash.reset();
    m_imageBytes = 0;
    m_isAccepted = false;
    m_isTooLarge = false;
}

void Outcome::add(const void* bytes, size_t size)
{
    constexpr size_t most = size_t(1) << 30;
    const auto* next = static_cast<const char*>(bytes);
    for (size_t piece; size > 0; size -= piece, next += piece) {
        piece = std::min(size, most);
        m_hash.addData(next, static_cast<int>(piece));
    }
}

void Outcome::add(const QString& text)
{
    add(static_cast<qint32>(text.size()));
    add(text.utf16(), static_cast<size_t>(text.size()) * sizeof(QChar));
}

void Outcome::add(const ep::SxImageBuf& image)
{
    add(&image, sizeof(ep::SxImageInfo));
    if (!image.data)
        return;
    requireSound(image);
    m_isAccepted = true;
    m_imageBytes = std::max(m_imageBytes, static_cast<qint64>(testing::storageBytes(image)));
    add(image.data, testing::storageBytes(image));
}

Outcome& outcome()
{
    static Outcome current;
    return current;
}

void require(bool isKept, const char* promise)
{
    if (isKept)
        return;
    std::fprintf(stderr, "a promise is not kept: %s\n", promise);
    std::abort();
}

QString inputFile(const uint8_t* data, size_t size, const char* suffix)
{
    static const QTemporaryDir folder;
    static QString path;
    // A file that is emptied and written anew is flushed to disk by some file systems.
    QFile::remove(path);
    path = folder.filePath(QStringLiteral("input.") + QLatin1String(suffix));
    QFile file(path);
    const auto bytes = static_cast<qint64>(size);
    require(file.open(QIODevice::WriteOnly) && file.write(reinterpret_cast<const char*>(data), bytes) == bytes,
            "there is room for the input");
    return path;
}

void loadAsImage(const uint8_t* data, size_t size, const char* suffix)
{
    const QString path = inputFile(data, size, suffix);
    ep::CxScopedBuffer image;
    ep::CxMetadata metadata;
    ep::SxFileError error;
    const bool isLoaded = Manager::loadImageFromFile(path, image.image(), &metadata, nullptr, &error);
    require(isLoaded == (image->data != nullptr), "what is loaded is an image");
    require(isLoaded || !error.reason.isEmpty(), "a failure has a reason");
    if (error.kind == ep::ExFileError::TooLarge)
        outcome().setTooLarge();
    outcome().add(isLoaded);
    outcome().add(image.image());
    outcome().add(isLoaded ? metadata.saveToXml(-1) : QString());
}

}  // namespace fuzzing
