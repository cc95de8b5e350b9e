/**
 * @file
 * Base of everything that reads data from files.
 */
#pragma once

#include <ep/CxMetadata.h>
#include <ep/SxFileError.h>

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QObject>
#include <QPair>
#include <QStringList>
#include <QVariant>

namespace ep {

class IxData;

/**
 * Reads frames of data from a file. Use: setFileName(), open(), then ask for frames, close(). One thread at a time.
 * The order of the virtual functions is part of the interface.
 */
class EP_EXPORT IxDataLoader : public QObject {
    Q_OBJECT
public:
    explicit IxDataLoader(QObject* parent = nullptr);
    ~IxDataLoader() override;

    /** Opens the file. Whether an image is there is told by isOpen(): a loader may return true without one. */
    virtual bool open() = 0;
    /** True while data can be asked for. */
    virtual bool isOpen() const = 0;
    /** Releases what open() took. Safe when closed. */
    virtual void close() = 0;
    /** Number of frames in the file. */
    virtual int frameCount() const = 0;
    /** A new copy of frame @p frame, owned by the caller; null when there is none. */
    virtual IxData* data(int frame) = 0;
    /** Name of a frame for people; the file's name without its folder unless a format knows better. */
    virtual QString frameName(int frame);
    /** The file to read. */
    virtual QString fileName() const = 0;
    /** Sets the file to read; neither closes nor opens. */
    virtual void setFileName(const QString& name) = 0;
    /** Reads from memory instead of a file; @p name carries the suffix. False when that is not supported. */
    virtual bool setBuffer(const QByteArray& content, const QString& name);
    /** True when setBuffer() works. */
    virtual bool supportsLoadFromBuffer() const;
    /**
     * The formats served: a file-dialog filter such as "TIFF image (*.tif *.tiff)", and the rank among loaders of the
     * same suffix (the higher is tried first).
     */
    virtual QList<QPair<QString, int>> formats() const = 0;
    /** The first frame whose frameName() is @p name; -1 when there is none. */
    virtual int index(const QString& name);
    /** Text to show beside a frame; empty unless a format has one. */
    virtual QString frameText(int frame);
    /** Folder of metadata side files, relative to the file's own; empty: beside the file. */
    virtual QString metadataSubdir() const;
    /** Sets metadataSubdir(). */
    virtual void setMetadataSubdir(const QString& subdir);
    /** Reads the side file "NAME.xml" of the file NAME into @p metadata; false when there is none or it is unsound. */
    virtual bool importMetadata(CxMetadata& metadata);
    /** True when the frames are spread over several files. */
    virtual bool isMultiFileSequence() const;
    /** Suffix of the files of such a sequence. */
    virtual QString seqFileFrameExtension() const;
    /** The files that hold the frames; this file alone unless a format knows better. */
    virtual QStringList sequenceFiles() const;
    /** The loader that does the work for a loader that wraps another; null: this one does it itself. */
    virtual IxDataLoader* internalLoader();

    /** Why the last open() gave no data. */
    SxFileError lastError() const { return m_error; }
    /**
     * Options that name what to read in a file that can hold several things; the keys are those of the format's saver.
     * The MAT loader reads "matname", the base name of the variables, and "variable", the one array to read (of rows x
     * columns, or rows x columns x channels) instead of whatever it would take by itself.
     */
    QMap<QString, QVariant> options() const { return m_options; }
    void setOptions(const QMap<QString, QVariant>& options) { m_options = options; }  ///< sets options()
    /** Most bytes that one image may take; larger ones are refused. The format manager's limit unless set. */
    qint64 memoryLimit() const;
    void setMemoryLimit(qint64 bytes) { m_memoryLimit = bytes; }  ///< sets memoryLimit(); 0 or less: the default

protected:
    /** Records why open() gives no data; ExFileError::None forgets it. */
    void setError(ExFileError kind, const QString& reason = QString()) { m_error = {kind, reason}; }

private:
    QString m_metadataSubdir;
    SxFileError m_error;
    QMap<QString, QVariant> m_options;
    qint64 m_memoryLimit = 0;
};

}  // namespace ep
