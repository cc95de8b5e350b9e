/**
 * @file
 * What libraries say while a file is worked on.
 */
#pragma once

#include "FileOutcome.h"

#include <QVector>

/**
 * While an object lives, what this thread says through Qt's messages becomes notes of the file in work, instead of
 * being said at once. Of nested objects the inner one collects.
 */
class NoteCollector {
public:
    explicit NoteCollector(QVector<FileNote>& notes);
    ~NoteCollector();
    NoteCollector(const NoteCollector&) = delete;
    NoteCollector& operator=(const NoteCollector&) = delete;

    /** The file that messages are about from now on. */
    void setSubject(const QString& file) { m_subject = file; }

    /** Makes @p text a note when an object of the calling thread lives. */
    static bool takes(const QString& text);

private:
    QVector<FileNote>& m_notes;
    QString m_subject;
    NoteCollector* const m_outer;
};
