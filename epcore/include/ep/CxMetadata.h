/**
 * @file
 * The metadata container.
 */
#pragma once

#include <ep/Export.h>

#include <QList>
#include <QString>

#include <memory>
#include <vector>

struct QMetaObject;

namespace ep {

class IxMetadataItem;

/**
 * Owns metadata items in the order in which they were added. Copies are deep (through IxMetadataItem::clone()), moves
 * are cheap. Not thread-safe.
 *
 * As XML (always pure ASCII; everything else stands as numeric character references):
 * @verbatim
 *   <metadata>
 *     <item class="ep::CxCommonImageMetadata"> ... written by the registered IxMetadataSaver ... </item>
 *     <item class="vendor::Unknown"> ... kept as it came when nobody serves the class ... </item>
 *   </metadata>
 * @endverbatim
 */
class EP_EXPORT CxMetadata {
public:
    CxMetadata();
    ~CxMetadata();
    CxMetadata(const CxMetadata& other);
    CxMetadata& operator=(const CxMetadata& other);
    CxMetadata(CxMetadata&& other) noexcept;
    CxMetadata& operator=(CxMetadata&& other) noexcept;

    /** True when there is no item. */
    bool isEmpty() const;
    /** The items in their order; they stay the container's. */
    QList<IxMetadataItem*> items() const;
    /** The first item whose meta-object cast to @p type succeeds; null when there is none. Stays the container's. */
    IxMetadataItem* findItem(const QMetaObject& type) const;
    /** Adds @p item and takes ownership; null is ignored. */
    void addMetadata(IxMetadataItem* item);
    /** Deletes every item. */
    void clear();

    /**
     * The items as XML text. Each goes to the first registered IxMetadataSaver that lists its class; an item that
     * nobody serves or whose saver fails is left out, as is one that makes the text longer than loadFromXml() reads.
     * Characters that XML cannot hold become U+FFFD, except in the texts of CxCommonImageMetadata, which come back
     * whole.
     * @param indent spaces per level; negative writes no white space at all
     */
    QString saveToXml(int indent) const;

    /**
     * Replaces the items by those in @p xml. Each element goes to the first registered IxMetadataLoader that lists its
     * class; one whose class nobody serves is kept verbatim and written out again by saveToXml() (unless one of its
     * names is not ASCII, which no reference can stand for).
     *
     * @return false on malformed XML, another root element, a document type declaration, nesting deeper than 256,
     * more than 256 attributes of one element or more than 2^23 characters or 2^18 elements (no item is then held), and
     * when an item's loader says false (items read before and after it are held, and so is what the loader could set of
     * that item). Cost is linear in the text. Throws std::bad_alloc when there is no memory: that says nothing of @p
     * xml, so that nobody should go on without its metadata.
     */
    bool loadFromXml(const QString& xml);

private:
    std::vector<std::unique_ptr<IxMetadataItem>> m_items;
};

}  // namespace ep
