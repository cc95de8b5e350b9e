#include <ep/CxRtti.h>

namespace ep {

CxPlugin::CxPlugin(QObject* parent) : QObject(parent) {}

CxPlugin::~CxPlugin() = default;

}  // namespace ep
