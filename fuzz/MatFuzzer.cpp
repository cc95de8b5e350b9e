// MAT files of versions 4, 5 and 7, the latter damaged before they are compressed. Version 7.3 is HDF5's to judge.
#include "Fuzzing.h"

#include <orn/orn_core.h>

#include <ep/CxScopedBuffer.h>

#include <QtEndian>

#include <random>

using fuzzing::outcome;

namespace {

constexpr int headerBytes = 128;
constexpr int tagBytes = 8;
constexpr quint32 compressedType = 15;

/** A compressed variable in a file. */
struct Element {
    int begin;  ///< of its tag
    int size;   ///< without its tag
};

QVector<Element> compressedElements(const QByteArray& file)
{
    QVector<Element> found;
    for (int at = headerBytes; at + tagBytes <= file.size();) {
        const auto type = qFromLittleEndian<quint32>(file.constData() + at);
        const auto size = qFromLittleEndian<quint32>(file.constData() + at + 4);
        if (size > quint32(file.size() - at - tagBytes))
            break;
        if (type == compressedType)
            found.append({at, int(size)});
        at += tagBytes + int(size);
    }
    return found;
}

/** @p file with the content of one of its compressed variables changed; null when that cannot be. */
QByteArray changedInside(const QByteArray& file, const Element& element)
{
    const QByteArray stored = file.mid(element.begin + tagBytes, element.size);
    // Qt wants the size in front, and takes it for a hint.
    QByteArray content = qUncompress(QByteArray("\0\1\0\0", 4) + stored);
    if (content.isEmpty())
        return QByteArray();
    const int size = content.size();
    content.resize(2 * size + 64);
    content.truncate(
        int(LLVMFuzzerMutate(reinterpret_cast<uint8_t*>(content.data()), size_t(size), size_t(content.size()))));
    const QByteArray deflated = qCompress(content).mid(4);
    QByteArray tag(tagBytes, '\0');
    qToLittleEndian<quint32>(compressedType, tag.data());
    qToLittleEndian<quint32>(quint32(deflated.size()), tag.data() + 4);
    return file.left(element.begin) + tag + deflated + file.mid(element.begin + tagBytes + element.size);
}

void loadImage(const QString& path)
{
    ep::CxScopedBuffer image;
    ep::CxMetadata metadata;
    bool isEntropy = false;
    const bool isRead = orn::matlab::LoadImageFromMat(path, image.image(), isEntropy, &metadata);
    // A file without a matrix is one without an image, and no failure.
    fuzzing::require(isRead || !image->data, "a failure leaves no image");
    outcome().add(isRead);
    outcome().add(isEntropy);
    outcome().add(image.image());
    outcome().add(metadata.saveToXml(-1));
}

void listVariables(const QString& path)
{
    QVector<orn::matlab::MatVariable> variables;
    QString reason;
    const bool isListed = orn::matlab::ListMatVariables(path, variables, &reason);
    fuzzing::require(isListed || !reason.isEmpty(), "a failure has a reason");
    for (const auto& variable : variables)
        outcome().add(variable.name + variable.className + variable.role);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // The signature of HDF5 stands behind the version's header or at the beginning.
    const auto file = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
    if (file.contains("\x89HDF\r\n"))
        return 0;
    const QString path = fuzzing::inputFile(data, size, "mat");
    loadImage(path);
    ep::CxScopedBuffer entropy;
    outcome().add(orn::matlab::LoadEntropyImageFromMat(QStringLiteral("PIG"), path, entropy.image()));
    outcome().add(entropy.image());
    listVariables(path);
    return 0;
}

size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t mostBytes, unsigned int seed)
{
    std::mt19937 random(seed);
    const QByteArray file(reinterpret_cast<const char*>(data), int(size));
    const QVector<Element> elements = compressedElements(file);
    if (elements.isEmpty() || random() % 3 == 0)
        return LLVMFuzzerMutate(data, size, mostBytes);
    const QByteArray changed = changedInside(file, elements[int(random() % quint32(elements.size()))]);
    if (changed.isEmpty() || size_t(changed.size()) > mostBytes)
        return LLVMFuzzerMutate(data, size, mostBytes);
    std::copy(changed.begin(), changed.end(), data);
    return size_t(changed.size());
}
