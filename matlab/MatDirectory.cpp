#include "MatDirectory.h"

#include "MatFileCheck.h"
#include "MatSampleTypes.h"

#include <ep/internal/MemoryLimit.h>

#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace orn {
namespace matlab {

namespace {

// Deflate makes at most 1032 bytes of one, and every element takes at least one byte before it is compressed.
constexpr qint64 largestExpansion = 1032;

bool startsWithAny(const QByteArray& name, const QList<QByteArray>& prefixes)
{
    return std::any_of(prefixes.cbegin(), prefixes.cend(),
                       [&name](const QByteArray& prefix) { return name.startsWith(prefix); });
}

MatVarHandle refuse(ep::SxFileError& error, ep::ExFileError kind, const QString& reason)
{
    error = {kind, reason};
    return nullptr;
}

}  // namespace

qint64 MatEntry::elements() const
{
    ep::internal::CheckedSize product(1);
    for (const quint64 dimension : dimensions)
        product = product * static_cast<qint64>(dimension);
    return product.isValid() ? product.value() : -1;
}

/** Does what matio does in @p read. It passes over a read that fails, and leaves what the C library said of it. */
template <typename Read>
auto MatDirectory::watched(Read&& read)
{
    errno = 0;
    auto result = read();
    const int code = errno;
    // HDF5 tries what may fail, and notices what must not.
    if (code != 0 && Mat_GetVersion(m_mat.get()) != MAT_FT_MAT73)
        m_readFailure = QStringLiteral("it could not be read: ") + qt_error_string(code);
    return result;
}

bool MatDirectory::open(const QString& path, const QList<QByteArray>& readable, qint64 memoryLimit,
                        ep::SxFileError& error)
{
    error = checkMatFile(path, memoryLimit);
    if (error)
        return false;
    m_hdf5 = std::make_unique<Hdf5Lock>();
    m_mat.reset(Mat_Open(path.toLocal8Bit().constData(), MAT_ACC_RDONLY));
    m_hdf5->keepFor(m_mat.get());
    if (!m_mat) {
        error = {ep::ExFileError::Unreadable, QStringLiteral("it is not a MAT file")};
        return false;
    }
    m_fileBytes = QFileInfo(path).size();
    const auto next = [this] { return MatVarHandle(Mat_VarReadNextInfo(m_mat.get())); };
    while (MatVarHandle info = watched(next))
        add(std::move(info), readable);
    if (!m_readFailure.isEmpty())
        error = {ep::ExFileError::Unreadable, m_readFailure};
    return m_readFailure.isEmpty();
}

void MatDirectory::add(MatVarHandle info, const QList<QByteArray>& readable)
{
    MatEntry entry;
    entry.name = QByteArray(info->name);
    for (int i = 0; i < info->rank && info->dims; ++i)
        entry.dimensions.append(info->dims[i]);
    entry.matClass = info->class_type;
    entry.isComplex = info->isComplex != 0;
    entry.isLogical = info->isLogical != 0;

    const bool isFirst = !m_byName.contains(entry.name);
    const bool isFirstMatrix = !m_hasMatrix && entry.isMatrix() && isDenseNumeric(entry.matClass);
    if (isFirstMatrix || (isFirst && startsWithAny(entry.name, readable)))
        entry.info = std::move(info);
    if (isFirst)
        m_byName.insert(entry.name, m_entries.size());
    if (isFirstMatrix) {
        m_hasMatrix = true;
        m_firstMatrix = m_entries.size();
    }
    m_entries.push_back(std::move(entry));
}

MatEntry* MatDirectory::find(const QString& name)
{
    const auto found = m_byName.constFind(name.toLatin1());
    return found == m_byName.constEnd() ? nullptr : &m_entries[*found];
}

MatEntry* MatDirectory::firstMatrix()
{
    return m_hasMatrix ? &m_entries[m_firstMatrix] : nullptr;
}

MatVarHandle MatDirectory::readData(MatEntry& entry, qint64 elementBytes, qint64 limit, ep::SxFileError& error)
{
    const ep::internal::CheckedSize bytes = ep::internal::CheckedSize(entry.elements()) * elementBytes;
    if (!entry.info)
        return refuse(error, ep::ExFileError::Unreadable, QStringLiteral("a variable was read before"));
    if (!bytes.isValid() || entry.elements() / largestExpansion > m_fileBytes)
        return refuse(error, ep::ExFileError::Unreadable,
                      QStringLiteral("a variable is larger than its file can hold"));
    if (!bytes.fits(limit)) {
        error = ep::internal::pastMemoryLimit(bytes, limit, QStringLiteral("a variable"));
        return nullptr;
    }
    MatVarHandle variable = std::move(entry.info);
    const bool isRead = watched([&] { return Mat_VarReadDataAll(m_mat.get(), variable.get()) == 0; });
    if (!m_readFailure.isEmpty())
        return refuse(error, ep::ExFileError::Unreadable, m_readFailure);
    if (!isRead)
        return refuse(error, ep::ExFileError::Unreadable, QStringLiteral("the data of a variable cannot be read"));
    return variable;
}

MatVarHandle MatDirectory::read(MatEntry& entry, qint64 limit, ep::SxFileError& error)
{
    if (!isDenseNumeric(entry.matClass) || entry.isComplex)
        return refuse(error, ep::ExFileError::Unsupported, QStringLiteral("a variable is no array of real numbers"));
    const auto elementBytes = static_cast<qint64>(Mat_SizeOfClass(entry.matClass));
    MatVarHandle variable = readData(entry, elementBytes, limit, error);
    if (!variable)
        return nullptr;
    const auto bytes = static_cast<size_t>(entry.elements() * elementBytes);
    if (variable->nbytes != bytes || (!variable->data && bytes > 0))
        return refuse(error, ep::ExFileError::Unreadable, QStringLiteral("the data of a variable is incomplete"));
    return variable;
}

bool MatDirectory::hasPieces(const MatEntry& entry) const
{
    // Elements are counted in an int by matio.
    return entry.info && entry.info->compression == MAT_COMPRESSION_NONE && Mat_GetVersion(m_mat.get()) == MAT_FT_MAT5
           && isDenseNumeric(entry.matClass) && !entry.isComplex && entry.elements() >= 0
           && entry.elements() <= std::numeric_limits<int>::max();
}

bool MatDirectory::readPiece(MatEntry& entry, qint64 first, qint64 count, void* target, ep::SxFileError& error)
{
    constexpr int oneAfterAnother = 1;
    const bool isRead = watched([&] {
        return Mat_VarReadDataLinear(m_mat.get(), entry.info.get(), target, static_cast<int>(first), oneAfterAnother,
                                     static_cast<int>(count))
               == 0;
    });
    if (isRead && m_readFailure.isEmpty())
        return true;
    error = {ep::ExFileError::Unreadable,
             isRead ? m_readFailure : QStringLiteral("the data of a variable cannot be read")};
    return false;
}

bool MatDirectory::readText(MatEntry& entry, qint64 limit, QString& text)
{
    constexpr qint64 longestCharacter = 4;
    ep::SxFileError error;
    if (entry.matClass != MAT_C_CHAR)
        return false;
    const MatVarHandle variable = readData(entry, longestCharacter, limit, error);
    if (!variable || !variable->data || variable->nbytes > static_cast<size_t>(std::numeric_limits<int>::max()))
        return false;
    const auto bytes = static_cast<uint>(variable->nbytes);
    if (variable->data_size == 2)
        text = QString::fromUtf16(static_cast<const ushort*>(variable->data), static_cast<int>(bytes / 2));
    else
        text = QString::fromUtf8(static_cast<const char*>(variable->data),
                                 static_cast<int>(qstrnlen(static_cast<const char*>(variable->data), bytes)));
    return true;
}

}  // namespace matlab
}  // namespace orn
