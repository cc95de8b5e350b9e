#include <orn/Init.h>

#include <orn/matlab/CxMatlabImageLoader.h>
#include <orn/matlab/CxMatlabImageMetadata.h>
#include <orn/matlab/CxMatlabImageSaver.h>
#include <orn/matlab/CxMatlabMetadataLoader.h>
#include <orn/matlab/CxMatlabMetadataSaver.h>

#include <ep/CxRtti.h>

namespace orn {

namespace {

template <typename Class>
void registerAs(const QString& interfaceName)
{
    ep::CxRtti::instance()->registerClass(nullptr, Class::staticMetaObject, interfaceName);
}

}  // namespace

bool Init()
{
    registerAs<matlab::CxMatlabImageLoader>(QStringLiteral("IxImageDataLoader"));
    registerAs<matlab::CxMatlabImageSaver>(QStringLiteral("IxImageDataSaver"));
    registerAs<matlab::CxMatlabMetadataLoader>(QStringLiteral("IxMetadataLoader"));
    registerAs<matlab::CxMatlabMetadataSaver>(QStringLiteral("IxMetadataSaver"));
    registerAs<matlab::CxMatlabImageMetadata>(QStringLiteral("IxMetadata"));
    return true;
}

bool Finish()
{
    return true;
}

}  // namespace orn
