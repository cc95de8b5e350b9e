/**
 * @file
 * An image whose storage ends with its scope.
 */
#pragma once

#include <ep/AllocBuffer.h>

namespace ep {

/**
 * Owns the storage of one image record: releases it with FreeBuffer() at the end of its scope.
 * Movable, not copyable. Not thread-safe.
 *
 * @code
 *   ep::CxScopedBuffer scratch;
 *   scratch->width = ...;
 *   if (ep::failed(scratch.allocate())) return false;   // nothing to clean up on any path
 *   return useAndKeep(scratch.take());                  // or hand the storage on
 * @endcode
 */
class CxScopedBuffer {
public:
    /** An empty image (emptyImage()). */
    CxScopedBuffer() : m_image(emptyImage()) {}
    /** An image with the description @p info and no storage yet; the stride is taken as it stands. */
    explicit CxScopedBuffer(const SxImageInfo& info) : m_image(emptyImage())
    {
        static_cast<SxImageInfo&>(m_image) = info;
    }
    ~CxScopedBuffer() { FreeBuffer(m_image); }

    CxScopedBuffer(const CxScopedBuffer&) = delete;
    CxScopedBuffer& operator=(const CxScopedBuffer&) = delete;
    CxScopedBuffer(CxScopedBuffer&& other) noexcept : m_image(other.take()) {}
    CxScopedBuffer& operator=(CxScopedBuffer&& other) noexcept
    {
        if (this != &other)
            reset(other.take());
        return *this;
    }

    /** Allocates storage for the record's own description; see AllocBuffer(). Releases older storage first. */
    unsigned int allocate(bool clear = false)
    {
        FreeBuffer(m_image);
        return AllocBuffer(m_image, m_image, clear, nullptr, nullptr, nullptr);
    }
    /** Gives the image away: the caller owns its storage, this object is empty. */
    SxImageBuf take()
    {
        const SxImageBuf image = m_image;
        m_image = emptyImage();
        return image;
    }
    /** Releases what is held and takes @p image over. */
    void reset(const SxImageBuf& image = emptyImage())
    {
        FreeBuffer(m_image);
        m_image = image;
    }

    SxImageBuf& image() { return m_image; }              ///< the record, for services that fill it
    const SxImageBuf& image() const { return m_image; }  ///< the record
    SxImageBuf* operator->() { return &m_image; }
    const SxImageBuf* operator->() const { return &m_image; }

private:
    SxImageBuf m_image;
};

}  // namespace ep
