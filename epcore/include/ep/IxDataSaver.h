/**
 * @file
 * Base of everything that writes data to files.
 */
#pragma once

#include <ep/CxMetadata.h>
#include <ep/SxFileError.h>

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QObject>
#include <QPair>
#include <QString>
#include <QVariant>

namespace ep {

class IxData;

/**
 * Writes data to a file. Use: setFileName(), setOptions(), then save(). One thread at a time.
 * The order of the virtual functions is part of the interface.
 */
class EP_EXPORT IxDataSaver : public QObject {
    Q_OBJECT
public:
    explicit IxDataSaver(QObject* parent = nullptr);
    ~IxDataSaver() override;

    /** Prepares for several frames; a saver of single frames has nothing to do and says true. */
    virtual bool open();
    /** Ends what open() began. */
    virtual bool close();
    /** Deletes the file fileName(); true when it is gone. */
    virtual bool remove();
    /** Writes one frame. */
    virtual bool save(const IxData* data, int frame) = 0;
    /** The formats served, as IxDataLoader::formats(). */
    virtual QList<QPair<QString, int>> formats() const = 0;
    /** Sets the file to write. */
    virtual void setFileName(const QString& name) = 0;
    /** True when the saver takes several frames. */
    virtual bool isSequenceSaver() const;
    /** The file to write. */
    virtual QString fileName() const = 0;
    /** True when saveToBuffer() works. */
    virtual bool supportsSaveToBuffer() const;
    /** Writes @p data into memory instead of a file; false when that is not supported. */
    virtual bool saveToBuffer(const IxData* data, QByteArray& content);
    /** Announces the number of frames to come. */
    virtual void setSequenceSize(int frames);
    /** Sets the options of this format; unknown keys are ignored. */
    virtual void setOptions(const QMap<QString, QVariant>& options) = 0;
    /** False: an image of several packed channels must be handed over as planes. */
    virtual bool acceptsInterleavedChannels() const;
    /** Lets a person choose options, starting from @p options; without a user interface they are given back as they
     * are. */
    virtual QMap<QString, QVariant> optionsFromSaveDlg(const QMap<QString, QVariant>& options);
    /** Folder of metadata side files, relative to the file's own; empty: beside the file. */
    virtual QString metadataSubdir() const;
    /** Sets metadataSubdir(). */
    virtual void setMetadataSubdir(const QString& subdir);
    /** Writes @p metadata to the side file "NAME.xml" of the file NAME, making its folder where needed. */
    virtual bool exportMetadata(const CxMetadata& metadata);

    /** Why the last save failed, or what was found amiss after one that returned true. */
    SxFileError lastError() const { return m_error; }
    /** Exact size in bytes of the file that the last save should have made; 0: not known. */
    qint64 expectedFileSize() const { return m_expectedFileSize; }

protected:
    /** Records why saving fails; ExFileError::None forgets it. */
    void setError(ExFileError kind, const QString& reason = QString()) { m_error = {kind, reason}; }
    /** Records the size that the written file must have. */
    void setExpectedFileSize(qint64 bytes) { m_expectedFileSize = bytes; }

private:
    QString m_metadataSubdir;
    SxFileError m_error;
    qint64 m_expectedFileSize = 0;
};

}  // namespace ep
