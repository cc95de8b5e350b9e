/**
 * @file
 * A saved MAT image, variable by variable.
 */
#pragma once

#include "MatReading.h"

#include <ep/CxMetadata.h>

#include <QSize>

#include <cstring>

namespace testing {

/** The variables of a MAT file, read through matio without the code under test. */
class SavedMat {
public:
    explicit SavedMat(const QString& path) : m_variables(readVariables(path)) {}

    /** The names of all variables, in the order of the file. */
    QStringList names() const
    {
        QStringList names;
        for (const StoredVariable& variable : m_variables)
            names << variable.name;
        return names;
    }

    /** Columns and rows of a matrix; an invalid size when there is none of that name. */
    QSize size(const QString& name) const
    {
        const StoredVariable* variable = find(name);
        if (!variable || variable->dimensions.size() != 2)
            return {};
        return {int(variable->dimensions[1]), int(variable->dimensions[0])};
    }

    /** Element (row, column) of a matrix of @p T. */
    template <typename T>
    T element(const QString& name, int row, int column) const
    {
        T value{};
        const StoredVariable* variable = find(name);
        if (variable)
            std::memcpy(&value, variable->data.constData() + (column * size(name).height() + row) * int(sizeof(T)),
                        sizeof(T));
        return value;
    }

    /** The bytes of a char variable. */
    QByteArray text(const QString& name) const
    {
        const StoredVariable* variable = find(name);
        return variable ? variable->data : QByteArray();
    }

    /** The metadata variable, read back. */
    ep::CxMetadata metadata() const
    {
        ep::CxMetadata metadata;
        metadata.loadFromXml(QString::fromUtf8(text(QStringLiteral("ep_image_metadata"))));
        return metadata;
    }

private:
    const StoredVariable* find(const QString& name) const
    {
        for (const StoredVariable& variable : m_variables)
            if (variable.name == name)
                return &variable;
        return nullptr;
    }

    QVector<StoredVariable> m_variables;
};

}  // namespace testing
