#include "MatVariableWriter.h"

#include "MatHandles.h"

#include <QByteArray>

namespace orn {
namespace matlab {

namespace {

qint64 padded(qint64 bytes)
{
    return (bytes + 7) / 8 * 8;
}

}  // namespace

qint64 matVariableBytes(const QString& name, qint64 dataBytes)
{
    constexpr qint64 tag = 8, flags = 16, dimensions = 16;
    // A name of up to four characters shares its element's tag.
    const qint64 nameBytes = name.size() <= 4 ? tag : tag + padded(name.size());
    return tag + flags + dimensions + nameBytes + tag + padded(dataBytes);
}

bool writeVariable(mat_t* mat, const QString& name, matio_classes matClass, matio_types matType, qint64 rows,
                   qint64 columns, const void* data)
{
    if (!mat)
        return false;
    const QByteArray latin1 = name.toLatin1();
    size_t dimensions[] = {static_cast<size_t>(rows), static_cast<size_t>(columns)};
    const MatVarHandle variable(
        Mat_VarCreate(latin1.constData(), matClass, matType, 2, dimensions, const_cast<void*>(data), 0));
    if (!variable)
        return false;
    Mat_VarWrite(mat, variable.get(), MAT_COMPRESSION_NONE);
    return true;
}

}  // namespace matlab
}  // namespace orn
