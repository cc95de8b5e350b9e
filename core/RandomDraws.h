/**
 * @file
 * The generator that repairs draw from: Qt's old one, whose sequence callers can begin by themselves.
 */
#pragma once

#include <QtGlobal>

namespace orn {

// Qt would rather have people use its newer generator, which has no such sequence.
QT_WARNING_PUSH
QT_WARNING_DISABLE_DEPRECATED

inline void seedRandom(uint seed)
{
    qsrand(seed);
}

/** A number from 0 to RAND_MAX. */
inline int drawRandom()
{
    return qrand();
}

QT_WARNING_POP

}  // namespace orn
