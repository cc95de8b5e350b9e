#include <ep/IxMetadataLoader.h>

namespace ep {

IxMetadataLoader::IxMetadataLoader(QObject* parent) : QObject(parent) {}

IxMetadataLoader::~IxMetadataLoader() = default;

}  // namespace ep
