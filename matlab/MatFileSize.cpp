#include "MatFileSize.h"

#include "MatNames.h"
#include "MatText.h"
#include "MatVariableWriter.h"

namespace orn {
namespace matlab {

void MatFileSize::addImage(const ep::SxImageInfo& written, const QString& name, bool raw)
{
    const qint64 planeBytes = qint64(written.width) * written.height * ep::sampleFacts(written.dataType).bytes;
    for (qint32 plane = 0; plane < written.channels; ++plane)
        m_bytes += matVariableBytes(writtenPlaneName(written, name, raw, plane), planeBytes);
}

void MatFileSize::addText(const QString& value, const QString& name)
{
    m_bytes += matVariableBytes(name, MatText(value).storedBytes());
}

}  // namespace matlab
}  // namespace orn
