/**
 * @file
 * Lines of a FITS header.
 */
#pragma once

#include <QByteArray>

namespace ep {
namespace fits {

/** Bytes of text in a remark. */
constexpr int remarkBytes = 72;

/** A keyword with a number or a logical value. */
QByteArray valueCard(const char* name, const QByteArray& value);
/** A keyword with a string of printable ASCII, of at most 68 bytes when each quote counts twice. */
QByteArray stringCard(const char* name, const QByteArray& text);
/** A line of a remark, COMMENT or HISTORY, of at most remarkBytes bytes of printable ASCII. */
QByteArray remarkCard(const char* name, const QByteArray& text);
/** A number as a header tells reals, in all its digits. */
QByteArray realText(double value);

}  // namespace fits
}  // namespace ep
