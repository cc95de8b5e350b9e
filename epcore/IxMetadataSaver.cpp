#include <ep/IxMetadataSaver.h>

namespace ep {

IxMetadataSaver::IxMetadataSaver(QObject* parent) : QObject(parent) {}

IxMetadataSaver::~IxMetadataSaver() = default;

}  // namespace ep
