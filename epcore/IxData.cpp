#include <ep/IxData.h>

namespace ep {

IxData::IxData(QObject* parent) : QObject(parent) {}

IxData::~IxData() = default;

}  // namespace ep
