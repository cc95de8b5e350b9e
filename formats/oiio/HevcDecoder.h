/**
 * @file
 * Decoding the pictures of HEIF files.
 */
#pragma once

#include <QtGlobal>

namespace ep {
namespace oiio {

/**
 * Has libheif decode HEVC pictures by a decoder that is told from its own by what it refuses: whatever the library for
 * it, libde265, complains of and goes on. Samples that no part of a damaged picture sets are 0, and not what memory
 * held.
 *
 * From the first call on it serves everybody in the process who reads HEIF files. Thread-safe.
 *
 * @return false when libheif does not take it
 */
bool useStrictHevcDecoder();

/** Has the decoder refuse pictures of more than @p bytes, from here on and in every thread. */
void limitHevcPictures(qint64 bytes);

/** Has the decoder refuse, while it lives, larger pictures that the thread decodes which made it. */
class HevcPictureLimit {
public:
    explicit HevcPictureLimit(qint64 bytes);
    ~HevcPictureLimit();
    HevcPictureLimit(const HevcPictureLimit&) = delete;
    HevcPictureLimit& operator=(const HevcPictureLimit&) = delete;

    /** True when a picture was refused for its size. */
    bool isPassed() const { return m_isPassed; }

    /** True when this thread may not decode a picture of @p bytes. */
    static bool isPassedBy(qint64 bytes);

private:
    HevcPictureLimit* m_outer;
    qint64 m_bytes;
    bool m_isPassed = false;
};

}  // namespace oiio
}  // namespace ep
