/**
 * @file
 * One piece of metadata.
 */
#pragma once

#include <ep/Export.h>

#include <QObject>

namespace ep {

/**
 * Base of everything that a CxMetadata container holds. A class derived from it carries Q_OBJECT, an invokable
 * constructor without arguments, and is registered under the interface name "IxMetadata".
 */
class EP_EXPORT IxMetadataItem : public QObject {
    Q_OBJECT
public:
    explicit IxMetadataItem(QObject* parent = nullptr);
    ~IxMetadataItem() override;

    /** A new, independent copy without a parent; the caller owns it. */
    virtual IxMetadataItem* clone() const = 0;
};

}  // namespace ep
