/**
 * @file
 * The letters of all pictures.
 */
#pragma once

#include <QFont>

namespace charts {

/** A font of the same size in pictures and files of any resolution. */
inline QFont chartFont(int pixels, bool bold = false)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(pixels);
    font.setBold(bold);
    return font;
}

}  // namespace charts
