#include <ep/IxImageDataSaver.h>

namespace ep {

IxImageDataSaver::IxImageDataSaver(QObject* parent) : IxDataSaver(parent) {}

IxImageDataSaver::~IxImageDataSaver() = default;

bool IxImageDataSaver::save(const IxData* data, int frame)
{
    return frame == 0 && saveImage(data);
}

void IxImageDataSaver::setGlobalMetadata(const CxMetadata& metadata)
{
    m_globalMetadata = metadata;
}

bool IxImageDataSaver::saveMetadata(const CxMetadata& metadata, int)
{
    return exportMetadata(metadata);
}

bool IxImageDataSaver::saveGlobalMetadata()
{
    return exportMetadata(m_globalMetadata);
}

QMap<QString, QVariant> IxImageDataSaver::defaultOptions() const
{
    return {};
}

}  // namespace ep
