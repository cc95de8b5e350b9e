/**
 * @file
 * Writing metadata items as XML.
 */
#pragma once

#include <ep/Export.h>

#include <QObject>
#include <QStringList>

class QDomDocument;
class QDomElement;

namespace ep {

class IxMetadataItem;

/** Turns items of the classes that it serves into XML. Stateless; registered under "IxMetadataSaver". */
class EP_EXPORT IxMetadataSaver : public QObject {
    Q_OBJECT
public:
    explicit IxMetadataSaver(QObject* parent = nullptr);
    ~IxMetadataSaver() override;

    /**
     * Appends the content of @p item to @p element, creating the nodes with @p doc.
     * @return false when the item could not be written
     */
    virtual bool save(QDomDocument& doc, QDomElement& element, IxMetadataItem* item) = 0;

    /** Meta-object class names of the items that this saver serves. */
    virtual QStringList supportedClasses() const = 0;
};

}  // namespace ep
