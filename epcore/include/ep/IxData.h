/**
 * @file
 * Anything a loader hands out.
 */
#pragma once

#include <ep/Export.h>

#include <QDateTime>
#include <QObject>

namespace ep {

/** One frame of data with its place in a sequence. Not thread-safe. */
class EP_EXPORT IxData : public QObject {
    Q_OBJECT
public:
    explicit IxData(QObject* parent = nullptr);
    ~IxData() override;

    /**
     * A new, independent deep copy without a parent; the caller owns it.
     * @param flags reserved; pass 0
     * @return null when there is not enough memory
     */
    virtual IxData* clone(int flags) const = 0;

    int frame() const { return m_frame; }                                   ///< frame number in its source, from 0
    qint64 timestamp() const { return m_timestamp; }                        ///< microseconds since the first frame
    QDateTime dateTime() const { return m_dateTime; }                       ///< when the data was made or read
    void setFrame(int frame) { m_frame = frame; }                           ///< sets frame()
    void setTimestamp(qint64 timestamp) { m_timestamp = timestamp; }        ///< sets timestamp()
    void setDateTime(const QDateTime& dateTime) { m_dateTime = dateTime; }  ///< sets dateTime()

private:
    int m_frame = 0;
    qint64 m_timestamp = 0;
    QDateTime m_dateTime;
};

}  // namespace ep
