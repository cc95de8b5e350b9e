/**
 * @file
 * Reading metadata items from XML.
 */
#pragma once

#include <ep/Export.h>

#include <QObject>
#include <QStringList>

class QDomElement;

namespace ep {

class IxMetadataItem;

/** Fills items of the classes that it serves from XML. Stateless; registered under "IxMetadataLoader". */
class EP_EXPORT IxMetadataLoader : public QObject {
    Q_OBJECT
public:
    explicit IxMetadataLoader(QObject* parent = nullptr);
    ~IxMetadataLoader() override;

    /**
     * Fills @p item from the children of @p element.
     * @return false when something was missing; what could be read is set all the same
     */
    virtual bool load(const QDomElement& element, IxMetadataItem* item) = 0;

    /** Meta-object class names of the items that this loader serves. */
    virtual QStringList supportedClasses() const = 0;
};

}  // namespace ep
