#include <ep/IxMetadataItem.h>

namespace ep {

IxMetadataItem::IxMetadataItem(QObject* parent) : QObject(parent) {}

IxMetadataItem::~IxMetadataItem() = default;

}  // namespace ep
