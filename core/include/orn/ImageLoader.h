/**
 * @file
 * A way to an image that is told what to load by a map of parameters.
 */
#pragma once

#include <orn/Export.h>

#include <ep/SxImageBuf.h>

#include <QMap>
#include <QObject>
#include <QString>
#include <QVariant>

namespace orn {

/** An image loader. Holds nothing; its methods are not to be called from two threads at once. */
class ORN_EXPORT ImageLoader {
public:
    virtual ~ImageLoader();

    /**
     * Loads the image that @p parameters describe into @p image, which must be empty and is the caller's to free.
     * @param errorMessage  may be null; gets the reason of a failure
     */
    virtual bool loadImage(QMap<QString, QVariant> parameters, ep::SxImageBuf& image, QString* errorMessage) = 0;

    /** A new FileImageLoader at every call, in spite of the name; the caller deletes it. */
    static ImageLoader* instance();

    ImageLoader() = default;
    ImageLoader(const ImageLoader&) = default;
    ImageLoader& operator=(const ImageLoader&) = default;
};

}  // namespace orn

Q_DECLARE_INTERFACE(orn::ImageLoader, "ImageLoader")
