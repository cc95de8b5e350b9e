/**
 * @file
 * Images from files, numbers in text files among them.
 */
#pragma once

#include <orn/Export.h>
#include <orn/ImageLoader.h>

#include <QObject>

namespace orn {

/**
 * Loads the file that the parameter "filename" names. A host that made the object through its meta-object reaches the
 * loader by `object->qt_metacast("ImageLoader")`, or `qobject_cast<orn::ImageLoader*>(object)`.
 *
 * Text files (suffix "txt" in any case) are images of one channel of doubles: a row a line, the numbers separated by
 * commas and written with a decimal point in every language; what is no number counts as 0. All lines must have as many
 * numbers as the first.
 * @verbatim
 *   1,2.5,3          an image of 3 columns and 2 rows
 *   4,,6             with 4, 0 and 6 in the second
 * @endverbatim
 * Only plain files are read so, of images up to ep::CxImageFormatManager::memoryLimit(). Of the record only size,
 * stride, channels, depth, type and samples are set: grid, layout and codes stay as the caller had them.
 *
 * MAT files (suffix "mat") are read by matlab::LoadImageFromMat(): one without a matrix loads and leaves the record as
 * it was. All other files are read by LoadImageFromFile().
 *
 * After a failed load of a text or MAT file the record's storage is released, also what the caller had left in it.
 */
class ORN_EXPORT FileImageLoader : public QObject, public ImageLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "File Image Loader")
    Q_INTERFACES(orn::ImageLoader)
public:
    Q_INVOKABLE FileImageLoader();
    ~FileImageLoader() override;

    bool loadImage(QMap<QString, QVariant> parameters, ep::SxImageBuf& image, QString* errorMessage) override;
};

}  // namespace orn
