/**
 * @file
 * What became of one file.
 */
#pragma once

#include "ExitCodes.h"

#include <ep/SxFileError.h>

#include <QJsonObject>
#include <QString>
#include <QVector>

class Output;

/** What there is to say of a file besides success and failure. */
struct FileNote {
    QString file;
    QString text;
};

/**
 * What became of one file that a command worked on. A command that can serve many files separates doing, which says
 * nothing and gives back an outcome, from saying.
 *
 * ExitCode::Usage stands for options that do not fit this image.
 */
struct FileOutcome {
    ExitCode code = ExitCode::Done;
    QString file;           ///< the one that failed: the input or the output
    ep::SxFileError error;  ///< why it failed
    QString line;           ///< said of success, with its line feeds
    QJsonObject answer;     ///< said of success or failure to programs, without the keys that every answer starts with
    QVector<FileNote> notes;
};

/** Makes @p outcome, whose answer names what it is about, that of an input @p file that could not be read. */
void failInput(FileOutcome& outcome, const QString& file, const ep::SxFileError& error);
/** As failInput(), of an output that could not be written. */
void failOutput(FileOutcome& outcome, const QString& file, const ep::SxFileError& error);
/** As failInput(), of options that do not fit the image in @p file. */
void failUsage(FileOutcome& outcome, const QString& file, const QString& reason);

/**
 * Says what became of the only file of @p command, as text or as JSON. Throws UsageError for options that do
 * not fit. @return the outcome's code
 */
ExitCode sayOutcome(const FileOutcome& outcome, const QString& command, bool json, Output& output);
