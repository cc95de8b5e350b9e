/**
 * @file
 * Inputs that are made from a corpus by number.
 */
#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

namespace fuzzing {

/** The files of @p folder in the order of their names. */
QVector<QByteArray> readCorpus(const QString& folder);

/** The file of @p corpus whose turn is @p number, damaged as that number says. */
QByteArray mutant(const QVector<QByteArray>& corpus, int number);

}  // namespace fuzzing
