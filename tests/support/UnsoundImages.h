/**
 * @file
 * Image records that no service may touch.
 */
#pragma once

#include <ep/ExStatus.h>
#include <ep/SxImageBuf.h>

#include <QtTest>

namespace testing {

/** One way to spoil a sound record, and the status that a service answers. */
struct UnsoundImage {
    const char* name;
    void (*spoil)(ep::SxImageBuf& image);
    unsigned int status;
};

constexpr UnsoundImage unsoundImages[] = {
    {"null data is an empty image, whatever the other fields say", [](ep::SxImageBuf& image) { image.data = nullptr; },
     ep::StatusInvalidArgument},
    {"width 0", [](ep::SxImageBuf& image) { image.width = 0; }, ep::StatusInvalidArgument},
    {"negative width", [](ep::SxImageBuf& image) { image.width = -4; }, ep::StatusInvalidArgument},
    {"height 0", [](ep::SxImageBuf& image) { image.height = 0; }, ep::StatusInvalidArgument},
    {"negative height", [](ep::SxImageBuf& image) { image.height = -1; }, ep::StatusInvalidArgument},
    {"no channels", [](ep::SxImageBuf& image) { image.channels = 0; }, ep::StatusInvalidArgument},
    {"negative channels", [](ep::SxImageBuf& image) { image.channels = -3; }, ep::StatusInvalidArgument},
    {"sample type none", [](ep::SxImageBuf& image) { image.dataType = ep::DataTypeNone; }, ep::StatusUnsupportedType},
    {"sample type 12", [](ep::SxImageBuf& image) { image.dataType = ep::ExImageDataType(12); },
     ep::StatusUnsupportedType},
    {"sample type -1", [](ep::SxImageBuf& image) { image.dataType = ep::ExImageDataType(-1); },
     ep::StatusUnsupportedType},
    {"layout 2", [](ep::SxImageBuf& image) { image.layout = ep::ExImageLayout(2); }, ep::StatusUnsupportedLayout},
    {"layout -1", [](ep::SxImageBuf& image) { image.layout = ep::ExImageLayout(-1); }, ep::StatusUnsupportedLayout},
};

/** Adds a row for each unsound record. */
inline void addUnsoundImages()
{
    QTest::addColumn<int>("unsound");
    int index = 0;
    for (const UnsoundImage& row : unsoundImages)
        QTest::newRow(row.name) << index++;
}

/** The unsound record of the current row. */
inline const UnsoundImage& currentUnsoundImage()
{
    QFETCH(int, unsound);
    return unsoundImages[unsound];
}

}  // namespace testing
