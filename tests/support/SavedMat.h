/**
 * @file
 * A MAT file as matio itself sees it.
 */
#pragma once

#include <ep/CxMetadata.h>

#include <QFile>
#include <QSize>
#include <QString>
#include <QStringList>

#include <matio.h>

#include <cstring>
#include <memory>

namespace testing {

/** Reads single variables of a MAT file through matio, without the code under test. */
class SavedMat {
public:
    explicit SavedMat(const QString& path) : m_mat(Mat_Open(QFile::encodeName(path).constData(), MAT_ACC_RDONLY)) {}

    /** The names of all variables, in the order of the file. */
    QStringList names() const
    {
        QStringList names;
        if (!m_mat)
            return names;
        Mat_Rewind(m_mat.get());
        while (const Variable variable{Mat_VarReadNextInfo(m_mat.get())})
            names << QString::fromLatin1(variable->name);
        return names;
    }

    /** Columns and rows of a matrix; an invalid size when there is none of that name. */
    QSize size(const QString& name) const
    {
        const Variable variable = read(name);
        if (!variable || variable->rank != 2)
            return {};
        return {int(variable->dims[1]), int(variable->dims[0])};
    }

    /** Element (row, column) of a matrix. */
    template <typename T>
    T element(const QString& name, int row, int column) const
    {
        T value{};
        const Variable variable = read(name);
        if (variable && variable->data)
            std::memcpy(&value, static_cast<const T*>(variable->data) + size_t(column) * variable->dims[0] + row,
                        sizeof(T));
        return value;
    }

    /** The text of a char variable in 8-bit characters. */
    QString text(const QString& name) const
    {
        const Variable variable = read(name);
        return variable && variable->data
                   ? QString::fromUtf8(static_cast<const char*>(variable->data), int(variable->nbytes))
                   : QString();
    }

    /** The metadata variable, read back. */
    ep::CxMetadata metadata() const
    {
        ep::CxMetadata metadata;
        metadata.loadFromXml(text(QStringLiteral("ep_image_metadata")));
        return metadata;
    }

private:
    struct Close {
        void operator()(mat_t* mat) const { Mat_Close(mat); }
    };
    struct Free {
        void operator()(matvar_t* variable) const { Mat_VarFree(variable); }
    };
    using Variable = std::unique_ptr<matvar_t, Free>;

    Variable read(const QString& name) const
    {
        return Variable(m_mat ? Mat_VarRead(m_mat.get(), name.toLatin1().constData()) : nullptr);
    }

    std::unique_ptr<mat_t, Close> m_mat;
};

}  // namespace testing
