/**
 * @file
 * The structure of a version 5 matrix element.
 */
#pragma once

#include "MatByteSource.h"

#include <QString>

namespace orn {
namespace matlab {

/**
 * Walks over matrix elements and finds out whether matio can be trusted with them.
 *
 * @verbatim
 *   tag      type 14, bytes of what follows        each tag is  | type, 4 bytes | size, 4 bytes |
 *   flags    class, complex, logical               or, for up to four bytes of data,
 *   dims     rank x 4 bytes                                     | size, type    | the data      |
 *   name     text
 *   data     numbers; or for cells, structures: matrix elements of the same kind
 * @endverbatim
 */
class MatElementWalk {
public:
    /**
     * @param isSwapped   the file's byte order is not this machine's
     * @param memoryLimit most bytes that matio's descriptions of the elements may take
     */
    MatElementWalk(bool isSwapped, qint64 memoryLimit)
        : m_isSwapped(isSwapped), m_memoryLimit(memoryLimit), m_memoryLeft(memoryLimit)
    {
    }

    /** Reads a full tag. */
    bool tag(MatByteSource& source, quint32& type, quint32& bytes);
    /** Walks over what follows the tag of a matrix element of @p bytes bytes. */
    bool matrix(MatByteSource& source, qint64 bytes) { return matrix(source, bytes, Place()); }
    /** Counts memory that matio takes for an element; false past the limit. */
    bool charge(qint64 memory);

    QString reason() const { return m_reason; }  ///< what is wrong, after a function gave false
    bool isTooLarge() const { return m_memoryLeft < 0; }

private:
    struct Header {
        int matClass = 0;
        bool isComplex = false;
        qint64 elements = 0;
    };
    // Where a matrix element stands.
    struct Place {
        int depth = 0;
        int holder = 0;  // class of what holds it; 0: a variable of the file
    };
    // What is left of an element, and where its bytes come from.
    struct Span {
        MatByteSource& source;
        qint64 left;
    };
    // What the tag of numbers or text says; up to four bytes may stand in the tag itself.
    struct Stored {
        quint32 type = 0;
        quint32 bytes = 0;
        bool isShort = false;
    };

    bool refuse(const char* reason);
    bool take(Span& span, void* target, qint64 bytes);
    bool pass(Span& span, qint64 bytes);
    bool tag(Span& span, quint32& type, quint32& bytes);
    bool words(Span& span, quint32* target, int count);
    bool stored(Span& span, Stored& stored);
    bool pass(Span& span, const Stored& stored);
    bool matrix(MatByteSource& source, qint64 bytes, Place place);
    bool header(Span& span, Header& header, int holder);
    bool dimensions(Span& span, Header& header);
    bool name(Span& span, const Header& header, int holder);
    bool fieldNames(Span& span, qint64& fields);
    bool children(Span& span, qint64 count, Place place);
    bool data(Span& span, const Header& header);
    bool numbers(Span& span, const Header& header);
    bool indices(Span& span);
    bool sparse(Span& span, Header header);

    bool m_isSwapped;
    qint64 m_memoryLimit;
    qint64 m_memoryLeft;
    QString m_reason;
};

}  // namespace matlab
}  // namespace orn
