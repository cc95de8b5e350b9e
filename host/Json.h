/**
 * @file
 * What the program says to other programs.
 */
#pragma once

#include <ep/SxFileError.h>

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QVector>

/**
 * The start of every answer: {"schema": 1, "command": @p command}. The schema number changes when a key changes its
 * meaning or goes away; new keys may come at any time.
 */
QJsonObject jsonAnswer(const QString& command);

/** A number; NaN, which JSON cannot say, is null, and the infinities are the texts "Infinity" and "-Infinity". */
QJsonValue jsonNumber(double value);

/** A list of numbers. */
QJsonValue jsonNumbers(const QVector<double>& values);

/** A failure: {"kind": "unreadable", "reason": "..."}. */
QJsonObject jsonError(const ep::SxFileError& error);
