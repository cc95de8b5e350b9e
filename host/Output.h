/**
 * @file
 * Where the program speaks: data on standard output, messages on standard error.
 */
#pragma once

#include "ExitCodes.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <mutex>

/** @p text with its control characters replaced, so that nothing in a file can steer the terminal. */
QString printable(const QString& text);

/**
 * The program's two streams, always in UTF-8. One object at a time; while it lives it catches Qt's messages and says
 * them as its own.
 *
 * Colours appear where a stream is a terminal and NO_COLOR is not set. Several threads may speak at once; what each
 * says stays whole.
 */
class Output {
public:
    Output();
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /** Writes lines of data; @p text ends in a line feed. */
    void data(const QString& text);
    /** Writes a whole answer for programs. */
    void json(const QJsonObject& answer);
    /** Says "orn: FILE: reason" on standard error; a null @p file is left out. */
    void problem(const QString& file, const QString& reason);
    /** As problem(), for what does not make the command fail. */
    void note(const QString& file, const QString& text);
    /** Says @p text on standard error, where it is neither problem nor note. */
    void remark(const QString& text);
    /** The file that Qt's messages are about from now on, where no NoteCollector takes them. */
    void setSubject(const QString& file);

    /** Whether setStatus() shows anything: standard error is a terminal that can replace a line. */
    bool hasStatus() const { return m_colouredMessages; }
    /** Keeps @p line below everything else that is said; it fits on a line of the terminal. None when empty. */
    void setStatus(const QString& line);
    /** How many characters of a status fit on a line. */
    int statusWidth() const;

    /** A heading or label in data, emphasised where colours are. */
    QString emphasised(const QString& text) const;
    /** @p text in the colour of the terminal code @p code, where colours are. */
    QString painted(const QString& text, const char* code) const;
    /** How many characters of data fit on a line: as the terminal says, or 80 when data goes elsewhere. */
    int width() const;

    /**
     * Flushes standard output. @return @p code, or ExitCode::Unwritable when @p code is Done and data did not arrive. A
     * reader that went away (a closed pipe) is no failure.
     */
    ExitCode finish(ExitCode code);

private:
    static void relayQtMessage(QtMsgType type, const QMessageLogContext& context, const QString& text);
    void message(const QString& file, const QString& text, bool isProblem);
    void eraseStatus();
    void showStatus();

    std::mutex m_mutex;  // guards all that follows
    QString m_subject;
    QByteArray m_status;
    int m_writeError = 0;

    const bool m_colouredData;
    const bool m_colouredMessages;
    const bool m_dataIsSeen;  // standard output is a terminal
};
