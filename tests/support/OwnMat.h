/**
 * @file
 * MAT files with the metadata that tells a reader they are this library's.
 */
#pragma once

#include <orn/matlab/AddImage.h>
#include <orn/matlab/CxMatlabImageMetadata.h>
#include <orn/matlab/MatFile.h>

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxMetadata.h>

#include <QFile>

namespace testing {

/** What the metadata of a file says; -1 leaves an item out. The library must be initialised. */
struct OwnMetadata {
    int savedChannels = -1;
    bool reverseRows = false;
    int bayerGrid = -1;
    int layout = 0;
    int colorBitDepth = 0;

    ep::CxMetadata metadata() const
    {
        ep::CxMetadata result;
        if (savedChannels >= 0 || reverseRows) {
            auto* own = new orn::matlab::CxMatlabImageMetadata;
            own->reverseRows = reverseRows;
            own->savedChannels = savedChannels;
            own->origChannels = savedChannels;
            result.addMetadata(own);
        }
        if (bayerGrid >= 0 || colorBitDepth != 0) {
            auto* common = new ep::CxCommonImageMetadata;
            common->bayerGrid = bayerGrid;
            common->layout = layout;
            common->colorBitDepth = colorBitDepth;
            result.addMetadata(common);
        }
        return result;
    }
    QString xml() const { return metadata().saveToXml(-1); }
};

/** A MAT file that is written as long as it lives. */
class MatWriter {
public:
    explicit MatWriter(const QString& path)
    {
        QFile::remove(path);
        m_mat = orn::matlab::MatOpenWrite(path);
    }
    ~MatWriter() { orn::matlab::MatClose(m_mat); }
    MatWriter(const MatWriter&) = delete;
    MatWriter& operator=(const MatWriter&) = delete;

    void* mat() const { return m_mat; }
    bool add(const ep::SxImageBuf& image, bool reverseRows = false, bool raw = false,
             const QString& name = QStringLiteral("ep_image"))
    {
        ep::SxImageInfo written{};
        return orn::matlab::AddImage(m_mat, image, name, reverseRows, written, raw);
    }
    bool addMetadata(const QString& xml)
    {
        return orn::matlab::AddVar(m_mat, xml, QStringLiteral("ep_image_metadata"));
    }

private:
    void* m_mat = nullptr;
};

}  // namespace testing
