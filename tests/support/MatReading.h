/**
 * @file
 * MAT files as matio itself sees them, for judging what was written.
 */
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

#include <matio.h>

#include <memory>

namespace testing {

struct MatCloser {
    void operator()(mat_t* mat) const { Mat_Close(mat); }
};
struct MatVarDeleter {
    void operator()(matvar_t* variable) const { Mat_VarFree(variable); }
};

/** One variable with its data, as Mat_VarReadNext gives it. */
struct StoredVariable {
    QString name;
    matio_classes matClass;
    matio_types matType;
    QVector<size_t> dimensions;
    bool isComplex;
    bool isCompressed;
    QByteArray data;
};

inline StoredVariable storedVariable(const matvar_t& variable)
{
    StoredVariable stored{QString::fromLatin1(variable.name),
                          variable.class_type,
                          variable.data_type,
                          {},
                          variable.isComplex != 0,
                          variable.compression != MAT_COMPRESSION_NONE,
                          {}};
    for (int i = 0; i < variable.rank; ++i)
        stored.dimensions.append(variable.dims[i]);
    if (variable.data)
        stored.data = QByteArray(static_cast<const char*>(variable.data), static_cast<int>(variable.nbytes));
    return stored;
}

/** Every variable of the file; numeric and char arrays only. */
inline QVector<StoredVariable> readVariables(const QString& path)
{
    QVector<StoredVariable> variables;
    const std::unique_ptr<mat_t, MatCloser> mat(Mat_Open(path.toLocal8Bit().constData(), MAT_ACC_RDONLY));
    if (!mat)
        return variables;
    while (std::unique_ptr<matvar_t, MatVarDeleter> variable{Mat_VarReadNext(mat.get())})
        variables.append(storedVariable(*variable));
    return variables;
}

/** The names of all variables in their order. */
inline QStringList variableNames(const QString& path)
{
    QStringList names;
    for (const StoredVariable& variable : readVariables(path))
        names << variable.name;
    return names;
}

}  // namespace testing
